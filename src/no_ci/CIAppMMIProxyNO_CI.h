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

    int SetApplicationState(TVSHandle const& handle, EAppMmiName application, EAppMmiState state,
                            unsigned long long value) override;
    int SendAppAbortRequest(unsigned short id, std::vector<unsigned char> const& data) override;
    int SendAppAbortAck(unsigned short id, std::vector<unsigned char> const& data) override;
    int SendFileRequest(unsigned short id, std::vector<unsigned char> const& data, int value) override;
    int SendRequestStartAck(unsigned short id, unsigned char ackCode) override;
    int GetAbortAckData(int dataId, std::vector<unsigned char>& data) override;
    int GetAbortRequestData(int dataId, std::vector<unsigned char>& data) override;
    int GetFileAckData(int dataId, bool& firstFlag, bool& secondFlag, int& value, std::vector<unsigned char>& firstData,
                       std::vector<unsigned char>& secondData) override;
    int GetStartAppData(unsigned short id, int dataId, std::vector<unsigned char>& firstData,
                        std::vector<unsigned char>& secondData, TVSHandle& handle, bool& flag) override;
};
} // namespace CIM
