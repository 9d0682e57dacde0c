#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vrim::common_lib
{
/// Text forms of lists. Each operation is the inverse of its twin.
class DMA_DEMOD_EXPORT lib_common_list_parse_t
{
public:
    /// Bits to a string of the characters 0 and 1.
    static bool bit_list_to_string(const byte_array& bits, std::string& text);
    /// @param text  characters 0 and 1; blanks, commas and underscores between them are passed over
    /// @return false, and no bits, when any other character stands in the text
    static bool string_to_bit_list(const std::string& text, byte_array& bits);

    /// Decimal numbers with commas between them.
    static bool index_list_to_string(const std::vector<std::int32_t>& indices, std::string& text);
    /// Blanks around the numbers are passed over; a blank text is an empty list.
    /// @param[out] error_text  why the text is bad, empty otherwise
    /// @return false, and no indices, when the text is bad
    static bool string_to_index_list(const std::string& text, std::vector<std::int32_t>& indices, std::string& error_text);

    /// Points as "re,im" with semicolons between them, in as many digits as bring back the same values.
    static bool complex_list_to_string(const complex_array& points, std::string& text);
    /// @return false, and no points, when the text is bad
    static bool string_to_complex_list(const std::string& text, complex_array& points);
};
} // namespace vrim::common_lib
