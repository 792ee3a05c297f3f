#include "support/InChild.h"
#include "support/LogCapture.h"
#include "support/PrivateBus.h"
#include "support/ScriptedDaemon.h"

#include <ciapi/CICallOutcome.h>
#include <ciapi/CINames.h>
#include <ciapi/CIService.h>
#include <ciapi/IPCConnection.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <list>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include <sys/resource.h>

// A process that is short of memory: its calls fail like any other call.

namespace CIM
{
namespace
{
constexpr std::size_t REPLY_BYTES = 16U << 20;
constexpr std::size_t SPARE_BYTES = 40U << 20;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool IS_SANITIZED = true; // which takes terabytes of addresses
#else
constexpr bool IS_SANITIZED = false;
#endif

std::string Header(char type, unsigned short tag, unsigned size)
{
    std::string header(8, '\0');
    header[0] = type;
    std::memcpy(&header[2], &tag, sizeof tag);
    std::memcpy(&header[4], &size, sizeof size);
    return header;
}

// An argument tree: a result, and a list of empty nodes where profiles are expected.
std::string HollowReply()
{
    constexpr char LEAF = 1;
    constexpr char BRANCH = 2;
    const std::size_t nodes = REPLY_BYTES / 8 - 8;
    std::string list;
    list.reserve(REPLY_BYTES);
    for (std::size_t node = 0; node < nodes; ++node)
    {
        list += Header(BRANCH, 0, 0);
    }
    const std::string content =
        Header(LEAF, 0, 4) + std::string("\1\0\0\0", 4) + Header(BRANCH, 1, static_cast<unsigned>(list.size())) + list;
    return std::string("\1\0\0\0", 4) + Header(BRANCH, 0, static_cast<unsigned>(content.size())) + content;
}

std::size_t StatusBytes(const char* name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
    {
        if (line.starts_with(name))
        {
            return std::stoul(line.substr(std::strlen(name))) * 1024;
        }
    }
    return 0;
}

void LeaveOnly(std::size_t spare)
{
    const std::size_t bytes = StatusBytes("VmSize:") + spare;
    const rlimit limit{bytes, bytes};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
}

// libdbus reads the address of the system bus once per process.
TCPrivateBus& Bus()
{
    static TCPrivateBus bus;
    return bus;
}

// Where this process has bytes that, each turned over, are those given: the given ones do not find themselves.
std::size_t CountInMemory(const std::vector<unsigned char>& turnedOver)
{
    std::size_t found = 0;
    std::ifstream maps("/proc/self/maps");
    std::ifstream memory("/proc/self/mem", std::ios::binary);
    std::vector<char> bytes;
    for (std::string line; std::getline(maps, line);)
    {
        unsigned long begin = 0;
        unsigned long end = 0;
        char mode[5] = {};
        if (std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, mode) != 3 || mode[1] != 'w')
        {
            continue;
        }
        bytes.resize(std::min<std::size_t>(end - begin, 64U << 20));
        memory.clear();
        memory.seekg(static_cast<std::streamoff>(begin));
        memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        const auto isIt = [](char byte, unsigned char turned)
        { return static_cast<unsigned char>(byte) == static_cast<unsigned char>(~turned); };
        auto place = bytes.begin();
        const auto last = bytes.begin() + memory.gcount();
        while ((place = std::search(place, last, turnedOver.begin(), turnedOver.end(), isIt)) != last)
        {
            ++found;
            ++place;
        }
        explicit_bzero(bytes.data(), bytes.size()); // this copy is none
    }
    return found;
}

class Memory : public testing::Test
{
protected:
    Memory()
    {
        m_variable.emplace("TVPLATFORM_SYSTEM_INFO", m_folder.File("system-info.conf"));
        privatebus::WriteFeatureKeys(m_folder.File("system-info.conf"), privatebus::DefaultFeatureKeys(1));
    }
    ~Memory() override { privatebus::TCBusFolder::Remove(m_folder.Path().c_str()); }

    TCPrivateBus& m_bus = Bus(); // before the daemon
    privatebus::TCBusFolder m_folder = privatebus::TCBusFolder::Make("ciapi-memory");
    std::optional<TCEnvironmentVariable> m_variable;
    const std::string m_reply = HollowReply();
    TCScriptedDaemon m_daemon{{CI_OPERATOR_PROFILE_CONNECTION_NAME, CI_GENERAL_CONNECTION_NAME},
                              [this](const TCScriptedDaemon::TMessage& request)
                              { return TCScriptedDaemon::Reply(request, 1, m_reply); }};
};
} // namespace

TEST_F(Memory, ACallWithoutMemoryFailsLikeAnyOther)
{
    if (IS_SANITIZED)
    {
        GTEST_SKIP() << "memory cannot be limited under this sanitizer";
    }
    InChild(
        []
        {
            ICIOperatorProfile* const profiles = TCCIService::CIOperatorProfileInstance();
            LeaveOnly(SPARE_BYTES);
            std::list<TSCIOperatorProfileData> list;
            EXPECT_EQ(profiles->GetInstalledOperatorProfiles(list), 0);
            EXPECT_TRUE(list.empty());
            EXPECT_NE(LastCallOutcome().outcome, CALL_OUTCOME_ANSWERED);
            EXPECT_EQ(TCLogCapture::Count("ICIOperatorProfile:GetInstalledOperatorProfiles] Out of memory"), 2U);
        });
    InChild(
        []
        {
            ASSERT_TRUE(IPCConnection__Create(CI_SIGNAL_SUBSCRIBER_INTERFACE_NAME.c_str(),
                                              CI_SIGNAL_SUBSCRIBER_OBJECT_NAME.c_str(), false));
            LeaveOnly(SPARE_BYTES);
            char* output = nullptr;
            int length = -1;
            const bool isHandled =
                IPCConnection__Call(CI_OPERATOR_PROFILE_CONNECTION_NAME.c_str(), 4, "", 0, &output, &length);
            EXPECT_EQ(length > 0, isHandled) << length;
            EXPECT_EQ(TCLogCapture::Count("Out of memory") > 0, !isHandled);
            IPCConnection__CallDisposeOutputBuffer(output);
        });
}

TEST_F(Memory, AHollowReplyTakesASmallMultipleOfItself)
{
    InChild(
        []
        {
            ICIOperatorProfile* const profiles = TCCIService::CIOperatorProfileInstance();
            const std::size_t before = StatusBytes("VmHWM:");
            std::list<TSCIOperatorProfileData> list;
            profiles->GetInstalledOperatorProfiles(list);
            EXPECT_TRUE(list.empty());
            EXPECT_EQ(LastCallOutcome().outcome, CALL_OUTCOME_NOT_READABLE);
            if (!IS_SANITIZED)
            {
                // The reply, twice inside libdbus, the tree's nodes.
                EXPECT_LT(StatusBytes("VmHWM:") - before, 10 * REPLY_BYTES);
            }
        });
}

TEST_F(Memory, OfASecretNothingIsLeft)
{
    InChild(
        []
        {
            ICIGeneral* const general = TCCIService::CIGeneralInstance();
            for (const bool isOneWay : {false, true})
            {
                std::vector<unsigned char> turnedOver(16);
                unsigned seed = static_cast<unsigned>(getpid()) * 2 + (isOneWay ? 1 : 0);
                for (unsigned char& byte : turnedOver)
                {
                    seed = seed * 1103515245 + 12345;
                    byte = static_cast<unsigned char>(seed >> 16);
                }
                std::vector<unsigned char> pin(turnedOver);
                std::transform(pin.begin(), pin.end(), pin.begin(),
                               [](unsigned char byte) { return static_cast<unsigned char>(~byte); });
                ASSERT_GE(CountInMemory(turnedOver), 1U) << "the search finds what is there";
                general->VerifyCamPin(0, pin, isOneWay);
                ASSERT_EQ(LastCallOutcome().outcome == CALL_OUTCOME_SENT, isOneWay);
                explicit_bzero(pin.data(), pin.size()); // the caller's own
                EXPECT_EQ(CountInMemory(turnedOver), 0U) << (isOneWay ? "one-way" : "answered");
            }
        });
}
} // namespace CIM
