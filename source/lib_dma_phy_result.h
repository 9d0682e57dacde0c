#pragma once

#include "dma_types.h"

#include <complex>
#include <cstdint>

namespace vrim::dma_demod_lib
{
/// Working record of one segment: it travels from the driver through the demodulator and back.
struct lib_dma_demod_config_mgr
{
    double pre_time = 0.0;                       ///< s, run-in of the filters; that of the frame's last segment
    double equalizer_time = 0.0;                 ///< s, run-in of the equalizer; that of the last segment that has it on
    double minseglen = 0.0;                      ///< s, shortest search length that covers all segments
    std::uint64_t sample_rate = 0;               ///< Hz, rate of the capture
    std::uint32_t data_len = 0;                  ///< samples of the capture in which the first segment is searched
    std::uint32_t burst_raise_idx = 0;           ///< samples, rising edge of the burst from the start of the capture
    bool burst_raise_flag = false;               ///< rising edge found; stays false
    std::uint32_t burst_fall_idx = 0;            ///< samples, falling edge of the burst
    bool burst_fall_flag = false;                ///< falling edge found; stays false
    std::uint32_t burst_len = 0;                 ///< samples, length of the burst
    std::uint32_t data_start = 0;                ///< samples, first sample of the burst; 0 for all segments but the first
    std::uint32_t pre_num_max = 0;               ///< samples of the capture, half of the whole run-in
    std::uint32_t pre_num = 0;                   ///< samples at the working rate, run-in at each end of the block
    std::uint32_t equalizer_head_len = 0;        ///< symbols to drop at the head when the equalizer ran
    std::uint32_t head_len = 0;                  ///< samples at the working rate, filter run-in at the head
    std::int32_t pulse_center_sym = 0;           ///< symbols, offset that centres the interval; used for the offset -1
    std::int32_t result_start = 0;               ///< samples, first sample of the measurement
    std::int32_t result_stop = 0;                ///< samples, one past its last sample
    double carrier_frequency_offset = 0.0;       ///< Hz, positive when the received carrier lies above nominal
    std::uint32_t equalizer_loop_number = 0;     ///< completed equalizer passes
    complex_array equalizer_filter = { { 0.0f, 0.0f } }; ///< adaptive taps, carried from pass to pass
};

/// Impairments of one segment.
struct err_table_t
{
    float quad_error = 0.0f;      ///< degrees, quadrature error; 0 for BPSK
    float gain_imbalance = 0.0f;  ///< dB
    float iq_offset = 0.0f;       ///< dB
    float frequency_error = 0.0f; ///< Hz
    float rho = 0.0f;             ///< correlation of measured and reference symbols, 0 to 1
};

/// Statistics of one segment. Indices count symbols of the measurement. EVM and magnitude errors are percent of the
/// normalisation chosen; `phase_err_rms` is in degrees over the normalisation, the other phase figures in degrees.
struct error_summary_t
{
    float snr = 0.0f; ///< dB
    float evm_rms = 0.0f;
    float evm_max = 0.0f;
    std::uint32_t evm_max_idx = 0;
    float mag_err_rms = 0.0f;
    float mag_err_max = 0.0f; ///< signed, at the largest absolute value
    std::uint32_t mag_err_max_idx = 0;
    float phase_err_rms = 0.0f;
    float phase_err_max = 0.0f; ///< largest signed value
    std::uint32_t phase_err_max_idx = 0;
    float_array evm_trace;       ///< one value a symbol, percent
    float_array mag_err_trace;   ///< one value a symbol, percent
    float_array phase_err_trace; ///< one value a symbol, degrees
    float evm_min = 0.0f;
    std::uint32_t evm_min_idx = 0;
    float mag_err_min = 0.0f; ///< signed, at the smallest absolute value
    std::uint32_t mag_err_min_idx = 0;
    float phase_err_min = 0.0f; ///< smallest signed value
    std::uint32_t phase_err_min_idx = 0;
    float depth = 0.0f;              ///< ASK: modulation depth, 1 - low / high
    float carrier_power = 0.0f;      ///< dBm, entry of segment 0 only
    double fsk_deviation = 0.0;      ///< FSK: Hz
    double fsk_deviation_max = 0.0;  ///< FSK: Hz
    double fsk_deviation_min = 0.0;  ///< FSK: Hz
    double apsk_r2_ratio = 0.0;      ///< APSK: ring 2 over ring 1
    double apsk_r3_ratio = 0.0;      ///< APSK: ring 3 over ring 1
    complex_array meas_data;         ///< measured signal at points_per_symbol points a symbol
    complex_array ref_data;          ///< reference signal at the same rate
};

/// Constellation rotation of the segment under analysis; one for the whole run.
struct lib_dma_psk_modulation_param
{
    float rotation_angle = 0.0f;         ///< radians, fixed rotation of the PSK family
    float dpsk_rotation_angle = 0.0f;    ///< radians
    float dpsk_rotation_step = 0.0f;     ///< radians per symbol
    std::uint32_t modulation_order = 2;  ///< count of phase states
};

/// Tracks of the QAM carrier recovery, one value a symbol.
struct carrier_syn_info_t
{
    float_array gain_track;      ///< amplitude gain of the loop
    float_array phase_track;     ///< radians, unwrapped
    float_array frequency_track; ///< radians per symbol
    float lock_ratio = 0.0f;     ///< lock_len over the count of symbols
    std::uint32_t lock_start = 0;
    std::uint32_t lock_len = 0;
};
} // namespace vrim::dma_demod_lib
