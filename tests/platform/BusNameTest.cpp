#include <tvplatform/BusName.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <set>
#include <string>
#include <vector>

#include <dbus/dbus.h>
#include <unistd.h>

namespace
{
struct SGenerated
{
    int result;
    std::string name;
    int size;
};

// The text is handed over without a terminator behind it.
SGenerated Generate(const std::string& uniqueName, int size = 255)
{
    const std::vector<char> bytes(uniqueName.begin(), uniqueName.end());
    std::vector<char> buffer(256, '\0');
    const int result =
        IPCUtility_GenerateSubConnectionName(bytes.data(), static_cast<int>(bytes.size()), buffer.data(), &size);
    return {result, buffer.data(), size};
}

TEST(BusName, IsValidAndDistinctForEveryUniqueName)
{
    std::set<std::string> names;
    for (const char* uniqueName : {":1.42", ":1.4.2", ":14.2", ":1.4_2", ":1_4.2", ":0.0", ":1.4294967295", ":a-b.c"})
    {
        const SGenerated generated = Generate(uniqueName);
        ASSERT_EQ(generated.result, 0) << uniqueName;
        EXPECT_TRUE(dbus_validate_bus_name(generated.name.c_str(), nullptr)) << generated.name;
        EXPECT_NE(generated.name[0], ':');
        EXPECT_NE(generated.name.find(std::to_string(getpid())), std::string::npos) << "not of this process";
        EXPECT_EQ(generated.size, static_cast<int>(generated.name.size()));
        EXPECT_TRUE(names.insert(generated.name).second) << generated.name << " twice";
    }
}

TEST(BusName, RefusesWhatIsNoUniqueNameOrDoesNotFit)
{
    for (const std::string& text : {std::string(), std::string(":"), std::string("1.42"), std::string(":1"),
                                    std::string(":1."), std::string(":.1"), std::string(":1..2"), std::string(":1.4 2"),
                                    std::string(":1.4\0", 5), ":1." + std::string(300, '4')})
    {
        EXPECT_EQ(Generate(text).result, -EINVAL) << text;
    }
    int size = 255;
    char buffer[256];
    EXPECT_EQ(IPCUtility_GenerateSubConnectionName(nullptr, 5, buffer, &size), -EINVAL);
    EXPECT_EQ(IPCUtility_GenerateSubConnectionName(":1.42", -1, buffer, &size), -EINVAL);
    EXPECT_EQ(IPCUtility_GenerateSubConnectionName(":1.42", 5, nullptr, &size), -EINVAL);
    EXPECT_EQ(IPCUtility_GenerateSubConnectionName(":1.42", 5, buffer, nullptr), -EINVAL);

    const int needed = Generate(":1.42").size;
    EXPECT_EQ(Generate(":1.42", needed).result, 0);
    EXPECT_EQ(Generate(":1." + std::string(250, '4')).result, -ENOSPC);
    for (const int room : {needed - 1, 0, -1})
    {
        const SGenerated generated = Generate(":1.42", room);
        EXPECT_EQ(generated.result, -ENOSPC);
        EXPECT_EQ(generated.name, "");
        EXPECT_EQ(generated.size, room);
    }
}
} // namespace
