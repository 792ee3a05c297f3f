#include <ciapi-testing/Fakes.h>

#include "no_ci/CIAppMMIProxyNO_CI.h"
#include "no_ci/CIAuxiliaryFileSystemProxyNO_CI.h"
#include "no_ci/CICAMPlayerProxyNO_CI.h"
#include "no_ci/CIDebugProxyNO_CI.h"
#include "no_ci/CIGeneralProxyNO_CI.h"
#include "no_ci/CIOperatorProfileProxyNO_CI.h"
#include "no_ci/CISampleDecryptionProxyNO_CI.h"
#include "no_ci/CISignalSubscriberProxyNO_CI.h"
#include "no_ci/PvrCipProxyNO_CI.h"

namespace CIM::test::detail
{
template <>
std::unique_ptr<ICIGeneral> MakeNull()
{
    return std::make_unique<TCCIGeneralProxyNO_CI>();
}

template <>
std::unique_ptr<ICIAppMMI> MakeNull()
{
    return std::make_unique<TCCIAppMMIProxyNO_CI>();
}

template <>
std::unique_ptr<ICIAuxiliaryFileSystem> MakeNull()
{
    return std::make_unique<TCCIAuxiliaryFileSystemProxyNO_CI>();
}

template <>
std::unique_ptr<ICICAMPlayer> MakeNull()
{
    return std::make_unique<TCCICAMPlayerProxyNO_CI>();
}

template <>
std::unique_ptr<ICIDebug> MakeNull()
{
    return std::make_unique<TCCIDebugProxyNO_CI>();
}

template <>
std::unique_ptr<ICIOperatorProfile> MakeNull()
{
    return std::make_unique<TCCIOperatorProfileProxyNO_CI>();
}

template <>
std::unique_ptr<ICISampleDecryption> MakeNull()
{
    return std::make_unique<TCCISampleDecryptionProxyNO_CI>();
}

template <>
std::unique_ptr<ICISignalSubscriber> MakeNull()
{
    return std::make_unique<TCCISignalSubscriberProxyNO_CI>();
}

template <>
std::unique_ptr<IPvrCip> MakeNull()
{
    return std::make_unique<TCPvrCipProxyNO_CI>();
}
} // namespace CIM::test::detail
