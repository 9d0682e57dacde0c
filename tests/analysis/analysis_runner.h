#pragma once

#include <complex>
#include <cstdint>
#include <dma_demod.h>
#include <signal_maker.h>
#include <string>
#include <vector>

/// Whole analyses as a host runs them: public calls of the shared library, nothing else.
namespace dma_test
{
/// What an analysis of one segment is told. The defaults measure what `signal_setting_t` makes by default.
struct analysis_setting_t
{
    signal_format_t format = signal_format_t::qpsk;
    ring_ratios_t rings = {};              ///< of APSK; 0 for the usual ratio
    std::uint64_t symbol_rate = 1'000'000; ///< Hz
    double sample_rate = 4.0e6;            ///< Hz
    std::uint32_t points_per_symbol = 4;
    vrim::dma_demod_lib::lib_dma_meas_filter_type_t meas_filter = vrim::dma_demod_lib::LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER;
    vrim::dma_demod_lib::lib_dma_ref_filter_type_t ref_filter = vrim::dma_demod_lib::LIB_DMA_REF_RAISED_COSINE_FILTER;
    double alpha = 0.35;
    double beta = 0.6;                    ///< bandwidth-time product of a Gaussian reference filter
    std::uint32_t filter_length = 64;     ///< symbols
    std::uint32_t meas_interval = 1000;   ///< symbols
    std::int32_t meas_offset = 0;         ///< symbols
    double search_length = 0.0001;        ///< s; the run raises it to what the interval needs
    std::uint64_t bandwidth = 20'000'000; ///< Hz
    vrim::dma_demod_lib::lib_dma_evm_normalize_type_t normalization = vrim::dma_demod_lib::LIB_DMA_EVM_NORMALIZE_RMS;
    std::string sync_bits; ///< digits 0 and 1; empty: no search
    float sync_offset = 0.0f;
    float iq_rotation = 0.0f;  ///< degrees
    float clock_adjust = 0.0f; ///< symbols that the clock stands earlier than its estimate
    bool inverted = false;
    bool aligned_iq = false;     ///< OQPSK: results on the grid of whole symbols
    vrim::constellation_map map; ///< empty: the format's own points
};

/// What an analysis left behind.
struct analysis_result_t
{
    std::int32_t code = -1;
    vrim::dma_demod_lib::error_summary_t summary;
    vrim::dma_demod_lib::err_table_t table;
    std::vector<std::uint32_t> decoded; ///< symbol indices
    vrim::complex_array meas_symbols;
    vrim::complex_array ref_symbols;
    bool sync_found = false;
    std::int32_t result_start = 0;     ///< samples of the capture
    std::vector<std::string> messages; ///< logged errors, in their order

    /// The run ended well and the carrier loop found its lock.
    bool locked() const;
};

/// How the symbols that came out stand to those that were sent.
struct decode_match_t
{
    bool found = false;
    std::int32_t lag = 0;       ///< symbol of the record that stands first in the decoded ones
    /// Turn of the decoded points against the sent ones, steps of 2 pi / symmetry of the format; of OQPSK quarter turns.
    std::uint32_t rotation = 0;
    std::size_t differing = 0;  ///< symbols that differ under the best turn and lag
};

/// A format as the library names it.
struct library_format_t
{
    vrim::dma_demod_lib::lib_dma_modulation_type_t group;
    std::uint32_t number; ///< in the group's enumeration
};

library_format_t get_library_format(signal_format_t format);
/// Number of a PSK format in the library's enumeration. @throws std::invalid_argument for a format of another group
vrim::dma_demod_lib::lib_dma_psk_modulation_type_t get_psk_format(signal_format_t format);
/// Count of symbol indices of the format.
std::uint32_t get_order(signal_format_t format);

/// The frame of one segment that `setting` describes.
vrim::dma_demod_lib::lib_dma_frame_configure_manager_t make_frame(const analysis_setting_t& setting);
/// Writes the setting into a segment: format, rates, filters, interval, offset, advanced switches.
void set_segment(const analysis_setting_t& setting, vrim::dma_demod_lib::lib_dma_segment_configure_manager_t& segment);

/// Runs a capture through an analyser. Traces are dropped, errors of the log are kept in the result.
analysis_result_t analyse(vrim::dma_demod_lib::lib_dma_phy_t& analyser, const vrim::complex_array& capture,
                          const analysis_setting_t& setting);
/// The same through an analyser of its own.
analysis_result_t analyse(const vrim::complex_array& capture, const analysis_setting_t& setting);
/// Reads one segment's results. @param code  what the run returned
analysis_result_t take_result(vrim::dma_demod_lib::lib_dma_phy_t& analyser, std::uint32_t segment_index, std::int32_t code);

/// Looks for decoded symbols in those that were sent, under every common turn that carries the format's points onto each other
/// and for every first symbol from `first_lag` to `last_lag`. Of differential formats the first decoded symbol is not compared,
/// since the phase before it may be unknown, and no turn is tried, since steps have none. OQPSK is also looked for a quarter turn
/// on, where its rails change places and the symbols pair anew.
/// @return the place where the fewest symbols differ; `found` when none does
decode_match_t match_decoded(signal_format_t format, const std::vector<std::uint32_t>& decoded,
                             const std::vector<std::uint32_t>& sent, std::int32_t first_lag, std::int32_t last_lag);
} // namespace dma_test
