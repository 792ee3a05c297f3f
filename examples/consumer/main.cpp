#include "CamBanner.h"

#include <ciapi/CIService.h>

#include <iostream>

int main()
{
    {
        const TCamBanner banner(*CIM::TCCIService::CIGeneralInstance(),
                                *CIM::TCCIService::CISignalSubscriberInstance(TCamBanner::OnSignal));
        std::cout << banner.Text();
    }
    CIM::TCCIService::Destroy();
}
