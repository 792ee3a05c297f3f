#pragma once

#include "impl/CIMarshallingHelperProxy.h"

#include <boost/make_shared.hpp>

#include <functional>
#include <string>
#include <vector>

namespace CIM
{
/// A connection without a bus: records what a proxy asks of it and answers from a function.
class TCFakeConnection : public TICIMIPCConnection
{
public:
    struct SCall
    {
        std::string interfaceName;
        short methodId;
        std::string payload;
        bool oneWay;
    };

    bool AddMatchRule(EIPCMessageType type, int messageId, const TVSHandle& handle) override
    {
        rules.push_back("+" + Rule(type, messageId, handle));
        return acceptsRules;
    }
    bool RemoveMatchRule(EIPCMessageType type, int messageId, const TVSHandle& handle) override
    {
        rules.push_back("-" + Rule(type, messageId, handle));
        return acceptsRules;
    }
    bool Call(const std::string& interfaceName, short methodId, TCMessageBuffer& input,
              TCMessageBuffer& output) override
    {
        Record(interfaceName, methodId, input, false);
        std::string reply;
        if (!answer || !answer(calls.back(), reply))
        {
            return false;
        }
        output.PushConcatenated(static_cast<int>(reply.size()), reply.data());
        return true;
    }
    bool CallAsync(const std::string& interfaceName, short methodId, TCMessageBuffer& input) override
    {
        Record(interfaceName, methodId, input, true);
        return sendsOneWay;
    }
    bool WaitForCreateInterface(const char* name) override
    {
        waitedFor.emplace_back(name);
        return true;
    }
    void SetCallbackFunction(EIPCMessageType, void (*function)(int, TCMessageBuffer&)) override { callback = function; }
    void UnsetCallbackFunction(EIPCMessageType, void (*function)(int, TCMessageBuffer&)) override
    {
        if (callback == function)
        {
            callback = nullptr;
        }
    }
    std::string GetReceiverId() override { return "receiver"; }

    std::vector<SCall> calls;
    std::vector<std::string> rules;
    std::vector<std::string> waitedFor;
    std::function<bool(const SCall&, std::string& reply)> answer;
    void (*callback)(int, TCMessageBuffer&) = nullptr;
    bool acceptsRules = true;
    bool sendsOneWay = true;

private:
    static std::string Rule(EIPCMessageType type, int messageId, const TVSHandle& handle)
    {
        return std::to_string(type) + " " + std::to_string(messageId) + " " + std::to_string(handle.profile) + ":" +
               std::to_string(handle.handle);
    }
    void Record(const std::string& interfaceName, short methodId, TCMessageBuffer& input, bool oneWay)
    {
        const char* bytes = input.GetAsCStr(0);
        calls.push_back({interfaceName, methodId,
                         bytes != nullptr ? std::string(bytes, input.GetUnreadSize()) : std::string(), oneWay});
    }
};

/// Hands out a fake connection.
class TCFakeHelper : public TIIPCHelper
{
public:
    boost::shared_ptr<TICIMIPCConnection> GetIPCConnection() const override { return connection; }
    boost::shared_ptr<TCFakeConnection> connection = boost::make_shared<TCFakeConnection>();
};
} // namespace CIM
