#include "lib_dma_demod/lib_dma_qam_loop.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "support/internal/complex_ops.h"
#include "support/internal/vector_clones.h"
#include "support/lib_common_math.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vrim::dma_demod_lib
{
using common_lib::lib_common_math_t;

namespace
{
constexpr float single_pi = 3.14159274f;
constexpr float single_two_pi = 6.28318548f;
// The gain of the settling walk starts anew where it leaves this range: it follows amplitudes, which a wrong phase spoils.
constexpr float largest_gain = 1.05f;
constexpr float least_gain = 0.95f;
constexpr std::size_t lock_window = 18; // symbols

/// Modulo a turn; what lies within half a turn stays as it is.
inline float wrap_angle(float angle)
{
    return std::abs(angle) < single_pi ? angle : lib_dma_phy_common_t::wrap_to_pi(angle);
}

/// Whether one turn at most is to be taken out.
inline bool is_within_turn(float angle)
{
    constexpr float below_turn = 6.28f;
    return std::abs(angle) < below_turn;
}

/// `wrap_angle` of what is within a turn, without a call.
inline float wrap_within_turn(float angle)
{
    const double wide = static_cast<double>(angle);
    return std::abs(angle) < single_pi ? angle : static_cast<float>(wide - std::copysign(common_lib::two_pi, wide));
}

/// Symbols or points in polar form; what the loop asks of each is worked out once.
struct polar_array_t
{
    explicit polar_array_t(const complex_array& values)
    {
        lib_common_math_t::get_complex_array_amplitude(values, amplitude);
        lib_common_math_t::get_complex_array_phase(values, phase);
    }

    void reverse()
    {
        std::reverse(amplitude.begin(), amplitude.end());
        std::reverse(phase.begin(), phase.end());
    }

    float_array amplitude;
    float_array phase; ///< radians
};

/// The loop between symbols. Time may run either way: frequency is the turn from one symbol to the next in the order of the walk.
struct loop_t
{
    float phase;     ///< radians, within half a turn
    float frequency; ///< radians per symbol
    float gain = 1.0f;
    std::int32_t wraps = 0; ///< whole turns that were taken out of the phase

    void wrap()
    {
        if (phase > single_pi)
        {
            ++wraps;
            phase -= single_two_pi;
        }
        else if (phase < -single_pi)
        {
            --wraps;
            phase += single_two_pi;
        }
    }

    /// A symbol without amplitude says nothing of the gain.
    void update_gain(float decided, float measured, const qam_loop_setting_t& setting)
    {
        if (measured > 0.0f)
            gain = (decided / measured) * setting.gain_update + gain * setting.gain_memory;
    }
};

constexpr std::size_t run_length = 16; // symbols whose decisions are guessed at once

/// Places of a run of symbols in grid units, when the phase goes on as it does now.
/// @param radius   grid units for an amplitude of 1
/// @param angles   where the symbols stand, radians within half a turn
DMA_VECTOR_CLONES
void turn_run(const float* amplitude, const float* phase, std::size_t count, float start, float advance, double radius,
              float* angles, double* x, double* y)
{
    for (std::size_t k = 0; k < count; ++k)
    {
        const float angle = phase[k] + (start + static_cast<float>(static_cast<std::int32_t>(k) + 1) * advance);
        const float lowered = angle > single_pi ? angle - single_two_pi : angle;
        const float wrapped = lowered < -single_pi ? lowered + single_two_pi : lowered;
        const common_lib::sine_cosine_t turn = common_lib::sine_cosine_reduced(static_cast<double>(wrapped));
        const double distance = static_cast<double>(amplitude[k]) * radius;
        angles[k] = wrapped;
        x[k] = distance * turn.cosine;
        y[k] = distance * turn.sine;
    }
}

/// Decisions of a loop. Each waits for the phase that the one before left, and sine and cosine make that wait long. So the
/// decisions of a run are guessed from the state at its head; a guess holds where the loop has moved the symbol by less than its
/// distance to the borders, which is for nearly all, and the others are decided where they stand.
class loop_decision_t
{
public:
    explicit loop_decision_t(const qam_slicer_t& slicer) : slicer_(slicer), scale_(slicer.get_scale()) {}

    /// @param count  at most `run_length`
    void guess_run(const float* amplitude, const float* phase, std::size_t count, float start, float advance, float gain)
    {
        constexpr float largest_start = 100.0f; // radians; what is far from half a turn cannot be wrapped at once
        cells_.fill({});
        gain_ = gain;
        if (!(std::abs(start) + static_cast<float>(run_length) * std::abs(advance) < largest_start))
            return;
        std::array<double, run_length> x;
        std::array<double, run_length> y;
        turn_run(amplitude, phase, count, start, advance, static_cast<double>(gain) * scale_, angles_.data(), x.data(), y.data());
        slicer_.find_cells(x.data(), y.data(), count, cells_.data());
    }

    /// Whether the guess is the number of the point that is nearest to amplitude * gain * e^(j angle). @param k  place in the run
    bool holds(std::size_t k, float amplitude, float gain, float angle) const
    {
        const float moved = amplitude * (std::abs(gain - gain_) + gain_ * std::abs(angle - angles_[k]));
        return moved * static_cast<float>(scale_) < cells_[k].clearance;
    }
    std::uint32_t get_guess(std::size_t k) const { return cells_[k].key; }

private:
    const qam_slicer_t& slicer_;
    double scale_;
    float gain_ = 1.0f;
    std::array<float, run_length> angles_ = {};
    std::array<qam_slicer_t::cell_t, run_length> cells_ = {};
};

/// Walks the loop over symbols in the order given.
/// @tparam settling  decisions do without the gain, which is only followed and kept in its range
template <bool settling>
class loop_walk_t
{
public:
    /// @param turn  radians per symbol in the order of the walk
    loop_walk_t(const polar_array_t& symbols, const polar_array_t& points, const qam_slicer_t& slicer, float turn,
                const qam_loop_setting_t& setting)
        : symbols_(symbols), points_(points), slicer_(slicer), turn_(turn), setting_(setting), decision_(slicer)
    {
    }

    /// @param keep  keep(i, loop, error) behind each symbol
    template <typename keep_t>
    void run(loop_t& loop, keep_t&& keep)
    {
        const std::size_t count = symbols_.phase.size();
        for (std::size_t first = 0; first < count; first += run_length)
        {
            const std::size_t end = std::min(first + run_length, count);
            decision_.guess_run(symbols_.amplitude.data() + first, symbols_.phase.data() + first, end - first, loop.phase,
                                loop.frequency + turn_, settling ? 1.0f : loop.gain);
            for (std::size_t i = first; i < end; ++i)
            {
                // Each symbol waits for the loop that the one before left. Nothing is called as long as guesses hold, so that
                // the loop stays in registers.
                loop_t state = loop;
                float error = 0.0f;
                for (; i < end && take_guess(i, i - first, state, error); ++i)
                    keep(i, state, error);
                loop = state;
                if (i == end)
                    break;
                error = take_decision(i, loop);
                keep(i, loop, error);
            }
        }
    }

private:
    /// To the time of the next symbol.
    void advance(loop_t& loop) const
    {
        if (turn_ != 0.0f)
            loop.phase += turn_;
        loop.phase += loop.frequency;
        if (settling && (loop.gain > largest_gain || loop.gain < least_gain))
            loop.gain = 1.0f;
        loop.wrap();
    }

    void correct(std::size_t i, float error, float decided_amplitude, loop_t& loop) const
    {
        loop.frequency += error * setting_.ki;
        loop.phase += error * setting_.kp;
        loop.update_gain(decided_amplitude, symbols_.amplitude[i], setting_);
    }

    /// One symbol by its guess. @return false, and nothing done, when that does not hold
    bool take_guess(std::size_t i, std::size_t k, loop_t& loop, float& error) const
    {
        loop_t next = loop;
        advance(next);
        const float turned = next.phase + symbols_.phase[i];
        if (!is_within_turn(turned))
            return false;
        const float angle = wrap_within_turn(turned);
        if (!decision_.holds(k, symbols_.amplitude[i], settling ? 1.0f : next.gain, angle))
            return false;
        const std::uint32_t number = decision_.get_guess(k);
        const float difference = points_.phase[number] - angle;
        if (!is_within_turn(difference))
            return false;
        error = wrap_within_turn(difference);
        correct(i, error, points_.amplitude[number], next);
        loop = next;
        return true;
    }

    /// One symbol, decided where it stands. @return its error
    float take_decision(std::size_t i, loop_t& loop) const
    {
        advance(loop);
        const float angle = wrap_angle(loop.phase + symbols_.phase[i]);
        float decided_amplitude = 0.0f;
        float decided_phase = 0.0f;
        if (!slicer_.empty())
        {
            const std::complex<float> direction = common_lib::unit_phasor(angle);
            const float radius = symbols_.amplitude[i] * (settling ? 1.0f : loop.gain);
            const std::uint32_t number = slicer_.decide_number({ radius * direction.real(), radius * direction.imag() });
            decided_amplitude = points_.amplitude[number];
            decided_phase = points_.phase[number];
        }
        const float error = wrap_angle(decided_phase - angle);
        correct(i, error, decided_amplitude, loop);
        return error;
    }

    const polar_array_t& symbols_;
    const polar_array_t& points_;
    const qam_slicer_t& slicer_;
    float turn_;
    const qam_loop_setting_t& setting_;
    loop_decision_t decision_;
};

/// Lock by the mean error over a window.
class lock_detector_t
{
public:
    explicit lock_detector_t(float lock_level) : locked_sum_(lock_level * static_cast<float>(lock_window)) {}

    bool is_locked(float error)
    {
        const float magnitude = std::abs(error);
        sum_ = sum_ - ring_[index_] + magnitude;
        ring_[index_] = magnitude;
        index_ = index_ + 1 == lock_window ? 0 : index_ + 1;
        return sum_ < locked_sum_;
    }

private:
    float locked_sum_;
    float sum_ = 1.0f; // so that a low lock level asks for a full window of small errors first
    std::array<float, lock_window> ring_ = {};
    std::size_t index_ = 0;
};

/// Runs of locked symbols: start and length of the longest, the first of equal ones.
void find_longest_run(const std::vector<std::uint8_t>& locked, std::uint32_t& start, std::uint32_t& length)
{
    start = 0;
    length = 0;
    std::size_t run_start = 0;
    for (std::size_t i = 0; i <= locked.size(); ++i)
    {
        if (i < locked.size() && locked[i] != 0)
            continue;
        if (i - run_start > length)
        {
            start = static_cast<std::uint32_t>(run_start);
            length = static_cast<std::uint32_t>(i - run_start);
        }
        run_start = i + 1;
    }
}
} // namespace

carrier_syn_info_t run_qam_loop(const complex_array& symbols, const qam_slicer_t& slicer, const complex_array& points,
                                const qam_loop_setting_t& setting)
{
    constexpr float start_phase_limit = 1e-8f;
    carrier_syn_info_t info;
    const std::size_t count = symbols.size();
    if (count == 0)
        return info;
    polar_array_t polar(symbols);
    const polar_array_t polar_points(points);

    loop_t loop = { setting.phase, -setting.frequency };
    if (std::abs(loop.phase) < start_phase_limit)
        loop.phase = common_lib::phase_of(slicer.decide_point(symbols.back()));
    loop.phase -= polar.phase.back();

    // Backward first, only to settle the loop on the data before any value is kept. Time runs the other way, and so do the
    // format's turn and the frequency.
    polar.reverse();
    loop_walk_t<true>(polar, polar_points, slicer, setting.turn, setting).run(loop, [](std::size_t, const loop_t&, float) {});
    polar.reverse();
    loop.frequency = -loop.frequency;

    info.phase_track.resize(count);
    info.gain_track.resize(count);
    info.frequency_track.resize(count);
    std::vector<std::uint8_t> locked(count);
    lock_detector_t lock(setting.lock_level);
    const auto keep = [&](std::size_t i, const loop_t& state, float error)
    {
        info.phase_track[i] =
            static_cast<float>(2.0 * static_cast<double>(state.wraps) * common_lib::pi + static_cast<double>(state.phase));
        info.gain_track[i] = state.gain;
        info.frequency_track[i] = state.frequency;
        locked[i] = lock.is_locked(error) ? 1 : 0;
    };
    loop_walk_t<false>(polar, polar_points, slicer, -setting.turn, setting).run(loop, keep);
    find_longest_run(locked, info.lock_start, info.lock_len);
    info.lock_ratio = static_cast<float>(info.lock_len) / static_cast<float>(count);
    return info;
}
} // namespace vrim::dma_demod_lib
