#include "ProcessBus.h"

#include "privatebus/Keeper.h"

#include <ciapi/CIDiagnostics.h>

#include <memory>
#include <mutex>
#include <stdexcept>
#include <unistd.h>

namespace CIM::test
{
namespace
{
privatebus::TCBusFolder MakeFolder()
{
    if (HasBeenUsed())
    {
        throw std::logic_error(
            "libciapi was used in this process before the first testing daemon was made: it keeps the "
            "feature keys and the bus of then, and would wait for a daemon there. Make the daemon "
            "first, for example as the fixture's first member");
    }
    return privatebus::TCBusFolder::Make("ciapi-testing");
}
} // namespace

TCProcessBus& TCProcessBus::Instance()
{
    static std::mutex mutex;
    static auto& buses =
        *new std::map<pid_t, std::unique_ptr<TCProcessBus>>; // never deleted: they end with the process
    const std::lock_guard lock(mutex);
    std::unique_ptr<TCProcessBus>& bus = buses[getpid()];
    if (bus == nullptr)
    {
        bus.reset(new TCProcessBus);
    }
    return *bus;
}

TCProcessBus::TCProcessBus() : m_folder(MakeFolder())
{
    privatebus::TSKeeperOptions options;
    options.name = "ciapi-test-bus";
    options.isOrphan = true;
    privatebus::TCKeeper keeper;
    keeper.Start(m_folder, options);
    WriteFeatureKeys({});
    keeper.HoldForEver();
    m_folder.PutIntoEnvironment();
}

void TCProcessBus::WriteFeatureKeys(const std::map<std::string, std::string>& keys) const
{
    privatebus::WriteFeatureKeys(m_folder.FeatureKeyFile(), keys);
}
} // namespace CIM::test
