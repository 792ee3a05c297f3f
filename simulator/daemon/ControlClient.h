#pragma once

#include <string>
#include <vector>

namespace CIM::sim
{
struct TSVerb;

/// What became of a verb that was asked for over the bus.
struct TSControlAnswer
{
    enum EStatus
    {
        DONE,
        REFUSED,      ///< by the simulator
        USAGE,        ///< the arguments are not the verb's; nothing has happened
        NO_SIMULATOR, ///< no bus, or nobody with the control object on it
    };
    EStatus status = DONE;
    std::string text; ///< the verb's result, or what is wrong
};

/// Asks the simulator on the system bus to do something. Blocks until it has answered, 25 seconds at most.
/// \param[in] arguments  as texts, in the verb's order; an empty one is one that is left out
TSControlAnswer CallControl(const TSVerb& verb, const std::vector<std::string>& arguments);
} // namespace CIM::sim
