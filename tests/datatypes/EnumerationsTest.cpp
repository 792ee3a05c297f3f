#include "support/LogCapture.h"

#include <ciapi/CIAuxiliaryFileSystemDataType.h>
#include <ciapi/CIDiagnostics.h>
#include <ciapi/CIEnumerations.h>
#include <ciapi/CIOperatorProfileDataType.h>
#include <ciapi/CIPlatformEnumNames.h>
#include <ciapi/CISampleDecryptionDataType.h>
#include <ciapi/CISignalDataType.h>
#include <ciapi/PvrCipDataType.h>

#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <set>

namespace CIM
{
namespace
{
struct SName
{
    std::string enumeration;
    int value;
    std::string name;
};

const std::vector<SName>& ExpectedNames()
{
    static const std::vector<SName> names = {
#include "ExpectedNames.inc"
    };
    return names;
}

/// What happens to a value without a name.
enum EUnnamed
{
    LOGGED,
    LOGGED_AS_ERROR,
    LABELLED,
    NUMBERED,
    SIGNAL,
};

struct SEnumeration
{
    EUnnamed unnamed;
    std::string source;
    std::string label;
    std::function<std::string(int)> text;
    std::function<std::string(int)> name;
    std::function<int(std::string_view)> value; // -99: none
    std::set<int> values;
};

template <class E>
std::pair<const std::string, SEnumeration> Row(EUnnamed unnamed, std::string source = "", std::string label = "")
{
    static_assert(sizeof(E) == 4);
    SEnumeration row{unnamed, std::move(source), std::move(label), {}, {}, {}, {}};
    row.text = [](int value) { return ToString(static_cast<E>(value)); };
    row.name = [](int value) { return std::string(EnumName(static_cast<E>(value))); };
    row.value = [](std::string_view name)
    { return static_cast<int>(EnumValue<E>(name).value_or(static_cast<E>(-99))); };
    for (const auto& entry : TSEnumNames<E>::entries)
    {
        row.values.insert(entry.value);
    }
    return {std::string(TSEnumNames<E>::type), row};
}

const std::map<std::string, SEnumeration>& Enumerations()
{
    static const char kGeneral[] = "CIGeneralEnumerations.cpp";
    static const char kDebug[] = "CIDebugDataType.cpp";
    static const char kPvr[] = "PvrCipDataType.cpp";
    static const std::map<std::string, SEnumeration> rows = {
        Row<ECaState>(LOGGED, kGeneral),
        Row<ECIApplicationType>(LOGGED, kGeneral),
        Row<EMmiAnswerId>(LOGGED, kGeneral),
        Row<ECaPmtCmd>(LOGGED, kGeneral),
        Row<ECamUpgradeMode>(LOGGED, kGeneral),
        Row<ECamUpgradeAnswer>(LOGGED, kGeneral),
        Row<ECamUpgradeStatus>(LOGGED, kGeneral),
        Row<ECamPinCodeStatus>(LOGGED, kGeneral),
        Row<EWriteCipKeyResult>(LOGGED, kGeneral),
        Row<ECICipCertificateType>(LOGGED, kGeneral),
        Row<ECICipCertificateKind>(LOGGED, kGeneral),
        Row<ECiMmiStatus>(LOGGED, kGeneral),
        Row<ECamStatus>(LOGGED, kGeneral),
        Row<ECICapability>(LOGGED, kGeneral),
        Row<ECamMode>(LOGGED, kGeneral),
        Row<EPinWindowShowHandler>(LOGGED, kGeneral),
        Row<ESasConnectionStatus>(LOGGED, kGeneral),
        Row<ECamSasStatus>(LOGGED, kGeneral),
        Row<EAppMmiMessage>(LOGGED, kGeneral),
        Row<EAppMmiName>(LOGGED, kGeneral),
        Row<EAppMmiState>(LOGGED, kGeneral),
        Row<ECiSasDescramblingStatus>(LOGGED, kGeneral),
        Row<ECiCamMonitorStatus>(LOGGED, kGeneral),
        Row<ECICipTestResult>(LOGGED, kGeneral),
        Row<ECICipTestECPResult>(LOGGED, kGeneral),
        Row<ECamOperatorProfileStatus>(LOGGED, kGeneral),
        Row<EOperatorProfileInstallationOrigin>(LOGGED, kGeneral),
        Row<ECIAuxiliaryFileSystemMessage>(LABELLED),
        Row<EFileRequestType>(LABELLED),
        Row<EFileRequestAckCode>(LABELLED),
        Row<ECIAuxiliaryFileSystemDomainIds>(LABELLED),
        Row<ECIDebugMessage>(LOGGED, kDebug, "ECIDebugMessage "),
        Row<ECIDebugMSPUCommand>(LOGGED, kDebug),
        Row<ECIDebugMSPUScenario>(LOGGED, kDebug),
        Row<EThumbType>(LOGGED, kPvr),
        Row<EInfoType>(LOGGED, kPvr),
        Row<EPvrRecordState>(LOGGED, kPvr),
        Row<EPvrPlaybackState>(LOGGED, kPvr),
        Row<EPvrRecordStopReasonByCI>(LOGGED, kPvr),
        Row<EPvrTimeshiftStopReasonByCI>(LOGGED, kPvr),
        Row<EPvrPlaybackStopReasonByCI>(LOGGED, kPvr),
        Row<MuteCode>(LOGGED, kPvr),
        Row<EOpProfileType>(LOGGED_AS_ERROR, "CIOperatorProfileDataType.cpp"),
        Row<EDRMMetadataSource>(NUMBERED),
        Row<ESampleDecryptionTransmissionStatus>(NUMBERED),
        Row<ESampleDecryptionDRMStatus>(NUMBERED),
        Row<ECISignalType>(SIGNAL),
    };
    return rows;
}

std::string Decorated(const SEnumeration& row, int value, const std::string& name)
{
    const std::string number = std::to_string(value);
    return row.unnamed == NUMBERED ? name + "(" + number + ")"
           : row.unnamed == SIGNAL ? "[" + number + "]" + name
                                   : name;
}
} // namespace

TEST(Enumerations, EveryNamedValueHasItsNumberNameAndText)
{
    std::map<std::string, std::set<int>> expectedValues;
    TCLogCapture::Clear();
    for (const auto& [enumeration, value, name] : ExpectedNames())
    {
        SCOPED_TRACE(enumeration + " " + std::to_string(value));
        ASSERT_EQ(Enumerations().count(enumeration), 1u);
        const SEnumeration& row = Enumerations().at(enumeration);
        EXPECT_EQ(row.name(value), name);
        EXPECT_EQ(row.value(name), value);
        EXPECT_EQ(row.text(value), Decorated(row, value, name));
        expectedValues[enumeration].insert(value);
    }
    for (const auto& [enumeration, row] : Enumerations())
    {
        EXPECT_EQ(row.values, expectedValues[enumeration]) << enumeration;
    }
    EXPECT_TRUE(TCLogCapture::Lines().empty());
}

TEST(Enumerations, AValueWithoutANameSaysSoInItsGroupsWay)
{
    const std::string process = "[" + std::to_string(GetPid()) + "][" + GetProgName() + "] ";
    for (const auto& [enumeration, row] : Enumerations())
    {
        for (const int value : {-2147483647 - 1, -2, -1, 0, 3, 5, 9, 15, 68, 254, 4094, 4096, 2147483647})
        {
            if (row.values.count(value) != 0)
            {
                continue;
            }
            SCOPED_TRACE(enumeration + " " + std::to_string(value));
            TCLogCapture::Clear();
            const std::string text = row.text(value);
            const auto lines = TCLogCapture::Lines();
            const std::string number = std::to_string(value);
            if (row.unnamed == LOGGED || row.unnamed == LOGGED_AS_ERROR)
            {
                EXPECT_EQ(text, "");
                ASSERT_EQ(lines.size(), row.unnamed == LOGGED ? 1u : 2u);
                for (std::size_t i = 0; i < lines.size(); ++i)
                {
                    EXPECT_EQ(lines[i].buffer, row.unnamed == LOGGED ? 0 : 2);
                    EXPECT_EQ(lines[i].priority, i == 0 ? 4 : 3);
                    EXPECT_EQ(lines[i].tag, "CI_API");
                    EXPECT_THAT(lines[i].text, testing::StartsWith(row.source + ": ToString("));
                    EXPECT_THAT(lines[i].text,
                                testing::EndsWith(") > " + process + row.label + "Out of scope(" + number + ")"));
                }
                continue;
            }
            EXPECT_TRUE(lines.empty());
            EXPECT_EQ(text, row.unnamed == LABELLED   ? enumeration + " Out of scope : " + number
                            : row.unnamed == NUMBERED ? "NOT_SUPPORTED(" + number + ")"
                                                      : "[" + number + "]Out of scope");
        }
    }
}

TEST(Enumerations, ToolsFindPlatformNamesAndRefuseStrangeOnes)
{
    EXPECT_EQ(EnumName(ANTENNA_MODE_SATELLITE), "ANTENNA_MODE_SATELLITE");
    EXPECT_EQ(EnumValue<EServiceMode>("SERVICE_MODE_OPERATOR"), SERVICE_MODE_OPERATOR);
    EXPECT_EQ(EnumValue<EProfile>("PROFILE_RECORD_SECOND"), PROFILE_RECORD_SECOND);
    EXPECT_EQ(EnumValue<EStateChange>("STATE_CHANGE_SOURCE"), STATE_CHANGE_SOURCE);
    EXPECT_EQ(EnumValue<ESpeedRestriction>("SPEED_RESTRICTION_NONE"), static_cast<ESpeedRestriction>(7));
    for (const char* name : {"", "profile_main", "PROFILE_MAIN ", "PROFILE"})
    {
        EXPECT_EQ(EnumValue<EProfile>(name), std::nullopt) << name;
    }
}
} // namespace CIM
