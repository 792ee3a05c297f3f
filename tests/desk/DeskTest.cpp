#include "support/TestEnvironment.h"
#include "tools/CommandRun.h"

#include <ciapi/CINames.h>

#include <gmock/gmock.h>

namespace CIM
{
namespace
{
// The line comes before any waiting, and once; a pipe gets none.
TEST(Desk, ATerminalIsToldAtOnceWhatIsMissing)
{
    const TCTempFolder folder;
    const TCEnvironmentVariable config("XDG_CONFIG_HOME", folder.File("config"));
    const TCEnvironmentVariable noBus("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + folder.File("bus"));
    const auto expect = [](const char* what)
    {
        const std::string shown = RunInTerminal({APPLICATION}, {}).output;
        const std::size_t wait = shown.find("[waits]\r\n");
        ASSERT_NE(wait, shown.npos) << shown;
        const std::string hint = shown.substr(0, wait);
        EXPECT_THAT(hint, testing::HasSubstr(what));
        EXPECT_THAT(hint, testing::EndsWith("ci-daemon-sim run -- COMMAND\r\n"));
        EXPECT_EQ(hint.find('\n'), hint.size() - 1) << "one line";
        EXPECT_EQ(shown.substr(wait), "[waits]\r\n") << "and nothing more";
        EXPECT_EQ(RunCommand({APPLICATION}).error, "[waits]\n");
    };
    {
        const TCEnvironmentVariable noKeys("TVPLATFORM_SYSTEM_INFO", folder.File("keys"));
        expect("there is no file with feature keys (");
    }
    const TCFeatureKeys keys{{CI_FMS_NUM_OF_CI, "2"}, {CI_FMS_SUPPORT, "true"}, {CI_FMS_SUPPORT_CERTIFICATION, "true"}};
    expect("there is no system bus (");

    const TCFeatureKeys others{{"a/b", "1"}};
    EXPECT_THAT(RunInTerminal({APPLICATION}, {}).output, testing::StartsWith("[waits]")) << "a file that lacks a key";
}
} // namespace
} // namespace CIM
