#pragma once

#include "signal_maker.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace dma_test
{
/// Weights of the symbols that a sample is made of: a pulse, or the integral of one, at the distances of the sample to them.
class symbol_window_t
{
public:
    /// Symbols `first` to `first` + taps - 1 reach a sample; all before have passed their half span, all behind stand before it.
    struct view_t
    {
        std::size_t first; ///< entry of a list that has `lead` symbols in front of symbol 0
        const std::vector<double>& taps;
    };

    /// @param setting  rates and half span; must outlive the window
    /// @param timing   the centre of symbol 0 lies this far behind the first sample, symbols
    /// @param lead     symbols in front of symbol 0: at least the half span, the absolute timing and 1
    /// @param pulse    weight at a time in symbols behind the centre of a symbol, at -half span to just below half span
    symbol_window_t(const signal_setting_t& setting, double timing, std::size_t lead, std::function<double(double)> pulse);

    /// Weights at one sample, valid until the next call.
    view_t get_view(std::size_t sample);

private:
    /// Taps for one fraction of a symbol: tap i weighs symbol whole + shift + 1 - half span + i.
    struct row_t
    {
        std::vector<double> taps;
        std::int64_t shift = 0;
    };

    void fill_row(double fraction, row_t& row) const;
    view_t make_view(std::uint64_t whole, const row_t& row) const;

    const signal_setting_t& setting_;
    double timing_;
    std::size_t lead_;
    std::function<double(double)> pulse_;
    std::size_t taps_;
    std::uint64_t step_ = 0;
    std::uint64_t rows_ = 0;
    std::vector<row_t> table_;
    row_t row_;
};
} // namespace dma_test
