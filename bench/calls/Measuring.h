#pragma once

#include "calls/Worker.h"

#include <ctime>
#include <functional>
#include <memory>
#include <vector>

namespace CIM::bench
{
struct TSOptions
{
    unsigned rounds = 0;
    bool isQuick = false;

    /// How often something is done in a round.
    int Count(int wanted) const { return isQuick ? (wanted + 19) / 20 : wanted; }
};

double Seconds(clockid_t clock);

/// What doing something once costs this process.
struct TSCost
{
    double wall; ///< microseconds
    double cpu;  ///< microseconds
    double allocations;
    double faults; ///< of pages
};
/// Does something as a whole, and divides what it has cost.
TSCost Measure(int count, const std::function<void()>& whole);

double Median(std::vector<double> values);

/// What one way has come to, round by round.
template <class TFigures>
using TCRounds = std::vector<TFigures>;

template <class TFigures>
double Median(const TCRounds<TFigures>& rounds, double TFigures::*figure)
{
    std::vector<double> values;
    for (const TFigures& round : rounds)
    {
        values.push_back(round.*figure);
    }
    return Median(values);
}

/// The median of the ratios, each within its round.
template <class TFigures>
double Ratio(const TCRounds<TFigures>& rounds, const TCRounds<TFigures>& others, double TFigures::*figure)
{
    std::vector<double> values;
    for (std::size_t round = 0; round < rounds.size(); ++round)
    {
        values.push_back(rounds[round].*figure / others[round].*figure);
    }
    return Median(values);
}

/// Asks all workers in turns, round by round; the first round warms up and is left out. \return for each worker
template <class TRequest, class TFigures>
std::vector<TCRounds<TFigures>>
TakeTurns(unsigned rounds, std::vector<std::unique_ptr<TCWorker<TRequest, TFigures>>>& workers, const TRequest& request)
{
    std::vector<TCRounds<TFigures>> figures(workers.size());
    for (unsigned round = 0; round <= rounds; ++round)
    {
        for (std::size_t which = 0; which < workers.size(); ++which)
        {
            const TFigures measured = workers[which]->Do(request);
            if (round > 0)
            {
                figures[which].push_back(measured);
            }
        }
    }
    return figures;
}
} // namespace CIM::bench
