#pragma once

#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_phy_data_manager.h"
#include "lib_dma_phy_result.h"
#include "message_capture.h"
#include "signal_pulse.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <random>
#include <string>
#include <vector>

/// What the tests of the demodulator classes share.
namespace demod_test
{
using index_array = std::vector<std::uint32_t>;
using point_array = std::vector<std::complex<double>>;

constexpr double pi = std::numbers::pi;

inline bool is_near(std::complex<float> a, std::complex<double> b, double tolerance = 1e-6)
{
    return std::abs(std::complex<double>(a) - b) <= tolerance;
}

inline bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/// Bits of symbol indices, most significant first.
inline vrim::bit_array expand(const index_array& indices, std::uint32_t bits_per_symbol)
{
    vrim::bit_array bits;
    for (const std::uint32_t index : indices)
    {
        for (std::uint32_t bit = bits_per_symbol; bit-- > 0;)
            bits.push_back(static_cast<vrim::bit_array::value_type>((index >> bit) & 1u));
    }
    return bits;
}

inline index_array make_indices(std::size_t count, std::uint32_t order, unsigned seed = 4711)
{
    std::mt19937 generator(seed);
    index_array indices(count);
    for (std::uint32_t& index : indices)
        index = static_cast<std::uint32_t>(generator() >> 8) % order;
    return indices;
}

inline index_array slice(const index_array& indices, std::size_t first, std::size_t stop)
{
    return index_array(indices.begin() + static_cast<std::ptrdiff_t>(first), indices.begin() + static_cast<std::ptrdiff_t>(stop));
}

/// Points of a map by index, keys 0 upward.
inline point_array get_points(const vrim::constellation_map& map)
{
    point_array points;
    for (const auto& [key, point] : map)
        points.emplace_back(point);
    return points;
}

/// Points of indices, the i-th turned by slope * i + phase.
inline point_array map_points(const index_array& indices, const point_array& points, double slope = 0.0, double phase = 0.0)
{
    point_array symbols(indices.size());
    for (std::size_t i = 0; i < indices.size(); ++i)
        symbols[i] = points[indices[i]] * std::polar(1.0, slope * static_cast<double>(i) + phase);
    return symbols;
}

inline vrim::complex_array narrow(const point_array& points)
{
    vrim::complex_array data;
    for (const std::complex<double>& point : points)
        data.emplace_back(point);
    return data;
}

/// Each symbol held for `sps` samples.
inline vrim::complex_array hold(const point_array& symbols, std::size_t sps)
{
    vrim::complex_array data;
    for (const std::complex<double>& symbol : symbols)
        data.insert(data.end(), sps, std::complex<float>(symbol));
    return data;
}

/// The angle nearest to `angle` that is the same but for whole multiples of `period`.
inline double fold_angle(double angle, double period)
{
    return angle - period * std::round(angle / period);
}

/// A raised-cosine waveform at 8 samples a symbol and 1 MHz, symbol 0 at sample `timing` * 8.
inline vrim::complex_array make_block(const point_array& symbols, double carrier_hz = 0.0, double phase = 0.7,
                                      double timing = 0.3)
{
    constexpr std::ptrdiff_t sps = 8;
    constexpr std::ptrdiff_t reach = 60; // symbols
    std::vector<double> pulse(static_cast<std::size_t>(2 * reach * sps + 1));
    for (std::size_t i = 0; i < pulse.size(); ++i)
    {
        const double samples = static_cast<double>(i) - static_cast<double>(reach * sps);
        pulse[i] = dma_test::cal_pulse(dma_test::signal_pulse_t::raised_cosine, samples / sps - timing, 0.35);
    }
    vrim::complex_array data;
    for (std::ptrdiff_t n = 0; n < static_cast<std::ptrdiff_t>(symbols.size()) * sps; ++n)
    {
        std::complex<double> sum = 0.0;
        for (std::ptrdiff_t k = n / sps - reach + 1; k < n / sps + reach; ++k)
        {
            if (k >= 0 && k < static_cast<std::ptrdiff_t>(symbols.size()))
                sum += symbols[static_cast<std::size_t>(k)] * pulse[static_cast<std::size_t>(n - k * sps + reach * sps)];
        }
        data.emplace_back(sum * std::polar(1.0, 2.0 * pi * carrier_hz / 8.0e6 * static_cast<double>(n) + phase));
    }
    return data;
}

/// A demodulator that stands before the decoding of its symbols.
template <typename demod_t>
struct decode_run_t
{
    decode_run_t(const point_array& symbols, std::uint32_t points_per_symbol, std::uint32_t segments = 1)
    {
        vrim::dma_demod_lib::lib_dma_frame_configure_manager_t frame;
        frame.set_segment_number(segments);
        store.init();
        store.set_config(frame);
        demod.setting.points_per_symbol = points_per_symbol;
        demod.setting.sps = 8;
        demod.setting.sync_pattern_bitarr.clear();
        for (const std::complex<double>& symbol : symbols)
        {
            demod.work.meas_data.emplace_back(symbol);
            demod.work.ref_data.emplace_back(symbol * 0.5);
            demod.work.meas_symbol.emplace_back(symbol);
            for (std::uint32_t k = 1; k < points_per_symbol; ++k)
            {
                demod.work.meas_data.emplace_back(0.1f, 0.1f);
                demod.work.ref_data.emplace_back(0.1f, 0.1f);
            }
        }
        demod.setting.meas_interval = static_cast<std::uint32_t>(demod.work.meas_data.size());
    }

    void search(const vrim::bit_array& pattern)
    {
        demod.setting.sync_search = true;
        demod.setting.sync_pattern_bitarr = pattern;
    }

    const index_array& get_decoded(std::uint32_t segment = 0) { return store.get_decode_bit(segment); }
    bool get_sync_flag(std::uint32_t segment = 0) { return store.get_sync_search_flag_vec().at(segment); }
    bool get_decode_flag(std::uint32_t segment = 0) { return store.get_decode_bit_flag_vec().at(segment); }

    demod_t demod;
    vrim::dma_demod_lib::lib_dma_phy_data_manager_t store;
};

/// A whole run on a block at 8 samples a symbol, 300 symbols measured at 2 points each.
template <typename demod_t>
struct process_run_t
{
    /// @param choose_format  choose_format(format manager)
    template <typename choose_t>
    explicit process_run_t(choose_t&& choose_format)
    {
        using namespace vrim::dma_demod_lib;
        lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
        choose_format(segment.get_format_configure());
        segment.get_format_configure().set_symbol_rate(1000000);
        segment.get_format_configure().set_points_per_symbol(LIB_DMA_POINT2);
        segment.get_filter_configure().set_meas_filter_type(LIB_DMA_MEAS_NONE_FILTER);
        segment.get_filter_configure().set_ref_filter_type(LIB_DMA_REF_RAISED_COSINE_FILTER);
        segment.get_filter_configure().set_filter_alpha(0.35f);
        segment.get_filter_configure().set_filter_length(32);
        segment.get_time_configure().set_meas_interval(segment.get_format_configure().get_format_group(), 300);
        segment.get_time_configure().set_meas_offset(0);
        store.init();
        store.set_config(frame);
        config.pre_num = 32 * 8;
        config.head_len = 32 * 8;
        config.sample_rate = 8000000;
        config.data_len = 100000;
        demod.init();
        demod.set_frame_configure(frame, 0, config);
    }

    /// @param process  the class's process operation
    template <typename process_t>
    bool run(process_t process, const vrim::complex_array& block)
    {
        const trace_capture_t trace;
        const bool result = (demod.*process)(0, {}, block, store, config);
        text = trace.get_text();
        return result;
    }

    double get_frequency() { return static_cast<double>(store.get_err_table(0).frequency_error); }
    float get_evm() { return store.get_error_summary(0).evm_rms; }

    vrim::dma_demod_lib::lib_dma_frame_configure_manager_t frame;
    vrim::dma_demod_lib::lib_dma_phy_data_manager_t store;
    vrim::dma_demod_lib::lib_dma_demod_config_mgr config;
    demod_t demod;
    std::string text;
};
} // namespace demod_test
