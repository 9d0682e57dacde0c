#pragma once

#include <cstdint>
#include <random>

namespace dma_test
{
/// Random numbers that come out the same everywhere: the engine is fixed by the standard, the distributions are written out.
class signal_random_t
{
public:
    explicit signal_random_t(std::uint64_t seed) : engine_(seed) {}

    /// @return 0 up to, not including, 1; multiples of 2^-53
    double get_uniform() { return static_cast<double>(engine_() >> 11U) * 0x1.0p-53; }

    /// @return 0 to count - 1
    std::uint32_t get_index(std::uint32_t count)
    {
        return static_cast<std::uint32_t>(get_uniform() * static_cast<double>(count));
    }

    /// @return zero mean, unit variance, by the polar form of G. E. P. Box, M. E. Muller, Ann. Math. Statist. 29(2), 1958
    double get_normal();

private:
    std::mt19937_64 engine_;
    double spare_ = 0.0;
    bool spare_flag_ = false;
};
} // namespace dma_test
