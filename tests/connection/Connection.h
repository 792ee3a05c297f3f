#pragma once

#include "ci_connection/CIMIPCConnection.h"
#include "support/FakeClock.h"
#include "support/LogCapture.h"
#include "support/PrivateBus.h"
#include "support/ScriptedDaemon.h"

#include <ciapi/CINames.h>

#include <chrono>
#include <glib.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace CIM
{
constexpr int MATCH_RULE_LIMIT = 200;

/// The bus of this test program: libdbus reads the address of the system bus once per process.
inline TCPrivateBus& Bus()
{
    static TCPrivateBus bus("<limit name=\"max_match_rules_per_connection\">" + std::to_string(MATCH_RULE_LIMIT) +
                            "</limit>");
    return bus;
}

/// Starts each test on a fresh bus and with an empty log.
class TCBusTest : public testing::Test
{
protected:
    TCBusTest()
    {
        Bus().Restart();
        while (g_main_context_iteration(nullptr, FALSE)) // connections of tests before notice that their bus is gone
        {
        }
        TCLogCapture::Clear();
        TCFakeClock::Clear();
    }
    ~TCBusTest() override { TCFakeClock::Clear(); }
};

/// The connection under test, its protected operations within reach.
class TCConnection : public TCCIMIPCConnection
{
public:
    explicit TCConnection(bool attachToMainLoop = true)
        : TCCIMIPCConnection(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME, CI_SIGNAL_SUBSCRIBER_OBJECT_NAME, attachToMainLoop)
    {
    }
    using TCCIMIPCConnection::t_CreateMatchRule;
    using TCCIMIPCConnection::t_GetMessageType;
    using TCCIMIPCConnection::t_MessageHandler;
    using TCCIMIPCConnection::t_MessageHandlerHelper;
    using TCCIMIPCConnection::t_pMainLoopConnection;
    using TCCIMIPCConnection::t_PrepareMessage;
};

/// The members of the signals, by EIPCMessageType.
inline constexpr const char* MEMBERS[] = {
    "Signal",  "PipelineSignal", "Data", "Program",         "Section",  "TextData",    "Dsm", "CopyProtectionInfo",
    "PESData", "ExPESData",      "Ht",   "ATSC3Signalling", "ATSC3Mpd", "ATSC3Linkage"};

/// Whether the signals of a type have a handle, for the bus to compare.
constexpr bool CarriesHandle(int type) { return type == 0 || type == 1 || type == 10; }

inline std::string Text(const TCMessageBuffer& buffer)
{
    const std::size_t length = buffer.GetUnreadSize();
    return length > 0 ? std::string(buffer.GetAsCStr(0), length) : std::string();
}

struct SAnswer
{
    bool handled;
    std::string payload;
};

/// One synchronous call of the general interface.
inline SAnswer Call(TICIMIPCConnection& connection, short methodId, std::string_view payload)
{
    TCMessageBuffer input;
    TCMessageBuffer output;
    input.PushBorrowed(payload.size(), payload.data());
    const bool handled = connection.Call(CI_GENERAL_CONNECTION_NAME, methodId, input, output);
    return {handled, Text(output)};
}

inline bool CallAsync(TICIMIPCConnection& connection, short methodId, std::string_view payload)
{
    TCMessageBuffer input;
    input.PushBorrowed(payload.size(), payload.data());
    return connection.CallAsync(CI_GENERAL_CONNECTION_NAME, methodId, input);
}

/// Whether the log holds an error line that contains the text: once at priority 4, then at 3, in the system buffer.
inline bool IsErrorLine(std::string_view text)
{
    int place = 0;
    for (const SLogLine& line : TCLogCapture::Lines())
    {
        if (line.text.find(text) != std::string::npos && line.text.find("[CIM_MAJOR] pid[") != std::string::npos)
        {
            if (line.buffer != 2 || line.priority != (place % 2 == 0 ? 4 : 3) || line.tag != "CI_API")
            {
                return false;
            }
            ++place;
        }
    }
    return place == 2;
}

/// Runs the default main context until something is so. \return false when it is not within 20 seconds
template <class TPredicate>
bool RunMainLoopUntil(TPredicate predicate)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    const guint tick = g_timeout_add(
        20, [](void*) -> gboolean { return TRUE; }, nullptr);
    bool reached = predicate();
    while (!reached && std::chrono::steady_clock::now() < deadline)
    {
        g_main_context_iteration(nullptr, TRUE);
        reached = predicate();
    }
    g_source_remove(tick);
    return reached;
}

/// Answers every call by its own payload.
inline TCScriptedDaemon::TMessage Echo(const TCScriptedDaemon::TMessage& request)
{
    return TCScriptedDaemon::Reply(request, 1, TCScriptedDaemon::Payload(request.get()));
}
} // namespace CIM
