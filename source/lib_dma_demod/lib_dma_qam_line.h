#pragma once

#include "dma_types.h"
#include "lib_dma_common/qam_slicer.h"

#include <cstddef>

namespace vrim::dma_demod_lib
{
/// A carrier of one frequency, and the level at which its symbols stand on their points.
struct qam_line_t
{
    double slope = 0.0; ///< radians per symbol
    double phase = 0.0; ///< radians at symbol 0
    double level = 1.0; ///< factor on the symbols
};

/// Symbols that tell a line.
constexpr std::size_t line_symbols = 256;

/// The line and the level that bring symbols near their points, found without a loop: blocks along the record are tried at every
/// phase of a quarter turn and at the levels that so many random symbols may have, the best phases are joined to a line, and the
/// decisions under it mend line and level. Follows carriers that turn less than an eighth of a turn from block to block and
/// little within one.
/// @param symbols  `line_symbols` or more, at unit rms
/// @param slicer   of a format with a grid
/// Source: T. Pfau, S. Hoffmann, R. Noe, "Hardware-efficient coherent digital receiver concept with feedforward carrier recovery
/// for M-QAM constellations", J. Lightwave Technol. 27(8), 2009.
qam_line_t find_qam_line(const complex_array& symbols, const qam_slicer_t& slicer);
} // namespace vrim::dma_demod_lib
