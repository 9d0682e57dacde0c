#include "analysis_runner.h"
#include "sigmf_capture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

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

/// The 3-of-6 words of a wireless meter as bytes, two words each, the high nibble first. A word that is none ends them.
std::vector<std::uint32_t> decode_words(const std::string& chips)
{
    const std::array<std::string, 16> words = { "010110", "001101", "001110", "001011", "011100", "011001", "011010", "010011",
                                                "101100", "100101", "100110", "100011", "110100", "110001", "110010", "101001" };
    const auto find_nibble = [&](std::size_t first)
    {
        const auto word = std::find(words.begin(), words.end(), chips.substr(first, 6));
        return static_cast<std::uint32_t>(word - words.begin());
    };
    std::vector<std::uint32_t> bytes;
    for (std::size_t first = 0; first + 12 <= chips.size(); first += 12)
    {
        const std::uint32_t high = find_nibble(first);
        const std::uint32_t low = find_nibble(first + 6);
        if (high == words.size() || low == words.size())
            break;
        bytes.push_back(16 * high + low);
    }
    return bytes;
}

class WirelessMeter : public testing::Test
{
protected:
    WirelessMeter() : capture(read_sigmf_capture(std::string(DMA_TEST_DATA_DIR) + "/captures/wmbus_t1_2fsk_100k"))
    {
        using namespace vrim::dma_demod_lib;
        setting.format = signal_format_t::fsk2;
        setting.symbol_rate = 100'000;
        setting.sample_rate = capture.sample_rate;
        setting.meas_filter = LIB_DMA_MEAS_RECTANGULAR_FILTER;
        setting.ref_filter = LIB_DMA_REF_RECTANGULAR_FILTER;
        setting.filter_length = 4;
        // The transmitter's clock drifts; longer stretches need another one.
        setting.meas_interval = 200;
    }

    /// The burst stands from sample 2,620 to 13,270; 50 symbols of noise at either end do no harm.
    vrim::complex_array take_from(std::ptrdiff_t sample) const
    {
        return { capture.samples.begin() + sample, capture.samples.end() };
    }

    sigmf_capture_t capture;
    analysis_setting_t setting;
};

TEST_F(WirelessMeter, HasItsTonesAllThroughTheBurst)
{
    for (const std::ptrdiff_t start : { 2300, 3200, 4600, 6900 })
    {
        const analysis_result_t result = analyse(take_from(start), setting);
        ASSERT_EQ(result.code, 0) << start;
        // 44 kHz averaged over whole chips, 52 in the middle of runs, 66 at single chips.
        EXPECT_GE(result.summary.fsk_deviation, 42e3) << start;
        EXPECT_LE(result.summary.fsk_deviation, 68e3) << start;
        // -9.7 to -13 kHz, by simple receivers; 1 kHz for a surplus of 2 % of one of the tones.
        EXPECT_GE(result.table.frequency_error, -14e3f) << start;
        EXPECT_LE(result.table.frequency_error, -8.7e3f) << start;
    }
}

TEST_F(WirelessMeter, SendsItsFirstBytes)
{
    setting.sync_bits = "0000111101"; // the end of the preamble
    setting.search_length = 0.002;
    setting.meas_interval = 190;
    const analysis_result_t result = analyse(take_from(2300), setting);
    ASSERT_EQ(result.code, 0);
    ASSERT_TRUE(result.sync_found);
    std::string chips;
    for (const std::uint32_t symbol : result.decoded)
        chips += symbol == 0 ? '0' : '1';
    ASSERT_EQ(chips.substr(0, 10), setting.sync_bits);
    const std::vector<std::uint32_t> bytes = decode_words(chips.substr(10));
    const std::vector<std::uint32_t> expected = { 0x29, 0x44, 0x68, 0x50, 0x23, 0x00, 0x20, 0x71, 0x72, 0xF0 };
    ASSERT_GE(bytes.size(), expected.size());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), bytes.begin()));
}
} // namespace
