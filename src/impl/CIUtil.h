#pragma once

namespace CIM
{
/// Whether the set can use CI at all, as its feature keys say. Each fact is read once per process and kept.
/// The system information may not be up yet when a process starts, so a failed read is repeated, 30 times, a second
/// apart. Not thread-safe: the facade calls it under its lock.
class TCCIUtil
{
public:
    /// \return the number of CI slots; 0 when it could not be read, which is final. Blocks up to 30 seconds, once.
    static int GetSystemInfoNumCI();

    /// \return whether CI is enabled on the set and its region's certification includes CI; what could not be read
    ///         counts as false, which is final. Blocks up to 30 seconds, once.
    static bool IsCISupportedByRegion();

private:
    static int m_GetSystemInfoNumCI();
    static bool m_GetIsCISupportedByRegion();

    static int m_numCI;                 ///< -1: not read yet
    static int m_isCISupportedByRegion; ///< -1: not read yet; then 0 or 1
};
} // namespace CIM
