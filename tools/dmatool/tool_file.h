#pragma once

#include "exit_status.h"

#include <cstdint>
#include <pugixml.hpp>
#include <string>

namespace dmatool
{
/// Ends the program over a file. @throws tool_error_t
[[noreturn]] void fail_file(exit_status_t status, const std::string& path, const std::string& text);

/// Reads an XML file.
/// @param largest  bytes; larger files are refused unread
/// @param kind     what the file should be, for the messages: "a settings file"
/// @param advice   what to give instead: "give an XML file as --save writes it"
/// @throws tool_error_t that names byte and line of what is not well formed
pugi::xml_document read_xml_file(const std::string& path, std::uintmax_t largest, const std::string& kind,
                                 const std::string& advice);

/// Writes a whole file. @throws tool_error_t
void write_file(const std::string& path, const std::string& text);
} // namespace dmatool
