#pragma once

#include "simulator/control/Controls.h"
#include "simulator/definition/Text.h"
#include "simulator/model/Model.h"

#include <ciapi/CIService.h>

#include <gmock/gmock.h>

#include "json/Json.h"

#include <algorithm>
#include <string>
#include <vector>

namespace CIM::sim
{
/// A model whose signals are kept as lines such as "1500 CAM_READY_STATUS_CHANGED slot 0 code 1 id 0 value 0", the
/// pipeline behind them when it is not the slot's own.
class TCRecorder
{
public:
    explicit TCRecorder(TSSetDefinition definition = DefaultSet(), std::uint64_t seed = 1)
        : model(std::move(definition), seed)
    {
        model.SetSignalSink([this](const TSSignal& signal) { m_OnSignal(signal); });
    }

    void Advance(TTime delay) { model.AdvanceTo(model.Now() + delay); }

    /// The lines since the last call.
    std::vector<std::string> Take() { return std::exchange(lines, {}); }

    TSOutcome Do(std::string_view name, const json::TJson& arguments = json::TJson::object())
    {
        try
        {
            return RunControl(model, name, arguments);
        }
        catch (const json::TCJsonError& error)
        {
            return TSOutcome::Refused(error.what());
        }
    }

    TCModel model;
    std::vector<std::string> lines;
    std::string bytes; ///< every signal as it would travel, to compare runs

private:
    void m_OnSignal(const TSSignal& signal)
    {
        const TSSignalFields fields = UnpackSignalData(signal.data);
        const std::string_view name = EnumName(signal.type);
        std::string line = std::to_string(model.Now()) + " " +
                           std::string(name.substr(std::min<std::size_t>(10, name.size()))) + " slot " +
                           std::to_string(fields.slot) + " code " + std::to_string(fields.code) + " id " +
                           std::to_string(fields.id) + " value " + std::to_string(fields.value);
        if (signal.profile != PROFILE_MAIN || signal.handle != (fields.slot == NO_SLOT ? 0 : fields.slot))
        {
            line += " at " + std::to_string(signal.profile) + "/" + std::to_string(signal.handle);
        }
        lines.push_back(line);
        const std::string head = std::to_string(model.Now()) + ":" + std::to_string(signal.type) + ":";
        bytes += head + std::string(reinterpret_cast<const char*>(signal.data.bytes), sizeof signal.data.bytes);
    }
};

/// The built-in set with its CAM ready, its signals taken.
inline void MakeReady(TCRecorder& recorder)
{
    recorder.Advance(1'500);
    recorder.Take();
}

inline std::string Utf8(const TCIText& text) { return ToUtf8(UnitsOf(text)); }

inline std::string Utf8(const std::basic_string<unsigned short>& text)
{
    return ToUtf8(std::u16string(text.begin(), text.end()));
}
} // namespace CIM::sim
