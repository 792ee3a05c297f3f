#pragma once

#include "simulator/control/Action.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace CIM::sim
{
class TCSimulatedDaemon;

/// Something to be done to a running simulator: each control of the set, and what concerns the daemon itself. Its row
/// is all there is to it: the D-Bus method, its introspection, the command of a shell and its completion come from
/// there.
struct TSVerb
{
    const char* name;
    const char* help;
    std::vector<TSParameter> parameters; ///< in the order of the method's arguments
    bool hasResult;                      ///< a text; JSON where the help says so
    /// \throws std::exception with a text for people when it is refused; nothing has happened then
    TRun<std::string, TCSimulatedDaemon> run;

    /// "InsertCam slot cam": parameters that may be left out at the end stand in brackets.
    std::string Usage() const;
};

std::span<const TSVerb> Verbs();
const TSVerb* FindVerb(std::string_view name);
/// "there is no verb NAME", and which was probably meant: by a verb's name or, of a control, by that in a scenario.
std::string NoSuchVerb(std::string_view name);

inline constexpr const char* CONTROL_NAME = "com.kelvora.cisim";
inline constexpr const char* CONTROL_OBJECT = "/com/kelvora/cisim";
inline constexpr const char* CONTROL_INTERFACE = "com.kelvora.cisim.Control";
inline constexpr const char* CONTROL_REFUSED = "com.kelvora.cisim.Error.Refused";
} // namespace CIM::sim
