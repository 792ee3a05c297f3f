#pragma once

#include "bus/Handles.h"

#include <string>

#include <sys/types.h>

// Users that every Debian has, in the roles that the tests give them.

namespace CIM
{
/// A user, and a group that it is a member of beside its own; none: null.
struct TSUser
{
    const char* name;
    const char* group;
};

inline constexpr TSUser DAEMON{"games", nullptr};
inline constexpr TSUser DAEMON_AND_APPLICATION{"games", "video"};
inline constexpr TSUser APPLICATION{"daemon", "video"};
inline constexpr TSUser STRANGER{"nobody", nullptr};
inline constexpr TSUser ROOT{"root", nullptr};

uid_t IdOf(const TSUser& user);

/// Connects as that user: the bus takes user and groups from the socket, as they are when it connects. So one process is
/// several users. Needs root. \throws std::runtime_error
TCConnectionPtr ConnectAs(const TSUser& user, const std::string& address);

/// Makes this process that user's for good. \throws std::runtime_error
void BecomeForEver(const TSUser& user);
} // namespace CIM
