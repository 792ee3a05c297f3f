#pragma once

#include <dbus/dbus.h>

#include <cstddef>

namespace CIM
{
class TCCIMIPCUtility
{
public:
    /// \param advanceFirst  move to the next argument before looking; \return false when there is none
    /// \return whether the argument at the iterator has the D-Bus type
    static bool m_CheckArgumentType(DBusMessageIter& iter, int type, bool advanceFirst);

    /// The length of a payload as its sender states it, checked against the array that really came with it.
    /// \param operation  who reads, for the error line when the two disagree
    /// \return how many bytes may be read: the smaller of the two
    static std::size_t m_CheckedLength(const char* operation, dbus_int32_t statedLength, int arrayLength);

    /// Takes the bytes of the argument at the iterator. The bytes belong to the message.
    /// \return false when it is not an array of bytes
    static bool m_ReadBytes(DBusMessageIter& iter, const char*& bytes, int& length);
};
} // namespace CIM
