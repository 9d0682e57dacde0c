#include "support/lib_prbs_code.h"

#include <algorithm>
#include <cstddef>

namespace vrim::common_lib
{
namespace
{
constexpr std::uint32_t longest_register = 64;
/// Reach of the widened taps in bytes: what they read stays in the first-level cache.
constexpr std::size_t longest_reach = 16384;

std::vector<std::uint32_t> get_type_polynomial(lib_prbs_code_type_t type)
{
    switch (type)
    {
    case 0:
        return { 7, 6 };
    case 1:
        return { 9, 5 };
    case 3:
        return { 15, 14 };
    case 4:
        return { 23, 18 };
    case 5:
        return { 31, 28 };
    default:
        return {};
    }
}
} // namespace

void lib_prbs_code_t::set_prbs_type(lib_prbs_code_type_t type)
{
    type_ = type;
}

void lib_prbs_code_t::set_custom_primitive_polynomial_enable(bool flag)
{
    custom_polynomial_ = flag;
}

void lib_prbs_code_t::set_sequence_output_position(lib_prbs_sequence_output_position_type_t position)
{
    output_position_ = position;
}

void lib_prbs_code_t::set_prbs_primitive_polynomial(const std::vector<std::uint32_t>& taps)
{
    taps_ = taps;
}

void lib_prbs_code_t::set_prbs_seed(std::uint64_t seed)
{
    seed_ = seed;
}

bool lib_prbs_code_t::generate_prbs_code(std::uint64_t length, byte_array& pattern) const
{
    pattern.clear();
    std::vector<std::uint32_t> taps = custom_polynomial_ ? taps_ : get_type_polynomial(type_);
    // A polynomial may be written with its constant term, which is no tap.
    std::erase(taps, 0u);
    std::sort(taps.begin(), taps.end());
    taps.erase(std::unique(taps.begin(), taps.end()), taps.end());
    if (taps.empty() || taps.back() > longest_register)
        return false;

    const std::size_t size = static_cast<std::size_t>(length);
    const std::size_t shortest = taps.front();
    const std::size_t degree = taps.back();
    const std::uint64_t mask = ~std::uint64_t{ 0 } >> (longest_register - degree);
    const std::uint64_t state = (seed_ & mask) != 0 ? seed_ & mask : mask;

    pattern.resize(size);
    std::uint8_t* const out = pattern.data();
    std::size_t done = std::min(size, degree);
    for (std::size_t i = 0; i < done; ++i)
        out[i] = static_cast<std::uint8_t>((state >> (degree - 1 - i)) & 1u);

    // Over two elements the square of a polynomial has the same terms at twice the exponents, and the sequence obeys it too
    // once there are enough bits. Wider taps make longer runs whose elements do not depend on each other.
    std::size_t widening = 1;
    while (done < size)
    {
        while (2 * widening * degree <= std::min(done, longest_reach))
            widening *= 2;
        const std::size_t run = std::min(shortest * widening, size - done);
        std::uint8_t* const target = out + done;
        const std::uint8_t* const first = target - degree * widening;
        std::copy(first, first + run, target);
        for (std::size_t t = 0; t + 1 < taps.size(); ++t)
        {
            const std::uint8_t* const other = target - taps[t] * widening;
            for (std::size_t k = 0; k < run; ++k)
                target[k] = static_cast<std::uint8_t>(target[k] ^ other[k]);
        }
        done += run;
    }
    return true;
}
} // namespace vrim::common_lib
