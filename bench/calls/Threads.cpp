#include "calls/Peer.h"
#include "calls/Tables.h"

#include <algorithm>
#include <cstdio>
#include <latch>
#include <string>
#include <thread>

namespace CIM::bench
{
namespace
{
constexpr int THREADS = 4;
constexpr std::size_t PAYLOAD = 64;
constexpr int CALLS = 2000; // of each thread

struct TSPace
{
    double callsPerSecond;
    double p99; ///< microseconds
};
using TCCaller = TCWorker<int, TSPace>; // asked with the number of calls of each thread

void CallOften(TCPeer& peer, std::vector<double>& times)
{
    for (double& time : times)
    {
        const double begin = Seconds(CLOCK_MONOTONIC);
        peer.Call();
        time = (Seconds(CLOCK_MONOTONIC) - begin) * 1e6;
    }
}

TSPace CallAtOnce(const std::vector<std::shared_ptr<TCPeer>>& peers, int calls)
{
    std::vector<std::vector<double>> times(THREADS, std::vector<double>(static_cast<std::size_t>(calls)));
    std::latch gate(THREADS + 1);
    std::vector<std::jthread> threads;
    for (std::size_t number = 0; number < THREADS; ++number)
    {
        threads.emplace_back(
            [&, number]
            {
                gate.arrive_and_wait();
                CallOften(*peers[number % peers.size()], times[number]);
            });
    }
    const double begin = Seconds(CLOCK_MONOTONIC);
    gate.arrive_and_wait();
    threads.clear();
    const double seconds = Seconds(CLOCK_MONOTONIC) - begin;
    std::vector<double> all;
    for (const std::vector<double>& own : times)
    {
        all.insert(all.end(), own.begin(), own.end());
    }
    const auto p99 = all.begin() + static_cast<std::ptrdiff_t>(all.size() * 99 / 100);
    std::nth_element(all.begin(), p99, all.end());
    return {THREADS * calls / seconds, *p99};
}

TCCaller::TServe BeginCalling(const TSPeerKind& kind)
{
    static const std::string payload(PAYLOAD, 'p');
    std::vector<std::shared_ptr<TCPeer>> peers;
    do
    {
        peers.push_back(kind.make());
        peers.back()->Use(payload);
    } while (!kind.hasThreads && peers.size() < THREADS);
    return [peers](const int& calls) { return CallAtOnce(peers, calls); };
}
} // namespace

void PrintThreads(const TSOptions& options)
{
    std::printf("\n| %d threads, %zu bytes | connections | calls/s | ratio | p99, us | ratio |\n"
                "|:--|--:|--:|--:|--:|--:|\n",
                THREADS, PAYLOAD);
    std::vector<std::unique_ptr<TCCaller>> callers;
    for (const TSPeerKind& kind : PeerKinds())
    {
        callers.push_back(std::make_unique<TCCaller>([&kind] { return BeginCalling(kind); }));
    }
    const auto paces = TakeTurns<int, TSPace>(options.rounds, callers, options.Count(CALLS));
    for (std::size_t which = 0; which < callers.size(); ++which)
    {
        const auto& own = paces[which];
        std::printf("| %s | %d | %.0f | %.2f | %.1f | %.2f |\n", PeerKinds()[which].name,
                    PeerKinds()[which].hasThreads ? 1 : THREADS, Median(own, &TSPace::callsPerSecond),
                    Ratio(own, paces[0], &TSPace::callsPerSecond), Median(own, &TSPace::p99),
                    Ratio(own, paces[0], &TSPace::p99));
    }
    std::fflush(stdout);
}
} // namespace CIM::bench
