#pragma once

#include <ciapi/ICIAppMMI.h>

namespace CIM
{
/// What ICIAppMMI answers on a set without CI, and what its proxy answers when the daemon does not: no, at once,
/// without touching outputs, except where the interface says otherwise. Stateless; thread-safe.
class TCCIAppMMIProxyNO_CI : public ICIAppMMI
{
public:
    TCCIAppMMIProxyNO_CI();
    ~TCCIAppMMIProxyNO_CI() override;

    int SetApplicationState(TVSHandle const&, EAppMmiName, EAppMmiState, unsigned long long) override { return 0; }
    int SendAppAbortRequest(unsigned short, std::vector<unsigned char> const&) override { return 0; }
    int SendAppAbortAck(unsigned short, std::vector<unsigned char> const&) override { return 0; }
    int SendFileRequest(unsigned short, std::vector<unsigned char> const&, int) override { return 0; }
    int SendRequestStartAck(unsigned short, unsigned char) override { return 0; }
    int GetAbortAckData(int, std::vector<unsigned char>&) override { return 0; }
    int GetAbortRequestData(int, std::vector<unsigned char>&) override { return 0; }
    int GetFileAckData(int, bool&, bool&, int&, std::vector<unsigned char>&, std::vector<unsigned char>&) override
    {
        return 0;
    }
    int GetStartAppData(unsigned short, int, std::vector<unsigned char>&, std::vector<unsigned char>&, TVSHandle&,
                        bool&) override
    {
        return 0;
    }
};
} // namespace CIM
