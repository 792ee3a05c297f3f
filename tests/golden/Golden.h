#pragma once

#include "protocol/Skeleton.h"
#include "support/FakeConnection.h"
#include "support/LogCapture.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <unistd.h>

// Compares a proxy and the daemon side of its table with bytes that neither of them made.

namespace CIM
{
/// What a parameter is to the call, seen from the application.
enum EUse
{
    SENT,
    FILLED,     ///< filled from the reply
    BOTH_WAYS,  ///< sent, then overwritten
    NEVER_SENT, ///< the daemon side sees a default value
    PROCESS_ID, ///< sent as the caller's process id, whatever is given
    CHOOSES_ONE_WAY,
};

/// One argument as the daemon has to see it, and as the application has to find it after the call.
template <class T>
struct TArgument
{
    TArgument(EUse aUse, T value) : use(aUse), before(aUse == FILLED ? T() : value), after(std::move(value)) {}
    TArgument(EUse aUse, T aBefore, T anAfter) : use(aUse), before(std::move(aBefore)), after(std::move(anAfter)) {}
    TArgument(EUse aUse) : use(aUse), before(), after() {}

    EUse use;
    T before;
    T after;
};

/// The golden requests and replies of one interface.
struct TSGoldenLine
{
    std::string name;
    bool mayBeOneWay = false;
    std::string request;
    std::string reply;
};
std::map<int, TSGoldenLine> ReadGolden(const std::string& interfaceName);
std::string ToHex(const std::string& bytes);
std::string FromHex(const std::string& hex);

/// Takes every operation of one interface through both sides; what has not been taken when it goes is a failure.
template <class Interface, class Proxy, class Null>
class TGolden
{
public:
    TGolden() : m_lines(ReadGolden(protocol::NameOf<Interface>())) { m_marker.Create(); }
    ~TGolden()
    {
        for (const auto& [id, line] : m_lines)
        {
            ADD_FAILURE() << "nothing calls " << id << " " << line.name;
        }
    }

    /// \param[in] result     what the daemon answers
    /// \param[in] arguments  one for each parameter
    template <class Result, class... Parameters>
    void operator()(int id, Result (Interface::*member)(Parameters...), std::type_identity_t<Result> result,
                    TArgument<std::remove_cvref_t<Parameters>>... arguments)
    {
        ASSERT_TRUE(m_lines.count(id)) << id << " is not in the golden file, or twice in the test";
        const TSGoldenLine line = m_lines[id];
        m_lines.erase(id);
        SCOPED_TRACE(std::string(protocol::NameOf<Interface>()) + " " + std::to_string(id) + " " + line.name);
        EXPECT_EQ(line.mayBeOneWay, ((arguments.use == CHOOSES_ONE_WAY) || ...));
        for (int oneWay = 0; oneWay <= (line.mayBeOneWay ? 1 : 0); ++oneWay)
        {
            m_CallProxy(id, line, oneWay != 0, member, result, arguments...);
            m_CallDaemonSide(id, line, oneWay != 0, member, result, arguments...);
        }
    }

private:
    template <class Result, class... Parameters, class... Arguments>
    void m_CallProxy(int id, const TSGoldenLine& line, bool oneWay, Result (Interface::*member)(Parameters...),
                     const Result& result, const Arguments&... arguments)
    {
        const auto& connection = m_helper->connection;
        connection->calls.clear();
        connection->answer = [&](const TCFakeConnection::SCall&, std::string& reply)
        {
            reply = FromHex(line.reply);
            return true;
        };
        std::string request = line.request;
        std::tuple<std::remove_cvref_t<Parameters>...> values{arguments.before...};
        const auto prepare = [&](auto& value, const auto& argument)
        {
            if constexpr (std::is_same_v<std::remove_reference_t<decltype(value)>, bool>)
            {
                value = argument.use == CHOOSES_ONE_WAY ? oneWay : value;
                if (argument.use == FILLED)
                {
                    std::memset(&value, 0x55, 1); // never set: no valid bool, which nobody may look at
                }
            }
            if (argument.use == PROCESS_ID) // it is the last argument
            {
                const std::int64_t pid = getpid();
                request.replace(request.size() - 16, 16, ToHex({reinterpret_cast<const char*>(&pid), sizeof(pid)}));
            }
        };
        std::apply([&](auto&... value) { (prepare(value, arguments), ...); }, values);
        TCLogCapture::Clear();
        const Result answer = std::apply([&](auto&... value) { return (m_proxy.*member)(value...); }, values);

        ASSERT_EQ(connection->calls.size(), 1u);
        const TCFakeConnection::SCall& call = connection->calls[0];
        EXPECT_EQ(call.interfaceName, std::string("com.kelvora.ciapi.") + protocol::NameOf<Interface>());
        EXPECT_EQ(call.methodId, id);
        EXPECT_EQ(call.oneWay, oneWay);
        EXPECT_EQ(ToHex(call.payload), request);
        EXPECT_EQ(TCLogCapture::Count("methodName[" + line.name + "] asyncCall[" + (oneWay ? "true" : "false") + "]"),
                  1u);
        if constexpr (std::is_same_v<Result, int>)
        {
            EXPECT_EQ(answer, oneWay ? 1 : result);
        }
        else
        {
            EXPECT_TRUE(answer == result);
        }
        int number = 0;
        const auto compare = [&](const auto& value, const auto& argument)
        {
            ++number;
            if (argument.use == FILLED || argument.use == BOTH_WAYS)
            {
                EXPECT_TRUE(value == argument.after) << "parameter " << number << " after the call";
            }
        };
        std::apply([&](const auto&... value) { (compare(value, arguments), ...); }, values);
    }

    template <class Result, class... Parameters, class... Arguments>
    void m_CallDaemonSide(int id, const TSGoldenLine& line, bool oneWay, Result (Interface::*member)(Parameters...),
                          const Result& result, const Arguments&... arguments)
    {
        int calls = 0;
        int number = 0;
        const auto take = [&](auto& value, const auto& argument)
        {
            using TValue = std::remove_reference_t<decltype(value)>;
            ++number;
            if constexpr (std::is_same_v<std::remove_const_t<TValue>, bool>)
            {
                EXPECT_TRUE(argument.use != CHOOSES_ONE_WAY || value == oneWay);
            }
            if (argument.use != FILLED && argument.use != CHOOSES_ONE_WAY)
            {
                EXPECT_TRUE(value == argument.before) << "parameter " << number << " as the daemon sees it";
            }
            if constexpr (!std::is_const_v<TValue>)
            {
                value = argument.after; // of a copy, when it is no output
            }
        };
        const auto answer = [&](Parameters... values) -> Result
        {
            ++calls;
            (take(values, arguments), ...);
            return result;
        };
        ASSERT_TRUE(m_skeleton.On(member, answer));
        TCMessageBuffer request;
        TCMessageBuffer reply;
        const std::string bytes = FromHex(line.request);
        request.PushConcatenated(static_cast<int>(bytes.size()), bytes.data());
        EXPECT_EQ(m_skeleton.Handle(static_cast<short>(id), oneWay, request, reply), protocol::EHandled::ANSWERED);
        EXPECT_EQ(calls, 1);
        if (!oneWay)
        {
            ASSERT_NE(reply.GetAsCStr(0), nullptr);
            EXPECT_EQ(ToHex({reply.GetAsCStr(0), reply.GetUnreadSize()}), line.reply);
        }
        m_skeleton.On(member, {});
    }

    TCTempMarker m_marker;
    std::map<int, TSGoldenLine> m_lines;
    boost::shared_ptr<TCFakeHelper> m_helper = boost::make_shared<TCFakeHelper>();
    Proxy m_proxy{m_helper};
    Null m_null;
    protocol::TSkeleton<Interface> m_skeleton{m_null};
};
} // namespace CIM
