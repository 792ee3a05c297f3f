#include "json/Interfaces.h"
#include "json/RowForm.h"

#include "protocol/SignalSubscriber.h"

#include <ciapi/CIService.h>

const CIM::json::TInterfaceForm& CIM::json::SignalSubscriberForm()
{
    static const TInterfaceForm form = MakeInterfaceForm<ICISignalSubscriber>(
        []() -> void* { return TCCIService::CISignalSubscriberInstance(nullptr); });
    return form;
}
