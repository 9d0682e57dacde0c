#pragma once

#include "analysis_runner.h"
#include "sigmf_capture.h"

#include <nlohmann/json.hpp>
#include <string>

namespace dma_test
{
/// A capture of the golden folder: how it is analysed, and the figures of an independent model.
struct golden_capture_t
{
    analysis_setting_t setting;
    nlohmann::json expected; ///< by the field names of the results store
    sigmf_capture_t capture;

    /// Expects a figure within `tolerance` and `share` of the value that the model gives.
    void expect(const char* figure, double measured, double tolerance, double share = 0.0) const;
    /// The rms and extreme figures of error vectors and magnitudes, SNR, power, correlation, frequency and offset.
    void expect_common(const analysis_result_t& result) const;
};

/// @throws std::exception when a file is missing or speaks of what is not known
golden_capture_t read_golden_capture(const std::string& name);
} // namespace dma_test
