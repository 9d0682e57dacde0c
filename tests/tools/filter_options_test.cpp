// What `dmatool filter` refuses, and what its help says.

#include "exit_status.h"
#include "filter_runner.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using namespace dmatool;
using namespace dma_test;

namespace
{
/// Words and what the error line must say.
using refusals_t = std::vector<std::pair<std::string, std::string>>;

void expect_refusals(const refusals_t& refusals)
{
    for (const auto& [words, part] : refusals)
    {
        SCOPED_TRACE(words);
        expect_failure(run_filter(words), exit_usage, part);
    }
}
} // namespace

TEST(FilterOptions, HelpNamesEveryOptionWithUnitsAndDefaults)
{
    const tool_result_t result = run_filter("--help");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    for (const char* word : { "--method",
                              "--response",
                              "--sample-rate",
                              "--order",
                              "--minimum-order",
                              "--cutoff",
                              "--edges",
                              "--weights",
                              "--ripple",
                              "--attenuation",
                              "--density",
                              "--window",
                              "--beta",
                              "--sidelobe",
                              "--width-factor",
                              "--n-bar",
                              "--fraction",
                              "--no-normalize",
                              "--parameters",
                              "--save",
                              "--output",
                              "--json",
                              "--csv",
                              "--verbose",
                              "Hz",
                              "dB",
                              "Nyquist",
                              "[7.83]",
                              "[20]",
                              "[2.5]",
                              "blackman-harris",
                              "least-squares",
                              "bandstop",
                              "Exit status" })
    {
        EXPECT_NE(result.output.find(word), std::string::npos) << word;
    }
    EXPECT_NE(run_tool({ "--help" }).output.find("filter"), std::string::npos);
}

TEST(FilterOptions, RefusesWhatItDoesNotKnow)
{
    expect_refusals({
        { "--method magic --cutoff 0.3", "window equiripple least-squares" },
        { "--response allpass --cutoff 0.3", "lowpass highpass bandpass bandstop" },
        { "--response shaping --cutoff 0.3", "lowpass highpass bandpass bandstop" },
        { "--window welch --cutoff 0.3", "blackman-harris" },
        { "--colour red --cutoff 0.3", "dmatool filter --help" },
        { "--cutoff 0.3 --order", "--order" },
        { "--cutoff 0.3 --order 20 --order 30", "--order" },
        { "--cutoff 0.3 --json --csv", "--json contradicts --csv" },
    });
}

TEST(FilterOptions, RefusesFrequenciesThatMakeNoBands)
{
    expect_refusals({
        { "", "--cutoff needs 1 frequencies for a lowpass filter; none given" },
        { "--cutoff 0.3 0.4", "--cutoff needs 1" },
        { "--response bandpass --cutoff 0.3", "--cutoff needs 2" },
        { "--cutoff 0.1 0.2 0.3", "--cutoff" },
        { "--cutoff nan", "'nan' cannot be taken" },
        { "--cutoff inf", "'inf' cannot be taken" },
        { "--cutoff 1e999", "cannot be taken" },
        { "--cutoff -0.3", "'-0.3' cannot be taken" },
        { "--cutoff 0x1p-2", "cannot be taken" },
        { "--cutoff 0", "above 0" },
        { "--cutoff 1", "between 0 and 1, the Nyquist frequency" },
        { "--cutoff 5000", "give --sample-rate for Hz" },
        { "--cutoff 24000 --sample-rate 48000", "between 0 and 24000 Hz, half the sample rate" },
        { "--cutoff 30000 --sample-rate 48000", "up to 24000 Hz" },
        { "--response bandpass --cutoff 0.4 0.3", "rise" },
        { "--response bandstop --cutoff 0.4 0.4", "rise" },
        { "--method equiripple", "--edges needs 2 frequencies for a lowpass filter; none given" },
        { "--method equiripple --edges 0.3", "--edges needs 2 frequencies for a lowpass filter; 1 given" },
        { "--method equiripple --edges 0.1 0.2 0.3 0.4", "--edges needs 2" },
        { "--method least-squares --response bandpass --edges 0.3 0.4", "--edges needs 4" },
        { "--method equiripple --edges 0.4 0.3", "rise" },
        { "--method least-squares --edges 0.3 0.3", "rise" },
        { "--method equiripple --edges 0 0.3", "above 0" },
        { "--method equiripple --edges 0.3 1", "between 0 and 1" },
        { "--method equiripple --edges 0.3 nan", "'nan'" },
        { "--method equiripple --edges 0.3 -0.4", "'-0.4'" },
        { "--method equiripple --response bandstop --edges 0.2 0.4 0.3 0.5", "rise" },
        { "--method equiripple --response bandpass --edges 0.2 0.3 0.3 0.5", "rise" },
        { "--cutoff 0.5 --edges 0.2 0.3", "lies outside its transition" },
        { "--cutoff 0.3 --edges 0.3 0.4", "lies outside its transition" },
        { "--cutoff 0.3 --sample-rate 0", "above 0 and up to" },
        { "--cutoff 0.3 --sample-rate -48000", "--sample-rate" },
        { "--cutoff 0.3 --sample-rate nan", "--sample-rate" },
        { "--cutoff 0.3 --sample-rate 1e13", "--sample-rate" },
    });
}

TEST(FilterOptions, RefusesValuesThatTheDesignerWouldChange)
{
    expect_refusals({
        { "--cutoff 0.3 --order 1", "from 2 to" },
        { "--cutoff 0.3 --order 20.5", "whole number" },
        { "--cutoff 0.3 --order -20", "from 2 to" },
        { "--cutoff 0.3 --order 20000000", "from 2 to 19999999" },
        { "--cutoff 0.3 --response highpass --order 21", "give an even one, such as 22" },
        { "--cutoff 0.3 0.5 --response bandstop --order 33", "zero at the Nyquist frequency" },
        { "--method equiripple --edges 0.3 0.4 --response highpass --order 7", "such as 8" },
        { "--method least-squares --edges 0.3 0.4 --weights 0 1", "above 0 and up to 2000" },
        { "--method least-squares --edges 0.3 0.4 --weights 1 2001", "above 0 and up to 2000" },
        { "--method least-squares --edges 0.3 0.4 --weights 1 nan", "above 0 and up to 2000" },
        { "--method least-squares --edges 0.3 0.4 --weights 1", "--weights needs 2 values for a lowpass filter; 1 given" },
        { "--method equiripple --edges 0.3 0.4 --weights 1 2 3", "--weights needs 2" },
        { "--method equiripple --edges 0.3 0.4 --density 15", "from 16 to 200000" },
        { "--method equiripple --edges 0.3 0.4 --density 200001", "from 16 to 200000" },
        { "--cutoff 0.3 --beta 701", "from 0 to 700" },
        { "--cutoff 0.3 --beta -1", "from 0 to 700" },
        { "--cutoff 0.3 --beta nan", "from 0 to 700" },
        { "--cutoff 0.3 --window chebyshev --sidelobe 2001", "from 0 to 2000 dB" },
        { "--cutoff 0.3 --window taylor --sidelobe -1", "from 0 to 2000 dB" },
        { "--cutoff 0.3 --window taylor --n-bar 401", "from 1 to 400" },
        { "--cutoff 0.3 --window taylor --n-bar 0", "from 1 to 400" },
        { "--cutoff 0.3 --window gaussian --width-factor -1", "from 0 to 1000" },
        { "--cutoff 0.3 --window tukey --fraction 1.5", "from 0 to 1" },
        { "--minimum-order --edges 0.3 0.4 --ripple 0 --attenuation 60", "--ripple" },
        { "--minimum-order --edges 0.3 0.4 --ripple 10 --attenuation 60", "above 0 and up to 9 dB" },
        { "--minimum-order --edges 0.3 0.4 --ripple 1 --attenuation -60", "above 0 and up to 200 dB" },
        { "--minimum-order --edges 0.3 0.4 --ripple 1 --attenuation inf", "above 0 and up to 200 dB" },
    });
}

TEST(FilterOptions, RefusesOptionsThatHaveNoSay)
{
    const std::string equiripple = "--method equiripple --edges 0.3 0.4 ";
    const std::string least = "--method least-squares --edges 0.3 0.4 ";
    const std::string minimum = "--minimum-order --edges 0.3 0.4 --ripple 1 --attenuation 60 ";
    expect_refusals({
        { equiripple + "--window hann", "--window goes with --method window; the method is equiripple" },
        { least + "--beta 5", "--beta goes with --method window" },
        { least + "--no-normalize", "--no-normalize goes with --method window" },
        { equiripple + "--cutoff 0.35", "give --edges" },
        { equiripple + "--fraction 0.5", "--fraction goes with" },
        { equiripple + "--n-bar 5", "--n-bar goes with" },
        { equiripple + "--sidelobe 5", "--sidelobe goes with" },
        { equiripple + "--width-factor 5", "--width-factor goes with" },
        { least + "--density 30", "--density goes with --method equiripple" },
        { "--cutoff 0.3 --density 30", "--density goes with --method equiripple" },
        { "--cutoff 0.3 --weights 1 2", "--weights goes with" },
        { "--cutoff 0.3 --window hann --beta 5", "--beta goes with --window kaiser; the window is hann" },
        { "--cutoff 0.3 --sidelobe 50", "--sidelobe goes with --window chebyshev or taylor; the window is kaiser" },
        { "--cutoff 0.3 --width-factor 2", "--width-factor goes with --window gaussian" },
        { "--cutoff 0.3 --n-bar 5", "--n-bar goes with --window taylor" },
        { "--cutoff 0.3 --fraction 0.1", "--fraction goes with --window tukey" },
        { "--cutoff 0.3 --ripple 1", "--ripple is what --minimum-order aims at" },
        { "--cutoff 0.3 --attenuation 60", "--attenuation is what --minimum-order aims at" },
        { minimum + "--order 30", "--order contradicts --minimum-order" },
        { minimum + "--beta 5", "--beta contradicts --minimum-order" },
        { minimum + "--cutoff 0.35", "--cutoff contradicts --minimum-order" },
        { minimum + "--window hann", "goes with the equiripple method and the Kaiser window; give --order for the hann window" },
        { minimum + "--method equiripple --weights 1 2", "--weights contradicts --minimum-order" },
        { minimum + "--method least-squares", "give --order for least-squares" },
        { "--minimum-order --edges 0.3 0.4 --ripple 1", "--attenuation needs 1 values in dB for a lowpass filter; none given" },
        { "--minimum-order --edges 0.3 0.4 --attenuation 60", "--ripple needs 1 values in dB" },
        { minimum + "--ripple 2", "--ripple needs 1 values in dB for a lowpass filter; 2 given" },
        { "--minimum-order --ripple 1 --attenuation 60", "--edges needs 2" },
    });
}

TEST(FilterOptions, RefusesADescriptionBesideAFile)
{
    for (const char* option :
         { "--method window", "--response lowpass", "--sample-rate 48000", "--order 20", "--minimum-order", "--cutoff 0.3",
           "--edges 0.3 0.4", "--weights 1 1", "--ripple 1", "--attenuation 60", "--window hann", "--beta 5", "--sidelobe 60",
           "--width-factor 2", "--n-bar 4", "--fraction 0.5", "--no-normalize", "--density 20" })
    {
        expect_failure(run_filter(std::string("--parameters absent.xml ") + option), exit_usage, "contradicts --parameters");
    }
}

TEST(FilterOptions, NamesMatchInEitherCaseAndWithoutHyphens)
{
    const nlohmann::json report = get_filter_report("--method Window --window BlackmanHarris --response LowPass --cutoff 0.3");
    EXPECT_EQ(report["window"]["type"], "blackman-harris");
    EXPECT_EQ(report["response"], "lowpass");
    EXPECT_EQ(report["order"], 20);
}

TEST(FilterOptions, ALimitOfTheLibraryIsGivenAsTheReason)
{
    expect_failure(run_filter("--cutoff 0.3 --order 2000000"), exit_analysis_failed, "above the limit of 1000000");
    expect_failure(run_filter("--cutoff 0.3 --order 2000000 --json"), exit_analysis_failed, "there is no filter");
    expect_failure(run_filter("--minimum-order --edges 0.3 0.300000001 --ripple 1 --attenuation 60"), exit_analysis_failed,
                   "there is no filter");
    expect_failure(run_filter("--method equiripple --minimum-order --edges 0.3 0.300000001 --ripple 1 --attenuation 60"),
                   exit_analysis_failed, "there is no filter");
    expect_failure(run_filter("--method least-squares --edges 0.3 0.4 --order 100000"), exit_analysis_failed, "limit");
    expect_failure(run_filter("--method equiripple --edges 0.3 0.4 --order 100000"), exit_analysis_failed,
                   "order 100000 is above");
}

TEST(FilterOptions, TapsThatAreAllZeroAreNoFilter)
{
    // The gain of the pass band costs next to nothing, so the best filter passes nothing.
    expect_failure(run_filter("--method least-squares --edges 0.3 0.30000001 --weights 1e-300 2000"), exit_analysis_failed,
                   "all 0");
}

TEST(FilterOptions, VerboseGivesTheLibrarysLogOnStandardError)
{
    const std::string words = "--method equiripple --edges 0.3 0.4 --order 1000 --density 200000 --csv";
    const tool_result_t quiet = run_filter(words);
    const tool_result_t verbose = run_filter(words + " --verbose");
    EXPECT_EQ(verbose.output, quiet.output);
    EXPECT_NE(verbose.errors.find("dmatool: log 2 "), std::string::npos) << verbose.errors;
    EXPECT_EQ(quiet.errors.find("dmatool: log 2 "), std::string::npos) << quiet.errors;
    EXPECT_NE(quiet.errors.find("dmatool: note: log: "), std::string::npos) << quiet.errors;
}
