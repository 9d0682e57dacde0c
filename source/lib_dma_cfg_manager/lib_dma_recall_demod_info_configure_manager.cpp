#include "lib_dma_cfg_manager/lib_dma_recall_demod_info_configure_manager.h"

#include "support/lib_prbs_code.h"
#include "support/trace_output.h"

#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
struct payload_sequence_t
{
    lib_dma_payload_data_type_t type;
    common_lib::lib_prbs_code_type_t code;
    std::uint32_t taps[2];
    std::uint32_t length; // bits, and the seed of the register
};

// Trinomials of ITU-T O.150. Lengths are whole periods but for PN23, which is one bit more, so that its seed lies outside the
// register.
constexpr payload_sequence_t payload_sequences[] = {
    { LIB_DMA_PN7, 0, { 7, 6 }, 127 },        { LIB_DMA_PN9, 1, { 9, 5 }, 511 },           { LIB_DMA_PN15, 3, { 15, 14 }, 32767 },
    { LIB_DMA_PN23, 4, { 23, 18 }, 8388608 }, { LIB_DMA_PN31, 5, { 31, 28 }, 2147483647 },
};
} // namespace

lib_dma_recall_demod_info_configure_manager_t::lib_dma_recall_demod_info_configure_manager_t(lib_segment_level_info_t level_info)
    : level_info_(std::move(level_info))
{
}

lib_dma_recall_demod_info_configure_manager_t::lib_dma_recall_demod_info_configure_manager_t(
    const lib_dma_recall_demod_info_configure_manager_t& other)
    : record_(other.record_)
{
    // No link: the other record's layer above is not the layer above this one.
}

lib_dma_recall_demod_info_configure_manager_t& lib_dma_recall_demod_info_configure_manager_t::operator=(
    const lib_dma_recall_demod_info_configure_manager_t& other)
{
    record_ = other.record_;
    return *this;
}

bool lib_dma_recall_demod_info_configure_manager_t::operator==(const lib_dma_recall_demod_info_configure_manager_t& other) const
{
    return record_ == other.record_;
}

void lib_dma_recall_demod_info_configure_manager_t::init()
{
    bit_array pattern = std::move(record_.tx_pattern);
    record_ = {};
    pattern.resize(default_pattern_bits);
    record_.tx_pattern = std::move(pattern);
}

void lib_dma_recall_demod_info_configure_manager_t::clear()
{
    record_.tx_pattern.clear();
}

bool lib_dma_recall_demod_info_configure_manager_t::set_tx_pattern(const bit_array& value)
{
    record_.tx_pattern = value;
    return true;
}

bool lib_dma_recall_demod_info_configure_manager_t::set_total_bits_len(std::uint32_t value)
{
    record_.total_bits_len = value;
    return true;
}

bool lib_dma_recall_demod_info_configure_manager_t::set_ber_state(bool value)
{
    record_.ber_state = value;
    update_syn_pattern_by_ber();
    return true;
}

bool lib_dma_recall_demod_info_configure_manager_t::set_payload_data_type(lib_dma_payload_data_type_t value)
{
    record_.payload_data_type = value;
    record_.tx_pattern.clear();
    for (const payload_sequence_t& sequence : payload_sequences)
    {
        if (sequence.type != value)
            continue;
        common_lib::lib_prbs_code_t generator;
        generator.set_prbs_type(sequence.code);
        generator.set_custom_primitive_polynomial_enable(true);
        generator.set_sequence_output_position(0);
        generator.set_prbs_primitive_polynomial({ sequence.taps[0], sequence.taps[1] });
        generator.set_prbs_seed(sequence.length);
        generator.generate_prbs_code(sequence.length, record_.tx_pattern);
        return true;
    }
    common_log::trace_output_t::get_instance().write("waln_mac_body_gen : default all 0!");
    return true;
}

const bit_array& lib_dma_recall_demod_info_configure_manager_t::get_tx_pattern() const
{
    return record_.tx_pattern;
}

std::uint32_t lib_dma_recall_demod_info_configure_manager_t::get_total_bits_len() const
{
    return record_.total_bits_len;
}

bool lib_dma_recall_demod_info_configure_manager_t::get_ber_state() const
{
    return record_.ber_state;
}

lib_dma_payload_data_type_t lib_dma_recall_demod_info_configure_manager_t::get_payload_data_type() const
{
    return record_.payload_data_type;
}

void lib_dma_recall_demod_info_configure_manager_t::update_syn_pattern_by_ber()
{
    if (level_info_.notify)
    {
        level_info_.notify();
        return;
    }
    common_log::print_trace_line("lib_dma_recall_demod_info_configure_manager_t::update_syn_pattern_by_ber callback error!");
}
} // namespace vrim::dma_demod_lib
