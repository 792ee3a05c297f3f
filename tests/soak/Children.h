#pragma once

#include "soak/Shared.h"

#include <vector>

namespace CIM::soak
{
/// How a child of an application goes on: each first calls the library, as it must not, and gets the null answer.
enum EChild : unsigned
{
    CHILD_EXITS,     ///< exit(), with all that belongs to it
    CHILD_EXITS_NOW, ///< _exit()
    CHILD_EXECUTES,  ///< a program that uses the library itself
    CHILD_COUNT,
};

/// The children of one application: each has to end within a bound, with success. Bound to its thread, which must live
/// as long as they do.
class TCChildren
{
public:
    explicit TCChildren(SShared& shared) : m_shared(shared) {}
    /// Ends those that are left.
    ~TCChildren();

    void Fork(EChild kind);
    /// Looks who has ended, and ends who should have.
    void Check();
    /// Waits for all.
    void End();

private:
    struct SChild
    {
        pid_t process;
        EChild kind;
        std::uint64_t deadline;
    };
    SShared& m_shared;
    std::vector<SChild> m_children;
};

/// Starts this program anew as one of the soak's processes, which dies with the thread that started it.
/// \return 0 or less when it could not be started
pid_t StartSelf(const char* role, unsigned number = 0);
/// What the processes that were started inherit; set before any is.
extern int g_sharedDescriptor;
} // namespace CIM::soak
