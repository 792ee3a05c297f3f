#include "recording/Reader.h"
#include "recording/Writer.h"
#include "support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace CIM::recording;
using testing::HasSubstr;

namespace
{
/// What a file holds, as a reader tells it.
struct TSRead
{
    std::vector<std::string> packets; ///< "TIME BYTES (COMMENT)"
    std::string ending;
    std::string error;
};

TSRead Read(int descriptor)
{
    TSRead read;
    try
    {
        TCReader reader(descriptor);
        TSPacket packet;
        while (reader.Next(packet))
        {
            read.packets.push_back(std::to_string(packet.time) + " " + std::string(packet.bytes) +
                                   (packet.comment.empty() ? "" : " (" + std::string(packet.comment) + ")"));
        }
        read.ending = reader.Ending();
    }
    catch (const TCRecordingError& error)
    {
        read.error = error.what();
    }
    close(descriptor);
    return read;
}

TSRead ReadFile(const std::string& path) { return Read(open(path.c_str(), O_RDONLY | O_CLOEXEC)); }

TSRead ReadBytes(const std::string& bytes)
{
    const int descriptor = memfd_create("recording", MFD_CLOEXEC);
    EXPECT_EQ(write(descriptor, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    lseek(descriptor, 0, SEEK_SET);
    return Read(descriptor);
}

/// Numbers as a file of either byte order has them, put together by hand.
class TCBytes
{
public:
    explicit TCBytes(bool isBig = false) : m_isBig(isBig) {}
    TCBytes& Number(std::uint64_t value, unsigned size)
    {
        for (unsigned i = 0; i < size; ++i)
        {
            text += static_cast<char>(value >> 8 * (m_isBig ? size - 1 - i : i));
        }
        return *this;
    }
    TCBytes& U16(std::uint64_t value) { return Number(value, 2); }
    TCBytes& U32(std::uint64_t value) { return Number(value, 4); }
    TCBytes& Text(std::string_view value)
    {
        text += value;
        return *this;
    }
    TCBytes& Block(std::uint32_t type, const std::function<void(TCBytes&)>& fill)
    {
        TCBytes body(m_isBig);
        fill(body);
        const std::size_t length = body.text.size() + 12;
        return U32(type).U32(length).Text(body.text).U32(length);
    }
    TCBytes& Section()
    {
        return Block(0x0A0D0D0A,
                     [](TCBytes& body) { body.U32(0x1A2B3C4D).U16(1).U16(0).Number(~std::uint64_t{0}, 8); });
    }
    TCBytes& Interface(
        unsigned link = 231, const std::function<void(TCBytes&)>& options = [](TCBytes&) {})
    {
        return Block(1,
                     [&](TCBytes& body)
                     {
                         body.U16(link).U16(0).U32(0);
                         options(body);
                     });
    }
    TCBytes& Packet(std::uint64_t time, std::string_view bytes, unsigned interface = 0)
    {
        return Block(6,
                     [&](TCBytes& body)
                     {
                         body.U32(interface).U32(time >> 32).U32(time).U32(bytes.size()).U32(bytes.size());
                         body.Text(bytes).Text(std::string((4 - bytes.size() % 4) % 4, '\0'));
                     });
    }

    std::string text;

private:
    bool m_isBig;
};

std::string Content(const std::string& path)
{
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}
} // namespace

TEST(Recording, ReadsWhatOthersWrite)
{
    const auto binary = [](TCBytes& options) { options.U16(9).U16(1).Text(std::string("\x8A\0\0\0", 4)); }; // 2^-10
    const auto offset = [](TCBytes& options) { options.U16(14).U16(8).Number(100, 8).U16(0).U16(0); };
    const struct
    {
        const char* what;
        std::string bytes;
        std::vector<std::string> packets;
    } cases[] = {
        {"microseconds unless it says otherwise", TCBytes().Section().Interface().Packet(5, "abc").text, {"5000 abc"}},
        {"of the other byte order", TCBytes(true).Section().Interface().Packet(5, "abcde").text, {"5000 abcde"}},
        {"one byte order after the other",
         TCBytes(true)
             .Section()
             .Interface()
             .Packet(1, "a")
             .Text(TCBytes().Section().Interface().Packet(2, "b").text)
             .text,
         {"1000 a", "2000 b"}},
        {"a clock in binary parts",
         TCBytes().Section().Interface(231, binary).Packet(1536, "x").text,
         {"1500000000 x"}},
        {"a clock with an offset", TCBytes().Section().Interface(231, offset).Packet(1, "x").text, {"100000001000 x"}},
        {"packets of another kind between",
         TCBytes().Section().Interface(1).Interface().Packet(1, "ethernet").Packet(2, "bus", 1).text,
         {"2000 bus"}},
        {"a block that nobody knows, larger than what is read at once",
         TCBytes()
             .Section()
             .Interface()
             .Block(0xBAD, [](TCBytes& body) { body.Text(std::string(5U << 20, 'x')); })
             .Packet(3, "a")
             .text,
         {"3000 a"}},
        {"as many sections, interfaces and options as there may be",
         [&]
         {
             TCBytes bytes;
             for (int i = 0; i < 1000; ++i)
             {
                 bytes.Section();
             }
             for (int i = 0; i < 4095; ++i)
             {
                 bytes.Interface(1);
             }
             bytes.Interface(231, [](TCBytes& options) { options.Text(std::string(0xF0000, '\2')); });
             return bytes.Packet(3, "a", 4095).text;
         }(),
         {"3000 a"}},
        {"blocks that nobody knows, and one without a time",
         TCBytes()
             .Section()
             .Interface()
             .Packet(3, "a")
             .Block(0xBAD, [](TCBytes& body) { body.U32(1); })
             .Block(3, [](TCBytes& body) { body.U32(2).Text(std::string("hi\0\0", 4)); })
             .text,
         {"3000 a", "3000 hi"}},
        {"pcap",
         TCBytes()
             .U32(0xA1B2C3D4)
             .U16(2)
             .U16(4)
             .U32(0)
             .U32(0)
             .U32(65535)
             .U32(231)
             .U32(1)
             .U32(2)
             .U32(3)
             .U32(3)
             .Text("abc")
             .text,
         {"1000002000 abc"}},
        {"pcap of the other byte order, in nanoseconds",
         TCBytes(true)
             .U32(0xA1B23C4D)
             .U16(2)
             .U16(4)
             .U32(0)
             .U32(0)
             .U32(0)
             .U32(231)
             .U32(1)
             .U32(2)
             .U32(1)
             .U32(9)
             .Text("x")
             .text,
         {"1000000002 x"}},
    };
    for (const auto& row : cases)
    {
        const TSRead read = ReadBytes(row.bytes);
        EXPECT_EQ(read.packets, row.packets) << row.what;
        EXPECT_EQ(read.error + read.ending, "") << row.what;
    }
}

TEST(Recording, RefusesWhatLies)
{
    const auto start = [] { return TCBytes().Section().Interface(); };
    const struct
    {
        std::string bytes;
        const char* error;
    } cases[] = {
        {"", "offset 0: the file is empty"},
        {"# no recording\n", "offset 0: this is no recording"},
        {TCBytes().U32(0xA1B2C3D4).U16(2).U16(4).U32(0).U32(0).U32(0).U32(1).text, "no D-Bus messages (link type 1)"},
        {TCBytes().U32(0x0A0D0D0A).U32(28).U32(7).text, "a section of neither byte order"},
        {TCBytes().Block(0x0A0D0D0A, [](TCBytes& body) { body.U32(0x1A2B3C4D).U16(9).U16(0).Number(0, 8); }).text,
         "a section of a version"},
        {start().U32(6).U32(0xFFFFFFFC).U32(0).text, "offset 48: a block claims 4294967292 bytes"},
        {start().U32(6).U32(8).U32(0).text, "a block claims 8 bytes"},
        {start().U32(6).U32(13).Text("xxxxx").text, "a block claims 13 bytes"},
        {start().U32(9).U32(16).U32(0).U32(20).text, "offset 48: a block's two lengths differ"},
        {start().U32(1).U32(0x100004).U32(0).text, "offset 48: a block claims 1048580 bytes"},
        {start().Packet(1, "a", 1).text, "offset 48: a packet of an interface that is not described"},
        {start().Block(6, [](TCBytes& body) { body.U32(0).U32(0).U32(1).U32(5).U32(5).U32(0); }).text,
         "a packet of 5 bytes in a block of 24"},
        {[]
         {
             TCBytes bytes = TCBytes().Section();
             for (int i = 0; i < 4097; ++i)
             {
                 bytes.Interface();
             }
             return bytes.text;
         }(),
         "an interface description that makes no sense"},
        {TCBytes().Section().Interface(231, [](TCBytes& options) { options.U16(9).U16(1).U32(19); }).text,
         "a clock that is too fine"},
    };
    for (const auto& row : cases)
    {
        const TSRead read = ReadBytes(row.bytes);
        EXPECT_THAT(read.error, HasSubstr(row.error));
        EXPECT_TRUE(read.packets.empty());
    }
    // An option that reaches past its block is not read, and harms nobody.
    const auto packet = [](TCBytes& body) { body.U32(0).U32(0).U32(7).U32(0).U32(0).U16(1).U16(0xFFFF).U32(0); };
    EXPECT_EQ(ReadBytes(start().Block(6, packet).text).packets, std::vector<std::string>{"7000 "});
}

TEST(Recording, IsReadUpToWhereItWasCut)
{
    const CIM::TCTempFolder folder;
    const std::string path = folder.File("r.pcapng");
    {
        TCWriter writer(path, 0, "test");
        writer.Write({1'000, 1'000}, "first");
        writer.Write({2'000, 2'000}, "second message", "a mark");
        writer.Write({3'000, 3'000}, "");
    }
    TCBytes pcap;
    pcap.U32(0xA1B2C3D4).U16(2).U16(4).U32(0).U32(0).U32(65535).U32(231);
    for (const char* const text : {"abc", "", "defgh"})
    {
        const std::size_t size = std::strlen(text);
        pcap.U32(1).U32(2).U32(size).U32(size).Text(text);
    }
    TCBytes strange;
    strange.Section().Interface().Packet(1, "a").Packet(2, "b");
    strange.Block(0xBAD, [](TCBytes& body) { body.U32(1).U32(2); }).Packet(3, "c");
    const struct
    {
        std::string whole;
        std::size_t cleanCuts; ///< between two blocks a cut cannot be told
    } files[] = {{Content(path), 4}, {pcap.text, 3}, {strange.text, 5}};
    for (const auto& [whole, cleanCuts] : files)
    {
        const std::vector<std::string> packets = ReadBytes(whole).packets;
        ASSERT_EQ(packets.size(), 3U);
        std::size_t clean = 0;
        for (std::size_t length = 1; length < whole.size(); ++length)
        {
            const TSRead read = ReadBytes(whole.substr(0, length));
            ASSERT_LE(read.packets.size(), packets.size());
            EXPECT_TRUE(std::equal(read.packets.begin(), read.packets.end(), packets.begin())) << length;
            const bool isClean = read.ending.empty() && read.error.empty();
            clean += isClean ? 1 : 0;
            EXPECT_TRUE(isClean || length < 4 || read.ending.find("was cut off") != std::string::npos)
                << length << read.error << read.ending;
        }
        EXPECT_EQ(clean, cleanCuts);
    }
}

TEST(Recording, TellsBothClocksWheneverOneHasJumped)
{
    const CIM::TCTempFolder folder;
    const std::string path = folder.File("r.pcapng");
    {
        TCWriter writer(path, 0, "test");
        writer.Write({5'000'000'000, 1'000'000'001}, "a");
        writer.Write({6'000'000'500, 2'000'000'001}, "b"); // slewed
        writer.Write({9'000'000'000'000, 3'000'000'000}, "c", "mark");
        writer.Write({9'001'000'000'000, 4'000'000'000}, "d");
    }
    EXPECT_THAT(ReadFile(path).packets,
                testing::ElementsAre("5000000000 a (monotonic clock 1.000000001 s)", "6000000500 b",
                                     "9000000000000 c (mark; monotonic clock 3.000000000 s)", "9001000000000 d"));
}

TEST(Recording, ARingKeepsTheLatest)
{
    const CIM::TCTempFolder folder;
    const std::string path = folder.File("r.pcapng");
    constexpr std::uint64_t RING = 20'000;
    constexpr int COUNT = 1'000;
    {
        TCWriter writer(path, RING, "test");
        for (int i = 0; i < COUNT; ++i)
        {
            writer.Write({i, 0}, "message " + std::to_string(i) + std::string(100, '.'));
            writer.Tick({i, 0});
        }
    }
    EXPECT_LE(Content(path).size() + Content(path + ".previous").size(), RING + 400);
    const TSRead both = ReadBytes(Content(path + ".previous") + Content(path));
    EXPECT_EQ(both.error + both.ending, "");
    ASSERT_GT(both.packets.size(), RING / 2 / 200);
    for (std::size_t i = 0; i < both.packets.size(); ++i)
    {
        const std::size_t number = COUNT - both.packets.size() + i;
        EXPECT_THAT(both.packets[i], HasSubstr(" message " + std::to_string(number) + "."));
    }
}

TEST(Recording, AFileThatTakesNoMoreIsToldAndEndsWithAWholeMessage)
{
    EXPECT_THROW(TCWriter("/nonexistent/r.pcapng", 0, "test"), std::runtime_error);
    EXPECT_THROW(TCWriter("/dev/full", 0, "test"), std::runtime_error);

    const CIM::TCTempFolder folder;
    const std::string path = folder.File("r.pcapng");
    // A limit of the process stands in for a full disk: what fits is written, then nothing.
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{1'000, 1'000};
        setrlimit(RLIMIT_FSIZE, &limit);
        TCWriter writer(path, 0, "test");
        for (int i = 0; i < 100; ++i)
        {
            writer.Write({i, 0}, std::string(50, 'x'));
        }
        writer.Tick({0, 1'000'000'000});
        const bool isTold = writer.Trouble().find("r.pcapng cannot be written: ") != std::string::npos;
        writer.Write({0, 0}, "nothing happens");
        _exit(isTold ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    const TSRead read = ReadFile(path);
    EXPECT_EQ(read.error + read.ending, "");
    EXPECT_GE(read.packets.size(), 5U);
}
