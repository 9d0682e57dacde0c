#include "log_meaning.h"

#include <array>
#include <string_view>

namespace dmatool
{
namespace
{
struct meaning_t
{
    std::string_view part; ///< of the message
    std::string_view meaning;
};

constexpr std::array<meaning_t, 13> meanings = { {
    { "_lock_phase_detect", "the carrier loop found no lock, so the figures mean nothing: check format, symbol rate and filters, and "
                            "that the interval holds signal" },
    { "qam_carrier_coarse_syn lock len error", "the carrier search found no stretch in lock, so the figures mean nothing: check "
                                               "format, symbol rate and filters" },
    { "data is too short!", "the interval does not fit behind the sync word, and the figures are those of the first symbols "
                            "instead: give a shorter --interval, or record more behind the word" },
    { "Pattern Not Found!", "no turn of the points shows the sync word" },
    { "Burst Not Found!", "a burst search places nothing; the interval lies where --offset puts it" },
    { "Data Out Of Acq Rang!", "the interval's last positions lie behind the capture on paper; the figures do not depend on it" },
    { "frequency_error_correct error", "the carrier's frequency could not be estimated: the capture is too short for it, or holds no "
                                       "signal" },
    { "deal_polyfit:error", "no line could be laid through the carrier's phase: the capture holds too few symbols or no signal" },
    { "lib_resample: factors", "the sample rate and the symbol rate have no ratio of small numbers" },
    { "timing_recovery", "the symbol clock could not be found: the capture is too short" },
    { "too less data", "the symbol clock could not be found: the capture is too short" },
    { "demod data less than pre_num", "less than 100 symbols are left to demodulate: move the interval forward, or record more" },
    { "undefined filter type", "the measurement filter of this kind was not applied" },
} };
} // namespace

std::string explain_message(const std::string& message)
{
    for (const meaning_t& row : meanings)
    {
        if (message.find(row.part) != std::string::npos)
        {
            return message + " (" + std::string(row.meaning) + ")";
        }
    }
    return message;
}
} // namespace dmatool
