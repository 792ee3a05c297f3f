// A socket that takes no more bytes: whole messages, or nothing, whatever happens in the middle.

#include "bus/SocketWriter.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace CIM
{
namespace
{
using TClock = std::chrono::steady_clock;
using EResult = TCSocketWriter::EResult;

std::array<int, 2> MakePair()
{
    std::array<int, 2> ends{-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    return ends;
}

class SocketWriterTest : public testing::Test
{
protected:
    ~SocketWriterTest() override
    {
        close(m_ends[0]);
        close(m_ends[1]);
    }

    EResult Write(std::string first, std::string second, TClock::time_point deadline)
    {
        iovec pieces[] = {{first.data(), first.size()}, {second.data(), second.size()}};
        return m_writer.Write(pieces, deadline);
    }
    std::string Read(std::size_t size)
    {
        std::string bytes(size, '\0');
        bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(recv(m_ends[1], bytes.data(), size, MSG_WAITALL), 0)));
        return bytes;
    }

    const std::array<int, 2> m_ends = MakePair();
    TCSocketWriter m_writer{m_ends[0]};
};
} // namespace

TEST_F(SocketWriterTest, WhatWasBegunIsFinishedInFrontOfTheNext)
{
    const std::string large(5000000, 'L'); // more than a socket holds
    EXPECT_EQ(Write("<", large, TClock::now() + std::chrono::milliseconds(30)), EResult::WRITTEN);
    EXPECT_EQ(Write("late", "", TClock::now() + std::chrono::milliseconds(30)), EResult::LATE);
    EXPECT_EQ(Write("late", "", TClock::time_point()), EResult::LATE);
    std::string read;
    std::thread reader([&] { read = Read(1 + large.size() + 5); });
    EXPECT_EQ(Write("ne", "xt>", TClock::now() + std::chrono::seconds(20)), EResult::WRITTEN);
    shutdown(m_ends[0], SHUT_WR);
    reader.join();
    EXPECT_EQ(read.size(), large.size() + 6);
    EXPECT_TRUE(read == "<" + large + "next>");
}

TEST_F(SocketWriterTest, WaitsForRoomUpToTheTimeAndSeesTheEnd)
{
    const std::string large(5000000, 'L');
    std::string read;
    std::thread reader([&] { read = Read(large.size() + 1); });
    EXPECT_EQ(Write("<", large, TClock::now() + std::chrono::seconds(20)), EResult::WRITTEN);
    reader.join();
    EXPECT_TRUE(read == "<" + large);
    std::thread leaver(
        [&]
        {
            Read(1);
            shutdown(m_ends[1], SHUT_RDWR);
        });
    EXPECT_EQ(Write("<", large, TClock::now() + std::chrono::seconds(20)), EResult::BROKEN);
    leaver.join();
    EXPECT_EQ(Write("<", "", TClock::now() + std::chrono::seconds(20)), EResult::BROKEN);
}
} // namespace CIM
