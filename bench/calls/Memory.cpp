#include "calls/Peer.h"
#include "calls/Tables.h"

#include <cstdio>
#include <fstream>
#include <new>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace CIM::bench
{
namespace
{
constexpr std::size_t LARGE = 16 << 20;

struct TSPages // KiB
{
    double before;
    double after;
};
using TCCaller = TCWorker<int, TSPages>;

double PrivateDirty()
{
    std::ifstream file("/proc/self/smaps_rollup");
    std::string word;
    double size = 0;
    while (file >> word && word != "Private_Dirty:")
    {
    }
    if (!(file >> size))
    {
        throw std::runtime_error("no Private_Dirty in smaps_rollup");
    }
    return size;
}

TSPages CallOnce(TCPeer& peer)
{
    // What is sent takes no pages itself.
    void* const zeros = mmap(nullptr, LARGE, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (zeros == MAP_FAILED)
    {
        throw std::bad_alloc();
    }
    peer.Use({});
    peer.Call();
    const double before = PrivateDirty();
    peer.Use({static_cast<const char*>(zeros), LARGE});
    peer.Call();
    peer.Use({}); // what was prepared for this payload is the payload's
    sleep(1);     // for whoever returns memory later
    return {before, PrivateDirty()};
}
} // namespace

void PrintMemory(const TSOptions& options)
{
    std::printf("\n| private pages, KiB | before a call of 16 MiB | one second after it | more |\n|:--|--:|--:|--:|\n");
    for (const TSPeerKind& kind : PeerKinds())
    {
        TCRounds<TSPages> pages;
        for (unsigned round = 0; round < options.rounds; ++round)
        {
            TCCaller caller(
                [&kind]
                {
                    const std::shared_ptr<TCPeer> peer = kind.make();
                    return [peer](const int&) { return CallOnce(*peer); };
                });
            pages.push_back(caller.Do(0));
        }
        const double before = Median(pages, &TSPages::before);
        const double after = Median(pages, &TSPages::after);
        std::printf("| %s | %.0f | %.0f | %.0f |\n", kind.name, before, after, after - before);
        std::fflush(stdout);
    }
}
} // namespace CIM::bench
