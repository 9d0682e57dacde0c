#include "fir_filter/design_parameter_fields.h"
#include "fir_filter/lib_fir_design_parameter.h"
#include "message_capture.h"

#include <clocale>
#include <gtest/gtest.h>
#include <memory>
#include <pugixml.hpp>
#include <sstream>
#include <stdexcept>
#include <string>

namespace vrim::fir_filter_lib
{
namespace
{
using parameter_t = lib_fir_design_parameter_t;

/// What a fresh description is saved as, one element a line.
constexpr const char* default_text = R"(<fir ProtocolType="lib_fir_design_parameter">
<FrequencyUnit>0</FrequencyUnit>
<Fs>48000</Fs>
<ResponseParameters>
<Type>Lowpass</Type>
<FirstCutoff>0.45000000000000001</FirstCutoff>
<SecondCutoff>0.55000000000000004</SecondCutoff>
<FirstEdgeStart>0.20000000000000001</FirstEdgeStart>
<FirstEdgeStop>0.29999999999999999</FirstEdgeStop>
<SecondEdgeStart>0.40000000000000002</SecondEdgeStart>
<SecondEdgeStop>0.5</SecondEdgeStop>
<FirstAmplitude>1</FirstAmplitude>
<SecondAmplitude>80</SecondAmplitude>
<ThirdAmplitude>1</ThirdAmplitude>
</ResponseParameters>
<FirstCutoffNoNormalize>
<FirstCutoffNoNormalize>8400</FirstCutoffNoNormalize>
<SecondCutoffNoNormalize>13200</SecondCutoffNoNormalize>
<FirstEdgeStartNoNormalize>7200</FirstEdgeStartNoNormalize>
<FirstEdgeStopNoNormalize>9600</FirstEdgeStopNoNormalize>
<SecondEdgeStartNoNormalize>12000</SecondEdgeStartNoNormalize>
<SecondEdgeStopNoNormalize>14400</SecondEdgeStopNoNormalize>
</FirstCutoffNoNormalize>
<OrderParameters>
<MinimumOrderEnable>false</MinimumOrderEnable>
<FilterOrder>20</FilterOrder>
</OrderParameters>
<WeightParameters>
<Band1Weight>1</Band1Weight>
<Band2Weight>1</Band2Weight>
<Band3Weight>1</Band3Weight>
</WeightParameters>
<WindowParameters>
<WindowType>Kaiser</WindowType>
<NormalizeEnable>true</NormalizeEnable>
<KaiserBeta>7.8300000000000001</KaiserBeta>
<GuassianAlpha>2.5</GuassianAlpha>
<ChebyshevAtten>100</ChebyshevAtten>
<TaylorNBAR>4</TaylorNBAR>
<TaylorSLA>30</TaylorSLA>
<TukeyFraction>0.5</TukeyFraction>
</WindowParameters>
<EquirippleParameters>
<DensityFactor>20</DensityFactor>
</EquirippleParameters>
<DesignMethod>Window</DesignMethod>
</fir>
)";

std::string save_text(parameter_t& parameters)
{
    pugi::xml_document document;
    pugi::xml_node node = document.append_child("fir");
    EXPECT_TRUE(parameters.save_setting(node));
    std::ostringstream text;
    document.save(text, "", pugi::format_indent | pugi::format_no_declaration);
    return text.str();
}

/// Reads `text`, whose root is the settings node, into `parameters`.
bool recall_text(parameter_t& parameters, const std::string& text)
{
    pugi::xml_document document;
    document.load_string(text.c_str());
    return parameters.recall_setting(document.first_child());
}

/// The default text with one text in the place of another.
std::string replace(std::string text, const std::string& from, const std::string& to)
{
    const std::size_t place = text.find(from);
    EXPECT_NE(place, std::string::npos) << from;
    return place == std::string::npos ? text : text.replace(place, from.size(), to);
}

/// Each field off its default, and raw frequencies that agree with the normalised ones.
parameter_t make_changed()
{
    parameter_t parameters = make_parameters();
    parameters.set_frequency_unit(2);
    parameters.set_fs(1e6 / 3.0);
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_BANDSTOP);
    parameters.set_fir_design_method(LIB_FIR_METHOD_EQUIRIPPLE);
    parameters.set_first_cutoff_frequency_no_nomalize(1e5 / 7.0, parameters.get_fs());
    parameters.set_second_cutoff_frequency_no_nomalize(1e5 / 6.0, parameters.get_fs());
    parameters.set_first_edge_start_frequency_no_nomalize(1e5 / 5.0, parameters.get_fs());
    parameters.set_first_edge_stop_frequency_no_nomalize(1e5 / 4.0, parameters.get_fs());
    parameters.set_second_edge_start_frequency_no_nomalize(1e5 / 3.0, parameters.get_fs());
    parameters.set_second_edge_stop_frequency_no_nomalize(1e5 / 2.0, parameters.get_fs());
    parameters.set_fir_filter_order(122);
    parameters.set_fir_minimum_order_enable(true);
    parameters.set_first_Amplitude(0.1);
    parameters.set_second_Amplitude(-61.0 / 3.0);
    parameters.set_third_Amplitude(1e-300);
    parameters.set_first_band_weight(2000);
    parameters.set_second_band_weight(1.0 / 3.0);
    parameters.set_third_band_weight(5e-324);
    parameters.set_passband_gain_normalize_enable(false);
    parameters.set_kaiser_window_shaping_factor(-0.1);
    parameters.set_guassian_window_width_factor(3.7);
    parameters.set_chebyshev_window_sidelobe_attenuation(77.7);
    parameters.set_taylor_window_n_bar(6);
    parameters.set_taylor_sidelobe_attenuation(41);
    parameters.set_tukey_window_cosine_fraction(-0.3);
    parameters.set_density_factor(777);
    return parameters;
}

TEST(FirSettingsSave, WritesElementsAndTextsInTheirOrder)
{
    parameter_t parameters;
    EXPECT_EQ(save_text(parameters), default_text);
}

TEST(FirSettingsSave, AppendsToWhatTheNodeHolds)
{
    pugi::xml_document document;
    pugi::xml_node node = document.append_child("fir");
    node.append_attribute("owner").set_value("host");
    node.append_child("Note");
    parameter_t parameters;
    EXPECT_TRUE(parameters.save_setting(node));
    EXPECT_STREQ(node.first_attribute().name(), "owner");
    EXPECT_STREQ(node.last_attribute().name(), "ProtocolType");
    EXPECT_STREQ(node.first_child().name(), "Note");
    EXPECT_STREQ(node.first_child().next_sibling().name(), "FrequencyUnit");
    EXPECT_STREQ(node.last_child().name(), "DesignMethod");
}

TEST(FirSettingsSave, RefusesANodeThatHoldsNoElements)
{
    log_capture_t log;
    parameter_t parameters;
    pugi::xml_document document;
    pugi::xml_node nowhere;
    pugi::xml_node text = document.append_child("fir").append_child(pugi::node_pcdata);
    EXPECT_FALSE(parameters.save_setting(nowhere));
    EXPECT_FALSE(parameters.save_setting(text));
    EXPECT_EQ(log.count(3, "lib_fir_design_parameter_t::save_setting:error! The node can hold no elements.\n"), 2);
}

TEST(FirSettingsSave, PutsTheElementsIntoADocumentToo)
{
    parameter_t parameters = make_changed();
    pugi::xml_document document;
    EXPECT_TRUE(parameters.save_setting(document));
    parameter_t other;
    EXPECT_TRUE(other.recall_setting(document));
    EXPECT_EQ(get_fields(other), get_fields(parameters));
}

TEST(FirSettingsSave, ThrowsForAnEnumeratorWithoutText)
{
    parameter_t method, response, window;
    method.set_fir_design_method(static_cast<lib_fir_design_method_t>(3));
    response.set_fir_response_type(static_cast<lib_fir_response_type_t>(5));
    window.set_window_type(static_cast<lib_window_type_t>(17));
    for (parameter_t* parameters : { &method, &response, &window })
    {
        pugi::xml_document document;
        pugi::xml_node node = document.append_child("fir");
        try
        {
            parameters->save_setting(node);
            ADD_FAILURE() << "saved";
        }
        catch (const std::out_of_range& error)
        {
            EXPECT_STREQ(error.what(), "map::at");
        }
    }
}

TEST(FirSettings, ComeBackWhole)
{
    parameter_t saved = make_changed();
    const design_fields_t fields = get_fields(saved);
    for (const auto& [name, value] : default_fields())
    {
        if (name == "window type") // Kaiser alone keeps minimum order
            continue;
        EXPECT_NE(fields.at(name), value) << name;
    }
    parameter_t recalled;
    EXPECT_TRUE(recall_text(recalled, save_text(saved)));
    EXPECT_EQ(get_fields(recalled), fields);
    EXPECT_EQ(save_text(recalled), save_text(saved));
}

TEST(FirSettings, BringEveryEnumeratorBackByItsText)
{
    for (std::uint32_t method = 0; method <= 2; ++method)
        for (std::uint32_t response = 0; response <= 4; ++response)
            for (std::uint32_t window = 0; window <= 16; ++window)
            {
                parameter_t saved = make_changed();
                saved.set_fir_minimum_order_enable(false);
                saved.set_fir_design_method(static_cast<lib_fir_design_method_t>(method));
                saved.set_fir_response_type(static_cast<lib_fir_response_type_t>(response));
                saved.set_window_type(static_cast<lib_window_type_t>(window));
                parameter_t recalled;
                EXPECT_TRUE(recall_text(recalled, save_text(saved)));
                EXPECT_EQ(get_fields(recalled), get_fields(saved)) << method << ' ' << response << ' ' << window;
            }
}

TEST(FirSettings, DoNotKeepTheWindowData)
{
    parameter_t parameters;
    parameters.set_window_data({ 1.0f });
    const std::string text = save_text(parameters);
    EXPECT_EQ(text, default_text);
    EXPECT_TRUE(recall_text(parameters, text));
    EXPECT_EQ(parameters.get_window_data().size(), 1u);
}

TEST(FirSettings, ChangeTheNormalisedFrequenciesOfAFreshDescription)
{
    // The raw frequencies win: 8400 of 24000 is 0.35, where a fresh description says 0.45. Meant so.
    parameter_t parameters = make_parameters();
    design_fields_t expected = default_fields();
    expected["first cutoff"] = 8400.0 / 24000.0;
    expected["second cutoff"] = 13200.0 / 24000.0;
    expected["first edge start"] = 7200.0 / 24000.0;
    expected["first edge stop"] = 9600.0 / 24000.0;
    expected["second edge start"] = 12000.0 / 24000.0;
    expected["second edge stop"] = 14400.0 / 24000.0;
    EXPECT_TRUE(recall_text(parameters, default_text));
    EXPECT_EQ(get_fields(parameters), expected);
}

TEST(FirSettings, LoseTheFractionOfTheTaylorSidelobe)
{
    parameter_t parameters = make_parameters();
    parameters.set_taylor_sidelobe_attenuation(30.75);
    const std::string text = save_text(parameters);
    EXPECT_EQ(text, replace(default_text, "<TaylorSLA>30<", "<TaylorSLA>30.75<"));
    EXPECT_TRUE(recall_text(parameters, text));
    EXPECT_EQ(parameters.get_taylor_sidelobe_attenuation(), 30.0);
}

TEST(FirSettings, KeepTheChebyshevAttenuationBesideTheGaussianWidth)
{
    parameter_t parameters;
    for (const double attenuation : { 20000.0, 2000.0, 100.0, 12.0 })
    {
        parameters.set_chebyshev_window_sidelobe_attenuation(attenuation);
        for (const char* window : { "Kaiser", "Gaussian", "Chebyshev" })
        {
            const std::string text = replace(save_text(parameters), "Kaiser<", std::string(window) + "<");
            parameter_t recalled;
            EXPECT_TRUE(recall_text(recalled, text));
            EXPECT_EQ(recalled.get_chebyshev_window_sidelobe_attenuation(), attenuation) << window;
        }
    }
}

TEST(FirSettings, LoseMinimumOrderWithAnyWindowButKaiser)
{
    const std::string enabled = replace(default_text, "<MinimumOrderEnable>false", "<MinimumOrderEnable>true");
    parameter_t parameters;
    EXPECT_TRUE(recall_text(parameters, enabled));
    EXPECT_TRUE(parameters.is_fir_mimimum_order_enable());
    for (const char* window : { "Hamming", "Rectangle", "kaiser", "" })
    {
        EXPECT_TRUE(recall_text(parameters, replace(enabled, "Kaiser<", std::string(window) + "<")));
        EXPECT_FALSE(parameters.is_fir_mimimum_order_enable()) << window;
    }
}

TEST(FirSettings, StoreTheMethodWithoutRevalidation)
{
    // A least-square description with minimum order is what no setter of the method leaves behind.
    std::string text = replace(default_text, "<DesignMethod>Window", "<DesignMethod>LeastSquare");
    text = replace(text, "<MinimumOrderEnable>false", "<MinimumOrderEnable>true");
    parameter_t parameters;
    EXPECT_TRUE(recall_text(parameters, text));
    EXPECT_EQ(parameters.get_fir_design_method(), LIB_FIR_METHOD_LEAST_SQUARE);
    EXPECT_TRUE(parameters.is_fir_mimimum_order_enable());
}

TEST(FirSettings, DoNotDependOnTheDescriptionTheyAreReadInto)
{
    parameter_t saved = make_changed();
    const std::string text = save_text(saved);
    for (std::uint32_t method = 0; method <= 2; ++method)
        for (std::uint32_t window = 0; window <= 16; ++window)
        {
            parameter_t parameters = make_parameters();
            parameters.set_fir_design_method(static_cast<lib_fir_design_method_t>(method));
            parameters.set_window_type(static_cast<lib_window_type_t>(window));
            parameters.set_fir_minimum_order_enable(true);
            EXPECT_TRUE(recall_text(parameters, text));
            EXPECT_EQ(get_fields(parameters), get_fields(saved)) << method << ' ' << window;
        }
}

TEST(FirSettings, SetTheOrderByTheRuleOfEvenOrders)
{
    const std::string odd = replace(default_text, "<FilterOrder>20", "<FilterOrder>21");
    parameter_t highpass = make_parameters();
    parameter_t lowpass;
    EXPECT_TRUE(recall_text(highpass, replace(odd, "Lowpass", "Highpass")));
    EXPECT_EQ(highpass.get_fir_filter_order(), 22u);
    // The type comes before the order and takes the raise back from the order of the moment.
    EXPECT_TRUE(recall_text(lowpass, odd));
    EXPECT_EQ(lowpass.get_fir_filter_order(), 21u);
    highpass.set_fir_filter_order(21);
    lowpass.set_fir_filter_order(21);
    EXPECT_EQ(lowpass.get_fir_filter_order(), 20u);
}

TEST(FirSettings, AreReadThroughTheBase)
{
    const std::unique_ptr<common_lib::cfg_protocol_base_t> saved = std::make_unique<parameter_t>(make_changed());
    const std::unique_ptr<common_lib::cfg_protocol_base_t> recalled = std::make_unique<parameter_t>();
    pugi::xml_document document;
    pugi::xml_node node = document.append_child("fir");
    EXPECT_TRUE(saved->save_setting(node));
    EXPECT_TRUE(recalled->recall_setting(node));
    const auto& fields = dynamic_cast<const parameter_t&>(*recalled);
    EXPECT_EQ(get_fields(fields), get_fields(make_changed()));
    EXPECT_TRUE(recalled->init());
    EXPECT_EQ(fields.get_fs(), 48000.0);
}

TEST(FirSettings, HaveADecimalPointWhateverTheLocaleIs)
{
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    const char* found = nullptr;
    for (const char* name : { "de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8", "de_DE", "fr_FR" })
    {
        if (found == nullptr)
            found = std::setlocale(LC_NUMERIC, name);
    }
    if (found == nullptr)
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    parameter_t parameters = make_changed();
    const std::string text = save_text(parameters);
    parameter_t recalled;
    EXPECT_TRUE(recall_text(recalled, text));
    std::setlocale(LC_NUMERIC, before.c_str());
    EXPECT_EQ(get_fields(recalled), get_fields(parameters));
    EXPECT_EQ(text, save_text(parameters));
}
} // namespace
} // namespace vrim::fir_filter_lib
