#include "json/Signals.h"

#include <algorithm>

namespace CIM::json
{
using protocol::EPlace;
using protocol::ESubject;
using protocol::GreatestIn;
using protocol::NumberIn;
using protocol::SGiven;
using protocol::SSignal;
using protocol::SSignalFields;
using protocol::SSignalNumber;
using protocol::SSignalRow;
using protocol::SWord;
using protocol::WordFor;

namespace
{
bool IsIn(const SSignalNumber& number, EPlace field)
{
    const bool isHalf = number.place == EPlace::VALUE_LOW || number.place == EPlace::VALUE_HIGH;
    return number.place == field || (field == EPlace::VALUE && isHalf);
}

/// A number as one phrase.
std::string Phrase(const SSignalNumber& number, std::int64_t value)
{
    if (const std::string_view word = WordFor(number, value); !word.empty())
    {
        return std::string(word);
    }
    const std::string digits = std::to_string(value);
    if (*number.phrase == '\0')
    {
        return std::string(number.key) + " " + digits;
    }
    std::string phrase = value == 1 && *number.one != '\0' ? number.one : number.phrase;
    if (const std::size_t place = phrase.find('#'); place != phrase.npos)
    {
        phrase.replace(place, 1, digits);
    }
    return phrase;
}

/// A number as JSON: its name when it has one.
TJson Named(const SSignalNumber& number, std::int64_t value)
{
    const std::string_view word = WordFor(number, value);
    return word.empty() ? TJson(value) : TJson(word);
}

/// Calls visitor for each number of a signal's id and value that means something with its code.
template <class Visitor>
void ForEachMeant(const SSignalRow& row, const SSignalFields& fields, Visitor visitor)
{
    for (const SSignalNumber& number : row.numbers)
    {
        if (number.IsThere() && number.ComesWith(fields.code))
        {
            visitor(number, NumberIn(fields, number));
        }
    }
}

/// The bits of id and value that no number of the row explains.
struct TSRest
{
    std::uint32_t id;
    std::uint32_t value;
};

TSRest Unexplained(const SSignalRow& row, const SSignalFields& fields)
{
    TSRest rest{fields.id, fields.value};
    ForEachMeant(row, fields,
                 [&](const SSignalNumber& number, std::int64_t)
                 {
                     rest.id &= IsIn(number, EPlace::ID) ? 0 : 0xFFFF;
                     rest.value &= number.place == EPlace::VALUE        ? 0
                                   : number.place == EPlace::VALUE_LOW  ? 0xFFFF0000
                                   : number.place == EPlace::VALUE_HIGH ? 0xFFFF
                                                                        : 0xFFFFFFFF;
                 });
    return rest;
}

/// Whom a signal concerns: the pipeline, the slot, or both.
std::string Subject(const SSignal& signal, ESubject subject, std::uint8_t slot)
{
    const std::string_view profile = EnumName(signal.profile);
    const std::string slotText = slot == protocol::NO_SLOT ? "" : "slot " + std::to_string(slot);
    const bool isAsSlot = signal.profile == PROFILE_MAIN && signal.handle == (slot == protocol::NO_SLOT ? 0 : slot);
    if (subject == ESubject::SLOT && isAsSlot)
    {
        return slotText.empty() ? "no slot" : slotText;
    }
    const std::string pipeline =
        (profile.empty() ? "profile " + std::to_string(signal.profile) : std::string(profile)) + "/" +
        std::to_string(signal.handle);
    return pipeline + (slotText.empty() ? "" : ", " + slotText);
}
} // namespace

std::string SignalName(ECISignalType type)
{
    const std::string_view name = EnumName(type);
    return name.empty() ? "signal " + std::to_string(type) : std::string(name);
}

std::string SignalWords(const SSignal& signal)
{
    const SSignalFields fields = protocol::UnpackSignalData(signal.data);
    const SSignalRow row = protocol::SignalRow(signal.type);
    std::string said;
    const auto say = [&](const std::string& phrase) { said += (said.empty() ? "" : ", ") + phrase; };
    if (row.code.IsThere())
    {
        say(Phrase(row.code, fields.code));
    }
    else if (fields.code != 0 || row.subject == ESubject::UNKNOWN)
    {
        say("code " + std::to_string(fields.code));
    }
    ForEachMeant(row, fields, [&](const SSignalNumber& number, std::int64_t value) { say(Phrase(number, value)); });
    const TSRest rest = Unexplained(row, fields);
    if (rest.id != 0)
    {
        say("id " + std::to_string(rest.id));
    }
    if (rest.value != 0)
    {
        say("value " + std::to_string(rest.value));
    }
    const std::string subject = Subject(signal, row.subject, fields.slot);
    return said.empty() ? subject : subject + ": " + said;
}

TJson SignalDataToJson(const SSignal& signal)
{
    const SSignalFields fields = protocol::UnpackSignalData(signal.data);
    const SSignalRow row = protocol::SignalRow(signal.type);
    TJson json = {{"slot", fields.slot == protocol::NO_SLOT ? TJson() : TJson(fields.slot)},
                  {"code", Named(row.code, fields.code)},
                  {"id", fields.id},
                  {"value", fields.value}};
    TJson meaning = NewObject();
    ForEachMeant(row, fields,
                 [&](const SSignalNumber& number, std::int64_t value)
                 { Put(meaning, number.key, Named(number, value)); });
    if (!meaning.empty())
    {
        Put(json, "meaning", std::move(meaning));
    }
    Put(json, "words", SignalWords(signal));
    return json;
}

ECISignalType SignalTypeFromJson(const TJson& json, const TCJsonPath& path)
{
    if (const std::string* const text = TextOf(json))
    {
        for (const char* const prefix : {"", "SIGNAL_", "SIGNAL_CI_"})
        {
            if (const auto type = EnumValue<ECISignalType>(prefix + *text))
            {
                return *type;
            }
        }
    }
    return FromJson<ECISignalType>(json, path);
}

std::vector<std::string_view> SignalWordsOf(ECISignalType type, EPlace field, std::optional<unsigned> code)
{
    const SSignalRow row = protocol::SignalRow(type);
    std::vector<std::string_view> names;
    const auto add = [&](const SSignalNumber& number)
    {
        if (number.words != nullptr && IsIn(number, field) && (!code || number.ComesWith(*code)))
        {
            std::transform(number.words->words.begin(), number.words->words.end(), std::back_inserter(names),
                           [](const SWord& word) { return word.name; });
        }
    };
    add(row.code);
    std::for_each(row.numbers.begin(), row.numbers.end(), add);
    return names;
}

namespace
{
/// All words that a field has, whatever the signal.
const TSEnumeration& AllWords(EPlace field)
{
    const auto collect = [](EPlace place)
    {
        constexpr std::string_view TYPES[] = {"code", "id", "value"};
        TSEnumeration all{TYPES[static_cast<int>(place) - static_cast<int>(EPlace::CODE)], {}};
        std::vector<const protocol::SWords*> known;
        const auto add = [&](const SSignalNumber& number)
        {
            if (number.words != nullptr && IsIn(number, place) &&
                std::find(known.begin(), known.end(), number.words) == known.end())
            {
                known.push_back(number.words);
                for (const SWord& word : number.words->words)
                {
                    all.enumerators.push_back({word.value, word.name});
                }
            }
        };
        for (const SSignalRow& row : protocol::SIGNAL_ROWS)
        {
            add(row.code);
            std::for_each(row.numbers.begin(), row.numbers.end(), add);
        }
        return all;
    };
    static const TSEnumeration codes = collect(EPlace::CODE);
    static const TSEnumeration ids = collect(EPlace::ID);
    static const TSEnumeration values = collect(EPlace::VALUE);
    return field == EPlace::CODE ? codes : field == EPlace::ID ? ids : values;
}

/// What a word of a field means.
template <EPlace Field>
std::optional<TSSignalWord<Field>> FindWord(std::string_view name)
{
    for (const SSignalRow& row : protocol::SIGNAL_ROWS)
    {
        for (const SSignalNumber& number : {row.code, row.numbers[0], row.numbers[1], row.numbers[2]})
        {
            if (number.words == nullptr || !IsIn(number, Field))
            {
                continue;
            }
            for (const SWord& word : number.words->words)
            {
                if (word.name == name)
                {
                    SGiven given(word.value & GreatestIn(number.place));
                    given.words = number.words;
                    return TSSignalWord<Field>{given, word.name};
                }
            }
        }
    }
    return std::nullopt;
}
} // namespace

template <EPlace Field>
std::uint32_t TSSignalWord<Field>::For(ECISignalType type, unsigned code, const TCJsonPath& path) const
{
    if (protocol::Takes(protocol::SignalRow(type), Field, code, given))
    {
        return given.number;
    }
    std::string there;
    for (const std::string_view name : SignalWordsOf(type, Field, code))
    {
        there.append(there.empty() ? "; there are " : ", ").append(name);
    }
    throw TCJsonError(path, std::string(name) + " means nothing here in " + SignalName(type) +
                                (there.empty() ? ", which takes a number" : there));
}

template <EPlace Field>
TSType TJsonForm<TSSignalWord<Field>>::Type()
{
    const char* const text = Field == EPlace::CODE ? "uint8 or word"
                             : Field == EPlace::ID ? "uint16 or word"
                                                   : "uint32 or word";
    return {EKind::ENUM, text, {&AllWords(Field)}};
}

template <EPlace Field>
TJson TJsonForm<TSSignalWord<Field>>::To(const TSSignalWord<Field>& value)
{
    return value.name.empty() ? TJson(value.given.number) : TJson(value.name);
}

template <EPlace Field>
void TJsonForm<TSSignalWord<Field>>::From(const TJson& json, TSSignalWord<Field>& value, const TCJsonPath& path)
{
    if (const std::string* const text = TextOf(json))
    {
        if (const auto word = FindWord<Field>(*text))
        {
            value = *word;
            return;
        }
        if (text->empty() || text->front() < '0' || text->front() > '9')
        {
            throw TCJsonError(path, "\"" + *text + "\" is neither a number nor a word of any signal's " +
                                        std::string(AllWords(Field).type));
        }
    }
    value = {SGiven(UnsignedFromJson(json, GreatestIn(Field), path)), {}};
}

template struct TSSignalWord<EPlace::CODE>;
template struct TSSignalWord<EPlace::ID>;
template struct TSSignalWord<EPlace::VALUE>;
template struct TJsonForm<TSSignalCode>;
template struct TJsonForm<TSSignalId>;
template struct TJsonForm<TSSignalValue>;
} // namespace CIM::json
