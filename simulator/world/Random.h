#pragma once

#include <cstdint>
#include <random>

namespace CIM::sim
{
/// Random numbers that only the seed decides, on every platform: the standard's engines are portable, its distributions
/// are not, so that these are our own.
class TCRandom
{
public:
    explicit TCRandom(std::uint64_t seed) : m_engine(seed) {}

    /// A number from 0 up to, and without, a bound; 0 for the bound 0. The bias of the remainder is below 2^-32 for
    /// bounds of 32 bits.
    std::uint64_t Below(std::uint64_t bound) { return bound == 0 ? 0 : m_engine() % bound; }

    /// True with a probability given in thousandths.
    bool Chance(unsigned thousandths) { return Below(1000) < thousandths; }

private:
    std::mt19937_64 m_engine;
};
} // namespace CIM::sim
