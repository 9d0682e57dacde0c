#pragma once

#include "support/logger_system.h"

#include <cstdio>
#include <exception>
#include <fmt/format.h>
#include <string>
#include <string_view>

namespace common_log
{
/// Formats and writes one message; a failure of either is printed to standard error and goes no further.
/// Texts are %-style literals and the formatter is brace-style: the placeholders reach the log as they stand. The arguments
/// are evaluated and dropped.
template <typename... argument_t>
void write_protected(log_level_t level, const char* file, std::uint32_t line, const char* function, std::string_view format_text,
                     const argument_t&... arguments) noexcept
{
    try
    {
        logger_system_t& logger = logger_system_t::get_instance();
        const std::string message = fmt::vformat(format_text, fmt::make_format_args(arguments...));
        logger.log_write("DMA_LIB", false, level, file, line, function, message);
    }
    catch (const fmt::format_error& error)
    {
        std::fprintf(stderr, "[%s:%u] Log format error: %s\n", file, line, error.what());
    }
    catch (...)
    {
        std::fprintf(stderr, "[%s:%u] Log write failed (unknown error)\n", file, line);
    }
}
} // namespace common_log

/// Logs with file, line and function of the place it stands at.
#define DMA_LOG(level, ...) ::common_log::write_protected(level, __FILE__, __LINE__, __func__, __VA_ARGS__)
#define DMA_LOG_INFO(...) DMA_LOG(::common_log::log_level_info, __VA_ARGS__)
#define DMA_LOG_ERROR(...) DMA_LOG(::common_log::log_level_error, __VA_ARGS__)
#define DMA_LOG_END(...) DMA_LOG(::common_log::log_level_end, __VA_ARGS__)
