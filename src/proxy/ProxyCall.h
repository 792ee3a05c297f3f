#pragma once

#include "impl/CIMarshallingHelperProxy.h"
#include "protocol/Pushed.h"

#include <cstddef>
#include <cstdint>
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

/// An argument of a call that has no frame yet.
struct SArgument
{
    void* address;          ///< of a value, or of a TIMarshalable
    std::uint8_t direction; ///< EMarshallingDirection
    std::uint8_t width;     ///< of a value; 0: an object
};

/// Takes arguments like a frame, and keeps them where the compiled core of a call finds them.
template <std::size_t Count>
struct TArguments
{
    void PushValue(EMarshallingDirection direction, int width, void* address)
    {
        list[count++] = {address, static_cast<std::uint8_t>(direction), static_cast<std::uint8_t>(width)};
    }
    void PushMarshalableClass(EMarshallingDirection direction, TIMarshalable* object)
    {
        list[count++] = {object, static_cast<std::uint8_t>(direction), 0};
    }

    SArgument list[Count];
    std::size_t count = 0;
};

/// What an operation says of its call, beside the arguments.
struct SCallKind
{
    short id;
    bool hasSecret;
    bool oneWay;
};

/// What every proxy holds and does: the daemon's interface, the way to it, and the one place where a call is made.
class TCProxyCall
{
public:
    /// \param[in] connectionName  D-Bus interface and bus name of the daemon's interface
    /// \param[in] helper          null is a programming error, which ends the process at its first use
    TCProxyCall(const char* connectionName, boost::shared_ptr<TIIPCHelper> helper);
    ~TCProxyCall();

    /// Blocks until the daemon owns the interface, at the longest as long as the connection waits.
    void WaitForInterface() const;

    boost::shared_ptr<TICIMIPCConnection> Connection() const { return m_ipcHelper->GetIPCConnection(); }
    const boost::shared_ptr<TIIPCHelper>& Helper() const { return m_ipcHelper; }

    /// Calls an operation of the daemon: m_call.Do<&ICIGeneral::GetMmiText>(slot, text).
    /// Only collects the arguments: it is compiled once an operation, everything else once.
    /// \param arguments  exactly the arguments of the member function; outputs are filled in place
    /// \return what the daemon answered, or the seed when its answer holds no result; nothing when the call failed,
    ///         also for want of memory
    template <auto Operation, class... Arguments>
    auto Do(Arguments&&... arguments)
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
        protocol::TPushedResult<TResult> pushedResult(result);
        protocol::TPushedParameters<TRow> parameters(arguments...);
        TArguments<protocol::CountPushed<TRow>()> pushed;
        pushedResult.Push(pushed);
        protocol::ForEachPushed<TRow>(parameters, protocol::IsSent, [&](auto& parameter) { parameter.Push(pushed); });
        if (!m_Run(TRow::NAME, {row.id, TRow::HAS_SECRET, oneWay}, pushed.list, pushed.count))
        {
            return TAnswer<TResult>();
        }
        pushedResult.Load();
        protocol::ForEachPushed<TRow>(parameters, protocol::IsOutput, [](auto& parameter) { parameter.Load(); });
        return TAnswer<TResult>(std::move(result));
    }

private:
    bool m_Run(const char* operation, SCallKind kind, const SArgument* arguments, std::size_t count);

    std::string m_connectionName;
    boost::shared_ptr<TIIPCHelper> m_ipcHelper;
};
} // namespace CIM
