#include <dma_demod.h>

#include "interface_check.h"

using namespace vrim;
using namespace vrim::dma_demod_lib;

TEST(PlainTransformInterface, OffersItsOperations)
{
    offers<bool(const float*, const float*, std::uint32_t, float*, float*)>(&fft);
    offers<bool(const float*, const float*, std::uint32_t, float*, float*)>(&ifft);
    offers<bool(const float*, std::uint32_t, float*)>(&fft_shift);
    offers<bool(const float*, const float*, std::uint32_t, float*, float*)>(&fft_shift);
}

TEST(PlainFilterInterface, OffersItsOperations)
{
    offers<bool(const float*, std::uint32_t, const float*, std::uint32_t, float*)>(&filter);
    offers<bool(const float*, std::uint32_t, const float*, const float*, std::uint32_t, float*, float*)>(&filter);
    offers<bool(int, std::uint32_t, std::uint32_t, const float*, const float*, float*, float*)>(&upsample);
}

TEST(PlainPulseDesignInterface, OffersItsOperations)
{
    offers<bool(double, std::uint32_t, std::uint32_t, float*)>(&filter_design_raise_cosine);
    offers<bool(double, std::uint32_t, std::uint32_t, float*)>(&filter_design_square_root_raise_cosine);
    offers<bool(double, std::uint32_t, std::uint32_t, float*)>(&filter_design_gaussian);
    offers<bool(std::uint32_t, float*)>(&filter_design_half_sine);
    offers<float(float)>(&sinc);
}

TEST(PlainMeasureInterface, OffersItsOperations)
{
    offers<float(const float*, const float*, std::uint32_t)>(&rms);
    offers<float(const float*, const float*, std::uint32_t, std::uint32_t)>(&rms);
    offers<float(const float*, std::uint32_t)>(&rms);
    offers<bool(const float*, const float*, const float*, const float*, std::uint32_t, float*, float*)>(&error_vector_cal);
    offers<bool(const float*, const float*, const float*, const float*, std::uint32_t, float*)>(&mag_error_cal);
    offers<bool(const float*, const float*, const float*, const float*, std::uint32_t, float*)>(&phase_error_cal);
    offers<double(const float*, const float*, const float*, const float*, std::uint32_t)>(&snr_cal);
    offers<float(const float*, const float*, std::uint32_t)>(&gain_imbalance_cal);
    offers<float(const float*, const float*, std::uint32_t)>(&iq_offset_cal);
    offers<double(const float*, const float*, const float*, const float*, std::uint32_t, double)>(&freq_error_cal);
    offers<float(const float*, const float*, std::uint32_t, float, float)>(&quad_error_cal);
    offers<float(lib_dma_qam_modulation_type_t, const float*, const float*, std::uint32_t)>(&qam_quad_error_cal);
}

TEST(PlainCarrierInterface, OffersItsOperations)
{
    offers<bool(lib_dma_psk_modulation_type_t, const float*, const float*, std::uint32_t, std::uint64_t, float*, float*, float*,
                double*, float*, float*)>(&psk_carrier_recovery);
    offers<bool(lib_dma_ask_modulation_type_t, const float*, const float*, std::uint32_t, std::uint64_t, float*, float*, float*,
                double*, float*, float*)>(&ask_carrier_recovery);
    offers<bool(float, float, float*, float*, int)>(&sym_phase_rotation);
}

TEST(PlainDecisionInterface, OffersItsOperations)
{
    offers<bool(float, float, float*, float*)>(&psk_judge_bpsk);
    offers<bool(float, float, float*, float*)>(&psk_judge_qpsk);
    offers<bool(float, float, float*, float*)>(&psk_judge_qpsk_pi_4);
    offers<bool(float, float, float*, float*)>(&psk_judge_8psk);
    offers<bool(float, float, float*, float*)>(&psk_judge_16psk);
    offers<bool(const float*, const float*, std::uint32_t, float*, float*, std::uint32_t*)>(&bpsk_symbol_detect);
    offers<bool(const float*, const float*, std::uint32_t, float*, float*, std::uint32_t*)>(&qpsk_symbol_detect);
    offers<bool(const float*, const float*, std::uint32_t, float*, float*, std::uint32_t*)>(&psk8_symbol_detect);
    offers<bool(const float*, const float*, std::uint32_t, float*, float*, std::uint32_t*)>(&psk16_symbol_detect);
    offers<bool(std::uint32_t, const float*, const float*, std::uint32_t, float*, float*, std::uint32_t*)>(&psk_symbol_detect);
    offers<bool(float, float, float*, float*)>(&qam_judge_16);
    offers<bool(float, float, float*, float*)>(&qam_judge_32);
    offers<bool(float, float, float*, float*)>(&qam_judge_64);
    offers<bool(float, float, float*, float*)>(&qam_judge_128);
    offers<bool(float, float, float*, float*)>(&qam_judge_256);
    offers<bool(float, float, float*, float*)>(&qam_judge_512);
    offers<bool(float, float, float*, float*)>(&qam_judge_1024);
    offers<bool(std::uint32_t, float, float, float*, float*)>(&qam_judge_square);
    offers<bool(std::uint32_t, float, float, float*, float*)>(&qam_judge);
    offers<qam_judge_func_t(std::uint32_t)>(&qam_get_judge_func);
}

TEST(PlainBitMapInterface, OffersItsOperations)
{
    offers<bool(std::uint32_t, std::uint32_t*, std::uint32_t)>(&psk_differential_decode);
    offers<bool(std::uint32_t, std::uint32_t*)>(&psk_binary_to_gray_code);
    offers<bool(std::uint32_t, std::complex<float>*, bool)>(&psk_ideal_state_map_generate);
}
