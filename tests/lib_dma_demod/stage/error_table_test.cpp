#include "lib_dma_demod/stage/error_table.h"

#include "lib_dma_demod/demod_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace vrim::dma_demod_lib::demod_stage;
using namespace demod_test;
using common_log::log_level_info;

namespace
{
/// 4 symbols of rms root 5 and peak 3 at 2 points each; radial errors of 0.5, -0.5, -0.25, -0.25.
struct table_run_t
{
    table_run_t()
    {
        const lib_dma_frame_configure_manager_t frame;
        store.init();
        store.set_config(frame);
        setting.points_per_symbol = 2;
        const complex_array ref_symbols = { { 3.0f, 0.0f }, { 0.0f, 1.0f }, { -3.0f, 0.0f }, { 0.0f, -1.0f } };
        const complex_array meas_symbols = { { 2.5f, 0.0f }, { 0.0f, 1.5f }, { -3.25f, 0.0f }, { 0.0f, -1.25f } };
        for (std::size_t i = 0; i < 4; ++i)
        {
            ref.insert(ref.end(), { ref_symbols[i], { 7.0f, 7.0f } });
            meas.insert(meas.end(), { meas_symbols[i], { 7.0f, 6.0f } });
        }
        work.meas_data = meas;
        work.ref_data = ref;
        work.meas_symbol = { { 0.8f, 0.4f }, { 0.4f, 0.4f } };
    }

    void run()
    {
        const trace_capture_t trace;
        deal_error_table(0, setting, work, store);
        text = trace.get_text();
    }

    demod_setting_t setting;
    demod_work_t work;
    lib_dma_phy_data_manager_t store;
    complex_array ref;
    complex_array meas;
    std::string text;
};
} // namespace

TEST(ErrorTable, HoldsTheFiguresOfTheSymbols)
{
    table_run_t run;
    run.run();
    const error_summary_t& summary = run.store.get_error_summary(0);
    const double rms = std::sqrt(0.625 / 4.0);
    EXPECT_NEAR(static_cast<double>(summary.evm_rms), rms / std::sqrt(5.0) * 100.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.evm_max), 0.5 / std::sqrt(5.0) * 100.0, 1e-4);
    EXPECT_EQ(summary.evm_max_idx, 0u);
    EXPECT_NEAR(static_cast<double>(summary.snr), 10.0 * std::log10(20.0 / 0.625), 1e-3);
    ASSERT_EQ(summary.evm_trace.size(), 4u);
    EXPECT_NEAR(static_cast<double>(summary.evm_trace[2]), 0.25 / std::sqrt(5.0) * 100.0, 1e-4);
    EXPECT_TRUE(contains(run.text, "EVM(rms) = 17.6777"));

    run.work.meas_data = run.meas;
    run.work.ref_data = run.ref;
    run.setting.evm_normalization_ref = static_cast<lib_dma_evm_normalize_type_t>(1);
    run.run();
    EXPECT_NEAR(static_cast<double>(summary.evm_rms), rms / 3.0 * 100.0, 1e-4);
}

TEST(ErrorTable, LeavesTheQuadratureErrorOfTheFormat)
{
    table_run_t run;
    run.store.get_err_table(0).quad_error = 4.5f;
    run.store.get_err_table(0).frequency_error = 12.0f;
    run.run();
    EXPECT_EQ(run.store.get_err_table(0).quad_error, 4.5f);
    EXPECT_EQ(run.store.get_err_table(0).frequency_error, 12.0f);
    EXPECT_NE(run.store.get_err_table(0).gain_imbalance, 0.0f);
    EXPECT_GT(run.store.get_err_table(0).rho, 0.9f);
}

TEST(ErrorTable, TakesTheOffsetWhereItIsAskedFor)
{
    table_run_t run;
    run.setting.iq_offset_flag = false;
    run.store.get_err_table(0).iq_offset = 3.0f;
    run.run();
    EXPECT_EQ(run.store.get_err_table(0).iq_offset, 3.0f);
    run.setting.iq_offset_flag = true;
    run.work.meas_data = run.ref;
    run.work.ref_data = run.ref;
    run.run();
    EXPECT_EQ(run.store.get_err_table(0).iq_offset, -1e10f); // an error vector of zeros
}

TEST(ErrorTable, GivesTheWaveformsAndTheirConstellationsToTheStore)
{
    table_run_t run;
    run.work.meas_data[2] = { std::numeric_limits<float>::quiet_NaN(), 0.0f };
    run.meas = run.work.meas_data;
    run.run();
    EXPECT_EQ(run.store.get_error_summary(0).ref_data, run.ref);
    EXPECT_EQ(run.store.get_error_summary(0).meas_data.size(), 8u);
    EXPECT_TRUE(run.work.meas_data.empty());
    const complex_array& points = run.store.get_iq_meas_time_constellation(0);
    ASSERT_EQ(points.size(), 4u);
    EXPECT_EQ(points[0], run.meas[0]);
    EXPECT_EQ(points[1], std::complex<float>(0.0f, 0.0f));
    EXPECT_EQ(run.store.get_iq_ref_time_constellation(0), (complex_array{ run.ref[0], run.ref[2], run.ref[4], run.ref[6] }));
}

TEST(ErrorTable, StoresTheVectorsOfAllPoints)
{
    table_run_t run;
    run.run();
    ASSERT_EQ(run.store.get_error_vector(0).size(), 8u);
    ASSERT_EQ(run.store.get_mag_error_vector(0).size(), 8u);
    ASSERT_EQ(run.store.get_phase_error_vector(0).size(), 8u);
    EXPECT_TRUE(is_near(run.store.get_error_vector(0)[0], 0.5, 1e-6));
    EXPECT_TRUE(is_near(run.store.get_error_vector(0)[1], { 0.0, 1.0 }, 1e-6));
    // Percent, as a real part.
    EXPECT_TRUE(is_near(run.store.get_mag_error_vector(0)[0], 0.5 / std::sqrt(5.0) * 100.0, 1e-4));
    EXPECT_TRUE(
        is_near(run.store.get_mag_error_vector(0)[1], (std::sqrt(98.0) - std::sqrt(85.0)) / std::sqrt(5.0) * 100.0, 1e-3));
    EXPECT_TRUE(is_near(run.store.get_phase_error_vector(0)[0], 0.0, 1e-5));
}

TEST(ErrorTable, LogsItsFigures)
{
    table_run_t run;
    const log_capture_t log;
    run.run();
    EXPECT_EQ(log.count(log_level_info, "IQoffset = %.5f dB, QuadErr = %.5f deg, GainImb = %.5fdB \n"), 1);
    EXPECT_EQ(log.count(log_level_info, "data_manager:brust_search_flag = %u\n"), 1);
}
