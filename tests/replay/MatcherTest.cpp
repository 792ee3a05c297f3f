#include "simulator/replay/Matcher.h"

#include <gtest/gtest.h>

#include <sstream>

// Which call of a recording a call is, as short scripts: "a1" is a call of operation a with an argument 1, '!' a signal.

using namespace CIM::sim;

namespace
{
TSRequest Request(const std::string& word) { return {word.substr(0, 1), word}; }

TSRecording Recorded(const std::string& script)
{
    TSRecording recording;
    std::istringstream words(script);
    for (std::string word; words >> word;)
    {
        TSRecordedEvent event;
        event.kind = word == "!" ? TSRecordedEvent::SIGNAL : TSRecordedEvent::CALL;
        event.call = recording.calls.size();
        recording.events.push_back(event);
        if (word != "!")
        {
            TSRecordedCall call;
            call.request = Request(word);
            recording.calls.push_back(call);
        }
    }
    return recording;
}

/// Sends what is due, as a play does.
void Pump(TCMatcher& matcher, std::string& told)
{
    for (; matcher.HasSignal() && matcher.IsSignalDue(); matcher.PassSignal())
    {
        told += '!';
    }
}

/// What becomes of the calls of an application: '=' as recorded, '~' again, '?' other arguments, each with the number of
/// the recorded call, "-" unknown; '!' a signal, behind '/' one that no longer waits for so many calls.
std::string Played(const std::string& recorded, const std::string& made)
{
    const TSRecording recording = Recorded(recorded);
    TCMatcher matcher(recording);
    std::string told;
    Pump(matcher, told);
    std::istringstream words(made);
    for (std::string word; words >> word;)
    {
        told += ' ';
        if (word == "/")
        {
            told += "/" + std::to_string(matcher.GiveUp().size());
        }
        else
        {
            const TCMatcher::TSMatch match = matcher.Match(Request(word));
            while (match.isTaken && matcher.IsBehindSignal(match.call))
            {
                told += "/" + std::to_string(matcher.GiveUp().size()) + "!";
                matcher.PassSignal();
            }
            told +=
                match.how == TCMatcher::UNKNOWN ? "-" : std::string(1, "=~?"[match.how]) + std::to_string(match.call);
        }
        Pump(matcher, told);
    }
    return told + (matcher.IsOver() ? "." : "");
}
} // namespace

TEST(Matcher, FindsTheCallThatACallIs)
{
    const struct
    {
        const char* recorded;
        const char* made;
        const char* told;
    } cases[] = {
        {"a b c", "a b c", " =0 =1 =2."},
        {"! a ! b ! !", "a b", "! =0! =1!!."},
        // Out of its turn, as two threads call.
        {"a b ! c", "b a c", " =1 =0! =2."},
        // More often than recorded, as somebody polls: the latest answer, not that of a time to come.
        {"p1 ! p1 ! p1 x", "p1 p1 p1 x", " =0! =1! =2 =3."},
        {"p1 x ! p1 y", "p1 p1 p1 x p1 y", " =0 ~0 ~0 =1! =2 =3."},
        // What stands behind a signal alone is looked for there: the application is further.
        {"a b ! c", "a c", " =0 /1!=2."},
        {"a ! b ! c", "c", " /1!/1!=2."},
        // Fewer calls than recorded.
        {"a b b ! c", "a b / c", " =0 =1 /1! =3."},
        {"a b", "a /", " =0 /1."},
        // Given up, and made all the same.
        {"a b ! c", "a / b c", " =0 /1! ~1 =2."},
        // The same operation takes the place of the call, when it is its turn.
        {"a1 ! b", "a2 b", " ?0! =1."},
        {"a1 ! a3 ! b", "a1 a2 b", " =0! ?1! =2."},
        {"x ! a1", "a2 x", " ?1 =0!"},
        {"a1 b", "a1 a2 b", " =0 ?0 =1."},
        {"a b", "z a b", " - =0 =1."},
    };
    for (const auto& row : cases)
    {
        EXPECT_EQ(Played(row.recorded, row.made), row.told) << row.recorded << " | " << row.made;
    }
}

TEST(Matcher, FollowsALongRecordingCallByCall)
{
    std::string script;
    for (int i = 0; i < 50'000; ++i)
    {
        script += i % 100 == 0 ? "! p1 " : "p1 ";
    }
    const TSRecording recording = Recorded(script);
    TCMatcher matcher(recording);
    std::string told;
    for (std::size_t i = 0; i < recording.calls.size(); ++i)
    {
        Pump(matcher, told);
        ASSERT_EQ(matcher.Match(Request("p1")).call, i);
    }
    EXPECT_EQ(told.size(), 500U);
    EXPECT_TRUE(matcher.IsOver());
}
