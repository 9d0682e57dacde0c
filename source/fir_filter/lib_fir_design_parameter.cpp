#include "fir_filter/lib_fir_design_parameter.h"

#include <atomic>
#include <cmath>

namespace vrim::fir_filter_lib
{
namespace
{
constexpr std::uint32_t min_order = 2;
constexpr std::uint32_t max_order = 19'999'999;
constexpr double max_weight = 2000.0;
constexpr double default_weight = 1.0;
constexpr double max_kaiser_factor = 700.0;
// What lies above the limit of the Chebyshev attenuation becomes ten times the limit; saved descriptions hold that value.
constexpr double max_chebyshev_attenuation = 2000.0;
constexpr double excess_chebyshev_attenuation = 20000.0;
constexpr double chebyshev_attenuation_beside_gaussian = 30.0;
constexpr std::uint32_t max_taylor_n_bar = 400;
constexpr double max_tukey_fraction = 1000.0;
constexpr std::uint32_t min_density = 16;
constexpr std::uint32_t max_density = 200'000;

// The last order was raised to even; the next one of a response that takes odd orders is lowered again. Atomic so that threads
// do no more than disturb each other's rounding.
std::atomic<bool> order_raised = false;
// The last order was set for a response that takes odd orders. No rule asks for it so far.
std::atomic<bool> order_of_any_parity = false;

/// The nearest value of [low, high]; not-a-number gives `low`.
double limit(double value, double low, double high)
{
    if (!(value > low))
        return low;
    return value > high ? high : value;
}

/// Values below 0 and not-a-number give 0.
double limit_below(double value)
{
    return value > 0.0 ? value : 0.0;
}

std::uint32_t limit(std::uint32_t value, std::uint32_t low, std::uint32_t high)
{
    if (value < low)
        return low;
    return value > high ? high : value;
}

double cal_weight(double value)
{
    if (value > max_weight)
        return max_weight;
    return value > 0.0 ? value : default_weight;
}

double cal_chebyshev_attenuation(double value)
{
    return value > max_chebyshev_attenuation ? excess_chebyshev_attenuation : limit_below(value);
}

bool takes_even_orders(lib_fir_response_type_t type)
{
    return type == LIB_FIR_RESPONSE_HIGHPASS || type == LIB_FIR_RESPONSE_BANDSTOP;
}

std::uint32_t cal_band_count(lib_fir_response_type_t type)
{
    switch (type)
    {
    case LIB_FIR_RESPONSE_LOWPASS:
    case LIB_FIR_RESPONSE_HIGHPASS:
        return 2;
    case LIB_FIR_RESPONSE_BANDPASS:
    case LIB_FIR_RESPONSE_BANDSTOP:
        return 3;
    case LIB_FIR_RESPONSE_SHAPING:
        break;
    }
    return 0;
}
} // namespace

void lib_fir_design_response_parameter_t::frequency_t::set(double wanted)
{
    value = limit(wanted, minimum, maximum);
}

bool lib_fir_design_response_parameter_t::init()
{
    for (frequency_t* frequency :
         { &first_cutoff_, &second_cutoff_, &first_edge_start_, &first_edge_stop_, &second_edge_start_, &second_edge_stop_ })
        frequency->set(frequency->value);
    return true;
}

bool lib_fir_design_response_parameter_t::set_response_type(lib_fir_response_type_t type)
{
    response_type_ = type;
    return true;
}

bool lib_fir_design_response_parameter_t::set_first_cutoff_frequency(double value)
{
    first_cutoff_.set(value);
    return true;
}

bool lib_fir_design_response_parameter_t::set_second_cutoff_frequency(double value)
{
    second_cutoff_.set(value);
    return true;
}

bool lib_fir_design_response_parameter_t::set_first_edge_start_frequency(double value)
{
    first_edge_start_.set(value);
    return true;
}

bool lib_fir_design_response_parameter_t::set_first_edge_stop_frequency(double value)
{
    first_edge_stop_.set(value);
    return true;
}

bool lib_fir_design_response_parameter_t::set_second_edge_start_frequency(double value)
{
    second_edge_start_.set(value);
    return true;
}

bool lib_fir_design_response_parameter_t::set_second_edge_stop_frequency(double value)
{
    second_edge_stop_.set(value);
    return true;
}

bool lib_fir_design_response_parameter_t::set_first_Amplitude(double value)
{
    first_amplitude_ = value;
    return true;
}

bool lib_fir_design_response_parameter_t::set_second_Amplitude(double value)
{
    second_amplitude_ = value;
    return true;
}

bool lib_fir_design_response_parameter_t::set_third_Amplitude(double value)
{
    third_amplitude_ = value;
    return true;
}

bool lib_fir_design_order_parameter_t::init()
{
    return set_filter_order(filter_order_);
}

bool lib_fir_design_order_parameter_t::set_minimum_order_enable(bool value)
{
    minimum_order_enable_ = value;
    if (!value)
        set_filter_order(filter_order_);
    return true;
}

bool lib_fir_design_order_parameter_t::set_filter_order(std::uint32_t value)
{
    filter_order_ = limit(value, min_order, max_order);
    filter_response_length_ = filter_order_ + 1;
    filter_length_ = filter_order_ + 1;
    return true;
}

bool lib_fir_design_weight_parameter_t::init()
{
    return set_first_band_weight(first_band_weight_) && set_second_band_weight(second_band_weight_) &&
           set_third_band_weight(third_band_weight_);
}

bool lib_fir_design_weight_parameter_t::set_first_band_weight(double value)
{
    first_band_weight_ = cal_weight(value);
    return true;
}

bool lib_fir_design_weight_parameter_t::set_second_band_weight(double value)
{
    second_band_weight_ = cal_weight(value);
    return true;
}

bool lib_fir_design_weight_parameter_t::set_third_band_weight(double value)
{
    third_band_weight_ = cal_weight(value);
    return true;
}

bool lib_fir_design_window_parameter_t::init()
{
    set_kaiser_window_shaping_factor(kaiser_window_shaping_factor_);
    set_chebyshev_window_sidelobe_attenuation(chebyshev_window_sidelobe_attenuation_);
    // Not by its setter, which would take the Chebyshev attenuation along.
    guassian_window_width_factor_ = limit_below(guassian_window_width_factor_);
    set_taylor_window_n_bar(taylor_window_n_bar_);
    set_taylor_sidelobe_attenuation(taylor_sidelobe_attenuation_);
    set_tukey_window_cosine_fraction(tukey_window_cosine_fraction_);
    return true;
}

bool lib_fir_design_window_parameter_t::set_window_type(lib_window_type_t type)
{
    window_type_ = type;
    switch (type)
    {
    case LIB_WINDOW_CHEBYSHEV:
        return set_chebyshev_window_sidelobe_attenuation(chebyshev_window_sidelobe_attenuation_);
    case LIB_WINDOW_GAUSSIAN:
        return set_guassian_window_width_factor(guassian_window_width_factor_);
    case LIB_WINDOW_KAISER:
        return set_kaiser_window_shaping_factor(kaiser_window_shaping_factor_);
    case LIB_WINDOW_TAYLOR:
        return set_taylor_window_n_bar(taylor_window_n_bar_) && set_taylor_sidelobe_attenuation(taylor_sidelobe_attenuation_);
    case LIB_WINDOW_TUKEY:
        return set_tukey_window_cosine_fraction(tukey_window_cosine_fraction_);
    default:
        return true;
    }
}

bool lib_fir_design_window_parameter_t::set_passband_gain_normalize_enable(bool value)
{
    passband_gain_normalize_enable_ = value;
    return true;
}

bool lib_fir_design_window_parameter_t::set_kaiser_window_shaping_factor(double value)
{
    kaiser_window_shaping_factor_ = limit(value, -max_kaiser_factor, max_kaiser_factor);
    return true;
}

bool lib_fir_design_window_parameter_t::set_chebyshev_window_sidelobe_attenuation(double value)
{
    chebyshev_window_sidelobe_attenuation_ = cal_chebyshev_attenuation(value);
    return true;
}

bool lib_fir_design_window_parameter_t::set_guassian_window_width_factor(double value)
{
    guassian_window_width_factor_ = limit_below(value);
    // The two windows share this rule since the first descriptions; hosts that set a width count on the attenuation.
    if (chebyshev_window_sidelobe_attenuation_ > chebyshev_attenuation_beside_gaussian)
        chebyshev_window_sidelobe_attenuation_ = chebyshev_attenuation_beside_gaussian;
    return true;
}

bool lib_fir_design_window_parameter_t::set_taylor_window_n_bar(std::uint32_t value)
{
    taylor_window_n_bar_ = limit(value, 0u, max_taylor_n_bar);
    return true;
}

bool lib_fir_design_window_parameter_t::set_taylor_sidelobe_attenuation(double value)
{
    taylor_sidelobe_attenuation_ = limit_below(value);
    return true;
}

bool lib_fir_design_window_parameter_t::set_tukey_window_cosine_fraction(double value)
{
    tukey_window_cosine_fraction_ = limit(value, -max_tukey_fraction, max_tukey_fraction);
    return true;
}

bool lib_fir_design_window_parameter_t::set_window_data(const float_array& data)
{
    window_data_ = data;
    return true;
}

bool lib_fir_design_equiripple_parameter_t::init()
{
    return set_density_factor(density_factor_);
}

bool lib_fir_design_equiripple_parameter_t::set_density_factor(std::uint32_t value)
{
    density_factor_ = limit(value, min_density, max_density);
    return true;
}

lib_fir_design_parameter_t::lib_fir_design_parameter_t() = default;
lib_fir_design_parameter_t::lib_fir_design_parameter_t(const lib_fir_design_parameter_t&) = default;
lib_fir_design_parameter_t& lib_fir_design_parameter_t::operator=(const lib_fir_design_parameter_t&) = default;
lib_fir_design_parameter_t::~lib_fir_design_parameter_t() = default;

bool lib_fir_design_parameter_t::init()
{
    const lib_fir_design_parameter_t fresh; // the defaults stand beside the members
    first_edge_start_no_nomalize_ = fresh.first_edge_start_no_nomalize_;
    first_edge_stop_no_nomalize_ = fresh.first_edge_stop_no_nomalize_;
    second_edge_start_no_nomalize_ = fresh.second_edge_start_no_nomalize_;
    second_edge_stop_no_nomalize_ = fresh.second_edge_stop_no_nomalize_;
    first_cutoff_no_nomalize_ = fresh.first_cutoff_no_nomalize_;
    second_cutoff_no_nomalize_ = fresh.second_cutoff_no_nomalize_;
    frequency_unit_ = fresh.frequency_unit_;
    fs_ = fresh.fs_;
    return true;
}

bool lib_fir_design_parameter_t::set_frequency_unit(std::uint32_t value)
{
    frequency_unit_ = value;
    return true;
}

bool lib_fir_design_parameter_t::set_fs(double value)
{
    fs_ = value;
    return true;
}

bool lib_fir_design_parameter_t::set_fir_design_method(lib_fir_design_method_t method)
{
    design_method_ = method;
    _revalidate();
    return true;
}

bool lib_fir_design_parameter_t::set_fir_response_type(lib_fir_response_type_t type)
{
    response_.set_response_type(type);
    _revalidate();
    _deal_even_order(order_.get_filter_order());
    return true;
}

void lib_fir_design_parameter_t::_revalidate()
{
    switch (design_method_)
    {
    case LIB_FIR_METHOD_WINDOW:
        _revalidate_window_method();
        break;
    case LIB_FIR_METHOD_EQUIRIPPLE:
        _revalidate_equiripple();
        break;
    case LIB_FIR_METHOD_LEAST_SQUARE:
        _revalidate_least_square();
        break;
    }
    // All of them, in use or not: each one has its own range.
    response_.init();
}

void lib_fir_design_parameter_t::_revalidate_window_method()
{
    set_window_type(window_.get_window_type());
    if (order_.is_minimum_order_enable())
        _deal_minimum_order_amplitudes();
    else
        order_.init();
}

void lib_fir_design_parameter_t::_revalidate_equiripple()
{
    equiripple_.init();
    if (order_.is_minimum_order_enable())
    {
        _deal_minimum_order_amplitudes();
        return;
    }
    order_.init();
    weight_.init();
}

void lib_fir_design_parameter_t::_revalidate_least_square()
{
    order_.set_minimum_order_enable(false);
    weight_.init();
}

/// Passbands get their ripple, stopbands their attenuation, in dB.
void lib_fir_design_parameter_t::_deal_minimum_order_amplitudes()
{
    switch (response_.get_response_type())
    {
    case LIB_FIR_RESPONSE_LOWPASS:
        response_.set_first_Amplitude(1.0);
        response_.set_second_Amplitude(80.0);
        break;
    case LIB_FIR_RESPONSE_HIGHPASS:
        response_.set_first_Amplitude(80.0);
        response_.set_second_Amplitude(1.0);
        break;
    case LIB_FIR_RESPONSE_BANDPASS:
        response_.set_first_Amplitude(60.0);
        response_.set_second_Amplitude(1.0);
        response_.set_third_Amplitude(80.0);
        break;
    case LIB_FIR_RESPONSE_BANDSTOP:
        response_.set_first_Amplitude(0.5);
        response_.set_second_Amplitude(60.0);
        response_.set_third_Amplitude(1.0);
        break;
    case LIB_FIR_RESPONSE_SHAPING:
        break;
    }
}

bool lib_fir_design_parameter_t::set_first_cutoff_frequency_no_nomalize(double value, double fs)
{
    first_cutoff_no_nomalize_ = value;
    return response_.set_first_cutoff_frequency(value / (fs * 0.5));
}

bool lib_fir_design_parameter_t::set_second_cutoff_frequency_no_nomalize(double value, double fs)
{
    second_cutoff_no_nomalize_ = value;
    return response_.set_second_cutoff_frequency(value / (fs * 0.5));
}

bool lib_fir_design_parameter_t::set_first_edge_start_frequency_no_nomalize(double value, double fs)
{
    first_edge_start_no_nomalize_ = value;
    return response_.set_first_edge_start_frequency(value / (fs * 0.5));
}

bool lib_fir_design_parameter_t::set_first_edge_stop_frequency_no_nomalize(double value, double fs)
{
    first_edge_stop_no_nomalize_ = value;
    return response_.set_first_edge_stop_frequency(value / (fs * 0.5));
}

bool lib_fir_design_parameter_t::set_second_edge_start_frequency_no_nomalize(double value, double fs)
{
    second_edge_start_no_nomalize_ = value;
    return response_.set_second_edge_start_frequency(value / (fs * 0.5));
}

bool lib_fir_design_parameter_t::set_second_edge_stop_frequency_no_nomalize(double value, double fs)
{
    second_edge_stop_no_nomalize_ = value;
    return response_.set_second_edge_stop_frequency(value / (fs * 0.5));
}

bool lib_fir_design_parameter_t::set_fir_filter_order(std::uint32_t value)
{
    order_.set_filter_order(value);
    _deal_even_order(value);
    return true;
}

/// A symmetric filter of odd order has a zero at the Nyquist frequency, where Highpass and Bandstop pass.
/// @param value  order as asked for, which may lie outside the range
void lib_fir_design_parameter_t::_deal_even_order(std::uint32_t value)
{
    if (takes_even_orders(response_.get_response_type()))
    {
        const bool odd = value % 2 != 0;
        order_raised.store(odd, std::memory_order_relaxed);
        if (odd)
        {
            order_.set_filter_order(value < max_order ? value + 1 : max_order);
            order_of_any_parity.store(false, std::memory_order_relaxed);
        }
        return;
    }
    order_of_any_parity.store(true, std::memory_order_relaxed);
    if (order_raised.exchange(false, std::memory_order_relaxed))
        order_.set_filter_order(value > min_order ? value - 1 : min_order);
}

bool lib_fir_design_parameter_t::set_window_type(lib_window_type_t type)
{
    window_.set_window_type(type);
    // Only the Kaiser window has an estimate of the order.
    if (type != LIB_WINDOW_KAISER)
        order_.set_minimum_order_enable(false);
    return true;
}

bool lib_fir_design_parameter_t::is_full_band_response_given() const
{
    if (design_method_ == LIB_FIR_METHOD_WINDOW && window_.get_window_type() == LIB_WINDOW_KAISER)
        return true;
    if (cal_band_count(response_.get_response_type()) == 0)
        return false;
    // The first transition alone decides, also where there is a second one.
    return response_.get_first_edge_stop_frequency() - response_.get_first_edge_start_frequency() == 0.0;
}

bool lib_fir_design_parameter_t::is_weight_constant(double_array& weights) const
{
    weights.clear();
    if (design_method_ == LIB_FIR_METHOD_WINDOW || order_.is_minimum_order_enable())
        return true;
    weights = { std::abs(weight_.get_first_band_weight()), std::abs(weight_.get_second_band_weight()),
                std::abs(weight_.get_third_band_weight()) };
    weights.resize(cal_band_count(response_.get_response_type()));
    // The sum of the differences decides, not each one: 2, 1, 3 is constant.
    double sum = 0.0;
    for (const double weight : weights)
        sum += weight - weights.front();
    return sum == 0.0;
}
} // namespace vrim::fir_filter_lib
