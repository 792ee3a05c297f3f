#pragma once

#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

// For whoever refuses a name: which of the right ones was probably meant.

namespace CIM
{
using TNames = std::vector<std::string_view>;

/// \return the name that is most like the wrong one; empty when none is like it
std::string_view Nearest(std::string_view wrong, const TNames& known);

/// "; did you mean NAME?", or nothing when none is like it.
std::string DidYouMean(std::string_view wrong, const TNames& known);

/// "there are NAME, NAME; did you mean NAME?"; without the names when they are so many that the one would be overlooked.
std::string ThereAre(const TNames& known, std::string_view wrong);

/// The names of what has one. \param[in] name  gives that of an element; what it refers to outlives the names
template <class Range, class Name>
TNames NamesOf(const Range& range, Name name)
{
    static_assert(!std::is_same_v<decltype(name(*std::begin(range))), std::string>,
                  "a text that is made for the question is gone before the names are read");
    TNames names;
    for (const auto& each : range)
    {
        names.emplace_back(name(each));
    }
    return names;
}
} // namespace CIM
