#include "plain_array/decision.h"
#include "plain_array/internal/psk_state.h"
#include "plain_array/internal/split_array.h"
#include "lib_dma_demod/stage/sector_slicer.h"
#include "support/internal/complex_ops.h"
#include "support/trace_output.h"

#include <complex>
#include <cstddef>
#include <string_view>

namespace vrim::dma_demod_lib
{
namespace
{
std::complex<float> slice_axis(std::complex<float> point)
{
    return demod_stage::slice_2_sectors(point, 0.0f);
}

std::complex<float> slice_axes(std::complex<float> point)
{
    return demod_stage::slice_4_sectors(point, 0.0f);
}

std::complex<float> slice_diagonals(std::complex<float> point)
{
    constexpr float quarter_pi = 0.7853982f;
    // The slicer compares angles as they are and turns its points alone.
    return demod_stage::slice_4_sectors(common_lib::complex_product(point, common_lib::unit_phasor(-quarter_pi)), quarter_pi);
}

std::complex<float> slice_8(std::complex<float> point)
{
    return demod_stage::slice_8_sectors(point, 0.0f);
}

std::complex<float> slice_16(std::complex<float> point)
{
    return demod_stage::slice_16_sectors(point, 0.0f);
}

using slice_t = std::complex<float> (*)(std::complex<float>);

bool judge_symbol(std::string_view report, slice_t slice, float re, float im, float* out_re, float* out_im)
{
    if (!split_array::has_arrays(report, 1, out_re, out_im))
        return false;
    const std::complex<float> decided = slice({ re, im });
    *out_re = decided.real();
    *out_im = decided.imag();
    return true;
}

bool detect_symbols(std::string_view report, std::uint32_t order, slice_t slice, const float* in_i, const float* in_q,
                    std::uint32_t length, float* out_i, float* out_q, std::uint32_t* symbols)
{
    if (!split_array::has_arrays(report, length, in_i, in_q, out_i, out_q))
        return false;
    for (std::size_t k = 0; k < length; ++k)
    {
        const std::complex<float> decided = slice({ in_i[k], in_q[k] });
        out_i[k] = decided.real();
        out_q[k] = decided.imag();
        if (symbols != nullptr)
            symbols[k] = psk_state::get_number(order, decided);
    }
    return true;
}
} // namespace

bool psk_judge_bpsk(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: psk_judge_bpsk(): null pointer\n", slice_axis, re, im, out_re, out_im);
}

bool psk_judge_qpsk(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: psk_judge_qpsk(): null pointer\n", slice_axes, re, im, out_re, out_im);
}

bool psk_judge_qpsk_pi_4(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: psk_judge_qpsk_pi_4(): null pointer\n", slice_diagonals, re, im, out_re, out_im);
}

bool psk_judge_8psk(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: psk_judge_8psk(): null pointer\n", slice_8, re, im, out_re, out_im);
}

bool psk_judge_16psk(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: psk_judge_16psk(): null pointer\n", slice_16, re, im, out_re, out_im);
}

bool bpsk_symbol_detect(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q,
                        std::uint32_t* symbols)
{
    return detect_symbols("error: bpsk_symbol_detect(): null pointer\n", 2, slice_axis, in_i, in_q, length, out_i, out_q,
                          symbols);
}

bool qpsk_symbol_detect(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q,
                        std::uint32_t* symbols)
{
    return detect_symbols("error: qpsk_symbol_detect(): null pointer\n", 4, slice_diagonals, in_i, in_q, length, out_i, out_q,
                          symbols);
}

bool psk8_symbol_detect(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q,
                        std::uint32_t* symbols)
{
    return detect_symbols("error: psk8_symbol_detect(): null pointer\n", 8, slice_8, in_i, in_q, length, out_i, out_q, symbols);
}

bool psk16_symbol_detect(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q,
                         std::uint32_t* symbols)
{
    return detect_symbols("error: psk16_symbol_detect(): null pointer\n", 16, slice_16, in_i, in_q, length, out_i, out_q,
                          symbols);
}

bool psk_symbol_detect(std::uint32_t order, const float* in_i, const float* in_q, std::uint32_t length, float* out_i,
                       float* out_q, std::uint32_t* symbols)
{
    switch (order)
    {
    case 2:
        return bpsk_symbol_detect(in_i, in_q, length, out_i, out_q, symbols);
    case 4:
        return qpsk_symbol_detect(in_i, in_q, length, out_i, out_q, symbols);
    case 8:
        return psk8_symbol_detect(in_i, in_q, length, out_i, out_q, symbols);
    case 16:
        return psk16_symbol_detect(in_i, in_q, length, out_i, out_q, symbols);
    default:
        common_log::trace_output_t::get_instance().write("error: psk_symbol_detect(): order must be 2, 4, 8 or 16\n");
        return false;
    }
}
} // namespace vrim::dma_demod_lib
