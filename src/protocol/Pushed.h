#pragma once

#include "protocol/Operation.h"

namespace CIM::protocol
{
constexpr EMarshallingDirection DirectionOf(EWord word)
{
    switch (word)
    {
    case EWord::OUT:
    case EWord::OUT_MEMBERS:
        return MARSHALLING_DIRECTION_OUT;
    case EWord::IN_OUT:
        return MARSHALLING_DIRECTION_IN_OUT;
    default:
        return MARSHALLING_DIRECTION_IN;
    }
}

/// One parameter of a row as both sides push it. It refers to the value, which has to outlive it; a value that only
/// goes out is never changed, although the frame's interface takes no const.
template <EWord Word, class T>
class TPushed
{
public:
    explicit TPushed(const T& value) : m_form(const_cast<T&>(value)) {}
    template <class Frame>
    void Push(Frame& frame)
    {
        m_form.Push(TArgumentPlace<Frame>{frame, DirectionOf(Word)});
    }
    void Load() { m_form.Load(); }
    void Store() { m_form.Store(); }

private:
    TForm<T> m_form;
};

/// A pipeline handle as two values.
template <EWord Word>
requires(Word == EWord::IN_MEMBERS || Word == EWord::OUT_MEMBERS) class TPushed<Word, TVSHandle> : TSFormInPlace
{
public:
    explicit TPushed(const TVSHandle& value) : m_handle(const_cast<TVSHandle&>(value)) {}
    template <class Frame>
    void Push(Frame& frame)
    {
        const TArgumentPlace<Frame> place{frame, DirectionOf(Word)};
        place.Value(sizeof(m_handle.profile), &m_handle.profile);
        place.Value(sizeof(m_handle.handle), &m_handle.handle);
    }
    using TSFormInPlace::Load;
    using TSFormInPlace::Store;

private:
    TVSHandle& m_handle;
};

/// A parameter that does not travel.
template <EWord Word, class T>
requires(!IsSent(Word)) class TPushed<Word, T> : public TSFormInPlace
{
public:
    explicit TPushed(const T&) {}
    template <class Frame>
    void Push(Frame&)
    {
    }
};

/// The result, which is pushed first, as an output: a slot of four bytes or one, or an object in its place.
template <class Result>
using TPushedResult = TPushed<EWord::OUT, Result>;

/// The sent parameters of a row over a tuple of its values, in order.
template <class Row, std::size_t... Indices>
auto PushedParameters(std::index_sequence<Indices...>)
    -> std::tuple<TPushed<Row::WORDS[Indices], std::tuple_element_t<Indices, typename Row::Values>>...>;
template <class Row>
using TPushedParameters = decltype(PushedParameters<Row>(std::make_index_sequence<Row::COUNT>{}));

/// Calls visitor(pushed) for the parameters of a row whose word passes a test.
template <class Row, class Test, class Visitor>
void ForEachPushed(TPushedParameters<Row>& parameters, Test test, Visitor&& visitor)
{
    [&]<std::size_t... Indices>(std::index_sequence<Indices...>)
    {
        ((test(Row::WORDS[Indices]) ? visitor(std::get<Indices>(parameters)) : void()), ...);
    }
    (std::make_index_sequence<Row::COUNT>{});
}

/// How many arguments a row pushes, the result included.
template <class Row>
constexpr std::size_t CountPushed()
{
    std::size_t count = 1;
    for (const EWord word : Row::WORDS)
    {
        count += word == EWord::IN_MEMBERS || word == EWord::OUT_MEMBERS ? 2 : IsSent(word) ? 1 : 0;
    }
    return count;
}
} // namespace CIM::protocol
