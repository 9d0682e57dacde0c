#include "lib_dma_demod/lib_dma_qam_line.h"

#include "lib_dma_common/line_sums.h"
#include "support/internal/complex_ops.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
using common_lib::complex_product;
using common_lib::unit_phasor;

constexpr double quarter_turn = 0.25 * common_lib::two_pi;
constexpr std::size_t block_symbols = 64;
constexpr std::size_t most_blocks = 16;
// Steps of phase and of level, in half distances of neighbouring points at unit rms. Half a step off, the mean squared distance
// is a quarter of that of symbols without a carrier.
constexpr double trial_step = 0.8;
// The rms of n random symbols scatters by sqrt(0.1 / n), whatever the format.
constexpr double level_deviations = 4.5;
constexpr int mending_passes = 3;

std::complex<float> make_phasor(double amplitude, double angle)
{
    return static_cast<float>(amplitude) * unit_phasor(static_cast<float>(angle));
}

/// Where a block lies in the record, and its phase.
struct block_t
{
    std::size_t first = 0;                                ///< symbol
    double phase = 0.0;                                   ///< radians
    double distance = std::numeric_limits<double>::max(); ///< sum of the squared distances to the points

    double get_centre() const { return static_cast<double>(first) + 0.5 * static_cast<double>(block_symbols - 1); }
};

/// Blocks spread evenly over a record.
std::vector<block_t> make_blocks(std::size_t symbols)
{
    const std::size_t count = std::min(symbols / block_symbols, most_blocks);
    std::vector<block_t> blocks(count);
    for (std::size_t i = 0; i < count; ++i)
        blocks[i].first = (symbols - block_symbols) * i / std::max<std::size_t>(count - 1, 1);
    return blocks;
}

/// Sum of the squared distances of a turned block to the points; given up where it passes `bound`.
double cal_distance(const std::complex<float>* block, std::complex<float> turn, const qam_slicer_t& slicer, double bound)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < block_symbols && sum < bound; ++i)
    {
        const std::complex<float> symbol = complex_product(block[i], turn);
        sum += static_cast<double>(std::norm(symbol - slicer.decide_point(symbol)));
    }
    return sum;
}

/// Tries the phases of a quarter turn on each block. @return the sum of the distances, given up where it passes `bound`
double try_phases(const complex_array& symbols, const qam_slicer_t& slicer, double level, double step, double bound,
                  std::vector<block_t>& blocks)
{
    const auto trials = static_cast<std::size_t>(std::ceil(quarter_turn / step));
    complex_array turns(trials);
    for (std::size_t k = 0; k < trials; ++k)
        turns[k] = make_phasor(level, -quarter_turn * static_cast<double>(k) / static_cast<double>(trials));
    double sum = 0.0;
    for (block_t& block : blocks)
    {
        block.distance = std::numeric_limits<double>::max();
        for (std::size_t k = 0; k < trials; ++k)
        {
            const double distance = cal_distance(symbols.data() + block.first, turns[k], slicer, block.distance);
            if (distance >= block.distance)
                continue;
            block.distance = distance;
            block.phase = quarter_turn * static_cast<double>(k) / static_cast<double>(trials);
        }
        sum += block.distance;
        if (sum >= bound)
            break;
    }
    return sum;
}

/// A line over places from the middle of a record, in halves of it, and its level.
class centred_line_t
{
public:
    explicit centred_line_t(std::size_t symbols) : middle_(0.5 * static_cast<double>(symbols - 1)) {}

    double get_place(double symbol) const { return (symbol - middle_) / middle_; }
    double get_phase(double place) const { return phase_ + turn_ * place; }
    double get_level() const { return level_; }

    void add(std::pair<double, double> line)
    {
        phase_ += line.first;
        turn_ += line.second;
    }
    void set_level(double level) { level_ = level; }
    qam_line_t get_line() const { return { turn_ / middle_, phase_ - turn_, level_ }; }

private:
    double middle_;
    double phase_ = 0.0;
    double turn_ = 0.0;
    double level_ = 1.0;
};

/// Phases are known but for quarter turns: the next one is the nearest.
void join_blocks(const std::vector<block_t>& blocks, centred_line_t& line)
{
    line_sums_t sums;
    double phase = blocks.front().phase;
    for (const block_t& block : blocks)
    {
        phase = block.phase + quarter_turn * std::round((phase - block.phase) / quarter_turn);
        sums.add(1.0, line.get_place(block.get_centre()), phase);
    }
    line.add(sums.solve());
}

/// Least squares of line and level against the decisions under them.
void mend_line(const complex_array& symbols, const qam_slicer_t& slicer, centred_line_t& line)
{
    line_sums_t sums;
    double projection = 0.0;
    for (std::size_t i = 0; i < symbols.size(); ++i)
    {
        const double place = line.get_place(static_cast<double>(i));
        const std::complex<float> symbol = complex_product(symbols[i], make_phasor(line.get_level(), -line.get_phase(place)));
        const std::complex<float> point = slicer.decide_point(symbol);
        const std::complex<float> product = complex_product(symbol, std::conj(point));
        const double power = static_cast<double>(std::norm(point));
        sums.add(power, place, static_cast<double>(product.imag()));
        projection += static_cast<double>(product.real());
    }
    line.add(sums.solve());
    if (projection > 0.0)
        line.set_level(line.get_level() * sums.w / projection);
}
} // namespace

qam_line_t find_qam_line(const complex_array& symbols, const qam_slicer_t& slicer)
{
    if (symbols.size() < line_symbols || !(slicer.get_scale() > 0.0))
        return {};
    const double step = trial_step / slicer.get_scale();
    const double reach = level_deviations * std::sqrt(0.1 / static_cast<double>(symbols.size()));
    const int levels = static_cast<int>(std::ceil(reach / step - 0.5));
    std::vector<block_t> blocks = make_blocks(symbols.size());
    std::vector<block_t> best_blocks;
    double best = std::numeric_limits<double>::max();
    double best_level = 1.0;
    // From the middle outward: the first levels are the likely ones, and what is found bounds the rest.
    for (int k = 0; k <= 2 * levels; ++k)
    {
        const double level = 1.0 + step * static_cast<double>(k % 2 == 0 ? k / 2 : -(k + 1) / 2);
        const double distance = try_phases(symbols, slicer, level, step, best, blocks);
        if (distance >= best)
            continue;
        best = distance;
        best_level = level;
        best_blocks = blocks;
    }
    if (best_blocks.empty())
        return {};
    centred_line_t line(symbols.size());
    line.set_level(best_level);
    join_blocks(best_blocks, line);
    for (int pass = 0; pass < mending_passes; ++pass)
        mend_line(symbols, slicer, line);
    return line.get_line();
}
} // namespace vrim::dma_demod_lib
