#pragma once

#include "impl/CIMarshallingHelperProxy.h"
#include "protocol/Pushed.h"

#include <new>
#include <optional>
#include <string>
#include <utility>

namespace CIM
{
using protocol::Taking;

/// What became of a call: the daemon's answer, or nothing when the call failed.
template <class Result>
class [[nodiscard]] TAnswer : public std::optional<Result>
{
public:
    using std::optional<Result>::optional;

    /// The daemon's answer; only when there is none, what a function answers in its place.
    template <class NullAnswer>
    Result Or(NullAnswer nullAnswer) const
    {
        return this->has_value() ? **this : nullAnswer();
    }
};

/// Whether the call may write whatever is given for the outputs of a row. Given as forwarding references deduce them.
template <class Row, class... Given>
constexpr bool GivesOutputs()
{
    [[maybe_unused]] std::size_t place = 0;
    return ((!protocol::IsOutput(Row::WORDS[place++]) || protocol::detail::IS_WRITABLE<Given>)&&...);
}

/// What every proxy holds and does: the daemon's interface, the way to it, and the one place where a call is made.
class TCProxyCall
{
public:
    /// \param[in] connectionName  D-Bus interface and bus name of the daemon's interface
    /// \param[in] helper          null is a programming error, which ends the process at its first use
    TCProxyCall(const std::string& connectionName, boost::shared_ptr<TIIPCHelper> helper)
        : m_connectionName(connectionName), m_ipcHelper(std::move(helper))
    {
    }

    /// Blocks until the daemon owns the interface, at the longest as long as the connection waits.
    void WaitForInterface() const { m_ipcHelper->GetIPCConnection()->WaitForCreateInterface(m_connectionName.c_str()); }

    boost::shared_ptr<TICIMIPCConnection> Connection() const { return m_ipcHelper->GetIPCConnection(); }
    const boost::shared_ptr<TIIPCHelper>& Helper() const { return m_ipcHelper; }

    /// Calls an operation of the daemon: m_call.Do<&ICIGeneral::GetMmiText>(slot, text).
    /// \param arguments  exactly the arguments of the member function; outputs are filled in place
    /// \return what the daemon answered, or the seed when its answer holds no result; nothing when the call failed,
    ///         also for want of memory
    template <auto Operation, class... Arguments>
    auto Do(Arguments&&... arguments)
    {
        using TDone = TAnswer<typename std::remove_cvref_t<decltype(protocol::RowOf<Operation>())>::Result>;
        try
        {
            return m_Do<Operation>(std::forward<Arguments>(arguments)...);
        }
        catch (const std::bad_alloc&)
        {
            m_TellNoMemory(std::remove_cvref_t<decltype(protocol::RowOf<Operation>())>::NAME);
            return TDone();
        }
    }

private:
    template <auto Operation, class... Arguments>
    auto m_Do(Arguments&&... arguments)
    {
        constexpr const auto& row = protocol::RowOf<Operation>();
        using TRow = std::remove_cvref_t<decltype(row)>;
        using TResult = typename TRow::Result;
        static_assert(TRow::template Takes<Arguments...>(), "the arguments differ from the declared operation's");
        static_assert(GivesOutputs<TRow, Arguments...>(), "an output must be a variable that is not const");
        bool oneWay = false;
        if constexpr (TRow::HAS_ONE_WAY)
        {
            oneWay = std::get<TRow::COUNT - 1>(std::tie(arguments...));
        }
        TResult result = TRow::Seed(oneWay);
        TCCIMarshallingHelperProxy frame(m_ipcHelper);
        if constexpr (TRow::HAS_SECRET)
        {
            frame.KeepNothing();
        }
        protocol::TPushedResult<TResult> pushedResult(result);
        protocol::TPushedParameters<TRow> parameters(arguments...);
        pushedResult.Push(frame);
        protocol::ForEachPushed<TRow>(parameters, protocol::IsSent, [&](auto& pushed) { pushed.Push(frame); });
        if (!frame.Run(m_connectionName, TRow::NAME, row.id, oneWay))
        {
            return TAnswer<TResult>();
        }
        pushedResult.Load();
        protocol::ForEachPushed<TRow>(parameters, protocol::IsOutput, [](auto& pushed) { pushed.Load(); });
        return TAnswer<TResult>(std::move(result));
    }

    void m_TellNoMemory(const char* operation) const;

    std::string m_connectionName;
    boost::shared_ptr<TIIPCHelper> m_ipcHelper;
};
} // namespace CIM
