#include "lib_dma_phy_data_manager.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
lib_dma_frame_configure_manager_t make_frame(std::uint32_t segments)
{
    lib_dma_frame_configure_manager_t frame;
    frame.set_segment_number(segments);
    return frame;
}

lib_dma_phy_data_manager_t make_store(std::uint32_t segments)
{
    lib_dma_phy_data_manager_t store;
    EXPECT_TRUE(store.set_config(make_frame(segments)));
    return store;
}

/// Calls `visit(name, access)` for each accessor that checks its index; works for a store and for a const store.
template <typename store_t, typename visit_t>
void visit_checked(store_t& store, visit_t visit)
{
    visit("config", [&](std::uint32_t i) { static_cast<void>(store.get_dma_demod_config_mgr(i)); });
    visit("summary", [&](std::uint32_t i) { static_cast<void>(store.get_error_summary(i)); });
    visit("table", [&](std::uint32_t i) { static_cast<void>(store.get_err_table(i)); });
    visit("bits", [&](std::uint32_t i) { static_cast<void>(store.get_decode_bit(i)); });
    visit("measured", [&](std::uint32_t i) { static_cast<void>(store.get_iq_meas_time_constellation(i)); });
    visit("ideal", [&](std::uint32_t i) { static_cast<void>(store.get_iq_ref_time_constellation(i)); });
    visit("raw", [&](std::uint32_t i) { static_cast<void>(store.get_iq_raw_time(i)); });
}

/// The same for those that take an index past the end as the last one.
template <typename store_t, typename visit_t>
void visit_clamped(store_t& store, visit_t visit)
{
    visit("error vector", [&](std::uint32_t i) { static_cast<void>(store.get_error_vector(i)); });
    visit("magnitude error", [&](std::uint32_t i) { static_cast<void>(store.get_mag_error_vector(i)); });
    visit("phase error", [&](std::uint32_t i) { static_cast<void>(store.get_phase_error_vector(i)); });
    visit("decode flag", [&](std::uint32_t i) { static_cast<void>(store.get_decode_bit_flag(i)); });
    visit("sync flag", [&](std::uint32_t i) { static_cast<void>(store.get_sync_search_flag(i)); });
    visit("burst flag", [&](std::uint32_t i) { static_cast<void>(store.get_brust_search_flag(i)); });
}
} // namespace

TEST(DataManager, HasOneDefaultEntryAfterConstruction)
{
    const lib_dma_phy_data_manager_t store;
    const lib_dma_demod_config_mgr& config = store.get_dma_demod_config_mgr(0);
    EXPECT_EQ(config.pre_time, 0.0);
    EXPECT_EQ(config.sample_rate, 0u);
    EXPECT_EQ(config.equalizer_loop_number, 0u);
    EXPECT_FALSE(config.burst_raise_flag || config.burst_fall_flag);
    EXPECT_EQ(config.equalizer_filter, (complex_array{ { 0.0f, 0.0f } }));
    EXPECT_EQ(store.get_err_table(0).rho, 0.0f);
    EXPECT_EQ(store.get_error_summary(0).evm_rms, 0.0f);
    EXPECT_TRUE(store.get_error_summary(0).evm_trace.empty());
    EXPECT_TRUE(store.get_decode_bit(0).empty());
    EXPECT_EQ(store.get_decode_bit_flag_vec(), std::vector<bool>{ false });
    EXPECT_EQ(store.get_sync_search_flag_vec(), std::vector<bool>{ false });
    EXPECT_EQ(store.get_brust_search_flag_vec(), std::vector<bool>{ false });
    const lib_dma_psk_modulation_param& param = store.get_psk_modulation_param();
    EXPECT_EQ(param.rotation_angle, 0.0f);
    EXPECT_EQ(param.modulation_order, 2u);
}

TEST(DataManager, RaisesForTheCheckedAccessorsOnlyAfterInit)
{
    lib_dma_phy_data_manager_t store = make_store(3);
    store.init();
    const auto expect_checked = [](const char* name, auto access)
    {
        EXPECT_NO_THROW(access(0)) << name;
        EXPECT_THROW(access(1), std::out_of_range) << name;
    };
    // The vectors and flags take index 1 as the last segment.
    const auto expect_clamped = [](const char* name, auto access)
    {
        EXPECT_NO_THROW(access(0)) << name;
        EXPECT_NO_THROW(access(1)) << name;
        EXPECT_NO_THROW(access(0xffffffffu)) << name;
    };
    visit_checked(store, expect_checked);
    visit_checked(std::as_const(store), expect_checked);
    visit_clamped(store, expect_clamped);
    visit_clamped(std::as_const(store), expect_clamped);
}

TEST(DataManager, RaisesTheTextOfTheStandardContainers)
{
    const lib_dma_phy_data_manager_t store = make_store(2);
    try
    {
        store.get_err_table(5);
        FAIL() << "no range error";
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "vector::_M_range_check: __n (which is 5) >= this->size() (which is 2)");
    }
}

TEST(DataManager, TakesVectorsPastTheEndFromTheLastSegment)
{
    lib_dma_phy_data_manager_t store = make_store(2);
    store.get_error_vector(1) = { { 1.0f, 0.0f } };
    store.get_mag_error_vector(1) = { { 2.0f, 0.0f } };
    store.get_phase_error_vector(1) = { { 3.0f, 0.0f } };
    EXPECT_EQ(&store.get_error_vector(5), &store.get_error_vector(1));
    EXPECT_EQ(&store.get_mag_error_vector(2), &store.get_mag_error_vector(1));
    EXPECT_EQ(&store.get_phase_error_vector(7), &store.get_phase_error_vector(1));
    const lib_dma_phy_data_manager_t& reading = store;
    EXPECT_EQ(reading.get_error_vector(5), (complex_array{ { 1.0f, 0.0f } }));
    EXPECT_EQ(reading.get_mag_error_vector(5), (complex_array{ { 2.0f, 0.0f } }));
    EXPECT_EQ(reading.get_phase_error_vector(5), (complex_array{ { 3.0f, 0.0f } }));
    EXPECT_TRUE(reading.get_error_vector(0).empty());
}

TEST(DataManager, GivesWritableReferencesAndConstTwinsOfThem)
{
    lib_dma_phy_data_manager_t store = make_store(2);
    const lib_dma_phy_data_manager_t& reading = store;
    store.get_iq_raw_time(1) = { { 1.0f, 1.0f } };
    store.get_iq_meas_time_constellation(1) = { { 2.0f, 1.0f } };
    store.get_iq_ref_time_constellation(1) = { { 3.0f, 1.0f } };
    store.get_decode_bit(1) = { 4 };
    store.get_err_table(1).rho = 0.5f;
    store.get_error_summary(1).snr = 6.0f;
    store.get_dma_demod_config_mgr(1).result_stop = -7;
    store.get_eq_impulse_i() = { { 8.0f, 1.0f } };
    store.get_eq_impulse_q() = { { 9.0f, 1.0f } };
    store.get_eq_frequency_response() = { { 10.0f, 1.0f } };
    store.get_psk_modulation_param().modulation_order = 8;
    EXPECT_EQ(reading.get_iq_raw_time(1)[0].real(), 1.0f);
    EXPECT_EQ(reading.get_iq_meas_time_constellation(1)[0].real(), 2.0f);
    EXPECT_EQ(reading.get_iq_ref_time_constellation(1)[0].real(), 3.0f);
    EXPECT_EQ(reading.get_decode_bit(1)[0], 4u);
    EXPECT_EQ(reading.get_err_table(1).rho, 0.5f);
    EXPECT_EQ(reading.get_error_summary(1).snr, 6.0f);
    EXPECT_EQ(reading.get_dma_demod_config_mgr(1).result_stop, -7);
    EXPECT_EQ(reading.get_eq_impulse_i()[0].real(), 8.0f);
    EXPECT_EQ(reading.get_eq_impulse_q()[0].real(), 9.0f);
    EXPECT_EQ(reading.get_eq_frequency_response()[0].real(), 10.0f);
    EXPECT_EQ(reading.get_psk_modulation_param().modulation_order, 8u);
    EXPECT_TRUE(reading.get_iq_raw_time(0).empty());
}

TEST(DataManager, AnswersFlagsPastTheEndWithTheLastBurstFlag)
{
    lib_dma_phy_data_manager_t store = make_store(2);
    store.get_decode_bit_flag_vec()[1] = true;
    store.get_sync_search_flag_vec()[1] = true;
    EXPECT_TRUE(store.get_decode_bit_flag(1));
    EXPECT_TRUE(store.get_sync_search_flag(1));
    EXPECT_FALSE(store.get_decode_bit_flag(0));
    // Not their own flag of the last segment: this is meant.
    EXPECT_FALSE(store.get_decode_bit_flag(5));
    EXPECT_FALSE(store.get_sync_search_flag(5));

    store.get_decode_bit_flag_vec()[1] = false;
    store.get_sync_search_flag_vec()[1] = false;
    store.get_brust_search_flag_vec()[1] = true;
    EXPECT_TRUE(store.get_decode_bit_flag(2));
    EXPECT_TRUE(store.get_sync_search_flag(2));
    EXPECT_TRUE(store.get_brust_search_flag(2));
    EXPECT_TRUE(store.get_brust_search_flag(1));
    EXPECT_FALSE(store.get_brust_search_flag(0));
}

TEST(DataManager, RaisesForAFlagOnlyWhenTheEntryIsMissing)
{
    lib_dma_phy_data_manager_t store = make_store(2);
    store.get_brust_search_flag_vec().clear();
    EXPECT_NO_THROW(store.get_decode_bit_flag(1));
    EXPECT_THROW(store.get_decode_bit_flag(2), std::out_of_range);
    try
    {
        store.get_sync_search_flag(5);
        FAIL() << "no range error";
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "vector<bool>::_M_range_check: __n (which is 1) >= this->size() (which is 0)");
    }
}

TEST(DataManager, KeepsEntriesWhenItGrowsAndDropsTheExtraOnesWhenItShrinks)
{
    lib_dma_phy_data_manager_t store = make_store(1);
    store.get_err_table(0).rho = 0.25f;
    store.get_decode_bit_flag_vec()[0] = true;
    EXPECT_TRUE(store.init_dma_demod_config(make_frame(3)));
    EXPECT_EQ(store.get_err_table(0).rho, 0.25f);
    EXPECT_TRUE(store.get_decode_bit_flag(0));
    EXPECT_EQ(store.get_err_table(2).rho, 0.0f);
    EXPECT_FALSE(store.get_decode_bit_flag(2));
    store.get_err_table(2).rho = 0.75f;

    EXPECT_TRUE(store.set_config(make_frame(1)));
    visit_checked(store,
                  [](const char* name, auto access)
                  {
                      EXPECT_NO_THROW(access(0)) << name;
                      EXPECT_THROW(access(1), std::out_of_range) << name;
                  });
    EXPECT_EQ(store.get_decode_bit_flag_vec().size(), 1u);
    EXPECT_EQ(store.get_sync_search_flag_vec().size(), 1u);
    EXPECT_EQ(store.get_brust_search_flag_vec().size(), 1u);
    EXPECT_EQ(&store.get_error_vector(5), &store.get_error_vector(0));

    EXPECT_TRUE(store.set_config(make_frame(3)));
    EXPECT_EQ(store.get_err_table(2).rho, 0.0f);
}

TEST(DataManager, StartsOverAtInit)
{
    lib_dma_phy_data_manager_t store = make_store(2);
    store.get_psk_modulation_param().modulation_order = 8;
    store.get_psk_modulation_param().rotation_angle = 0.5f;
    store.get_dma_demod_config_mgr(0).equalizer_loop_number = 3;
    store.get_dma_demod_config_mgr(0).equalizer_filter = { { 1.0f, 0.0f }, { 2.0f, 0.0f } };
    store.get_brust_search_flag_vec()[0] = true;
    store.init();
    EXPECT_EQ(store.get_psk_modulation_param().modulation_order, 2u);
    EXPECT_EQ(store.get_psk_modulation_param().rotation_angle, 0.0f);
    EXPECT_EQ(store.get_dma_demod_config_mgr(0).equalizer_loop_number, 0u);
    EXPECT_EQ(store.get_dma_demod_config_mgr(0).equalizer_filter, (complex_array{ { 0.0f, 0.0f } }));
    EXPECT_FALSE(store.get_brust_search_flag(0));
}

TEST(DataManager, RestartsInTheStateOfInitAndConfiguration)
{
    const complex_array mark = { { 1.0f, 2.0f }, { 3.0f, 4.0f } };
    lib_dma_phy_data_manager_t used = make_store(3);
    for (std::uint32_t s = 0; s < 3; ++s)
    {
        used.get_iq_raw_time(s) = mark;
        used.get_iq_meas_time_constellation(s) = mark;
        used.get_iq_ref_time_constellation(s) = mark;
        used.get_error_vector(s) = mark;
        used.get_mag_error_vector(s) = mark;
        used.get_phase_error_vector(s) = mark;
        used.get_decode_bit(s) = { 1, 2, 3 };
        used.get_decode_bit_flag_vec()[s] = true;
        used.get_sync_search_flag_vec()[s] = true;
        used.get_brust_search_flag_vec()[s] = true;
        lib_dma_demod_config_mgr& config = used.get_dma_demod_config_mgr(s);
        config = { 1.0, 2.0, 3.0, 4, 5, 6, true, 7, true, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17.0, 18, mark };
        error_summary_t& summary = used.get_error_summary(s);
        summary.snr = summary.evm_rms = summary.evm_max = summary.evm_min = summary.carrier_power = summary.depth = 5.0f;
        summary.mag_err_rms = summary.mag_err_max = summary.mag_err_min = 5.0f;
        summary.phase_err_rms = summary.phase_err_max = summary.phase_err_min = 5.0f;
        summary.evm_max_idx = summary.mag_err_max_idx = summary.phase_err_max_idx = 5;
        summary.evm_min_idx = summary.mag_err_min_idx = summary.phase_err_min_idx = 5;
        summary.evm_trace = summary.mag_err_trace = summary.phase_err_trace = { 1.0f, 2.0f };
        summary.fsk_deviation = summary.fsk_deviation_max = summary.fsk_deviation_min = 5.0;
        summary.apsk_r2_ratio = summary.apsk_r3_ratio = 5.0;
        summary.meas_data = summary.ref_data = mark;
        used.get_err_table(s) = { 1.0f, 2.0f, 3.0f, 4.0f, 5.0f };
    }
    used.get_psk_modulation_param() = { 1.0f, 2.0f, 3.0f, 8 };
    used.get_eq_impulse_i() = mark;
    used.get_eq_impulse_q() = mark;
    used.get_eq_frequency_response() = mark;
    lib_dma_phy_data_manager_t emptied = used;
    emptied.clear_data();

    for (const lib_dma_phy_data_manager_t& before : { used, emptied })
    {
        for (const std::uint32_t count : { 1u, 2u, 3u, 6u })
        {
            lib_dma_phy_data_manager_t store = before;
            store.restart(make_frame(count));
            visit_checked(store,
                          [&](const char* name, auto access)
                          {
                              EXPECT_NO_THROW(access(count - 1)) << name;
                              EXPECT_THROW(access(count), std::out_of_range) << name;
                          });
            EXPECT_EQ(&store.get_error_vector(9), &store.get_error_vector(count - 1));
            EXPECT_EQ(store.get_decode_bit_flag_vec(), std::vector<bool>(count, false));
            EXPECT_EQ(store.get_sync_search_flag_vec(), std::vector<bool>(count, false));
            EXPECT_EQ(store.get_brust_search_flag_vec(), std::vector<bool>(count, false));
            for (std::uint32_t s = 0; s < count; ++s)
            {
                for (const complex_array* array : { &store.get_iq_raw_time(s), &store.get_iq_meas_time_constellation(s),
                                                    &store.get_iq_ref_time_constellation(s), &store.get_error_vector(s),
                                                    &store.get_mag_error_vector(s), &store.get_phase_error_vector(s) })
                    EXPECT_TRUE(array->empty());
                EXPECT_TRUE(store.get_decode_bit(s).empty());
                const lib_dma_demod_config_mgr& config = store.get_dma_demod_config_mgr(s);
                EXPECT_EQ(config.pre_time, 0.0);
                EXPECT_EQ(config.equalizer_time, 0.0);
                EXPECT_EQ(config.minseglen, 0.0);
                EXPECT_EQ(config.sample_rate, 0u);
                EXPECT_EQ(config.data_len + config.burst_raise_idx + config.burst_fall_idx + config.burst_len, 0u);
                EXPECT_EQ(config.data_start + config.pre_num_max + config.pre_num, 0u);
                EXPECT_EQ(config.equalizer_head_len + config.head_len + config.equalizer_loop_number, 0u);
                EXPECT_FALSE(config.burst_raise_flag || config.burst_fall_flag);
                EXPECT_EQ(config.pulse_center_sym, 0);
                EXPECT_EQ(config.result_start, 0);
                EXPECT_EQ(config.result_stop, 0);
                EXPECT_EQ(config.carrier_frequency_offset, 0.0);
                EXPECT_EQ(config.equalizer_filter, (complex_array{ { 0.0f, 0.0f } }));
                const error_summary_t& summary = store.get_error_summary(s);
                for (const float figure : { summary.snr, summary.evm_rms, summary.evm_max, summary.evm_min, summary.carrier_power,
                                            summary.depth, summary.mag_err_rms, summary.mag_err_max, summary.mag_err_min,
                                            summary.phase_err_rms, summary.phase_err_max, summary.phase_err_min })
                    EXPECT_EQ(figure, 0.0f);
                for (const std::uint32_t index : { summary.evm_max_idx, summary.mag_err_max_idx, summary.phase_err_max_idx,
                                                   summary.evm_min_idx, summary.mag_err_min_idx, summary.phase_err_min_idx })
                    EXPECT_EQ(index, 0u);
                for (const double figure : { summary.fsk_deviation, summary.fsk_deviation_max, summary.fsk_deviation_min,
                                             summary.apsk_r2_ratio, summary.apsk_r3_ratio })
                    EXPECT_EQ(figure, 0.0);
                EXPECT_TRUE(summary.evm_trace.empty() && summary.mag_err_trace.empty() && summary.phase_err_trace.empty());
                EXPECT_TRUE(summary.meas_data.empty() && summary.ref_data.empty());
                const err_table_t& table = store.get_err_table(s);
                for (const float figure :
                     { table.quad_error, table.gain_imbalance, table.iq_offset, table.frequency_error, table.rho })
                    EXPECT_EQ(figure, 0.0f);
            }
            const lib_dma_psk_modulation_param& param = store.get_psk_modulation_param();
            EXPECT_EQ(param.rotation_angle, 0.0f);
            EXPECT_EQ(param.dpsk_rotation_angle, 0.0f);
            EXPECT_EQ(param.dpsk_rotation_step, 0.0f);
            EXPECT_EQ(param.modulation_order, 2u);
            // The equalizer's figures outlive a start over, as they do with init.
            EXPECT_EQ(store.get_eq_impulse_i(), mark);
            EXPECT_EQ(store.get_eq_impulse_q(), mark);
            EXPECT_EQ(store.get_eq_frequency_response(), mark);
        }
    }
    used.init();
    EXPECT_EQ(used.get_eq_impulse_i(), mark);
}

TEST(DataManager, ClearsTheSegmentsAndNothingElse)
{
    lib_dma_phy_data_manager_t store = make_store(2);
    store.get_psk_modulation_param().modulation_order = 8;
    store.get_eq_impulse_i() = { { 1.0f, 0.0f } };
    store.get_eq_impulse_q() = { { 2.0f, 0.0f } };
    store.get_eq_frequency_response() = { { 3.0f, 0.0f } };
    store.clear_data();
    const auto expect_empty = [](const char* name, auto access) { EXPECT_THROW(access(0), std::out_of_range) << name; };
    visit_checked(store, expect_empty);
    visit_clamped(store, expect_empty);
    EXPECT_TRUE(store.get_decode_bit_flag_vec().empty());
    EXPECT_TRUE(store.get_sync_search_flag_vec().empty());
    EXPECT_TRUE(store.get_brust_search_flag_vec().empty());
    EXPECT_EQ(store.get_psk_modulation_param().modulation_order, 8u);
    EXPECT_EQ(store.get_eq_impulse_i().size(), 1u);
    EXPECT_EQ(store.get_eq_impulse_q().size(), 1u);
    EXPECT_EQ(store.get_eq_frequency_response().size(), 1u);
    // The count of segments stays: index 5 is still clamped to 1, and that entry is gone.
    try
    {
        store.get_error_vector(5);
        FAIL() << "no range error";
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "vector::_M_range_check: __n (which is 1) >= this->size() (which is 0)");
    }
}

TEST(DataManager, IsAPlainValue)
{
    lib_dma_phy_data_manager_t store = make_store(2);
    store.get_err_table(1).rho = 0.5f;
    lib_dma_phy_data_manager_t copy = store;
    copy.get_err_table(1).rho = 0.25f;
    EXPECT_EQ(store.get_err_table(1).rho, 0.5f);
    EXPECT_FALSE(std::is_polymorphic_v<lib_dma_phy_data_manager_t>);
}
