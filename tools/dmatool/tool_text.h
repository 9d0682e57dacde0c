#pragma once

#include <string>

namespace dmatool
{
/// The text with line ends and other control characters turned to blanks, so that a message stays one line.
std::string get_one_line(const std::string& text);
/// The text as one line, in single quotes.
std::string quote(const std::string& text);
/// The text as names are compared: in small letters, without blanks, -, _ and /.
std::string get_name_key(const std::string& text);
/// A number with as many digits as it takes to tell it from its neighbours.
std::string get_short_number(double value);
/// As `get_short_number`, for a single-precision value: 3.12 and not 3.1199998855590820.
std::string get_short_number(float value);
/// True for a finite number that does not turn into an infinity in single precision.
bool is_single_precision(double value);
} // namespace dmatool
