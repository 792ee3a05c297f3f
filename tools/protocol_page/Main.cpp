// Prints the part of docs/protocol.md that follows from the tables: operations, objects, enumerations, kinds of
// signals. Given "signals", that of docs/signals.md: what each signal carries.

#include "WireText.h"

#include "protocol/Envelope.h"
#include "protocol/Interfaces.h"
#include "protocol/Pushed.h"
#include "protocol/SignalRows.h"

#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <tuple>

namespace CIM::page
{
namespace
{
using namespace protocol;

/// The arguments of one operation, as cells of its line.
struct SOperation
{
    std::string request;
    std::string reply;
    std::size_t count = 1; ///< of the arguments so far; 0 is the result

    void Add(bool inRequest, bool inReply, const std::string& name, const std::string& form)
    {
        const std::string text = std::to_string(count++) + " " + name + ": " + form;
        for (const auto& [isIn, cell] : {std::pair(inRequest, &request), std::pair(inReply, &reply)})
        {
            if (isIn)
            {
                *cell += (cell->empty() ? "" : "<br>") + text;
            }
        }
    }
};

template <EWord Word, class T>
void AddParameter(SOperation& operation, const char* name, SGlossary& glossary)
{
    if constexpr (Word == EWord::IN_MEMBERS || Word == EWord::OUT_MEMBERS)
    {
        T handle;
        ForEachMember(handle,
                      [&]<class Field>(const auto& member, Field&)
                      {
                          operation.Add(IsInput(Word), IsOutput(Word), Code(std::string(name) + "." + member.NAME),
                                        WireText<Field>(glossary));
                      });
    }
    else if constexpr (IsSent(Word))
    {
        operation.Add(IsInput(Word), IsOutput(Word), Code(name) + (Word == EWord::SECRET_IN ? ", a secret" : ""),
                      WireText<T>(glossary));
    }
}

/// How many arguments the two sides push for a row, the result included.
template <class Row>
std::size_t PushedCount()
{
    typename Row::Values values{};
    typename Row::Result result = Row::Seed(false);
    TCMarshallingHelperStub frame;
    TPushedResult<typename Row::Result>(result).Push(frame);
    TPushedParameters<Row> parameters = std::make_from_tuple<TPushedParameters<Row>>(values);
    ForEachPushed<Row>(parameters, IsSent, [&](auto& pushed) { pushed.Push(frame); });
    return frame.GetArgumentCount();
}

std::string Cell(const std::string& text) { return text.empty() ? " |" : " | " + text; }

/// A line of an interface's table.
template <class Row>
std::string OperationLine(const Row& row, SGlossary& glossary)
{
    std::string line = "| " + std::to_string(row.id) + " | " + Code(Row::NAME);
    if (row.isLocal)
    {
        return line + " | never sent: the library answers by itself | | |\n";
    }
    const std::string result = WireText<typename Row::Result>(glossary);
    SOperation operation;
    [&]<std::size_t... Indices>(std::index_sequence<Indices...>)
    {
        (AddParameter<Row::WORDS[Indices], std::tuple_element_t<Indices, typename Row::Values>>(
             operation, row.parameterNames[Indices], glossary),
         ...);
    }
    (std::make_index_sequence<Row::COUNT>{});
    if (operation.count != PushedCount<Row>())
    {
        throw std::logic_error(std::string("the arguments of ") + Row::NAME + " are counted wrongly");
    }
    return line + (Row::HAS_ONE_WAY ? ", one-way" : "") + Cell(operation.request) + Cell(result) +
           Cell(operation.reply) + " |\n";
}

void PrintOperations(SGlossary& glossary)
{
    ForEachInterface(
        [&]<class Interface>(TType<Interface>)
        {
            std::cout
                << "### " << NameOf<Interface>()
                << "\n\nBus name and D-Bus interface: " << Code(TTable<Interface>::ConnectionName())
                << "\n\n| Id | Operation | Request | Result (0) | Reply, further arguments |\n|---|---|---|---|---|\n";
            ForEachRow<Interface>([&](const auto& row) { std::cout << OperationLine(row, glossary); });
            std::cout << '\n';
        });
}

void PrintTables(const SGlossary& glossary)
{
    std::cout << "### Objects\n\n| Object | Tag | Field | Form |\n|---|---|---|---|\n";
    for (const auto& [name, lines] : glossary.objects)
    {
        std::cout << lines;
    }
    std::cout << "\n### Packed records\n\n| Record | Offset | Field | Form |\n|---|---|---|---|\n";
    for (const auto& [name, lines] : glossary.packedRecords)
    {
        std::cout << lines;
    }
}

void PrintEnumerations(const SGlossary& glossary)
{
    constexpr std::size_t LINE_WIDTH = 120;
    std::cout << "\n### Enumerations\n\n";
    for (const auto& [name, values] : glossary.enumerations)
    {
        std::string line = "- " + Code(name) + ":";
        for (std::size_t begin = 0; begin < values.size();)
        {
            const std::size_t comma = values.find(',', begin);
            const std::string value = values.substr(begin, comma == std::string::npos ? comma : comma + 1 - begin);
            if (line.size() + 1 + value.size() > LINE_WIDTH)
            {
                std::cout << line << '\n';
                line = " ";
            }
            line += " " + value;
            begin = comma == std::string::npos ? values.size() : comma + 2;
        }
        std::cout << line << '\n';
    }
}

void PrintSignalKinds()
{
    std::cout << "\n### Kinds of signals\n\n| Kind | Member | Has the pipeline |\n|---|---|---|\n";
    for (std::size_t type = 0; type < SIGNAL_KINDS.size(); ++type)
    {
        std::cout << "| " << type << " | " << Code(SIGNAL_KINDS[type].member) << " | "
                  << (SIGNAL_KINDS[type].carriesHandle ? "yes" : "no") << " |\n";
    }
}

/// The numbers of a signal, its code included.
template <class Visitor>
void ForEachNumber(const SSignalRow& row, Visitor visitor)
{
    for (const SSignalNumber& number : {row.code, row.numbers[0], row.numbers[1], row.numbers[2]})
    {
        if (number.IsThere())
        {
            visitor(number);
        }
    }
}

/// Enumerations that may stand in no operation, but in the data of signals.
void ExplainSignalEnumerations(SGlossary& glossary)
{
    for (const SSignalRow& row : SIGNAL_ROWS)
    {
        ForEachNumber(row,
                      [&](const SSignalNumber& number)
                      {
                          if (number.words == nullptr || !number.words->isPublic)
                          {
                              return;
                          }
                          std::string text;
                          for (const auto& [value, name] : number.words->words)
                          {
                              text += (text.empty() ? "" : ", ") + std::to_string(value) + " " + Code(name);
                          }
                          glossary.enumerations[std::string(number.words->type)] = text;
                      });
    }
}

/// In hexadecimal digits from two digits on: there they are bits and bytes.
std::string Number(std::int64_t value)
{
    char text[32];
    std::snprintf(text, sizeof text, value < 10 ? "%lld" : "0x%llX", static_cast<long long>(value));
    return text;
}

/// What a number of a signal means, as part of a cell.
std::string Meaning(const SSignalRow& row, const SSignalNumber& number)
{
    std::string text = number.place == EPlace::VALUE_LOW    ? "lower 16 bits: "
                       : number.place == EPlace::VALUE_HIGH ? "upper 16 bits: "
                                                            : "";
    text += number.text;
    if (number.words != nullptr && number.words->isPublic)
    {
        text += Code(number.words->type);
    }
    else if (number.words != nullptr)
    {
        const char* separator = *number.text == '\0' ? "" : "; ";
        for (const auto& [value, name] : number.words->words)
        {
            text += separator + Number(value) + " " + Code(name);
            separator = ", ";
        }
    }
    if (number.codes != 0)
    {
        const char* separator = "";
        std::string codes;
        for (unsigned code = 0; code < 64; ++code)
        {
            if (number.ComesWith(code))
            {
                codes += separator + Code(WordFor(row.code, code));
                separator = ", ";
            }
        }
        text = "with " + codes + ": " + text;
    }
    return text;
}

void PrintSignals()
{
    std::cout << "| Signal | Raised for | code | id | value |\n|---|---|---|---|---|\n";
    std::string others;
    for (const SSignalRow& row : SIGNAL_ROWS)
    {
        if (row.subject == ESubject::UNKNOWN)
        {
            others += (others.empty() ? "" : ",\n") + Code(EnumName(row.type));
            continue;
        }
        std::string code;
        std::string id;
        std::string value;
        ForEachNumber(
            row,
            [&](const SSignalNumber& number)
            {
                std::string& cell = number.place == EPlace::CODE ? code : number.place == EPlace::ID ? id : value;
                cell += (cell.empty() ? "" : "<br>") + Meaning(row, number);
            });
        std::cout << "| " << Code(EnumName(row.type)) << " | " << (row.subject == ESubject::SLOT ? "slot" : "pipeline")
                  << Cell(code) << Cell(id) << Cell(value) << " |\n";
    }
    std::cout << "\nThese have no cause in the model, and their numbers no meaning:\n" << others << ".\n";
}
} // namespace
} // namespace CIM::page

int main(int argc, char** argv)
{
    if (argc == 2 && std::string_view(argv[1]) == "signals")
    {
        CIM::page::PrintSignals();
        return 0;
    }
    CIM::page::SGlossary glossary;
    CIM::page::PrintOperations(glossary);
    CIM::page::PrintTables(glossary);
    CIM::page::ExplainSignalEnumerations(glossary);
    CIM::page::PrintEnumerations(glossary);
    CIM::page::PrintSignalKinds();
}
