#pragma once

#include "capture_reader.h"
#include "format_table.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace dmatool
{
/// The words of the command line, before anything is made of them.
struct analyze_arguments_t
{
    std::string capture;
    std::optional<std::string> datatype, sample_rate, start, count;
    std::optional<std::string> group, format, symbol_rate, points_per_symbol;
    std::optional<std::string> meas_filter, ref_filter, alpha, beta, filter_length;
    std::optional<std::string> interval, offset, search_length, bandwidth;
    std::optional<std::string> sync, sync_offset;
    std::optional<std::string> evm_ref, clock_adjust, iq_rotation;
    std::optional<std::string> equalizer, equalizer_length, equalizer_step;
    std::optional<std::string> settings; ///< file that says what no option says
    bool allow_large = false;
    bool resample = false;
    bool align_iq = false;
    bool json = false;
    bool traces = false;
    bool verbose = false;
};

/// What one analysis is to do, every value within what the configuration takes.
struct analyze_options_t
{
    capture_request_t capture;
    bool resample = false; ///< to a sample rate that is a multiple of 100 Hz
    format_choice_t format;
    std::uint64_t symbol_rate = 0; ///< Hz
    std::uint32_t points_per_symbol = 4;
    const filter_row_t* meas_filter = nullptr;
    const filter_row_t* ref_filter = nullptr;
    float alpha = 0.5f;
    float beta = 0.6f;
    std::uint32_t filter_length = 64;       ///< symbols
    std::uint32_t interval = 1024;          ///< symbols
    std::int32_t offset = 0;                ///< symbols; -1 is automatic
    std::optional<double> search_length;    ///< s; as much as the interval needs if empty
    std::optional<std::uint64_t> bandwidth; ///< Hz; nine tenths of the sample rate if empty
    std::string sync_bits;                  ///< characters 0 and 1; empty for no search
    float sync_offset = 0.0f;               ///< symbols
    vrim::dma_demod_lib::lib_dma_evm_normalize_type_t evm_ref = vrim::dma_demod_lib::LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX;
    float clock_adjust = 0.0f; ///< symbols
    float iq_rotation = 0.0f;  ///< degrees
    bool equalizer = false;
    std::uint32_t equalizer_length = 21; ///< symbols, odd
    double equalizer_step = 0.01;
    bool align_iq = false; ///< results of OQPSK at whole symbols
    bool json = false;
    bool traces = false;
    bool verbose = false;

    /// Settings of a file, one segment of them; what has no option stays as it is there. Empty without a file.
    std::shared_ptr<const vrim::dma_demod_lib::lib_dma_frame_configure_manager_t> settings;
    bool bandwidth_of_file = false;          ///< a capture narrower than the file's bandwidth is measured over nine tenths
    std::vector<std::string> settings_notes; ///< what the user should know about the file
    std::vector<std::string> overrides;      ///< which options stand in place of the file's values; for --verbose
};

/// Adds the settings file and the options of signal and measurement to a command.
void add_signal_options(CLI::App& command, analyze_arguments_t& arguments);

/// Makes options of signal and measurement of words, the settings file's values first where there is one.
/// @throws tool_error_t
void parse_signal_options(const analyze_arguments_t& arguments, analyze_options_t& options);

/// Adds the capture and every option to a command.
void add_analyze_options(CLI::App& command, analyze_arguments_t& arguments);

/// Makes options of words. A value that the configuration would clamp is refused.
/// @throws tool_error_t
analyze_options_t parse_analyze_options(const analyze_arguments_t& arguments);
} // namespace dmatool
