#pragma once

#include "dma_types.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace dmatool
{
/// What to read, as the user said it.
struct capture_request_t
{
    /// A SigMF pair by either file or by its stem, a raw file (with `datatype`), or a text file.
    std::string path;
    std::optional<std::string> datatype; ///< of a raw file, or "text"
    std::optional<double> sample_rate;   ///< Hz; stands above the metadata
    std::uint64_t start = 0;             ///< samples of the file to pass over
    std::optional<std::uint64_t> count;  ///< samples to take at most; all if empty
};

/// A capture in memory.
struct capture_t
{
    vrim::complex_array samples;    ///< integers are scaled to full scale 1
    double sample_rate = 0.0;       ///< Hz
    std::string data_file;          ///< where the samples come from
    std::string datatype;           ///< SigMF name with its byte order, or "text"
    std::uint64_t start = 0;        ///< sample of the file that became the first
    std::vector<std::string> notes; ///< oddities that did not keep the file from being read
};

/// One complex sample as a file keeps it.
struct sample_type_t
{
    enum kind_t
    {
        real_number,
        signed_integer,
        unsigned_integer,
    };
    kind_t kind = real_number;
    unsigned bits = 32; ///< of one part
    bool big_endian = false;
    std::string name;

    std::uint64_t get_sample_bytes() const { return 2U * (bits / 8U); }
};

/// Reads a SigMF datatype name: cf32, cf64, ci32, cu32, ci16, cu16 with _le or _be (little-endian without), ci8, cu8.
/// @throws tool_error_t with `status` for a name that is none of these, real-valued ones included
sample_type_t parse_sample_type(const std::string& name, int status);

/// Reads a capture. Nothing is kept of the file but the samples asked for.
/// @throws tool_error_t with what was wrong, what was expected and what to do
capture_t read_capture(const capture_request_t& request);

/// Reads samples `start` to `start + count` of a text file into `capture`: two numbers a line, I then Q, set apart by blanks,
/// tabs, commas or semicolons; or one number a line, I and Q in turn. Empty lines, lines that begin with # and one line of
/// column names at the top are passed over.
/// @throws tool_error_t naming the line
void read_text_samples(const capture_request_t& request, const std::string& path, capture_t& capture);
} // namespace dmatool
