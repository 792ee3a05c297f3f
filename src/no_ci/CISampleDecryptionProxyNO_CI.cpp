#include "no_ci/CISampleDecryptionProxyNO_CI.h"

#include "no_ci/MakeNull.h"
#include "utils/CIAPILog.h"

namespace CIM
{
TCCISampleDecryptionProxyNO_CI::TCCISampleDecryptionProxyNO_CI()
{
    CIM_LOG_INFO_AT("TCCISampleDecryptionProxyNO_CI", 34, "");
}

TCCISampleDecryptionProxyNO_CI::~TCCISampleDecryptionProxyNO_CI()
{
    CIM_LOG_INFO_AT("~TCCISampleDecryptionProxyNO_CI", 41, "");
}

template <>
std::unique_ptr<ICISampleDecryption> MakeNull()
{
    return std::make_unique<TCCISampleDecryptionProxyNO_CI>();
}
} // namespace CIM
