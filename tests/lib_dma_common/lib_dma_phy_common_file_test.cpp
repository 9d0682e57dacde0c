#include "lib_dma_common/lib_dma_phy_common.h"

#include "message_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <unistd.h>

using namespace vrim;
using common_t = vrim::dma_demod_lib::lib_dma_phy_common_t;

namespace
{
/// A file that lives as long as the object.
class text_file_t
{
public:
    explicit text_file_t(std::string_view text)
        : name_(testing::TempDir() + "iq_text_" + std::to_string(getpid()) + "_" +
                testing::UnitTest::GetInstance()->current_test_info()->name() + ".txt")
    {
        std::ofstream(name_, std::ios::binary) << text;
    }
    ~text_file_t() { std::filesystem::remove(name_); }
    text_file_t(const text_file_t&) = delete;
    text_file_t& operator=(const text_file_t&) = delete;

    const char* get_name() const { return name_.c_str(); }

private:
    std::string name_;
};

complex_array read_pairs(std::string_view text)
{
    const text_file_t file(text);
    complex_array samples = { { 9.0f, 9.0f } };
    common_t::get_test_demod_data(file.get_name(), samples);
    return samples;
}

complex_array read_words(std::string_view text)
{
    const text_file_t file(text);
    complex_array samples = { { 9.0f, 9.0f } };
    common_t::input_data2_complex_arr(file.get_name(), samples);
    return samples;
}

constexpr float sample_floor = 1e-11f;
} // namespace

TEST(TestDemodData, ReadsPairsAndAddsTheFloor)
{
    const complex_array samples = read_pairs("0.5 -1.25\n0 0\n3e2\t+4\n");
    ASSERT_EQ(samples.size(), 3u);
    EXPECT_EQ(samples[0], std::complex<float>(0.5f, -1.25f)); // the floor is lost beside larger values
    EXPECT_EQ(samples[1], std::complex<float>(sample_floor, sample_floor));
    EXPECT_EQ(samples[2], std::complex<float>(300.0f, 4.0f));
}

TEST(TestDemodData, KeepsALastPairWithoutALineEnd)
{
    const complex_array samples = read_pairs("1 2\n3 4");
    ASSERT_EQ(samples.size(), 2u);
    EXPECT_EQ(samples[1], std::complex<float>(3.0f, 4.0f));
}

TEST(TestDemodData, NeitherRepeatsTheLastPairNorMakesOneOfBlankLines)
{
    EXPECT_EQ(read_pairs("1 2\n3 4\n").size(), 2u);
    EXPECT_EQ(read_pairs("1 2\n3 4\n\n \r\n").size(), 2u);
    EXPECT_TRUE(read_pairs("").empty());
    EXPECT_TRUE(read_pairs(" \n\n").empty());
}

TEST(TestDemodData, DropsALastSingleNumber)
{
    EXPECT_EQ(read_pairs("1 2\n3\n").size(), 1u);
    EXPECT_TRUE(read_pairs("1").empty());
}

TEST(TestDemodData, ReadsNumbersAcrossLinesAndTouchingOnes)
{
    const complex_array samples = read_pairs("1\n2\n3 4 5 6\n-7.5-8\n");
    ASSERT_EQ(samples.size(), 4u);
    EXPECT_EQ(samples[0], std::complex<float>(1.0f, 2.0f));
    EXPECT_EQ(samples[2], std::complex<float>(5.0f, 6.0f));
    EXPECT_EQ(samples[3], std::complex<float>(-7.5f, -8.0f));
}

TEST(TestDemodData, EndsAtAWordThatIsNoNumber)
{
    EXPECT_EQ(read_pairs("1 2\n3 x\n5 6\n").size(), 1u);
    EXPECT_EQ(read_pairs("1 2\nI Q\n5 6\n").size(), 1u);
    EXPECT_TRUE(read_pairs("# header\n1 2\n").empty());
    EXPECT_TRUE(read_pairs("1,2\n3,4\n").empty());
    EXPECT_EQ(read_pairs(std::string_view("1 2\n\0 3 4\n", 10)).size(), 1u);
}

TEST(TestDemodData, ReadsValuesOutOfRangeAsInfinityAndZero)
{
    const complex_array samples = read_pairs("1e99 1e-99\n");
    ASSERT_EQ(samples.size(), 1u);
    EXPECT_TRUE(std::isinf(samples[0].real()));
    EXPECT_EQ(samples[0].imag(), sample_floor);
}

TEST(TestDemodData, ReadsPastTheSizeOfOneBlock)
{
    std::string text;
    constexpr int count = 30000; // 340 kB
    for (int i = 0; i < count; ++i)
        text += std::to_string(i) + " " + std::to_string(-i) + "\n";
    const complex_array samples = read_pairs(text);
    ASSERT_EQ(samples.size(), static_cast<std::size_t>(count));
    for (int i = 1; i < count; ++i)
        ASSERT_EQ(samples[static_cast<std::size_t>(i)], std::complex<float>(static_cast<float>(i), static_cast<float>(-i)));
}

TEST(TestDemodData, LogsAFileThatCannotBeReadAndGivesNoSamples)
{
    for (const char* name : { static_cast<const char*>(nullptr), "/nowhere/no_such_file.txt", "", "/" })
    {
        const log_capture_t log;
        complex_array samples = { { 9.0f, 9.0f } };
        common_t::get_test_demod_data(name, samples);
        EXPECT_TRUE(samples.empty());
        EXPECT_EQ(log.get_records().size(), 1u);
        EXPECT_EQ(log.count(3, "Open IQ data file error.\n"), 1);
    }
}

TEST(InputData, ReadsWordsInPairsAndAddsNothing)
{
    const complex_array samples = read_words("0.5 -1.25\n0 0\n3e2\t+4\n");
    ASSERT_EQ(samples.size(), 3u);
    EXPECT_EQ(samples[0], std::complex<float>(0.5f, -1.25f));
    EXPECT_EQ(samples[1], std::complex<float>(0.0f, 0.0f));
    EXPECT_EQ(samples[2], std::complex<float>(300.0f, 4.0f));
}

TEST(InputData, KeepsAWholeLastPairAndDropsASingleWord)
{
    EXPECT_EQ(read_words("1 2\n3 4\n").size(), 2u);
    EXPECT_EQ(read_words("1 2\n3 4").size(), 2u);
    EXPECT_EQ(read_words("1 2\n3 4\n\n  \n").size(), 2u);
    EXPECT_EQ(read_words("1 2\n3\n").size(), 1u);
    EXPECT_TRUE(read_words("1").empty());
    EXPECT_TRUE(read_words("").empty());
}

TEST(InputData, TakesTheNumberThatAWordStartsWithOrZero)
{
    const complex_array samples = read_words("1.5abc x\n2, 3;\n5 6\n");
    ASSERT_EQ(samples.size(), 3u);
    EXPECT_EQ(samples[0], std::complex<float>(1.5f, 0.0f));
    EXPECT_EQ(samples[1], std::complex<float>(2.0f, 3.0f));
    EXPECT_EQ(samples[2], std::complex<float>(5.0f, 6.0f));
}

TEST(InputData, LogsAFileThatCannotBeReadAndGivesNoSamples)
{
    for (const char* name : { static_cast<const char*>(nullptr), "/nowhere/no_such_file.txt", "/" })
    {
        const log_capture_t log;
        complex_array samples = { { 9.0f, 9.0f } };
        common_t::input_data2_complex_arr(name, samples);
        EXPECT_TRUE(samples.empty());
        EXPECT_EQ(log.count(3, "input_data2_complex_arr:Open IQ data file error.\n"), 1);
    }
}
