#include "Control.h"

#include <gio/gio.h>

namespace Control
{
namespace
{
std::string Call(const char* verb, GVariant* arguments)
{
    GError* error = nullptr;
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (bus != nullptr)
    {
        GVariant* reply =
            g_dbus_connection_call_sync(bus, "com.kelvora.cisim", "/com/kelvora/cisim", "com.kelvora.cisim.Control",
                                        verb, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, &error);
        if (reply != nullptr)
        {
            g_variant_unref(reply);
        }
        g_object_unref(bus);
    }
    if (error == nullptr)
    {
        return {};
    }
    const std::string text = error->message;
    g_error_free(error);
    return text;
}
} // namespace

std::string InsertCam(unsigned char slot, const std::string& cam)
{
    return Call("InsertCam", g_variant_new("(ys)", slot, cam.c_str()));
}

std::string RemoveCam(unsigned char slot) { return Call("RemoveCam", g_variant_new("(y)", slot)); }
} // namespace Control
