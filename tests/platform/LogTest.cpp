#include <tvplatform/Log.h>

#include "LogDestination.h"
#include "LogThrottle.h"
#include "support/InChild.h"
#include "support/TestEnvironment.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace
{
using CIM::LinesOf;
using CIM::TCTempFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using namespace std::string_literals;

TEST(Log, WritesToTheChosenDestinationFromTheLeastPriorityOn)
{
    const struct
    {
        const char* setting; // "file:" stands for a file in a folder of the test
        const char* letters; // of the lines that arrive for one line each of debug, information and error
        const char* complaint;
        bool isStderrClosed = false;
    } cases[] = {
        {nullptr, "", ""},
        {"", "", ""},
        {"off", "", ""},
        {"off:debug", "", ""},
        {"stderr", "DIE", ""},
        {"stderr:debug", "DIE", ""},
        {"stderr:info", "IE", ""},
        {"stderr:error", "E", ""},
        {"stderr", "", "", true}, // what is opened next has its number, and gets no lines
        {"file:", "DIE", ""},
        {"file::error", "E", ""},
        {"printer", "", "unknown destination \"printer\""},
        {"stderr:loud", "", "unknown destination \"stderr:loud\""},
    };
    for (const auto& row : cases)
    {
        SCOPED_TRACE(row.setting != nullptr ? row.setting : "unset");
        const TCTempFolder folder;
        std::optional<std::string> setting;
        if (row.setting != nullptr)
        {
            setting = row.setting;
            if (setting->starts_with("file:"))
            {
                setting->insert(5, folder.File("log"));
            }
        }
        CIM::InChild(
            [&]
            {
                const CIM::TCEnvironmentVariable variable("TVPLATFORM_LOG", setting);
                const int old = dup(STDERR_FILENO);
                close(STDERR_FILENO);
                if (row.isStderrClosed)
                {
                    __dlog_print(0, 6, "TAG", "the destination is chosen");
                }
                const int fd = open(folder.File("stderr").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
                const std::string letters = row.letters;
                int results[3];
                for (int i = 0; i < 3; ++i)
                {
                    errno = E2BIG;
                    const int priority[] = {3, 4, 6};
                    results[i] = __dlog_print(2 * (i % 2), priority[i], "TAG", "text %d of\n%s", i, "many");
                }
                const int error = errno;
                dup2(old, STDERR_FILENO);
                EXPECT_EQ(fd, STDERR_FILENO);
                EXPECT_EQ(error, E2BIG);
                for (int i = 0; i < 3; ++i)
                {
                    EXPECT_EQ(results[i] > 0, letters.find("DIE"[i]) != std::string::npos) << i;
                }
            });
        const bool toFile = setting && setting->starts_with("file:");
        std::string letters;
        std::string complaints;
        for (const std::string& line : LinesOf(folder.File(toFile ? "log" : "stderr")))
        {
            char letter = 0;
            char buffer[8] = {};
            int number = 0;
            int read = 0;
            std::sscanf(line.c_str(), "%*4d-%*2d-%*2dT%*2d:%*2d:%*2d.%*6dZ %c %7s %*d/%*d TAG: text %d of many%n",
                        &letter, buffer, &number, &read);
            if (read == static_cast<int>(line.size()))
            {
                letters += letter;
                EXPECT_STREQ(buffer, number == 1 ? "system" : "main");
            }
            else
            {
                complaints += line;
            }
        }
        EXPECT_EQ(letters, row.letters);
        EXPECT_THAT(complaints, HasSubstr(row.complaint));
        EXPECT_EQ(complaints.empty(), row.complaint[0] == '\0') << complaints;
    }
}

TEST(Log, AFileThatCannotBeOpenedIsReportedAndNothingIsLost)
{
    const TCTempFolder folder;
    SLogSetting setting = ReadLogSetting("file:" + folder.File("absent/log") + ":info");
    EXPECT_THAT(setting.complaint, HasSubstr("No such file or directory"));
    EXPECT_EQ(setting.leastPriority, LOG_PRIORITY_INFO);
    ASSERT_NE(setting.destination, nullptr);
    testing::internal::CaptureStderr();
    setting.destination->Write({0, LOG_PRIORITY_ERROR, "TAG", "kept"});
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("TAG: kept\n"));
}

TEST(Log, LinesOfSeveralThreadsStayWhole)
{
    constexpr int THREADS = 4;
    constexpr int LINES = 50;
    const TCTempFolder folder;
    CIM::InChild(
        [&]
        {
            const CIM::TCEnvironmentVariable variable("TVPLATFORM_LOG", "file:" + folder.File("log"));
            const CIM::TCEnvironmentVariable limit("TVPLATFORM_LOG_LIMIT", "off");
            std::vector<std::thread> threads;
            for (int i = 0; i < THREADS; ++i)
            {
                threads.emplace_back(
                    [i]
                    {
                        const std::string text(1000 + 20 * i, static_cast<char>('a' + i)); // short and long of 1024
                        for (int line = 0; line < LINES; ++line)
                        {
                            __dlog_print(0, 4, "TAG", "<%s>", text.c_str());
                        }
                    });
            }
            for (std::thread& thread : threads)
            {
                thread.join();
            }
        });
    std::vector<int> counts(THREADS);
    for (const std::string& line : LinesOf(folder.File("log")))
    {
        const auto start = line.find("TAG: <");
        ASSERT_NE(start, std::string::npos) << line;
        const int thread = line.at(start + 6) - 'a';
        ++counts.at(thread);
        EXPECT_EQ(line.substr(start + 5), "<" + std::string(1000 + 20 * thread, line[start + 6]) + ">");
    }
    EXPECT_THAT(counts, ElementsAre(LINES, LINES, LINES, LINES));
}

TEST(Log, AFileThatTakesNoMoreLinesIsToldOnce)
{
    SLogSetting setting = ReadLogSetting("file:/dev/full");
    ASSERT_NE(setting.destination, nullptr);
    testing::internal::CaptureStderr();
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(setting.destination->Write({0, LOG_PRIORITY_ERROR, "TAG", "lost"}), -ENOSPC);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "TVPLATFORM_LOG: cannot write to /dev/full: No space left on device; lines are lost\n");
}

TEST(Log, AnotherLineAlwaysPassesAndTheSameOneRarely)
{
    TCLogThrottle throttle({2, 5});
    std::vector<std::string> told;
    const auto log = [&](std::int64_t now, std::string_view text, int priority = 4, const char* tag = "TAG")
    {
        std::vector<SLogSummary> summaries;
        const bool isAdmitted = throttle.Admit({0, priority, tag, text}, now, summaries);
        for (const SLogSummary& summary : summaries)
        {
            told.push_back(summary.tag + ' ' + std::to_string(summary.priority) + ' ' + summary.text);
        }
        return isAdmitted;
    };
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_EQ(log(100, "same"), i < 2);
        EXPECT_EQ(log(100, "same", 3), i < 2);
        EXPECT_EQ(log(100, "same", 4, "OTHER"), i < 2);
    }
    EXPECT_FALSE(log(104, "same"));
    EXPECT_THAT(told, ElementsAre()) << "the windows have not ended";
    EXPECT_TRUE(log(105, "another")) << "which comes once they have";
    EXPECT_THAT(std::exchange(told, {}), testing::UnorderedElementsAre("TAG 4 4 similar lines left out: same",
                                                                       "TAG 3 3 similar lines left out: same",
                                                                       "OTHER 4 3 similar lines left out: same"));
    EXPECT_TRUE(log(105, "same")) << "a new window";

    // Lines that differ only far behind, and more lines than there is room for.
    const std::string longText(500, 'x');
    for (int i = 0; i < 10'000; ++i)
    {
        EXPECT_TRUE(log(106, longText + std::to_string(i)));
    }
    EXPECT_THAT(told, ElementsAre());
    for (int i = 0; i < 3; ++i)
    {
        log(107, std::string(159, 'x') + "\xC3\xBC" + longText);
    }
    const std::vector<SLogSummary> left = throttle.TakeAll();
    ASSERT_EQ(left.size(), 1u);
    EXPECT_EQ(left[0].text, "1 similar line left out: " + std::string(159, 'x')) << "no half characters";
    EXPECT_THAT(throttle.TakeAll(), ElementsAre());
}

TEST(Log, WhatWasLeftOutIsToldAtTheEndByTheProcessThatLeftItOut)
{
    const TCTempFolder folder;
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0)
    {
        setenv("TVPLATFORM_LOG", ("file:" + folder.File("log")).c_str(), 1);
        setenv("TVPLATFORM_LOG_LIMIT", "3/1000", 1);
        const auto loop = [](int lines)
        {
            for (int i = 0; i < lines; ++i)
            {
                __dlog_print(0, 4, "TAG", "again");
            }
        };
        std::atomic<bool> isOver{false};
        std::thread other(
            [&]
            {
                while (!isOver)
                {
                    loop(1);
                }
            }); // holds the lock at many a fork
        loop(10);
        for (int i = 0; i < 50; ++i)
        {
            const pid_t grandchild = fork();
            if (grandchild == 0)
            {
                __dlog_print(0, 4, "TAG", "in a child");
                _exit(0);
            }
            waitpid(grandchild, nullptr, 0);
        }
        isOver = true;
        other.join();
        std::exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    std::map<std::string, int> counts;
    for (const std::string& line : LinesOf(folder.File("log")))
    {
        const std::string text = line.substr(line.find("TAG: ") + 5);
        ++counts[text.substr(text.find_first_not_of("0123456789"))];
    }
    EXPECT_EQ(counts["again"], 3);
    EXPECT_EQ(counts["in a child"], 50) << "a child's lines are its own";
    EXPECT_EQ(counts[" similar lines left out: again"], 1);
}

TEST(Log, ReadsItsLimit)
{
    const struct
    {
        const char* setting;
        unsigned lines;
        unsigned seconds;
        bool isRight;
    } cases[] = {{"", 20, 5, true},        {"off", 0, 5, true},    {"7", 7, 5, true},     {"7/60", 7, 60, true},
                 {"0", 20, 5, false},      {"7/", 20, 5, false},   {"7/0", 20, 5, false}, {"-1", 20, 5, false},
                 {"7/4000", 20, 5, false}, {"many", 20, 5, false}, {"7/5s", 20, 5, false}};
    for (const auto& [setting, lines, seconds, isRight] : cases)
    {
        std::string complaint;
        const SLogLimit limit = ReadLogLimit(setting, complaint);
        EXPECT_EQ(limit.lines, lines) << setting;
        EXPECT_EQ(limit.seconds, seconds) << setting;
        EXPECT_EQ(complaint.empty(), isRight) << setting << complaint;
    }
}

TEST(Log, TheJournalGetsItsOwnFormat)
{
    const TCTempFolder folder;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    folder.File("socket").copy(address.sun_path, sizeof address.sun_path - 1);
    const int journal = socket(AF_UNIX, SOCK_DGRAM, 0);
    ASSERT_EQ(bind(journal, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

    const auto destination = MakeJournalDestination(folder.File("socket"));
    EXPECT_GT(destination->Write({2, LOG_PRIORITY_ERROR, "TAG", "two\nlines"}), 0);
    char data[1024];
    const ssize_t size = recv(journal, data, sizeof data, MSG_DONTWAIT);
    ASSERT_GT(size, 0);
    close(journal);
    const std::string tid = std::to_string(gettid());
    EXPECT_EQ(std::string(data, size), "MESSAGE\n\x09\0\0\0\0\0\0\0two\nlines\n"s
                                       "PRIORITY\n\x01\0\0\0\0\0\0\0"
                                       "3\n"
                                       "SYSLOG_IDENTIFIER\n\x03\0\0\0\0\0\0\0TAG\n"
                                       "TID\n"s +
                                           static_cast<char>(tid.size()) + "\0\0\0\0\0\0\0"s + tid +
                                           "\nTVPLATFORM_BUFFER\n\x06\0\0\0\0\0\0\0system\n"s);
    EXPECT_EQ(destination->Write({0, LOG_PRIORITY_INFO, "TAG", "to syslog"}), 9) << "without journal syslog takes it";
}
} // namespace
