#pragma once

#include <stdexcept>
#include <string>

namespace dmatool
{
/// How the program ends. Scripts depend on the values.
enum exit_status_t : int
{
    exit_ok = 0,
    exit_usage = 2,           ///< an option is missing, unknown or out of range, or options contradict each other
    exit_unreadable = 3,      ///< an input file does not exist or cannot be opened or read
    exit_bad_capture = 4,     ///< an input file is malformed, or of a kind that is not supported
    exit_too_short = 5,       ///< the capture has fewer samples than the settings need
    exit_not_built = 6,       ///< the modulation group or the format has no demodulator
    exit_analysis_failed = 7, ///< the analysis or the design gave up
    exit_output = 8,          ///< the report or another output file could not be written
    exit_changed = 9,         ///< recalling the settings file would change values of it
    exit_internal = 70,       ///< a fault of the program, or not enough memory
};

/// The list above as it stands in the help.
inline constexpr const char* exit_status_help = "Exit status: 0 done; 2 bad option; 3 input file cannot be read; "
                                                "4 input file malformed or unsupported;\n"
                                                "5 capture too short for the settings; 6 group or format not built yet; "
                                                "7 analysis or design failed;\n8 output could not be written; "
                                                "9 settings would be changed; 70 internal fault.";

/// Ends the program with a status and one line on standard error.
class tool_error_t : public std::runtime_error
{
public:
    /// @param message  what was wrong, what was expected and what to do, in one line
    tool_error_t(exit_status_t status, const std::string& message) : std::runtime_error(message), status_(status) {}
    exit_status_t get_status() const { return status_; }

private:
    exit_status_t status_;
};
} // namespace dmatool
