#pragma once

#include "frame_run.h"

#include <complex>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Captures with a sync word in them, and what a search makes of them.
namespace dma_test
{
/// With the run-in, less the 50 symbols that do not count at either end, 12 runs of 64.
constexpr std::uint32_t search_symbols = 12 * 64 - 180 + 2 * 50;
constexpr std::uint32_t word_length = 24;
constexpr std::uint32_t sync_interval = 60;

/// Symbol of the capture at which the search begins: half of the run-in.
std::uint32_t get_search_start(signal_format_t format);
/// Symbols that no turn of the points and no shift maps onto themselves. @param seed  another one gives another word
std::vector<std::uint32_t> make_word(signal_format_t format, std::uint32_t seed);
/// Symbols as they are decoded when the carrier locks `turn` of the format's turns further.
std::vector<std::uint32_t> turn_symbols(signal_format_t format, const std::vector<std::uint32_t>& symbols, std::uint32_t turn);
/// Bits that a symbol takes of a word: those of its index, but of 32 and 64 tones the lowest one alone.
std::uint32_t get_word_bits(signal_format_t format);
/// The bits of the word as the frame takes them.
std::string make_word_bits(signal_format_t format, const std::vector<std::uint32_t>& word);

/// A capture of the search length and its run-in, with the word at symbol `position` of the record that `make_sync_record` makes.
signal_setting_t make_sync_signal(signal_format_t format, std::uint32_t position, std::uint64_t seed);
/// Makes it. FSK loses the symbols in front of the place from which on all tones are equally frequent where they count.
signal_t make_sync_record(const signal_setting_t& setting);
/// The analysis that searches the word.
analysis_setting_t make_sync_analysis(const signal_setting_t& signal);

/// Turns a capture in phase.
vrim::complex_array turn_capture(const vrim::complex_array& capture, double angle);

/// A search and the flags that it left.
struct sync_run_t
{
    /// @param setting  as `make_sync_analysis` gives it
    sync_run_t(const vrim::complex_array& capture, const analysis_setting_t& setting);
    sync_run_t(const vrim::complex_array& capture, const vrim::dma_demod_lib::lib_dma_frame_configure_manager_t& frame,
               double sample_rate);

    bool has_message(const std::string& text) const;

    analysis_result_t result;
    bool decode_flag = false;
};

/// Symbols [first, last) of those that were sent, cut where they end.
std::vector<std::uint32_t> cut_symbols(const signal_t& signal, std::size_t first, std::size_t last);

/// How well the measured symbols agree with those sent from symbol `first` on, up to gain and a common turn: 1 where they are the
/// same. A fixed turn per symbol is taken out; of frequency formats the levels are compared.
double cal_agreement(signal_format_t format, const vrim::complex_array& measured, const signal_t& signal, std::size_t first);

/// A signal with the word in it and its search.
struct sync_bench_t
{
    /// @param sent  as `make_sync_signal` gives it
    explicit sync_bench_t(const signal_setting_t& sent);

    sync_run_t run() const;
    /// How well the measured symbols of a run agree with those sent from symbol `first` on.
    double agree(const sync_run_t& run, std::size_t first) const;

    signal_setting_t signal_setting;
    signal_t signal;
    analysis_setting_t setting;
};
} // namespace dma_test
