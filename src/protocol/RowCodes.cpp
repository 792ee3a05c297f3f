#include "protocol/RowCode.h"

#include "protocol/Interfaces.h"
#include "protocol/Pushed.h"

namespace CIM::protocol
{
namespace
{
template <class T, EWord Word>
class TCPushedValue final : public TIPushedValue
{
public:
    void* Address() override { return &m_value; }
    void Push(TCMarshallingHelper& frame) override { m_pushed.Push(frame); }
    void Load() override { m_pushed.Load(); }
    void Store() override { m_pushed.Store(); }

private:
    T m_value{};
    TPushed<Word, T> m_pushed{m_value};
};

template <class T, EWord Word>
std::unique_ptr<TIPushedValue> NewPushedValue()
{
    return std::make_unique<TCPushedValue<T, Word>>();
}

template <auto Member, class Signature = detail::TSignature<decltype(Member)>>
void Call(void* object, void* result, [[maybe_unused]] void* const* values)
{
    [&]<std::size_t... Indices>(std::index_sequence<Indices...>)
    {
        *static_cast<typename Signature::Result*>(result) =
            (static_cast<typename Signature::Interface*>(object)->*Member)(
                *static_cast<std::tuple_element_t<Indices, typename Signature::Values>*>(values[Indices])...);
    }
    (std::make_index_sequence<Signature::COUNT>{});
}

template <class Values, auto Words>
struct TNewValues;
template <class... T, auto Words>
struct TNewValues<std::tuple<T...>, Words>
{
    template <std::size_t... Indices>
    static constexpr std::array<SRowCode::TNewValue, sizeof...(T)> Make(std::index_sequence<Indices...>)
    {
        return {&NewPushedValue<T, Words[Indices]>...};
    }
    static constexpr auto ALL = Make(std::make_index_sequence<sizeof...(T)>{});
};

template <auto Member, auto Words>
constexpr SRowCode CodeOf(const TRow<Member, Words>& row)
{
    using TThis = TRow<Member, Words>;
    return {row.NAME,
            row.id,
            row.isLocal,
            TThis::HAS_ONE_WAY,
            &NewPushedValue<typename TThis::Result, EWord::OUT>,
            TNewValues<typename TThis::Values, Words>::ALL,
            TThis::WORDS,
            row.parameterNames.data(),
            &Call<Member>};
}
template <class Interface>
constexpr auto CODES = std::apply([](const auto&... row) { return std::array{CodeOf(row)...}; },
                                  TTable<Interface>::ROWS);

template <class... Interfaces>
struct TAllCodes
{
    static constexpr std::array<std::span<const SRowCode>, sizeof...(Interfaces)> ALL{CODES<Interfaces>...};
};
} // namespace

std::span<const std::span<const SRowCode>> AllRowCodes() { return TInterfaces::As<TAllCodes>::ALL; }
} // namespace CIM::protocol
