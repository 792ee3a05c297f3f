#include "Input.h"

#include <tvplatform/BusName.h>

#include <dbus/dbus.h>

#include <cerrno>

// The bus says which unique name a process has; what the process makes of it goes back to the bus. Property: either a
// name that the bus takes, which fits, or an error and nothing written.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using CIM::fuzz::Require;
    CIM::fuzz::TCInput input(data, size);
    const int room = input.Byte() - 1;
    const std::string unique(input.Bytes(300));
    std::string buffer(256, '\x55');
    int length = room;
    const int result =
        IPCUtility_GenerateSubConnectionName(unique.data(), static_cast<int>(unique.size()), buffer.data(), &length);
    if (result != 0)
    {
        Require(result == -EINVAL || result == -ENOSPC);
        Require(length == room && buffer == std::string(256, '\x55'));
        return 0;
    }
    Require(length > 0 && length <= room && std::strlen(buffer.c_str()) == static_cast<std::size_t>(length));
    Require(dbus_validate_bus_name(buffer.c_str(), nullptr) && buffer[0] != ':');
    Require(buffer.find_first_not_of('\x55', static_cast<std::size_t>(length) + 1) == std::string::npos);
    return 0;
}
