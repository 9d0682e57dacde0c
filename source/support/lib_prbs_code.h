#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <cstdint>
#include <vector>

namespace vrim::common_lib
{
/// Code of a standard sequence: 0 PN7, 1 PN9, 3 PN15, 4 PN23, 5 PN31.
using lib_prbs_code_type_t = std::uint32_t;
using lib_prbs_sequence_output_position_type_t = std::uint32_t;

/// Makes pseudo-random bit patterns by a linear feedback shift register.
/// Source: S. W. Golomb, Shift Register Sequences, Holden-Day, 1967.
class DMA_DEMOD_EXPORT lib_prbs_code_t
{
public:
    void set_prbs_type(lib_prbs_code_type_t type);
    /// With true the polynomial of `set_prbs_primitive_polynomial` takes the place of the type's own.
    void set_custom_primitive_polynomial_enable(bool flag);
    void set_sequence_output_position(lib_prbs_sequence_output_position_type_t position);
    /// @param taps  exponents of the polynomial in any order, the largest being the register's length (at most 64). The constant
    ///              term may stand among them as 0.
    void set_prbs_primitive_polynomial(const std::vector<std::uint32_t>& taps);
    /// @param seed  start value of the register; bits outside the register are dropped, and a value of 0 that is left is
    ///              taken as all ones, since the register would stand still
    void set_prbs_seed(std::uint64_t seed);
    /// The register's start value comes out first, its highest bit first; each further bit is the sum of those that lie as many
    /// places back as the taps say.
    /// @param length        count of bits
    /// @param[out] pattern  `length` bits, one a byte
    /// @return false, and an empty pattern, without a usable polynomial
    bool generate_prbs_code(std::uint64_t length, byte_array& pattern) const;

private:
    lib_prbs_code_type_t type_ = 0;
    bool custom_polynomial_ = false;
    lib_prbs_sequence_output_position_type_t output_position_ = 0;
    std::vector<std::uint32_t> taps_;
    std::uint64_t seed_ = 1;
};
} // namespace vrim::common_lib
