#include "Nearest.h"

#include <algorithm>
#include <cctype>

namespace CIM
{
namespace
{
std::string Lower(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return lower;
}

/// How many letters have to be changed, put in, taken out or swapped with their neighbour to make one word of the other.
std::size_t Distance(std::string_view one, std::string_view other)
{
    std::vector<std::size_t> before;
    std::vector<std::size_t> row;
    std::vector<std::size_t> next(other.size() + 1);
    for (std::size_t j = 0; j < next.size(); ++j)
    {
        next[j] = j;
    }
    for (std::size_t i = 1; i <= one.size(); ++i)
    {
        before = std::move(row);
        row = std::move(next);
        next.assign(other.size() + 1, i);
        for (std::size_t j = 1; j <= other.size(); ++j)
        {
            const std::size_t changed = row[j - 1] + (one[i - 1] == other[j - 1] ? 0 : 1);
            next[j] = std::min({changed, row[j] + 1, next[j - 1] + 1});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1])
            {
                next[j] = std::min(next[j], before[j - 2] + 1);
            }
        }
    }
    return next.back();
}

/// A misspelling, or a part of the name that is long enough to say which.
bool IsLike(std::string_view wrong, std::string_view name, std::size_t distance)
{
    constexpr std::size_t LEAST_PART = 3;
    const bool isPart = wrong.size() >= LEAST_PART && name.find(wrong) != name.npos;
    return isPart || distance <= (std::max(wrong.size(), name.size()) + 1) / 3;
}
} // namespace

std::string_view Nearest(std::string_view wrong, const TNames& known)
{
    constexpr std::size_t LONGEST = 200; // nobody mistypes a novel, and it is compared with every name
    if (wrong.empty() || wrong.size() > LONGEST)
    {
        return {};
    }
    const std::string word = Lower(wrong);
    std::string_view nearest;
    std::size_t least = std::string_view::npos;
    for (const std::string_view name : known)
    {
        const std::string candidate = Lower(name);
        const std::size_t distance = Distance(word, candidate);
        if (distance < least && IsLike(word, candidate, distance))
        {
            nearest = name;
            least = distance;
        }
    }
    return nearest;
}

std::string DidYouMean(std::string_view wrong, const TNames& known)
{
    const std::string_view nearest = Nearest(wrong, known);
    return nearest.empty() ? std::string() : "; did you mean " + std::string(nearest) + "?";
}

std::string ThereAre(const TNames& known, std::string_view wrong)
{
    constexpr std::size_t MANY = 12;
    const std::string_view nearest = Nearest(wrong, known);
    const std::string question = nearest.empty() ? std::string() : "did you mean " + std::string(nearest) + "?";
    if (known.size() > MANY && !question.empty())
    {
        return question;
    }
    std::string text;
    for (const std::string_view name : known)
    {
        text.append(text.empty() ? "there are " : ", ").append(name);
    }
    return (text.empty() ? "there are none" : text) + (question.empty() ? "" : "; " + question);
}
} // namespace CIM
