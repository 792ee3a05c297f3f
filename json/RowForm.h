#pragma once

#include "json/OperationForm.h"
#include "json/ValueForms.h"

#include "protocol/Pushed.h"

#include <array>
#include <tuple>

// From the rows of a table to TCOperationForm: only what needs a row's types. What needs no more than the type and the
// word of one value is compiled once for all rows that have such a value.

namespace CIM::json
{
/// Never sent and never read from JSON: the user data of a subscription.
template <>
struct TJsonForm<void*>
{
    static TSType Type() { return {EKind::STRUCTURED, "address", {}}; }
    static TJson To(const void*) { return nullptr; }
    static void From(const TJson&, void*&, const TCJsonPath& path)
    {
        throw TCJsonError(path, "an address cannot be given");
    }
};

template <class T, protocol::EWord Word>
class TCValue final : public TIValue
{
public:
    void* Address() override { return &m_value; }
    TJson ToJson() const override { return TJsonForm<T>::To(m_value); }
    void FromJson(const TJson& json, const TCJsonPath& path) override { TJsonForm<T>::From(json, m_value, path); }
    void Push(TCMarshallingHelper& frame) override { m_pushed.Push(frame); }
    void Load() override { m_pushed.Load(); }
    void Store() override { m_pushed.Store(); }

private:
    T m_value{};
    protocol::TPushed<Word, T> m_pushed{m_value};
};

template <class T>
const TSType& TypeOf()
{
    static const TSType type = TJsonForm<T>::Type();
    return type;
}

template <class T, protocol::EWord Word>
std::unique_ptr<TIValue> NewValueOf()
{
    return std::make_unique<TCValue<T, Word>>();
}

template <class T, protocol::EWord Word>
inline constexpr TSValueForm VALUE_FORM{Word, &TypeOf<T>, &NewValueOf<T, Word>};

/// The form of one operation.
template <class Row>
TCOperationForm MakeOperationForm(const Row& row)
{
    return [&]<std::size_t... Indices>(std::index_sequence<Indices...>)
    {
        using TInterface = typename Row::Interface;
        using TValues = typename Row::Values;
        static constexpr TSValueForm RESULT = VALUE_FORM<typename Row::Result, protocol::EWord::OUT>;
        static constexpr std::array<TSValueForm, Row::COUNT> PARAMETERS{
            VALUE_FORM<std::tuple_element_t<Indices, TValues>, Row::WORDS[Indices]>...};
        const auto call = [](void* object, void* result, [[maybe_unused]] void* const* parameters)
        {
            *static_cast<typename Row::Result*>(result) = (static_cast<TInterface*>(object)->*Row::MEMBER)(
                *static_cast<std::tuple_element_t<Indices, TValues>*>(parameters[Indices])...);
        };
        return TCOperationForm({protocol::NameOf<TInterface>(), row.NAME, row.id, row.isLocal, RESULT, PARAMETERS,
                                row.parameterNames.data(), call});
    }
    (std::make_index_sequence<Row::COUNT>{});
}

/// The form of an interface.
template <class Interface>
TCInterfaceForm MakeInterfaceForm()
{
    std::vector<TCOperationForm> operations;
    protocol::ForEachRow<Interface>([&](const auto& row) { operations.push_back(MakeOperationForm(row)); });
    return TCInterfaceForm(protocol::NameOf<Interface>(), protocol::TTable<Interface>::ConnectionName(),
                           std::move(operations));
}
} // namespace CIM::json
