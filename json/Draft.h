#pragma once

#include "json/JsonFwd.h"

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace CIM::json
{
class TCDraft;
struct TSDraftMember;

TCDraft List();
/// An object, whose members keep their order.
TCDraft Record(std::initializer_list<TSDraftMember> members = {});

/// JSON that is being written. A source that only writes need not compile the JSON library for that. A draft that was
/// moved from can only be assigned to or destroyed.
class TCDraft
{
public:
    TCDraft(std::nullptr_t = nullptr);
    TCDraft(bool value);
    TCDraft(int value);
    TCDraft(unsigned value);
    TCDraft(long value);
    TCDraft(unsigned long value);
    TCDraft(long long value);
    TCDraft(unsigned long long value);
    TCDraft(const char* value);
    TCDraft(std::string_view value);
    TCDraft(const std::string& value);
    TCDraft(const TJson& value);
    TCDraft(TCDraft&& other) noexcept;
    TCDraft& operator=(TCDraft&& other) noexcept;
    ~TCDraft();

    /// A list of whatever a draft can be made from.
    template <class Range, class = typename Range::const_iterator>
    requires(!std::is_convertible_v<const Range&, std::string_view> && !std::is_same_v<Range, TJson>)
        TCDraft(const Range& range)
        : TCDraft(json::List())
    {
        for (const auto& element : range)
        {
            Append(element);
        }
    }

    TCDraft& Append(TCDraft element);
    /// Sets a member.
    TCDraft& Put(std::string_view name, TCDraft value);

    /// As JSON text; never throws for what is no UTF-8, see Dump. \param[in] indent  blanks a level
    std::string Text(int indent) const;
    /// What was written; the draft is null then.
    TJson Take();

private:
    explicit TCDraft(std::unique_ptr<TJson> json);
    friend TCDraft List();
    friend TCDraft Record(std::initializer_list<TSDraftMember> members);

    std::unique_ptr<TJson> m_json;
};

struct TSDraftMember
{
    std::string_view name;
    mutable TCDraft value; ///< given away when the list is used
};
} // namespace CIM::json
