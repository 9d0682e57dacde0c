#include "support/logger_system.h"

#include "message_capture.h"
#include "support/log_macro.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace common_log;

TEST(LogMessage, KeepsPercentPlaceholdersAndDropsTheArguments)
{
    log_capture_t log;
    int evaluated = 0;
    DMA_LOG_INFO("demo_info.burst_len  = %u\n", ++evaluated);
    DMA_LOG_ERROR("phase average:%.6f,bin_delay:%.6f.\n", 0.25, 1.5f);
    EXPECT_EQ(evaluated, 1);
    EXPECT_EQ(log.count(log_level_info, "demo_info.burst_len  = %u\n"), 1);
    EXPECT_EQ(log.count(log_level_error, "phase average:%.6f,bin_delay:%.6f.\n"), 1);
}

TEST(LogMessage, CarriesModuleFlagLevelAndPlace)
{
    log_capture_t log;
    const std::uint32_t line = __LINE__ + 1;
    DMA_LOG_END("the end\n");
    ASSERT_EQ(log.get_records().size(), 1u);
    const log_record_t& record = log.get_records().front();
    EXPECT_EQ(record.module, "DMA_LIB");
    EXPECT_FALSE(record.flag);
    EXPECT_EQ(record.level, 4u);
    EXPECT_EQ(record.line, line);
    EXPECT_EQ(record.function, "TestBody");
    EXPECT_EQ(record.file, __FILE__);
    EXPECT_EQ(record.message, "the end\n");
}

TEST(LogLevels, AreTwoThreeAndFour)
{
    log_capture_t log;
    DMA_LOG_INFO("a");
    DMA_LOG_ERROR("b");
    DMA_LOG_END("c");
    ASSERT_EQ(log.get_records().size(), 3u);
    EXPECT_EQ(log.get_records()[0].level, 2u);
    EXPECT_EQ(log.get_records()[1].level, 3u);
    EXPECT_EQ(log.get_records()[2].level, 4u);
}

TEST(DefaultSink, PrintsToStandardErrorFromLevelThreeOn)
{
    logger_system_t& logger = logger_system_t::get_instance();
    logger.set_sink({});
    EXPECT_EQ(logger.get_level(), 3u);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    DMA_LOG_INFO("too quiet\n");
    DMA_LOG_ERROR("an error\n");
    DMA_LOG_END("the end without a line end");
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(text.find("too quiet"), std::string::npos);
    EXPECT_NE(text.find("an error\n"), std::string::npos);
    EXPECT_NE(text.find("the end without a line end\n"), std::string::npos);
}

TEST(DefaultSink, PrintsFromTheLevelThatIsSet)
{
    logger_system_t& logger = logger_system_t::get_instance();
    logger.set_sink({});
    logger.set_level(4);
    testing::internal::CaptureStderr();
    DMA_LOG_ERROR("dropped\n");
    DMA_LOG_END("kept\n");
    std::string text = testing::internal::GetCapturedStderr();
    EXPECT_EQ(text.find("dropped"), std::string::npos);
    EXPECT_NE(text.find("kept"), std::string::npos);

    logger.set_level(2);
    testing::internal::CaptureStderr();
    DMA_LOG_INFO("now kept\n");
    text = testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find("now kept"), std::string::npos);
    logger.set_level(3);
}

TEST(HostSink, ReceivesEveryLevelAndCanBeTakenBack)
{
    {
        log_capture_t log;
        testing::internal::CaptureStderr();
        DMA_LOG_INFO("to the host");
        DMA_LOG_ERROR("to the host");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(log.get_records().size(), 2u);
    }
    testing::internal::CaptureStderr();
    DMA_LOG_ERROR("to standard error");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("to standard error"), std::string::npos);
}

TEST(HostSink, MayLogAndReplaceItself)
{
    logger_system_t& logger = logger_system_t::get_instance();
    int calls = 0;
    logger.set_sink(
        [&](const log_record_t& record)
        {
            ++calls;
            if (record.message == "outer")
            {
                DMA_LOG_INFO("inner");
                logger_system_t::get_instance().set_sink([&calls](const log_record_t&) { calls += 100; });
            }
        });
    DMA_LOG_INFO("outer");
    DMA_LOG_INFO("later");
    logger.set_sink({});
    EXPECT_EQ(calls, 102);
}

TEST(LogSite, PrintsAFormatErrorAndGoesOn)
{
    log_capture_t log;
    testing::internal::CaptureStderr();
    const std::uint32_t line = __LINE__ + 1;
    DMA_LOG_INFO("an {unclosed brace", 1);
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_EQ(text.rfind(fmt::format("[{}:{}] Log format error: ", __FILE__, line), 0), 0u) << text;
    EXPECT_EQ(text.back(), '\n');
    EXPECT_GT(text.size(), fmt::format("[{}:{}] Log format error: \n", __FILE__, line).size());
    EXPECT_TRUE(log.get_records().empty());

    testing::internal::CaptureStderr();
    DMA_LOG_INFO("a missing argument {}");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("] Log format error: "), std::string::npos);
}

TEST(LogSite, PrintsThatAThrowingSinkFailedAndGoesOn)
{
    logger_system_t& logger = logger_system_t::get_instance();
    logger.set_sink([](const log_record_t&) { throw std::runtime_error("disk full"); });
    testing::internal::CaptureStderr();
    const std::uint32_t line = __LINE__ + 1;
    DMA_LOG_ERROR("lost\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), fmt::format("[{}:{}] Log write failed (unknown error)\n", __FILE__, line));
    logger.set_sink([](const log_record_t&) { throw 42; });
    testing::internal::CaptureStderr();
    DMA_LOG_ERROR("lost\n");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("] Log write failed (unknown error)\n"), std::string::npos);
    logger.set_sink({});
}

TEST(LogWrite, PassesAHostsOwnMessagesThrough)
{
    log_capture_t log;
    logger_system_t::get_instance().log_write("HOST", true, 7, "host.cpp", 12, "run", "{not formatted} %d");
    ASSERT_EQ(log.get_records().size(), 1u);
    const log_record_t& record = log.get_records().front();
    EXPECT_EQ(record.module, "HOST");
    EXPECT_TRUE(record.flag);
    EXPECT_EQ(record.level, 7u);
    EXPECT_EQ(record.file, "host.cpp");
    EXPECT_EQ(record.line, 12u);
    EXPECT_EQ(record.function, "run");
    EXPECT_EQ(record.message, "{not formatted} %d");
}

TEST(Logger, LosesNothingWhenSeveralThreadsWrite)
{
    constexpr int thread_count = 4;
    constexpr int messages = 500;
    log_capture_t log;
    std::vector<std::thread> threads;
    for (int t = 0; t < thread_count; ++t)
    {
        threads.emplace_back(
            []
            {
                for (int i = 0; i < messages; ++i)
                {
                    DMA_LOG_INFO("from a thread\n");
                    logger_system_t::get_instance().set_level(3);
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(log.count(log_level_info, "from a thread\n"), thread_count * messages);
}
