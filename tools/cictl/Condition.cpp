#include "cictl/Condition.h"

#include "json/ToJson.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace CIM::cictl
{
namespace
{
constexpr int MOST_DEPTH = 100; // of parentheses: the reader calls itself

struct TSPlainWord
{
    std::string_view word;
    TSAtom::EKind kind;
    std::optional<ECiMmiStatus> page = {};
};
constexpr TSPlainWord SLOT_WORDS[] = {
    {"ready", TSAtom::EKind::READY},
    {"init", TSAtom::EKind::INIT},
    {"empty", TSAtom::EKind::EMPTY},
    {"menu", TSAtom::EKind::PAGE, CI_MMI_STATUS_MENU_RECEIVED},
    {"list", TSAtom::EKind::PAGE, CI_MMI_STATUS_LIST_RECEIVED},
    {"text", TSAtom::EKind::PAGE, CI_MMI_STATUS_TEXT_RECEIVED},
    {"enquiry", TSAtom::EKind::PAGE, CI_MMI_STATUS_ENQUIRY_RECEIVED},
    {"dialogue", TSAtom::EKind::PAGE},
};

template <class T, std::size_t offset>
std::int64_t Field(const TSSignal& signal)
{
    T value{};
    std::memcpy(&value, signal.data.bytes + offset, sizeof value);
    return value;
}

struct TSSignalField
{
    std::string_view name;
    std::int64_t (*get)(const TSSignal& signal);
    std::int64_t least;
    std::int64_t greatest;
};
// A value may be meant with or without a sign: both of its readings are tried.
constexpr TSSignalField SIGNAL_FIELDS[] = {
    {"slot", Field<std::uint8_t, 0>, 0, UINT8_MAX},
    {"code", Field<std::uint8_t, 1>, 0, UINT8_MAX},
    {"id", Field<std::uint16_t, 2>, 0, UINT16_MAX},
    {"value", Field<std::uint32_t, 4>, INT32_MIN, UINT32_MAX},
};

std::optional<std::int64_t> NumberFrom(std::string_view text)
{
    const bool isHex = text.starts_with("0x");
    text.remove_prefix(isHex ? 2 : 0);
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, isHex ? 16 : 10);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

bool IsMetIn(const TSAtom& atom, const TSSlotState& slot)
{
    switch (atom.kind)
    {
    case TSAtom::EKind::READY:
        return slot.isReady;
    case TSAtom::EKind::INIT:
        return !slot.isReady && slot.isNamed;
    case TSAtom::EKind::EMPTY:
        return !slot.isReady && !slot.isNamed;
    default:
        return slot.page && (!atom.page || *slot.page == *atom.page);
    }
}
} // namespace

bool TSAtom::IsMet(const TSSetState& state) const
{
    if (kind == EKind::SIGNAL)
    {
        return hasCome;
    }
    if (kind == EKind::DAEMON)
    {
        return state.isDaemonThere;
    }
    return std::any_of(state.slots.begin(), state.slots.end(),
                       [&](const auto& entry)
                       { return (!slot || *slot == entry.first) && IsMetIn(*this, entry.second); });
}

void TSAtom::Take(const TSSignal& signal)
{
    hasCome |= kind == EKind::SIGNAL && signal.type == type && (!profile || signal.profile == *profile) &&
               (!handle || signal.handle == *handle) &&
               std::all_of(fields.begin(), fields.end(),
                           [&](const TSField& field) { return field.get(signal) == field.value; });
}

TCCondition::TCCondition(std::string_view text) : m_text(text)
{
    m_root = m_ReadJoined('|', 0);
    if (m_place != m_text.size())
    {
        m_Fail(m_place, "and, or, or the end is expected");
    }
}

void TCCondition::m_Fail(std::size_t place, const std::string& what) const
{
    throw TCFailure(EXIT_USAGE,
                    "condition, character " + std::to_string(place + 1) + ": " + what + " (see cictl wait --help)");
}

// Looks at the next word, or parenthesis, without going behind it; empty at the end.
std::string_view TCCondition::m_NextWord()
{
    m_place = std::min(m_text.find_first_not_of(" \t\n", m_place), m_text.size());
    const std::string_view rest = m_text.substr(m_place);
    const std::size_t end = rest.starts_with('(') || rest.starts_with(')') ? 1 : rest.find_first_of(" \t\n()");
    return rest.substr(0, end);
}

bool TCCondition::m_Skip(std::string_view word)
{
    const bool isIt = m_NextWord() == word;
    m_place += isIt ? word.size() : 0;
    return isIt;
}

TCCondition::TNode TCCondition::m_ReadJoined(char kind, int depth)
{
    const auto readPart = [&] { return kind == '|' ? m_ReadJoined('&', depth) : m_ReadFactor(depth); };
    TNode first = readPart();
    if (!m_Skip(kind == '|' ? "or" : "and"))
    {
        m_NextWord(); // to its place, for whoever goes on
        return first;
    }
    auto joined = std::make_unique<TSNode>(TSNode{kind});
    joined->parts.push_back(std::move(first));
    do
    {
        joined->parts.push_back(readPart());
    } while (m_Skip(kind == '|' ? "or" : "and"));
    return joined;
}

TCCondition::TNode TCCondition::m_ReadFactor(int depth)
{
    const std::string_view word = m_NextWord();
    if (word == "(")
    {
        const std::size_t opening = m_place;
        if (depth == MOST_DEPTH)
        {
            m_Fail(m_place, "too many parentheses");
        }
        ++m_place;
        TNode inner = m_ReadJoined('|', depth + 1);
        if (!m_Skip(")"))
        {
            m_Fail(m_place, "the parenthesis of character " + std::to_string(opening + 1) + " is not closed");
        }
        return inner;
    }
    if (word.empty() || word == ")" || word == "and" || word == "or")
    {
        m_Fail(m_place, "a condition is expected");
    }
    m_atoms.push_back(m_ReadAtom(word, m_place));
    m_place += word.size();
    return std::make_unique<TSNode>(TSNode{'a', m_atoms.size() - 1});
}

TSAtom TCCondition::m_ReadAtom(std::string_view word, std::size_t place) const
{
    TSAtom atom;
    atom.text = word;
    constexpr std::string_view SIGNAL = "signal=";
    if (word.starts_with(SIGNAL))
    {
        atom.kind = TSAtom::EKind::SIGNAL;
        m_ReadSignal(word.substr(SIGNAL.size()), place + SIGNAL.size(), atom);
        return atom;
    }
    if (word == "daemon")
    {
        return atom;
    }
    std::string_view plain = word;
    constexpr std::string_view SLOT = "slot";
    const std::size_t dot = word.find('.');
    if (word.starts_with(SLOT) && dot != word.npos)
    {
        const auto number = NumberFrom(word.substr(SLOT.size(), dot - SLOT.size()));
        if (!number || *number < 0 || *number > UINT8_MAX)
        {
            m_Fail(place + SLOT.size(), "a slot is a number from 0 to 255");
        }
        atom.slot = static_cast<unsigned>(*number);
        plain = word.substr(dot + 1);
        place += dot + 1;
    }
    const auto* const row = std::find_if(std::begin(SLOT_WORDS), std::end(SLOT_WORDS),
                                         [&](const TSPlainWord& candidate) { return candidate.word == plain; });
    if (row == std::end(SLOT_WORDS))
    {
        m_Fail(place, "\"" + std::string(plain) + "\" is no condition");
    }
    atom.kind = row->kind;
    atom.page = row->page;
    return atom;
}

void TCCondition::m_ReadSignal(std::string_view words, std::size_t place, TSAtom& atom) const
{
    bool isType = true;
    while (isType || !words.empty())
    {
        const std::size_t comma = words.find(',');
        const std::string word(words.substr(0, comma));
        try
        {
            const std::size_t sign = word.find('=');
            const std::string name = word.substr(0, sign);
            const std::string text = sign == word.npos ? "" : word.substr(sign + 1);
            const auto* const field = std::find_if(std::begin(SIGNAL_FIELDS), std::end(SIGNAL_FIELDS),
                                                   [&](const TSSignalField& row) { return row.name == name; });
            if (isType)
            {
                atom.type = SignalFromWord(word);
            }
            else if (name == "profile" && sign != word.npos)
            {
                atom.profile = json::FromJson<EProfile>(text, json::TCJsonPath("profile"));
            }
            else if (name == "handle" && sign != word.npos)
            {
                atom.handle = json::FromJson<unsigned short>(text, json::TCJsonPath("handle"));
            }
            else if (field == std::end(SIGNAL_FIELDS) || sign == word.npos)
            {
                m_Fail(place, "FIELD=VALUE is expected, with slot, code, id, value, profile or handle");
            }
            else if (const auto number = NumberFrom(text);
                     number && *number >= field->least && *number <= field->greatest)
            {
                atom.fields.push_back({field->get, *number < 0 ? *number + UINT32_MAX + 1 : *number});
            }
            else
            {
                m_Fail(place + sign + 1, name + ": a number from " + std::to_string(field->least) + " to " +
                                             std::to_string(field->greatest) + " is expected");
            }
        }
        catch (const json::TCJsonError& error)
        {
            m_Fail(place, error.what());
        }
        isType = false;
        const std::size_t used = comma == words.npos ? words.size() : comma + 1;
        if (comma != words.npos && used == words.size())
        {
            m_Fail(place + used, "FIELD=VALUE is expected");
        }
        words.remove_prefix(used);
        place += used;
    }
}

bool TCCondition::m_IsMet(const TSNode& node, const TSSetState& state) const
{
    const auto isMet = [&](const TNode& part) { return m_IsMet(*part, state); };
    switch (node.kind)
    {
    case '&':
        return std::all_of(node.parts.begin(), node.parts.end(), isMet);
    case '|':
        return std::any_of(node.parts.begin(), node.parts.end(), isMet);
    default:
        return m_atoms[node.atom].IsMet(state);
    }
}
} // namespace CIM::cictl
