#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <complex>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vrim::dma_demod_lib
{
/// Feed-forward clock recovery of oversampled data: one timing phase for the whole record, applied by a fractional delay
/// filter and an integer offset that the caller drops. A plan serves one call. Settings that ask for blocks (sps times symbols)
/// beyond 2^24 samples or filters beyond 65,536 taps are logged as an error when they are to be used; the tables are empty then,
/// and a recovery leaves its arguments as they are.
class DMA_DEMOD_EXPORT symbol_timing_recovery_plan
{
public:
    symbol_timing_recovery_plan();

    void set_sps(std::uint32_t value);
    /// Symbols per estimation block.
    void set_syn_sym_num(std::uint32_t value);
    /// Length of the fractional delay filter.
    void set_interp_order(std::uint32_t value);
    /// Rate of the fixed-point interpolator against 2^18; used by `symbol_timing_recovery_new` only.
    void set_interp_factor(std::uint32_t value);
    /// Samples ignored at either end when estimating.
    void set_pre_num(std::uint32_t value);
    /// Timing offset in symbols, subtracted from the measured phase.
    void set_clock_adjust(float value);
    /// Marks the settings as changed.
    void update();
    /// Builds the tables anew from the settings.
    void init();
    /// Frees the arrays.
    void clear();

    /// Times a whole record by one feed-forward estimate: the phase of the symbol-rate line of the squared magnitude.
    /// @param[in,out] input      samples at sps per symbol; comes back without pre_num samples at either end
    /// @param[out]    output     as many samples as input had, output[k] standing at time k + fraction
    /// @param[out]    int_delay  samples to drop from the head of output; then symbols stand at the multiples of sps
    /// @return true unless the settings cannot be met; a record shorter than one block is padded and logged as an error
    /// Source: M. Oerder, H. Meyr, "Digital filter and square timing recovery", IEEE Trans. Commun. 36(5), 1988.
    bool symbol_timing_recovery_old(complex_array& input, complex_array& output, std::uint32_t& int_delay);
    /// The same with the drop done, for an input that is to stay as it is.
    /// @param[out] output     timed samples, not the input itself; symbols stand at the multiples of sps
    /// @param[out] int_delay  samples to drop; a record that has no more than that keeps them
    bool time_record(const complex_array& input, complex_array& output, std::uint32_t& int_delay);
    /// As `symbol_timing_recovery_old` without `clock_adjust`, with the fixed-point interpolator. No demodulator calls it.
    bool symbol_timing_recovery_new(complex_array& input, complex_array& output, std::uint32_t& int_delay);

    /// Windowed sinc that reads a signal `delay` samples later, four-term Blackman-Harris window, not scaled to unit gain.
    /// @param delay  0 to 1, samples
    /// @param order  at most 65,536; no taps, and a log line, for more
    /// Source: T. I. Laakso et al., "Splitting the unit delay", IEEE Signal Processing Magazine 13(1), 1996.
    static void sinc_fractional_delay_filter_design(double delay, std::uint32_t order, double_array& taps);
    /// The same for the delay `delay_word` / 2^`bits`.
    static void sinc_fractional_delay_filter_design(std::uint64_t delay_word, std::uint64_t bits, std::uint32_t order,
                                                    double_array& taps);
    /// Filters with the taps of the design.
    /// @param order          at most 65,536; beyond it the output is empty, which is logged, and the input stays
    /// @param[in,out] input  comes back with order / 2 - 1 zeros in front and order / 2 behind
    /// @param[out] output    as many samples as input had
    static void sinc_fractional_delay(std::uint32_t order, const double_array& taps, complex_array& input, complex_array& output);
    /// Fixed-point form: reads the input at the times delay_word / 2^bits + k * interp_factor / 2^18.
    static void sinc_fractional_delay(std::uint32_t order, std::uint32_t interp_factor, std::uint64_t bits,
                                      std::uint64_t delay_word, complex_array& input, complex_array& output);

    /// Whole-sample delays of the older fixed-point filters. @return 0 for an order that is not 4 to 16
    static std::uint32_t cal_timing_recovery_fix_int_delay(std::uint32_t order);

private:
    template <typename value_t>
    void _set(value_t& field, value_t value);
    /// Whether blocks and filter have lengths that memory holds; logged when not.
    bool _is_feasible() const;
    /// The record without its margins.
    std::span<const std::complex<float>> _get_estimation_range(const complex_array& record) const;
    /// Leaves that range, padded to a block. @return false when it had to be
    bool _cut_to_estimation_range(complex_array& input) const;
    /// @return mean timing phase in symbols, unwrapped over the blocks
    double _cal_mean_phase(std::span<const std::complex<float>> data);
    /// @return timing offset in samples
    float _cal_timing_offset(const complex_array& record);
    std::uint32_t _cal_whole_delay(float offset) const;
    /// Delays the record by the fraction of the offset. @param skip  samples to drop from the head
    void _delay_fraction(float offset, const complex_array& record, std::size_t skip, complex_array& output);

    bool update_flag_ = true;
    std::uint32_t sps_ = 4;
    std::uint32_t syn_sym_num_ = 256;
    std::uint32_t interp_order_ = 16;
    std::uint32_t interp_factor_ = 262144;
    std::uint32_t pre_num_ = 0;
    float clock_adjust_ = 0.0f;
    double_array cos_table_;
    double_array sin_table_;
    double_array filter_taps_;
    double_array block_phase_;
    complex_array raw_data_;
};
} // namespace vrim::dma_demod_lib
