#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_common/decision_table.h"
#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_phy_data_manager.h"
#include "lib_dma_phy_result.h"
#include "support/lib_filter.h"

#include <complex>
#include <cstdint>

namespace vrim::dma_demod_lib
{
/// Turns a block of FSK samples into measured symbols, an ideal reference, decoded symbols and an error table.
///
/// It leaves the IQ plane at once: the samples become their instantaneous frequency, and all that follows, timing included,
/// works on that real trajectory, held as a complex array without imaginary parts.
///
/// The object is itself a full copy of the frame configuration. It holds no state between segments: `init` and
/// `set_frame_configure` precede each run. One object serves one thread at a time.
class DMA_DEMOD_EXPORT lib_dma_fsk_demod_t : public lib_dma_frame_configure_manager_t
{
public:
    lib_dma_fsk_demod_t();

    /// Frees the working arrays and maps and restores the defaults. The kind of the pulse filter stays.
    void init();
    /// Takes the frame and the settings of one segment, with the lengths that the driver computed. The deviation setting of
    /// the format takes no part: deviation is always measured. @return true
    bool set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                             const lib_dma_demod_config_mgr& config);
    /// Runs the whole pipeline on one segment.
    /// @param raw_window   block at the capture's rate; not read
    /// @param demod_block  block at `setting.sps` samples a symbol
    /// @param data_manager receives the results of `segment_index`
    /// @param config       carrier offset and result positions are written
    /// @return false, logged, when a stage fails or the block has no modulation; the arrays stay filled until the next `init`
    bool lib_dma_fsk_demod_process(std::uint32_t segment_index, const complex_array& raw_window, const complex_array& demod_block,
                                   lib_dma_phy_data_manager_t& data_manager, lib_dma_demod_config_mgr& config);
    /// Frees the working arrays and empties both maps.
    void clear();

    /// Turns the samples in `work.iq_data` into their frequency trajectory, cycles per working sample and one entry shorter,
    /// and filters that with the measurement filter, delay taken out. @return false when no taps came out
    bool meas_filter_process();
    /// Times `work.iq_data` into `freq_data`. @return true
    bool timing_recovery();
    /// Measures carrier and deviation of `freq_data` by the symbols at its outer tones: those in the outer halves of the two
    /// outer steps of a scale of M tones from the lowest to the highest symbol. `setting.pre_num` samples at either end take no
    /// part. An unequal count of the two tones moves the carrier towards the more frequent one, by the deviation times the
    /// difference of the counts over their sum.
    /// @param[out] freq_scratch  symbol frequencies, cycles per working sample, in time order
    /// @param[out] carrier       Hz, mean of the outer tones
    /// @param[out] deviation     Hz, their standard deviation
    /// @param[out] max_freq, min_freq  Hz, their largest and smallest frequency, carrier included
    /// @param[out] out_a, out_b  frequencies of the upper and the lower tone, cycles per working sample, ascending; the shorter
    ///                           list is appended to the longer one
    /// @return true
    /// @throws std::out_of_range when no symbol stands out: without symbols, at a constant frequency, or when a frequency is
    ///         not a number
    bool fsk_carrier_sync(float_array& freq_scratch, double& carrier, double& deviation, double& max_freq, double& min_freq,
                          float_array& out_a, float_array& out_b);
    /// Decides the tone level of every symbol of `freq_data` into `decided_level`.
    /// @return false, reported, when the symbols have no level
    bool symbol_detect();
    /// Rebuilds the ideal trajectory and aligns it with the measured one in time and level.
    /// @return false, reported, when the measurement has no signal
    bool ref_data_generate(lib_dma_demod_config_mgr& config);
    /// Decodes the symbols, searches the sync word, cuts both trajectories to the window and scales them.
    /// @return false, reported, when reference or measurement have no level
    bool fsk_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Turns both trajectories by the configured IQ rotation. @return true
    bool deal_phase_rotation();
    /// Compares the trajectories and fills the results of the segment. @return true
    bool error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Converts the measurement window into sample positions of the capture. @return true
    bool cal_demod_param(lib_dma_demod_config_mgr& config);

    /// Level of the tone nearest to a normalised frequency, the outer tones being at +/-1. A format without tones is logged and
    /// decided as 0. The map is kept while the format stays.
    float fsk_judge(lib_dma_fsk_modulation_type_t format, std::complex<float> sample);
    /// Standard deviation of a whole population, formed in double.
    /// @throws std::out_of_range for an empty array
    static double get_fsk_std(const float_array& values);

    static constexpr lib_dma_fsk_modulation_type_t fsk_format_default = LIB_DMA_FSK_2;

    demod_setting_t setting;
    demod_work_t work;
    lib_dma_fsk_modulation_type_t fsk_format = fsk_format_default;
    float_array freq_data;     ///< the timed trajectory: cycles per working sample, then normalised to outer tones at +/-1
    float_array decided_level; ///< one a symbol: the tone's level
    constellation_map judge_map; ///< the format's levels as `fsk_judge` left them

private:
    /// Makes the map of a format unless it stands already.
    void _update_judge_map(lib_dma_fsk_modulation_type_t format);
    /// `fsk_carrier_sync` without its failure. @return false when the symbols have no tones that differ
    bool _find_tones(double& carrier, error_summary_t& summary);

    common_lib::lib_filter_t filter_; ///< measurement and reference filter in turn
    decision_table_t judge_table_;    ///< `judge_map`, laid out for walking
    lib_dma_fsk_modulation_type_t judge_format_ = fsk_format_default; ///< what `judge_map` was made for
    bool judge_map_made_ = false;
};
} // namespace vrim::dma_demod_lib
