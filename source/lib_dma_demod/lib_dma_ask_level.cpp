#include "lib_dma_demod/lib_dma_ask_level.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vrim::dma_demod_lib
{
namespace
{
// Mean squared distances of the symbols to their levels, of that between levels that say nothing: above the first the rms is not
// taken for granted, and another factor has to stay below the second times what the rms gives.
constexpr double scattered_distance = 0.25;
constexpr double better_distance = 0.8;
constexpr double level_deviations = 4.5;
constexpr int mending_passes = 3;
constexpr std::size_t distance_symbols = 4096; // spread over the record, enough to know

/// What a factor makes of the symbols.
struct level_fit_t
{
    double distance = 1.0; ///< mean squared, 1 where the levels say nothing
    double level = 1.0;    ///< least-squares factor for the decisions that the tried one gives
};

level_fit_t try_level(const complex_array& symbols, const level_row_t& row, double level)
{
    const std::size_t stride = symbols.size() / distance_symbols + 1;
    const double highest = static_cast<double>(row.count - 1);
    double squares = 0.0;
    double point_power = 0.0;
    double projection = 0.0;
    double count = 0.0;
    for (std::size_t i = 0; i < symbols.size(); i += stride)
    {
        const double value = static_cast<double>(symbols[i].real());
        const double number = std::clamp(std::round((level * value - row.lowest) / row.spacing), 0.0, highest);
        const double point = row.lowest + number * row.spacing;
        const double error = level * value - point;
        squares += error * error;
        point_power += point * point;
        projection += value * point;
        count += 1.0;
    }
    // Values anywhere between two levels are a twelfth of the squared spacing off the nearer one.
    return { 12.0 * squares / (count * row.spacing * row.spacing), projection > 0.0 ? point_power / projection : 1.0 };
}

/// Standard deviation of the rms of random symbols, relative.
double cal_level_deviation(const level_row_t& row, std::size_t symbols)
{
    double power = 0.0;
    double fourth = 0.0;
    for (std::size_t k = 0; k < row.count; ++k)
    {
        const double point = row.lowest + static_cast<double>(k) * row.spacing;
        power += point * point;
        fourth += point * point * point * point;
    }
    const double excess = fourth * static_cast<double>(row.count) / (power * power) - 1.0;
    return 0.5 * std::sqrt(excess / static_cast<double>(symbols));
}
} // namespace

double find_ask_level(const complex_array& symbols, const level_row_t& row)
{
    if (symbols.empty() || row.count < 2 || !(row.spacing > 0.0))
        return 1.0;
    const double distance = try_level(symbols, row, 1.0).distance;
    if (!(distance > scattered_distance))
        return 1.0;

    // Half a step moves the outermost level by less than a third of the spacing.
    const double step = 0.6 / static_cast<double>(row.count);
    const double reach = level_deviations * cal_level_deviation(row, symbols.size());
    const int steps = static_cast<int>(std::ceil(std::min(reach, 0.5) / step));
    double best_level = 1.0;
    double best_distance = distance;
    for (int k = -steps; k <= steps; ++k)
    {
        double level = 1.0 + step * static_cast<double>(k);
        for (int pass = 0; pass < mending_passes; ++pass)
            level = try_level(symbols, row, level).level;
        const double mended_distance = try_level(symbols, row, level).distance;
        if (mended_distance < best_distance)
        {
            best_distance = mended_distance;
            best_level = level;
        }
    }
    return best_distance < better_distance * std::min(distance, 1.0) ? best_level : 1.0;
}
} // namespace vrim::dma_demod_lib
