#include "analysis_runner.h"

#include <fstream>
#include <gtest/gtest.h>
#include <string>

#if defined(__linux__)
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

#if defined(__linux__)
/// A field of /proc/self/status in bytes; -1 when there is none.
long long read_status(const std::string& field)
{
    std::ifstream status("/proc/self/status");
    std::string word;
    long long kibibytes = -1;
    while (status >> word)
    {
        if (word == field + ":" && status >> kibibytes)
            return kibibytes * 1024;
    }
    return -1;
}

/// What the child process found.
struct memory_report_t
{
    long long baseline = -1;
    long long peak = -1;
    std::int32_t code = -1;
    float evm = 0.0f;
};

/// Analyses in a process of its own, whose peak counts from the fork on.
memory_report_t analyse_in_child(const vrim::complex_array& capture, const lib_dma_frame_configure_manager_t& frame)
{
    memory_report_t report;
    int ends[2] = { -1, -1 };
    if (pipe(ends) != 0)
        return report;
    malloc_trim(0); // freed memory that the heap keeps would hide what the run takes
    const pid_t child = fork();
    if (child == 0)
    {
        common_log::trace_output_t::get_instance().silence();
        std::ofstream("/proc/self/clear_refs") << "5"; // a fork starts its peak anew as well
        report.baseline = read_status("VmRSS");
        lib_dma_phy_t analyser;
        analyser.set_frame_configure(frame);
        analyser.set_sample_rate(4.0e6);
        analyser.set_demod_data(capture);
        report.code = analyser.dma_phy_process();
        report.peak = read_status("VmHWM");
        report.evm = analyser.get_data_manager().get_error_summary(0).evm_rms;
        const bool sent = write(ends[1], &report, sizeof report) == static_cast<ssize_t>(sizeof report);
        _exit(sent ? 0 : 1);
    }
    close(ends[1]);
    if (child > 0)
    {
        if (read(ends[0], &report, sizeof report) != static_cast<ssize_t>(sizeof report))
            report = {};
        int status = 0;
        waitpid(child, &status, 0);
    }
    close(ends[0]);
    return report;
}
#endif

/// Peak of an analysis of QPSK at four samples a symbol, beside the bar of twelve captures and 16 MiB.
void check_peak(std::uint32_t symbols, std::uint32_t points_per_symbol)
{
#if !defined(__linux__)
    GTEST_SKIP() << "no /proc/self/status";
#else
    if (sanitized)
        GTEST_SKIP() << "sanitizers keep memory of their own";
    if (read_status("VmHWM") < 0)
        GTEST_SKIP() << "no /proc/self/status";

    signal_setting_t signal_setting;
    signal_setting.symbol_count = symbols + 180;
    signal_setting.half_span_symbols = 40;
    signal_setting.carrier_offset_hz = 1234.5;
    signal_setting.timing_symbols = 0.34;
    signal_setting.snr_db = 30.0;
    const vrim::complex_array capture = make_signal(signal_setting).samples;
    ASSERT_EQ(capture.size(), 4 * (std::size_t(symbols) + 180));

    analysis_setting_t setting;
    setting.meas_interval = symbols;
    setting.points_per_symbol = points_per_symbol;
    const memory_report_t report = analyse_in_child(capture, make_frame(setting));
    ASSERT_EQ(report.code, LIB_DMA_RESULT_OK);
    ASSERT_GT(report.peak, report.baseline);
    EXPECT_GT(report.evm, 3.0f);

    constexpr long long allowance = 16ll * 1024 * 1024;
    const long long capture_bytes = static_cast<long long>(capture.size() * sizeof(capture[0]));
    const long long used = report.peak - report.baseline;
    EXPECT_LE(used, 12 * capture_bytes + allowance) << "capture of " << capture_bytes << " bytes";
    // It holds the capture, a block at twice the rate, and results; less would mean that nothing was measured.
    EXPECT_GE(used, 3 * capture_bytes);
    ::testing::Test::RecordProperty("peak_bytes", std::to_string(used));
#endif
}

TEST(Memory, AnAnalysisOf100000SymbolsStaysWithinTwelveCaptures)
{
    check_peak(100'000, 4);
}

TEST(Memory, AtOnePointPerSymbolItStaysWithinToo)
{
    check_peak(100'000, 1);
}

TEST(Memory, AMillionSymbolsTakeTheSameMultiple)
{
    check_peak(1'000'000, 4);
}
} // namespace
