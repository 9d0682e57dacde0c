#include "lib_dma_common/lib_dma_phy_common.h"

#include "support/log_macro.h"

#include <clocale>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <locale.h>
#include <memory>
#include <string_view>

namespace vrim::dma_demod_lib
{
namespace
{
/// Keeps the logarithms of a silent capture finite.
constexpr float sample_floor = 1e-11f;
constexpr std::string_view blanks = " \t\r\n\f\v";

struct file_closer_t
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// @return false when the file cannot be opened or read
bool read_text(const char* file_name, std::string& text)
{
    text.clear();
    if (file_name == nullptr)
        return false;
    const std::unique_ptr<std::FILE, file_closer_t> file(std::fopen(file_name, "r"));
    if (!file)
        return false;
    char block[65536];
    for (std::size_t count = 0; (count = std::fread(block, 1, sizeof block, file.get())) > 0;)
        text.append(block, count);
    return std::ferror(file.get()) == 0;
}

/// Reads the number that `text` starts with, with a decimal point whatever the host's locale is.
/// @param[out] end  first character behind the number, `text` itself when there is none
float read_number(const char* text, const char*& end)
{
    static const locale_t plain_locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    char* stop = nullptr;
    const float value = strtof_l(text, &stop, plain_locale);
    end = stop;
    return value;
}

/// Takes the next word from the front of `rest`; empty at the end.
std::string_view take_word(std::string_view& rest)
{
    const std::size_t first = rest.find_first_not_of(blanks);
    if (first == std::string_view::npos)
    {
        rest = {};
        return {};
    }
    rest.remove_prefix(first);
    const std::string_view word = rest.substr(0, rest.find_first_of(blanks));
    rest.remove_prefix(word.size());
    return word;
}
} // namespace

void lib_dma_phy_common_t::get_test_demod_data(const char* file_name, complex_array& samples)
{
    samples.clear();
    std::string text;
    if (!read_text(file_name, text))
    {
        DMA_LOG_ERROR("Open IQ data file error.\n");
        return;
    }
    // A number may touch the next one, as in "1.5-2"; the text ends in a zero, at which no number starts.
    const char* place = text.c_str();
    for (;;)
    {
        const char* after_i = nullptr;
        const char* after_q = nullptr;
        const float i_part = read_number(place, after_i);
        const float q_part = read_number(after_i, after_q);
        if (after_i == place || after_q == after_i)
            return;
        samples.emplace_back(i_part + sample_floor, q_part + sample_floor);
        place = after_q;
    }
}

void lib_dma_phy_common_t::input_data2_complex_arr(const char* file_name, complex_array& samples)
{
    samples.clear();
    std::string text;
    if (!read_text(file_name, text))
    {
        DMA_LOG_ERROR("input_data2_complex_arr:Open IQ data file error.\n");
        return;
    }
    std::string_view rest = text;
    for (;;)
    {
        const std::string_view i_word = take_word(rest);
        const std::string_view q_word = take_word(rest);
        if (q_word.empty())
            return;
        // A number never reaches past its word: what follows a word is a blank or the zero at the end of the text.
        const char* end = nullptr;
        const float i_part = read_number(i_word.data(), end);
        const float q_part = read_number(q_word.data(), end);
        samples.emplace_back(i_part, q_part);
    }
}
} // namespace vrim::dma_demod_lib
