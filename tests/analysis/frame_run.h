#pragma once

#include "analysis_runner.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace dma_test
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool small_grids = true; // sanitizers take ten times as long
#else
constexpr bool small_grids = false;
#endif

/// One run of a frame through an analyser, and all that it said.
struct frame_run_t
{
    /// @param sample_rate  Hz; not set when it is 0
    frame_run_t(const vrim::complex_array& capture, const vrim::dma_demod_lib::lib_dma_frame_configure_manager_t& frame,
                double sample_rate);

    const vrim::dma_demod_lib::lib_dma_phy_data_manager_t& get_store() const { return analyser.get_data_manager(); }
    /// One segment's results, with the errors of the whole run.
    analysis_result_t take(std::uint32_t segment_index);
    bool get_decode_flag(std::uint32_t segment_index) const { return get_store().get_decode_bit_flag(segment_index); }
    bool has_error(const std::string& text) const;
    bool has_info(const std::string& text) const;

    vrim::dma_demod_lib::lib_dma_phy_t analyser;
    std::int32_t code = -1;
    std::vector<std::string> errors;  ///< of the log, levels 3 and 4
    std::vector<std::string> infos;   ///< of the log, level 2, with their numbers
    std::string printed;
};
} // namespace dma_test
