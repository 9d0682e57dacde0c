// Trees damaged by chance: whatever they say, a recall ends with settings that their setters allow.
#include "cfg/cfg_dma_frame.h"
#include "setting_tree.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <iterator>
#include <pugixml.hpp>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
std::string print(const pugi::xml_document& document)
{
    std::ostringstream out;
    document.save(out, "", pugi::format_raw | pugi::format_no_declaration);
    return out.str();
}

class damage_t
{
public:
    explicit damage_t(std::uint32_t seed) : random_(seed) {}

    std::string apply(const std::string& text)
    {
        pugi::xml_document document;
        document.load_string(text.c_str());
        for (std::uint32_t count = pick(6); count > 0; --count)
            damage_tree(document);
        std::string damaged = print(document);
        // A document that does not parse is read up to the fault, so most rounds leave the bytes alone.
        for (std::uint32_t count = pick(3) == 0 ? pick(6) : 0; count > 0 && !damaged.empty(); --count)
            damage_byte(damaged);
        return damaged;
    }

    std::uint32_t pick(std::size_t count) { return static_cast<std::uint32_t>(random_() % count); }

private:
    void damage_tree(pugi::xml_document& document)
    {
        std::vector<pugi::xml_node> nodes;
        collect(document.document_element(), nodes);
        if (nodes.empty())
            return;
        pugi::xml_node node = nodes[pick(nodes.size())];
        const pugi::xml_node other = nodes[pick(nodes.size())];
        switch (pick(8))
        {
        case 0:
            node.parent().remove_child(node);
            break;
        case 1:
            node.parent().insert_copy_before(node, node);
            node.text().set(pick_text());
            break;
        case 2:
            node.set_name(other.name());
            break;
        case 3:
            node.prepend_copy(other);
            break;
        case 4:
            node.parent().append_copy(node); // of a segment: one more of them
            break;
        default:
            node.text().set(pick_text());
            break;
        }
    }

    static void collect(const pugi::xml_node& node, std::vector<pugi::xml_node>& nodes)
    {
        for (const pugi::xml_node child : node.children())
        {
            if (child.type() != pugi::node_element)
                continue;
            nodes.push_back(child);
            collect(child, nodes);
        }
    }

    void damage_byte(std::string& text)
    {
        const std::size_t place = random_() % text.size();
        switch (pick(4))
        {
        case 0:
            text.erase(place, 1 + pick(20));
            break;
        case 1:
            text[place] = static_cast<char>(text[place] ^ (1 << pick(8)));
            break;
        default:
            text[place] = static_cast<char>(pick(256));
            break;
        }
    }

    const char* pick_text()
    {
        // The two longest payloads are left out, for time.
        static const char* const texts[] = {
            "", "nan", "-nan", "inf", "-inf", "1e400", "-1e400", "1e-400", "1e39", "-1", "-0", "0", "1", "3", "6",
            "7", "0.5", "2147483647", "-2147483648", "4294967295", "4294967296", "18446744073709551615",
            "99999999999999999999999", "-99999999999999999999999", "0x7fffffff", "0x", "true", "false", "10110",
            "a5c", "1,0;0,1;-1,0", "inf,nan;1e30,-0", "0,1,2,3,-1", "4294967295,7", "LIB_DMA_GROUP_QAM",
            "LIB_DMA_GROUP_MSK", "LIB_DMA_GROUP_OQPSK", "LIB_DMA_GROUP_APSK", "LIB_DMA_GROUP_OTHER",
            "LIB_DMA_QAM_1024", "LIB_DMA_DVB_QAM_64", "LIB_DMA_APSK_32", "LIB_DMA_POINT12",
            "LIB_DMA_SYNC_HEX_PATTERN", "LIB_DMA_SYNC_INT_PATTERN", "LIB_DMA_PN15", "junk", " 7", "1,5", "\xff\xfe",
            "%s%n", "{}"
        };
        return texts[pick(std::size(texts))];
    }

    std::mt19937 random_;
};

// What the setters allow. Not-a-number passes all of them, so it has to have been in the file.

class checker_t
{
public:
    explicit checker_t(bool nan_allowed) : nan_allowed_(nan_allowed) {}

    /// @return what is wrong, empty when nothing is
    std::string check(cfg_dma_frame_t& frame)
    {
        wrong_.clear();
        const std::uint32_t number = frame.get_segment_number();
        ask("segment_number", number >= 1 && number <= 6);
        ask("frame_current_segment_index", frame.get_current_segment_index() <= 6);
        within("search_length", frame.get_search_length(), 1e-7, HUGE_VAL);
        within("burst_search_threshold", frame.get_burst_search_threshold(), -200, 200);
        within("sync_offset", frame.get_sync_offset(), -32768, 32767);
        within("mannual_data_sample_rate", frame.get_mannual_data_sample_rate(), 1e6, 1e10);
        ask("bandwidth", frame.get_bandwidth() >= 1 && frame.get_bandwidth() <= 10000000000u);
        ask("sync_pattern_int", frame.get_sync_pattern_int() <= 262144);
        ask("sync_pattern_type", named(frame.get_sync_pattern_type()));
        const bit_array bits = frame.get_sync_pattern_bitarr();
        ask("sync bits", bits.size() <= 20 && std::all_of(bits.begin(), bits.end(), [](std::uint8_t bit) { return bit <= 1; }));
        ask("sync bits of a text", bits.empty() || frame.get_sync_pattern_type() == LIB_DMA_SYNC_INT_PATTERN);
        for (std::uint32_t i = 0; i < number; ++i)
        {
            const cfg_dma_segment_t& segment = frame.get_segment(i);
            check(segment.get_time_cfg());
            check(segment.get_filter_cfg());
            check(segment.get_advance_cfg());
            check(segment.get_format_cfg());
            check(segment.get_recall_demod_info_cfg());
            const lib_dma_format_configure_manager_t& format = segment.get_segment_manager().get_format_configure();
            ask("constellation_setting_flag", !format.get_constellation_setting_flag());
            const bool type1 = format.get_format_group() == LIB_DMA_GROUP_MSK && format.get_msk_format() == LIB_DMA_MSK_TYPE1;
            ask("iq_offset_compensation", segment.get_advance_cfg().get_iq_offset_compensation() == !type1);
        }
        return wrong_;
    }

private:
    void check(const cfg_dma_time_t& time)
    {
        const std::int64_t interval = time.get_meas_interval();
        ask("meas_interval", interval >= 10 && interval <= 10000000);
        ask("meas_offset", std::abs(static_cast<std::int64_t>(time.get_meas_offset())) <= interval);
        ask("meas_offset_reference", named(time.get_meas_offset_reference()));
    }

    void check(const cfg_dma_filter_t& filter)
    {
        ask("meas_filter_type", named(filter.get_meas_filter_type()));
        ask("ref_filter_type", named(filter.get_ref_filter_type()));
        within("filter_alpha", filter.get_filter_alpha(), 0.05f, 1);
        within("filter_beta", filter.get_filter_beta(), 0.05f, 100);
        ask("user_define_filter_type", named(filter.get_user_define_filter_type()));
        within("user_define_filter_coef", filter.get_user_define_filter_coef(), -HUGE_VAL, HUGE_VAL);
        ask("filter_length", filter.get_filter_length() >= 2 && filter.get_filter_length() <= 512);
    }

    void check(const cfg_dma_advance_t& advance)
    {
        const std::uint32_t taps = advance.get_equalizer_filter_len();
        const std::uint32_t moved = advance.get_average_move_len();
        ask("equalizer_filter_len", taps % 2 == 1 && taps >= 3 && taps <= 99);
        ask("MOVE_LEN", moved % 2 == 1 && moved <= 101);
        within("equalizer_coef", advance.get_equalizer_coef(), 1e-14, 1);
        within("clock_adjust", advance.get_clock_adjust(), -0.5, 0.5);
        within("iq_rotation", advance.get_iq_rotation(), -360, 360);
        ask("fft_window", named(advance.get_fft_window()));
        ask("spectrum_type", named(advance.get_spectrum_type()));
        ask("evm_normalization_ref", named(advance.get_evm_normalization_ref()));
    }

    void check(const cfg_dma_format_t& format)
    {
        ask("format_group", named(format.get_format_group()));
        ask("psk_format", named(format.get_psk_format()));
        ask("qam_format", named(format.get_qam_format()));
        ask("fsk_format", named(format.get_fsk_format()));
        ask("msk_format", named(format.get_msk_format()));
        ask("ask_format", named(format.get_ask_format()));
        ask("apsk_format", named(format.get_apsk_format()));
        ask("dpsk_format", named(format.get_dpsk_format()));
        ask("oqpsk_format", named(format.get_oqpsk_format()));
        ask("vsb_format", named(format.get_vsb_format()));
        ask("custom_iq_format", named(format.get_custom_iq_format()));
        ask("other_format", named(format.get_other_format()));
        ask("symbol_rate", format.get_symbol_rate() >= 10000 && format.get_symbol_rate() <= 8000000000u);
        const std::uint32_t points = format.get_points_per_symbol();
        ask("points_per_symbol", named(format.get_points_per_symbol()));
        ask("points_per_symbol of offset QPSK", format.get_format_group() != LIB_DMA_GROUP_OQPSK || points == 2 || points == 4 ||
                                                    points == 10 || points == 20);
        within("fsk_tx_freq_offset", format.get_fsk_tx_freq_offset(), -1e9, 1e9);
        ask("fsk_deviation_ref", named(format.get_fsk_deviation_ref()));
        within("apsk_r2_r1", format.get_apsk_r2_r1(), 1.25, 8);
        within("apsk_r3_r1", format.get_apsk_r3_r1(), 1.5625, 10);
        ask("cpm_index", named(format.get_cpm_index()));
        ask("cpm_index text", !format.get_cpm_index_string().empty());
        within("custom_iq_sync_persistence_target", format.get_custom_iq_sync_persistence_target(), 0, 1);
        within("custom_iq_phase_rotation", format.get_custom_iq_phase_rotation(), -360, 360);
        ask("constellation_sym_index", format.get_constellation_sym_index() == 0);
        ask("const_iq_map_data", format.get_const_iq_map_data().size() < 100);
    }

    void check(const cfg_dma_recall_demod_info_t& info)
    {
        const bit_array& bits = info.get_tx_pattern();
        ask("bits", std::all_of(bits.begin(), bits.end(), [](std::uint8_t bit) { return bit <= 1; }));
        switch (info.get_payload_data_type())
        {
        case LIB_DMA_PN7:
            ask("PN7", bits.size() == 127 || bits == bit_array(511, 0)); // zeros in a segment that no item filled
            break;
        case LIB_DMA_PN9:
            ask("PN9", bits.size() == 511);
            break;
        case LIB_DMA_PN15:
            ask("PN15", bits.size() == 32767);
            break;
        default:
            ask("payload_data_type", info.get_payload_data_type() == LIB_DMA_PN23 && bits.size() == 8388608);
            break;
        }
    }

    void within(const char* name, double value, double low, double high)
    {
        ask(name, (value >= low && value <= high) || (nan_allowed_ && std::isnan(value)));
    }

    template <typename enum_t>
    static bool named(enum_t value)
    {
        return !get_enum_text(value).empty();
    }

    void ask(const char* name, bool holds)
    {
        if (!holds)
            wrong_ += std::string(name) + ' ';
    }

    bool nan_allowed_;
    std::string wrong_;
};

/// A frame with nothing off its default limits, and as many items as asked.
std::string make_base(std::uint32_t items)
{
    cfg_dma_frame_t frame;
    frame.set_segment_number(3);
    frame.set_current_segment_index(2);
    frame.set_sync_pattern_bit("1011");
    format_of(frame).set_format_group(LIB_DMA_GROUP_DPSK);
    info_of(frame).set_payload_data_type(LIB_DMA_PN9);
    pugi::xml_document document;
    document.load_string(save_text(frame).c_str());
    pugi::xml_node list = document.document_element().child("cfg_dma_frame").child("cfg_dma_segement");
    const pugi::xml_node first = list.first_child();
    for (std::uint32_t i = 1; i < items; ++i)
        list.append_copy(first);
    return print(document);
}

class SettingsMutation : public setting_test_t
{
};

TEST_F(SettingsMutation, EndsInsideTheLimitsForAnyDamage)
{
    constexpr std::uint32_t seed = 20240917;
    constexpr std::uint32_t rounds = 6000;
    damage_t damage(seed);
    const std::vector<std::string> bases = { make_base(1), make_base(2), make_base(6), make_base(8) };
    cfg_dma_frame_t frame; // goes from tree to tree: what one leaves behind, the next one meets
    ASSERT_TRUE(recall_text(frame, bases[0]));
    cfg_dma_frame_t before;
    std::uint32_t refused = 0;
    std::uint32_t changed = 0;
    for (std::uint32_t round = 0; round < rounds; ++round)
    {
        const std::string text = damage.apply(bases[damage.pick(bases.size())]);
        if (text.find("LIB_DMA_PN31") != std::string::npos)
            continue; // 2 GiB
        frame.get_segment(damage.pick(7));
        const bool done = recall_text(frame, text);
        checker_t checker(text.find("nan") != std::string::npos);
        ASSERT_EQ(checker.check(frame), "") << "seed " << seed << ", round " << round << ":\n" << text;
        refused += done ? 0 : 1;
        changed += frame == before ? 0 : 1;
        before = frame;

        // Settings inside the limits can be saved, and are so again when they come back.
        cfg_dma_frame_t again;
        ASSERT_TRUE(recall_text(again, save_text(frame))) << "seed " << seed << ", round " << round;
        checker_t second(text.find("nan") != std::string::npos);
        ASSERT_EQ(second.check(again), "") << "seed " << seed << ", round " << round << ":\n" << text;
        log.clear();
    }
    EXPECT_GT(changed, rounds / 2); // the damage reaches the settings
    EXPECT_LT(refused, rounds / 4); // and seldom the protocol
}
} // namespace
} // namespace vrim::dma_demod_lib
