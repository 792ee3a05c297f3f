#include "CommandEnd.h"

#include <csignal>
#include <cstring>

namespace CIM::sim
{
bool TSCommandEnd::IsBad() const
{
    const bool isMeant = wasAsked || interruption != 0;
    if (startError != 0 || !isMeant)
    {
        return startError != 0 || status != 0;
    }
    return signal != 0 && signal != SIGTERM && signal != SIGKILL && signal != interruption;
}

std::string TSCommandEnd::Words() const
{
    if (startError != 0)
    {
        return std::string("it cannot be started: ") + std::strerror(startError);
    }
    if (signal != 0)
    {
        return "killed by " + SignalName(signal);
    }
    return status != 0 ? "with status " + std::to_string(status) : std::string();
}

std::string SignalName(int number)
{
    const char* const name = sigabbrev_np(number);
    return name != nullptr ? std::string("SIG") + name : "signal " + std::to_string(number);
}
} // namespace CIM::sim
