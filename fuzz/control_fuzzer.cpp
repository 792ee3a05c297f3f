#include "Input.h"

#include "simulator/control/Controls.h"
#include "simulator/faults/Fault.h"
#include "json/Document.h"

#include <charconv>

// Anything that a person may ask of a set, a line each: a control with words or with JSON behind its name, a fault as
// JSON, or a number of milliseconds to go by. Property: done, refused or wrong, each but the first with a text; the set
// lives on, and the same once more does the same; a fault that was read is written and read again as itself.

namespace
{
using namespace CIM::sim;
using CIM::fuzz::Require;
using CIM::json::TCJsonError;
using CIM::json::TCJsonPath;
using CIM::json::TJson;

constexpr TTime MOST_MS = 60'000;

TJson Parsed(std::string_view text) { return CIM::json::TCJsonDocument::Parse("line", std::string(text)).Root(); }

void ReadFault(const TJson& json)
{
    TSFault fault;
    ReadJson(json, fault, TCJsonPath());
    const TJson written = ToJson(fault);
    TSFault again;
    ReadJson(written, again, TCJsonPath());
    Require(ToJson(again) == written);
    TCFaults faults(1);
    Require(faults.Add(fault) == 1);
    faults.Meet("ICIGeneral", "EnterMenu", 0);
    Require(CIM::json::Dump(faults.List()).size() > 2);
}

/// The words behind a control's name, as a command line has them.
TJson FromWords(const TSControl& control, std::string_view words)
{
    TJson arguments = TJson::object();
    for (const TSParameter& parameter : control.parameters)
    {
        const std::string_view word = words.substr(0, words.find(' '));
        words.remove_prefix(std::min(word.size() + 1, words.size()));
        if (!word.empty())
        {
            const TCJsonPath path(parameter.name);
            arguments[parameter.name] = parameter.read(parameter.FromWord(std::string(word)), path);
        }
    }
    return arguments;
}

/// \return why not; empty when it was done
std::string Do(TCModel& model, std::string_view line)
{
    if (TTime ms = 0; std::from_chars(line.data(), line.data() + line.size(), ms).ptr == line.data() + line.size())
    {
        model.AdvanceTo(model.Now() + std::clamp<TTime>(ms, 0, MOST_MS));
        return {};
    }
    try
    {
        if (line.starts_with('{'))
        {
            ReadFault(Parsed(line));
            return {};
        }
        const std::string_view name = line.substr(0, line.find(' '));
        const std::string_view rest = line.substr(std::min(name.size() + 1, line.size()));
        const TSControl* const control = FindControl(name);
        const TJson arguments = rest.starts_with('{') ? Parsed(rest)
                                : control != nullptr  ? FromWords(*control, rest)
                                                      : TJson();
        return RunControl(model, name, arguments).error;
    }
    catch (const TCJsonError& error)
    {
        Require(*error.what() != '\0');
        return error.what();
    }
    catch (const CIM::json::TCFileError& error)
    {
        Require(*error.what() != '\0');
        return error.what();
    }
}

std::string Run(std::string_view lines)
{
    static const TSSetDefinition set = DefaultSet();
    TCModel model(set, 1);
    std::string record;
    model.SetSignalSink([&](const TSSignal& signal)
                        { record.append(reinterpret_cast<const char*>(signal.data.bytes), sizeof signal.data.bytes); });
    CIM::fuzz::TCInput input(reinterpret_cast<const std::uint8_t*>(lines.data()), lines.size());
    while (!input.IsEmpty())
    {
        record += Do(model, input.Line()) + '\n';
    }
    if (lines.size() % 8 == 0) // not always: this takes more time than all the rest
    {
        record += CIM::json::Dump(model.State());
    }
    return record;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view lines(reinterpret_cast<const char*>(data), size);
    const std::string record = Run(lines);
    // Not always: it doubles the time.
    Require(size % 8 != 0 || Run(lines) == record);
    return 0;
}
