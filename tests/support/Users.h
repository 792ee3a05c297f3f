#pragma once

#include "bus/Handles.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <grp.h>
#include <string>
#include <system_error>
#include <unistd.h>

// Users that every Debian has, with their numbers. To be one of them needs root.

namespace CIM
{
struct TSUser
{
    uid_t id;
    gid_t group;
    gid_t another = group; ///< a group that it is a member of beside its own
};
inline constexpr TSUser USER_ROOT{0, 0};
inline constexpr TSUser USER_DAEMON{1, 1};
inline constexpr TSUser USER_DAEMON_IN_VIDEO{1, 1, 44};
inline constexpr TSUser USER_GAMES{5, 60};
inline constexpr TSUser USER_GAMES_IN_VIDEO{5, 60, 44};
inline constexpr TSUser USER_NOBODY{65534, 65534};

inline void MustBecome(bool isDone)
{
    if (!isDone)
    {
        throw std::system_error(errno, std::generic_category(), "cannot become another user");
    }
}

/// Connects as that user: the bus takes user and groups from the socket, as they are when it connects. So one process is
/// several users. Not beside other threads. \throws std::system_error, std::runtime_error
inline TCConnectionPtr ConnectAs(const TSUser& user, const std::string& address)
{
    /// Root again, come what may: a test that went on as another user would test something else.
    struct SRootAgain
    {
        ~SRootAgain()
        {
            const gid_t root = 0;
            if (seteuid(0) != 0 || setegid(0) != 0 || setgroups(1, &root) != 0)
            {
                std::perror("cannot be root again");
                std::abort();
            }
        }
    } const afterwards;
    const std::array<gid_t, 2> groups{user.group, user.another};
    MustBecome(setgroups(groups.size(), groups.data()) == 0 && setegid(user.group) == 0 && seteuid(user.id) == 0);
    TCDBusError error;
    TCConnectionPtr connection = OpenBusAt(address.c_str(), error);
    return connection ? std::move(connection) : throw std::runtime_error(std::string("no bus: ") + error.Text());
}

/// Makes this process that user's for good. \throws std::system_error
inline void BecomeForEver(const TSUser& user)
{
    const std::array<gid_t, 2> groups{user.group, user.another};
    MustBecome(setgroups(groups.size(), groups.data()) == 0 && setresgid(user.group, user.group, user.group) == 0 &&
               setresuid(user.id, user.id, user.id) == 0);
}
} // namespace CIM
