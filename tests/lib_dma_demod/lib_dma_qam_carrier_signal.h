#pragma once

#include "lib_dma_common/reference_constellation.h"
#include "lib_dma_demod/demod_run.h"
#include "lib_dma_demod/lib_dma_qam_demod.h"

#include <cstdint>

/// Points of QAM and what the tests of its carrier share.
namespace qam_test
{
using demod_test::point_array;
using vrim::dma_demod_lib::lib_dma_qam_modulation_type_t;

inline lib_dma_qam_modulation_type_t to_format(std::uint32_t value)
{
    return static_cast<lib_dma_qam_modulation_type_t>(value);
}

inline point_array make_set(std::uint32_t format)
{
    vrim::constellation_map map;
    vrim::dma_demod_lib::make_qam_points(to_format(format), map, vrim::common_lib::constellation_normalize_rms);
    return demod_test::get_points(map);
}

inline double get_turn(std::uint32_t format)
{
    return format == 9 ? demod_test::pi / 4.0 : format == 10 ? -demod_test::pi / 4.0 : 0.0;
}
} // namespace qam_test
