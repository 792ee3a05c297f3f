#include "Instance.h"

#include "protocol/Interfaces.h"

#include <ciapi/CIService.h>

#include <tuple>

namespace CIM
{
namespace
{
ICISignalSubscriber* SubscriberInstance() { return TCCIService::CISignalSubscriberInstance(nullptr); }
} // namespace

void* InstanceOf(const json::TCInterfaceForm& interface)
{
    static constexpr std::tuple instances{
        &TCCIService::CIGeneralInstance,
        &TCCIService::CIAppMMIInstance,
        &TCCIService::CIOperatorProfileInstance,
        &TCCIService::PvrCipInstance,
        &TCCIService::CIDebugInstance,
        &TCCIService::CIAuxiliaryFileSystemInstance,
        &TCCIService::CICAMPlayerInstance,
        &TCCIService::CISampleDecryptionInstance,
        &SubscriberInstance,
    };
    void* instance = nullptr;
    protocol::ForEachInterface(
        [&]<class Interface>(protocol::TType<Interface>)
        {
            if (interface.Name() == protocol::NameOf<Interface>())
            {
                instance = std::get<Interface* (*)()>(instances)();
            }
        });
    return instance;
}
} // namespace CIM
