// What the program says of FSK captures in which there is nothing to measure.

#include "exit_status.h"
#include "sigmf_writer.h"
#include "tool_runner.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <string>
#include <vector>

using namespace dmatool;
using dma_test::expect_failure;
using dma_test::run_analyze;
using dma_test::scratch_folder_t;

namespace
{
constexpr double sample_rate = 8.0e6;
constexpr std::size_t symbol_samples = 8;

/// A carrier 50 kHz high from sample `first` to `stop` of a record, silence around it.
std::vector<std::complex<float>> make_burst(std::size_t length, std::size_t first, std::size_t stop)
{
    std::vector<std::complex<float>> samples(length);
    for (std::size_t n = first; n < stop; ++n)
    {
        const double cycles = 50e3 / sample_rate * static_cast<double>(n);
        samples[n] = std::complex<float>(std::polar(0.4, 2.0 * std::numbers::pi * (cycles - std::floor(cycles))));
    }
    return samples;
}

void expect_no_tones(const std::vector<std::complex<float>>& samples, const std::string& format, const std::string& part,
                     exit_status_t status = exit_analysis_failed)
{
    const scratch_folder_t folder;
    dma_test::write_sigmf(folder.get_path("signal"), samples, sample_rate, "test");
    SCOPED_TRACE(format + ", " + std::to_string(samples.size()) + " samples");
    expect_failure(run_analyze({ folder.get_path("signal"), "--format", format, "--symbol-rate", "1e6" }), status, part);
}
} // namespace

TEST(CommandLineFsk, SaysThatACarrierHasNoTones)
{
    for (const char* format : { "2FSK", "8FSK", "64FSK" })
    {
        expect_no_tones(make_burst(12000, 0, 12000), format, "There is no modulation");
    }
}

TEST(CommandLineFsk, SaysThatABurstHasNoTones)
{
    // 1,204 symbols are looked at, without 50 at either end.
    expect_no_tones(make_burst(12000, 300, 9400), "2FSK", "There is no modulation");
    expect_no_tones(make_burst(12000, 0, 9400), "4FSK", "There is no modulation");
}

TEST(CommandLineFsk, SaysThatOneAndTheSameSymbolIsNoModulation)
{
    // The upper tone all along.
    std::vector<std::complex<float>> samples;
    for (std::size_t n = 0; n < 12000; ++n)
    {
        samples.emplace_back(std::polar(1.0, 0.5 * std::numbers::pi * 0.25 * static_cast<double>(n)));
    }
    expect_no_tones(samples, "2FSK", "There is no modulation");
}

TEST(CommandLineFsk, SaysThatARecordOfOneSymbolIsTooShort)
{
    expect_no_tones(make_burst(symbol_samples, 0, symbol_samples), "2FSK", "too short", exit_too_short);
    expect_no_tones(make_burst(1, 0, 1), "2FSK", "too short", exit_too_short);
}
