#pragma once

#include "soak/Shared.h"

#include <cstdint>
#include <random>

namespace CIM::soak
{
struct SOptions
{
    unsigned seconds = 60;
    std::uint64_t calls = 0; ///< 0: the seconds count
    std::uint64_t seed = std::random_device{}() % 1'000'000;
    unsigned firstRound = 0;
    unsigned applications = 3;
    unsigned threads = 4;
    SWithout without;
    EPlant plant = PLANT_NONE;
    bool isVerbose = false;
};

/// Reads the command line. What it cannot use ends the program with a sentence and status 2.
SOptions ParseOptions(int argc, char** argv);
} // namespace CIM::soak
