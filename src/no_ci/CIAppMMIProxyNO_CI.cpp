#include "no_ci/CIAppMMIProxyNO_CI.h"

#include "utils/CIAPILog.h"

namespace CIM
{
TCCIAppMMIProxyNO_CI::TCCIAppMMIProxyNO_CI() { CIM_LOG_INFO_AT("TCCIAppMMIProxyNO_CI", 35, ""); }

TCCIAppMMIProxyNO_CI::~TCCIAppMMIProxyNO_CI() { CIM_LOG_INFO_AT("~TCCIAppMMIProxyNO_CI", 42, ""); }

int TCCIAppMMIProxyNO_CI::SetApplicationState(TVSHandle const&, EAppMmiName, EAppMmiState, unsigned long long)
{
    return 0;
}

int TCCIAppMMIProxyNO_CI::SendAppAbortRequest(unsigned short, std::vector<unsigned char> const&) { return 0; }

int TCCIAppMMIProxyNO_CI::SendAppAbortAck(unsigned short, std::vector<unsigned char> const&) { return 0; }

int TCCIAppMMIProxyNO_CI::SendFileRequest(unsigned short, std::vector<unsigned char> const&, int) { return 0; }

int TCCIAppMMIProxyNO_CI::SendRequestStartAck(unsigned short, unsigned char) { return 0; }

int TCCIAppMMIProxyNO_CI::GetAbortAckData(int, std::vector<unsigned char>&) { return 0; }

int TCCIAppMMIProxyNO_CI::GetAbortRequestData(int, std::vector<unsigned char>&) { return 0; }

int TCCIAppMMIProxyNO_CI::GetFileAckData(int, bool&, bool&, int&, std::vector<unsigned char>&,
                                         std::vector<unsigned char>&)
{
    return 0;
}

int TCCIAppMMIProxyNO_CI::GetStartAppData(unsigned short, int, std::vector<unsigned char>&, std::vector<unsigned char>&,
                                          TVSHandle&, bool&)
{
    return 0;
}
} // namespace CIM
