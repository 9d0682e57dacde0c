#pragma once

#include <complex>
#include <string>
#include <vector>

namespace dma_test
{
/// Writes samples as a SigMF pair of datatype cf32_le, STEM.sigmf-data and STEM.sigmf-meta.
/// @throws std::runtime_error when a file cannot be written
void write_sigmf(const std::string& stem, const std::vector<std::complex<float>>& samples, double sample_rate,
                 const std::string& description);
/// Writes a text file whole. @throws std::runtime_error when it cannot be written
void write_text_file(const std::string& path, const std::string& text);
} // namespace dma_test
