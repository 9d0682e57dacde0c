#include "cfg/cfg_dma_recall_demod_info.h"

#include "cfg/internal/cfg_dma_cursor.h"

#include <string_view>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr std::string_view null_words = "cfg_dma_recall_demod_info_t::set_current_segment_index null ptr!";
} // namespace

cfg_dma_recall_demod_info_t::cfg_dma_recall_demod_info_t(lib_dma_frame_configure_manager_t& frame) : frame_(&frame)
{
    init();
}

void cfg_dma_recall_demod_info_t::init()
{
    current_segment_index_ = 0;
    is_segment_there(frame_, current_segment_index_, null_words, leaf_range_words);
}

bool cfg_dma_recall_demod_info_t::set_current_segment_index(std::uint32_t index)
{
    if (!is_segment_there(frame_, index, null_words, leaf_range_words))
        return false;
    current_segment_index_ = index;
    return true;
}

bool cfg_dma_recall_demod_info_t::set_tx_pattern(const bit_array& value)
{
    return _get_dma_recall_demod_info_manager().set_tx_pattern(value);
}

bool cfg_dma_recall_demod_info_t::set_ber_state(bool value)
{
    return _get_dma_recall_demod_info_manager().set_ber_state(value);
}

bool cfg_dma_recall_demod_info_t::set_total_bits_len(std::uint32_t value)
{
    return _get_dma_recall_demod_info_manager().set_total_bits_len(value);
}

bool cfg_dma_recall_demod_info_t::set_payload_data_type(lib_dma_payload_data_type_t value)
{
    return _get_dma_recall_demod_info_manager().set_payload_data_type(value);
}

const bit_array& cfg_dma_recall_demod_info_t::get_tx_pattern() const
{
    return _get_dma_recall_demod_info_manager().get_tx_pattern();
}

bool cfg_dma_recall_demod_info_t::get_ber_state() const
{
    return _get_dma_recall_demod_info_manager().get_ber_state();
}

std::uint32_t cfg_dma_recall_demod_info_t::get_total_bits_len() const
{
    return _get_dma_recall_demod_info_manager().get_total_bits_len();
}

lib_dma_payload_data_type_t cfg_dma_recall_demod_info_t::get_payload_data_type() const
{
    return _get_dma_recall_demod_info_manager().get_payload_data_type();
}

lib_dma_recall_demod_info_configure_manager_t& cfg_dma_recall_demod_info_t::_get_dma_recall_demod_info_manager() const
{
    return frame_->get_segment(current_segment_index_).get_recall_demod_info_configure();
}
} // namespace vrim::dma_demod_lib
