#include "plain_array/pulse_design.h"

#include "plain_array/internal/split_array.h"
#include "support/internal/complex_ops.h"
#include "support/lib_filter.h"
#include "support/trace_output.h"

#include <cmath>
#include <string_view>

namespace vrim::dma_demod_lib
{
using common_lib::lib_filter_t;
using common_log::trace_output_t;

namespace
{
/// What a design says of its arguments.
struct design_words_t
{
    std::string_view beta;
    std::string_view span;
    std::string_view sps;
    std::string_view odd;
    std::string_view too_long;
    std::string_view null_pointer;
};

// The square-root design reports under the name of the plain one.
constexpr design_words_t raise_cosine_words = {
    "error: filter_design_raise_cosine(): beta must be in [0,1]\n",
    "error: filter_design_raise_cosine(): span must be greater than 0\n",
    "error: filter_design_raise_cosine(): sps must be greater than 0\n",
    "error: filter_design_raise_cosine(): span*sps must be even\n",
    "error: filter_design_raise_cosine(): span*sps is too large\n",
    "error: filter_design_raise_cosine(): null pointer\n",
};
constexpr design_words_t gaussian_words = {
    "error: filter_design_gaussian(): beta must be in [0,1]\n",
    "error: filter_design_gaussian(): span must be greater than 0\n",
    "error: filter_design_gaussian(): sps must be greater than 0\n",
    "error: filter_design_gaussian(): span*sps must be even\n",
    "error: filter_design_gaussian(): span*sps is too large\n",
    "error: filter_design_gaussian(): null pointer\n",
};

/// Report on the first argument that is wrong; empty when none is.
std::string_view find_fault(double beta, std::uint32_t span, std::uint32_t sps, const float* taps, const design_words_t& words)
{
    if (!(beta >= 0.0 && beta <= 1.0))
        return words.beta;
    if (span == 0)
        return words.span;
    if (sps == 0)
        return words.sps;
    if (span % 2 != 0 && sps % 2 != 0)
        return words.odd;
    return taps == nullptr ? words.null_pointer : std::string_view();
}

bool report(std::string_view text)
{
    trace_output_t::get_instance().write(text);
    return false;
}

/// @return false when the taps would be too many to hold
bool generate_taps(common_lib::lib_filter_type_t type, double beta, std::uint32_t span, std::uint32_t sps, float* taps)
{
    lib_filter_t prototype;
    prototype.set_filter_type(type);
    prototype.set_filter_alpha(beta);
    prototype.set_filter_length(span);
    prototype.set_oversampling_ratio(sps);
    complex_array data;
    if (!prototype.generate_filter_data(data))
        return false;
    split_array::split_real(data, taps);
    return true;
}

bool design_pulse(common_lib::lib_filter_type_t type, double beta, std::uint32_t span, std::uint32_t sps, float* taps,
                  const design_words_t& words)
{
    if (const std::string_view fault = find_fault(beta, span, sps, taps, words); !fault.empty())
        return report(fault);
    return generate_taps(type, beta, span, sps, taps) || report(words.too_long);
}
} // namespace

bool filter_design_raise_cosine(double beta, std::uint32_t span, std::uint32_t sps, float* taps)
{
    return design_pulse(common_lib::filter_raised_cosine, beta, span, sps, taps, raise_cosine_words);
}

bool filter_design_square_root_raise_cosine(double beta, std::uint32_t span, std::uint32_t sps, float* taps)
{
    return design_pulse(common_lib::filter_root_raised_cosine, beta, span, sps, taps, raise_cosine_words);
}

bool filter_design_gaussian(double beta, std::uint32_t span, std::uint32_t sps, float* taps)
{
    return design_pulse(common_lib::filter_gaussian, beta, span, sps, taps, gaussian_words);
}

bool filter_design_half_sine(std::uint32_t sps, float* taps)
{
    if (sps == 0)
        return report("error: filter_design_half_sine(): sps must be greater than 0\n");
    if (taps == nullptr)
        return report("error: filter_design_half_sine(): null pointer\n");
    return generate_taps(common_lib::filter_half_sine, 0.0, 1, sps, taps) ||
           report("error: filter_design_half_sine(): sps is too large\n");
}
} // namespace vrim::dma_demod_lib
