#include "ci_connection/CIMIPCUtility.h"

#include "utils/CIAPILog.h"

#include <algorithm>

namespace CIM
{
bool TCCIMIPCUtility::m_CheckArgumentType(DBusMessageIter& iter, int type, bool advanceFirst)
{
    if (advanceFirst && !dbus_message_iter_next(&iter))
    {
        return false;
    }
    return dbus_message_iter_get_arg_type(&iter) == type;
}

std::size_t TCCIMIPCUtility::m_CheckedLength(const char* operation, dbus_int32_t statedLength, int arrayLength)
{
    if (statedLength != arrayLength)
    {
        CIM_LOG_ERROR_AT(operation, __LINE__,
                         "[TCCIMIPCConnection::%s] Payload length %d does not match the %d bytes received", operation,
                         static_cast<int>(statedLength), arrayLength);
    }
    return static_cast<std::size_t>(std::clamp(static_cast<int>(statedLength), 0, arrayLength));
}

bool TCCIMIPCUtility::m_ReadBytes(DBusMessageIter& iter, const char*& bytes, int& length)
{
    if (dbus_message_iter_get_arg_type(&iter) != DBUS_TYPE_ARRAY ||
        dbus_message_iter_get_element_type(&iter) != DBUS_TYPE_BYTE)
    {
        return false;
    }
    DBusMessageIter array;
    dbus_message_iter_recurse(&iter, &array);
    dbus_message_iter_get_fixed_array(&array, &bytes, &length);
    return true;
}
} // namespace CIM
