#include <dbus/dbus.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <grp.h>
#include <string>
#include <unistd.h>

// Anybody on the bus: signal_sender USER NAME. Becomes a user, connects, owns a name unless it is "-", says "ready", and
// then carries out a line of standard input at a time: "COUNT FORM" sends that many signals of identifier 5, numbered in
// the payload, or malformed ones, and says "sent". Leaves when standard input ends.

namespace
{
[[noreturn]] void Fail(const char* what)
{
    std::printf("failed: %s\n", what);
    std::exit(1);
}

void Become(unsigned user)
{
    if (user != geteuid() && (setgroups(0, nullptr) != 0 || setgid(user) != 0 || setuid(user) != 0))
    {
        Fail("cannot become that user");
    }
}

void Send(DBusConnection* connection, dbus_int32_t number, bool isMalformed)
{
    DBusMessage* const signal =
        dbus_message_new_signal("/com/kelvora/ciapi/SignalObject", "com.kelvora.ciapi.SignalIFace", "Data");
    const char* const identifier = "5";
    const std::string text = std::to_string(number);
    const char* const bytes = text.data();
    const auto length = static_cast<dbus_int32_t>(text.size());
    if (!isMalformed)
    {
        dbus_message_append_args(signal, DBUS_TYPE_STRING, &identifier, DBUS_TYPE_INT32, &length, DBUS_TYPE_ARRAY,
                                 DBUS_TYPE_BYTE, &bytes, length, DBUS_TYPE_INVALID);
    }
    dbus_connection_send(connection, signal, nullptr);
    dbus_message_unref(signal);
}
} // namespace

int main(int argumentCount, char** arguments)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    if (argumentCount != 3)
    {
        Fail("signal_sender USER NAME");
    }
    Become(static_cast<unsigned>(std::strtoul(arguments[1], nullptr, 10)));
    DBusConnection* const connection = dbus_bus_get_private(DBUS_BUS_SYSTEM, nullptr);
    if (connection == nullptr)
    {
        Fail("no bus");
    }
    if (std::strcmp(arguments[2], "-") != 0 &&
        dbus_bus_request_name(connection, arguments[2], 0, nullptr) != DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER)
    {
        Fail("no name");
    }
    std::puts("ready");
    char line[64];
    while (std::fgets(line, sizeof line, stdin) != nullptr)
    {
        int count = 0;
        char form[32] = {};
        if (std::sscanf(line, "%d %31s", &count, form) != 2)
        {
            Fail("COUNT FORM");
        }
        for (int number = 0; number < count; ++number)
        {
            Send(connection, number, std::strcmp(form, "malformed") == 0);
        }
        dbus_connection_flush(connection);
        std::puts("sent");
    }
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
    return 0;
}
