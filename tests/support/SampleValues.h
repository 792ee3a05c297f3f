#pragma once

#include "json/Json.h"
#include "json/OperationForm.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace CIM::json
{
/// Values of each type that occurs in a table, as JSON written by hand. Types are looked up by the first of their words
/// that is here, so that a record needs not be spelled out.
inline const std::vector<std::pair<std::string, std::vector<const char*>>>& Samples()
{
    static const std::vector<std::pair<std::string, std::vector<const char*>>> samples = {
        {"bool", {"true", "false"}},
        {"int16", {"-32768", "32767"}},
        {"int32", {"-2147483648", "2147483647"}},
        {"int64", {"-9223372036854775808", "9223372036854775807"}},
        {"uint8", {"255", "0"}},
        {"uint16", {"65535"}},
        {"uint32", {"4294967295"}},
        {"uint64", {"18446744073709551615"}},
        {"bytes", {R"("00ff7f80")", R"("")"}},
        {"text", {R"("Grüße 🎬 \u0000 end")"}},
        {"TVSHandle", {R"({"profile": "PROFILE_RECORD", "handle": 65535})", R"({"profile": -77, "handle": 0})"}},
        {"TSTvMode", {R"({"antennaMode": "ANTENNA_MODE_CABLE", "serviceMode": 9})"}},
        {"TSPlaybackPosition", {R"({"seekMode": "SEEK_MODE_ABSOLUTE", "position": -30})"}},
        {"TCCiStatus", {R"({"slots": {"-1": {"slotFlag": 1, "slotValue": -1,
                        "handles": [{"profile": "PROFILE_MAIN", "handle": 1}], "codes": [1280, 0]},
                        "4": {"slotFlag": 0, "slotValue": 5, "handles": [], "codes": []}}})"}},
        {"TCCiFileAckDTO", {R"({"firstFlag": true, "secondFlag": false, "requestType": "APP_REQUEST_FILEHASH",
                            "firstData": "0102", "secondData": ""})"}},
        {"list of SContentSection", {R"([{"firstValue": -1, "secondValue": 4611686018427387904}])"}},
        {"list of TCCiAuxiliaryFileSystemDTO",
         {R"([{"shortValue": 3, "intValue": -4, "domainId": "DOMAIN_IDS_CIMHEGP1"},
              {"shortValue": 0, "intValue": 0, "domainId": 4}])"}},
        {"list of TSCIOperatorProfileData",
         {R"([{"antennaMode": "ANTENNA_MODE_SATELLITE", "serviceMode": "SERVICE_MODE_OPERATOR", "slotId": 1,
               "profileName": {"codeUnits": [65, 55357]}, "supportedAntennaModes": ["ANTENNA_MODE_NONE", 77],
               "profileType": "OP_PROFILE_TYPE_PROFILED_TYPE_2"}])"}},
        {"list of TSDRMMetadataRecord",
         {R"([{"source": 5, "systemId": 65535, "uuid": "ffffffffffffffffffffffffffffffff", "metadata": "07"}])"}},
        {"list of TSSampleTrackNonTSFormat",
         {R"([{"trackPid": 8191, "drmRecords": [{"source": "CENC_PSSH_BOX", "systemId": 1, "uuid": "0a",
               "metadata": ""}]}, {"trackPid": 0, "drmRecords": []}])"}},
        {"list of TVSHandle",
         {R"([{"profile": "PROFILE_MAIN", "handle": 1}, {"profile": "PROFILE_NONE", "handle": 2}])"}},
        {"list of text", {R"(["/etc/a", "", "\u0007ü"])"}},
        {"list of uint16", {"[1, 65535]", "[]"}},
        {"map of TSTvMode {antennaMode: EAntennaMode, serviceMode: EServiceMode} to text",
         {R"({"ANTENNA_MODE_TERRESTRIAL/12": "A", "ANTENNA_MODE_CABLE/SERVICE_MODE_GENERIC": {"codeUnits": [56320]}})"}},
        {"map of TSTvMode {antennaMode: EAntennaMode, serviceMode: EServiceMode} to uint8",
         {R"({"ANTENNA_MODE_NONE/SERVICE_MODE_NONE": 255})"}},
        {"map of uint8 to ECamMode", {R"({"0": "CAM_MODE_CI_PLUS", "255": 9})"}},
        {"map of uint8 to ECamStatus", {R"({"1": "CAM_STATUS_READY"})"}},
        {"map of uint8 to list of uint16", {R"({"0": [1536, 2352], "1": []})"}},
        {"map of uint8 to map of EAntennaMode to text", {R"({"0": {"ANTENNA_MODE_CABLE": "Operator"}, "2": {}})"}},
    };
    return samples;
}

inline std::vector<TJson> SamplesOf(const TSType& type)
{
    std::vector<TJson> values;
    if (type.kind == EKind::ENUM)
    {
        for (const auto& [value, name] : type.enumerations.front()->enumerators)
        {
            values.emplace_back(name);
        }
        values.emplace_back(1234567);
        return values;
    }
    for (const auto& [text, samples] : Samples())
    {
        if (type.text == text || type.text.starts_with(text + " {"))
        {
            for (const char* sample : samples)
            {
                values.push_back(TJson::parse(sample));
            }
        }
    }
    EXPECT_FALSE(values.empty()) << "no sample of " << type.text;
    return values;
}

/// The n-th sample of every parameter whose direction passes.
inline TJson SampleArguments(const TCOperationForm& operation, bool (*passes)(protocol::EWord), std::size_t n)
{
    TJson arguments = TJson::object();
    for (const TSParameter& parameter : operation.Parameters())
    {
        if (passes(parameter.word))
        {
            const std::vector<TJson> samples = SamplesOf(*parameter.type);
            arguments[parameter.name] = samples.empty() ? TJson() : samples[n % samples.size()];
        }
    }
    return arguments;
}
} // namespace CIM::json
