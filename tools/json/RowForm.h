#pragma once

#include "json/OperationForm.h"
#include "json/ValueForms.h"

#include "protocol/Pushed.h"

#include <array>
#include <tuple>

// From the rows of a table to TOperationForm: only what needs a row's types, so that each interface compiles quickly.
// Included by one source for each interface.

namespace CIM::json
{
template <class T>
class TTypeForm final : public TITypeForm
{
public:
    const TSType& Type() const override { return m_type; }
    TJson To(const void* value) const override { return TJsonForm<T>::To(*static_cast<const T*>(value)); }
    void From(const TJson& json, void* value, const TJsonPath& path) const override
    {
        TJsonForm<T>::From(json, *static_cast<T*>(value), path);
    }

private:
    TSType m_type = TJsonForm<T>::Type();
};

/// Never sent and never read from JSON: the user data of a subscription.
template <>
class TTypeForm<void*> final : public TITypeForm
{
public:
    const TSType& Type() const override { return m_type; }
    TJson To(const void*) const override { return nullptr; }
    void From(const TJson&, void*, const TJsonPath& path) const override
    {
        throw TJsonError(path, "an address cannot be given");
    }

private:
    TSType m_type{EKind::STRUCTURED, "address", {}};
};

template <class T>
const TITypeForm& TypeForm()
{
    static const TTypeForm<T> form;
    return form;
}

template <class Row>
class TRowValues final : public TIValues
{
public:
    explicit TRowValues(const Row& row) : m_row(row) {}
    void* Parameter(std::size_t index) override
    {
        return std::apply([](auto&... values) { return std::array<void*, Row::COUNT>{&values...}; }, m_values)[index];
    }
    void* Result() override { return &m_result; }
    void Push(TCMarshallingHelper& frame) override
    {
        m_pushedResult.Push(frame);
        m_ForEach([&](auto& pushed) { pushed.Push(frame); });
    }
    void Load() override
    {
        m_pushedResult.Load();
        m_ForEach([](auto& pushed) { pushed.Load(); });
    }
    void Store() override
    {
        m_pushedResult.Store();
        m_ForEach([](auto& pushed) { pushed.Store(); });
    }
    void Call(void* object) override
    {
        m_result = std::apply([&](auto&... values) -> typename Row::Result
                              { return (static_cast<typename Row::Interface*>(object)->*Row::MEMBER)(values...); },
                              m_values);
    }

private:
    template <class Visitor>
    void m_ForEach(Visitor visitor)
    {
        protocol::ForEachPushed<Row>(m_parameters, protocol::IsSent, visitor);
    }

    const Row& m_row;
    typename Row::Values m_values{};
    typename Row::Result m_result{};
    protocol::TPushedResult<typename Row::Result> m_pushedResult{m_result};
    protocol::TPushedParameters<Row> m_parameters = std::make_from_tuple<protocol::TPushedParameters<Row>>(m_values);
};

template <class Row>
class TRowForm final : public TOperationForm
{
public:
    TRowForm(const char* interfaceName, const Row& row)
        : TOperationForm(interfaceName, row.NAME, row.id, row.isLocal, TypeForm<typename Row::Result>()), m_row(row)
    {
        [&]<std::size_t... Indices>(std::index_sequence<Indices...>)
        {
            (t_AddParameter(row.parameterNames[Indices], Row::WORDS[Indices],
                            TypeForm<std::tuple_element_t<Indices, typename Row::Values>>()),
             ...);
        }
        (std::make_index_sequence<Row::COUNT>{});
    }

private:
    std::unique_ptr<TIValues> m_NewValues() const override { return std::make_unique<TRowValues<Row>>(m_row); }

    const Row& m_row;
};

/// The form of an interface. \param[in] instance  asks the facade
template <class Interface>
TInterfaceForm MakeInterfaceForm(void* (*instance)())
{
    std::vector<std::unique_ptr<TOperationForm>> operations;
    protocol::ForEachRow<Interface>(
        [&]<class Row>(const Row& row)
        { operations.push_back(std::make_unique<TRowForm<Row>>(protocol::NameOf<Interface>(), row)); });
    return TInterfaceForm(protocol::NameOf<Interface>(), protocol::TTable<Interface>::ConnectionName(), instance,
                          std::move(operations));
}
} // namespace CIM::json
