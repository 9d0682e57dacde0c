#pragma once

#include <cstdint>
#include <signal_maker.h>

namespace dma_test
{
/// What the square-law estimate of the symbol clock makes of clean data, from the analytic signal in double precision: the
/// residual timing error and the EVM that it alone leaves. Independent of the library.
/// Source: M. Oerder, H. Meyr, "Digital filter and square timing recovery", IEEE Trans. Commun. 36(5), 1988.
struct timing_prediction_t
{
    double timing_error = 0.0; ///< symbols
    double evm = 0.0;          ///< percent of the rms of the points
};

/// @param setting   a signal of root raised cosine pulses; only format, data, roll-off, timing and rates are read
/// @param sps       samples per symbol at which the estimate is taken
/// @param interval  symbols of the measurement, behind 90 symbols of run-in; the estimate leaves out 50 at either end of the
///                  run-in and takes whole blocks: of 64 symbols, and of 80 for the dense and the turning QAM formats
timing_prediction_t predict_timing(const signal_setting_t& setting, std::uint32_t sps, std::uint32_t interval);
} // namespace dma_test
