#include "settings_runner.h"

#include <gtest/gtest.h>

#include <sstream>

namespace dma_test
{
tool_result_t run_settings(const std::string& words)
{
    std::vector<std::string> arguments = { "settings" };
    std::istringstream stream(words);
    for (std::string word; stream >> word;)
    {
        arguments.push_back(word);
    }
    return run_tool(arguments);
}

std::string get_default_settings()
{
    const tool_result_t result = run_settings("write");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    return result.output;
}

std::string change_element(std::string text, const std::string& element, const std::string& content)
{
    const std::string start = "<" + element + ">";
    std::size_t at = text.find(start);
    EXPECT_NE(at, std::string::npos) << element;
    while (at != std::string::npos)
    {
        at += start.size();
        text.replace(at, text.find("</" + element, at) - at, content);
        at = text.find(start, at);
    }
    return text;
}

std::string find_line(const std::string& report, const std::string& path)
{
    std::istringstream stream(report);
    for (std::string line; std::getline(stream, line);)
    {
        if (line.rfind(path + ": ", 0) == 0)
        {
            return line;
        }
    }
    return {};
}

std::string get_segment_path(const std::string& rest, int item)
{
    return "cfg_dma_frame/cfg_dma_segement/cfg_dma_segement[" + std::to_string(item) + "]/" + rest;
}
} // namespace dma_test
