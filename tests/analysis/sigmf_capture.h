#pragma once

#include <dma_types.h>
#include <string>

namespace dma_test
{
/// A recording of the test data: as much of SigMF as the files here need.
struct sigmf_capture_t
{
    double sample_rate = 0.0; ///< Hz
    vrim::complex_array samples;
};

/// Reads `base`.sigmf-meta and `base`.sigmf-data; cf32_le, and ci16_le at full scale 1.
/// @throws std::runtime_error when a file is missing or has another datatype
sigmf_capture_t read_sigmf_capture(const std::string& base);
} // namespace dma_test
