#include "analysis_runner.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double symbol_rate = 1.0e6;
constexpr std::uint32_t interval = 1024;
constexpr std::uint32_t run_in_symbols = 228;
constexpr double roll_offs[] = { 0.2, 0.35, 0.5 };
// Symbols of the record among which the first measured one is looked for: half of the run-in stands before it.
constexpr std::int32_t first_lag = 100;
constexpr std::int32_t last_lag = 130;

/// Offset QPSK of 8 samples a symbol; phase, timing and data differ from seed to seed.
signal_setting_t make_signal_setting(signal_pulse_t pulse, double shape, std::uint64_t seed)
{
    signal_setting_t setting;
    setting.format = signal_format_t::oqpsk;
    setting.pulse = pulse;
    setting.shape = shape;
    setting.half_span_symbols = 64;
    setting.symbol_rate = symbol_rate;
    setting.sample_rate = 8.0 * symbol_rate;
    setting.symbol_count = interval + run_in_symbols + 20;
    setting.seed = seed;
    setting.carrier_offset_hz = 1234.5;
    setting.carrier_phase = 0.4 + 0.77 * static_cast<double>(seed);
    setting.timing_symbols = std::fmod(0.13 + 0.21 * static_cast<double>(seed), 1.0);
    return setting;
}

analysis_setting_t make_analysis(const signal_setting_t& signal)
{
    analysis_setting_t setting;
    setting.format = signal.format;
    setting.sample_rate = signal.sample_rate;
    setting.alpha = signal.shape;
    setting.meas_interval = interval;
    setting.normalization = LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX;
    if (signal.pulse == signal_pulse_t::gaussian)
    {
        setting.alpha = 0.5;
        setting.beta = signal.shape;
        setting.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
        setting.ref_filter = LIB_DMA_REF_GAUSSIAN_FILTER;
    }
    return setting;
}

struct oqpsk_run_t
{
    oqpsk_run_t(const signal_setting_t& signal_setting, const analysis_setting_t& analysis)
        : signal(make_signal(signal_setting)), result(analyse(signal.samples, analysis))
    {
    }

    std::size_t count_wrong() const
    {
        return match_decoded(signal_format_t::oqpsk, result.decoded, signal.symbols, first_lag, last_lag).differing;
    }
    double get_evm() const { return static_cast<double>(result.summary.evm_rms); }
    double get_frequency() const { return static_cast<double>(result.table.frequency_error); }

    signal_t signal;
    analysis_result_t result;
};
} // namespace

TEST(OqpskAccuracy, X)
{
  for (bool al : {false,true}) {
    for (double a : roll_offs) for (double snr : {1000.0, 50.0,40.0,30.0,20.0,10.0}) { double lo=1e9,hi=0,fe=0,sl=1e9,sh=0; std::size_t wr=0;
      for (std::uint64_t seed=1; seed<=12; ++seed) { auto s=make_signal_setting(signal_pulse_t::root_raised_cosine,a,seed); if(snr<900) s.snr_db=snr; auto an=make_analysis(s); an.aligned_iq=al; oqpsk_run_t r(s,an); lo=std::min(lo,r.get_evm()); hi=std::max(hi,r.get_evm()); fe=std::max(fe,std::abs(r.get_frequency()-s.carrier_offset_hz)); wr+=r.count_wrong(); sl=std::min(sl,double(r.result.summary.snr)); sh=std::max(sh,double(r.result.summary.snr)); }
      std::printf("al %d alpha %.2f snr %g: evm %.4f %.4f f %.3f wrong %zu snr %.2f %.2f\n", al,a,snr,lo,hi,fe,wr,sl,sh); }
    for (double snr : {1000.0, 30.0,20.0}) { double lo=1e9,hi=0,fe=0; std::size_t wr=0;
      for (std::uint64_t seed=1; seed<=12; ++seed) { auto s=make_signal_setting(signal_pulse_t::gaussian,0.5,seed); if(snr<900) s.snr_db=snr; auto an=make_analysis(s); an.aligned_iq=al; oqpsk_run_t r(s,an); lo=std::min(lo,r.get_evm()); hi=std::max(hi,r.get_evm()); fe=std::max(fe,std::abs(r.get_frequency()-s.carrier_offset_hz)); wr+=r.count_wrong(); }
      std::printf("gauss al %d snr %g: evm %.4f %.4f f %.3f wrong %zu\n", al,snr,lo,hi,fe,wr); }
  }
  for (double off=-1.2; off<1.25; off+=0.05) for (double a : roll_offs) { auto s=make_signal_setting(signal_pulse_t::root_raised_cosine,a,3); s.carrier_offset_hz=off*1e6; oqpsk_run_t r(s,make_analysis(s)); if (std::abs(r.get_frequency()-s.carrier_offset_hz)>20||r.get_evm()>0.4||std::abs(off)>0.93) std::printf("off %.2f a %.2f code %d evm %.3f f %.2f wrong %zu\n",off,a,r.result.code,r.get_evm(),r.get_frequency()-s.carrier_offset_hz,r.count_wrong()); }
}
