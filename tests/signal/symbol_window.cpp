#include "symbol_window.h"

#include <cmath>
#include <numeric>
#include <utility>

namespace dma_test
{
namespace
{
// 8192 rows of 320 taps are 20 MiB; a ratio with more phases is evaluated tap by tap.
constexpr std::uint64_t most_table_rows = 8192;
} // namespace

symbol_window_t::symbol_window_t(const signal_setting_t& setting, double timing, std::size_t lead,
                                 std::function<double(double)> pulse)
    : setting_(setting), timing_(timing), lead_(lead), pulse_(std::move(pulse)),
      taps_(2 * static_cast<std::size_t>(setting.half_span_symbols))
{
    // Whole rates give the same few fractions of a symbol again and again.
    constexpr double largest_whole = 1.0e15;
    const auto is_whole = [](double rate) { return rate < largest_whole && rate == std::floor(rate); };
    if (is_whole(setting.symbol_rate) && is_whole(setting.sample_rate))
    {
        const auto symbol_rate = static_cast<std::uint64_t>(setting.symbol_rate);
        const auto sample_rate = static_cast<std::uint64_t>(setting.sample_rate);
        const std::uint64_t divisor = std::gcd(symbol_rate, sample_rate);
        step_ = symbol_rate / divisor;
        rows_ = sample_rate / divisor;
        if (rows_ <= most_table_rows)
        {
            table_.resize(rows_);
        }
    }
}

symbol_window_t::view_t symbol_window_t::get_view(std::size_t sample)
{
    // Time in symbols, as a whole part and a fraction; exact for whole rates.
    std::uint64_t whole = 0;
    std::uint64_t row = 0;
    double fraction = 0.0;
    if (rows_ > 0)
    {
        whole = sample * step_ / rows_;
        row = sample * step_ % rows_;
        fraction = static_cast<double>(row) / static_cast<double>(rows_);
    }
    else
    {
        const double time = static_cast<double>(sample) * setting_.symbol_rate / setting_.sample_rate;
        whole = static_cast<std::uint64_t>(std::floor(time));
        fraction = time - std::floor(time);
    }

    if (table_.empty())
    {
        fill_row(fraction, row_);
        return make_view(whole, row_);
    }
    if (table_[row].taps.empty())
    {
        fill_row(fraction, table_[row]);
    }
    return make_view(whole, table_[row]);
}

void symbol_window_t::fill_row(double fraction, row_t& row) const
{
    const double time = fraction - timing_;
    const double rest = time - std::floor(time);
    row.shift = static_cast<std::int64_t>(std::floor(time));
    row.taps.resize(taps_);
    for (std::size_t i = 0; i < taps_; ++i)
    {
        const double symbol = static_cast<double>(i) + 1.0 - static_cast<double>(setting_.half_span_symbols);
        row.taps[i] = pulse_(rest - symbol);
    }
}

symbol_window_t::view_t symbol_window_t::make_view(std::uint64_t whole, const row_t& row) const
{
    const std::int64_t first = static_cast<std::int64_t>(whole) + row.shift + static_cast<std::int64_t>(lead_) -
                               static_cast<std::int64_t>(setting_.half_span_symbols) + 1;
    return { static_cast<std::size_t>(first), row.taps };
}
} // namespace dma_test
