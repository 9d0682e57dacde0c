#include "filter_command.h"
#include "filter_description.h"
#include "json_number.h"

namespace dmatool
{
using namespace vrim::fir_filter_lib;

namespace
{
json_t make_window(const filter_design_t& design)
{
    const lib_fir_design_parameter_t& parameter = design.parameter;
    json_t out;
    out["type"] = get_window_name(parameter.get_window_type());
    switch (parameter.get_window_type())
    {
    case LIB_WINDOW_KAISER:
        out["beta"] = to_number(design.beta);
        break;
    case LIB_WINDOW_CHEBYSHEV:
        out["sidelobe_db"] = to_number(parameter.get_chebyshev_window_sidelobe_attenuation());
        break;
    case LIB_WINDOW_GAUSSIAN:
        out["width_factor"] = to_number(parameter.get_guassian_window_width_factor());
        break;
    case LIB_WINDOW_TAYLOR:
        out["n_bar"] = parameter.get_taylor_window_n_bar();
        out["sidelobe_db"] = to_number(parameter.get_taylor_sidelobe_attenuation());
        break;
    case LIB_WINDOW_TUKEY:
        out["fraction"] = to_number(parameter.get_tukey_window_cosine_fraction());
        break;
    default:
        break;
    }
    out["normalize"] = parameter.is_passband_gain_normalize_enable();
    return out;
}

json_t make_frequencies(const filter_design_t& design, const std::vector<double>& frequencies)
{
    json_t list = json_t::array();
    for (const double frequency : frequencies)
    {
        list.push_back(get_user_frequency(design, frequency));
    }
    return list;
}

/// Null is what was not asked for or not measured.
json_t make_band(const filter_design_t& design, const filter_band_t& band)
{
    const auto to_figure = [&band](double value) { return band.flat ? to_number(value) : json_t(nullptr); };
    json_t out;
    out["kind"] = band.passes ? "pass" : "stop";
    out["start"] = get_user_frequency(design, band.start);
    out["stop"] = get_user_frequency(design, band.stop);
    out["weight"] = band.weight ? to_number(*band.weight) : json_t(nullptr);
    out["asked_db"] = band.decibel ? to_number(*band.decibel) : json_t(nullptr);
    out["met"] = band.decibel ? json_t(!band.missed) : json_t(nullptr);
    if (band.passes)
    {
        out["ripple_db"] = to_figure(band.ripple);
        out["deviation_db"] = to_figure(band.deviation);
        out["gain_db"] = to_figure(band.gain);
        out["gain_at"] = to_figure(get_user_frequency(design, band.gain_at));
    }
    else
    {
        out["attenuation_db"] = to_figure(band.attenuation);
        out["attenuation_at"] = to_figure(get_user_frequency(design, band.attenuation_at));
    }
    return out;
}
} // namespace

std::string make_filter_json_report(const filter_design_t& design)
{
    const lib_fir_design_parameter_t& parameter = design.parameter;
    const bool window = parameter.get_fir_design_method() == LIB_FIR_METHOD_WINDOW;
    const bool equiripple = parameter.get_fir_design_method() == LIB_FIR_METHOD_EQUIRIPPLE;
    json_t out;
    out["method"] = get_method_name(parameter.get_fir_design_method());
    out["response"] = get_response_name(parameter.get_fir_response_type());
    out["order"] = design.taps.size() - 1;
    out["minimum_order"] = parameter.is_fir_mimimum_order_enable();
    out["tap_count"] = design.taps.size();
    out["frequency_unit"] = is_relative(design) ? "nyquist" : "Hz";
    out["sample_rate"] = is_relative(design) ? json_t(nullptr) : to_number(parameter.get_fs());
    out["window"] = window ? make_window(design) : json_t(nullptr);
    out["cutoff"] = window ? make_frequencies(design, design.cutoffs) : json_t(nullptr);
    out["density"] = equiripple ? json_t(parameter.get_density_factor()) : json_t(nullptr);
    out["bands_from"] = design.edges_found ? "ripples" : "edges";
    json_t bands = json_t::array();
    for (const filter_band_t& band : design.bands)
    {
        bands.push_back(make_band(design, band));
    }
    out["bands"] = bands;
    out["half_gain_at"] = make_frequencies(design, design.half_gain);
    out["symmetric"] = is_symmetric(design);
    out["asymmetry"] = to_number(design.asymmetry);
    out["group_delay"] = is_symmetric(design) ? to_number(static_cast<double>(design.taps.size() - 1) / 2.0) : json_t(nullptr);
    out["sum"] = to_number(design.sum);
    json_t taps = json_t::array();
    for (const std::complex<float>& tap : design.taps)
    {
        taps.push_back(to_number(tap.real()));
    }
    out["taps"] = taps;
    out["notes"] = design.notes;
    return out.dump(2, ' ', false, json_t::error_handler_t::replace) + "\n";
}
} // namespace dmatool
