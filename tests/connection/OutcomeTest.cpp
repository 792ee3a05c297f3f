// What became of a call, as the application is told behind the operation's answer.

#include "Connection.h"
#include "impl/CIMarshallingHelperProxy.h"
#include "proxy/CIGeneralProxy.h"
#include "proxy/CISignalSubscriberProxy.h"
#include "support/InChild.h"
#include "utils/CallOutcome.h"

#include <boost/make_shared.hpp>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace CIM
{
namespace
{
using namespace std::string_literals;
using TMessage = TCScriptedDaemon::TMessage;

constexpr const char* NO_REPLY = "org.freedesktop.DBus.Error.NoReply";

// A list that holds the result, 7, and one whose result has two bytes.
const std::string SEVEN = "\1\0\0\0\2\0\0\0\x0c\0\0\0\1\0\0\0\4\0\0\0\7\0\0\0"s;
const std::string NO_ARGUMENTS = "\1\0\0\0\2\0\0\0\0\0\0\0"s;
const std::string SHORT_SEVEN = "\1\0\0\0\2\0\0\0\x0a\0\0\0\1\0\0\0\2\0\0\0\7\0"s;

class TCHelper : public TIIPCHelper
{
public:
    boost::shared_ptr<TICIMIPCConnection> GetIPCConnection() const override { return connection; }
    boost::shared_ptr<TCConnection> connection = boost::make_shared<TCConnection>();
};

class OutcomeTest : public TCBusTest
{
protected:
    OutcomeTest()
    {
        m_marker.Create();
        // What was before must not shine through.
        KeepOutcome(CALL_OUTCOME_ERROR_REPLY, "before.Before", "before");
    }

    static void ExpectOutcome(ECallOutcome outcome, const std::string& errorName, const std::string& errorText,
                              const std::string& words)
    {
        const TSCallOutcome last = LastCallOutcome();
        EXPECT_EQ(last.outcome, outcome);
        EXPECT_EQ(last.errorName, errorName);
        EXPECT_EQ(last.errorText, errorText);
        EXPECT_EQ(ToString(last), words);
        KeepOutcome(CALL_OUTCOME_ERROR_REPLY, "before.Before", "before");
    }
    static void ExpectOutcome(ECallOutcome outcome, const std::string& words) { ExpectOutcome(outcome, "", "", words); }

    TCTempMarker m_marker;
    TCFeatureKeys m_keys;
    std::function<TMessage(const TMessage&)> m_answer = [](const TMessage& request)
    { return TCScriptedDaemon::Reply(request, 1, SEVEN); };
    std::unique_ptr<TCScriptedDaemon> m_daemon = std::make_unique<TCScriptedDaemon>(
        std::vector<std::string>{CI_GENERAL_CONNECTION_NAME, CI_SIGNAL_SUBSCRIBER_CONNECTION_NAME},
        [this](const TMessage& request) { return m_answer(request); });
    boost::shared_ptr<TCHelper> m_helper = boost::make_shared<TCHelper>();
    TCCIGeneralProxy m_general{m_helper};
};

TMessage Error(const TMessage& request, const std::string& text)
{
    return TCScriptedDaemon::Error(request, "org.kelvora.Oops", text.c_str());
}

// A reply, or an error without text, with one number.
TMessage Number(TMessage message, int type, dbus_int32_t number)
{
    dbus_message_append_args(message.get(), type, &number, DBUS_TYPE_INVALID);
    return message;
}

TMessage Own(DBusMessage* message) { return {message, dbus_message_unref}; }

TMessage ErrorWithoutText(const TMessage& request)
{
    return Own(dbus_message_new_error(request.get(), "org.kelvora.Oops", nullptr));
}
} // namespace

TEST_F(OutcomeTest, FollowsFromTheReply)
{
    constexpr auto ANSWERED = CALL_OUTCOME_ANSWERED;
    constexpr auto ERROR_REPLY = CALL_OUTCOME_ERROR_REPLY;
    constexpr auto NOT_READABLE = CALL_OUTCOME_NOT_READABLE;
    const std::string oops = "org.kelvora.Oops";
    const std::string letters(300, 'x');
    const std::string accents = letters.substr(0, 254) + "\u00e9\u00e9";
    const std::string unreadable = "the reply is not readable";
    const struct
    {
        const char* what;
        std::function<TMessage(const TMessage&)> answer;
        int result;
        ECallOutcome outcome;
        std::string errorName;
        std::string errorText;
        std::string words;
    } rows[] = {
        {"a result", [](const TMessage& r) { return TCScriptedDaemon::Reply(r, 1, SEVEN); }, 7, ANSWERED, "", "",
         "answered"},
        {"no payload", [](const TMessage& r) { return TCScriptedDaemon::Reply(r, 1, ""); }, -1, NOT_READABLE, "", "",
         unreadable},
        {"no result", [](const TMessage& r) { return TCScriptedDaemon::Reply(r, 1, NO_ARGUMENTS); }, -1, NOT_READABLE,
         "", "", unreadable},
        {"an error", [](const TMessage& r) { return Error(r, "no card"); }, 0, ERROR_REPLY, oops, "no card",
         oops + ": no card"},
        {"a long text", [&](const TMessage& r) { return Error(r, letters); }, 0, ERROR_REPLY, oops,
         letters.substr(0, 255), oops + ": " + letters.substr(0, 255)},
        {"a long text with accents", [&](const TMessage& r) { return Error(r, accents); }, 0, ERROR_REPLY, oops,
         letters.substr(0, 254), oops + ": " + letters.substr(0, 254)},
        {"an error without text", ErrorWithoutText, 0, ERROR_REPLY, oops, "", oops},
        {"an error with a number", [](const TMessage& r) { return Number(ErrorWithoutText(r), DBUS_TYPE_INT32, 5); }, 0,
         ERROR_REPLY, oops, "", oops},
        {"status 0", [](const TMessage& r) { return TCScriptedDaemon::Reply(r, 0, SEVEN); }, 0, CALL_OUTCOME_REFUSED,
         "", "", "the daemon did not handle the call"},
        {"no arguments", [](const TMessage& r) { return Own(dbus_message_new_method_return(r.get())); }, 0,
         NOT_READABLE, "", "", unreadable},
        {"a status of another type",
         [](const TMessage& r) { return Number(Own(dbus_message_new_method_return(r.get())), DBUS_TYPE_INT32, 1); }, 0,
         NOT_READABLE, "", "", unreadable},
        {"a status alone",
         [](const TMessage& r) { return Number(Own(dbus_message_new_method_return(r.get())), DBUS_TYPE_BYTE, 1); }, -1,
         NOT_READABLE, "", "", unreadable},
        {"a payload that is no tree", [](const TMessage& r) { return TCScriptedDaemon::Reply(r, 1, "abc"); }, -1,
         NOT_READABLE, "", "", unreadable},
        {"a result of another kind", [](const TMessage& r) { return TCScriptedDaemon::Reply(r, 1, SHORT_SEVEN); }, -1,
         NOT_READABLE, "", "", unreadable},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.what);
        m_answer = row.answer;
        EXPECT_EQ(m_general.EnterMenu(1, /*oneWay=*/false), row.result);
        ExpectOutcome(row.outcome, row.errorName, row.errorText, row.words);
    }
}

TEST_F(OutcomeTest, FollowsFromWhatCameBeforeTheReply)
{
    EXPECT_EQ(m_general.EnterMenu(1, /*oneWay=*/true), 1);
    ExpectOutcome(CALL_OUTCOME_SENT, "sent, nobody waits for an answer");
    EXPECT_EQ(m_general.IsCiSupported(), 1); // no call: nothing changes
    ExpectOutcome(CALL_OUTCOME_ERROR_REPLY, "before.Before", "before", "before.Before: before");
    EXPECT_EQ(m_general.BackupFileDone({std::string(0x1000001, 'x')}), 0); // too large
    ExpectOutcome(CALL_OUTCOME_NOT_SENT, "not sent");
    for (const bool oneWay : {false, true})
    {
        InChild(
            [&]
            {
                EXPECT_EQ(m_general.EnterMenu(1, oneWay), 0);
                ExpectOutcome(CALL_OUTCOME_NOT_SENT, "not sent");
            });
        m_marker.Remove();
        m_keys.Set(CI_FMS_TV_MODEL_TYPE, "5");
        EXPECT_EQ(m_general.EnterMenu(1, oneWay), 0);
        ExpectOutcome(CALL_OUTCOME_NOT_READY, "not sent, the daemon is not ready");
        bool passed = false;
        EXPECT_EQ(m_general.CipTestStandard(passed), 7);
        ExpectOutcome(CALL_OUTCOME_ANSWERED, "answered");
        EXPECT_EQ(m_general.CipTestECP(passed), 7);
        ExpectOutcome(CALL_OUTCOME_ANSWERED, "answered");
        m_marker.Create();
    }

    m_answer = [this](const TMessage&)
    {
        m_daemon->Vanish();
        return nullptr;
    };
    EXPECT_EQ(m_general.EnterMenu(1, /*oneWay=*/false), 0);
    const std::string noReply = LastCallOutcome().errorText; // the bus's own words
    EXPECT_NE(noReply, "");
    ExpectOutcome(CALL_OUTCOME_NO_REPLY, NO_REPLY, noReply, "no reply ("s + NO_REPLY + "): " + noReply);
    EXPECT_EQ(m_general.EnterMenu(1, /*oneWay=*/false), 0);
    EXPECT_EQ(LastCallOutcome().outcome, CALL_OUTCOME_ERROR_REPLY);
    EXPECT_EQ(LastCallOutcome().errorName, "org.freedesktop.DBus.Error.ServiceUnknown");

    Bus().Stop();
    m_general.EnterMenu(1, /*oneWay=*/true);
    ExpectOutcome(CALL_OUTCOME_NOT_SENT, "not sent");
    EXPECT_EQ(m_general.EnterMenu(1, /*oneWay=*/false), 0);
    ExpectOutcome(CALL_OUTCOME_NOT_SENT, "not sent");
}

TEST_F(OutcomeTest, BusThatGoesAwayMeanwhileGivesNoReply)
{
    std::promise<void> asked;
    m_answer = [&](const TMessage&)
    {
        asked.set_value();
        return nullptr;
    };
    std::thread stopper(
        [&]
        {
            asked.get_future().wait_for(std::chrono::seconds(20));
            Bus().Stop();
        });
    EXPECT_EQ(m_general.EnterMenu(1, /*oneWay=*/false), 0);
    EXPECT_EQ(LastCallOutcome().outcome, CALL_OUTCOME_NO_REPLY);
    EXPECT_EQ(LastCallOutcome().errorName, NO_REPLY);
    stopper.join();
}

TEST_F(OutcomeTest, EachThreadHasItsOwn)
{
    std::thread other(
        [this]
        {
            ExpectOutcome(CALL_OUTCOME_NONE, "no call was made");
            EXPECT_EQ(m_general.EnterMenu(1, /*oneWay=*/false), 7);
            ExpectOutcome(CALL_OUTCOME_ANSWERED, "answered");
        });
    other.join();
    ExpectOutcome(CALL_OUTCOME_ERROR_REPLY, "before.Before", "before", "before.Before: before");
}

TEST_F(OutcomeTest, SubscriptionsTellWhatTheBusSaid)
{
    TCCISignalSubscriberProxy subscriber(m_helper);
    const auto subscribe = [&](unsigned short handle)
    { return subscriber.Subscribe(SIGNAL_CI_CA_REPLY, nullptr, PROFILE_MAIN, handle, 0); };
    const auto unsubscribe = [&](unsigned short handle)
    { return subscriber.Unsubscribe(SIGNAL_CI_CA_REPLY, PROFILE_MAIN, handle, 0); };
    subscriber.SetCallback(nullptr); // no call: nothing changes
    ExpectOutcome(CALL_OUTCOME_ERROR_REPLY, "before.Before", "before", "before.Before: before");
    EXPECT_EQ(subscribe(1), 7);
    ExpectOutcome(CALL_OUTCOME_ANSWERED, "answered");
    EXPECT_EQ(subscribe(1), 0);
    ExpectOutcome(CALL_OUTCOME_NONE, "no call was made");
    EXPECT_EQ(unsubscribe(2), 0);
    ExpectOutcome(CALL_OUTCOME_NONE, "no call was made");
    m_answer = [](const TMessage& request) { return Error(request, "no card"); };
    EXPECT_EQ(subscribe(2), 0);
    ExpectOutcome(CALL_OUTCOME_ERROR_REPLY, "org.kelvora.Oops", "no card", "org.kelvora.Oops: no card");
    InChild(
        [&]
        {
            EXPECT_EQ(subscribe(3), 0);
            ExpectOutcome(CALL_OUTCOME_NOT_SENT, "not sent");
        });

    int identifier = 0;
    while (m_helper->connection->AddMatchRule(IPC_MESSAGE_DATA, identifier, TVSHandle()))
    {
        ASSERT_LT(++identifier, MATCH_RULE_LIMIT);
    }
    EXPECT_EQ(subscribe(3), 0);
    const std::string text = LastCallOutcome().errorText;
    EXPECT_NE(text, "");
    ExpectOutcome(CALL_OUTCOME_ERROR_REPLY, DBUS_ERROR_LIMITS_EXCEEDED, text, DBUS_ERROR_LIMITS_EXCEEDED ": " + text);
    EXPECT_EQ(unsubscribe(3), 0); // it counts as subscribed, and the bus knows no such rule
    EXPECT_EQ(LastCallOutcome().outcome, CALL_OUTCOME_ERROR_REPLY);
    EXPECT_EQ(LastCallOutcome().errorName, DBUS_ERROR_MATCH_RULE_NOT_FOUND);

    Bus().Stop();
    EXPECT_EQ(unsubscribe(1), 0); // nobody has looked yet
    EXPECT_EQ(LastCallOutcome().outcome, CALL_OUTCOME_NO_REPLY);
    EXPECT_EQ(LastCallOutcome().errorName, DBUS_ERROR_DISCONNECTED);
    EXPECT_EQ(subscribe(1), 0);
    ExpectOutcome(CALL_OUTCOME_NOT_SENT, "not sent");
}
} // namespace CIM
