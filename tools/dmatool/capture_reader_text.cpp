#include "capture_reader.h"

#include "exit_status.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string_view>

namespace dmatool
{
namespace
{
constexpr std::uint64_t most_samples = 0x7FFFFFFFU;
// Longer than any line of two numbers; a binary file taken for text ends here instead of filling the memory.
constexpr std::size_t longest_line = 4096;

/// Reads one line without its end. @return false at the end of the file
bool read_line(std::istream& file, std::string& line, bool& too_long)
{
    line.clear();
    too_long = false;
    for (int c = file.get(); c != std::char_traits<char>::eof(); c = file.get())
    {
        if (c == '\n')
        {
            return true;
        }
        if (line.size() == longest_line)
        {
            too_long = true;
            return true;
        }
        line.push_back(static_cast<char>(c));
    }
    return !line.empty();
}

std::vector<std::string> split_fields(const std::string& line)
{
    std::vector<std::string> fields;
    std::string field;
    for (const char c : line)
    {
        if (c == ' ' || c == '\t' || c == ',' || c == ';' || c == '\r')
        {
            if (!field.empty())
            {
                fields.push_back(field);
                field.clear();
            }
            continue;
        }
        field.push_back(c);
    }
    if (!field.empty())
    {
        fields.push_back(field);
    }
    return fields;
}

/// Reads a whole field as a number; strtod takes what the C and Fortran worlds write, in the C locale.
bool parse_number(const std::string& field, double& value)
{
    char* end = nullptr;
    value = std::strtod(field.c_str(), &end);
    return end == field.c_str() + field.size();
}

/// Column names have letters and are no numbers; "nan" is one.
bool is_header(const std::vector<std::string>& fields)
{
    double ignored = 0.0;
    for (const std::string& field : fields)
    {
        const auto first = static_cast<unsigned char>(field.front());
        if (parse_number(field, ignored) || std::isdigit(first) != 0 || first == '-' || first == '+' || first == '.')
        {
            return false;
        }
    }
    return true;
}
} // namespace

void read_text_samples(const capture_request_t& request, const std::string& path, capture_t& capture)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        throw tool_error_t(exit_unreadable, fmt::format("cannot open capture {}; check its permissions", quote(path)));
    }
    capture.datatype = "text";
    capture.data_file = path;

    const auto fail = [&path](std::uint64_t number, const std::string& what)
    { throw tool_error_t(exit_bad_capture, fmt::format("line {} of {} {}", number, quote(path), what)); };

    std::string line;
    std::uint64_t number = 0;
    std::size_t columns = 0; // 0 until the first line with numbers
    bool first_flag = true;
    bool half_flag = false; // an I is waiting for its Q
    double half = 0.0;
    std::uint64_t index = 0; // of the next sample in the file
    bool too_long = false;
    while (!(request.count && capture.samples.size() == *request.count) && read_line(file, line, too_long))
    {
        ++number;
        if (too_long || line.find('\0') != std::string::npos)
        {
            fail(number, "is no text of two numbers; name the datatype of a binary file with --datatype");
        }
        if (number == 1 && line.starts_with("\xEF\xBB\xBF"))
        {
            line.erase(0, 3);
        }
        const std::vector<std::string> fields = split_fields(line);
        if (fields.empty() || fields.front().front() == '#')
        {
            continue;
        }
        if (first_flag)
        {
            first_flag = false;
            if (is_header(fields))
            {
                continue;
            }
        }
        if (columns == 0)
        {
            columns = fields.size();
        }
        if (fields.size() != columns || columns > 2)
        {
            fail(number, fmt::format("has {} fields; expected {}", fields.size(),
                                     columns == 1 ? "one number, I and Q in turn" : "two numbers, I and Q"));
        }
        double values[2] = { 0.0, 0.0 };
        for (std::size_t i = 0; i < columns; ++i)
        {
            if (!parse_number(fields[i], values[i]))
            {
                fail(number,
                     fmt::format("has {} where a number was expected; write I and Q with decimal points", quote(fields[i])));
            }
            if (!is_single_precision(values[i]))
            {
                fail(number, fmt::format("has {} (sample {}): samples must be finite and within single precision; cut it out "
                                         "with --start and --count or repair the recording",
                                         quote(fields[i]), index));
            }
        }
        if (columns == 1 && !half_flag)
        {
            half_flag = true;
            half = values[0];
            continue;
        }
        const double real = columns == 1 ? half : values[0];
        const double imag = columns == 1 ? values[0] : values[1];
        half_flag = false;
        if (index++ < request.start)
        {
            continue;
        }
        if (capture.samples.size() == most_samples)
        {
            throw tool_error_t(exit_usage,
                               fmt::format("{} has more samples than one analysis takes; choose {} or less with --count",
                                           quote(path), most_samples));
        }
        capture.samples.emplace_back(static_cast<float>(real), static_cast<float>(imag));
    }
    if (file.bad())
    {
        throw tool_error_t(exit_unreadable,
                           fmt::format("reading {} failed at line {}; check the disk or copy it again", quote(path), number));
    }
    if (half_flag)
    {
        throw tool_error_t(exit_bad_capture,
                           fmt::format("{} ends with an I without its Q: it is cut off; copy it again", quote(path)));
    }
    if (index == 0)
    {
        throw tool_error_t(exit_bad_capture, fmt::format("{} holds no samples; record the signal again", quote(path)));
    }
    if (capture.samples.empty())
    {
        throw tool_error_t(exit_usage, fmt::format("--start {} lies past the end of {}, which holds {} samples; give {} or less",
                                                   request.start, quote(path), index, index - 1));
    }
    if (request.count && capture.samples.size() < *request.count)
    {
        capture.notes.push_back(fmt::format("--count {} goes past the end of the file; the {} samples there are taken",
                                            *request.count, capture.samples.size()));
    }
}
} // namespace dmatool
