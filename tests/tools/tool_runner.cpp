#include "tool_runner.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace dma_test
{
namespace
{
std::string read_file(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return { std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
}

std::string quote_for_shell(const std::string& text)
{
    std::string quoted(1, '\'');
    for (const char c : text)
    {
        if (c == '\'')
        {
            quoted.append("'\\''");
        }
        else
        {
            quoted.push_back(c);
        }
    }
    quoted.push_back('\'');
    return quoted;
}
} // namespace

scratch_folder_t::scratch_folder_t()
{
    static std::atomic<int> number{ 0 };
    folder_ = std::filesystem::temp_directory_path() /
              ("dmatool_test_" + std::to_string(::getpid()) + "_" + std::to_string(number.fetch_add(1)));
    std::filesystem::create_directories(folder_);
}

scratch_folder_t::~scratch_folder_t()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string scratch_folder_t::write(const std::string& name, const std::string& bytes) const
{
    std::ofstream file(get_path(name), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return get_path(name);
}

std::string scratch_folder_t::write_sigmf(const std::string& stem, const std::string& datatype, const std::string& bytes,
                                          const std::string& more) const
{
    write(stem + ".sigmf-data", bytes);
    write(stem + ".sigmf-meta", R"({"global": {"core:datatype": ")" + datatype + R"(", "core:version": "1.2.5", )" +
                                    R"("core:sample_rate": 1000000)" + more + R"(}, "captures": [], "annotations": []})");
    return get_path(stem);
}

tool_result_t run_tool(const std::vector<std::string>& arguments, const std::string& redirect)
{
    const scratch_folder_t folder;
    std::string command = quote_for_shell(DMATOOL_PATH);
    for (const std::string& argument : arguments)
    {
        command.append(" ").append(quote_for_shell(argument));
    }
    command.append(" 2>").append(quote_for_shell(folder.get_path("errors")));
    command.append(redirect.empty() ? " >" : " ");
    command.append(redirect.empty() ? quote_for_shell(folder.get_path("output")) : redirect);

    tool_result_t result;
    const int status = std::system(command.c_str());
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.output = read_file(folder.get_path("output"));
    result.errors = read_file(folder.get_path("errors"));
    return result;
}

tool_result_t run_analyze(const std::vector<std::string>& arguments, const std::string& redirect)
{
    std::vector<std::string> all = { "analyze" };
    all.insert(all.end(), arguments.begin(), arguments.end());
    return run_tool(all, redirect);
}

void expect_failure(const tool_result_t& result, dmatool::exit_status_t status, const std::string& part)
{
    EXPECT_EQ(result.status, status) << result.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_EQ(result.errors.rfind("dmatool: ", 0), 0U) << result.errors;
    EXPECT_NE(result.errors.find(part), std::string::npos) << result.errors;
}

std::string make_words(const std::vector<std::uint16_t>& words, bool big_endian)
{
    std::string bytes;
    for (const std::uint16_t word : words)
    {
        const char low = static_cast<char>(word & 0xFFU);
        const char high = static_cast<char>(word >> 8U);
        bytes += big_endian ? std::string{ high, low } : std::string{ low, high };
    }
    return bytes;
}
} // namespace dma_test
