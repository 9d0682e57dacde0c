#include "lib_dma_cfg_manager/lib_dma_format_configure_manager.h"

#include "output_capture.h"

#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
using manager_t = lib_dma_format_configure_manager_t;

double cal_rms(const constellation_map& map)
{
    double sum = 0.0;
    for (const auto& [index, point] : map)
        sum += std::norm(std::complex<double>(point));
    return std::sqrt(sum / static_cast<double>(map.size()));
}

double cal_max(const constellation_map& map)
{
    double largest = 0.0;
    for (const auto& [index, point] : map)
        largest = std::max(largest, std::abs(std::complex<double>(point)));
    return largest;
}

// A few roundings of single precision.
constexpr double point_bound = 1e-6;

void expect_points(const constellation_map& map, const std::vector<std::complex<double>>& expected)
{
    ASSERT_EQ(map.size(), expected.size());
    for (std::uint32_t key = 0; key < expected.size(); ++key)
    {
        ASSERT_TRUE(map.contains(key)) << key;
        EXPECT_NEAR(static_cast<double>(map.at(key).real()), expected[key].real(), point_bound) << key;
        EXPECT_NEAR(static_cast<double>(map.at(key).imag()), expected[key].imag(), point_bound) << key;
    }
}

std::complex<double> at_degrees(double degrees)
{
    return std::polar(1.0, degrees * std::numbers::pi / 180.0);
}

TEST(FormatRecord, StartsWithItsDefaults)
{
    const manager_t record;
    EXPECT_EQ(record.get_format_group(), LIB_DMA_GROUP_PSK);
    EXPECT_EQ(record.get_psk_format(), LIB_DMA_MODULATION_PSK_BPSK);
    EXPECT_EQ(record.get_qam_format(), LIB_DMA_QAM_16);
    EXPECT_EQ(record.get_fsk_format(), LIB_DMA_FSK_4);
    EXPECT_EQ(record.get_msk_format(), LIB_DMA_MSK_TYPE1);
    EXPECT_EQ(record.get_ask_format(), LIB_DMA_ASK_2);
    EXPECT_EQ(record.get_apsk_format(), LIB_DMA_APSK_16);
    EXPECT_EQ(record.get_dpsk_format(), LIB_DMA_MODULATION_PSK_DBPSK);
    EXPECT_EQ(record.get_oqpsk_format(), LIB_DMA_MODULATION_PSK_OFFSET_QPSK);
    EXPECT_EQ(record.get_vsb_format(), LIB_DMA_VSB_8);
    EXPECT_EQ(record.get_custom_iq_format(), LIB_DMA_CUSTOM_IQ);
    EXPECT_EQ(record.get_other_format(), LIB_DMA_OTHER_CPM);
    EXPECT_EQ(record.get_fsk_tx_freq_offset(), 0.0f);
    EXPECT_EQ(record.get_fsk_deviation_ref(), LIB_DMA_FSK_DEVIATION_NORMAL);
    EXPECT_EQ(record.get_apsk_r2_r1(), 2.85f);
    EXPECT_EQ(record.get_apsk_r3_r1(), 5.27f);
    EXPECT_FALSE(record.get_cpm_auto());
    EXPECT_EQ(record.get_cpm_index(), LIB_DMA_CPM_INDEX_TYPE1);
    EXPECT_TRUE(record.get_msk_dfas());
    EXPECT_FALSE(record.get_oqpsk_alig_iq());
    EXPECT_EQ(record.get_custom_iq_sync_persistence_target(), 0.05f);
    EXPECT_EQ(record.get_custom_iq_phase_rotation(), 0.0f);
    EXPECT_FALSE(record.get_custom_iq_shift());
    EXPECT_FALSE(record.get_custom_iq_diff());
    EXPECT_FALSE(record.get_custom_iq_offset());
    EXPECT_EQ(record.get_symbol_rate(), 10'000'000u);
    EXPECT_EQ(record.get_points_per_symbol(), LIB_DMA_POINT4);
    EXPECT_EQ(record.get_constellation_sym_index(), 0u);
}

TEST(FormatRecord, StartsWithTwoPointsAtUnitRmsThatNobodySet)
{
    const manager_t record;
    expect_points(record.get_const_iq_map_data(), { -1.0, 1.0 });
    EXPECT_FALSE(record.get_constellation_setting_flag());
}

TEST(FormatRecord, InitDropsTheUsersConstellationAndRestoresTheDefaults)
{
    manager_t record;
    record.set_format_group(LIB_DMA_GROUP_QAM);
    record.set_symbol_rate(123456);
    record.set_const_iq_map_data({ { 0, { 1.0f, 0.0f } }, { 1, { 2.0f, 0.0f } }, { 3, { 3.0f, 0.0f } } });
    ASSERT_EQ(record.set_constellation_sym_index(2, 0), 0);
    record.init();
    EXPECT_FALSE(record.get_constellation_setting_flag());
    expect_points(record.get_const_iq_map_data(), { -1.0, 1.0 });
    EXPECT_EQ(record, manager_t());
}

TEST(FormatRecord, StoresEachFieldApartAndComparesIt)
{
    std::vector<manager_t> records(26);
    std::size_t i = 0;
    // The group stays PSK in all of them but one, so that nothing else moves.
    EXPECT_TRUE(records[i++].set_psk_format(LIB_DMA_MODULATION_PSK_QPSK));
    EXPECT_TRUE(records[i++].set_qam_format(LIB_DMA_QAM_64));
    EXPECT_TRUE(records[i++].set_fsk_format(LIB_DMA_FSK_2));
    EXPECT_TRUE(records[i++].set_msk_format(LIB_DMA_MSK_TYPE2));
    EXPECT_TRUE(records[i++].set_ask_format(LIB_DMA_ASK_4));
    EXPECT_TRUE(records[i++].set_dpsk_format(LIB_DMA_MODULATION_PSK_DQPSK));
    EXPECT_TRUE(records[i++].set_oqpsk_format(LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK));
    EXPECT_TRUE(records[i++].set_vsb_format(LIB_DMA_VSB_16));
    EXPECT_TRUE(records[i++].set_other_format(LIB_DMA_OTHER_EDGE));
    EXPECT_TRUE(records[i++].set_fsk_tx_freq_offset(10.0f));
    EXPECT_TRUE(records[i++].set_fsk_deviation_ref(LIB_DMA_FSK_DEVIATION_MANUAL));
    EXPECT_TRUE(records[i++].set_apsk_r2_r1(3.0f));
    EXPECT_TRUE(records[i++].set_apsk_r3_r1(4.0f));
    EXPECT_TRUE(records[i++].set_cpm_auto(true));
    EXPECT_TRUE(records[i++].set_cpm_index(LIB_DMA_CPM_INDEX_TYPE3));
    EXPECT_TRUE(records[i++].set_msk_dfas(false));
    EXPECT_TRUE(records[i++].set_oqpsk_alig_iq(true));
    EXPECT_TRUE(records[i++].set_custom_iq_sync_persistence_target(0.5f));
    EXPECT_TRUE(records[i++].set_custom_iq_phase_rotation(90.0f));
    EXPECT_TRUE(records[i++].set_custom_iq_shift(true));
    EXPECT_TRUE(records[i++].set_custom_iq_diff(true));
    EXPECT_TRUE(records[i++].set_custom_iq_offset(true));
    EXPECT_TRUE(records[i++].set_symbol_rate(1'000'000));
    EXPECT_TRUE(records[i++].set_points_per_symbol(LIB_DMA_POINT8));
    EXPECT_TRUE(records[i++].set_const_iq_map_data({ { 0, { -1.0f, 0.0f } }, { 1, { 1.0f, 1e-7f } } }));
    EXPECT_TRUE(records[i++].set_constellation_setting_flag(true));
    ASSERT_EQ(i, records.size());
    for (std::size_t a = 0; a < records.size(); ++a)
    {
        EXPECT_NE(records[a], manager_t()) << a;
        for (std::size_t b = 0; b < a; ++b)
            EXPECT_NE(records[a], records[b]) << a << ' ' << b;
        const manager_t copy = records[a];
        EXPECT_EQ(copy, records[a]) << a;
    }
    EXPECT_EQ(records[0].get_psk_format(), LIB_DMA_MODULATION_PSK_QPSK);
    EXPECT_EQ(records[1].get_qam_format(), LIB_DMA_QAM_64);
    EXPECT_EQ(records[2].get_fsk_format(), LIB_DMA_FSK_2);
    EXPECT_EQ(records[3].get_msk_format(), LIB_DMA_MSK_TYPE2);
    EXPECT_EQ(records[4].get_ask_format(), LIB_DMA_ASK_4);
    EXPECT_EQ(records[5].get_dpsk_format(), LIB_DMA_MODULATION_PSK_DQPSK);
    EXPECT_EQ(records[6].get_oqpsk_format(), LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK);
    EXPECT_EQ(records[7].get_vsb_format(), LIB_DMA_VSB_16);
    EXPECT_EQ(records[8].get_other_format(), LIB_DMA_OTHER_EDGE);
    EXPECT_EQ(records[10].get_fsk_deviation_ref(), LIB_DMA_FSK_DEVIATION_MANUAL);
    EXPECT_TRUE(records[13].get_cpm_auto());
    EXPECT_FALSE(records[15].get_msk_dfas());
    EXPECT_TRUE(records[16].get_oqpsk_alig_iq());
    EXPECT_TRUE(records[19].get_custom_iq_shift());
    EXPECT_TRUE(records[20].get_custom_iq_diff());
    EXPECT_TRUE(records[21].get_custom_iq_offset());
    EXPECT_TRUE(records[25].get_constellation_setting_flag());
    manager_t custom;
    EXPECT_TRUE(custom.set_custom_iq_format(LIB_DMA_CUSTOM_IQ));
    EXPECT_EQ(custom, manager_t());
}

TEST(FormatRecord, FormatSettersLeaveTheConstellationAsItIs)
{
    manager_t record;
    record.set_psk_format(LIB_DMA_MODULATION_PSK_8_PSK);
    EXPECT_EQ(record.get_const_iq_map_data().size(), 2u);
    record.set_format_group(LIB_DMA_GROUP_PSK);
    EXPECT_EQ(record.get_const_iq_map_data().size(), 8u);
}

TEST(FormatRecord, ClampsItsNumbers)
{
    const float infinity = std::numeric_limits<float>::infinity();
    manager_t record;
    const float offsets[][2] = { { -2e9f, -1e9f }, { -1e9f, -1e9f }, { 5.0f, 5.0f }, { 2e9f, 1e9f }, { infinity, 1e9f } };
    for (const auto& [value, expected] : offsets)
    {
        EXPECT_TRUE(record.set_fsk_tx_freq_offset(value));
        EXPECT_EQ(record.get_fsk_tx_freq_offset(), expected) << value;
    }
    const float targets[][2] = { { -0.1f, 0.0f }, { 0.0f, 0.0f }, { 0.3f, 0.3f }, { 1.0f, 1.0f }, { 1.1f, 1.0f } };
    for (const auto& [value, expected] : targets)
    {
        EXPECT_TRUE(record.set_custom_iq_sync_persistence_target(value));
        EXPECT_EQ(record.get_custom_iq_sync_persistence_target(), expected) << value;
    }
    const float rotations[][2] = { { -400.0f, -360.0f }, { 12.5f, 12.5f }, { 360.0f, 360.0f }, { infinity, 360.0f } };
    for (const auto& [value, expected] : rotations)
    {
        EXPECT_TRUE(record.set_custom_iq_phase_rotation(value));
        EXPECT_EQ(record.get_custom_iq_phase_rotation(), expected) << value;
    }
    const std::uint64_t rates[][2] = { { 0, 10'000 },
                                       { 1, 10'000 },
                                       { 9'999, 10'000 },
                                       { 10'000, 10'000 },
                                       { 10'001, 10'001 },
                                       { 8'000'000'000, 8'000'000'000 },
                                       { 8'000'000'001, 8'000'000'000 },
                                       { 9'000'000'000, 8'000'000'000 },
                                       { std::numeric_limits<std::uint64_t>::max(), 8'000'000'000 } };
    for (const auto& [value, expected] : rates)
    {
        EXPECT_TRUE(record.set_symbol_rate(value));
        EXPECT_EQ(record.get_symbol_rate(), expected) << value;
    }
}

TEST(FormatRecord, LetsNotANumberThroughAndGoesOn)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    manager_t record;
    record.set_apsk_format(LIB_DMA_APSK_32);
    EXPECT_TRUE(record.set_fsk_tx_freq_offset(nan));
    EXPECT_TRUE(record.set_custom_iq_sync_persistence_target(nan));
    EXPECT_TRUE(record.set_custom_iq_phase_rotation(nan));
    EXPECT_TRUE(record.set_apsk_r2_r1(nan));
    EXPECT_EQ(record.get_apsk_r3_r1(), 5.27f); // it is near no standard pair
    EXPECT_TRUE(record.set_apsk_r3_r1(nan));
    EXPECT_TRUE(std::isnan(record.get_fsk_tx_freq_offset()));
    EXPECT_TRUE(std::isnan(record.get_custom_iq_sync_persistence_target()));
    EXPECT_TRUE(std::isnan(record.get_custom_iq_phase_rotation()));
    EXPECT_TRUE(std::isnan(record.get_apsk_r2_r1()));
    EXPECT_TRUE(std::isnan(record.get_apsk_r3_r1()));
    record.init();
    EXPECT_EQ(record, manager_t());
}

TEST(RingRatios, OfAStandardPairBringTheirPartnerUnder32Apsk)
{
    const float pairs[][2] = { { 2.84f, 5.27f }, { 2.72f, 4.87f }, { 2.64f, 4.64f }, { 2.54f, 4.33f }, { 2.53f, 4.30f } };
    for (const auto& [r2, r3] : pairs)
    {
        manager_t record;
        record.set_apsk_format(LIB_DMA_APSK_32);
        record.set_apsk_r3_r1(9.0f);
        EXPECT_TRUE(record.set_apsk_r2_r1(r2));
        EXPECT_EQ(record.get_apsk_r2_r1(), r2);
        EXPECT_EQ(record.get_apsk_r3_r1(), r3) << r2;

        record.set_apsk_r2_r1(7.0f);
        EXPECT_TRUE(record.set_apsk_r3_r1(r3));
        EXPECT_EQ(record.get_apsk_r3_r1(), r3);
        EXPECT_EQ(record.get_apsk_r2_r1(), r2) << r3;
    }
}

TEST(RingRatios, MatchWithinAHundredThousandthOnEitherSide)
{
    const struct
    {
        float value;
        bool matches;
    } cases[] = { { 2.640005f, true },
                  { 2.639995f, true },
                  { 2.64002f, false },
                  { 2.63998f, false },
                  // far below every pair: a difference with a sign would take the first one
                  { 1.5f, false } };
    for (const auto& item : cases)
    {
        manager_t record;
        record.set_apsk_format(LIB_DMA_APSK_32);
        record.set_apsk_r3_r1(9.0f);
        record.set_apsk_r2_r1(item.value);
        EXPECT_EQ(record.get_apsk_r3_r1(), item.matches ? 4.64f : 9.0f) << item.value;
        EXPECT_EQ(record.get_apsk_r2_r1(), item.value);
    }
    manager_t record;
    record.set_apsk_format(LIB_DMA_APSK_32);
    record.set_apsk_r3_r1(2.0f);
    EXPECT_EQ(record.get_apsk_r2_r1(), 2.84f);
}

TEST(RingRatios, StandAloneUnder16Apsk)
{
    manager_t record;
    record.set_apsk_r2_r1(2.64f);
    EXPECT_EQ(record.get_apsk_r2_r1(), 2.64f);
    EXPECT_EQ(record.get_apsk_r3_r1(), 5.27f);
    record.set_apsk_r3_r1(4.33f);
    EXPECT_EQ(record.get_apsk_r2_r1(), 2.64f);
    EXPECT_EQ(record.get_apsk_r3_r1(), 4.33f);
}

TEST(RingRatios, AreClamped)
{
    manager_t record;
    const float r2[][2] = { { 1.0f, 1.25f }, { 1.25f, 1.25f }, { 8.0f, 8.0f }, { 9.0f, 8.0f } };
    for (const auto& [value, expected] : r2)
    {
        record.set_apsk_r2_r1(value);
        EXPECT_EQ(record.get_apsk_r2_r1(), expected) << value;
    }
    const float r3[][2] = { { 1.0f, 1.5625f }, { 1.5625f, 1.5625f }, { 10.0f, 10.0f }, { 11.0f, 10.0f } };
    for (const auto& [value, expected] : r3)
    {
        record.set_apsk_r3_r1(value);
        EXPECT_EQ(record.get_apsk_r3_r1(), expected) << value;
    }
}

TEST(RingRatios, FollowTheFormatForTheSecondRingOnly)
{
    manager_t record;
    record.set_apsk_r3_r1(6.0f);
    EXPECT_TRUE(record.set_apsk_format(LIB_DMA_APSK_32));
    EXPECT_EQ(record.get_apsk_format(), LIB_DMA_APSK_32);
    EXPECT_EQ(record.get_apsk_r2_r1(), 2.84f);
    EXPECT_EQ(record.get_apsk_r3_r1(), 6.0f);
    for (const auto format : { LIB_DMA_APSK_16, static_cast<lib_dma_apsk_modulation_type_t>(99) })
    {
        record.set_apsk_r2_r1(4.0f);
        EXPECT_TRUE(record.set_apsk_format(format));
        EXPECT_EQ(record.get_apsk_r2_r1(), 2.85f);
        EXPECT_EQ(record.get_apsk_r3_r1(), 6.0f);
    }
}

TEST(PointsPerSymbol, AreRoundedUnderOffsetQpskOnly)
{
    const std::uint32_t cases[][2] = { { 1, 2 },   { 2, 2 },   { 3, 2 },   { 4, 4 },   { 5, 4 },   { 6, 4 },
                                       { 8, 4 },   { 9, 4 },   { 10, 10 }, { 12, 10 }, { 14, 10 }, { 16, 10 },
                                       { 19, 10 }, { 20, 20 }, { 21, 20 }, { 100, 20 } };
    for (const auto& [value, rounded] : cases)
    {
        const auto points = static_cast<lib_dma_point_per_symbol_type_t>(value);
        manager_t before;
        EXPECT_TRUE(before.set_points_per_symbol(points));
        EXPECT_EQ(static_cast<std::uint32_t>(before.get_points_per_symbol()), value);
        EXPECT_TRUE(before.set_format_group(LIB_DMA_GROUP_QAM));
        EXPECT_EQ(static_cast<std::uint32_t>(before.get_points_per_symbol()), value);
        EXPECT_TRUE(before.set_format_group(LIB_DMA_GROUP_OQPSK));
        EXPECT_EQ(static_cast<std::uint32_t>(before.get_points_per_symbol()), rounded) << value;

        manager_t after;
        after.set_format_group(LIB_DMA_GROUP_OQPSK);
        EXPECT_TRUE(after.set_points_per_symbol(points));
        EXPECT_EQ(static_cast<std::uint32_t>(after.get_points_per_symbol()), rounded) << value;
        // Leaving the group does not bring the old value back.
        after.set_format_group(LIB_DMA_GROUP_PSK);
        EXPECT_EQ(static_cast<std::uint32_t>(after.get_points_per_symbol()), rounded) << value;
    }
}

struct preset_case_t
{
    lib_dma_modulation_type_t group;
    std::uint32_t format;
    std::size_t points;
};

const preset_case_t preset_cases[] = {
    { LIB_DMA_GROUP_PSK, 2, 2 },   { LIB_DMA_GROUP_PSK, 4, 4 },    { LIB_DMA_GROUP_PSK, 9, 4 },    { LIB_DMA_GROUP_PSK, 8, 8 },
    { LIB_DMA_GROUP_PSK, 10, 8 },  { LIB_DMA_GROUP_QAM, 0, 16 },   { LIB_DMA_GROUP_QAM, 9, 16 },   { LIB_DMA_GROUP_QAM, 1, 32 },
    { LIB_DMA_GROUP_QAM, 10, 32 }, { LIB_DMA_GROUP_QAM, 2, 64 },   { LIB_DMA_GROUP_QAM, 3, 128 },  { LIB_DMA_GROUP_QAM, 4, 256 },
    { LIB_DMA_GROUP_QAM, 5, 512 }, { LIB_DMA_GROUP_QAM, 6, 1024 }, { LIB_DMA_GROUP_QAM, 7, 2048 }, { LIB_DMA_GROUP_QAM, 8, 4096 },
    { LIB_DMA_GROUP_FSK, 2, 2 },   { LIB_DMA_GROUP_FSK, 4, 4 },    { LIB_DMA_GROUP_FSK, 8, 8 },    { LIB_DMA_GROUP_FSK, 16, 16 },
    { LIB_DMA_GROUP_FSK, 32, 32 }, { LIB_DMA_GROUP_FSK, 64, 64 },  { LIB_DMA_GROUP_ASK, 2, 2 },    { LIB_DMA_GROUP_ASK, 4, 4 },
    { LIB_DMA_GROUP_ASK, 8, 8 },   { LIB_DMA_GROUP_ASK, 16, 16 },  { LIB_DMA_GROUP_APSK, 16, 16 }, { LIB_DMA_GROUP_APSK, 32, 32 },
    { LIB_DMA_GROUP_OQPSK, 0, 4 }, { LIB_DMA_GROUP_OQPSK, 1, 4 },  { LIB_DMA_GROUP_DPSK, 2, 2 },   { LIB_DMA_GROUP_DPSK, 4, 4 },
    { LIB_DMA_GROUP_DPSK, 5, 8 },  { LIB_DMA_GROUP_DPSK, 6, 16 },  { LIB_DMA_GROUP_DPSK, 8, 8 },
};

manager_t make_record(lib_dma_modulation_type_t group, std::uint32_t format)
{
    manager_t record;
    switch (group)
    {
    case LIB_DMA_GROUP_PSK:
        record.set_psk_format(static_cast<lib_dma_psk_modulation_type_t>(format));
        break;
    case LIB_DMA_GROUP_QAM:
        record.set_qam_format(static_cast<lib_dma_qam_modulation_type_t>(format));
        break;
    case LIB_DMA_GROUP_FSK:
        record.set_fsk_format(static_cast<lib_dma_fsk_modulation_type_t>(format));
        break;
    case LIB_DMA_GROUP_ASK:
        record.set_ask_format(static_cast<lib_dma_ask_modulation_type_t>(format));
        break;
    case LIB_DMA_GROUP_APSK:
        record.set_apsk_format(static_cast<lib_dma_apsk_modulation_type_t>(format));
        break;
    case LIB_DMA_GROUP_OQPSK:
        record.set_oqpsk_format(static_cast<lib_dma_oqpsk_modulation_type_t>(format));
        break;
    case LIB_DMA_GROUP_DPSK:
        record.set_dpsk_format(static_cast<lib_dma_dpsk_modulation_type_t>(format));
        break;
    default:
        break;
    }
    record.set_format_group(group);
    return record;
}

TEST(PresetConstellation, HasThePointsOfTheFormatAtUnitRmsOnceTheGroupIsSet)
{
    for (const auto& item : preset_cases)
    {
        output_capture_t output;
        const manager_t record = make_record(item.group, item.format);
        const constellation_map map = record.get_const_iq_map_data();
        ASSERT_EQ(map.size(), item.points) << item.group << ' ' << item.format;
        EXPECT_EQ(map.begin()->first, 0u);
        EXPECT_EQ(map.rbegin()->first, item.points - 1);
        EXPECT_NEAR(cal_rms(map), 1.0, 1e-5) << item.group << ' ' << item.format; // the rms is taken in single precision
        EXPECT_FALSE(record.get_constellation_setting_flag());
        EXPECT_TRUE(output.logged.empty());
        EXPECT_EQ(output.printed, "");
    }
}

TEST(PresetConstellation, IsScaledToALargestAmplitudeOfOneByTypeTwoAndStored)
{
    for (const auto& item : preset_cases)
    {
        manager_t record = make_record(item.group, item.format);
        const constellation_map map = record.get_preset_mod_constellation_info(common_lib::constellation_normalize_max);
        ASSERT_EQ(map.size(), item.points);
        EXPECT_NEAR(cal_max(map), 1.0, point_bound) << item.group << ' ' << item.format;
        EXPECT_EQ(record.get_const_iq_map_data(), map);
    }
}

TEST(PresetConstellation, KeepsTheGeneratedScaleForAnyOtherType)
{
    for (const std::uint32_t type : { 1u, 3u, 77u })
    {
        // Tones at -1, -1/3, 1/3, 1 have an rms of sqrt(5 / 9), so that either scaling would show.
        manager_t fsk = make_record(LIB_DMA_GROUP_FSK, 4);
        const constellation_map tones = fsk.get_preset_mod_constellation_info(type);
        EXPECT_NEAR(cal_max(tones), 1.0, point_bound);
        EXPECT_NEAR(cal_rms(tones), std::sqrt(5.0 / 9.0), point_bound);
        // The inner ring has radius 1.
        manager_t apsk = make_record(LIB_DMA_GROUP_APSK, 16);
        apsk.set_apsk_r2_r1(3.0f);
        EXPECT_NEAR(cal_max(apsk.get_preset_mod_constellation_info(type)), 3.0, point_bound);
    }
}

TEST(PresetConstellation, OfPskStandsOnTheDiagonalsOrRisesFromAngleZero)
{
    for (const std::uint32_t format : { 4u, 9u })
        expect_points(make_record(LIB_DMA_GROUP_PSK, format).get_const_iq_map_data(),
                      { at_degrees(135), at_degrees(45), at_degrees(225), at_degrees(315) });
    std::vector<std::complex<double>> rising;
    for (int k = 0; k < 8; ++k)
        rising.push_back(at_degrees(45.0 * k));
    for (const std::uint32_t format : { 8u, 10u })
        expect_points(make_record(LIB_DMA_GROUP_PSK, format).get_const_iq_map_data(), rising);
    for (const std::uint32_t format : { 0u, 1u })
        expect_points(make_record(LIB_DMA_GROUP_OQPSK, format).get_const_iq_map_data(),
                      { at_degrees(135), at_degrees(45), at_degrees(225), at_degrees(315) });
}

TEST(PresetConstellation, OfDqpskIsTurnedBackByAnEighthOfATurn)
{
    // Steps of 0, 90, 180 and 270 degrees have the keys 0, 1, 2 and 3.
    expect_points(make_record(LIB_DMA_GROUP_DPSK, 4).get_const_iq_map_data(),
                  { at_degrees(-45), at_degrees(45), at_degrees(135), at_degrees(225) });
}

TEST(PresetConstellation, OfAskHasItsLevelsOverTheirRms)
{
    const double two = std::sqrt(0.5);
    expect_points(make_record(LIB_DMA_GROUP_ASK, 2).get_const_iq_map_data(), { 0.0, 1.0 / two });
    const double four = std::sqrt((1.0 + 4.0 + 9.0 + 16.0) / 4.0);
    expect_points(make_record(LIB_DMA_GROUP_ASK, 4).get_const_iq_map_data(), { 1 / four, 2 / four, 3 / four, 4 / four });
}

TEST(PresetConstellation, OfApskUsesTheRingRatiosOfTheRecord)
{
    manager_t record;
    record.set_apsk_format(LIB_DMA_APSK_32);
    record.set_apsk_r2_r1(2.0f);
    record.set_apsk_r3_r1(3.0f);
    record.set_format_group(LIB_DMA_GROUP_APSK);
    const constellation_map map = record.get_const_iq_map_data();
    // 4 points of radius 1, 12 of radius 2, 16 of radius 3; the rings' first keys are 28, 16 and 0.
    const double rms = std::sqrt((4.0 * 1.0 + 12.0 * 4.0 + 16.0 * 9.0) / 32.0);
    EXPECT_NEAR(std::abs(std::complex<double>(map.at(28))), 1.0 / rms, point_bound);
    EXPECT_NEAR(std::abs(std::complex<double>(map.at(16))), 2.0 / rms, point_bound);
    EXPECT_NEAR(std::abs(std::complex<double>(map.at(0))), 3.0 / rms, point_bound);
}

TEST(PresetConstellation, IsEmptyAndLoggedOnceForAnUnknownFormat)
{
    const struct
    {
        lib_dma_modulation_type_t group;
        std::uint32_t format;
        const char* text;
    } cases[] = {
        { LIB_DMA_GROUP_PSK, 3, "get_preset_mod_constellation_info::generate_psk_constellation error!\n" },
        { LIB_DMA_GROUP_QAM, LIB_DMA_DVB_QAM_16, "get_preset_mod_constellation_info::generate_qam_constellation error!\n" },
        { LIB_DMA_GROUP_QAM, LIB_DMA_DVB_QAM_32, "get_preset_mod_constellation_info::generate_qam_constellation error!\n" },
        { LIB_DMA_GROUP_QAM, LIB_DMA_DVB_QAM_64, "get_preset_mod_constellation_info::generate_qam_constellation error!\n" },
        { LIB_DMA_GROUP_QAM, LIB_DMA_DVB_QAM_128, "get_preset_mod_constellation_info::generate_qam_constellation error!\n" },
        { LIB_DMA_GROUP_QAM, LIB_DMA_DVB_QAM_256, "get_preset_mod_constellation_info::generate_qam_constellation error!\n" },
        { LIB_DMA_GROUP_QAM, 16, "get_preset_mod_constellation_info::generate_qam_constellation error!\n" },
        { LIB_DMA_GROUP_FSK, 3, "get_preset_mod_constellation_info::generate_fsk_constellation error!\n" },
        { LIB_DMA_GROUP_ASK, 3, "get_preset_mod_constellation_info::generate_sk_constellation error!\n" },
        { LIB_DMA_GROUP_OQPSK, 2, "get_preset_mod_constellation_info::generate_oqpsk_constellation error!" },
        { LIB_DMA_GROUP_DPSK, 3, "get_preset_mod_constellation_info::generate_dpsk_constellation error!\n" },
        { LIB_DMA_GROUP_MSK, 0, "lib_dma_format_configure_manager_t::get_preset_mod_constellation_info error!\n" },
        { LIB_DMA_GROUP_VSB, 0, "lib_dma_format_configure_manager_t::get_preset_mod_constellation_info error!\n" },
        { LIB_DMA_GROUP_CUSTOM_IQ, 0, "lib_dma_format_configure_manager_t::get_preset_mod_constellation_info error!\n" },
        { LIB_DMA_GROUP_OTHER, 0, "lib_dma_format_configure_manager_t::get_preset_mod_constellation_info error!\n" },
        { static_cast<lib_dma_modulation_type_t>(11), 0,
          "lib_dma_format_configure_manager_t::get_preset_mod_constellation_info error!\n" },
    };
    for (const auto& item : cases)
    {
        output_capture_t output;
        const manager_t record = make_record(item.group, item.format);
        EXPECT_EQ(record.get_format_group(), item.group);
        EXPECT_TRUE(record.get_const_iq_map_data().empty()) << item.group << ' ' << item.format;
        ASSERT_EQ(output.logged.size(), 1u) << item.group << ' ' << item.format;
        EXPECT_EQ(output.logged[0].message, item.text);
        EXPECT_EQ(output.logged[0].level, common_log::log_level_error);
        EXPECT_EQ(output.logged[0].module, "DMA_LIB");
        EXPECT_EQ(output.printed, ""); // in particular no report of an empty map
    }
}

TEST(PresetConstellation, IsEmptyAndReportedForAnUnknownApskFormat)
{
    output_capture_t output;
    const manager_t record = make_record(LIB_DMA_GROUP_APSK, 64);
    EXPECT_TRUE(record.get_const_iq_map_data().empty());
    EXPECT_EQ(output.printed,
              "get_preset_mod_constellation_info::generate_apsk_constellation Report: Illegal Constellation Point!\n");
    EXPECT_TRUE(output.logged.empty());
}

TEST(PresetConstellation, ReplacesAUsersMapButNotTheFlag)
{
    manager_t record;
    record.set_const_iq_map_data({ { 7, { 1.0f, 2.0f } } });
    record.set_constellation_setting_flag(true);
    record.set_format_group(LIB_DMA_GROUP_FSK);
    EXPECT_EQ(record.get_const_iq_map_data().size(), 4u);
    EXPECT_TRUE(record.get_constellation_setting_flag());
}

TEST(UserConstellation, IsTakenWithoutACheckAndWithoutTheFlag)
{
    manager_t record;
    const constellation_map map = { { 5, { 1.0f, 2.0f } }, { 9, { 1.0f, 2.0f } }, { 11, {} } };
    EXPECT_TRUE(record.set_const_iq_map_data(map));
    EXPECT_EQ(record.get_const_iq_map_data(), map);
    EXPECT_FALSE(record.get_constellation_setting_flag());
    EXPECT_TRUE(record.set_const_iq_map_data({}));
    EXPECT_TRUE(record.get_const_iq_map_data().empty());
}

const constellation_map four_points = {
    { 0, { 1.0f, 0.0f } }, { 1, { 0.0f, 1.0f } }, { 2, { -1.0f, 0.0f } }, { 3, { 0.0f, -1.0f } }
};

TEST(UserConstellation, RefusesASymbolThatIsThere)
{
    manager_t record;
    record.set_const_iq_map_data(four_points);
    output_capture_t output;
    EXPECT_EQ(record.set_constellation_sym_index(3, 0), -3);
    ASSERT_EQ(output.logged.size(), 1u);
    EXPECT_EQ(output.logged[0].message, "duplicate symbol defination exist symbol index %u");
    EXPECT_EQ(output.logged[0].level, common_log::log_level_error);
    EXPECT_EQ(output.logged[0].module, "DMA_LIB");
    EXPECT_EQ(record.get_const_iq_map_data(), four_points);
    EXPECT_FALSE(record.get_constellation_setting_flag());
}

TEST(UserConstellation, RefusesASymbolOutOfRange)
{
    manager_t record;
    record.set_const_iq_map_data(four_points);
    output_capture_t output;
    EXPECT_EQ(record.set_constellation_sym_index(4, 0), -2);
    ASSERT_EQ(output.logged.size(), 1u);
    EXPECT_EQ(output.logged[0].message, "The definition of symbol %u is out of range.Valid range: (0 ~ %u)");
    EXPECT_EQ(output.logged[0].level, common_log::log_level_error);
    EXPECT_EQ(record.get_const_iq_map_data(), four_points);
    record.set_const_iq_map_data({});
    EXPECT_EQ(record.set_constellation_sym_index(0, 0), -2);
    EXPECT_TRUE(record.get_const_iq_map_data().empty());
}

TEST(UserConstellation, TakesASymbolInAHoleAsZeroAndSetsTheFlag)
{
    for (const std::uint32_t type : { 0u, 2u })
    {
        constellation_map map = four_points;
        map.erase(2);
        manager_t record;
        record.set_const_iq_map_data(map);
        output_capture_t output;
        EXPECT_EQ(record.set_constellation_sym_index(2, type), 0);
        map[2] = {};
        EXPECT_EQ(record.get_const_iq_map_data(), map);
        EXPECT_TRUE(record.get_constellation_setting_flag());
        EXPECT_EQ(record.get_constellation_sym_index(), 0u); // the index itself is not kept
        EXPECT_TRUE(output.logged.empty());
        EXPECT_EQ(output.printed, "");
    }
}

TEST(UserConstellation, ReportsACountThatIsNoPowerOfTwoAndKeepsTheSymbol)
{
    manager_t record;
    record.set_const_iq_map_data({ { 0, { 1.0f, 0.0f } }, { 2, { -1.0f, 0.0f } } });
    output_capture_t output;
    EXPECT_EQ(record.set_constellation_sym_index(1, 0), -1);
    EXPECT_EQ(output.printed, "The number of constellation symbols must be the power of 2 ,Current symbol number is 3.\n");
    EXPECT_TRUE(output.logged.empty());
    EXPECT_EQ(record.get_const_iq_map_data().size(), 3u);
    EXPECT_EQ(record.get_const_iq_map_data().at(1), std::complex<float>());
    EXPECT_FALSE(record.get_constellation_setting_flag());
}

TEST(UserConstellation, ReportsTwoSymbolsOnOnePointAndKeepsThem)
{
    manager_t record;
    record.set_const_iq_map_data({ { 0, { 1.0f, 0.0f } }, { 1, {} }, { 3, { -1.0f, 0.0f } } });
    output_capture_t output;
    EXPECT_EQ(record.set_constellation_sym_index(2, 0), -4);
    EXPECT_EQ(output.printed, "Duplicate IQ definition exists.\n");
    EXPECT_EQ(record.get_const_iq_map_data().size(), 4u);
    EXPECT_FALSE(record.get_constellation_setting_flag());
}

TEST(CpmIndex, HasAFixedTextWithItsBlanks)
{
    const char* texts[] = { "12/16,13/16 ", " 7/16,10/16 ", " 6/16,7/16 ", " 5/16,6/16 ",
                            " 4/16,5/16 ",  " 1/2 (MSK) ",  " 1/3 (HCPM)" };
    manager_t record;
    for (std::uint32_t index = 0; index < 7; ++index)
    {
        record.set_cpm_index(static_cast<lib_dma_cpm_index_type_t>(index));
        EXPECT_EQ(record.get_cpm_index(), static_cast<lib_dma_cpm_index_type_t>(index));
        EXPECT_EQ(record.get_cpm_index_string(), texts[index]);
    }
    record.set_cpm_index(static_cast<lib_dma_cpm_index_type_t>(7));
    EXPECT_EQ(record.get_cpm_index_string(), "");
}

TEST(ConstellationInfo, AddsThePolarFormAndComesBackAsThePoint)
{
    const constellation_map map = { { 0, { 3.0f, 4.0f } }, { 4, { 0.0f, -2.0f } }, { 9, { -1.0f, 0.0f } } };
    const auto info = manager_t::to_local_format(map);
    ASSERT_EQ(info.size(), 3u);
    EXPECT_EQ(info.at(0).iq, std::complex<float>(3.0f, 4.0f));
    EXPECT_FLOAT_EQ(info.at(0).amplitude, 5.0f);
    EXPECT_FLOAT_EQ(info.at(0).phase, static_cast<float>(std::atan2(4.0, 3.0)));
    EXPECT_FLOAT_EQ(info.at(4).amplitude, 2.0f);
    EXPECT_FLOAT_EQ(info.at(4).phase, static_cast<float>(-std::numbers::pi / 2.0));
    EXPECT_FLOAT_EQ(info.at(9).phase, static_cast<float>(std::numbers::pi));
    EXPECT_EQ(manager_t::to_lib_format(info), map);
}
} // namespace
} // namespace vrim::dma_demod_lib
