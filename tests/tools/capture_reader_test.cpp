#include "capture_reader.h"

#include "exit_status.h"
#include "tool_runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <complex>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

using namespace dmatool;
using dma_test::make_words;
using dma_test::scratch_folder_t;

namespace
{
using samples_t = std::vector<std::complex<float>>;

capture_request_t make_request(const std::string& path)
{
    capture_request_t request;
    request.path = path;
    return request;
}

capture_request_t make_raw_request(const std::string& path, const std::string& datatype)
{
    capture_request_t request = make_request(path);
    request.datatype = datatype;
    request.sample_rate = 1.0e6;
    return request;
}

/// Bytes of a number, the low byte first.
template <typename value_t>
std::string make_bytes(value_t value)
{
    std::string bytes;
    for (unsigned i = 0; i < sizeof(value_t); ++i)
    {
        bytes.push_back(static_cast<char>((static_cast<std::uint64_t>(value) >> (8U * i)) & 0xFFU));
    }
    return bytes;
}

std::string make_float_bytes(const std::vector<float>& values)
{
    std::string bytes;
    for (const float value : values)
    {
        bytes += make_bytes(std::bit_cast<std::uint32_t>(value));
    }
    return bytes;
}

/// Each group of `size` bytes turned round.
std::string swap_bytes(std::string bytes, std::size_t size)
{
    for (std::size_t i = 0; i + size <= bytes.size(); i += size)
    {
        const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(i);
        std::reverse(first, first + static_cast<std::ptrdiff_t>(size));
    }
    return bytes;
}

void expect_error(const capture_request_t& request, exit_status_t status, const std::string& part)
{
    try
    {
        read_capture(request);
        ADD_FAILURE() << "read without an error; expected: " << part;
    }
    catch (const tool_error_t& error)
    {
        EXPECT_EQ(error.get_status(), status) << error.what();
        EXPECT_NE(std::string(error.what()).find(part), std::string::npos) << error.what();
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << error.what();
    }
}
} // namespace

TEST(CaptureReader, ReadsFloatsInBothByteOrders)
{
    const scratch_folder_t folder;
    const std::string bytes = make_float_bytes({ 0.5f, -0.25f, 3.0f, 1.0e-20f });
    const samples_t expected = { { 0.5f, -0.25f }, { 3.0f, 1.0e-20f } };
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("le", "cf32_le", bytes))).samples, expected);
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("be", "cf32_be", swap_bytes(bytes, 4)))).samples, expected);
}

TEST(CaptureReader, ReadsDoublesInBothByteOrders)
{
    const scratch_folder_t folder;
    const std::string bytes = make_bytes(std::bit_cast<std::uint64_t>(0.1)) + make_bytes(std::bit_cast<std::uint64_t>(-7.5));
    const samples_t expected = { { 0.1f, -7.5f } };
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("le", "cf64_le", bytes))).samples, expected);
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("be", "cf64_be", swap_bytes(bytes, 8)))).samples, expected);
}

TEST(CaptureReader, ScalesSignedIntegersToFullScaleOne)
{
    const scratch_folder_t folder;
    const std::string words = make_words({ 0x4000, 0x8000, 0x7FFF, 0xFFFF }, false);
    const samples_t expected = { { 0.5f, -1.0f }, { 32767.0f / 32768.0f, -1.0f / 32768.0f } };
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("le", "ci16_le", words))).samples, expected);
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("be", "ci16_be", swap_bytes(words, 2)))).samples, expected);

    const samples_t bytes_expected = { { 0.5f, -1.0f }, { -0.0078125f, 0.9921875f } };
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("i8", "ci8", "\x40\x80\xFF\x7F"))).samples, bytes_expected);

    const std::string longs = make_bytes(std::uint32_t{ 0x40000000U }) + make_bytes(std::uint32_t{ 0x80000000U });
    const samples_t longs_expected = { { 0.5f, -1.0f } };
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("i32", "ci32_le", longs))).samples, longs_expected);
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("i32be", "ci32_be", swap_bytes(longs, 4)))).samples, longs_expected);
}

TEST(CaptureReader, TakesHalfTheRangeOffUnsignedIntegers)
{
    const scratch_folder_t folder;
    const samples_t expected = { { 0.0f, -1.0f }, { 127.0f / 128.0f, 0.5f } };
    const std::string bytes = { '\x80', '\x00', '\xFF', '\xC0' };
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("u8", "cu8", bytes))).samples, expected);
    const samples_t words_expected = { { 0.0f, -1.0f } };
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("u16", "cu16_le", make_words({ 0x8000, 0 }, false)))).samples,
              words_expected);
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("u16b", "cu16_be", make_words({ 0x8000, 0 }, true)))).samples,
              words_expected);
}

TEST(CaptureReader, FindsThePairByEitherFileAndByTheStem)
{
    const scratch_folder_t folder;
    const std::string stem = folder.write_sigmf("two.part.name", "cf32_le", make_float_bytes({ 1.0f, 2.0f }));
    for (const char* ending : { "", ".sigmf-meta", ".sigmf-data" })
    {
        const capture_t capture = read_capture(make_request(stem + ending));
        EXPECT_EQ(capture.samples, (samples_t{ { 1.0f, 2.0f } })) << ending;
        EXPECT_EQ(capture.sample_rate, 1.0e6);
        EXPECT_EQ(capture.datatype, "cf32_le");
    }
}

TEST(CaptureReader, TakesTheStretchThatWasAskedFor)
{
    const scratch_folder_t folder;
    capture_request_t request =
        make_request(folder.write_sigmf("s", "cf32_le", make_float_bytes({ 0.0f, 0.0f, 1.0f, 1.0f, 2.0f, 2.0f, 3.0f, 3.0f })));
    request.start = 1;
    request.count = 2;
    EXPECT_EQ(read_capture(request).samples, (samples_t{ { 1.0f, 1.0f }, { 2.0f, 2.0f } }));
    request.count = 9;
    const capture_t rest = read_capture(request);
    EXPECT_EQ(rest.samples.size(), 3U);
    ASSERT_EQ(rest.notes.size(), 1U);
    EXPECT_NE(rest.notes[0].find("3 samples"), std::string::npos);
    request.start = 4;
    expect_error(request, exit_usage, "--start 4 lies past the end");
    request.start = 0;
    request.count = 0;
    expect_error(request, exit_usage, "--count 0");
}

TEST(CaptureReader, ReadsRecordsLongerThanOneChunk)
{
    const scratch_folder_t folder;
    constexpr std::size_t count = 140000;
    std::vector<std::uint16_t> words;
    for (std::size_t i = 0; i < count; ++i)
    {
        words.push_back(static_cast<std::uint16_t>(i % 30000));
        words.push_back(static_cast<std::uint16_t>(i / 30000));
    }
    const capture_t capture = read_capture(make_raw_request(folder.write("long.bin", make_words(words, false)), "ci16_le"));
    ASSERT_EQ(capture.samples.size(), count);
    for (std::size_t i = 0; i < count; ++i)
    {
        ASSERT_EQ(capture.samples[i],
                  std::complex<float>(static_cast<float>(i % 30000) / 32768.0f, static_cast<float>(i / 30000) / 32768.0f))
            << "sample " << i;
    }
}

TEST(CaptureReader, RefusesDataThatAreCutOff)
{
    const scratch_folder_t folder;
    expect_error(make_request(folder.write_sigmf("cut", "cf32_le", std::string(15, '\0'))), exit_bad_capture, "15 bytes");
    expect_error(make_request(folder.write_sigmf("none", "cf32_le", "")), exit_bad_capture, "no samples");
}

TEST(CaptureReader, RefusesSamplesThatAreNoNumbersAndNamesTheFirst)
{
    const scratch_folder_t folder;
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinity = std::numeric_limits<float>::infinity();
    expect_error(make_request(folder.write_sigmf("nan", "cf32_le", make_float_bytes({ 0.0f, 0.0f, 1.0f, nan }))),
                 exit_bad_capture, "sample 1 ");
    expect_error(make_request(folder.write_sigmf("inf", "cf32_le", make_float_bytes({ -infinity, 0.0f }))), exit_bad_capture,
                 "sample 0 ");
    const std::string large = make_bytes(std::bit_cast<std::uint64_t>(1.0e39)) + make_bytes(std::bit_cast<std::uint64_t>(0.0));
    expect_error(make_request(folder.write_sigmf("large", "cf64_le", large)), exit_bad_capture, "within single precision");

    // The index counts from the start of the file, and what is not asked for is not looked at.
    capture_request_t request =
        make_request(folder.write_sigmf("later", "cf32_le", make_float_bytes({ nan, nan, 0.0f, 0.0f, nan, 0.0f })));
    request.start = 1;
    expect_error(request, exit_bad_capture, "sample 2 ");
    request.count = 1;
    EXPECT_EQ(read_capture(request).samples.size(), 1U);
}

TEST(CaptureReader, RefusesDatatypesThatItDoesNotKnow)
{
    const scratch_folder_t folder;
    for (const char* name : { "cf16_le", "xf32_le", "cf32le", "c", "", "ci12_le", "cf32_xe" })
    {
        expect_error(make_request(folder.write_sigmf("t", name, std::string(16, '\0'))), exit_bad_capture, "unknown datatype");
        expect_error(make_raw_request(folder.get_path("t.sigmf-data"), name), exit_usage, "unknown datatype");
    }
    for (const char* name : { "rf32_le", "ri16_be", "ru8", "rf64_le", "ri8" })
    {
        expect_error(make_request(folder.write_sigmf("t", name, std::string(16, '\0'))), exit_bad_capture, "real-valued");
    }
}

TEST(CaptureReader, TakesADatatypeWithoutByteOrderAsLittleEndianAndSaysSo)
{
    const scratch_folder_t folder;
    const capture_t capture = read_capture(make_request(folder.write_sigmf("t", "ci16", make_words({ 0x4000, 0 }, false))));
    EXPECT_EQ(capture.samples, (samples_t{ { 0.5f, 0.0f } }));
    EXPECT_EQ(capture.datatype, "ci16_le");
    ASSERT_EQ(capture.notes.size(), 1U);
    EXPECT_NE(capture.notes[0].find("byte order"), std::string::npos);
}

TEST(CaptureReader, RefusesMetadataThatDoNotSayWhatIsNeeded)
{
    const scratch_folder_t folder;
    folder.write("m.sigmf-data", std::string(16, '\0'));
    const auto expect_meta_error = [&folder](const std::string& text, const std::string& part)
    {
        folder.write("m.sigmf-meta", text);
        expect_error(make_request(folder.get_path("m")), exit_bad_capture, part);
    };
    expect_meta_error("", "no valid JSON");
    expect_meta_error("{\"global\": {", "no valid JSON");
    expect_meta_error("[1, 2]", "\"global\"");
    expect_meta_error("{\"global\": 3}", "\"global\"");
    expect_meta_error(R"({"global": {"core:sample_rate": 1}})", "core:datatype");
    expect_meta_error(R"({"global": {"core:datatype": 7, "core:sample_rate": 1}})", "core:datatype");
    expect_meta_error(R"({"global": {"core:datatype": "cf32_le"}})", "no core:sample_rate");
    expect_meta_error(R"({"global": {"core:datatype": "cf32_le", "core:sample_rate": "fast"}})", "positive number");
    expect_meta_error(R"({"global": {"core:datatype": "cf32_le", "core:sample_rate": -1}})", "positive number");
    expect_meta_error(R"({"global": {"core:datatype": "cf32_le", "core:sample_rate": null}})", "positive number");
    expect_meta_error(R"({"global": {"core:datatype": "cf32_le", "core:sample_rate": 1e999}})", "too large");
}

TEST(CaptureReader, RefusesLayoutsThatItCannotFollow)
{
    const scratch_folder_t folder;
    const std::string bytes(16, '\0');
    expect_error(make_request(folder.write_sigmf("c", "cf32_le", bytes, R"(, "core:num_channels": 2)")), exit_bad_capture,
                 "num_channels");
    expect_error(make_request(folder.write_sigmf("c", "cf32_le", bytes, R"(, "core:metadata_only": true)")), exit_bad_capture,
                 "metadata_only");
    expect_error(make_request(folder.write_sigmf("c", "cf32_le", bytes, R"(, "core:trailing_bytes": 4)")), exit_bad_capture,
                 "around the samples");
    folder.write("c.sigmf-meta", R"({"global": {"core:datatype": "cf32_le", "core:sample_rate": 1000000},
                                     "captures": [{"core:header_bytes": 8}]})");
    expect_error(make_request(folder.get_path("c")), exit_bad_capture, "around the samples");
    EXPECT_EQ(read_capture(make_request(folder.write_sigmf("c", "cf32_le", bytes, R"(, "core:num_channels": 1)"))).samples.size(),
              2U);
}

TEST(CaptureReader, FollowsTheNameOfADatasetBesideTheMetadata)
{
    const scratch_folder_t folder;
    folder.write("other.bin", make_float_bytes({ 4.0f, 5.0f }));
    folder.write("d.sigmf-meta",
                 R"({"global": {"core:datatype": "cf32_le", "core:sample_rate": 1000000, "core:dataset": "other.bin"}})");
    EXPECT_EQ(read_capture(make_request(folder.get_path("d.sigmf-meta"))).samples, (samples_t{ { 4.0f, 5.0f } }));
}

TEST(CaptureReader, SaysSoWhenARecordingHasSeveralSegments)
{
    const scratch_folder_t folder;
    folder.write("d.sigmf-data", make_float_bytes({ 4.0f, 5.0f }));
    folder.write("d.sigmf-meta", R"({"global": {"core:datatype": "cf32_le", "core:sample_rate": 1000000},
                                     "captures": [{"core:sample_start": 0}, {"core:sample_start": 1}]})");
    const capture_t capture = read_capture(make_request(folder.get_path("d")));
    ASSERT_EQ(capture.notes.size(), 1U);
    EXPECT_NE(capture.notes[0].find("2 capture segments"), std::string::npos);
}

TEST(CaptureReader, TellsWhatIsMissing)
{
    const scratch_folder_t folder;
    expect_error(make_request(folder.get_path("absent")), exit_unreadable, "there is no");
    expect_error(make_request(folder.get_path("absent.sigmf-meta")), exit_unreadable, "there is no metadata file");
    expect_error(make_request(folder.get_path("absent.sigmf-data")), exit_unreadable, "there is no");
    expect_error(make_raw_request(folder.get_path("absent.bin"), "cf32"), exit_unreadable, "there is no");
    folder.write_sigmf("half", "cf32_le", "");
    std::filesystem::remove(folder.get_path("half.sigmf-data"));
    expect_error(make_request(folder.get_path("half")), exit_unreadable, "there is no data file");
    folder.write("lonely.sigmf-data", "12345678");
    expect_error(make_request(folder.get_path("lonely.sigmf-data")), exit_unreadable, "there is no metadata file");
    expect_error(make_request(folder.get_path(".")), exit_unreadable, "is a directory");
    expect_error(make_raw_request("/dev/zero", "cf32"), exit_unreadable, "no regular file");
    // A name with a line end must not break the one line.
    expect_error(make_request(folder.get_path("two\nlines")), exit_unreadable, "two lines");
}

TEST(CaptureReader, AsksForWhatARawFileDoesNotSay)
{
    const scratch_folder_t folder;
    const std::string path = folder.write("raw.bin", std::string(16, '\0'));
    expect_error(make_request(path), exit_usage, "--datatype");
    capture_request_t request = make_request(path);
    request.datatype = "cf32";
    expect_error(request, exit_usage, "--sample-rate");
    request.sample_rate = 2.0e6;
    EXPECT_EQ(read_capture(request).samples.size(), 2U);
    EXPECT_EQ(read_capture(request).sample_rate, 2.0e6);
    request.path = folder.get_path("x.sigmf-meta");
    expect_error(request, exit_usage, "--datatype describes a raw file");
    expect_error(make_request(folder.write("a.sigmf", "x")), exit_bad_capture, "archive");
}

TEST(CaptureReader, ASampleRateGivenStandsAboveTheMetadata)
{
    const scratch_folder_t folder;
    capture_request_t request = make_request(folder.write_sigmf("r", "cf32_le", std::string(16, '\0')));
    request.sample_rate = 3.0e6;
    EXPECT_EQ(read_capture(request).sample_rate, 3.0e6);
    folder.write("n.sigmf-data", std::string(16, '\0'));
    folder.write("n.sigmf-meta", R"({"global": {"core:datatype": "cf32_le"}})");
    request.path = folder.get_path("n");
    EXPECT_EQ(read_capture(request).sample_rate, 3.0e6);
}

namespace
{
capture_request_t make_text_request(const scratch_folder_t& folder, const std::string& text)
{
    capture_request_t request = make_request(folder.write("t.txt", text));
    request.sample_rate = 1.0e6;
    return request;
}
} // namespace

TEST(TextCapture, ReadsTwoColumnsInAnyUsualSeparation)
{
    const scratch_folder_t folder;
    const samples_t expected = { { 0.5f, -1.0f }, { 2.0f, 3.0e-3f } };
    for (const char* text : { "0.5 -1\n2 3e-3\n", "0.5,-1\n2,3e-3\n", "0.5\t-1\r\n+2\t3E-3\r\n", "0.5; -1\n2; 3e-3",
                              "\xEF\xBB\xBFI,Q\n0.5,-1\n\n2,3e-3\n\n", "# made by hand\n  0.5   -1  \n# more\n2 3e-3\n" })
    {
        const capture_t capture = read_capture(make_text_request(folder, text));
        EXPECT_EQ(capture.samples, expected) << text;
        EXPECT_EQ(capture.datatype, "text");
    }
}

TEST(TextCapture, ReadsOneColumnAsIAndQInTurn)
{
    const scratch_folder_t folder;
    EXPECT_EQ(read_capture(make_text_request(folder, "1\n2\n3\n4\n")).samples, (samples_t{ { 1.0f, 2.0f }, { 3.0f, 4.0f } }));
    expect_error(make_text_request(folder, "1\n2\n3\n"), exit_bad_capture, "without its Q");
}

TEST(TextCapture, TakesTheStretchThatWasAskedFor)
{
    const scratch_folder_t folder;
    capture_request_t request = make_text_request(folder, "0 0\n1 1\n2 2\nthree\n");
    request.start = 1;
    request.count = 2;
    // Line 4 lies behind what was asked for.
    EXPECT_EQ(read_capture(request).samples, (samples_t{ { 1.0f, 1.0f }, { 2.0f, 2.0f } }));
    request = make_text_request(folder, "0 0\n1 1\n");
    request.start = 2;
    expect_error(request, exit_usage, "--start 2 lies past the end");
    request.start = 1;
    request.count = 5;
    EXPECT_EQ(read_capture(request).notes.size(), 1U);
}

TEST(TextCapture, NamesTheLineOfWhatItCannotRead)
{
    const scratch_folder_t folder;
    expect_error(make_text_request(folder, "0 0\n\n1 x\n"), exit_bad_capture, "line 3");
    expect_error(make_text_request(folder, "0 0\n1\n"), exit_bad_capture, "line 2");
    expect_error(make_text_request(folder, "0 0 0\n"), exit_bad_capture, "line 1");
    expect_error(make_text_request(folder, "0 0\n1 nan\n"), exit_bad_capture, "line 2");
    expect_error(make_text_request(folder, "nan 0\n"), exit_bad_capture, "line 1");
    expect_error(make_text_request(folder, "0 0\ninf 1\n"), exit_bad_capture, "line 2");
    expect_error(make_text_request(folder, "0 0\n1e39 1\n"), exit_bad_capture, "line 2");
    expect_error(make_text_request(folder, "1.5.2 1\n"), exit_bad_capture, "line 1");
    expect_error(make_text_request(folder, "I Q\nI Q\n"), exit_bad_capture, "line 2");
    expect_error(make_text_request(folder, "0,5;0,3\n"), exit_bad_capture, "line 1");
    expect_error(make_text_request(folder, std::string("0 0\n\0\0", 6)), exit_bad_capture, "line 2");
    expect_error(make_text_request(folder, std::string(100000, '1')), exit_bad_capture, "line 1");
}

TEST(TextCapture, RefusesAFileWithoutSamples)
{
    const scratch_folder_t folder;
    expect_error(make_text_request(folder, ""), exit_bad_capture, "no samples");
    expect_error(make_text_request(folder, "I,Q\n# nothing\n"), exit_bad_capture, "no samples");
}

TEST(TextCapture, IsKnownByItsEndingOrByName)
{
    const scratch_folder_t folder;
    for (const char* name : { "a.txt", "a.csv", "a.dat", "A.TXT" })
    {
        capture_request_t request = make_request(folder.write(name, "1 2\n"));
        expect_error(request, exit_usage, "--sample-rate");
        request.sample_rate = 1.0e6;
        EXPECT_EQ(read_capture(request).samples.size(), 1U) << name;
    }
    EXPECT_EQ(read_capture(make_raw_request(folder.write("plain", "1 2\n"), "text")).samples.size(), 1U);
}
