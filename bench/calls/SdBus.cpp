#ifdef CIAPI_HAS_SD_BUS
#include "calls/Peer.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace CIM::bench
{
namespace
{
struct TSRelease
{
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using TCMessage = std::unique_ptr<sd_bus_message, TSRelease>;

void Check(int result)
{
    if (result < 0)
    {
        throw std::runtime_error(std::string("sd-bus: ") + std::strerror(-result));
    }
}

class TCSdBus : public TCPeer
{
public:
    TCSdBus()
    {
        sd_bus* bus = nullptr;
        Check(sd_bus_open_system(&bus));
        m_bus.reset(bus);
    }
    void Call() override
    {
        sd_bus_message* made = nullptr;
        Check(sd_bus_message_new_method_call(m_bus.get(), &made, INTERFACE, "/com/kelvora/Object", INTERFACE,
                                             "MethodCall"));
        const TCMessage call(made);
        Check(sd_bus_message_append(made, "iii", METHOD_ECHO, static_cast<int>(t_payload.size()), getpid()));
        if (!t_payload.empty())
        {
            Check(sd_bus_message_append_array(made, 'y', t_payload.data(), t_payload.size()));
        }
        sd_bus_message* answer = nullptr;
        Check(sd_bus_call(m_bus.get(), made, 0, nullptr, &answer));
        const TCMessage reply(answer);
        std::uint8_t status = 0;
        std::int32_t stated = 0;
        const void* bytes = nullptr;
        std::size_t length = 0;
        Check(sd_bus_message_read(answer, "yi", &status, &stated));
        Check(sd_bus_message_read_array(answer, 'y', &bytes, &length));
        t_CheckEcho({static_cast<const char*>(bytes), length});
    }

private:
    std::unique_ptr<sd_bus, TSRelease> m_bus;
};
} // namespace

std::unique_ptr<TCPeer> MakeSdBus() { return std::make_unique<TCSdBus>(); }
} // namespace CIM::bench
#endif
