#include "analysis_runner.h"
#include "sigmf_capture.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>

using namespace dma_test;

namespace
{
constexpr std::size_t marker_symbols = 32;

/// The frame marker of the downlink as dibits (I > 0, Q > 0), the high bit first.
std::array<std::uint32_t, marker_symbols> make_marker()
{
    constexpr std::array<std::uint8_t, 8> bytes = { 0xFC, 0xA2, 0xB6, 0x3D, 0xB0, 0x0D, 0x97, 0x94 };
    std::array<std::uint32_t, marker_symbols> dibits{};
    for (std::size_t i = 0; i < marker_symbols; ++i)
        dibits[i] = (bytes[i / 4] >> (6 - 2 * (i % 4))) & 3u;
    return dibits;
}

/// Where the marker stands, at whatever quarter turn of the symbols.
struct marker_place_t
{
    std::size_t symbol = 0;
    std::uint32_t wrong_bits = 64;
};

marker_place_t find_marker(const vrim::complex_array& symbols)
{
    const auto marker = make_marker();
    marker_place_t best;
    std::complex<float> turn(1.0f, 0.0f);
    for (int quarter = 0; quarter < 4; ++quarter)
    {
        for (std::size_t first = 0; first + marker_symbols <= symbols.size(); ++first)
        {
            std::uint32_t wrong = 0;
            for (std::size_t i = 0; i < marker_symbols; ++i)
            {
                const std::complex<float> symbol = symbols[first + i] * turn;
                wrong += (symbol.real() > 0.0f) != ((marker[i] & 2u) != 0) ? 1u : 0u;
                wrong += (symbol.imag() > 0.0f) != ((marker[i] & 1u) != 0) ? 1u : 0u;
            }
            if (wrong < best.wrong_bits)
                best = { first, wrong };
        }
        turn *= std::complex<float>(0.0f, 1.0f);
    }
    return best;
}

class SatelliteDownlink : public testing::Test
{
protected:
    SatelliteDownlink() : capture(read_sigmf_capture(std::string(DMA_TEST_DATA_DIR) + "/captures/lrpt_qpsk_72k"))
    {
        setting.format = signal_format_t::qpsk;
        setting.symbol_rate = 72'000;
        setting.sample_rate = capture.sample_rate;
        setting.alpha = 0.6;
        setting.meas_interval = 1000;
    }

    /// The record from the sample on at which a symbol stands.
    vrim::complex_array take_from(double symbol) const
    {
        const auto first = static_cast<std::ptrdiff_t>(std::lround(symbol * capture.sample_rate / 72'000.0));
        return { capture.samples.begin() + first, capture.samples.end() };
    }

    sigmf_capture_t capture;
    analysis_setting_t setting;
};

TEST_F(SatelliteDownlink, HasItsCarrierAndItsEvm)
{
    const analysis_result_t result = analyse(capture.samples, setting);
    ASSERT_TRUE(result.locked());
    EXPECT_EQ(result.meas_symbols.size(), 1000u);
    EXPECT_NEAR(static_cast<double>(result.table.frequency_error), -577.0, 5.0);
    EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), 11.0, 2.0);
    EXPECT_NEAR(static_cast<double>(result.summary.snr), 19.0, 1.5);
}

TEST_F(SatelliteDownlink, ReportsTheLeakageAtItsCarrierNotTheReceiversDc)
{
    // Single-frequency sums over the whole record, in double: -27.8 dB of its power at -577 Hz, 12 dB above the modulation
    // around it, and -33.9 dB at 0 Hz. The latter turns eight times within the interval and averages out of the figure.
    // 1.5 dB: the sums count the noise of the whole band as power and another stretch of the signal.
    const analysis_result_t result = analyse(capture.samples, setting);
    EXPECT_NEAR(static_cast<double>(result.table.iq_offset), -27.8, 1.5);
}

TEST_F(SatelliteDownlink, HasItsFrameMarkers8192SymbolsApart)
{
    // Two windows of 1,000 symbols; the measurement starts 90 symbols behind the start of the record.
    constexpr double first_start = 600.0;
    constexpr double second_start = 8800.0;
    const analysis_result_t first = analyse(take_from(first_start), setting);
    const analysis_result_t second = analyse(take_from(second_start), setting);
    ASSERT_TRUE(first.locked() && second.locked());
    const marker_place_t first_marker = find_marker(first.meas_symbols);
    const marker_place_t second_marker = find_marker(second.meas_symbols);
    // The best of 4,000 places in random symbols has about 18 wrong bits of 64.
    EXPECT_LE(first_marker.wrong_bits, 12u);
    EXPECT_LE(second_marker.wrong_bits, 12u);
    const double first_place = first_start + 90.0 + static_cast<double>(first_marker.symbol);
    const double second_place = second_start + 90.0 + static_cast<double>(second_marker.symbol);
    EXPECT_NEAR(first_place, 827.0, 2.0);
    EXPECT_NEAR(second_place - first_place, 8192.0, 2.0);
}
} // namespace
