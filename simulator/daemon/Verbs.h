#pragma once

#include "json/Json.h"

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace CIM::sim
{
class TCSimulatedDaemon;

/// One argument of a verb.
struct TSVerbArgument
{
    const char* name;
    const char* type; ///< D-Bus signature: y, q, i, u, t, s or ay
    const char* help;
};

/// Something to be done to a running simulator. Its row is all there is to it: the D-Bus method, its introspection, the
/// command of a shell and its completion come from here.
struct TSVerb
{
    const char* name;
    std::vector<TSVerbArgument> arguments;
    const char* help;
    bool hasResult; ///< a text; JSON where the help says so
    /// \param[in] arguments  an object: numbers, texts; bytes as hexadecimal digits
    /// \throws std::exception with a text for people when it is refused; nothing has happened then
    std::string (*run)(TCSimulatedDaemon& daemon, const json::TJson& arguments);
};

std::span<const TSVerb> Verbs();
const TSVerb* FindVerb(std::string_view name);

inline constexpr const char* CONTROL_NAME = "com.kelvora.cisim";
inline constexpr const char* CONTROL_OBJECT = "/com/kelvora/cisim";
inline constexpr const char* CONTROL_INTERFACE = "com.kelvora.cisim.Control";
inline constexpr const char* CONTROL_REFUSED = "com.kelvora.cisim.Error.Refused";
} // namespace CIM::sim
