// Includes the umbrella and nothing else of the project.
#include <dma_demod.h>

#include <gtest/gtest.h>
#include <type_traits>

namespace
{
template <typename first_t, typename second_t>
constexpr bool same = std::is_same_v<first_t, second_t>;

static_assert(same<vrim::dma_demod_lib::complex_array, std::vector<std::complex<float>>>);
static_assert(same<vrim::common_lib::complex_array, vrim::fir_filter_lib::complex_array>);
static_assert(same<vrim::dma_demod_lib::bit_array, std::vector<std::uint8_t>>);
static_assert(same<vrim::common_lib::byte_array, std::vector<std::uint8_t>>);
static_assert(same<vrim::fir_filter_lib::float_array, std::vector<float>>);
static_assert(same<vrim::dma_demod_lib::double_array, std::vector<double>>);
static_assert(same<vrim::common_lib::complex_double_array, std::vector<std::complex<double>>>);
static_assert(same<vrim::dma_demod_lib::constellation_map, std::map<std::uint32_t, std::complex<float>>>);

TEST(Umbrella, ReachesTheDriverTheStoreAndTheToolkit)
{
    common_log::trace_output_t::get_instance().silence();
    vrim::dma_demod_lib::lib_dma_phy_t analyser;
    EXPECT_EQ(analyser.get_process_state(), vrim::dma_demod_lib::LIB_DMA_PROCESS_STOP);
    EXPECT_NO_THROW(analyser.get_data_manager().get_error_summary(0));
    EXPECT_FLOAT_EQ(vrim::common_lib::lib_common_math_t::get_complex_amplitude({ 3.0f, 4.0f }), 5.0f);
    EXPECT_EQ(vrim::dma_demod_lib::kaiser<double>(3, 5.0).size(), 3u);
    common_log::trace_output_t::get_instance().set_sink({});
}
} // namespace
