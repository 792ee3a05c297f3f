#include "policy/Users.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <grp.h>
#include <pwd.h>
#include <stdexcept>
#include <unistd.h>
#include <vector>

namespace CIM
{
namespace
{
[[noreturn]] void Fail(const std::string& what)
{
    throw std::runtime_error(what + ": " + (errno != 0 ? std::strerror(errno) : "there is none"));
}

const passwd& EntryOf(const TSUser& user)
{
    errno = 0;
    const passwd* const entry = getpwnam(user.name);
    if (entry == nullptr)
    {
        Fail(std::string("user ") + user.name);
    }
    return *entry;
}

void SetGroups(const TSUser& user, gid_t own)
{
    std::vector<gid_t> groups{own};
    if (user.group != nullptr)
    {
        errno = 0;
        const group* const entry = getgrnam(user.group);
        if (entry == nullptr)
        {
            Fail(std::string("group ") + user.group);
        }
        groups.push_back(entry->gr_gid);
    }
    if (setgroups(groups.size(), groups.data()) != 0)
    {
        Fail("setgroups");
    }
}

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
};
} // namespace

uid_t IdOf(const TSUser& user) { return EntryOf(user).pw_uid; }

TCConnectionPtr ConnectAs(const TSUser& user, const std::string& address)
{
    const passwd& entry = EntryOf(user);
    TCDBusError error;
    TCConnectionPtr connection;
    {
        const SRootAgain afterwards;
        SetGroups(user, entry.pw_gid);
        if (setegid(entry.pw_gid) != 0 || seteuid(entry.pw_uid) != 0)
        {
            Fail(std::string("become ") + user.name);
        }
        connection = OpenBusAt(address.c_str(), error);
    }
    if (!connection)
    {
        throw std::runtime_error(std::string(user.name) + " finds no bus: " + error.Text());
    }
    return connection;
}

void BecomeForEver(const TSUser& user)
{
    const passwd& entry = EntryOf(user);
    SetGroups(user, entry.pw_gid);
    if (setgid(entry.pw_gid) != 0 || setuid(entry.pw_uid) != 0)
    {
        Fail(std::string("become ") + user.name);
    }
}
} // namespace CIM
