// Designs whole filters with the program and measures the printed taps by the definition of the frequency response.

#include "filter_runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

using namespace dma_test;
using nlohmann::json;

namespace
{
/// The figures of every band against a search that is twelve times as dense as the program's grid.
void expect_measured_bands(const std::string& words)
{
    const json report = get_filter_report(words);
    const std::vector<double> taps = get_taps(report);
    ASSERT_EQ(taps.size(), report["order"].get<std::size_t>() + 1) << words;
    const double unit = report["sample_rate"].is_null() ? 1.0 : report["sample_rate"].get<double>() / 2.0;
    const int points = static_cast<int>(200 * taps.size()) + 1;
    // The search misses a top by less than half a step: 0.02 percent of a ripple, 0.002 dB of an attenuation.
    constexpr double search_error = 0.002, rounding = 1.0e-6;
    for (const json& band : report["bands"])
    {
        const gain_range_t range =
            cal_gain_range(taps, band["start"].get<double>() / unit, band["stop"].get<double>() / unit, points);
        if (band["kind"] == "pass")
        {
            const double ripple = cal_decibel(range.highest / range.lowest);
            EXPECT_GE(band["ripple_db"].get<double>(), ripple - rounding) << words;
            EXPECT_LE(band["ripple_db"].get<double>(), ripple + search_error) << words;
            const double deviation = std::max(std::abs(cal_decibel(range.highest)), std::abs(cal_decibel(range.lowest)));
            EXPECT_NEAR(band["deviation_db"].get<double>(), deviation, search_error) << words;
            const double gain = cal_decibel(cal_dtft_gain(taps, band["gain_at"].get<double>() / unit));
            EXPECT_NEAR(band["gain_db"].get<double>(), gain, rounding) << words;
        }
        else
        {
            const double attenuation = -cal_decibel(range.highest);
            EXPECT_LE(band["attenuation_db"].get<double>(), attenuation + rounding) << words;
            EXPECT_GE(band["attenuation_db"].get<double>(), attenuation - search_error) << words;
            const double at = -cal_decibel(cal_dtft_gain(taps, band["attenuation_at"].get<double>() / unit));
            EXPECT_NEAR(band["attenuation_db"].get<double>(), at, 1.0e-4) << words;
        }
    }
    const double sum = cal_dtft_gain(taps, 0.0);
    EXPECT_NEAR(std::abs(report["sum"].get<double>()), sum, 1.0e-12) << words;
    for (const json& half : report["half_gain_at"])
    {
        EXPECT_NEAR(cal_dtft_gain(taps, half.get<double>() / unit), 0.5, 1.0e-6) << words;
    }
}

std::string get_edges(const std::string& response)
{
    return response == "lowpass" || response == "highpass" ? " --edges 0.3 0.42" : " --edges 0.2 0.3 0.6 0.72";
}

std::string get_cutoffs(const std::string& response)
{
    return response == "lowpass" || response == "highpass" ? " --cutoff 0.36" : " --cutoff 0.25 0.66";
}

const std::vector<std::string> responses = { "lowpass", "highpass", "bandpass", "bandstop" };

/// sin(pi c k) / (pi k), the ideal lowpass filter.
double cal_ideal_tap(double cutoff, double k)
{
    return k == 0.0 ? cutoff : std::sin(std::numbers::pi * cutoff * k) / (std::numbers::pi * k);
}
} // namespace

TEST(FilterDesign, ARectangularWindowLeavesTheSamplesOfTheIdealResponse)
{
    for (const int order : { 2, 20, 31, 64 })
    {
        const json report = get_filter_report("--window rectangle --no-normalize --cutoff 0.37 --order " + std::to_string(order));
        const std::vector<double> taps = get_taps(report);
        ASSERT_EQ(taps.size(), static_cast<std::size_t>(order) + 1);
        for (std::size_t n = 0; n < taps.size(); ++n)
        {
            EXPECT_NEAR(taps[n], cal_ideal_tap(0.37, static_cast<double>(n) - order / 2.0), 3.0e-8) << order << " tap " << n;
        }
    }
    // Pass band between two cutoffs: the difference of two lowpass filters.
    const json report = get_filter_report("--window rectangle --response bandpass --no-normalize --cutoff 0.25 0.6 --order 40");
    const std::vector<double> taps = get_taps(report);
    for (std::size_t n = 0; n < taps.size(); ++n)
    {
        const double k = static_cast<double>(n) - 20.0;
        EXPECT_NEAR(taps[n], cal_ideal_tap(0.6, k) - cal_ideal_tap(0.25, k), 3.0e-8) << n;
    }
}

TEST(FilterDesign, AHannWindowDesignHasGainOneAndTheTapsOfTheFormula)
{
    const json report = get_filter_report("--window hann --cutoff 6000 --sample-rate 48000 --order 32");
    const std::vector<double> taps = get_taps(report);
    std::vector<double> expected;
    double sum = 0.0;
    for (int n = 0; n <= 32; ++n)
    {
        expected.push_back(cal_ideal_tap(0.25, n - 16.0) * (1.0 - std::cos(2.0 * std::numbers::pi * n / 32.0)) / 2.0);
        sum += expected.back();
    }
    ASSERT_EQ(taps.size(), expected.size());
    for (std::size_t n = 0; n < taps.size(); ++n)
    {
        EXPECT_NEAR(taps[n], expected[n] / sum, 5.0e-8) << n;
    }
    EXPECT_NEAR(report["sum"].get<double>(), 1.0, 1.0e-6);
    EXPECT_EQ(report["frequency_unit"], "Hz");
    EXPECT_EQ(report["cutoff"][0], 6000.0);
    EXPECT_EQ(report["group_delay"], 16.0);
    EXPECT_EQ(report["symmetric"], true);
}

TEST(FilterDesign, FiguresOfWindowDesignsAreThoseOfTheTaps)
{
    for (const std::string& response : responses)
    {
        const std::string words = "--response " + response + get_cutoffs(response) + " --order 60";
        expect_measured_bands(words);
        expect_measured_bands(words + get_edges(response));
        expect_measured_bands(words + " --window hamming --no-normalize");
    }
    for (const char* window : { "bartlett-hanning", "bohman", "gaussian", "blackman", "blackman-harris", "chebyshev", "flattop",
                                "nuttall", "parzen", "taylor", "tukey" })
    {
        expect_measured_bands(std::string("--cutoff 0.4 --edges 0.2 0.6 --order 50 --window ") + window);
    }
}

TEST(FilterDesign, FiguresOfEquirippleAndLeastSquaresAreThoseOfTheTaps)
{
    for (const char* method : { "equiripple", "least-squares" })
    {
        for (const std::string& response : responses)
        {
            const std::string words = std::string("--method ") + method + " --response " + response + get_edges(response);
            expect_measured_bands(words + " --order 44");
            const bool two = response == "lowpass" || response == "highpass";
            expect_measured_bands(words + " --order 36 --weights 1 10" + (two ? "" : " 3"));
        }
    }
    expect_measured_bands("--method equiripple --edges 9600 12000 --sample-rate 48000 --order 33");
}

TEST(FilterDesign, EquirippleWeightsShareOutTheError)
{
    // Errors of the bands are in the inverse ratio of the weights.
    for (const double weight : { 1.0, 10.0, 100.0 })
    {
        const json report =
            get_filter_report("--method equiripple --edges 0.4 0.5 --order 40 --weights 1 " + std::to_string(weight));
        const double quotient = std::pow(10.0, report["bands"][0]["ripple_db"].get<double>() / 20.0);
        const double pass_error = (quotient - 1.0) / (quotient + 1.0);
        const double stop_error = std::pow(10.0, -report["bands"][1]["attenuation_db"].get<double>() / 20.0);
        // The grid leaves the tops of ripples out by up to a percent.
        EXPECT_NEAR(pass_error / stop_error / weight, 1.0, 0.02) << weight;
    }
}

TEST(FilterDesign, EachMethodIsTheBestByItsOwnMeasure)
{
    const std::string bands = " --edges 0.3 0.4 --order 30";
    const std::vector<double> equiripple = get_taps(get_filter_report("--method equiripple" + bands));
    const std::vector<double> least = get_taps(get_filter_report("--method least-squares" + bands));
    const auto cal_errors = [](const std::vector<double>& taps)
    {
        // Largest error and integral of the squared error over both bands, the pass band without its phase.
        std::pair<double, double> errors = { 0.0, 0.0 };
        for (int i = 0; i <= 10000; ++i)
        {
            const double frequency = i * 1.0e-4;
            if (frequency > 0.3 && frequency < 0.4)
            {
                continue;
            }
            const double error = std::abs(cal_dtft_gain(taps, frequency) - (frequency <= 0.3 ? 1.0 : 0.0));
            errors = { std::max(errors.first, error), errors.second + error * error };
        }
        return errors;
    };
    EXPECT_LT(cal_errors(equiripple).first, 0.8 * cal_errors(least).first);
    EXPECT_LT(cal_errors(least).second, 0.8 * cal_errors(equiripple).second);
}

TEST(FilterDesign, BandsOfAWindowDesignBeginWhereTheRipplesDo)
{
    const json report = get_filter_report("--cutoff 0.36 --order 60 --beta 5");
    EXPECT_EQ(report["bands_from"], "ripples");
    const std::vector<double> taps = get_taps(report);
    const double pass_stop = report["bands"][0]["stop"].get<double>();
    const double stop_start = report["bands"][1]["start"].get<double>();
    const double level = std::pow(10.0, -report["bands"][1]["attenuation_db"].get<double>() / 20.0);
    EXPECT_LT(pass_stop, 0.36);
    EXPECT_GT(stop_start, 0.36);
    // Beyond the edge the gain never comes back to the level that it has there.
    EXPECT_NEAR(cal_dtft_gain(taps, stop_start) / level, 1.0, 1.0e-4);
    EXPECT_GT(cal_dtft_gain(taps, stop_start - 0.001), 1.05 * level);
    EXPECT_LE(cal_gain_range(taps, stop_start, 1.0, 20001).highest, 1.0001 * level);
    const double lowest = cal_gain_range(taps, 0.0, pass_stop - 1.0e-6, 20001).lowest;
    EXPECT_NEAR(cal_dtft_gain(taps, pass_stop), lowest, 1.0e-6);
    EXPECT_LT(cal_dtft_gain(taps, pass_stop + 0.001), lowest);
    // A symmetric design about its cutoff, so gain one half stands there.
    ASSERT_EQ(report["half_gain_at"].size(), 1U);
    EXPECT_NEAR(report["half_gain_at"][0].get<double>(), 0.36, 1.0e-3);
}

TEST(FilterDesign, ABandThatSlopesFromEndToEndHasNoFigures)
{
    // Three taps: the response falls from the first frequency to the last.
    const json report = get_filter_report("--cutoff 0.5 --order 2 --window rectangle");
    EXPECT_TRUE(report["bands"][0]["ripple_db"].is_null());
    EXPECT_TRUE(report["bands"][0]["deviation_db"].is_null());
    EXPECT_NE(run_filter("--cutoff 0.5 --order 2 --window rectangle").output.find("slopes from end to end"), std::string::npos);
}

TEST(FilterDesign, AKaiserEstimateFollowsThePublishedFormulas)
{
    const json report = get_filter_report("--minimum-order --edges 0.3 0.4 --ripple 1 --attenuation 60");
    // J. F. Kaiser, 1974: 60 dB, transition of a twentieth of the sample rate.
    const double length = (60.0 - 7.95) / (14.357078426905355 * 0.05) + 1.0;
    EXPECT_EQ(report["order"].get<int>(), static_cast<int>(std::ceil(length)) - 1);
    EXPECT_NEAR(report["window"]["beta"].get<double>(), 0.1102 * (60.0 - 8.7), 1.0e-9);
    EXPECT_NEAR(report["cutoff"][0].get<double>(), 0.35, 1.0e-12);
    EXPECT_EQ(report["minimum_order"], true);
    EXPECT_EQ(report["bands"][0]["asked_db"], 1.0);
    EXPECT_EQ(report["bands"][1]["asked_db"], 60.0);
    EXPECT_NEAR(report["bands"][1]["attenuation_db"].get<double>(), 60.0, 1.0);
    expect_measured_bands("--minimum-order --response bandpass --edges 0.2 0.3 0.5 0.6 --ripple 0.5 --attenuation 50 70");
}

TEST(FilterDesign, AnEquirippleEstimateComesCloseToWhatWasAsked)
{
    for (const std::string& response : responses)
    {
        const std::string words =
            "--method equiripple --minimum-order --ripple 0.5 --attenuation 50 --response " + response + get_edges(response);
        const json report = get_filter_report(words);
        EXPECT_EQ(report["minimum_order"], true);
        const tool_result_t text = run_filter(words);
        for (const json& band : report["bands"])
        {
            const bool pass = band["kind"] == "pass";
            const double achieved = band[pass ? "ripple_db" : "attenuation_db"].get<double>();
            const double asked = pass ? 0.5 : 50.0;
            EXPECT_EQ(band["asked_db"], asked);
            // What was missed is said, and nothing else is.
            const bool met = pass ? achieved <= asked + 0.005 : achieved >= asked - 0.005;
            EXPECT_EQ(band["met"], met) << response << " " << achieved;
        }
        const bool missed =
            std::any_of(report["bands"].begin(), report["bands"].end(), [](const json& band) { return band["met"] == false; });
        EXPECT_EQ(text.output.find("(missed)") != std::string::npos, missed) << response;
        EXPECT_EQ(text.errors.find("misses") != std::string::npos, missed) << response;
        expect_measured_bands(words);
    }
}

TEST(FilterDesign, FrequenciesInHzAndRelativeOnesGiveTheSameTaps)
{
    EXPECT_EQ(get_filter_report("--cutoff 0.25 --order 30")["taps"],
              get_filter_report("--cutoff 6000 --sample-rate 48000 --order 30")["taps"]);
    EXPECT_EQ(get_filter_report("--method equiripple --edges 0.25 0.5 --order 30")["taps"],
              get_filter_report("--method equiripple --edges 6e3 1.2e4 --sample-rate 48e3 --order 30")["taps"]);
}

TEST(FilterDesign, ABandpassGainIsScaledInItsPassBand)
{
    // Far from where the edges of an untouched description are.
    const json report = get_filter_report("--response bandpass --cutoff 0.7 0.9 --order 80");
    EXPECT_NEAR(cal_dtft_gain(get_taps(report), 0.8), 1.0, 1.0e-6);
    EXPECT_NEAR(report["bands"][1]["deviation_db"].get<double>(), 0.0, 0.1);
}

TEST(FilterDesign, LongFiltersAreMeasuredAndPrinted)
{
    const json report = get_filter_report("--cutoff 0.25 --order 200000 --beta 8");
    EXPECT_EQ(report["taps"].size(), 200001U);
    ASSERT_EQ(report["half_gain_at"].size(), 1U);
    EXPECT_NEAR(report["half_gain_at"][0].get<double>(), 0.25, 1.0e-6);
    const std::vector<double> taps = get_taps(report);
    const double at = report["bands"][1]["attenuation_at"].get<double>();
    EXPECT_NEAR(report["bands"][1]["attenuation_db"].get<double>(), -cal_decibel(cal_dtft_gain(taps, at)), 0.01);
    EXPECT_GT(report["bands"][1]["attenuation_db"].get<double>(), 75.0);
}

TEST(FilterDesign, AnAimBelowTheRoundingOfTheTapsIsMissedForThatReason)
{
    const tool_result_t result = run_filter("--minimum-order --edges 0.3 0.4 --ripple 1 --attenuation 200");
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.errors.find("single-precision taps reach little more"), std::string::npos) << result.errors;
}
