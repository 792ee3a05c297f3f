#pragma once

#include "json/Forms.h"

#include "protocol/SignalRows.h"

#include <string>

// What signals carry, in words and as JSON, by the rows of protocol/SignalRows.h. All functions are reentrant.

namespace CIM::json
{
/// A signal's data in words: "slot 0: CI_MMI_STATUS_MENU_RECEIVED, 4 entries". Everything in it is told, by number
/// where nothing is known about it. ASCII only.
std::string SignalWords(const protocol::SSignal& signal);

/// A signal's name, or its number when nobody knows it.
std::string SignalName(ECISignalType type);

/// The data of a signal: "slot" (null: none), "code" (its name, or the number when it has none), "id" and "value" as
/// numbers, "meaning" with what they mean by name ({"entries": 4}), where they mean something, and "words".
TJson SignalDataToJson(const protocol::SSignal& signal);

/// Reads a type: its name, with or without SIGNAL_ or SIGNAL_CI_ in front, or its number. \throws TCJsonError
ECISignalType SignalTypeFromJson(const TJson& json, const TCJsonPath& path);

/// A field of a signal's data as somebody gives it: a number, or a word that some signal's field has.
template <protocol::EPlace Field>
struct TSSignalWord
{
    protocol::SGiven given;
    std::string_view name; ///< of the word; empty: it was a number

    /// The number for a signal with a code. \throws TCJsonError for a word that its field does not have
    std::uint32_t For(ECISignalType type, unsigned code, const TCJsonPath& path) const;
};
using TSSignalCode = TSSignalWord<protocol::EPlace::CODE>;
using TSSignalId = TSSignalWord<protocol::EPlace::ID>;
using TSSignalValue = TSSignalWord<protocol::EPlace::VALUE>;

/// The words that a field has for a signal, those for one code alone when it is given.
std::vector<std::string_view> SignalWordsOf(ECISignalType type, protocol::EPlace field,
                                            std::optional<unsigned> code = std::nullopt);

template <protocol::EPlace Field>
struct TJsonForm<TSSignalWord<Field>>
{
    static TSType Type();
    static TJson To(const TSSignalWord<Field>& value);
    static void From(const TJson& json, TSSignalWord<Field>& value, const TCJsonPath& path);
};
extern template struct TSSignalWord<protocol::EPlace::CODE>;
extern template struct TSSignalWord<protocol::EPlace::ID>;
extern template struct TSSignalWord<protocol::EPlace::VALUE>;
extern template struct TJsonForm<TSSignalCode>;
extern template struct TJsonForm<TSSignalId>;
extern template struct TJsonForm<TSSignalValue>;
} // namespace CIM::json
