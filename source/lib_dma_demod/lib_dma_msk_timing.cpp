#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "lib_dma_common/symbol_sync.h"
#include "support/internal/complex_ops.h"
#include "support/internal/vector_clones.h"
#include "support/lib_normalization.h"
#include "support/lib_test.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <fmt/format.h>
#include <limits>
#include <vector>

namespace vrim::dma_demod_lib
{
using common_lib::complex_product;
using common_lib::lib_test_t;

namespace
{
constexpr std::size_t lag_count = 3;                // bits
constexpr double single_two_pi = 6.283185482;       // 2 pi as the single-precision value
constexpr double lag_frequency_scale = 37.69911184; // 12 pi: three lags of the squared signal, in turns
// Agreement of the blocks' clocks below which noise rules single samples, as it does from some 12 dB (Es/N0) of 8 samples a bit
// down. Fourth powers make the most of noise; means over a bit keep it off them, at the price of some noise of the data.
constexpr double loose_agreement = 0.9;

/// What one block tells.
struct timing_block_t
{
    std::complex<float> line; ///< line at the bit rate in the lag products' magnitudes
    float phase;              ///< bits, border of the bits behind the first sample
    float frequency;          ///< turns per bit
};

/// Mean squared lag products: row m, entry k for lag m and sample k of a bit.
using lag_rows_t = std::array<complex_array, lag_count + 1>;

DMA_COMPLEX_CLONES
void add_lag_products(const std::complex<float>* now, const std::complex<float>* before, std::size_t count,
                      std::complex<float>* sums)
{
    for (std::size_t k = 0; k < count; ++k)
    {
        const std::complex<float> product = complex_product(now[k], std::conj(before[k]));
        sums[k] += complex_product(product, product);
    }
}

void cal_lag_rows(const std::complex<float>* block, std::size_t symbols, std::size_t sps, lag_rows_t& rows)
{
    rows[0].assign(sps, { 1.0f, 0.0f });
    for (std::size_t lag = 1; lag <= lag_count; ++lag)
    {
        rows[lag].assign(sps, { 0.0f, 0.0f });
        for (std::size_t i = lag; i < symbols; ++i)
            add_lag_products(block + i * sps, block + (i - lag) * sps, sps, rows[lag].data());
        if (symbols <= lag)
            continue;
        const float share = 1.0f / static_cast<float>(symbols - lag);
        for (std::complex<float>& sum : rows[lag])
            sum *= share;
    }
}

std::complex<float> cal_border_line(const lag_rows_t& rows)
{
    const std::size_t sps = rows[0].size();
    std::complex<float> line;
    for (std::size_t k = 0; k < sps; ++k)
    {
        const float level = 0.25f * (common_lib::amplitude_of(rows[1][k]) + common_lib::amplitude_of(rows[2][k]) +
                                     common_lib::amplitude_of(rows[3][k]));
        const double angle = common_lib::two_pi * static_cast<double>(k) / static_cast<double>(sps);
        const double weight = static_cast<double>(level);
        line = { static_cast<float>(static_cast<double>(line.real()) + weight * std::cos(angle)),
                 static_cast<float>(static_cast<double>(line.imag()) - weight * std::sin(angle)) };
    }
    return line;
}

/// Place of the bit borders.
float cal_border_phase(std::complex<double> line)
{
    return static_cast<float>(-std::atan2(line.imag(), line.real()) / single_two_pi);
}

/// Sample of a bit that stands closest to the border.
std::size_t find_border_sample(float phase, std::size_t sps)
{
    std::size_t best = 0;
    float smallest = std::numeric_limits<float>::infinity();
    for (std::size_t k = 0; k < sps; ++k)
    {
        float distance = phase - static_cast<float>(k) / static_cast<float>(sps);
        if (distance < -0.5f)
            distance += 1.0f;
        else if (distance >= 0.5f)
            distance -= 1.0f;
        distance = std::abs(distance);
        if (distance > 0.5f)
        {
            DMA_LOG_ERROR("MSK Frequency offset estimation Error!!!\n");
            distance = 0.5f;
        }
        if (distance < smallest)
        {
            smallest = distance;
            best = k;
        }
    }
    return best;
}

/// On a border a lag of one bit is half a turn of the squared signal; what is left is the carrier.
float cal_block_frequency(const lag_rows_t& rows, std::size_t sample)
{
    float turn = 0.0f;
    for (std::size_t lag = 1; lag <= lag_count; ++lag)
        turn += common_lib::phase_of(complex_product(-rows[lag][sample], std::conj(rows[lag - 1][sample])));
    return static_cast<float>(static_cast<double>(turn) / lag_frequency_scale);
}

timing_block_t cal_timing_block(const std::complex<float>* block, std::size_t symbols, std::size_t sps, lag_rows_t& rows)
{
    cal_lag_rows(block, symbols, sps, rows);
    const std::complex<float> line = cal_border_line(rows);
    const float phase = cal_border_phase(std::complex<double>(line));
    return { line, phase, cal_block_frequency(rows, find_border_sample(phase, sps)) };
}

std::vector<timing_block_t> cal_timing_blocks(const complex_array& samples, std::size_t first, std::size_t symbols,
                                              std::size_t sps, std::size_t cycles)
{
    lag_rows_t rows;
    std::vector<timing_block_t> blocks;
    for (std::size_t cycle = 0; cycle < cycles; ++cycle)
        blocks.push_back(cal_timing_block(samples.data() + first + cycle * symbols * sps, symbols, sps, rows));
    return blocks;
}

/// Share of the blocks' lines that is left of their sum, 0 to 1: 1 where all of them stand at one place.
double cal_agreement(const std::vector<timing_block_t>& blocks)
{
    std::complex<double> sum;
    double level = 0.0;
    for (const timing_block_t& block : blocks)
    {
        sum += std::complex<double>(block.line);
        level += std::abs(std::complex<double>(block.line));
    }
    return level > 0.0 ? std::abs(sum) / level : 0.0;
}

/// Means over a bit, each centred on its sample: the samples at both ends count half.
/// @param sps  samples a bit, even
complex_array cal_bit_means(const complex_array& samples, std::size_t sps)
{
    complex_array means(samples.size());
    const std::size_t reach = sps / 2;
    for (std::size_t n = reach; n + reach < samples.size(); ++n)
    {
        std::complex<float> sum = 0.5f * (samples[n - reach] + samples[n + reach]);
        for (std::size_t i = n - reach + 1; i < n + reach; ++i)
            sum += samples[i];
        means[n] = sum / static_cast<float>(sps);
    }
    return means;
}

/// Phases of the blocks that have a line and agree with that of all. At GMSK of BT 0.3 the data of one block in a thousand all
/// but cancel its line; such a block says anything, and the unwrapping may carry its jump through all that follow.
float_array take_sound_phases(const std::vector<timing_block_t>& blocks)
{
    constexpr double largest_distance = 0.125; // bits; a sound block of GMSK scatters by 0.01
    constexpr double faintest_share = 0.35;    // of the mean line; fainter ones scatter by 0.1 and more
    std::complex<double> line;
    double level = 0.0;
    for (const timing_block_t& block : blocks)
    {
        line += std::complex<double>(block.line);
        level += std::abs(std::complex<double>(block.line));
    }
    const double faintest = faintest_share * level / static_cast<double>(blocks.size());
    const double common = static_cast<double>(cal_border_phase(line));
    float_array all;
    float_array sound;
    for (const timing_block_t& block : blocks)
    {
        all.push_back(block.phase);
        const double distance = std::abs(std::remainder(static_cast<double>(block.phase) - common, 1.0));
        if (distance <= largest_distance && std::abs(std::complex<double>(block.line)) >= faintest)
            sound.push_back(block.phase);
    }
    return sound.empty() ? all : sound;
}

void unwrap_borders(float_array& phases)
{
    constexpr float margin = 1e-5f;
    for (std::size_t i = 1; i < phases.size(); ++i)
    {
        const float difference = phases[i] - phases[i - 1];
        if (difference - 0.5f > margin)
            phases[i] -= 1.0f;
        else if (difference + 0.5f < -margin)
            phases[i] += 1.0f;
    }
}

/// Share of a sample by which the signal is read later.
float cal_fraction(float delay)
{
    constexpr double tolerance = 1e-12;
    const float fraction = static_cast<double>(delay) > tolerance ? delay - std::floor(delay) : delay - std::ceil(delay);
    return fraction < 0.0f ? fraction + 1.0f : fraction;
}

/// Samples up to the first middle of a bit. @param delay  samples, place of a border
std::uint32_t cal_first_middle(float delay, std::uint32_t sps)
{
    const double ratio = static_cast<double>(sps);
    const double place = static_cast<double>(delay);
    double samples = ratio * 0.5 + (place > 0.0 ? place : ratio - std::abs(place));
    // Clocks that drift make a border lie bits in front of the record; whole bits bring the middle back into it.
    if (samples < 0.0)
        samples += std::ceil(-samples / ratio) * ratio;
    constexpr double largest = 4294967295.0;
    return static_cast<std::uint32_t>(std::min(samples, largest));
}
} // namespace

bool lib_dma_msk_demod_t::timing_recovery()
{
    DMA_LOG_INFO("lib_dma_msk_demod_t::timing_recovery start.\n");
    const std::size_t size = work.iq_data.size();
    const std::size_t run_in = setting.pre_num;
    if (run_in < size && size - run_in <= run_in)
    {
        DMA_LOG_ERROR("lib_dma_msk_demod_t::timing_recovery:demod data len too short, m_pre_num = %u)!\n", setting.pre_num);
        return false;
    }
    const bool trimmed = run_in < size;
    if (!trimmed)
        DMA_LOG_INFO("lib_dma_msk_demod_t::timing_recovery:pre_num too long, m_pre_num = %u)!\n", setting.pre_num);
    const std::size_t first = trimmed ? run_in : 0;
    const std::size_t length = trimmed ? size - 2 * run_in : size;
    const std::size_t block_length = static_cast<std::size_t>(syn_sym_num) * setting.sps;
    const std::size_t cycles = block_length == 0 ? 0 : std::min<std::size_t>(length / block_length, max_cycles);
    if (cycles == 0)
    {
        DMA_LOG_ERROR("error: msk_timing_recovery(): too less data\n");
        return false;
    }
    common_log::print_trace_line(fmt::format("dataLen = {}  cyc_num = {}", length, cycles));

    common_lib::lib_normalization_t::rms_normalize(work.iq_data);
    std::vector<timing_block_t> blocks = cal_timing_blocks(work.iq_data, first, syn_sym_num, setting.sps, cycles);
    block_frequency.clear();
    for (const timing_block_t& block : blocks)
        block_frequency.push_back(block.frequency);
    if (cal_agreement(blocks) < loose_agreement)
        blocks = cal_timing_blocks(cal_bit_means(work.iq_data, setting.sps), first, syn_sym_num, setting.sps, cycles);
    float_array phases = take_sound_phases(blocks);
    unwrap_borders(phases);
    float sum = 0.0f;
    for (const float phase : phases)
        sum += phase;
    const float mean = sum / static_cast<float>(phases.size());
    float delay = static_cast<float>((static_cast<double>(mean) - static_cast<double>(setting.clock_adjust)) *
                                     static_cast<double>(setting.sps));
    if (!std::isfinite(delay))
        delay = 0.0f; // samples that are no numbers have no timing
    DMA_LOG_INFO("phase average:%.6f,bin_delay:%.6f.\n", mean, delay);

    const std::int64_t start_time = lib_test_t::get_current_time();
    double_array taps;
    const double fraction = static_cast<double>(cal_fraction(delay));
    symbol_timing_recovery_plan::sinc_fractional_delay_filter_design(fraction, interp_order, taps);
    symbol_timing_recovery_plan::sinc_fractional_delay(interp_order, taps, work.iq_data, work.timing_data);
    common_log::print_trace_time("symbol_timing_recovery1 sinc_fractional_delay time: ", start_time);

    setting.timing_start = cal_first_middle(delay, setting.sps);
    if (setting.timing_start < work.timing_data.size())
        work.timing_data.erase(work.timing_data.begin(),
                               work.timing_data.begin() + static_cast<std::ptrdiff_t>(setting.timing_start));
    return true;
}
} // namespace vrim::dma_demod_lib
