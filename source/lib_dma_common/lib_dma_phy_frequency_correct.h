#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_phy_result.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vrim::dma_demod_lib
{
/// Measures the carrier frequency offset of one segment. Both estimators raise the signal to a power that strips the
/// modulation, so that the carrier becomes a spectral line at that multiple of the offset.
///
/// On data of one sample a symbol the result is unambiguous over +-0.4 symbol rates divided by the power.
class DMA_DEMOD_EXPORT lib_dma_phy_frequency_correct_t
{
public:
    /// Chooses an estimator by the segment's format and writes `carrier_frequency_offset`, Hz.
    /// @param data  one sample a symbol (OQPSK: at the working rate); may come back shortened and rescaled
    /// @return always true
    bool frequency_error_correct(const lib_dma_frame_configure_manager_t& frame_cfg, std::uint32_t segment_index,
                                 complex_array& data, lib_dma_demod_config_mgr& demod_cfg,
                                 lib_dma_psk_modulation_param& psk_param);
    /// Copies what the estimators need of a segment. @return true
    bool set_config(const lib_dma_frame_configure_manager_t& frame_cfg, std::uint32_t segment_index,
                    const lib_dma_psk_modulation_param& psk_param);

    /// Peak of the spectrum in a fixed band, refined by bisection on single-point transforms.
    /// @param data         the first `fft_size` samples count; fewer are extended with zeros
    /// @param sample_rate  Hz, of `data`
    /// @param search_band  Hz, two-sided, before division by the power
    /// @return false for an `fft_size` or a `sample_rate` of 0, true otherwise
    /// @throws std::out_of_range when the peak lies at the very first or last bin
    /// Source: D. C. Rife, R. R. Boorstyn, "Single-tone parameter estimation from discrete-time observations", IEEE Trans.
    /// Inf. Theory 20(5), 1974.
    bool _deal_dma_freqency_error_estimate_dft(complex_array& data, lib_dma_demod_config_mgr& demod_cfg,
                                               std::uint64_t sample_rate, std::uint64_t search_band, std::uint32_t fft_size);
    /// Trial frequencies over +-1/8 symbol rate, scored by how strongly the amplitude-weighted phase histogram concentrates.
    /// @param data        cut to 1000 samples and normalised to unit rms
    /// @param step_ratio  coarse step over the symbol rate
    /// @return true
    /// @throws std::out_of_range for empty data
    bool _deal_dma_freqency_error_estimate_cps(std::uint32_t power, complex_array& data, lib_dma_demod_config_mgr& demod_cfg,
                                               std::uint64_t symbol_rate, float step_ratio);
    /// One-hot phase histogram: a row a sample, `bins` columns over a turn from -pi on. A sample within 1e-5 below an edge
    /// counts above it, and one within 1e-5 of +pi falls in no bin.
    std::vector<float_array> dkl1(const complex_array& data, std::uint64_t bins);
    /// Magnitude of the transform of `length` samples at bin `position`, zero frequency at length / 2.
    double one_point_dft_mag(const complex_double_array& data, double position, std::uint32_t length);
    /// Looks for the number of equal segments in which a long transform is folded.
    /// @return false when no such number divides `length`; `segments` is not written then
    bool deal_data_segmentation(std::uint32_t length, std::uint32_t& segments);
    /// Transform of `fft_size` points, or of the array's length if that is larger or `fft_size` is 0. Beyond 43515904 points
    /// a folded spectrum of fewer points takes its place.
    bool deal_fft(complex_double_array& data, std::uint32_t fft_size, bool inverse);
    /// Transform of `length` points in place, the inverse scaled by 1 / length.
    /// @return false, reported, when the array is longer than that
    bool deal_transform(std::uint32_t length, complex_double_array& data, bool inverse, std::uint32_t threads);
    /// Swaps the halves so that zero frequency moves to the middle.
    template <typename value_t>
    void fft_shift(std::vector<value_t>& data)
    {
        const std::size_t split = (data.size() + 1) / 2;
        std::rotate(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(split), data.end());
    }

private:
    std::uint32_t m_power_ = 2;
    std::uint64_t m_symbol_rate_ = 1000000; ///< Hz; symbol rates go beyond 32 bits
    std::uint32_t m_points_per_symbol_ = 4;
    std::uint32_t m_format_group_ = 0;
    std::uint32_t m_qam_format_ = 0;
};
} // namespace vrim::dma_demod_lib
