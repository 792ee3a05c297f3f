#include <tvplatform/SystemInfo.h>

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <thread>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
using CIM::TCEnvironmentVariable;
using CIM::TCFeatureKeys;
using CIM::TCTempFolder;

constexpr int UNTOUCHED = 4711;

TEST(SystemInfo, ReadsValuesOfTheirType)
{
    TCFeatureKeys keys{{"com.kelvora/featureconf/number", "2"},
                       {"com.kelvora/featureconf/negative", "-7"},
                       {"com.kelvora/featureconf/most", "2147483647"},
                       {"com.kelvora/featureconf/more", "2147483648"},
                       {"com.kelvora/featureconf/text", "two"},
                       {"com.kelvora/featureconf/nothing", ""},
                       {"com.kelvora/featureconf/yes", "true"},
                       {"com.kelvora/featureconf/no", "false"},
                       {"plain/key", "5"}};
    const struct
    {
        const char* key;
        int intResult, intValue, boolResult, boolValue;
    } cases[] = {
        {"com.kelvora/featureconf/number", 0, 2, -EINVAL, 0},
        {"com.kelvora/featureconf/negative", 0, -7, -EINVAL, 0},
        {"com.kelvora/featureconf/most", 0, INT_MAX, -EINVAL, 0},
        {"com.kelvora/featureconf/more", -EINVAL, UNTOUCHED, -EINVAL, 0},
        {"com.kelvora/featureconf/text", -EINVAL, UNTOUCHED, -EINVAL, 0},
        {"com.kelvora/featureconf/nothing", -EINVAL, UNTOUCHED, -EINVAL, 0},
        {"com.kelvora/featureconf/yes", -EINVAL, UNTOUCHED, 0, true},
        {"com.kelvora/featureconf/no", -EINVAL, UNTOUCHED, 0, false},
        {"plain/key", 0, 5, -EINVAL, 0},
        {"com.kelvora/featureconf/absent", -ENOENT, UNTOUCHED, -ENOENT, 0},
        {"other/group/number", -ENOENT, UNTOUCHED, -ENOENT, 0},
        {"no-group", -ENOENT, UNTOUCHED, -ENOENT, 0},
        {"", -ENOENT, UNTOUCHED, -ENOENT, 0},
        {"/number", -ENOENT, UNTOUCHED, -ENOENT, 0},
        {"com.kelvora/featureconf/", -ENOENT, UNTOUCHED, -ENOENT, 0},
        {nullptr, -EINVAL, UNTOUCHED, -EINVAL, 0},
    };
    for (const auto& row : cases)
    {
        SCOPED_TRACE(row.key != nullptr ? row.key : "null");
        int number = UNTOUCHED;
        EXPECT_EQ(system_info_get_custom_int(row.key, &number), row.intResult);
        EXPECT_EQ(number, row.intValue);
        for (const bool before : {false, true})
        {
            bool truth = before;
            EXPECT_EQ(system_info_get_custom_bool(row.key, &truth), row.boolResult);
            EXPECT_EQ(truth, row.boolResult == 0 ? row.boolValue != 0 : before);
        }
    }
    EXPECT_EQ(system_info_get_custom_int("plain/key", nullptr), -EINVAL);
}

TEST(SystemInfo, TheFirstPlaceThatHasTheKeyCounts)
{
    const TCTempFolder config;
    const TCEnvironmentVariable variable("XDG_CONFIG_HOME", config.Path().string());
    std::filesystem::create_directory(config.Path() / "tvplatform");
    std::ofstream(config.File("tvplatform/system-info.conf")) << "[g]\nboth=1\nonly_there=2\nwrong_here=3\n";
    TCFeatureKeys keys{{"g/both", "10"}, {"g/wrong_here", "x"}};

    int value = 0;
    EXPECT_EQ(system_info_get_custom_int("g/both", &value), 0);
    EXPECT_EQ(value, 10);
    EXPECT_EQ(system_info_get_custom_int("g/only_there", &value), 0);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(system_info_get_custom_int("g/wrong_here", &value), -EINVAL) << "a wrong value must not be passed over";

    keys.Remove("g/both");
    EXPECT_EQ(system_info_get_custom_int("g/both", &value), 0);
    EXPECT_EQ(value, 1) << "a change of the file counts at once";
}

TEST(SystemInfo, AFileThatStaysAsItIsIsReadOnceAndAChangeCountsAtOnce)
{
    TCFeatureKeys keys{{"g/key", "1"}};
    const std::string place = keys.Path();
    const auto value = []
    {
        int read = UNTOUCHED;
        EXPECT_EQ(system_info_get_custom_int("g/key", &read), 0);
        return read;
    };
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, place.c_str(), IN_OPEN), 0);
    const auto wasOpened = [watch]
    {
        alignas(inotify_event) char events[4096];
        bool any = false;
        while (read(watch, events, sizeof events) > 0)
        {
            any = true;
        }
        return any;
    };
    EXPECT_EQ(value(), 1);
    EXPECT_TRUE(wasOpened());
    // A file is trusted once it is a few seconds old.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    bool isTrusted = false;
    while (!isTrusted && std::chrono::steady_clock::now() < end)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(value(), 1);
        isTrusted = !wasOpened();
    }
    EXPECT_TRUE(isTrusted);
    // In its place and of the same size, its time of writing put back: the change counts all the same.
    struct stat before
    {
    };
    ASSERT_EQ(stat(place.c_str(), &before), 0);
    std::fstream(place, std::ios::in | std::ios::out).seekp(-2, std::ios::end) << '2';
    const timespec times[] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, place.c_str(), times, 0), 0);
    EXPECT_EQ(value(), 2);
    std::filesystem::remove(place);
    int gone = UNTOUCHED;
    EXPECT_EQ(system_info_get_custom_int("g/key", &gone), -ENOENT);
    close(watch);
}

TEST(SystemInfo, AFileThatIsThereMustBeReadable)
{
    const TCTempFolder folder;
    std::ofstream(folder.File("broken")) << "[g\nkey=1\n";
    const struct
    {
        std::string place;
        int result;
    } cases[] = {
        {folder.File("broken"), -EIO},
        {folder.Path().string(), -EIO},
        {folder.File("absent"), -ENOENT},
        {folder.File("broken/below-a-file"), -ENOENT},
    };
    const TCEnvironmentVariable config("XDG_CONFIG_HOME", folder.Path().string());
    for (const auto& row : cases)
    {
        const TCEnvironmentVariable variable("TVPLATFORM_SYSTEM_INFO", row.place);
        int value = UNTOUCHED;
        EXPECT_EQ(system_info_get_custom_int("g/key", &value), row.result) << row.place;
        EXPECT_EQ(value, UNTOUCHED);
    }
}
} // namespace
