#include "tool_file.h"

#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <ios>
#include <system_error>

namespace dmatool
{
void fail_file(exit_status_t status, const std::string& path, const std::string& text)
{
    throw tool_error_t(status, fmt::format("{} {}", quote(path), text));
}

pugi::xml_document read_xml_file(const std::string& path, std::uintmax_t largest, const std::string& kind,
                                 const std::string& advice)
{
    std::error_code failure;
    if (!std::filesystem::is_regular_file(path, failure))
    {
        fail_file(exit_unreadable, path, "is no file; " + advice);
    }
    const std::uintmax_t size = std::filesystem::file_size(path, failure);
    if (failure)
    {
        fail_file(exit_unreadable, path, "cannot be read; check its permissions");
    }
    if (size > largest)
    {
        fail_file(exit_bad_capture, path, fmt::format("has {} bytes, expected {} or less; is it {}?", size, largest, kind));
    }
    std::ifstream file(path, std::ios::binary);
    std::string text(static_cast<std::size_t>(size), '\0');
    if (!file.read(text.data(), static_cast<std::streamsize>(size)))
    {
        fail_file(exit_unreadable, path, "cannot be read; check its permissions");
    }
    pugi::xml_document document;
    const pugi::xml_parse_result parsed = document.load_buffer(text.data(), text.size());
    if (!parsed)
    {
        const std::size_t offset = std::min(static_cast<std::size_t>(parsed.offset), text.size());
        const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(offset), '\n') + 1;
        fail_file(exit_bad_capture, path,
                  fmt::format("is no XML: {} at byte {}, line {}", parsed.description(), parsed.offset, line));
    }
    return document;
}

void write_file(const std::string& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    if (!file)
    {
        fail_file(exit_output, path, "could not be written; check the folder and the disk");
    }
}
} // namespace dmatool
