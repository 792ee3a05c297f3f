#include "utils/CallOutcome.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace CIM
{
namespace
{
using TText = std::array<char, 256>; // a D-Bus name has at most 255 bytes

// Without a destructor: calls are made until the very end of a program.
struct SKept
{
    ECallOutcome outcome;
    TText errorName;
    TText errorText;
};
thread_local SKept g_kept{};

// A text that is too long is cut between two characters: D-Bus has UTF-8, and so has whoever shows it.
void Copy(TText& target, std::string_view text)
{
    std::size_t length = text.size();
    if (length >= target.size())
    {
        length = target.size() - 1;
        while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
        {
            --length;
        }
    }
    text.copy(target.data(), length);
    target[length] = '\0';
}

const char* Words(ECallOutcome outcome)
{
    switch (outcome)
    {
    case CALL_OUTCOME_NONE:
        return "no call was made";
    case CALL_OUTCOME_ANSWERED:
        return "answered";
    case CALL_OUTCOME_SENT:
        return "sent, nobody waits for an answer";
    case CALL_OUTCOME_NOT_READY:
        return "not sent, the daemon is not ready";
    case CALL_OUTCOME_NOT_SENT:
        return "not sent";
    case CALL_OUTCOME_NO_REPLY:
        return "no reply";
    case CALL_OUTCOME_ERROR_REPLY:
        return "an error";
    case CALL_OUTCOME_REFUSED:
        return "the daemon did not handle the call";
    case CALL_OUTCOME_NOT_READABLE:
        return "the reply is not readable";
    }
    return "";
}
} // namespace

void KeepOutcome(ECallOutcome outcome, const char* errorName, const char* errorText)
{
    g_kept.outcome = outcome;
    Copy(g_kept.errorName, errorName);
    Copy(g_kept.errorText, errorText);
}

TSCallOutcome LastCallOutcome() { return {g_kept.outcome, g_kept.errorName.data(), g_kept.errorText.data()}; }

std::string ToString(const TSCallOutcome& outcome)
{
    std::string text = Words(outcome.outcome);
    if (!outcome.errorName.empty())
    {
        text = outcome.outcome == CALL_OUTCOME_NO_REPLY ? text + " (" + outcome.errorName + ")" : outcome.errorName;
    }
    if (!outcome.errorText.empty())
    {
        text += ": " + outcome.errorText;
    }
    return text;
}
} // namespace CIM
