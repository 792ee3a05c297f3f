#include "calls/Peer.h"
#include "calls/Tables.h"

#include <cstdio>
#include <string>

namespace CIM::bench
{
namespace
{
struct TSEchoes
{
    std::size_t size;
    int count;
};
using TCCaller = TCWorker<TSEchoes, TSCost>;

TCCaller::TServe BeginCalling(const TSPeerKind& kind)
{
    struct TSState
    {
        std::unique_ptr<TCPeer> peer;
        std::string payload;
    };
    const auto state = std::make_shared<TSState>(TSState{kind.make(), {}});
    state->peer->Use(state->payload);
    return [state](const TSEchoes& echoes)
    {
        if (state->payload.size() != echoes.size)
        {
            state->payload.assign(echoes.size, 'p');
            state->peer->Use(state->payload);
        }
        return Measure(echoes.count,
                       [&]
                       {
                           for (int number = 0; number < echoes.count; ++number)
                           {
                               state->peer->Call();
                           }
                       });
    };
}
} // namespace

void PrintCalls(const TSOptions& options)
{
    std::printf("\n| payload (bytes) | | wall, us | ratio | client CPU, us | ratio | allocations | page faults |\n"
                "|--:|:--|--:|--:|--:|--:|--:|--:|\n");
    std::vector<std::unique_ptr<TCCaller>> callers;
    for (const TSPeerKind& kind : PeerKinds())
    {
        callers.push_back(std::make_unique<TCCaller>([&kind] { return BeginCalling(kind); }));
    }
    const TSEchoes rows[] = {{0, 1000}, {64, 1000}, {4096, 1000}, {1 << 20, 40}, {16 << 20, 2}};
    for (const TSEchoes& row : rows)
    {
        const auto costs = TakeTurns<TSEchoes, TSCost>(options.rounds, callers, {row.size, options.Count(row.count)});
        for (std::size_t which = 0; which < callers.size(); ++which)
        {
            const auto& own = costs[which];
            std::printf("| %zu | %s | %.1f | %.2f | %.1f | %.2f | %.1f | %.1f |\n", row.size, PeerKinds()[which].name,
                        Median(own, &TSCost::wall), Ratio(own, costs[0], &TSCost::wall), Median(own, &TSCost::cpu),
                        Ratio(own, costs[0], &TSCost::cpu), Median(own, &TSCost::allocations),
                        Median(own, &TSCost::faults));
        }
        std::fflush(stdout);
    }
}
} // namespace CIM::bench
