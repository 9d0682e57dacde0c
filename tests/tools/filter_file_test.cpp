// Descriptions of filters in files: saved, recalled, and refused.

#include "exit_status.h"
#include "filter_runner.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using namespace dmatool;
using namespace dma_test;
using nlohmann::json;

namespace
{
std::string save_filter(const scratch_folder_t& folder, const std::string& words)
{
    const std::string path = folder.get_path("filter.xml");
    const tool_result_t result = run_filter(words + " --csv --save " + path);
    EXPECT_EQ(result.status, 0) << words << ": " << result.errors;
    return path;
}

/// The saved file with the text of one element replaced.
std::string change_file(const scratch_folder_t& folder, const std::string& path, const std::string& element,
                        const std::string& value)
{
    std::ifstream file(path);
    std::string text{ std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    const std::string start = "<" + element + ">";
    const std::size_t at = text.find(start);
    EXPECT_NE(at, std::string::npos) << element << " in\n" << text;
    const std::size_t end = text.find("</", at);
    text.replace(at + start.size(), end - at - start.size(), value);
    return folder.write("changed.xml", text);
}
} // namespace

TEST(FilterFile, ARecalledDescriptionGivesTheSameReport)
{
    const scratch_folder_t folder;
    for (const char* words :
         { "--cutoff 0.3 --order 30", "--cutoff 0.3 --edges 0.2 0.4 --window hann",
           "--response bandpass --cutoff 7000 9000 --sample-rate 44100 --window chebyshev --sidelobe 70",
           "--response highpass --cutoff 0.61 --window taylor --n-bar 6 --sidelobe 40 --no-normalize",
           "--cutoff 0.25 --window gaussian --width-factor 3.25", "--cutoff 0.25 --window tukey --fraction 0.1",
           "--method equiripple --edges 9600 12000 --sample-rate 48000 --order 24 --weights 1 5 --density 32",
           "--method least-squares --response bandstop --edges 0.1 0.2 0.7 0.8 --weights 1 2 3 --order 42",
           "--minimum-order --response bandpass --edges 0.2 0.3 0.5 0.6 --ripple 0.5 --attenuation 50 60",
           "--method equiripple --minimum-order --edges 3e3 4e3 --ripple 1 --attenuation 40 --sample-rate 44.1e3" })
    {
        const std::string path = save_filter(folder, words);
        const tool_result_t recalled = run_filter("--json --parameters " + path);
        const tool_result_t direct = run_filter(std::string(words) + " --json");
        EXPECT_EQ(recalled.status, 0) << words << ": " << recalled.errors;
        EXPECT_EQ(recalled.output, direct.output) << words;
        EXPECT_EQ(recalled.errors, direct.errors) << words;
    }
}

TEST(FilterFile, IsTheSettingsTreeOfTheLibrary)
{
    const scratch_folder_t folder;
    const std::string path =
        save_filter(folder, "--method equiripple --edges 9600 12000 --sample-rate 48000 --order 24 --weights 1 5 --density 32");
    std::ifstream file(path);
    const std::string text{ std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    for (const char* part :
         { "<Fs>48000</Fs>", "<Type>Lowpass</Type>", "<FirstEdgeStartNoNormalize>9600</FirstEdgeStartNoNormalize>",
           "<FirstEdgeStopNoNormalize>12000</FirstEdgeStopNoNormalize>", "<FirstEdgeStop>0.5</FirstEdgeStop>",
           "<FilterOrder>24</FilterOrder>", "<Band2Weight>5</Band2Weight>", "<DensityFactor>32</DensityFactor>",
           "<DesignMethod>Equiripple</DesignMethod>" })
    {
        EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
    }
}

TEST(FilterFile, MayBePartOfALargerDocument)
{
    const scratch_folder_t folder;
    const std::string path = save_filter(folder, "--cutoff 0.3 --order 30");
    std::ifstream file(path);
    std::string text{ std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    text = "<host><other/>" + text.substr(text.find("<fir_filter")) + "</host>";
    EXPECT_EQ(run_filter("--csv --parameters " + folder.write("host.xml", text)).output,
              run_filter("--cutoff 0.3 --order 30 --csv").output);
}

TEST(FilterFile, AValueThatTheRulesChangeIsReported)
{
    const scratch_folder_t folder;
    const std::string highpass = save_filter(folder, "--response highpass --cutoff 0.3 --order 20");
    const tool_result_t odd = run_filter("--json --parameters " + change_file(folder, highpass, "FilterOrder", "21"));
    EXPECT_EQ(odd.status, 0) << odd.errors;
    EXPECT_EQ(odd.errors, "dmatool: note: FilterOrder 21 of the file is taken as 22\n");
    EXPECT_EQ(json::parse(odd.output)["order"], 22);
    EXPECT_EQ(json::parse(odd.output)["notes"][0], "FilterOrder 21 of the file is taken as 22");

    const tool_result_t beta = run_filter("--csv --parameters " + change_file(folder, highpass, "KaiserBeta", "900"));
    EXPECT_EQ(beta.errors, "dmatool: note: KaiserBeta 900 of the file is taken as 700\n");
    const tool_result_t flag =
        run_filter("--csv --parameters " +
                   change_file(folder, save_filter(folder, "--cutoff 0.3 --window hann"), "MinimumOrderEnable", "true"));
    EXPECT_EQ(flag.errors, "dmatool: note: MinimumOrderEnable true of the file is taken as false\n");
}

TEST(FilterFile, ABandpassScaledOutsideItsBandIsReported)
{
    const scratch_folder_t folder;
    const std::string path = save_filter(folder, "--response bandpass --cutoff 0.6 0.8 --order 40");
    const std::string moved = change_file(folder, path, "FirstEdgeStopNoNormalize", "0.1");
    const tool_result_t result = run_filter("--csv --parameters " + moved);
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.errors.find("the gain was made 1 at 0.45"), std::string::npos) << result.errors;
}

TEST(FilterFile, RefusesWhatIsNoDescription)
{
    const scratch_folder_t folder;
    const std::string run = "--parameters ";
    expect_failure(run_filter(run + folder.get_path("absent.xml")), exit_unreadable, "is no file");
    expect_failure(run_filter(run + folder.get_path(".")), exit_unreadable, "is no file");
    expect_failure(run_filter(run + "/dev/zero"), exit_unreadable, "is no file");
    expect_failure(run_filter(run + folder.write("empty.xml", "")), exit_bad_capture, "is no XML");
    expect_failure(run_filter(run + folder.write("text.xml", "taps: 21")), exit_bad_capture, "is no XML");
    expect_failure(run_filter(run + folder.write("cut.xml", "<fir_filter><Fs>")), exit_bad_capture, "is no XML");
    expect_failure(run_filter(run + folder.write("other.xml", "<settings/>")), exit_bad_capture, "describes no filter");
    expect_failure(run_filter(run + folder.write("large.xml", std::string(2U << 20U, ' '))), exit_bad_capture, "1048576 or less");
    expect_failure(run_filter(run + folder.write("part.xml", "<f><ResponseParameters/></f>")), exit_bad_capture,
                   "has no element");
}

TEST(FilterFile, RefusesADescriptionThatMakesNoSense)
{
    const scratch_folder_t folder;
    const std::string path = save_filter(folder, "--method equiripple --edges 0.3 0.4 --order 20");
    const auto expect_refused = [&](const std::string& element, const std::string& value, const std::string& part)
    {
        SCOPED_TRACE(element + " " + value);
        expect_failure(run_filter("--parameters " + change_file(folder, path, element, value)), exit_bad_capture, part);
    };
    expect_refused("Type", "Allpass", "has the Type 'Allpass', which is not known");
    expect_refused("Type", "Shaping", "has no bands");
    expect_refused("WindowType", "Welch", "has the WindowType 'Welch'");
    expect_refused("DesignMethod", "Magic", "has the DesignMethod 'Magic'");
    expect_refused("FilterOrder", "many", "has the FilterOrder 'many', which is no finite number");
    expect_refused("KaiserBeta", "nan", "no finite number");
    expect_refused("KaiserBeta", "", "no finite number");
    expect_refused("Fs", "0", "expected a sample rate above 0 Hz");
    expect_refused("Fs", "-2", "expected a sample rate above 0 Hz");
    expect_refused("FirstEdgeStartNoNormalize", "0.4", "rise");
    expect_refused("FirstEdgeStartNoNormalize", "0.5", "rise");
    expect_refused("FirstEdgeStopNoNormalize", "7", "between 0 and 1, the Nyquist frequency");
}

TEST(FilterFile, RefusesAMinimumOrderThatMakesNoSense)
{
    const scratch_folder_t folder;
    const std::string path = save_filter(folder, "--minimum-order --edges 0.3 0.4 --ripple 1 --attenuation 60");
    const auto expect_refused = [&](const std::string& element, const std::string& value, const std::string& part)
    {
        SCOPED_TRACE(element + " " + value);
        expect_failure(run_filter("--parameters " + change_file(folder, path, element, value)), exit_bad_capture, part);
    };
    expect_refused("DesignMethod", "LeastSquare", "goes with the equiripple method and the Kaiser window");
    expect_refused("FirstAmplitude", "0", "asks for 0 dB of ripple in band 1");
    expect_refused("FirstAmplitude", "12", "above 0 and up to 9 dB");
    expect_refused("SecondAmplitude", "-60", "asks for -60 dB of attenuation in band 2");
}
