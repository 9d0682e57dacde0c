#include "capture_reader.h"

#include "exit_status.h"
#include "tool_text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace dmatool
{
namespace
{
namespace fs = std::filesystem;

const std::string meta_ending = ".sigmf-meta";
const std::string data_ending = ".sigmf-data";
constexpr const char* datatype_list = "cf32, cf64, ci8, ci16, ci32, cu8, cu16, cu32 (with _le or _be)";
// Lengths inside the analysis are 32-bit.
constexpr std::uint64_t most_samples = 0x7FFFFFFFU;
// The metadata of a recording are some kilobytes; this only keeps a data file named by mistake out of the parser.
constexpr std::uint64_t largest_meta_bytes = 64U << 20U;

void check_regular_file(const fs::path& path, const std::string& what)
{
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status))
    {
        const bool hidden = error && error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory;
        throw tool_error_t(exit_unreadable,
                           hidden ? fmt::format("cannot open {} {}: {}", what, quote(path.string()), error.message())
                                  : fmt::format("there is no {} {}; check the path", what, quote(path.string())));
    }
    if (fs::is_directory(status))
    {
        throw tool_error_t(exit_unreadable, fmt::format("{} is a directory; name the {} in it", quote(path.string()), what));
    }
    if (!fs::is_regular_file(status))
    {
        throw tool_error_t(exit_unreadable,
                           fmt::format("{} is no regular file; copy the samples to a file first", quote(path.string())));
    }
}

std::ifstream open_file(const fs::path& path, const std::string& what)
{
    check_regular_file(path, what);
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        const int reason = errno;
        throw tool_error_t(exit_unreadable, fmt::format("cannot open {} {}: {}", what, quote(path.string()),
                                                        reason != 0 ? std::strerror(reason) : "the system gives no reason"));
    }
    return file;
}

std::uint64_t get_file_bytes(const fs::path& path)
{
    std::error_code error;
    const std::uintmax_t bytes = fs::file_size(path, error);
    if (error)
    {
        throw tool_error_t(exit_unreadable, fmt::format("cannot read the size of {}: {}", quote(path.string()), error.message()));
    }
    return bytes;
}

std::uint64_t load_part(const unsigned char* bytes, unsigned count, bool big_endian)
{
    std::uint64_t value = 0;
    for (unsigned i = 0; i < count; ++i)
    {
        const unsigned shift = 8U * (big_endian ? count - 1U - i : i);
        value |= static_cast<std::uint64_t>(bytes[i]) << shift;
    }
    return value;
}

/// One part of a sample, at full scale 1 for integers.
double convert_part(const sample_type_t& type, std::uint64_t pattern)
{
    if (type.kind == sample_type_t::real_number)
    {
        return type.bits == 32 ? static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(pattern)))
                               : std::bit_cast<double>(pattern);
    }
    const double half = std::ldexp(1.0, static_cast<int>(type.bits) - 1);
    double value = static_cast<double>(pattern);
    if (type.kind == sample_type_t::unsigned_integer)
    {
        value -= half;
    }
    else if (value >= half)
    {
        value -= 2.0 * half;
    }
    return value / half;
}

void append_sample(double real, double imag, std::uint64_t index, const std::string& file, capture_t& capture)
{
    if (!is_single_precision(real) || !is_single_precision(imag))
    {
        throw tool_error_t(exit_bad_capture,
                           fmt::format("sample {} of {} is ({}, {}): samples must be finite and within single precision; "
                                       "cut it out with --start and --count or repair the recording",
                                       index, quote(file), real, imag));
    }
    capture.samples.emplace_back(static_cast<float>(real), static_cast<float>(imag));
}

/// Samples to take of `total`, with the requests that cannot be met refused.
std::uint64_t cal_take(const capture_request_t& request, std::uint64_t total, const std::string& file, capture_t& capture)
{
    if (total == 0)
    {
        throw tool_error_t(exit_bad_capture, fmt::format("{} holds no samples; record the signal again", quote(file)));
    }
    if (request.start >= total)
    {
        throw tool_error_t(exit_usage, fmt::format("--start {} lies past the end of {}, which holds {} samples; give {} or less",
                                                   request.start, quote(file), total, total - 1));
    }
    std::uint64_t take = total - request.start;
    if (request.count)
    {
        if (*request.count > take)
        {
            capture.notes.push_back(
                fmt::format("--count {} goes past the end of the file; the {} samples there are taken", *request.count, take));
        }
        take = std::min(take, *request.count);
    }
    if (take > most_samples)
    {
        throw tool_error_t(exit_usage, fmt::format("{} samples are more than one analysis takes; choose {} or less with --count",
                                                   take, most_samples));
    }
    return take;
}

void read_binary_samples(const capture_request_t& request, const fs::path& path, const sample_type_t& type, capture_t& capture)
{
    std::ifstream file = open_file(path, "data file");
    const std::uint64_t bytes = get_file_bytes(path);
    const std::uint64_t sample_bytes = type.get_sample_bytes();
    if (bytes % sample_bytes != 0)
    {
        throw tool_error_t(exit_bad_capture,
                           fmt::format("{} has {} bytes, no multiple of the {} bytes of a {} sample: it is cut off or of another "
                                       "datatype; copy it again or name its datatype",
                                       quote(path.string()), bytes, sample_bytes, type.name));
    }
    const std::uint64_t take = cal_take(request, bytes / sample_bytes, path.string(), capture);
    file.seekg(static_cast<std::streamoff>(request.start * sample_bytes));

    constexpr std::uint64_t chunk_samples = 65536;
    std::vector<unsigned char> chunk(static_cast<std::size_t>(std::min(take, chunk_samples) * sample_bytes));
    capture.samples.reserve(static_cast<std::size_t>(take));
    const unsigned part_bytes = type.bits / 8U;
    for (std::uint64_t done = 0; done < take;)
    {
        const std::uint64_t now = std::min(take - done, chunk_samples);
        file.read(reinterpret_cast<char*>(chunk.data()), static_cast<std::streamsize>(now * sample_bytes));
        if (!file)
        {
            throw tool_error_t(exit_unreadable, fmt::format("reading {} failed at sample {}; check the disk or copy it again",
                                                            quote(path.string()), request.start + done));
        }
        for (std::uint64_t i = 0; i < now; ++i)
        {
            const unsigned char* parts = chunk.data() + i * sample_bytes;
            append_sample(convert_part(type, load_part(parts, part_bytes, type.big_endian)),
                          convert_part(type, load_part(parts + part_bytes, part_bytes, type.big_endian)),
                          request.start + done + i, path.string(), capture);
        }
        done += now;
    }
}

nlohmann::json read_meta(const fs::path& path)
{
    std::ifstream file = open_file(path, "metadata file");
    if (get_file_bytes(path) > largest_meta_bytes)
    {
        throw tool_error_t(exit_bad_capture,
                           fmt::format("{} is too large for metadata; is it the data file?", quote(path.string())));
    }
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    nlohmann::json meta;
    try
    {
        meta = nlohmann::json::parse(text);
    }
    catch (const nlohmann::json::out_of_range&)
    {
        throw tool_error_t(exit_bad_capture, fmt::format("{} has a number that is too large; correct it", quote(path.string())));
    }
    catch (const nlohmann::json::parse_error& error)
    {
        throw tool_error_t(exit_bad_capture, fmt::format("{} is no valid JSON (at byte {}); SigMF metadata are one JSON object",
                                                         quote(path.string()), error.byte));
    }
    if (!meta.is_object() || !meta.contains("global") || !meta["global"].is_object())
    {
        throw tool_error_t(exit_bad_capture, fmt::format("{} has no object \"global\"; SigMF metadata keep the datatype there",
                                                         quote(path.string())));
    }
    return meta;
}

/// What the metadata say of the layout that this reader cannot follow.
void check_layout(const nlohmann::json& meta, const std::string& file, capture_t& capture)
{
    const nlohmann::json& global = meta["global"];
    const auto is_set = [](const nlohmann::json& object, const char* key)
    { return object.contains(key) && object[key] != nlohmann::json(0) && object[key] != nlohmann::json(false); };
    if (global.contains("core:num_channels") && global["core:num_channels"] != nlohmann::json(1))
    {
        throw tool_error_t(exit_bad_capture, fmt::format("{} declares core:num_channels {}; only one channel is analysed: "
                                                         "split the channels into files of their own",
                                                         quote(file), get_one_line(global["core:num_channels"].dump())));
    }
    if (is_set(global, "core:metadata_only"))
    {
        throw tool_error_t(exit_bad_capture,
                           fmt::format("{} declares core:metadata_only: there are no samples to analyse", quote(file)));
    }
    bool header_flag = is_set(global, "core:trailing_bytes");
    if (meta.contains("captures") && meta["captures"].is_array())
    {
        const nlohmann::json& segments = meta["captures"];
        header_flag = header_flag || std::any_of(segments.begin(), segments.end(),
                                                 [&is_set](const nlohmann::json& segment)
                                                 { return segment.is_object() && is_set(segment, "core:header_bytes"); });
        if (segments.size() > 1)
        {
            capture.notes.push_back(
                fmt::format("the recording has {} capture segments; they are taken as one, so choose one with "
                            "--start and --count if the signal changes between them",
                            segments.size()));
        }
    }
    if (header_flag)
    {
        throw tool_error_t(exit_bad_capture, fmt::format("{} declares bytes around the samples (core:header_bytes or "
                                                         "core:trailing_bytes); write the samples alone to a file",
                                                         quote(file)));
    }
}

double get_meta_sample_rate(const nlohmann::json& global, const std::string& file)
{
    if (!global.contains("core:sample_rate"))
    {
        throw tool_error_t(exit_bad_capture,
                           fmt::format("{} has no core:sample_rate; add it, or give --sample-rate in Hz", quote(file)));
    }
    const nlohmann::json& value = global["core:sample_rate"];
    const double rate = value.is_number() ? value.get<double>() : 0.0;
    if (!std::isfinite(rate) || rate <= 0.0)
    {
        throw tool_error_t(exit_bad_capture,
                           fmt::format("core:sample_rate of {} is {}; expected a positive number of Hz: correct "
                                       "it, or give --sample-rate",
                                       quote(file), get_one_line(value.dump())));
    }
    return rate;
}

void read_sigmf(const capture_request_t& request, const std::string& stem, capture_t& capture)
{
    const std::string meta_path = stem + meta_ending;
    const nlohmann::json meta = read_meta(meta_path);
    const nlohmann::json& global = meta["global"];
    if (!global.contains("core:datatype") || !global["core:datatype"].is_string())
    {
        throw tool_error_t(exit_bad_capture,
                           fmt::format("{} has no core:datatype; expected one of {}", quote(meta_path), datatype_list));
    }
    const auto datatype = global["core:datatype"].get<std::string>();
    const sample_type_t type = parse_sample_type(datatype, exit_bad_capture);
    if (type.bits > 8 && datatype.find('_') == std::string::npos)
    {
        capture.notes.push_back(fmt::format("core:datatype {} names no byte order; taken as {}", datatype, type.name));
    }
    check_layout(meta, meta_path, capture);

    fs::path data_path = stem + data_ending;
    if (global.contains("core:dataset"))
    {
        if (!global["core:dataset"].is_string())
        {
            throw tool_error_t(exit_bad_capture, fmt::format("core:dataset of {} is no file name", quote(meta_path)));
        }
        data_path = fs::path(meta_path).parent_path() / fs::path(global["core:dataset"].get<std::string>()).filename();
    }
    capture.datatype = type.name;
    capture.data_file = data_path.string();
    capture.sample_rate = request.sample_rate ? *request.sample_rate : get_meta_sample_rate(global, meta_path);
    read_binary_samples(request, data_path, type, capture);
}

double get_asked_sample_rate(const capture_request_t& request)
{
    if (!request.sample_rate)
    {
        throw tool_error_t(exit_usage,
                           fmt::format("the sample rate of {} is not known; give --sample-rate in Hz", quote(request.path)));
    }
    return *request.sample_rate;
}

std::string get_lower_ending(const std::string& path)
{
    std::string ending = fs::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : static_cast<char>(c); });
    return ending;
}

std::string cut_ending(const std::string& path, const std::string& ending)
{
    return path.substr(0, path.size() - ending.size());
}
} // namespace

sample_type_t parse_sample_type(const std::string& name, int status)
{
    const auto error_status = static_cast<exit_status_t>(status);
    sample_type_t type;
    std::string base = name;
    if (base.size() > 3 && (base.ends_with("_le") || base.ends_with("_be")))
    {
        type.big_endian = base.ends_with("_be");
        base.resize(base.size() - 3);
    }
    struct row_t
    {
        const char* base;
        sample_type_t::kind_t kind;
        unsigned bits;
    };
    static constexpr std::array<row_t, 8> rows = { {
        { "f32", sample_type_t::real_number, 32 },
        { "f64", sample_type_t::real_number, 64 },
        { "i8", sample_type_t::signed_integer, 8 },
        { "i16", sample_type_t::signed_integer, 16 },
        { "i32", sample_type_t::signed_integer, 32 },
        { "u8", sample_type_t::unsigned_integer, 8 },
        { "u16", sample_type_t::unsigned_integer, 16 },
        { "u32", sample_type_t::unsigned_integer, 32 },
    } };
    const auto* row = std::find_if(rows.begin(), rows.end(),
                                   [&base](const row_t& entry) { return base.size() > 1 && base.substr(1) == entry.base; });
    if (row != rows.end() && base.front() == 'r')
    {
        throw tool_error_t(error_status,
                           fmt::format("datatype {} is real-valued: the phase of the carrier cannot be told from one "
                                       "part; convert the recording to complex baseband ({})",
                                       get_one_line(name), datatype_list));
    }
    if (row == rows.end() || base.front() != 'c')
    {
        throw tool_error_t(error_status, fmt::format("unknown datatype {}; expected one of {}", quote(name), datatype_list));
    }
    type.kind = row->kind;
    type.bits = row->bits;
    // A byte has no order.
    type.name = type.bits == 8 ? base : base + (type.big_endian ? "_be" : "_le");
    return type;
}

capture_t read_capture(const capture_request_t& request)
{
    capture_t capture;
    capture.start = request.start;
    if (request.count && *request.count == 0)
    {
        throw tool_error_t(exit_usage, "--count 0 takes no samples; give 1 or more");
    }
    const std::string ending = get_lower_ending(request.path);
    const bool text_ending = ending == ".txt" || ending == ".csv" || ending == ".dat";

    if (request.datatype)
    {
        if (request.path.ends_with(meta_ending))
        {
            throw tool_error_t(exit_usage, "--datatype describes a raw file; a .sigmf-meta file names the datatype itself: name "
                                           "the .sigmf-data file to override it");
        }
        if (*request.datatype == "text")
        {
            check_regular_file(request.path, "capture");
            capture.sample_rate = get_asked_sample_rate(request);
            read_text_samples(request, request.path, capture);
            return capture;
        }
        const sample_type_t type = parse_sample_type(*request.datatype, exit_usage);
        check_regular_file(request.path, "capture");
        capture.sample_rate = get_asked_sample_rate(request);
        capture.datatype = type.name;
        capture.data_file = request.path;
        read_binary_samples(request, request.path, type, capture);
        return capture;
    }
    if (request.path.ends_with(meta_ending))
    {
        read_sigmf(request, cut_ending(request.path, meta_ending), capture);
        return capture;
    }
    if (request.path.ends_with(data_ending))
    {
        check_regular_file(request.path, "capture");
        read_sigmf(request, cut_ending(request.path, data_ending), capture);
        return capture;
    }
    std::error_code ignored;
    if (!fs::is_regular_file(request.path, ignored) && fs::exists(request.path + meta_ending, ignored))
    {
        read_sigmf(request, request.path, capture);
        return capture;
    }
    check_regular_file(request.path, "capture");
    if (text_ending)
    {
        capture.sample_rate = get_asked_sample_rate(request);
        read_text_samples(request, request.path, capture);
        return capture;
    }
    if (ending == ".sigmf")
    {
        throw tool_error_t(
            exit_bad_capture,
            fmt::format("{} is a SigMF archive; unpack it with tar and name the .sigmf-meta file", quote(request.path)));
    }
    throw tool_error_t(exit_usage, fmt::format("{} is neither SigMF nor a .txt, .csv or .dat text file; give --datatype ({}, or "
                                               "text) and --sample-rate",
                                               quote(request.path), datatype_list));
}
} // namespace dmatool
