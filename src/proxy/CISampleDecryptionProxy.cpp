#include "proxy/CISampleDecryptionProxy.h"

#include "proxy/MakeProxy.h"
#include "utils/CIAPILog.h"

#include <utility>

namespace CIM
{
TCCISampleDecryptionProxy::TCCISampleDecryptionProxy(boost::shared_ptr<TIIPCHelper> helper)
    : m_call(protocol::TTable<ICISampleDecryption>::ConnectionName(), std::move(helper))
{
    CIM_LOG_INFO_AT("TCCISampleDecryptionProxy", __LINE__, "");
    m_call.WaitForInterface();
}

TCCISampleDecryptionProxy::~TCCISampleDecryptionProxy() { CIM_LOG_INFO_AT("~TCCISampleDecryptionProxy", __LINE__, ""); }

template <>
std::unique_ptr<ICISampleDecryption> MakeProxy(boost::shared_ptr<TIIPCHelper> helper)
{
    return std::make_unique<TCCISampleDecryptionProxy>(std::move(helper));
}
} // namespace CIM
