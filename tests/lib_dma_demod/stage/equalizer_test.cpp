#include "lib_dma_demod/stage/equalizer.h"

#include "lib_dma_demod/demod_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace vrim::dma_demod_lib::demod_stage;
using namespace demod_test;

namespace
{
/// A ramp, so that every sample tells where it stood.
complex_array make_ramp(std::size_t count)
{
    complex_array data(count);
    for (std::size_t i = 0; i < count; ++i)
        data[i] = { static_cast<float>(i + 1), -1.0f };
    return data;
}

struct equalizer_run_t
{
    explicit equalizer_run_t(std::size_t meas_count, std::size_t ref_count)
    {
        setting.equalizer = true;
        setting.equalizer_coef = 0.0; // the filter stays a delay
        setting.points_per_symbol = 2;
        setting.equalizer_filter_len = 9;
        setting.equalizer_head_len = 3;
        work.meas_data = make_ramp(meas_count);
        work.ref_data = make_ramp(ref_count);
        work.meas_symbol = make_ramp(5);
        work.ref_symbol = make_ramp(6);
        store.init();
    }

    void run() { deal_equalizer(setting, work, config, store); }

    const log_capture_t log;
    const trace_capture_t trace;
    demod_setting_t setting;
    demod_work_t work;
    lib_dma_demod_config_mgr config;
    lib_dma_phy_data_manager_t store;
};

/// Response of the taps at a share of their rate, the centre tap at time 0.
std::complex<double> cal_response(const complex_array& filter, double frequency)
{
    std::complex<double> sum = 0.0;
    for (std::size_t j = 0; j < filter.size(); ++j)
    {
        const double time = static_cast<double>(j) - static_cast<double>(filter.size() / 2);
        sum += std::conj(std::complex<double>(filter[j])) * std::polar(1.0, -2.0 * pi * frequency * time);
    }
    return sum;
}
} // namespace

TEST(EqualizerStage, DropsTheHeadOfBothWaveforms)
{
    equalizer_run_t run(60, 60);
    run.run();
    EXPECT_EQ(run.work.ref_data.size(), 54u);
    ASSERT_EQ(run.work.meas_data.size(), 54u);
    // Six points are gone. The centre tap sees the first four not, and the last five.
    const complex_array ramp = make_ramp(60);
    for (std::size_t i = 0; i < 54; ++i)
    {
        EXPECT_EQ(run.work.ref_data[i], ramp[i + 6]) << i;
        EXPECT_EQ(run.work.meas_data[i], i + 6 < 55 ? ramp[i + 6] : std::complex<float>(0.0f, 0.0f)) << i;
    }
    EXPECT_EQ(run.work.meas_symbol, make_ramp(5));
    EXPECT_EQ(run.work.ref_symbol, make_ramp(6));
}

TEST(EqualizerStage, CutsAMeasurementLongerThanItsReference)
{
    equalizer_run_t run(70, 60);
    run.run();
    EXPECT_EQ(run.work.meas_data.size(), 54u);
    EXPECT_EQ(run.work.ref_data.size(), 54u);
    equalizer_run_t other(60, 70);
    other.run();
    EXPECT_EQ(other.work.meas_data.size(), 54u);
    EXPECT_EQ(other.work.ref_data.size(), 64u);
}

TEST(EqualizerStage, LeavesNothingOfWaveformsShorterThanTheHead)
{
    equalizer_run_t run(4, 4);
    run.run();
    EXPECT_TRUE(run.work.meas_data.empty());
    EXPECT_TRUE(run.work.ref_data.empty());
    equalizer_run_t empty(0, 0);
    empty.run();
    EXPECT_TRUE(empty.work.meas_data.empty());
}

TEST(EqualizerStage, GoesOnWithoutAFilter)
{
    equalizer_run_t run(60, 60);
    run.setting.equalizer_filter_len = 1;
    run.run();
    ASSERT_EQ(run.work.meas_data.size(), 54u);
    EXPECT_EQ(run.work.meas_data[0], make_ramp(60)[6]);
    EXPECT_TRUE(contains(run.trace.get_text(), "apply_equailizer::apply_window_functon Report: Input Data Array is Too Short!"));
}

TEST(EqualizerStage, KnowsTheHeadThatItDrops)
{
    equalizer_run_t run(0, 0);
    EXPECT_EQ(get_equalizer_head(run.setting), 3u);
    run.setting.equalizer = false;
    EXPECT_EQ(get_equalizer_head(run.setting), 0u);
}

TEST(EqualizerStage, StoresTheResponseOfADelayAsFlat)
{
    equalizer_run_t run(60, 60);
    run.run();
    ASSERT_EQ(run.store.get_eq_impulse_i().size(), 9u);
    ASSERT_EQ(run.store.get_eq_impulse_q().size(), 9u);
    for (std::size_t j = 0; j < 9; ++j)
    {
        EXPECT_EQ(run.store.get_eq_impulse_i()[j], std::complex<float>(j == 4 ? 1.0f : 0.0f, 0.0f));
        EXPECT_EQ(run.store.get_eq_impulse_q()[j], std::complex<float>(0.0f, 0.0f));
    }
    ASSERT_EQ(run.store.get_eq_frequency_response().size(), 256u);
    for (const std::complex<float> value : run.store.get_eq_frequency_response())
        EXPECT_TRUE(is_near(value, 1.0));
}

TEST(EqualizerStage, StoresTheResponseFromTheLowestFrequencyOn)
{
    for (const std::size_t taps : { 2u, 5u, 41u, 64u, 65u })
    {
        complex_array filter(taps);
        for (std::size_t j = 0; j < taps; ++j)
            filter[j] = { static_cast<float>(std::cos(1.7 * static_cast<double>(j))), static_cast<float>(j % 3) - 0.5f };
        lib_dma_phy_data_manager_t store;
        store_equalizer_response(filter, store);
        for (std::size_t j = 0; j < taps; ++j)
        {
            EXPECT_EQ(store.get_eq_impulse_i()[j], std::complex<float>(filter[j].real(), 0.0f));
            EXPECT_EQ(store.get_eq_impulse_q()[j], std::complex<float>(-filter[j].imag(), 0.0f));
        }
        const complex_array& response = store.get_eq_frequency_response();
        ASSERT_EQ(response.size(), taps == 65 ? 512u : 256u);
        const double points = static_cast<double>(response.size());
        for (std::size_t i = 0; i < response.size(); ++i)
            EXPECT_TRUE(is_near(response[i], cal_response(filter, static_cast<double>(i) / points - 0.5), 1e-4))
                << taps << ", " << i;
    }
}

TEST(EqualizerStage, HasNoFigureThatIsNoNumberInTheResponse)
{
    const float infinity = std::numeric_limits<float>::infinity();
    lib_dma_phy_data_manager_t store;
    store_equalizer_response({ { infinity, 0.0f }, { 1.0f, 0.0f }, { 0.0f, std::nanf("") } }, store);
    EXPECT_EQ(store.get_eq_impulse_i(), (complex_array{ { 0.0f, 0.0f }, { 1.0f, 0.0f }, { 0.0f, 0.0f } }));
    for (const std::complex<float> value : store.get_eq_frequency_response())
        EXPECT_TRUE(is_near(value, 1.0));
    store_equalizer_response({}, store);
    EXPECT_TRUE(store.get_eq_impulse_i().empty());
}
