#include "tools/CommandRun.h"

#include "recording/PcapNg.h"
#include "recording/Writer.h"
#include "support/TestEnvironment.h"

#include <dbus/dbus.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

// Recordings that are cut off, broken or made to harm: cictl reads what there is, says what is wrong and where, and takes
// no memory for it.

using CIM::RunCommand;
using CIM::TCTempFolder;
using CIM::TSRun;
using testing::HasSubstr;

namespace
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long MOST_KIB = 512L << 10; // what the sanitizer keeps, most of all
#else
constexpr long MOST_KIB = 48L << 10;
#endif

const std::string INTERFACE = "com.kelvora.ciapi.ICIGeneral";

TSRun Trace(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), {CICTL_PATH, "trace"});
    return RunCommand(arguments);
}

/// The most memory that any command of this process has had.
long PeakKiB()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_maxrss;
}

/// Records a call of somebody who has got the object wrong.
void WriteCall(CIM::recording::TCWriter& writer, const char* sender, const std::string& path)
{
    const std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)> call(
        dbus_message_new_method_call(INTERFACE.c_str(), path.c_str(), INTERFACE.c_str(), "MethodCall"),
        &dbus_message_unref);
    dbus_message_set_serial(call.get(), 7);
    dbus_message_set_sender(call.get(), sender);
    char* bytes = nullptr;
    int size = 0;
    ASSERT_TRUE(dbus_message_marshal(call.get(), &bytes, &size));
    writer.Write({1'000'000'000, 1'000'000'000}, {bytes, static_cast<std::size_t>(size)});
    dbus_free(bytes);
}

void AddNumber(std::string& file, std::uint32_t number) { file.append(reinterpret_cast<const char*>(&number), 4); }
} // namespace

TEST(HostileRecordings, AreReadUpToWhereTheyAreWrongWhichIsTold)
{
    const TCTempFolder folder;
    const std::string file = folder.File("r.pcapng");
    {
        CIM::recording::TCWriter writer(file, 0, "test");
        WriteCall(writer, ":1.1", "/one");
        WriteCall(writer, nullptr, "/two");
    }
    const auto size = std::filesystem::file_size(file);
    const struct
    {
        std::size_t length;
        std::string more; ///< behind it
        int status;
        std::string error;
        std::size_t calls;
    } cases[] = {
        {size, "", 0, "", 2},
        {size - 1, "", 0, "the file ends within a block, ", 1},
        {42, "", 0, "the file ends within a block's head, 2 bytes behind offset 40", 0},
        {11, "", 0, "the file ends within a block's head, 11 bytes behind offset 0", 0},
        {3, "", 8, "r.pcapng: offset 0: this is no recording", 0},
        {0, "", 8, "r.pcapng: offset 0: the file is empty", 0},
        {size, std::string(16, '\xFF'), 8, "offset " + std::to_string(size) + ": a block claims 4294967295 bytes", 2},
    };
    std::ifstream stream(file, std::ios::binary);
    const std::string whole{std::istreambuf_iterator<char>(stream), {}};
    for (const auto& row : cases)
    {
        std::ofstream(file, std::ios::binary) << whole.substr(0, row.length) << row.more;
        const TSRun run = Trace({file});
        EXPECT_EQ(run.status, row.status) << row.length;
        EXPECT_THAT(run.error, HasSubstr(row.error));
        EXPECT_EQ(run.error.empty(), row.error.empty()) << run.error;
        EXPECT_EQ(static_cast<std::size_t>(std::count(run.output.begin(), run.output.end(), '\n')), row.calls);
        // What is shown at the end is shown of what came before.
        const TSRun summary = Trace({file, "--summary"});
        EXPECT_EQ(summary.status, row.status);
        EXPECT_EQ(summary.output.find("ICIGeneral /one MethodCall") != std::string::npos, row.calls > 0);
    }
    std::ofstream(file, std::ios::binary) << whole;
    EXPECT_THAT(Trace({file, "--chart"}).output, HasSubstr("participant A2 as unknown\n"));
}

TEST(HostileRecordings, TakeNoMemory)
{
    const TCTempFolder folder;
    const std::string file = folder.File("r.pcapng");
    std::string head;
    {
        CIM::recording::TCWriter(file, 0, "test").Close();
        std::ifstream stream(file, std::ios::binary);
        head = {std::istreambuf_iterator<char>(stream), {}};
    }
    // One block of 127 MiB: a packet of which the file has nothing, and one of a kind that nobody knows, all there.
    constexpr std::uint32_t LENGTH = 127U << 20;
    for (const auto& [type, size] : {std::pair(CIM::recording::BLOCK_PACKET, 8U << 20), {0xBADU, LENGTH}})
    {
        std::string begin = head;
        AddNumber(begin, type);
        AddNumber(begin, LENGTH);
        std::ofstream(file, std::ios::binary) << begin;
        std::filesystem::resize_file(file, head.size() + size - 4); // what is not written takes no disk
        std::string end;
        AddNumber(end, LENGTH);
        std::ofstream(file, std::ios::binary | std::ios::app) << end;
        const TSRun run = Trace({file});
        EXPECT_EQ(run.status, 0) << run.error;
        EXPECT_EQ(run.error.find("was cut off") != std::string::npos, size < LENGTH) << run.error;
    }
    // Calls of ever new objects, which nobody answers.
    {
        CIM::recording::TCWriter writer(file, 0, "test");
        for (int i = 0; i < 40'000; ++i)
        {
            WriteCall(writer, ":1.1", "/object" + std::to_string(i));
        }
    }
    EXPECT_THAT(Trace({file, "--summary"}).output, testing::ContainsRegex("others +39000 +39000 +[1-9]"));
    EXPECT_THAT(Trace({file, "--chart"}).error, HasSubstr("the chart holds the first 200 messages"));
    EXPECT_LT(PeakKiB(), MOST_KIB);
}
