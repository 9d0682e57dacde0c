#pragma once

#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "support/lib_constellation.h"

/// Ideal point sets by format. The driver and the format manager fill their maps from here and log in their own words.
namespace vrim::dma_demod_lib
{
/// Each empties `map` and fills it with the points of `format` at the generator's own level.
/// @return false, and an empty map, for an unknown format; nothing is logged
bool make_psk_points(lib_dma_psk_modulation_type_t format, constellation_map& map);
/// The pi/4 and pi/8 formats get the points of both of the sets between which their symbols alternate.
bool make_dpsk_points(lib_dma_dpsk_modulation_type_t format, constellation_map& map);
bool make_fsk_points(lib_dma_fsk_modulation_type_t format, constellation_map& map);
bool make_oqpsk_points(lib_dma_oqpsk_modulation_type_t format, constellation_map& map);
/// QAM and ASK points come scaled by `normalize_type`. The unassigned QAM value 7 gives 2048 points.
bool make_qam_points(lib_dma_qam_modulation_type_t format, constellation_map& map,
                     common_lib::lib_constellation_normalize_type_t normalize_type);
bool make_ask_points(lib_dma_ask_modulation_type_t format, constellation_map& map,
                     common_lib::lib_constellation_normalize_type_t normalize_type);

/// Scales a map: 0 to unit rms, 2 to a largest amplitude of 1, any other value not at all.
/// @return false, after a report, when an empty map was to be scaled
bool normalize_points(constellation_map& map, common_lib::lib_constellation_normalize_type_t normalize_type);
} // namespace vrim::dma_demod_lib
