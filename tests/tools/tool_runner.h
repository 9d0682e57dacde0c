#pragma once

#include "exit_status.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace dma_test
{
/// A folder of its own for one test, gone when the test ends.
class scratch_folder_t
{
public:
    scratch_folder_t();
    ~scratch_folder_t();
    scratch_folder_t(const scratch_folder_t&) = delete;
    scratch_folder_t& operator=(const scratch_folder_t&) = delete;

    std::string get_path(const std::string& name) const { return (folder_ / name).string(); }
    /// Writes a file and gives its path.
    std::string write(const std::string& name, const std::string& bytes) const;
    /// Writes STEM.sigmf-meta with the datatype, rate 1 MHz and further lines of JSON for "global", and STEM.sigmf-data.
    std::string write_sigmf(const std::string& stem, const std::string& datatype, const std::string& bytes,
                            const std::string& more = "") const;

private:
    std::filesystem::path folder_;
};

/// What a run of a program left.
struct tool_result_t
{
    int status = -1;    ///< exit status; -1 when a signal ended it
    std::string output; ///< standard output
    std::string errors; ///< standard error
};

/// Runs `dmatool analyze` with the arguments. @param redirect  shell words behind the command; empty takes standard output
tool_result_t run_analyze(const std::vector<std::string>& arguments, const std::string& redirect = "");
/// Runs dmatool with the arguments.
tool_result_t run_tool(const std::vector<std::string>& arguments, const std::string& redirect = "");

/// Expects one line on standard error that begins with the program's name and holds `part`, and nothing on standard output.
void expect_failure(const tool_result_t& result, dmatool::exit_status_t status, const std::string& part);

/// Bytes of 16-bit words, the low byte first or last.
std::string make_words(const std::vector<std::uint16_t>& words, bool big_endian);
} // namespace dma_test
