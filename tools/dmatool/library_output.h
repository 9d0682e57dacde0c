#pragma once

#include "command.h"
#include "support/logger_system.h"

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace dmatool
{
/// Takes the library's log and what it prints for as long as it lives: standard output stays clean, and what matters is kept.
class library_output_t
{
public:
    /// What is kept for `get_messages`.
    enum kept_t
    {
        keep_errors,    ///< errors of the log
        keep_all_texts, ///< the whole log and the printed texts
    };

    /// @param verbose  hands every log line and printed text to `lines`
    library_output_t(kept_t kept, bool verbose, const line_sink_t& lines);
    ~library_output_t();
    library_output_t(const library_output_t&) = delete;
    library_output_t& operator=(const library_output_t&) = delete;

    /// The first different messages, twenty at most, one line each.
    std::vector<std::string> get_messages() const;

private:
    void keep(const std::string& text);

    static constexpr std::size_t most_messages = 20;
    mutable std::mutex guard_;
    std::vector<std::string> messages_;
};

/// Messages in one line, or the words that there were none.
std::string join_messages(const std::vector<std::string>& messages);
} // namespace dmatool
