#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "fir_filter/lib_fir_enum.h"
#include "support/cfg_protocol_base.h"

#include <cstdint>

namespace vrim::fir_filter_lib
{
/// Response of a filter: its shape, its frequencies relative to half the sample rate (1 is the Nyquist frequency) and its
/// amplitudes. Frequencies are clamped to [0, 1]; not-a-number becomes 0. Amplitudes are stored as they are.
class DMA_DEMOD_EXPORT lib_fir_design_response_parameter_t
{
public:
    /// Brings the frequencies into their range; defaults are not restored. @return true
    bool init();

    bool set_response_type(lib_fir_response_type_t type);
    lib_fir_response_type_t get_response_type() const { return response_type_; }
    bool set_first_cutoff_frequency(double value);
    double get_first_cutoff_frequency() const { return first_cutoff_.value; }
    bool set_second_cutoff_frequency(double value);
    double get_second_cutoff_frequency() const { return second_cutoff_.value; }
    bool set_first_edge_start_frequency(double value);
    double get_first_edge_start_frequency() const { return first_edge_start_.value; }
    bool set_first_edge_stop_frequency(double value);
    double get_first_edge_stop_frequency() const { return first_edge_stop_.value; }
    bool set_second_edge_start_frequency(double value);
    double get_second_edge_start_frequency() const { return second_edge_start_.value; }
    bool set_second_edge_stop_frequency(double value);
    double get_second_edge_stop_frequency() const { return second_edge_stop_.value; }
    bool set_first_Amplitude(double value);
    double get_first_Amplitude() const { return first_amplitude_; }
    bool set_second_Amplitude(double value);
    double get_second_Amplitude() const { return second_amplitude_; }
    bool set_third_Amplitude(double value);
    double get_third_Amplitude() const { return third_amplitude_; }

private:
    /// A frequency with its limits, which no setter changes.
    struct frequency_t
    {
        double value;
        double minimum = 0.0;
        double maximum = 1.0;

        void set(double wanted);
    };

    lib_fir_response_type_t response_type_ = LIB_FIR_RESPONSE_LOWPASS;
    frequency_t first_cutoff_ = { 0.45 };
    frequency_t second_cutoff_ = { 0.55 };
    frequency_t first_edge_start_ = { 0.2 };
    frequency_t first_edge_stop_ = { 0.3 };
    frequency_t second_edge_start_ = { 0.4 };
    frequency_t second_edge_stop_ = { 0.5 };
    double first_amplitude_ = 1.0;
    double second_amplitude_ = 80.0;
    double third_amplitude_ = 1.0;
};

/// Order of a filter: fixed, or the least one that meets the amplitudes.
class DMA_DEMOD_EXPORT lib_fir_design_order_parameter_t
{
public:
    /// Brings the order into its range; defaults are not restored. @return true
    bool init();

    /// Turning it off clamps the order. @return true
    bool set_minimum_order_enable(bool value);
    bool is_minimum_order_enable() const { return minimum_order_enable_; }
    /// @param value  clamped to [2, 19999999]. @return true
    bool set_filter_order(std::uint32_t value);
    std::uint32_t get_filter_order() const { return filter_order_; }
    /// @return the order plus one, the count of taps
    std::uint32_t get_filter_response_length() const { return filter_response_length_; }
    std::uint32_t get_filter_length() const { return filter_length_; }

private:
    bool minimum_order_enable_ = false;
    std::uint32_t filter_order_ = 20;
    std::uint32_t filter_response_length_ = 21;
    std::uint32_t filter_length_ = 21;
};

/// Weights of the bands. Above 2000 gives 2000; 0, less, and not-a-number give 1.
class DMA_DEMOD_EXPORT lib_fir_design_weight_parameter_t
{
public:
    /// Applies the setters' rule to the stored values; defaults are not restored. @return true
    bool init();

    bool set_first_band_weight(double value);
    double get_first_band_weight() const { return first_band_weight_; }
    bool set_second_band_weight(double value);
    double get_second_band_weight() const { return second_band_weight_; }
    bool set_third_band_weight(double value);
    double get_third_band_weight() const { return third_band_weight_; }

private:
    double first_band_weight_ = 1.0;
    double second_band_weight_ = 1.0;
    double third_band_weight_ = 1.0;
};

/// Window of a filter with the parameters of those windows that have one. Not-a-number becomes the lower limit.
class DMA_DEMOD_EXPORT lib_fir_design_window_parameter_t
{
public:
    /// Brings each parameter into its own range, without the setters' effect on each other; defaults are not restored.
    /// @return true
    bool init();

    /// Stores the type and applies the setter's rule to the parameter of that window. @return true
    bool set_window_type(lib_window_type_t type);
    lib_window_type_t get_window_type() const { return window_type_; }
    bool set_passband_gain_normalize_enable(bool value);
    bool is_passband_gain_normalize_enable() const { return passband_gain_normalize_enable_; }
    /// @param value  beta, clamped to [-700, 700]
    bool set_kaiser_window_shaping_factor(double value);
    double get_kaiser_window_shaping_factor() const { return kaiser_window_shaping_factor_; }
    /// @param value  dB; above 2000 stores 20000, negative stores 0
    bool set_chebyshev_window_sidelobe_attenuation(double value);
    double get_chebyshev_window_sidelobe_attenuation() const { return chebyshev_window_sidelobe_attenuation_; }
    /// @param value  reciprocal of the standard deviation in half lengths; negative stores 0. Pulls the Chebyshev
    ///               attenuation down to 30 dB if it is above that.
    bool set_guassian_window_width_factor(double value);
    double get_guassian_window_width_factor() const { return guassian_window_width_factor_; }
    /// @param value  at most 400
    bool set_taylor_window_n_bar(std::uint32_t value);
    std::uint32_t get_taylor_window_n_bar() const { return taylor_window_n_bar_; }
    /// @param value  dB; negative stores 0
    bool set_taylor_sidelobe_attenuation(double value);
    double get_taylor_sidelobe_attenuation() const { return taylor_sidelobe_attenuation_; }
    /// @param value  clamped to [-1000, 1000]
    bool set_tukey_window_cosine_fraction(double value);
    double get_tukey_window_cosine_fraction() const { return tukey_window_cosine_fraction_; }
    /// Stored only; no design reads it.
    bool set_window_data(const float_array& data);
    const float_array& get_window_data() const { return window_data_; }

private:
    lib_window_type_t window_type_ = LIB_WINDOW_KAISER;
    bool passband_gain_normalize_enable_ = true;
    double kaiser_window_shaping_factor_ = 7.83;
    double chebyshev_window_sidelobe_attenuation_ = 100.0;
    double guassian_window_width_factor_ = 2.5;
    std::uint32_t taylor_window_n_bar_ = 4;
    double taylor_sidelobe_attenuation_ = 30.0;
    double tukey_window_cosine_fraction_ = 0.5;
    float_array window_data_;
};

/// Grid of the equiripple method.
class DMA_DEMOD_EXPORT lib_fir_design_equiripple_parameter_t
{
public:
    /// Brings the density into its range; the default is not restored. @return true
    bool init();

    /// @param value  grid points per extremal frequency, clamped to [16, 200000]. @return true
    bool set_density_factor(std::uint32_t value);
    std::uint32_t get_density_factor() const { return density_factor_; }

private:
    std::uint32_t density_factor_ = 20;
};

/// Description of one FIR filter, read by `lib_fir_designer_t`.
///
/// Each setter keeps the description legal: values are clamped, and a change of method, response or window revalidates what
/// depends on it. Normalised frequencies are relative to half the sample rate. Amplitudes are gains, and ripple and attenuation
/// in dB in a minimum-order design. Highpass and Bandstop take even orders; two flags of the process remember a raised order (see
/// `set_fir_filter_order`), so orders should be set from one thread at a time.
class DMA_DEMOD_EXPORT lib_fir_design_parameter_t : public common_lib::cfg_protocol_base_t
{
public:
    lib_fir_design_parameter_t();
    lib_fir_design_parameter_t(const lib_fir_design_parameter_t&);
    lib_fir_design_parameter_t& operator=(const lib_fir_design_parameter_t&);
    ~lib_fir_design_parameter_t() override;

    /// Appends the attribute "ProtocolType" and the elements of the description to `node`; the window data are not kept. A
    /// document in the place of an element takes the elements without the attribute.
    /// @return false, logged, for a node that can hold no elements, the null node among them
    /// @throws std::out_of_range for an enumerator that has no text; elements appended before it stay
    bool save_setting(pugi::xml_node& node) override;
    /// Reads the description from `node`, element by element, through the setters' rules. What is absent reads as 0, false
    /// or the first enumerator; frequency unit, fs and the raw frequencies are read only where they are there. A raw frequency
    /// wins over the normalised one. Of elements of one name the first counts. The attribute is not looked at.
    /// @return false when reading ended early, logged
    bool recall_setting(const pugi::xml_node& node) override;
    /// Restores the raw frequencies, the frequency unit and fs; all else stays. @return true
    bool init() override;

    /// For the host to interpret; stored only.
    bool set_frequency_unit(std::uint32_t value);
    std::uint32_t get_frequency_unit() const { return frequency_unit_; }
    /// @param value  Hz
    bool set_fs(double value);
    double get_fs() const { return fs_; }

    /// Stores the method, then revalidates what it uses. A minimum-order design gets the amplitudes of its response:
    /// Lowpass 1 and 80, Highpass 80 and 1, Bandpass 60, 1 and 80, Bandstop 0.5, 60 and 1 dB. @return true
    bool set_fir_design_method(lib_fir_design_method_t method);
    lib_fir_design_method_t get_fir_design_method() const { return design_method_; }
    /// Stores the type, then revalidates as `set_fir_design_method` and makes the order even where the type asks for it.
    /// @return true
    bool set_fir_response_type(lib_fir_response_type_t type);
    lib_fir_response_type_t get_fir_response_type() const { return response_.get_response_type(); }

    // Frequencies relative to half the sample rate, clamped to [0, 1]
    bool set_first_cutoff_frequency(double value) { return response_.set_first_cutoff_frequency(value); }
    double get_first_cutoff_frequency() const { return response_.get_first_cutoff_frequency(); }
    bool set_second_cutoff_frequency(double value) { return response_.set_second_cutoff_frequency(value); }
    double get_second_cutoff_frequency() const { return response_.get_second_cutoff_frequency(); }
    bool set_first_edge_start_frequency(double value) { return response_.set_first_edge_start_frequency(value); }
    double get_first_edge_start_frequency() const { return response_.get_first_edge_start_frequency(); }
    bool set_first_edge_stop_frequency(double value) { return response_.set_first_edge_stop_frequency(value); }
    double get_first_edge_stop_frequency() const { return response_.get_first_edge_stop_frequency(); }
    bool set_second_edge_start_frequency(double value) { return response_.set_second_edge_start_frequency(value); }
    double get_second_edge_start_frequency() const { return response_.get_second_edge_start_frequency(); }
    bool set_second_edge_stop_frequency(double value) { return response_.set_second_edge_stop_frequency(value); }
    double get_second_edge_stop_frequency() const { return response_.get_second_edge_stop_frequency(); }

    // The same in Hz: `value` is kept as it is, value / (fs / 2) becomes the normalised frequency with its clamp
    bool set_first_cutoff_frequency_no_nomalize(double value, double fs);
    double get_first_cutoff_frequency_no_nomalize() const { return first_cutoff_no_nomalize_; }
    bool set_second_cutoff_frequency_no_nomalize(double value, double fs);
    double get_second_cutoff_frequency_no_nomalize() const { return second_cutoff_no_nomalize_; }
    bool set_first_edge_start_frequency_no_nomalize(double value, double fs);
    double get_first_edge_start_frequency_no_nomalize() const { return first_edge_start_no_nomalize_; }
    bool set_first_edge_stop_frequency_no_nomalize(double value, double fs);
    double get_first_edge_stop_frequency_no_nomalize() const { return first_edge_stop_no_nomalize_; }
    bool set_second_edge_start_frequency_no_nomalize(double value, double fs);
    double get_second_edge_start_frequency_no_nomalize() const { return second_edge_start_no_nomalize_; }
    bool set_second_edge_stop_frequency_no_nomalize(double value, double fs);
    double get_second_edge_stop_frequency_no_nomalize() const { return second_edge_stop_no_nomalize_; }

    bool set_first_Amplitude(double value) { return response_.set_first_Amplitude(value); }
    double get_first_Amplitude() const { return response_.get_first_Amplitude(); }
    bool set_second_Amplitude(double value) { return response_.set_second_Amplitude(value); }
    double get_second_Amplitude() const { return response_.get_second_Amplitude(); }
    bool set_third_Amplitude(double value) { return response_.set_third_Amplitude(value); }
    double get_third_Amplitude() const { return response_.get_third_Amplitude(); }

    /// Turning it off clamps the order. @return true
    bool set_fir_minimum_order_enable(bool value) { return order_.set_minimum_order_enable(value); }
    bool is_fir_mimimum_order_enable() const { return order_.is_minimum_order_enable(); }
    /// Clamps to [2, 19999999]. Highpass and Bandstop raise an odd order by one, remembered process-wide; the next order of
    /// another response is then taken one lower than asked, once. @return true
    bool set_fir_filter_order(std::uint32_t value);
    std::uint32_t get_fir_filter_order() const { return order_.get_filter_order(); }

    bool set_first_band_weight(double value) { return weight_.set_first_band_weight(value); }
    double get_first_band_weight() const { return weight_.get_first_band_weight(); }
    bool set_second_band_weight(double value) { return weight_.set_second_band_weight(value); }
    double get_second_band_weight() const { return weight_.get_second_band_weight(); }
    bool set_third_band_weight(double value) { return weight_.set_third_band_weight(value); }
    double get_third_band_weight() const { return weight_.get_third_band_weight(); }

    /// Every window but Kaiser clears minimum order enable and clamps the order. @return true
    bool set_window_type(lib_window_type_t type);
    lib_window_type_t get_window_type() const { return window_.get_window_type(); }
    bool set_passband_gain_normalize_enable(bool value) { return window_.set_passband_gain_normalize_enable(value); }
    bool is_passband_gain_normalize_enable() const { return window_.is_passband_gain_normalize_enable(); }
    // Parameters of windows, see lib_fir_design_window_parameter_t
    bool set_kaiser_window_shaping_factor(double value) { return window_.set_kaiser_window_shaping_factor(value); }
    double get_kaiser_window_shaping_factor() const { return window_.get_kaiser_window_shaping_factor(); }
    bool set_chebyshev_window_sidelobe_attenuation(double value)
    {
        return window_.set_chebyshev_window_sidelobe_attenuation(value);
    }
    double get_chebyshev_window_sidelobe_attenuation() const { return window_.get_chebyshev_window_sidelobe_attenuation(); }
    bool set_guassian_window_width_factor(double value) { return window_.set_guassian_window_width_factor(value); }
    double get_guassian_window_width_factor() const { return window_.get_guassian_window_width_factor(); }
    bool set_taylor_window_n_bar(std::uint32_t value) { return window_.set_taylor_window_n_bar(value); }
    std::uint32_t get_taylor_window_n_bar() const { return window_.get_taylor_window_n_bar(); }
    bool set_taylor_sidelobe_attenuation(double value) { return window_.set_taylor_sidelobe_attenuation(value); }
    double get_taylor_sidelobe_attenuation() const { return window_.get_taylor_sidelobe_attenuation(); }
    bool set_tukey_window_cosine_fraction(double value) { return window_.set_tukey_window_cosine_fraction(value); }
    double get_tukey_window_cosine_fraction() const { return window_.get_tukey_window_cosine_fraction(); }
    bool set_window_data(const float_array& data) { return window_.set_window_data(data); }
    const float_array& get_window_data() const { return window_.get_window_data(); }

    bool set_density_factor(std::uint32_t value) { return equiripple_.set_density_factor(value); }
    std::uint32_t get_density_factor() const { return equiripple_.get_density_factor(); }

    /// @return true for the window method with the Kaiser window; else whether the first transition has no width
    bool is_full_band_response_given() const;
    /// @param[out] weights  of the bands in use; empty, with true, for the window method and for minimum order
    /// @return whether the differences from the first weight sum up to 0. The sum decides: 2, 1, 3 count as constant.
    bool is_weight_constant(double_array& weights) const;

    const lib_fir_design_window_parameter_t& get_window_parameter() const { return window_; }
    /// Direct access to the order block, past the rule of even orders and the flags of the process.
    lib_fir_design_order_parameter_t& get_order_parameter() { return order_; }
    const lib_fir_design_order_parameter_t& get_order_parameter() const { return order_; }

private:
    void _revalidate();
    void _revalidate_window_method();
    void _revalidate_equiripple();
    void _revalidate_least_square();
    void _deal_minimum_order_amplitudes();
    void _deal_even_order(std::uint32_t value);

    lib_fir_design_method_t design_method_ = LIB_FIR_METHOD_WINDOW;
    // Hz
    double first_edge_start_no_nomalize_ = 7200.0;
    double first_edge_stop_no_nomalize_ = 9600.0;
    double second_edge_start_no_nomalize_ = 12000.0;
    double second_edge_stop_no_nomalize_ = 14400.0;
    double first_cutoff_no_nomalize_ = 8400.0;
    double second_cutoff_no_nomalize_ = 13200.0;
    std::uint32_t frequency_unit_ = 0;
    double fs_ = 48000.0;
    lib_fir_design_response_parameter_t response_;
    lib_fir_design_order_parameter_t order_;
    lib_fir_design_weight_parameter_t weight_;
    lib_fir_design_window_parameter_t window_;
    lib_fir_design_equiripple_parameter_t equiripple_;
};
} // namespace vrim::fir_filter_lib
