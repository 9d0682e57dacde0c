#include "lib_dma_cfg_manager/lib_dma_format_configure_manager.h"

#include "lib_dma_cfg_manager/clamp_value.h"
#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/reference_constellation.h"
#include "support/lib_common_math.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <cmath>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr float max_freq_offset_hz = 1e9f;
constexpr float min_r2_r1 = 1.25f;
constexpr float max_r2_r1 = 8.0f;
constexpr float min_r3_r1 = 1.5625f;
constexpr float max_r3_r1 = 10.0f;
constexpr float max_rotation_degrees = 360.0f;
constexpr std::uint64_t min_symbol_rate = 10'000;
constexpr std::uint64_t max_symbol_rate = 8'000'000'000;

struct apsk_ring_pair_t
{
    double r2_r1;
    double r3_r1;
};

// Ring ratios of 32-APSK by code rate, 3/4 to 9/10.
// Source: ETSI EN 302 307-1, DVB-S2, table 10.
constexpr apsk_ring_pair_t apsk_ring_pairs[] = {
    { 2.84, 5.27 }, { 2.72, 4.87 }, { 2.64, 4.64 }, { 2.54, 4.33 }, { 2.53, 4.30 },
};

bool is_same_ratio(float ratio, double standard)
{
    return std::abs(static_cast<double>(ratio) - standard) < 1e-5;
}

lib_dma_point_per_symbol_type_t get_oqpsk_points(lib_dma_point_per_symbol_type_t value)
{
    if (value < LIB_DMA_POINT4)
        return LIB_DMA_POINT2;
    if (value < LIB_DMA_POINT10)
        return LIB_DMA_POINT4;
    if (value < LIB_DMA_POINT20)
        return LIB_DMA_POINT10;
    return LIB_DMA_POINT20;
}

struct cpm_index_text_t
{
    lib_dma_cpm_index_type_t index;
    const char* text;
};

constexpr cpm_index_text_t cpm_index_texts[] = {
    { LIB_DMA_CPM_INDEX_TYPE1, "12/16,13/16 " }, { LIB_DMA_CPM_INDEX_TYPE2, " 7/16,10/16 " },
    { LIB_DMA_CPM_INDEX_TYPE3, " 6/16,7/16 " },  { LIB_DMA_CPM_INDEX_TYPE4, " 5/16,6/16 " },
    { LIB_DMA_CPM_INDEX_TYPE5, " 4/16,5/16 " },  { LIB_DMA_CPM_INDEX_TYPE6, " 1/2 (MSK) " },
    { LIB_DMA_CPM_INDEX_TYPE7, " 1/3 (HCPM)" },
};
} // namespace

lib_dma_format_configure_manager_t::lib_dma_format_configure_manager_t()
{
    get_preset_mod_constellation_info(common_lib::constellation_normalize_rms);
}

void lib_dma_format_configure_manager_t::init()
{
    *this = {};
}

bool lib_dma_format_configure_manager_t::set_format_group(lib_dma_modulation_type_t value)
{
    format_group_ = value;
    set_points_per_symbol(points_per_symbol_); // rounds only under offset QPSK
    get_preset_mod_constellation_info(common_lib::constellation_normalize_rms);
    return true;
}

bool lib_dma_format_configure_manager_t::set_psk_format(lib_dma_psk_modulation_type_t value)
{
    psk_format_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_qam_format(lib_dma_qam_modulation_type_t value)
{
    qam_format_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_fsk_format(lib_dma_fsk_modulation_type_t value)
{
    fsk_format_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_msk_format(lib_dma_msk_modulation_type_t value)
{
    msk_format_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_ask_format(lib_dma_ask_modulation_type_t value)
{
    ask_format_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_apsk_format(lib_dma_apsk_modulation_type_t value)
{
    apsk_format_ = value;
    apsk_r2_r1_ = value == LIB_DMA_APSK_32 ? 2.84f : 2.85f;
    return true;
}

bool lib_dma_format_configure_manager_t::set_dpsk_format(lib_dma_dpsk_modulation_type_t value)
{
    dpsk_format_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_oqpsk_format(lib_dma_oqpsk_modulation_type_t value)
{
    oqpsk_format_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_vsb_format(lib_dma_vsb_modulation_type_t value)
{
    vsb_format_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_custom_iq_format(lib_dma_custom_modulation_type_t value)
{
    custom_iq_format_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_other_format(lib_dma_other_modulation_type_t value)
{
    other_format_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_fsk_tx_freq_offset(float value)
{
    fsk_tx_freq_offset_ = clamp_value(value, -max_freq_offset_hz, max_freq_offset_hz);
    return true;
}

bool lib_dma_format_configure_manager_t::set_fsk_deviation_ref(lib_dma_fsk_deviation_type_t value)
{
    fsk_deviation_ref_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_apsk_r2_r1(float value)
{
    apsk_r2_r1_ = clamp_value(value, min_r2_r1, max_r2_r1);
    if (apsk_format_ != LIB_DMA_APSK_32)
        return true;
    for (const apsk_ring_pair_t& pair : apsk_ring_pairs)
    {
        if (is_same_ratio(apsk_r2_r1_, pair.r2_r1))
        {
            apsk_r3_r1_ = static_cast<float>(pair.r3_r1);
            break;
        }
    }
    return true;
}

bool lib_dma_format_configure_manager_t::set_apsk_r3_r1(float value)
{
    apsk_r3_r1_ = clamp_value(value, min_r3_r1, max_r3_r1);
    if (apsk_format_ != LIB_DMA_APSK_32)
        return true;
    for (const apsk_ring_pair_t& pair : apsk_ring_pairs)
    {
        if (is_same_ratio(apsk_r3_r1_, pair.r3_r1))
        {
            apsk_r2_r1_ = static_cast<float>(pair.r2_r1);
            break;
        }
    }
    return true;
}

bool lib_dma_format_configure_manager_t::set_cpm_auto(bool value)
{
    cpm_auto_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_cpm_index(lib_dma_cpm_index_type_t value)
{
    cpm_index_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_msk_dfas(bool value)
{
    msk_dfas_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_oqpsk_alig_iq(bool value)
{
    oqpsk_alig_iq_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_custom_iq_sync_persistence_target(float value)
{
    custom_iq_sync_persistence_target_ = clamp_value(value, 0.0f, 1.0f);
    return true;
}

bool lib_dma_format_configure_manager_t::set_custom_iq_phase_rotation(float value)
{
    custom_iq_phase_rotation_ = clamp_value(value, -max_rotation_degrees, max_rotation_degrees);
    return true;
}

bool lib_dma_format_configure_manager_t::set_custom_iq_shift(bool value)
{
    custom_iq_shift_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_custom_iq_diff(bool value)
{
    custom_iq_diff_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_custom_iq_offset(bool value)
{
    custom_iq_offset_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_symbol_rate(std::uint64_t value)
{
    symbol_rate_ = clamp_value(value, min_symbol_rate, max_symbol_rate);
    return true;
}

bool lib_dma_format_configure_manager_t::set_points_per_symbol(lib_dma_point_per_symbol_type_t value)
{
    points_per_symbol_ = format_group_ == LIB_DMA_GROUP_OQPSK ? get_oqpsk_points(value) : value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_constellation_setting_flag(bool value)
{
    constellation_setting_flag_ = value;
    return true;
}

bool lib_dma_format_configure_manager_t::set_const_iq_map_data(const constellation_map& map)
{
    const_iq_map_ = map;
    return true;
}

std::int32_t lib_dma_format_configure_manager_t::set_constellation_sym_index(std::uint32_t index,
                                                                             common_lib::lib_constellation_normalize_type_t)
{
    if (const_iq_map_.contains(index))
    {
        DMA_LOG_ERROR("duplicate symbol defination exist symbol index %u", index);
        return -3;
    }
    if (index >= const_iq_map_.size())
    {
        DMA_LOG_ERROR("The definition of symbol %u is out of range.Valid range: (0 ~ %u)", index, const_iq_map_.size());
        return -2;
    }
    const_iq_map_[index] = {};
    if (!common_lib::lib_common_math_t::is_power_of_2(const_iq_map_.size()))
    {
        common_log::print_trace_line("The number of constellation symbols must be the power of 2 ,Current symbol number is " +
                                     std::to_string(const_iq_map_.size()) + ".");
        return -1;
    }
    if (common_lib::lib_constellation_base_t::check_constellation_map_validity(const_iq_map_) == -4)
    {
        common_log::print_trace_line("Duplicate IQ definition exists.");
        return -4;
    }
    constellation_setting_flag_ = true;
    return 0;
}

lib_dma_modulation_type_t lib_dma_format_configure_manager_t::get_format_group() const
{
    return format_group_;
}

lib_dma_psk_modulation_type_t lib_dma_format_configure_manager_t::get_psk_format() const
{
    return psk_format_;
}

lib_dma_qam_modulation_type_t lib_dma_format_configure_manager_t::get_qam_format() const
{
    return qam_format_;
}

lib_dma_fsk_modulation_type_t lib_dma_format_configure_manager_t::get_fsk_format() const
{
    return fsk_format_;
}

lib_dma_msk_modulation_type_t lib_dma_format_configure_manager_t::get_msk_format() const
{
    return msk_format_;
}

lib_dma_ask_modulation_type_t lib_dma_format_configure_manager_t::get_ask_format() const
{
    return ask_format_;
}

lib_dma_apsk_modulation_type_t lib_dma_format_configure_manager_t::get_apsk_format() const
{
    return apsk_format_;
}

lib_dma_dpsk_modulation_type_t lib_dma_format_configure_manager_t::get_dpsk_format() const
{
    return dpsk_format_;
}

lib_dma_oqpsk_modulation_type_t lib_dma_format_configure_manager_t::get_oqpsk_format() const
{
    return oqpsk_format_;
}

lib_dma_vsb_modulation_type_t lib_dma_format_configure_manager_t::get_vsb_format() const
{
    return vsb_format_;
}

lib_dma_custom_modulation_type_t lib_dma_format_configure_manager_t::get_custom_iq_format() const
{
    return custom_iq_format_;
}

lib_dma_other_modulation_type_t lib_dma_format_configure_manager_t::get_other_format() const
{
    return other_format_;
}

float lib_dma_format_configure_manager_t::get_fsk_tx_freq_offset() const
{
    return fsk_tx_freq_offset_;
}

lib_dma_fsk_deviation_type_t lib_dma_format_configure_manager_t::get_fsk_deviation_ref() const
{
    return fsk_deviation_ref_;
}

float lib_dma_format_configure_manager_t::get_apsk_r2_r1() const
{
    return apsk_r2_r1_;
}

float lib_dma_format_configure_manager_t::get_apsk_r3_r1() const
{
    return apsk_r3_r1_;
}

bool lib_dma_format_configure_manager_t::get_cpm_auto() const
{
    return cpm_auto_;
}

lib_dma_cpm_index_type_t lib_dma_format_configure_manager_t::get_cpm_index() const
{
    return cpm_index_;
}

std::string lib_dma_format_configure_manager_t::get_cpm_index_string() const
{
    for (const cpm_index_text_t& entry : cpm_index_texts)
    {
        if (entry.index == cpm_index_)
            return entry.text;
    }
    return {};
}

bool lib_dma_format_configure_manager_t::get_msk_dfas() const
{
    return msk_dfas_;
}

bool lib_dma_format_configure_manager_t::get_oqpsk_alig_iq() const
{
    return oqpsk_alig_iq_;
}

float lib_dma_format_configure_manager_t::get_custom_iq_sync_persistence_target() const
{
    return custom_iq_sync_persistence_target_;
}

float lib_dma_format_configure_manager_t::get_custom_iq_phase_rotation() const
{
    return custom_iq_phase_rotation_;
}

bool lib_dma_format_configure_manager_t::get_custom_iq_shift() const
{
    return custom_iq_shift_;
}

bool lib_dma_format_configure_manager_t::get_custom_iq_diff() const
{
    return custom_iq_diff_;
}

bool lib_dma_format_configure_manager_t::get_custom_iq_offset() const
{
    return custom_iq_offset_;
}

std::uint64_t lib_dma_format_configure_manager_t::get_symbol_rate() const
{
    return symbol_rate_;
}

lib_dma_point_per_symbol_type_t lib_dma_format_configure_manager_t::get_points_per_symbol() const
{
    return points_per_symbol_;
}

constellation_map lib_dma_format_configure_manager_t::get_const_iq_map_data() const
{
    return const_iq_map_;
}

bool lib_dma_format_configure_manager_t::get_constellation_setting_flag() const
{
    return constellation_setting_flag_;
}

std::uint32_t lib_dma_format_configure_manager_t::get_constellation_sym_index() const
{
    return constellation_sym_index_;
}

constellation_map lib_dma_format_configure_manager_t::get_preset_mod_constellation_info(
    common_lib::lib_constellation_normalize_type_t normalize_type)
{
    constellation_map map;
    bool is_known = false;
    bool is_scaled = false; // QAM and ASK come scaled from their generators
    switch (format_group_)
    {
    case LIB_DMA_GROUP_PSK:
        is_known = make_psk_points(psk_format_, map);
        if (!is_known)
            DMA_LOG_ERROR("get_preset_mod_constellation_info::generate_psk_constellation error!\n");
        break;
    case LIB_DMA_GROUP_QAM:
        is_known = make_qam_points(qam_format_, map, normalize_type);
        is_scaled = true;
        if (!is_known)
            DMA_LOG_ERROR("get_preset_mod_constellation_info::generate_qam_constellation error!\n");
        break;
    case LIB_DMA_GROUP_FSK:
        is_known = make_fsk_points(fsk_format_, map);
        if (!is_known)
            DMA_LOG_ERROR("get_preset_mod_constellation_info::generate_fsk_constellation error!\n");
        break;
    case LIB_DMA_GROUP_ASK:
        is_known = make_ask_points(ask_format_, map, normalize_type);
        is_scaled = true;
        if (!is_known)
            DMA_LOG_ERROR("get_preset_mod_constellation_info::generate_sk_constellation error!\n");
        break;
    case LIB_DMA_GROUP_APSK:
        if (apsk_format_ == LIB_DMA_APSK_16)
            lib_dma_phy_common_t::generate_16apsk_constellation(map, false, apsk_r2_r1_, 0.0f, 0.0f);
        else if (apsk_format_ == LIB_DMA_APSK_32)
            lib_dma_phy_common_t::generate_32apsk_constellation(map, false, apsk_r2_r1_, apsk_r3_r1_, 0.0f, 0.0f, 0.0f);
        else
            common_log::print_trace_line(
                "get_preset_mod_constellation_info::generate_apsk_constellation Report: Illegal Constellation Point!");
        is_known = !map.empty();
        break;
    case LIB_DMA_GROUP_OQPSK:
        is_known = make_oqpsk_points(oqpsk_format_, map);
        if (!is_known)
            DMA_LOG_ERROR("get_preset_mod_constellation_info::generate_oqpsk_constellation error!");
        break;
    case LIB_DMA_GROUP_DPSK:
        is_known = make_dpsk_points(dpsk_format_, map);
        if (!is_known)
            DMA_LOG_ERROR("get_preset_mod_constellation_info::generate_dpsk_constellation error!\n");
        break;
    default:
        DMA_LOG_ERROR("lib_dma_format_configure_manager_t::get_preset_mod_constellation_info error!\n");
        break;
    }
    // An unknown format stays without points and without the normaliser's report of an empty map.
    if (is_known && !is_scaled)
        normalize_points(map, normalize_type);
    const_iq_map_ = map;
    return map;
}

std::map<std::uint32_t, constellation_info_t> lib_dma_format_configure_manager_t::to_local_format(const constellation_map& map)
{
    std::map<std::uint32_t, constellation_info_t> info_map;
    for (const auto& [index, point] : map)
    {
        info_map[index] = { point, common_lib::lib_common_math_t::get_complex_amplitude(point),
                            common_lib::lib_common_math_t::get_complex_phase(point) };
    }
    return info_map;
}

constellation_map lib_dma_format_configure_manager_t::to_lib_format(const std::map<std::uint32_t, constellation_info_t>& info_map)
{
    constellation_map map;
    for (const auto& [index, info] : info_map)
        map[index] = info.iq;
    return map;
}
} // namespace vrim::dma_demod_lib
