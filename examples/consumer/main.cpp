#include "CamBanner.h"

#include <ciapi/CIService.h>

#include <iostream>

int main()
{
    {
        const TCCamBanner banner(*CIM::TCCIService::CIGeneralInstance(),
                                 *CIM::TCCIService::CISignalSubscriberInstance(TCCamBanner::OnSignal));
        std::cout << banner.Text();
    }
    CIM::TCCIService::Destroy();
}
