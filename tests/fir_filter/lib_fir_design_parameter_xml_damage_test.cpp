// Trees that no save wrote: absent, repeated, unknown and damaged elements.
#include "fir_filter/design_parameter_fields.h"
#include "fir_filter/lib_fir_design_parameter.h"
#include "message_capture.h"

#include <cmath>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <pugixml.hpp>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace vrim::fir_filter_lib
{
namespace
{
using parameter_t = lib_fir_design_parameter_t;

constexpr double infinity = std::numeric_limits<double>::infinity();

/// The fields after reading a tree without elements into a fresh description.
design_fields_t absent_fields()
{
    design_fields_t fields = with_order(default_fields(), 2);
    for (const char* field :
         { "response type", "first cutoff", "second cutoff", "first edge start", "first edge stop", "second edge start",
           "second edge stop", "first amplitude", "second amplitude", "third amplitude", "window type", "normalize",
           "kaiser factor", "chebyshev attenuation", "gaussian factor", "taylor n bar", "taylor sidelobe", "tukey fraction" })
        fields[field] = 0;
    fields["density"] = 16;
    return fields;
}

std::string make_element(const std::string& name, const std::string& content)
{
    std::string text = "<";
    text.append(name).append(">").append(content).append("</").append(name).append(">");
    return text;
}

bool recall_text(parameter_t& parameters, const std::string& text)
{
    pugi::xml_document document;
    document.load_string(text.c_str());
    return parameters.recall_setting(document.first_child());
}

TEST(FirSettingsRecall, TakesAbsentElementsAs0AndTheFirstEnumerator)
{
    for (const char* text : { "", "<fir/>", "<fir>text<!-- note --></fir>", "<fir><Unknown>7</Unknown></fir>",
                              "<fir><ResponseParameters/><FirstCutoffNoNormalize/><OrderParameters/><WeightParameters/>"
                              "<WindowParameters/><EquirippleParameters/><DesignMethod/></fir>",
                              // values beside the elements they belong into
                              "<fir><Type>Highpass</Type><FilterOrder>30</FilterOrder><Band1Weight>7</Band1Weight></fir>",
                              "<fir><fir><Fs>1</Fs><DesignMethod>Equiripple</DesignMethod></fir></fir>" })
    {
        parameter_t parameters = make_parameters();
        EXPECT_TRUE(recall_text(parameters, text));
        EXPECT_EQ(get_fields(parameters), absent_fields()) << text;
    }
}

TEST(FirSettingsRecall, DoesNotLookAtTheProtocol)
{
    for (const char* attribute : { "", "ProtocolType='cfg_dma_frame'", "ProtocolType=''" })
    {
        parameter_t parameters = make_parameters();
        EXPECT_TRUE(recall_text(parameters, "<fir " + std::string(attribute) + "><Fs>1000</Fs></fir>"));
        EXPECT_EQ(parameters.get_fs(), 1000.0);
    }
}

struct element_case_t
{
    const char* text;
    double stored;
};

/// Reads one element at a time and asks that its field alone differs from those of an empty tree.
void expect_recalled(const std::string& parent, const std::string& name, const std::string& field,
                     const std::vector<element_case_t>& cases)
{
    for (const auto& [text, stored] : cases)
    {
        const std::string element = make_element(name, text);
        const std::string tree = parent.empty() ? element : make_element(parent, element);
        design_fields_t expected = absent_fields();
        if (field == "order")
            expected = with_order(expected, stored);
        else
            expected[field] = stored;
        parameter_t parameters = make_parameters();
        EXPECT_TRUE(recall_text(parameters, make_element("fir", tree)));
        EXPECT_EQ(get_fields(parameters), expected) << tree;
    }
}

TEST(FirSettingsRecall, ReadsFrequencyUnitAndRate)
{
    expect_recalled("", "FrequencyUnit", "frequency unit",
                    { { "3", 3 },
                      { "-1", 0 },
                      { "4294967295", 4294967295.0 },
                      { "1e9", 1 },
                      { "99999999999999999999", 4294967295.0 },
                      { "junk", 0 },
                      { "", 0 },
                      { " 7 ", 7 },
                      { "nan", 0 } });
    expect_recalled("", "Fs", "fs",
                    { { "96000.5", 96000.5 },
                      { "-1", -1 },
                      { "", 0 },
                      { "junk", 0 },
                      { "1e400", infinity },
                      { "-inf", -infinity },
                      { "1e-400", 0 },
                      { "12abc", 12 },
                      { "<![CDATA[5]]>", 5 },
                      { "<!-- rate -->6", 6 },
                      { "0,5", 0 } });
    parameter_t parameters;
    EXPECT_TRUE(recall_text(parameters, "<fir><Fs>nan</Fs></fir>"));
    EXPECT_TRUE(std::isnan(parameters.get_fs()));
}

TEST(FirSettingsRecall, ClampsFrequenciesAndKeepsAmplitudes)
{
    const std::pair<const char*, const char*> frequencies[] = {
        { "FirstCutoff", "first cutoff" },          { "SecondCutoff", "second cutoff" },
        { "FirstEdgeStart", "first edge start" },   { "FirstEdgeStop", "first edge stop" },
        { "SecondEdgeStart", "second edge start" }, { "SecondEdgeStop", "second edge stop" },
    };
    for (const auto& [name, field] : frequencies)
        expect_recalled("ResponseParameters", name, field,
                        { { "0.25", 0.25 },
                          { "1", 1 },
                          { "1.5", 1 },
                          { "-0.5", 0 },
                          { "nan", 0 },
                          { "-nan", 0 },
                          { "inf", 1 },
                          { "-inf", 0 },
                          { "1e400", 1 },
                          { "junk", 0 } });
    const std::pair<const char*, const char*> amplitudes[] = { { "FirstAmplitude", "first amplitude" },
                                                               { "SecondAmplitude", "second amplitude" },
                                                               { "ThirdAmplitude", "third amplitude" } };
    for (const auto& [name, field] : amplitudes)
        expect_recalled("ResponseParameters", name, field, { { "-60.5", -60.5 }, { "1e400", infinity }, { "junk", 0 } });
}

TEST(FirSettingsRecall, TakesTheFirstEnumeratorForAnUnknownText)
{
    expect_recalled("ResponseParameters", "Type", "response type",
                    { { "Shaping", 0 },
                      { "Lowpass", 1 },
                      { "Highpass", 2 },
                      { "Bandpass", 3 },
                      { "Bandstop", 4 },
                      { "lowpass", 0 },
                      { " Lowpass", 0 },
                      { "1", 0 },
                      { "", 0 } });
    expect_recalled("", "DesignMethod", "design method",
                    { { "Window", 0 }, { "Equiripple", 1 }, { "LeastSquare", 2 }, { "LeastSquares", 0 }, { "", 0 } });
    const char* windows[] = { "Bartlett", "Bartlett-Hanning", "Bohman",          "Rectangle", "Hamming", "Hann",
                              "Gaussian", "Blackman",         "Blackman-Harris", "Chebyshev", "Flattop", "Kaiser",
                              "Nuttall",  "Parzen",           "Taylor",          "Triangle",  "Tukey" };
    double value = 0;
    for (const char* window : windows)
        expect_recalled("WindowParameters", "WindowType", "window type", { { window, value++ } });
    expect_recalled("WindowParameters", "WindowType", "window type", { { "Hanning", 0 }, { "kaiser", 0 } });
}

TEST(FirSettingsRecall, ReadsARawFrequencyOnlyWhereItIs)
{
    const std::pair<const char*, const char*> names[] = {
        { "FirstCutoffNoNormalize", "first cutoff" },          { "SecondCutoffNoNormalize", "second cutoff" },
        { "FirstEdgeStartNoNormalize", "first edge start" },   { "FirstEdgeStopNoNormalize", "first edge stop" },
        { "SecondEdgeStartNoNormalize", "second edge start" }, { "SecondEdgeStopNoNormalize", "second edge stop" },
    };
    struct raw_case_t
    {
        const char* fs;
        const char* text;
        double fs_value, raw, normalised;
    };
    const raw_case_t cases[] = {
        { "48000", "6000", 48000, 6000, 0.25 },
        { "48000", "30000", 48000, 30000, 1 },
        { "48000", "-1", 48000, -1, 0 },
        { "48000", "junk", 48000, 0, 0 },
        { "48000", "", 48000, 0, 0 },
        { "0", "6000", 0, 6000, 1 },
        { "0", "0", 0, 0, 0 },
        { "1000", "100", 1000, 100, 0.2 },
        { "-1000", "100", -1000, 100, 0 },
        { "48000", "1e400", 48000, infinity, 1 },
        { "inf", "5", infinity, 5, 0 },
        { "inf", "inf", infinity, infinity, 0 },
    };
    for (const auto& [name, field] : names)
    {
        for (const raw_case_t& c : cases)
        {
            const std::string raw = make_element("FirstCutoffNoNormalize", make_element(name, c.text));
            design_fields_t expected = absent_fields();
            expected["fs"] = c.fs_value;
            expected[field] = c.normalised;
            expected[field + std::string(", raw")] = c.raw;
            parameter_t parameters = make_parameters();
            EXPECT_TRUE(recall_text(parameters, make_element("fir", make_element("Fs", c.fs) + raw)));
            EXPECT_EQ(get_fields(parameters), expected) << raw << " at " << c.fs;
        }
    }
    // The outer element alone has no number of its own.
    parameter_t parameters = make_parameters();
    EXPECT_TRUE(recall_text(parameters, "<fir><FirstCutoffNoNormalize>6000</FirstCutoffNoNormalize></fir>"));
    EXPECT_EQ(get_fields(parameters), absent_fields());
}

TEST(FirSettingsRecall, ClampsOrderWeightsWindowAndDensity)
{
    expect_recalled("OrderParameters", "FilterOrder", "order",
                    { { "21", 21 },
                      { "0", 2 },
                      { "-7", 2 },
                      { "20000000", 19999999 },
                      { "4294967295", 19999999 },
                      { "1e9", 2 },
                      { "99999999999999999999", 19999999 },
                      { "21.9", 21 },
                      { "nan", 2 } });
    for (const auto& [name, field] :
         { std::pair{ "Band1Weight", "first weight" }, { "Band2Weight", "second weight" }, { "Band3Weight", "third weight" } })
        expect_recalled("WeightParameters", name, field,
                        { { "7.5", 7.5 }, { "-3", 1 }, { "0", 1 }, { "2001", 2000 }, { "1e400", 2000 }, { "nan", 1 } });
    const std::string window = "WindowParameters";
    expect_recalled(window, "NormalizeEnable", "normalize",
                    { { "true", 1 }, { "1", 1 }, { "false", 0 }, { "0", 0 }, { "junk", 0 } });
    expect_recalled(window, "KaiserBeta", "kaiser factor",
                    { { "-0.5", -0.5 }, { "701", 700 }, { "-1e400", -700 }, { "nan", -700 } });
    expect_recalled(window, "GuassianAlpha", "gaussian factor",
                    { { "3.5", 3.5 }, { "-1", 0 }, { "1e300", 1e300 }, { "nan", 0 } });
    expect_recalled(window, "ChebyshevAtten", "chebyshev attenuation",
                    { { "90.5", 90.5 }, { "20000", 20000 }, { "3000", 20000 }, { "2000", 2000 }, { "-1", 0 }, { "nan", 0 } });
    expect_recalled(window, "TaylorNBAR", "taylor n bar", { { "6", 6 }, { "401", 400 }, { "-1", 0 } });
    expect_recalled(window, "TaylorSLA", "taylor sidelobe",
                    { { "35.9", 35 }, { "-5", 0 }, { "1e20", 1 }, { "4294967296", 4294967295.0 }, { "nan", 0 }, { "inf", 0 } });
    expect_recalled(window, "TukeyFraction", "tukey fraction",
                    { { "0.75", 0.75 }, { "1001", 1000 }, { "-1e9", -1000 }, { "nan", -1000 } });
    expect_recalled("EquirippleParameters", "DensityFactor", "density",
                    { { "40", 40 }, { "15", 16 }, { "200001", 200000 }, { "-1", 16 }, { "1e5", 16 } });
}

TEST(FirSettingsRecall, TakesTheFirstOfRepeatedElements)
{
    parameter_t parameters = make_parameters();
    EXPECT_TRUE(recall_text(parameters, "<fir><Fs>1</Fs><Fs>2</Fs><OrderParameters><FilterOrder>30</FilterOrder>"
                                        "<FilterOrder>40</FilterOrder></OrderParameters><OrderParameters>"
                                        "<FilterOrder>50</FilterOrder></OrderParameters></fir>"));
    EXPECT_EQ(parameters.get_fs(), 1.0);
    EXPECT_EQ(parameters.get_fir_filter_order(), 30u);
}

TEST(FirSettingsRecall, TakesElementsInAnyOrderOfTheTree)
{
    // The order of reading is fixed, whatever the order of the elements is.
    parameter_t parameters = make_parameters();
    EXPECT_TRUE(recall_text(parameters, "<fir><OrderParameters><FilterOrder>31</FilterOrder></OrderParameters><WindowParameters>"
                                        "<ChebyshevAtten>90</ChebyshevAtten><GuassianAlpha>3</GuassianAlpha><WindowType>Gaussian"
                                        "</WindowType></WindowParameters><ResponseParameters><FirstCutoff>0.25</FirstCutoff>"
                                        "<Type>Bandstop</Type></ResponseParameters></fir>"));
    EXPECT_EQ(parameters.get_chebyshev_window_sidelobe_attenuation(), 90.0);
    EXPECT_EQ(parameters.get_fir_filter_order(), 32u);
    EXPECT_EQ(parameters.get_first_cutoff_frequency(), 0.25);
}

// Damage by chance

/// Whether each field that has limits is inside them; not-a-number is inside none.
bool is_legal(const parameter_t& p)
{
    const auto within = [](double value, double low, double high) { return value >= low && value <= high; };
    for (const double frequency :
         { p.get_first_cutoff_frequency(), p.get_second_cutoff_frequency(), p.get_first_edge_start_frequency(),
           p.get_first_edge_stop_frequency(), p.get_second_edge_start_frequency(), p.get_second_edge_stop_frequency() })
    {
        if (!within(frequency, 0, 1))
            return false;
    }
    for (const double weight : { p.get_first_band_weight(), p.get_second_band_weight(), p.get_third_band_weight() })
    {
        if (!within(weight, std::numeric_limits<double>::denorm_min(), 2000))
            return false;
    }
    const double attenuation = p.get_chebyshev_window_sidelobe_attenuation();
    const lib_fir_design_order_parameter_t& order = p.get_order_parameter();
    return p.get_fir_design_method() <= 2 && p.get_fir_response_type() <= 4 && p.get_window_type() <= 16 &&
           within(p.get_fir_filter_order(), 2, 19999999) && order.get_filter_length() == order.get_filter_order() + 1 &&
           order.get_filter_response_length() == order.get_filter_order() + 1 &&
           (p.get_window_type() == LIB_WINDOW_KAISER || !p.is_fir_mimimum_order_enable()) &&
           within(p.get_kaiser_window_shaping_factor(), -700, 700) && (within(attenuation, 0, 2000) || attenuation == 20000) &&
           within(p.get_guassian_window_width_factor(), 0, infinity) && p.get_taylor_window_n_bar() <= 400 &&
           within(p.get_taylor_sidelobe_attenuation(), 0, 4294967295.0) &&
           within(p.get_tukey_window_cosine_fraction(), -1000, 1000) && within(p.get_density_factor(), 16, 200000);
}

class damage_t
{
public:
    explicit damage_t(std::uint32_t seed) : random_(seed) {}

    std::string apply(const std::string& text)
    {
        pugi::xml_document document;
        document.load_string(text.c_str());
        for (std::uint32_t count = pick(4); count > 0; --count)
            damage_tree(document);
        std::ostringstream out;
        document.save(out, "", pugi::format_raw | pugi::format_no_declaration);
        std::string damaged = out.str();
        for (std::uint32_t count = pick(2) == 0 ? pick(9) : 0; count > 0 && !damaged.empty(); --count)
            damage_byte(damaged);
        return damaged;
    }

    std::uint32_t pick(std::uint32_t count) { return static_cast<std::uint32_t>(random_() % count); }

private:
    void damage_tree(pugi::xml_document& document)
    {
        std::vector<pugi::xml_node> nodes;
        collect(document, nodes);
        if (nodes.size() < 2)
            return;
        pugi::xml_node node = nodes[1 + pick(static_cast<std::uint32_t>(nodes.size() - 1))];
        pugi::xml_node other = nodes[pick(static_cast<std::uint32_t>(nodes.size()))];
        switch (pick(6))
        {
        case 0:
            node.parent().remove_child(node);
            break;
        case 1:
            node.parent().prepend_copy(node);
            node.text().set(garbage());
            break;
        case 2:
            node.set_name(other.name());
            break;
        case 3:
            node.prepend_copy(document.first_child().first_child());
            break;
        default:
            node.text().set(garbage());
            break;
        }
    }

    static void collect(const pugi::xml_node& node, std::vector<pugi::xml_node>& nodes)
    {
        for (const pugi::xml_node child : node.children())
        {
            if (child.type() == pugi::node_element)
            {
                nodes.push_back(child);
                collect(child, nodes);
            }
        }
    }

    void damage_byte(std::string& text)
    {
        const std::size_t place = random_() % text.size();
        if (pick(3) == 0)
            text.erase(place, 1 + pick(20));
        else
            text[place] = static_cast<char>(pick(256));
    }

    const char* garbage()
    {
        static const char* const texts[] = {
            "",       "nan",      "-nan",       "inf",        "-inf",       "1e400",
            "-1e400", "1e-400",   "-1",         "-0",         "0",          "1",
            "0.5",    "19999999", "19999998",   "4294967295", "4294967296", "99999999999999999999999",
            "1e300",  "5e-324",   "0x7fffffff", "0x",         "true",       "false",
            "Kaiser", "Gaussian", "Highpass",   "Bandstop",   "Equiripple", "LeastSquare",
            "junk",   " 7",       "1,5",        "\xff\xfe",   "%s%n",       "{}"
        };
        return texts[pick(static_cast<std::uint32_t>(std::size(texts)))];
    }

    std::mt19937 random_;
};

TEST(FirSettingsRecall, EndsLegalForAnyDamagedTree)
{
    constexpr std::uint32_t seed = 20240611;
    damage_t damage(seed);
    log_capture_t log;
    parameter_t source;
    source.set_fir_response_type(LIB_FIR_RESPONSE_BANDSTOP);
    source.set_fir_minimum_order_enable(true);
    pugi::xml_document document;
    pugi::xml_node node = document.append_child("fir");
    ASSERT_TRUE(source.save_setting(node));
    std::ostringstream out;
    document.save(out, "", pugi::format_raw | pugi::format_no_declaration);

    std::uint32_t changed = 0;
    parameter_t parameters; // goes from tree to tree: what one leaves behind, the next one meets
    const design_fields_t source_fields = get_fields(source);
    for (std::uint32_t round = 0; round < 5000; ++round)
    {
        const std::string text = damage.apply(out.str());
        parameters.set_fir_design_method(static_cast<lib_fir_design_method_t>(damage.pick(3)));
        ASSERT_TRUE(recall_text(parameters, text)) << "seed " << seed << ", round " << round << ":\n" << text;
        ASSERT_TRUE(is_legal(parameters)) << "seed " << seed << ", round " << round << ":\n" << text;
        changed += get_fields(parameters) != source_fields ? 1 : 0;

        // Legal settings can be saved, and are legal again when they come back.
        pugi::xml_document again;
        pugi::xml_node saved = again.append_child("fir");
        ASSERT_TRUE(parameters.save_setting(saved)) << "seed " << seed << ", round " << round;
        parameter_t recalled;
        ASSERT_TRUE(recalled.recall_setting(saved));
        ASSERT_TRUE(is_legal(recalled)) << "seed " << seed << ", round " << round << ":\n" << text;
    }
    EXPECT_GT(changed, 3000u); // the damage reaches the fields
    EXPECT_TRUE(log.get_records().empty());
}
} // namespace
} // namespace vrim::fir_filter_lib
