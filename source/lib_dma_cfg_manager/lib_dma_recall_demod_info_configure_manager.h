#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "lib_dma_cfg_manager/lib_segment_level_info.h"

#include <cstdint>

namespace vrim::dma_demod_lib
{
/// The bit-error setup of a segment: whether errors are counted, the payload pattern that was sent, how many bits count.
///
/// The link to the layer above belongs to the place and not to the data: a copy starts with an empty link, an assignment
/// keeps the target's, equality leaves it out. A move copies.
class DMA_DEMOD_EXPORT lib_dma_recall_demod_info_configure_manager_t
{
public:
    lib_dma_recall_demod_info_configure_manager_t() = default;
    /// @param level_info  called after each change of the BER state
    explicit lib_dma_recall_demod_info_configure_manager_t(lib_segment_level_info_t level_info);
    lib_dma_recall_demod_info_configure_manager_t(const lib_dma_recall_demod_info_configure_manager_t& other);
    lib_dma_recall_demod_info_configure_manager_t& operator=(const lib_dma_recall_demod_info_configure_manager_t& other);
    ~lib_dma_recall_demod_info_configure_manager_t() = default;
    bool operator==(const lib_dma_recall_demod_info_configure_manager_t& other) const;

    /// Restores the defaults, but for bits of the pattern: the first 511 that are there stay, missing ones come as 0.
    void init();
    /// Empties the pattern and leaves everything else.
    void clear();

    /// Takes any pattern, one bit a byte. @return true
    bool set_tx_pattern(const bit_array& value);
    /// @return true
    bool set_total_bits_len(std::uint32_t value);
    /// Stores the value and calls the link; an empty link is reported. @return true
    bool set_ber_state(bool value);
    /// Stores the type and fills the pattern with its sequence: 127, 511, 32767, 8388608 (one more than the period) or
    /// 2147483647 bits. At one byte a bit the last one, PN31, takes 2 GiB and some seconds. An unknown type is reported and
    /// leaves the pattern empty. @return true
    bool set_payload_data_type(lib_dma_payload_data_type_t value);

    const bit_array& get_tx_pattern() const;
    std::uint32_t get_total_bits_len() const;
    bool get_ber_state() const;
    lib_dma_payload_data_type_t get_payload_data_type() const;

    /// Calls the link; an empty one is reported.
    void update_syn_pattern_by_ber();

private:
    static constexpr std::uint32_t default_pattern_bits = 511;

    struct record_t
    {
        bool ber_state = false;
        std::uint32_t total_bits_len = 0;
        bit_array tx_pattern = bit_array(default_pattern_bits, 0);
        lib_dma_payload_data_type_t payload_data_type = LIB_DMA_PN7;

        bool operator==(const record_t&) const = default;
    };

    record_t record_;
    lib_segment_level_info_t level_info_;
};
} // namespace vrim::dma_demod_lib
