#pragma once

#include <string>

namespace dmatool
{
/// A message of the library's log, and behind it in brackets what it means for the figures where that is known.
std::string explain_message(const std::string& message);
} // namespace dmatool
