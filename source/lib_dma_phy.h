#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_common/lib_dma_phy_frequency_correct.h"
#include "lib_dma_demod/lib_dma_apsk_demod.h"
#include "lib_dma_demod/lib_dma_ask_demod.h"
#include "lib_dma_demod/lib_dma_dpsk_demod.h"
#include "lib_dma_demod/lib_dma_fsk_demod.h"
#include "lib_dma_demod/lib_dma_oqpsk_demod.h"
#include "lib_dma_demod/lib_dma_msk_demod.h"
#include "lib_dma_demod/lib_dma_psk_demod.h"
#include "lib_dma_demod/lib_dma_qam_demod.h"
#include "lib_dma_phy_data_manager.h"
#include "support/lib_constellation.h"

#include <complex>
#include <cstdint>
#include <span>

namespace vrim::dma_demod_lib
{
/// What `dma_phy_process` returns.
enum lib_dma_result_code_t : std::int32_t
{
    LIB_DMA_RESULT_OK = 0,
    LIB_DMA_RESULT_NO_SEGMENT = 1,         ///< no segment, or the first one could not be placed
    LIB_DMA_RESULT_RATE_TOO_LOW = 2,       ///< the working rate is more than 2000 times the sample rate
    LIB_DMA_RESULT_RATE_TOO_HIGH = 3,      ///< the sample rate is more than 2000 times the working rate
    LIB_DMA_RESULT_CAPTURE_TOO_SHORT = 4,  ///< the capture, or the block cut out of it, is too short
    LIB_DMA_RESULT_DEMODULATOR_FAILED = 5, ///< a demodulator gave up; the log says why
};

/// The analysis driver: the class a host holds.
///
/// One call of `dma_phy_process` analyses the whole capture on the caller's thread: it walks the segments, cuts a block out
/// of the capture for each, converts it to the working rate, hands it to the demodulator of the segment's group and leaves
/// every result in the store. Calls in their order: `set_frame_configure`, `set_sample_rate`, `set_demod_data`,
/// `dma_phy_process`, `get_data_manager`.
class DMA_DEMOD_EXPORT lib_dma_phy_t
{
public:
    lib_dma_phy_t();

    /// Takes a full copy of the configuration. @return true
    bool set_frame_configure(const lib_dma_frame_configure_manager_t& frame);
    /// @param rate  Hz, of the capture; kept as a multiple of 100 Hz, at least 100. A rate that is not finite or is
    ///              negative is taken as 100.
    void set_sample_rate(double rate);
    /// Copies the capture and adds 1e-11 to both parts of every sample. @return true
    bool set_demod_data(const complex_array& samples);
    /// Runs the analysis. A second run without new data works on the capture as the first one left it.
    /// @return a `lib_dma_result_code_t`; results of segments that were finished before a failure stay readable
    std::int32_t dma_phy_process();
    lib_dma_main_process_state_t get_process_state() const;
    /// The results. Not to be read while a run is going on in another thread.
    lib_dma_phy_data_manager_t& get_data_manager();
    const lib_dma_phy_data_manager_t& get_data_manager() const;

    /// Calls `update_demod_info`.
    bool init(std::uint32_t segment_index, lib_dma_demod_config_mgr& config);
    /// Does nothing.
    void clear_data();

    // Run-in and lengths (lib_dma_phy_length.cpp)

    /// Writes the capture's rate to `config.sample_rate`: the rate that was set, or points per symbol * symbol rate in 32 bits.
    /// @return true
    bool update_demod_info(std::uint32_t segment_index, lib_dma_demod_config_mgr& config);
    /// Gathers `pre_time`, `equalizer_time` and `minseglen` of one segment into `config`. @return true
    bool cal_preprocess_param(std::uint32_t segment_index, lib_dma_demod_config_mgr& config);
    /// Checks the capture against the wanted length, which counts between 100 samples and 10000 (sync search) or 1000000.
    /// @return 0, or 4 when the capture is too short
    std::int32_t update_demod_data_len(std::uint32_t wanted);
    /// Fills the rotation record for one segment; fields without a rule keep their value. @return true
    bool cal_psk_modulation_param(const lib_dma_segment_configure_manager_t& segment, lib_dma_psk_modulation_param& param);

    // Placement of the first segment (lib_dma_phy_burst.cpp)

    /// Places the burst in the search block.
    /// @param block                 the search block at the capture's rate
    /// @param[in,out] config        `data_len` and `pre_num_max` are read, the burst fields written
    /// @param[out] demod_data_len   samples to demodulate, without run-in
    /// @param[out] pulse_center_sym symbols, offset that centres the interval
    /// @param[out] pre_sym          symbols of run-in
    /// @return true
    bool cal_first_segment_demod_info(complex_array block, lib_dma_demod_config_mgr& config, std::uint32_t& demod_data_len,
                                      std::int32_t& pulse_center_sym, std::int32_t& pre_sym, std::uint32_t segment_index);

    // Input conditioning (lib_dma_phy_condition.cpp)

    /// Limits a capture to the frame's bandwidth, in place, its length and alignment kept: an equiripple low-pass of least
    /// order, 0.1 dB of ripple up to the bandwidth and 100 dB from 1.1 times on, both estimates. With a bandwidth at or above
    /// the sample rate the pass band ends at 0.9 of the Nyquist frequency. So it does, said in the log, where a bandwidth
    /// just below the sample rate would take an order above 2,000. An odd order delays by half a sample beyond the whole ones
    /// that are made good; it is raised by one for the groups that work on the samples as they stand, FSK, MSK and OQPSK. The
    /// taps of the last pair of edges are kept.
    /// @param segment_index  its group is read; one that the frame does not have asks for nothing
    /// @param config         `sample_rate` is read
    /// @return false, logged and `data` as it was, when there is no filter
    bool deal_filterpm_process(std::uint32_t segment_index, const lib_dma_demod_config_mgr& config, complex_array& data);
    /// The same job by a windowed sinc of 513 taps with its edge at 0.8 of the Nyquist frequency, whatever the bandwidth. The
    /// run does not use it. @return false when there is no filter
    bool deal_filter_process(std::uint32_t segment_index, const lib_dma_demod_config_mgr& config, complex_array& data);
    /// Writes the channel power of `data` to the first error summary, dBm at 100 ohms.
    /// @param config     `sample_rate` is read
    /// @param bandwidth  Hz
    /// @return true
    bool cal_carrier_power(complex_array data, lib_dma_phy_data_manager_t& data_manager, const lib_dma_demod_config_mgr& config,
                           std::uint64_t bandwidth);

    /// Mirrors the spectrum in place: transform, bins reversed and conjugated, inverse transform. Since the reversal takes
    /// bin k to N - 1 - k, a tone comes back one bin lower than its mirror image. @return true
    bool deal_spectrum_invert(complex_array& data);

    // Reference constellations (lib_dma_phy_constellation.cpp)

    /// Fill `map` with the ideal points of a format, scaled by `normalize_type`. An unknown format is logged and leaves the
    /// map empty. @return true; false for an unknown APSK format
    bool generate_qam_constellation(lib_dma_qam_modulation_type_t format, std::uint32_t segment_index, constellation_map& map,
                                    common_lib::lib_constellation_normalize_type_t normalize_type);
    bool generate_psk_constellation(lib_dma_psk_modulation_type_t format, std::uint32_t segment_index, constellation_map& map,
                                    common_lib::lib_constellation_normalize_type_t normalize_type);
    bool generate_ask_constellation(lib_dma_ask_modulation_type_t format, std::uint32_t segment_index, constellation_map& map,
                                    common_lib::lib_constellation_normalize_type_t normalize_type);
    bool generate_dpsk_constellation(lib_dma_dpsk_modulation_type_t format, std::uint32_t segment_index, constellation_map& map,
                                     common_lib::lib_constellation_normalize_type_t normalize_type);
    bool generate_fsk_constellation(lib_dma_fsk_modulation_type_t format, std::uint32_t segment_index, constellation_map& map,
                                    common_lib::lib_constellation_normalize_type_t normalize_type);
    bool generate_oqpsk_constellation(lib_dma_oqpsk_modulation_type_t format, std::uint32_t segment_index, constellation_map& map,
                                      common_lib::lib_constellation_normalize_type_t normalize_type);
    /// Ring ratios come from segment `segment_index` of the frame.
    bool generate_apsk_constellation(lib_dma_apsk_modulation_type_t format, std::uint32_t segment_index, constellation_map& map,
                                     common_lib::lib_constellation_normalize_type_t normalize_type);

    /// Hands one block to the demodulator of the segment's group: `init`, `set_frame_configure`, then its process.
    /// @param raw_window  block at the capture's rate; no demodulator reads it and the run passes none
    /// @param demod_block block at the working rate
    /// @return false, logged, when the demodulator fails or the group has none yet; true for the groups that have none by
    ///         design, also logged
    bool deal_demo_process(std::uint32_t segment_index, const complex_array& raw_window, const complex_array& demod_block,
                           const lib_dma_psk_modulation_param& modulation_param, lib_dma_demod_config_mgr& config);

private:
    /// Which samples of the capture are demodulated.
    struct block_range_t
    {
        std::uint32_t window_len = 0;     ///< samples that the run looks at, from the first one on
        std::uint32_t demod_data_len = 0; ///< samples to demodulate, without run-in
        std::int32_t pre_sym = 0;         ///< symbols of run-in
        std::int32_t start = 0;           ///< first sample of the block; below 0 when its run-in does not fit
    };

    /// The filter that limits the capture, kept from run to run. Edges are relative to the Nyquist frequency.
    struct limit_filter_t
    {
        double pass_edge = -1.0;
        double stop_edge = -1.0;
        bool aligned = false; ///< delays by whole samples
        complex_array taps;
    };

    /// Sets the state to stop. @return the code
    std::int32_t _stop(lib_dma_result_code_t code);
    /// Analyses one segment. @param[in,out] search_length  seconds, raised to what the segments need
    std::int32_t _process_segment(std::uint32_t segment_index, std::uint32_t segment_number, double& search_length);
    /// Raises the search length and works out what it takes of the capture. @return false when the capture is too short
    bool _update_search_lengths(lib_dma_demod_config_mgr& config, double& search_length, std::uint32_t& window_len);
    /// Finds where the segment's block begins and how long it is. @return false when the first segment cannot be placed
    bool _place_segment(std::uint32_t segment_index, lib_dma_demod_config_mgr& config, block_range_t& range);
    /// Cuts the block and converts it to the working rate. @return a result code; nothing is logged with one of the rates
    std::int32_t _cut_demod_block(std::uint32_t segment_index, const lib_dma_demod_config_mgr& config,
                                  const block_range_t& range);
    /// Writes the run-in lengths that the demodulator takes. @param pre_sym  symbols, made even
    static void _update_head_lengths(const lib_dma_segment_configure_manager_t& segment, std::int32_t pre_sym,
                                     lib_dma_demod_config_mgr& config);

    /// `cal_carrier_power` over a stretch of the capture, without a copy of it.
    static void _update_carrier_power(std::span<const std::complex<float>> window, lib_dma_phy_data_manager_t& data_manager,
                                      const lib_dma_demod_config_mgr& config, std::uint64_t bandwidth);

    lib_dma_main_process_state_t process_state_ = LIB_DMA_PROCESS_STOP;
    lib_dma_frame_configure_manager_t frame_;
    complex_array raw_data_;
    limit_filter_t limit_filter_;
    complex_array demod_block_; ///< the block at the working rate; its memory serves run after run
    lib_dma_phy_data_manager_t data_manager_;
    lib_dma_phy_frequency_correct_t frequency_correct_;
    lib_dma_qam_demod_t qam_demod_;
    lib_dma_psk_demod_t psk_demod_;
    lib_dma_dpsk_demod_t dpsk_demod_;
    lib_dma_fsk_demod_t fsk_demod_;
    lib_dma_msk_demod_t msk_demod_;
    lib_dma_ask_demod_t ask_demod_;
    lib_dma_apsk_demod_t apsk_demod_;
    lib_dma_oqpsk_demod_t oqpsk_demod_;
    double sample_rate_ = 0.0;
    bool sample_rate_flag_ = false;
};
} // namespace vrim::dma_demod_lib
