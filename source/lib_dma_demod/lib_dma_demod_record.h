#pragma once

#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"

#include <cstddef>
#include <cstdint>

namespace vrim::dma_demod_lib
{
/// What every demodulator knows of its segment. Loaded by `set_frame_configure`; some fields change during a run.
///
/// Two rates: `sps`, working samples per symbol, at which the pipeline runs, and `points_per_symbol`, that of the results.
struct demod_setting_t
{
    lib_dma_meas_filter_type_t meas_filter_type = LIB_DMA_MEAS_NONE_FILTER;
    lib_dma_ref_filter_type_t ref_filter_type = LIB_DMA_REF_NONE_FILTER;
    std::uint32_t filter_length = 16; ///< symbols
    float filter_alpha = 0.5f;        ///< roll-off; the time-bandwidth product when the reference is Gaussian
    float filter_beta = 0.5f;
    std::uint64_t symbol_rate = 1000000; ///< Hz
    lib_dma_modulation_type_t format_group = LIB_DMA_GROUP_PSK;
    bit_array sync_pattern_bitarr = { 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 1, 1, 1, 1, 0, 1, 1, 1, 1, 1 };
    bool sync_search = false;
    float iq_rotation = 0.0f;           ///< degrees
    std::uint32_t meas_interval = 1024; ///< symbols; points once the reference stands
    std::int32_t meas_offset = 0;       ///< symbols; samples of the capture once the result positions stand
    lib_dma_evm_normalize_type_t evm_normalization_ref = LIB_DMA_EVM_NORMALIZE_RMS;
    std::uint32_t points_per_symbol = 2;
    std::uint32_t equalizer_filter_len = 21; ///< taps
    bool equalizer = false;
    double equalizer_coef = 5e-05;
    lib_dma_sync_pattern_t sync_pattern_type = LIB_DMA_SYNC_BIT_PATTERN;
    float clock_adjust = 0.0f;               ///< symbols
    float sync_offset = 0.0f;                ///< symbols
    bool constellation_setting_flag = false; ///< the map below was defined by the user
    constellation_map const_iq_map;
    std::uint32_t timing_start = 0;       ///< working samples dropped by the timing recovery
    std::uint32_t pre_num = 64;           ///< working samples of run-in at either end
    std::uint64_t sample_rate = 2000000;  ///< Hz, of the capture
    std::uint32_t data_start = 0;         ///< samples of the capture
    std::uint32_t sps = 4;                ///< working samples per symbol
    std::uint32_t head_len = 0;           ///< working samples
    std::uint32_t equalizer_head_len = 0; ///< symbols
    bool iq_offset_flag = true;           ///< the IQ offset is computed
};

/// Arrays that a run fills on its way.
struct demod_work_t
{
    complex_array iq_data;        ///< at sps: the block, then measurement-filtered
    complex_array symbol_data;    ///< one a symbol: input of the frequency estimate
    complex_array timing_data;    ///< at sps: timed, then corrected in frequency and phase
    complex_array sync_symbol;    ///< one a symbol: inside carrier synchronisation
    complex_array decided_symbol; ///< one a symbol: ideal points
    complex_array ref_data;       ///< at points_per_symbol: the ideal waveform
    complex_array meas_data;      ///< at sps, then at points_per_symbol: the measured waveform
    complex_array meas_symbol;    ///< one a symbol: for the impairment figures
    complex_array ref_symbol;     ///< one a symbol

    /// Frees what the last stages do not need where it is a lot: unused room behind the waveforms, and symbols that have
    /// served. Small arrays keep their room for the next run.
    void release_surplus()
    {
        constexpr std::size_t kept_samples = std::size_t(1) << 19; // 4 MiB
        for (complex_array* array : { &meas_data, &ref_data })
        {
            if (array->capacity() - array->size() > kept_samples)
                array->shrink_to_fit();
        }
        for (complex_array* array : { &iq_data, &timing_data, &symbol_data, &sync_symbol, &decided_symbol })
        {
            array->clear();
            if (array->capacity() > kept_samples)
                array->shrink_to_fit();
        }
    }

    void clear()
    {
        for (complex_array* array : { &iq_data, &symbol_data, &timing_data, &sync_symbol, &decided_symbol, &ref_data, &meas_data,
                                      &meas_symbol, &ref_symbol })
            array->clear();
    }
};
} // namespace vrim::dma_demod_lib
