// Prints what the operation tables say as tables in Lua: the first part of ciapi.lua, whose other parts go by it.

#include "TypeRows.h"

#include "traffic/Messages.h"
#include "protocol/Envelope.h"
#include "protocol/Interfaces.h"
#include "protocol/SignalRows.h"
#include "json/OperationForm.h"

#include <ciapi/CINames.h>

#include <tvplatform/Tree.h>

#include <iostream>
#include <stdexcept>
#include <tuple>

namespace CIM::dissector
{
namespace
{
using namespace protocol;

template <EWord Word, class T>
std::string ArgumentRow(const json::TSParameter& parameter, TCTypeRows& types)
{
    if constexpr (IsSent(Word))
    {
        std::string type;
        if constexpr (Word == EWord::IN_MEMBERS || Word == EWord::OUT_MEMBERS)
        {
            type = types.AddSpread<T>();
        }
        else
        {
            type = types.Add<T>();
        }
        std::string row = "\n        {tag = " + std::to_string(parameter.position) +
                          ", name = " + Quoted(parameter.name) + ", type = " + Quoted(type);
        row += parameter.nodeCount > 1 ? ", isSpread = true" : "";
        row += IsInput(Word) ? ", isInput = true" : "";
        row += IsOutput(Word) ? ", isOutput = true" : "";
        row += parameter.IsSecret() ? ", isSecret = true" : "";
        return row + "},";
    }
    return {};
}

template <class Row>
std::string OperationRow(const Row& row, const json::TCOperationForm& form, TCTypeRows& types)
{
    std::string text = "      [" + std::to_string(row.id) + "] = {name = " + Quoted(form.FullName()) +
                       ", result = " + Quoted(types.Add<typename Row::Result>()) + ", arguments = {";
    [&]<std::size_t... Indices>(std::index_sequence<Indices...>)
    {
        ((text += ArgumentRow<Row::WORDS[Indices], std::tuple_element_t<Indices, typename Row::Values>>(
              form.Parameters()[Indices], types)),
         ...);
    }
    (std::make_index_sequence<Row::COUNT>{});
    return text + "}},\n";
}

void PrintInterfaces(TCTypeRows& types)
{
    std::cout << "  interfaces = {\n";
    ForEachInterface(
        [&]<class Interface>(TType<Interface>)
        {
            const json::TCInterfaceForm* const form = json::FindInterface(NameOf<Interface>());
            std::cout << "    [" << Quoted(form->ConnectionName()) << "] = {name = " << Quoted(form->Name())
                      << ", operations = {\n";
            ForEachRow<Interface>(
                [&](const auto& row)
                {
                    if (!row.isLocal)
                    {
                        std::cout << OperationRow(row, *form->Find(row.id), types);
                    }
                });
            std::cout << "    }},\n";
        });
    std::cout << "  },\n";
}

const char* PlaceText(EPlace place)
{
    switch (place)
    {
    case EPlace::CODE:
        return "code";
    case EPlace::ID:
        return "id";
    case EPlace::VALUE:
        return "value";
    case EPlace::VALUE_LOW:
        return "low";
    case EPlace::VALUE_HIGH:
        return "high";
    case EPlace::NOWHERE:
        break;
    }
    throw std::logic_error("a number that stands nowhere");
}

std::string NumberRow(const SSignalNumber& number, TCTypeRows& types)
{
    std::string row = std::string("\n      {place = \"") + PlaceText(number.place) + "\", key = " + Quoted(number.key);
    for (const auto& [key, text] : {std::pair("phrase", number.phrase), std::pair("one", number.one)})
    {
        row += *text == '\0' ? "" : std::string(", ") + key + " = " + Quoted(text);
    }
    if (number.words != nullptr)
    {
        types.AddNames(number.words->type, number.words->words);
        row += ", names = " + Quoted(number.words->type);
    }
    if (number.codes != 0)
    {
        row += ", codes = {";
        for (unsigned code = 0; code < 64; ++code)
        {
            row += number.ComesWith(code) ? "[" + std::to_string(code) + "] = true, " : "";
        }
        row += "}";
    }
    return row + (number.isSigned ? ", isSigned = true}," : "},");
}

void PrintSignals(TCTypeRows& types)
{
    std::cout << "  signals = {\n";
    for (const SSignalRow& row : SIGNAL_ROWS)
    {
        std::cout << "    [" << row.type << "] = {";
        std::cout << (row.subject == ESubject::SLOT      ? "isOfSlot = true, "
                      : row.subject == ESubject::UNKNOWN ? "isUnknown = true, "
                                                         : "");
        for (const SSignalNumber& number : {row.code, row.numbers[0], row.numbers[1], row.numbers[2]})
        {
            std::cout << (number.IsThere() ? NumberRow(number, types) : "");
        }
        std::cout << "},\n";
    }
    std::cout << "  },\n  kinds = {";
    for (const SSignalKind& kind : SIGNAL_KINDS)
    {
        std::cout << kind.member << " = {hasHandle = " << (kind.carriesHandle ? "true" : "false") << "}, ";
    }
    std::cout << "},\n";
}

void PrintRows(const char* name, const TRows& rows)
{
    std::cout << "  " << name << " = {\n";
    for (const auto& [key, row] : rows)
    {
        std::cout << "    [" << Quoted(key) << "] = {" << row << "},\n";
    }
    std::cout << "  },\n";
}

void PrintConstant(const char* name, std::string_view text) { std::cout << "  " << name << " = " << text << ",\n"; }

void Print()
{
    TCTypeRows types;
    std::cout
        << "-- Wireshark's view of what TV applications and the CI daemon say to each other. Made from the operation\n"
           "-- tables of ciapi "
        << CIAPI_VERSION << ": do not edit.\n\nlocal TABLES = {\n";
    PrintConstant("version", Quoted(CIAPI_VERSION));
    PrintConstant("callPath", Quoted(CALL_OBJECT_PATH));
    PrintConstant("callMember", Quoted(CALL_MEMBER));
    PrintConstant("oneWayFlag", std::to_string(CALL_FLAG_ONE_WAY));
    PrintConstant("helloFlag", std::to_string(CALL_FLAG_HELLO));
    PrintConstant("handledBit", std::to_string(STATUS_HANDLED));
    PrintConstant("helloWantedBit", std::to_string(STATUS_HELLO_WANTED));
    PrintConstant("greatestDepth", std::to_string(TREE_MAXIMUM_DEPTH));
    PrintConstant("signalInterface", Quoted(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME));
    PrintConstant("markInterface", Quoted(traffic::MARK_INTERFACE));
    PrintConstant("markMember", Quoted(traffic::MARK_MEMBER));
    PrintConstant("noSlot", std::to_string(NO_SLOT));
    PrintConstant("mainProfile", std::to_string(PROFILE_MAIN));
    PrintConstant("profiles", Quoted(types.Add<EProfile>()));
    PrintConstant("signalTypes", Quoted(types.Add<ECISignalType>()));
    PrintInterfaces(types);
    PrintSignals(types);
    PrintRows("types", types.Types());
    PrintRows("names", types.Names());
    std::cout << "}\n\n";
}
} // namespace
} // namespace CIM::dissector

int main()
{
    CIM::dissector::Print();
    return std::cout.flush() ? 0 : 1;
}
