#include "cictl/Condition.h"

#include "json/Signals.h"
#include "json/ToJson.h"

#include <algorithm>
#include <charconv>
#include <functional>

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

bool Fits(const std::optional<std::uint32_t>& wanted, std::uint32_t carried) { return !wanted || *wanted == carried; }

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
    const protocol::SSignalFields carried = protocol::UnpackSignalData(signal.data);
    hasCome |= kind == EKind::SIGNAL && signal.type == type && (!profile || signal.profile == *profile) &&
               (!handle || signal.handle == *handle) && Fits(carriedSlot, carried.slot) && Fits(code, carried.code) &&
               Fits(id, carried.id) && Fits(value, carried.value);
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
        const std::string_view digits = word.substr(SLOT.size(), dot - SLOT.size());
        unsigned char number = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (error != std::errc() || end != digits.data() + digits.size())
        {
            m_Fail(place + SLOT.size(), "a slot is a number from 0 to 255");
        }
        atom.slot = number;
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

// TYPE[,FIELD=VALUE...]. What a word means depends on the type and the code: those of id and value are read at the end.
void TCCondition::m_ReadSignal(std::string_view words, std::size_t place, TSAtom& atom) const
{
    std::size_t begin = 0;
    std::function<void()> readId = [] {};
    std::function<void()> readValue = [] {};
    while (begin != words.npos)
    {
        const std::size_t comma = words.find(',', begin);
        const std::string word(words.substr(begin, comma == words.npos ? comma : comma - begin));
        const std::size_t sign = word.find('=');
        const std::string name = word.substr(0, sign);
        const std::string text = sign == word.npos ? "" : word.substr(sign + 1);
        const auto here = [this, at = place + begin](const auto& read)
        {
            try
            {
                read();
            }
            catch (const json::TCJsonError& error)
            {
                m_Fail(at, error.what());
            }
        };
        const json::TCJsonPath path(name);
        const auto later = [&atom, here, text, name](auto form, auto& field) -> std::function<void()>
        {
            return [&atom, here, text, name, form, &field]() mutable
            {
                here(
                    [&]
                    {
                        const json::TCJsonPath path(name);
                        form = json::FromJson<decltype(form)>(text, path);
                        field = form.For(atom.type, atom.code.value_or(0), path);
                    });
            };
        };
        here(
            [&]
            {
                if (begin == 0)
                {
                    atom.type = SignalTypeFromWord(word);
                }
                else if (sign == word.npos)
                {
                    m_Fail(place + begin, "FIELD=VALUE is expected");
                }
                else if (name == "profile")
                {
                    atom.profile = json::FromJson<EProfile>(text, path);
                }
                else if (name == "handle")
                {
                    atom.handle = json::FromJson<unsigned short>(text, path);
                }
                else if (name == "slot")
                {
                    atom.carriedSlot = json::FromJson<unsigned char>(text, path);
                }
                else if (name == "code")
                {
                    atom.code = json::FromJson<json::TSSignalCode>(text, path).For(atom.type, 0, path);
                }
                else if (name == "id")
                {
                    readId = later(json::TSSignalId(), atom.id);
                }
                else if (name == "value")
                {
                    readValue = later(json::TSSignalValue(), atom.value);
                }
                else
                {
                    m_Fail(place + begin,
                           "a signal has no \"" + name + "\"; it has slot, code, id, value, profile and handle");
                }
            });
        begin = comma == words.npos ? comma : comma + 1;
    }
    readId();
    readValue();
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
