#include "Words.h"

#include "json/OperationForm.h"

#include <algorithm>

namespace CIM::sim
{
namespace
{
using json::TJson;

std::string WithoutInterface(const std::string& operation) { return operation.substr(operation.find('.') + 1); }

bool IsSecret(const TCCallPattern& pattern, const std::string& name)
{
    const json::TSParameter* const parameter = pattern.Form().FindParameter(name);
    return parameter == nullptr || parameter->IsSecret();
}

/// What is said of a value in one line.
std::string Shown(const TJson& value)
{
    constexpr std::size_t LONGEST = 60;
    std::string text = json::WordOf(value);
    if (text.size() > LONGEST)
    {
        text = text.substr(0, LONGEST) + "...";
    }
    return text;
}

/// Where a value differs from what is wanted: the first member of an object that does, or the whole.
void Differ(const std::string& name, const TJson& made, const TJson& wanted, std::string& words)
{
    if (wanted.is_object() && made.is_object())
    {
        for (const auto& item : wanted.items())
        {
            const bool isThere = made.contains(item.key());
            if (!isThere || !json::IsSame(made.at(item.key()), item.value()))
            {
                Differ(name + "." + item.key(), isThere ? made.at(item.key()) : TJson(), item.value(), words);
            }
        }
        return;
    }
    if (!json::IsSame(made, wanted))
    {
        words += (words.empty() ? "" : ", ") + name + " " + Shown(made) + " instead of " + Shown(wanted);
    }
}

std::string Refusal(const TSMadeCall& call) { return call.isRefused ? " and was refused" : ""; }

/// How much two operations have to do with each other: the words that their names share, but for what is done.
int Kinship(const std::string& left, const std::string& right)
{
    static constexpr std::string_view TOPICS[] = {
        "Mmi",     "Menu", "Enquiry", "Pin",     "Sas",  "CaPmt", "Upgrade", "Profile", "Player", "File",
        "Decrypt", "App",  "Tune",    "Release", "Slot", "Cam",   "Play",    "Content", "Thumb",  "Ci"};
    int shared = 0;
    for (const std::string_view topic : TOPICS)
    {
        shared += left.find(topic) != std::string::npos && right.find(topic) != std::string::npos ? 1 : 0;
    }
    return shared + (left.substr(0, left.find('.')) == right.substr(0, right.find('.')) ? 1 : 0);
}
} // namespace

std::string TCCallPattern::Words() const
{
    std::string words = WithoutInterface(m_operation);
    bool isFirst = true;
    for (const auto& item : Arguments().items())
    {
        words += isFirst ? " with " : ", ";
        isFirst = false;
        words += IsSecret(*this, item.key()) ? "a certain " + item.key() : item.key() + " " + Shown(item.value());
    }
    for (const auto& [name, length] : m_shorter)
    {
        words += (isFirst ? " with " : ", ") + name + " of fewer than " + std::to_string(length) + " characters";
        isFirst = false;
    }
    return words;
}

std::string WhatDiffers(const TCCallPattern& pattern, const TSMadeCall& call)
{
    std::string words;
    for (const auto& item : pattern.Arguments().items())
    {
        const bool isThere = call.arguments.contains(item.key());
        const TJson made = isThere ? call.arguments.at(item.key()) : TJson();
        if (!IsSecret(pattern, item.key()))
        {
            Differ(item.key(), made, item.value(), words);
        }
        else if (!json::IsSame(made, item.value()))
        {
            const bool isAsLong =
                made.is_string() && item.value().is_string() &&
                made.get_ref<const std::string&>().size() == item.value().get_ref<const std::string&>().size();
            words += (words.empty() ? "another " : ", another ") + item.key();
            words += isAsLong || made.is_null() ? "" : ", of another length";
        }
    }
    return words;
}

std::string LastRefused(const TCArrivals<TSMadeCall>& calls, std::uint64_t begin)
{
    for (std::uint64_t i = calls.End(); i > std::max(begin, calls.Begin()); --i)
    {
        if (calls[i - 1].isRefused)
        {
            return WithoutInterface(calls[i - 1].operation) + " came and was refused";
        }
    }
    return {};
}

std::string NearestTo(const TCCallPattern& pattern, const TCArrivals<TSMadeCall>& calls, std::uint64_t begin)
{
    const TSMadeCall* same = nullptr;
    const TSMadeCall* related = nullptr;
    int most = 0;
    unsigned others = 0;
    for (std::uint64_t i = std::max(begin, calls.Begin()); i < calls.End(); ++i)
    {
        const TSMadeCall& call = calls[i];
        const int kinship = Kinship(call.operation, pattern.Operation());
        same = pattern.IsOf(call) && !pattern.Matches(call) ? &call : same;
        if (!call.isSubscription && kinship >= std::max(most, 1))
        {
            related = &call;
            most = kinship;
        }
        others += call.isSubscription ? 0 : 1;
    }
    if (same != nullptr)
    {
        return WithoutInterface(same->operation) + " came with " + WhatDiffers(pattern, *same) + Refusal(*same);
    }
    if (related == nullptr)
    {
        return others > 0 ? "nothing like it came" : std::string();
    }
    return related->Text() + " came" + Refusal(*related) +
           (others > 1 ? ", the nearest of " + std::to_string(others) + " calls" : ", and nothing else");
}
} // namespace CIM::sim
