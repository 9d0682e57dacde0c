#include "plain_array/bit_map.h"

#include "plain_array/internal/psk_state.h"
#include "plain_array/internal/split_array.h"
#include "support/internal/qam_grid.h"
#include "support/lib_constellation.h"
#include "support/trace_output.h"

#include <cstddef>
#include <string_view>

namespace vrim::dma_demod_lib
{
namespace
{
bool is_known_order(std::string_view report, std::uint32_t order)
{
    if (psk_state::is_known_order(order))
        return true;
    common_log::trace_output_t::get_instance().write(report);
    return false;
}
} // namespace

bool psk_differential_decode(std::uint32_t order, std::uint32_t* symbols, std::uint32_t count)
{
    if (!is_known_order("error: psk_differential_decode(): order must be 2, 4, 8 or 16\n", order) ||
        !split_array::has_arrays("error: psk_differential_decode(): null pointer\n", count, symbols))
        return false;
    std::uint32_t before = 0;
    for (std::size_t k = 0; k < count; ++k)
    {
        const std::uint32_t state = symbols[k] % order;
        symbols[k] = (state + order - before) % order;
        before = state;
    }
    return true;
}

bool psk_binary_to_gray_code(std::uint32_t order, std::uint32_t* table)
{
    if (!is_known_order("error: psk_binary_to_gray_code(): order must be 2, 4, 8 or 16\n", order) ||
        !split_array::has_arrays("error: psk_binary_to_gray_code(): null pointer\n", order, table))
        return false;
    for (std::uint32_t k = 0; k < order; ++k)
        table[k] = common_lib::gray_from_binary(k);
    return true;
}

bool psk_ideal_state_map_generate(std::uint32_t order, std::complex<float>* table, bool flag)
{
    if (!is_known_order("error: psk_ideal_state_map_generate(): order must be 2, 4, 8 or 16\n", order) ||
        !split_array::has_arrays("error: psk_ideal_state_map_generate(): null pointer\n", order, table))
        return false;
    constellation_map map;
    common_lib::lib_constellation_psk_t::generate_default_psk_constellation(order, map, false);
    for (const auto& [key, point] : map)
    {
        const std::uint32_t state = psk_state::get_number(order, point);
        table[flag ? common_lib::gray_from_binary(state) : state] = point;
    }
    return true;
}
} // namespace vrim::dma_demod_lib
