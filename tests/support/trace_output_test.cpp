#include "support/trace_output.h"

#include "message_capture.h"
#include "support/lib_test.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace common_log;

namespace
{
/// What reaches standard output while `action` runs.
template <typename action_t>
std::string capture_standard_output(action_t&& action)
{
    testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}
} // namespace

TEST(TraceOutput, GoesToStandardOutputAsItStands)
{
    EXPECT_EQ(capture_standard_output([] { trace_output_t::get_instance().write("as it {stands} %d"); }), "as it {stands} %d");
    EXPECT_EQ(capture_standard_output([] { print_trace_line("a line"); }), "a line\n");
}

TEST(TraceOutput, CanBeRedirectedAndRestored)
{
    std::string kept;
    const std::string printed = capture_standard_output(
        [&]
        {
            trace_capture_t trace;
            trace_output_t::get_instance().write("here");
            print_trace_line(", and here");
            kept = trace.get_text();
        });
    EXPECT_EQ(printed, "");
    EXPECT_EQ(kept, "here, and here\n");
    EXPECT_EQ(capture_standard_output([] { print_trace_line("back"); }), "back\n");
}

TEST(TraceOutput, CanBeSilencedUntilTheNextSink)
{
    EXPECT_EQ(capture_standard_output(
                  []
                  {
                      trace_output_t::get_instance().silence();
                      print_trace_line("unheard");
                      trace_output_t::get_instance().set_sink({});
                      print_trace_line("heard");
                  }),
              "heard\n");
}

TEST(TraceOutput, SurvivesAThrowingSink)
{
    trace_output_t::get_instance().set_sink([](std::string_view) { throw std::runtime_error("closed"); });
    EXPECT_NO_THROW(print_trace_line("lost"));
    trace_output_t::get_instance().set_sink({});
}

TEST(TraceTime, IsPrintedInSecondsWithSixDecimals)
{
    trace_capture_t trace;
    const std::int64_t now = vrim::common_lib::lib_test_t::get_current_time();
    print_trace_time("step time: ", now - 2'000'000);
    const std::string head = "step time: ";
    const std::string text = trace.get_text();
    ASSERT_GT(text.size(), head.size() + 10) << text;
    EXPECT_EQ(text.substr(0, head.size()), head);
    EXPECT_EQ(text.substr(text.size() - 3), " s\n");
    EXPECT_EQ(text[text.size() - 10], '.') << text; // six decimals
    EXPECT_EQ(text.find_first_not_of("0123456789.", head.size()), text.size() - 3) << text;
    EXPECT_GE(std::stod(text.substr(head.size())), 2.0);
}

TEST(CurrentTime, NeverGoesBack)
{
    std::int64_t before = vrim::common_lib::lib_test_t::get_current_time();
    for (int i = 0; i < 1000; ++i)
    {
        const std::int64_t now = vrim::common_lib::lib_test_t::get_current_time();
        EXPECT_GE(now, before);
        before = now;
    }
}

TEST(TraceOutput, LosesNothingWhenSeveralThreadsWrite)
{
    trace_capture_t trace;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
    {
        threads.emplace_back(
            []
            {
                for (int i = 0; i < 500; ++i)
                    print_trace_line("x");
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(trace.get_text().size(), 4u * 500u * 2u);
}
