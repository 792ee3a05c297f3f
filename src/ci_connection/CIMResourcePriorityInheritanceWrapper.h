#pragma once

namespace CIM
{
/// Lends the calling thread's CPU priority to the daemon while it serves one call. Bound to its thread.
class TCCIMResourcePriorityInheritanceWrapper
{
public:
    TCCIMResourcePriorityInheritanceWrapper() = default;
    /// Ends a loan that is still active.
    ~TCCIMResourcePriorityInheritanceWrapper() { StopPriorityInheritance(); }
    TCCIMResourcePriorityInheritanceWrapper(const TCCIMResourcePriorityInheritanceWrapper&) = delete;
    TCCIMResourcePriorityInheritanceWrapper& operator=(const TCCIMResourcePriorityInheritanceWrapper&) = delete;

    void StrartPriorityInheritance();
    void StopPriorityInheritance();

private:
    bool m_active = false;
};
} // namespace CIM
