#include "plain_array/decision.h"
#include "plain_array/internal/split_array.h"
#include "lib_dma_demod/lib_dma_qam_common.h"
#include "support/trace_output.h"

#include <complex>
#include <string_view>

namespace vrim::dma_demod_lib
{
namespace
{
using slice_t = std::complex<float> (*)(std::complex<float> point, float scale);

bool judge_symbol(std::string_view report, slice_t slice, float re, float im, float* out_re, float* out_im)
{
    constexpr float unit_rms = 1.0f;
    if (!split_array::has_arrays(report, 1, out_re, out_im))
        return false;
    const std::complex<float> decided = slice({ re, im }, unit_rms);
    *out_re = decided.real();
    *out_im = decided.imag();
    return true;
}
} // namespace

bool qam_judge_16(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: qam_judge_16(): null pointer\n", lib_dma_qam_common_t::qam_judge_16, re, im, out_re, out_im);
}

bool qam_judge_32(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: qam_judge_32(): null pointer\n", lib_dma_qam_common_t::qam_judge_32, re, im, out_re, out_im);
}

bool qam_judge_64(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: qam_judge_64(): null pointer\n", lib_dma_qam_common_t::qam_judge_64, re, im, out_re, out_im);
}

bool qam_judge_128(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: qam_judge_128(): null pointer\n", lib_dma_qam_common_t::qam_judge_128, re, im, out_re, out_im);
}

bool qam_judge_256(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: qam_judge_256(): null pointer\n", lib_dma_qam_common_t::qam_judge_256, re, im, out_re, out_im);
}

bool qam_judge_512(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: qam_judge_512(): null pointer\n", lib_dma_qam_common_t::qam_judge_512, re, im, out_re, out_im);
}

bool qam_judge_1024(float re, float im, float* out_re, float* out_im)
{
    return judge_symbol("error: qam_judge_1024(): null pointer\n", lib_dma_qam_common_t::qam_judge_1024, re, im, out_re, out_im);
}

bool qam_judge_square(std::uint32_t order, float re, float im, float* out_re, float* out_im)
{
    switch (order)
    {
    case 16:
        return qam_judge_16(re, im, out_re, out_im);
    case 64:
        return qam_judge_64(re, im, out_re, out_im);
    case 256:
        return qam_judge_256(re, im, out_re, out_im);
    case 1024:
        return qam_judge_1024(re, im, out_re, out_im);
    case 4096:
        return judge_symbol("error: qam_judge_square(): null pointer\n", lib_dma_qam_common_t::qam_judge_4096, re, im, out_re,
                            out_im);
    default:
        common_log::trace_output_t::get_instance().write(
            "error: qam_judge_square(): order must be 16, 64, 256, 1024 or 4096\n");
        return false;
    }
}

bool qam_judge(std::uint32_t order, float re, float im, float* out_re, float* out_im)
{
    const qam_judge_func_t judge = qam_get_judge_func(order);
    return judge != nullptr && judge(re, im, out_re, out_im);
}

qam_judge_func_t qam_get_judge_func(std::uint32_t order)
{
    switch (order)
    {
    case 16:
        return qam_judge_16;
    case 32:
        return qam_judge_32;
    case 64:
        return qam_judge_64;
    case 128:
        return qam_judge_128;
    case 256:
        return qam_judge_256;
    case 512:
        return qam_judge_512;
    case 1024:
        return qam_judge_1024;
    default:
        common_log::trace_output_t::get_instance().write(
            "error: qam_get_judge_func(): order must be 16, 32, 64, 128, 256, 512 or 1024\n");
        return nullptr;
    }
}
} // namespace vrim::dma_demod_lib
