#include "json/Draft.h"

#include "json/Json.h"

namespace CIM::json
{
TCDraft::TCDraft(std::nullptr_t) : m_json(std::make_unique<TJson>()) {}
TCDraft::TCDraft(bool value) : m_json(std::make_unique<TJson>(value)) {}
TCDraft::TCDraft(int value) : m_json(std::make_unique<TJson>(value)) {}
TCDraft::TCDraft(unsigned value) : m_json(std::make_unique<TJson>(value)) {}
TCDraft::TCDraft(long value) : m_json(std::make_unique<TJson>(value)) {}
TCDraft::TCDraft(unsigned long value) : m_json(std::make_unique<TJson>(value)) {}
TCDraft::TCDraft(long long value) : m_json(std::make_unique<TJson>(value)) {}
TCDraft::TCDraft(unsigned long long value) : m_json(std::make_unique<TJson>(value)) {}
TCDraft::TCDraft(const char* value) : m_json(std::make_unique<TJson>(value)) {}
TCDraft::TCDraft(std::string_view value) : m_json(std::make_unique<TJson>(value)) {}
TCDraft::TCDraft(const std::string& value) : m_json(std::make_unique<TJson>(value)) {}
TCDraft::TCDraft(const TJson& value) : m_json(std::make_unique<TJson>(value)) {}
TCDraft::TCDraft(TCDraft&& other) noexcept = default;
TCDraft& TCDraft::operator=(TCDraft&& other) noexcept = default;
TCDraft::~TCDraft() = default;

TCDraft::TCDraft(std::unique_ptr<TJson> json) : m_json(std::move(json)) {}

TCDraft List() { return TCDraft(std::make_unique<TJson>(TJson::array())); }

TCDraft Record(std::initializer_list<TSDraftMember> members)
{
    TCDraft record(std::make_unique<TJson>(TJson::object()));
    for (const TSDraftMember& member : members)
    {
        record.Put(member.name, std::move(member.value));
    }
    return record;
}

TCDraft& TCDraft::Append(TCDraft element)
{
    m_json->push_back(std::move(*element.m_json));
    return *this;
}

TCDraft& TCDraft::Put(std::string_view name, TCDraft value)
{
    (*m_json)[std::string(name)] = std::move(*value.m_json);
    return *this;
}

std::string TCDraft::Text(int indent) const { return Dump(*m_json, indent); }

TJson TCDraft::Take() { return std::move(*m_json); }
} // namespace CIM::json
