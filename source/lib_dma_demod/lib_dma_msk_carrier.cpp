#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "lib_dma_common/line_sums.h"
#include "lib_dma_demod/stage/carrier_track.h"
#include "support/internal/complex_ops.h"
#include "support/internal/transform.h"
#include "support/internal/trigonometry.h"
#include "support/lib_test.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <cstddef>
#include <fmt/format.h>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
using common_lib::complex_product;
using common_lib::lib_test_t;

namespace
{
using double_complex_t = std::complex<double>;

constexpr float lock_level = 0.7f;
// Parts of a record whose squared pulses are compared in phase, and the agreement of these along the loop's line below which
// another line is looked for.
constexpr std::size_t record_parts = 16;
constexpr double loose_agreement = 0.995;
constexpr std::size_t tested_squares = 256; // of each part, enough to know
// How much more of the squares that line needs to sum up.
constexpr double better_sum = 1.005;

double_complex_t turn_of(double angle)
{
    const common_lib::sine_cosine_t turn = common_lib::sine_cosine(angle);
    return { turn.cosine, turn.sine };
}

/// What half-sine pulses of two bits find at the borders of the bits, squared, with the sign of every second one taken out. MSK
/// is two rows of such pulses, one real and one imaginary, so that all of these squares have the direction of twice the carrier's
/// phase.
class pulse_squares_t
{
public:
    /// @param timed    signal whose symbols stand at `pre_num`, `pre_num` + `sps` ...
    /// @param symbols  one more than there are squares
    pulse_squares_t(const complex_array& timed, std::uint32_t pre_num, std::uint32_t sps, std::size_t symbols)
        : timed_(timed), first_(pre_num), sps_(sps), count_(symbols == 0 ? 0 : symbols - 1)
    {
        const std::size_t reach = sps_ / 2;
        for (std::size_t n = 0; n < 2 * sps_; ++n)
        {
            const double bits = (static_cast<double>(n) - static_cast<double>(reach)) / static_cast<double>(sps_) - 0.5;
            weights_.push_back(static_cast<float>(std::max(common_lib::cosine_of(bits * 0.5 * common_lib::pi), 0.0)));
        }
    }

    std::size_t size() const { return count_; }

    /// The square half a bit behind symbol k; 0 for a pulse that the record cuts.
    double_complex_t get_square(std::size_t k) const
    {
        const std::size_t reach = sps_ / 2; // samples of the pulse in front of the symbol
        const std::size_t symbol = first_ + k * sps_;
        if (symbol < reach || symbol - reach + weights_.size() > timed_.size())
            return 0.0;
        const std::complex<float>* const samples = timed_.data() + (symbol - reach);
        float in_phase = 0.0f;
        float quadrature = 0.0f;
        for (std::size_t n = 0; n < weights_.size(); ++n)
        {
            in_phase += samples[n].real() * weights_[n];
            quadrature += samples[n].imag() * weights_[n];
        }
        const double_complex_t pulse(common_lib::finite_or_zero({ in_phase, quadrature }));
        const double_complex_t square = complex_product(pulse, pulse);
        return (k & 1u) == 0 ? square : -square;
    }

private:
    const complex_array& timed_;
    std::size_t first_;
    std::size_t sps_;
    std::size_t count_;
    float_array weights_;
};

/// What a line does with the squares.
struct square_line_t
{
    double turn;  ///< radians per bit
    double start; ///< radians at the first square
};

/// @param fit  carrier: radians per bit, radians at symbol 0
square_line_t get_square_line(const float_array& fit)
{
    const double slope = static_cast<double>(fit.at(0));
    return { 2.0 * slope, slope + 2.0 * static_cast<double>(fit.at(1)) };
}

float_array get_carrier_fit(const square_line_t& line)
{
    return { static_cast<float>(0.5 * line.turn), static_cast<float>(0.5 * (line.start - 0.5 * line.turn)) };
}

/// The squares turned back by a line, summed over the parts of a record, and their magnitudes.
struct turned_squares_t
{
    std::array<double_complex_t, record_parts> parts;
    double_complex_t total;

    /// Share of the parts' magnitudes that is left of their sum, 0 to 1: 1 where all of them point one way.
    double get_agreement() const
    {
        double magnitudes = 0.0;
        for (const double_complex_t& part : parts)
            magnitudes += std::abs(part);
        return magnitudes > 0.0 ? std::abs(total) / magnitudes : 0.0;
    }
};

/// @param most  squares of a part that are looked at, its first ones
/// @param get_square  get_square(k) -> square k of `count`
template <typename get_square_t>
turned_squares_t turn_squares(std::size_t count, const square_line_t& line, std::size_t most, get_square_t&& get_square)
{
    turned_squares_t turned;
    for (std::size_t part = 0; part < record_parts; ++part)
    {
        const std::size_t first = part * count / record_parts;
        const std::size_t end = std::min((part + 1) * count / record_parts, first + most);
        for (std::size_t k = first; k < end; ++k)
            turned.parts[part] += complex_product(get_square(k), turn_of(-(line.turn * static_cast<double>(k) + line.start)));
        turned.total += turned.parts[part];
    }
    return turned;
}

turned_squares_t turn_squares(const std::vector<double_complex_t>& squares, const square_line_t& line)
{
    return turn_squares(squares.size(), line, squares.size(), [&](std::size_t k) { return squares[k]; });
}

/// Strongest line of the squares, radians per bit. It is found within a quarter of what the record resolves.
double find_strongest_turn(const std::vector<double_complex_t>& squares)
{
    constexpr double widest = 0.2; // turns of the square per bit: a carrier of 0.1 of the symbol rate
    const std::size_t points = 2 * std::bit_ceil(squares.size());
    std::vector<double_complex_t> spectrum = squares;
    spectrum.resize(points);
    common_lib::transform_rows(spectrum.data(), 1, points, false, 1.0);
    const std::size_t reach = static_cast<std::size_t>(widest * static_cast<double>(points));
    std::size_t peak = 0;
    for (std::size_t bin = 0; bin < points; ++bin)
    {
        if (std::min(bin, points - bin) <= reach && std::norm(spectrum[bin]) > std::norm(spectrum[peak]))
            peak = bin;
    }
    const double turns = static_cast<double>(peak) / static_cast<double>(points);
    return common_lib::two_pi * (2 * peak > points ? turns - 1.0 : turns);
}

/// Carrier line from the line that the squared pulses have in their spectrum. It stands in far more noise than a loop can follow,
/// whose symbols are single samples.
/// Source: U. Mengali, A. N. D'Andrea, Synchronization Techniques for Digital Receivers, Plenum, 1997.
square_line_t cal_square_line(const std::vector<double_complex_t>& squares)
{
    const double turn = find_strongest_turn(squares);
    const turned_squares_t still = turn_squares(squares, { turn, 0.0 });
    // Least-squares line through the parts' phases against that of all, each with the strength of its part.
    const double width = static_cast<double>(squares.size()) / static_cast<double>(record_parts);
    line_sums_t sums;
    for (std::size_t part = 0; part < record_parts; ++part)
    {
        const double weight = std::abs(still.parts[part]);
        const double place = (static_cast<double>(part) + 0.5) * width - 0.5;
        const double phase = std::arg(complex_product(still.parts[part], std::conj(still.total)));
        sums.add(weight, place, weight * phase);
    }
    const auto [start, rest] = sums.solve();
    return { turn + rest, start + std::arg(still.total) };
}
} // namespace

bool lib_dma_msk_demod_t::msk_carrier_sync(float_array& phase_line, double& residual_frequency, float_array& fit_coefficients,
                                           float_array& phase_track)
{
    DMA_LOG_INFO("lib_dma_msk_demod_t::msk_carrier_sync start.\n");
    const auto detect = [](std::complex<float> r, const demod_stage::carrier_error_t&)
    { return demod_stage::cal_point_error(r, msk_judge(r, 0.0f)); };
    phase_line.clear();
    residual_frequency = 0.0;
    demod_stage::deal_carrier_symbols(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol);

    std::int64_t start_time = lib_test_t::get_current_time();
    demod_stage::carrier_track_t track = demod_stage::cal_carrier_track(work.sync_symbol, 0.0, lock_level, detect);
    if (!track.locked)
        DMA_LOG_ERROR("msk_lock_phase_detect:error!\n");
    common_log::print_trace_time("psk_carrier_sync psk_lock_phase_detect time: ", start_time);
    const std::uint32_t locked_point = demod_stage::cal_locked_point(track);
    common_log::print_trace_line(
        fmt::format("msk_carrier_sync:phase_out size = {}   locked_point = {}", track.phase.size(), locked_point));

    start_time = lib_test_t::get_current_time();
    if (!demod_stage::cal_carrier_line(track.phase, locked_point, fit_coefficients))
    {
        DMA_LOG_ERROR("warning lib_dma_common_polyfit_t::deal_polyfit:error!\n");
        return false;
    }
    common_log::print_trace_time("psk_carrier_sync deal_polyfit time: time: ", start_time);
    _try_square_line(fit_coefficients);

    demod_stage::deal_phase_line(fit_coefficients, work.sync_symbol, phase_line);
    residual_frequency = demod_stage::cal_residual_frequency(phase_line, 0.0, setting.symbol_rate);
    phase_track = std::move(track.phase);
    return true;
}

void lib_dma_msk_demod_t::_try_square_line(float_array& fit_coefficients) const
{
    const pulse_squares_t pulses(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol.size());
    const square_line_t loop_line = get_square_line(fit_coefficients);
    const auto get_square = [&](std::size_t k) { return pulses.get_square(k); };
    if (pulses.size() == 0 ||
        turn_squares(pulses.size(), loop_line, tested_squares, get_square).get_agreement() >= loose_agreement)
        return;

    std::vector<double_complex_t> squares(pulses.size());
    for (std::size_t k = 0; k < squares.size(); ++k)
        squares[k] = pulses.get_square(k);
    const square_line_t square_line = cal_square_line(squares);
    if (!(std::abs(turn_squares(squares, square_line).total) > better_sum * std::abs(turn_squares(squares, loop_line).total)))
        return;
    DMA_LOG_INFO("msk_carrier_sync: the line of the squared pulses fits better than that of the loop.\n");
    fit_coefficients = get_carrier_fit(square_line);
}
} // namespace vrim::dma_demod_lib
