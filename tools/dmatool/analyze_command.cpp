#include "analyze_command.h"

#include "capture_resample.h"
#include "exit_status.h"
#include "lib_dma_common/lib_resample.h"
#include "library_output.h"
#include "log_meaning.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <memory>

namespace dmatool
{
using namespace vrim::dma_demod_lib;

namespace
{
// The driver's limits of the ratio between the sample rate and its working rate.
constexpr std::uint64_t largest_rate_ratio = 2000;
// The driver's filter for ratios that are not whole.
constexpr std::uint64_t conversion_taps_per_factor = 20;
// The driver adds 1e-11 to both parts of every sample: at this rms that is an IQ offset of -57 dB. A record of zeros would be
// measured as a perfect signal.
constexpr double lowest_rms = 1.0e-8;
// The squares of a million samples still fit into a float.
constexpr double highest_peak = 1.0e15;

/// What the driver wants of the capture, seconds.
struct needed_time_t
{
    double run_in;   ///< both ends together
    double interval; ///< offset and interval
};

needed_time_t cal_needed_time(const lib_dma_frame_configure_manager_t& frame)
{
    lib_dma_phy_t driver;
    driver.set_frame_configure(frame);
    lib_dma_demod_config_mgr lengths;
    driver.cal_preprocess_param(0, lengths);
    return { lengths.pre_time + lengths.equalizer_time, lengths.minseglen };
}

/// What the user can do about a ratio of large numbers.
std::string advise_rates(const analyze_options_t& options, std::uint64_t kept, const rate_plan_t& rate)
{
    const std::optional<std::uint64_t> near_rate = propose_symbol_rate(rate, options.symbol_rate);
    if (!near_rate)
    {
        return "resample the capture to a multiple of the symbol rate";
    }
    const rate_plan_t better = cal_rate_plan(kept, *near_rate, options.points_per_symbol);
    const double ppm = (static_cast<double>(*near_rate) / static_cast<double>(options.symbol_rate) - 1.0) * 1.0e6;
    return fmt::format("--symbol-rate {} ({:+.3g} ppm) needs {} : {} only", *near_rate, ppm, better.up, better.down);
}

void check_rates(const analyze_options_t& options, double sample_rate, std::uint64_t kept, const rate_plan_t& rate)
{
    if (!(sample_rate <= 1.0e12))
    {
        throw tool_error_t(exit_bad_capture,
                           fmt::format("the sample rate of the capture is {} Hz; expected 1e12 or less: correct "
                                       "it, or give --sample-rate",
                                       sample_rate));
    }
    if (static_cast<double>(options.symbol_rate) > static_cast<double>(kept))
    {
        throw tool_error_t(exit_usage,
                           fmt::format("--symbol-rate {} Hz is above the sample rate of {} Hz: a symbol needs at least "
                                       "one sample; check both rates",
                                       options.symbol_rate, kept));
    }
    if (kept / (options.symbol_rate * rate.working_samples_per_symbol) > largest_rate_ratio)
    {
        throw tool_error_t(exit_usage,
                           fmt::format("the sample rate of {} Hz is more than {} times the working rate of {} Hz ({} "
                                       "samples a symbol); decimate the capture first",
                                       kept, largest_rate_ratio, options.symbol_rate * rate.working_samples_per_symbol,
                                       rate.working_samples_per_symbol));
    }
    // Whole ratios are at most the one above and have a filter of their own.
    const std::uint64_t factor = std::max(rate.up, rate.down);
    if (std::min(rate.up, rate.down) > 1 && factor > resample_report::largest_taps / conversion_taps_per_factor)
    {
        throw tool_error_t(exit_usage, fmt::format("the rate conversion by {} : {} takes a filter that would not fit; {}", rate.up,
                                                   rate.down, advise_rates(options, kept, rate)));
    }
}

/// Fixes the rate that the analysis works with, and resamples the capture to it if the user wants that.
void take_sample_rate(const analyze_options_t& options, analysis_t& analysis)
{
    const double sample_rate = analysis.capture.sample_rate;
    const double bounded = std::min(sample_rate, 1.0e13);
    const std::uint64_t kept = options.resample ? cal_nearest_rate(bounded) : cal_kept_sample_rate(bounded);
    analysis.rate = cal_rate_plan(kept, options.symbol_rate, options.points_per_symbol);
    check_rates(options, sample_rate, kept, analysis.rate);
    if (options.resample)
    {
        resample_capture(plan_resampling(sample_rate), analysis.capture);
        analysis.sample_count = analysis.capture.samples.size();
    }
}

void note_rates(const analyze_options_t& options, double sample_rate, std::uint64_t kept, const rate_plan_t& rate,
                std::vector<std::string>& notes)
{
    if (static_cast<double>(kept) != sample_rate)
    {
        const double ppm = (sample_rate - static_cast<double>(kept)) / sample_rate * 1.0e6;
        const double slip = ppm * 1.0e-6 * static_cast<double>(options.interval);
        notes.push_back(
            fmt::format("the sample rate of {} Hz is kept as {} Hz (multiples of 100 Hz), {:.3g} ppm off: {:.2g} symbols "
                        "of slip over the interval; give --resample if that is too much",
                        sample_rate, kept, ppm, slip));
    }
    if (std::max(rate.up, rate.down) <= large_rate_factor)
    {
        return;
    }
    notes.push_back(
        fmt::format("the rate conversion by {} : {} takes a filter of about {:.3g} million taps, so this runs long; {}", rate.up,
                    rate.down, 1.0e-6 * static_cast<double>(conversion_taps_per_factor * std::max(rate.up, rate.down)),
                    advise_rates(options, kept, rate)));
}

/// The measured signal has about unit power, so the adaptation is unstable where step and taps make 2. Half of that leaves room
/// for stretches of loud symbols.
void note_equalizer(const analyze_options_t& options, std::vector<std::string>& notes)
{
    const double taps = (options.equalizer_length - 1.0) * options.points_per_symbol + 1.0;
    if (options.equalizer && options.equalizer_step * taps >= 1.0)
    {
        notes.push_back(fmt::format("the equalizer of {} taps may diverge with a step of {}; give --equalizer-step {:.1g} or fewer "
                                    "--points-per-symbol",
                                    taps, options.equalizer_step, 0.5 / taps));
    }
}

void check_length(const analyze_options_t& options, const lib_dma_frame_configure_manager_t& frame, std::uint64_t sample_count,
                  std::uint64_t kept)
{
    const std::uint64_t needed = cal_needed_samples(frame, kept);
    if (sample_count >= needed)
    {
        return;
    }
    const needed_time_t needed_time = cal_needed_time(frame);
    const double symbol_rate = static_cast<double>(options.symbol_rate);
    const double run_in = needed_time.run_in * symbol_rate;
    const double room = std::floor(static_cast<double>(sample_count) / static_cast<double>(kept) * symbol_rate - run_in -
                                   std::max(0.0, static_cast<double>(options.offset)));
    std::string advice = "record more";
    if (options.search_length && *options.search_length > needed_time.interval)
    {
        advice = "record more or give a shorter --search-length";
    }
    else if (room >= 10.0)
    {
        advice = fmt::format("record more or give --interval {} or less", room);
    }
    throw tool_error_t(
        exit_too_short,
        fmt::format("the capture is too short: it has {} samples and the settings need {} ({} symbols of run-in and "
                    "{:.6g} symbols of search length at {:.6g} samples a symbol); {}",
                    sample_count, needed, run_in, std::max(frame.get_search_length(), needed_time.interval) * symbol_rate,
                    static_cast<double>(kept) / symbol_rate, advice));
}

/// Refuses levels at which the figures would be those of the arithmetic.
void check_level(const vrim::complex_array& samples, std::uint64_t analysed)
{
    double power = 0.0;
    double peak = 0.0;
    const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(samples.size(), analysed));
    for (std::size_t i = 0; i < count; ++i)
    {
        const double real = static_cast<double>(samples[i].real());
        const double imag = static_cast<double>(samples[i].imag());
        power += real * real + imag * imag;
        peak = std::max({ peak, std::abs(real), std::abs(imag) });
    }
    const double rms = std::sqrt(power / static_cast<double>(count));
    if (rms < lowest_rms)
    {
        throw tool_error_t(exit_bad_capture,
                           fmt::format("there is no signal: the {} samples to analyse have an rms of {:.3g}, expected "
                                       "{:.0e} or more; find the signal with --start, or scale the capture up",
                                       count, rms, lowest_rms));
    }
    if (peak > highest_peak)
    {
        throw tool_error_t(exit_bad_capture,
                           fmt::format("the capture reaches {:.3g}, expected {:.0e} or less: squares would leave "
                                       "single precision; scale it down, or check the datatype",
                                       peak, highest_peak));
    }
}

[[noreturn]] void fail_analysis(std::int32_t code, std::vector<std::string> errors)
{
    std::transform(errors.begin(), errors.end(), errors.begin(), explain_message);
    const char* meaning = "of no known meaning";
    switch (code)
    {
    case LIB_DMA_RESULT_NO_SEGMENT:
        meaning = "the first segment could not be placed";
        break;
    case LIB_DMA_RESULT_RATE_TOO_LOW:
        meaning = "the sample rate is far below the working rate";
        break;
    case LIB_DMA_RESULT_RATE_TOO_HIGH:
        meaning = "the sample rate is far above the working rate";
        break;
    case LIB_DMA_RESULT_CAPTURE_TOO_SHORT:
        meaning = "the capture is too short";
        break;
    case LIB_DMA_RESULT_DEMODULATOR_FAILED:
        meaning = "the demodulator gave up: check that the capture holds the signal that the options describe";
        break;
    default:
        break;
    }
    throw tool_error_t(code == LIB_DMA_RESULT_CAPTURE_TOO_SHORT ? exit_too_short : exit_analysis_failed,
                       fmt::format("the analysis failed with result code {}, {}; log: {}", code, meaning, join_messages(errors)));
}

/// Stores the format in the record of its group.
void set_group_format(lib_dma_format_configure_manager_t& record, const format_choice_t& choice)
{
    const std::uint32_t value = choice.format->value;
    switch (choice.group->value)
    {
    case LIB_DMA_GROUP_QAM:
        record.set_qam_format(static_cast<lib_dma_qam_modulation_type_t>(value));
        break;
    case LIB_DMA_GROUP_FSK:
        record.set_fsk_format(static_cast<lib_dma_fsk_modulation_type_t>(value));
        break;
    case LIB_DMA_GROUP_MSK:
        record.set_msk_format(static_cast<lib_dma_msk_modulation_type_t>(value));
        break;
    case LIB_DMA_GROUP_ASK:
        record.set_ask_format(static_cast<lib_dma_ask_modulation_type_t>(value));
        break;
    case LIB_DMA_GROUP_APSK:
        record.set_apsk_format(static_cast<lib_dma_apsk_modulation_type_t>(value));
        break;
    case LIB_DMA_GROUP_OQPSK:
        record.set_oqpsk_format(static_cast<lib_dma_oqpsk_modulation_type_t>(value));
        break;
    case LIB_DMA_GROUP_DPSK:
        record.set_dpsk_format(static_cast<lib_dma_dpsk_modulation_type_t>(value));
        break;
    default:
        record.set_psk_format(static_cast<lib_dma_psk_modulation_type_t>(value));
        break;
    }
}

std::uint32_t get_group_format(const lib_dma_format_configure_manager_t& record, lib_dma_modulation_type_t group)
{
    switch (group)
    {
    case LIB_DMA_GROUP_QAM:
        return record.get_qam_format();
    case LIB_DMA_GROUP_ASK:
        return record.get_ask_format();
    case LIB_DMA_GROUP_APSK:
        return record.get_apsk_format();
    case LIB_DMA_GROUP_DPSK:
        return record.get_dpsk_format();
    case LIB_DMA_GROUP_FSK:
        return record.get_fsk_format();
    case LIB_DMA_GROUP_MSK:
        return record.get_msk_format();
    case LIB_DMA_GROUP_OQPSK:
        return record.get_oqpsk_format();
    default:
        return record.get_psk_format();
    }
}

/// Sets group and format. One that a settings file has already stays untouched: setting it anew would take ring ratios and
/// points of the file back to their presets.
void take_format(const analyze_options_t& options, lib_dma_format_configure_manager_t& record)
{
    const lib_dma_modulation_type_t group = options.format.group->value;
    const bool same = record.get_format_group() == group && get_group_format(record, group) == options.format.format->value;
    if (options.settings && same)
    {
        return;
    }
    set_group_format(record, options.format);
    record.set_format_group(group);
}
} // namespace

lib_dma_frame_configure_manager_t make_frame(const analyze_options_t& options, std::uint64_t sample_count,
                                             std::uint64_t kept_sample_rate)
{
    lib_dma_frame_configure_manager_t frame;
    if (options.settings)
    {
        frame = *options.settings;
    }
    lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
    const lib_dma_modulation_type_t group = options.format.group->value;

    lib_dma_format_configure_manager_t& format = segment.get_format_configure();
    take_format(options, format);
    format.set_oqpsk_alig_iq(options.align_iq);
    format.set_symbol_rate(options.symbol_rate);
    format.set_points_per_symbol(static_cast<lib_dma_point_per_symbol_type_t>(options.points_per_symbol));

    lib_dma_filter_configure_manager_t& filter = segment.get_filter_configure();
    filter.set_meas_filter_type(static_cast<lib_dma_meas_filter_type_t>(options.meas_filter->value));
    filter.set_ref_filter_type(static_cast<lib_dma_ref_filter_type_t>(options.ref_filter->value));
    filter.set_filter_alpha(options.alpha);
    filter.set_filter_beta(options.beta);
    filter.set_filter_length(options.filter_length);

    lib_dma_advance_configure_manager_t& advance = segment.get_advance_configure();
    advance.set_evm_normalization_ref(options.evm_ref);
    advance.set_clock_adjust(options.clock_adjust);
    advance.set_iq_rotation(options.iq_rotation);
    advance.set_equalizer(options.equalizer);
    advance.set_equalizer_filter_len(options.equalizer_length);
    advance.set_equalizer_coef(options.equalizer_step);

    // Nine tenths: all of what a receiver's filters leave, and as much as the carrier power can be summed over.
    const std::uint64_t usable = std::max<std::uint64_t>(1U, kept_sample_rate * 9U / 10U);
    const std::uint64_t bandwidth = options.bandwidth.value_or(usable);
    // A file is written before its captures; power over more than there is would be none of the carrier's.
    frame.set_bandwidth(options.bandwidth_of_file && bandwidth > kept_sample_rate ? usable : bandwidth);

    if (!options.sync_bits.empty())
    {
        frame.set_sync_pattern_type(LIB_DMA_SYNC_BIT_PATTERN);
        frame.set_sync_pattern_bit(options.sync_bits);
        frame.set_sync_offset(options.sync_offset);
        frame.set_sync_search(true);
    }
    // After the sync search, which takes the offset back to 0.
    segment.get_time_configure().set_meas_interval(group, options.interval);
    segment.get_time_configure().set_meas_offset(options.offset);

    const needed_time_t needed_time = cal_needed_time(frame);
    double search_length = needed_time.interval;
    if (options.search_length)
    {
        search_length = *options.search_length;
    }
    else if (!options.sync_bits.empty())
    {
        // A sync word may stand anywhere. One sample less than there is, against rounding up.
        const double capture_time = (static_cast<double>(sample_count) - 1.0) / static_cast<double>(kept_sample_rate);
        search_length = std::max(search_length, capture_time - needed_time.run_in);
    }
    frame.set_search_length(search_length);
    return frame;
}

std::uint64_t cal_needed_samples(const lib_dma_frame_configure_manager_t& frame, std::uint64_t kept_sample_rate)
{
    const needed_time_t needed_time = cal_needed_time(frame);
    const double search_length = std::max(frame.get_search_length(), needed_time.interval);
    const double samples = std::ceil(static_cast<double>(kept_sample_rate) * (search_length + needed_time.run_in));
    return std::max<std::uint64_t>(100U, static_cast<std::uint64_t>(samples));
}

analysis_t run_analysis(const analyze_options_t& options, const line_sink_t& notes)
{
    analysis_t analysis;
    analysis.format = options.format;
    analysis.capture = read_capture(options.capture);
    analysis.sample_count = analysis.capture.samples.size();
    analysis.notes.insert(analysis.notes.end(), options.settings_notes.begin(), options.settings_notes.end());
    if (options.verbose)
    {
        std::for_each(options.overrides.begin(), options.overrides.end(), notes);
    }

    take_sample_rate(options, analysis);
    analysis.notes.insert(analysis.notes.begin(), analysis.capture.notes.begin(), analysis.capture.notes.end());
    const double sample_rate = analysis.capture.sample_rate;
    const std::uint64_t kept = analysis.rate.sample_rate;
    note_rates(options, sample_rate, kept, analysis.rate, analysis.notes);
    note_equalizer(options, analysis.notes);

    analysis.frame = make_frame(options, analysis.sample_count, kept);
    if (options.bandwidth_of_file && analysis.frame.get_bandwidth() != options.bandwidth)
    {
        analysis.notes.push_back(fmt::format(
            "the bandwidth of {} Hz in the settings file is more than the capture has; {} Hz are taken, nine tenths of "
            "the sample rate",
            *options.bandwidth, analysis.frame.get_bandwidth()));
    }
    analysis.needed_samples = cal_needed_samples(analysis.frame, kept);
    check_length(options, analysis.frame, analysis.sample_count, kept);
    check_level(analysis.capture.samples, analysis.needed_samples);
    const std::size_t sync_bits = analysis.frame.get_sync_pattern_bitarr().size();
    if (!options.sync_bits.empty() && sync_bits != options.sync_bits.size())
    {
        analysis.notes.push_back(fmt::format("the sync word of {} bits is taken as {} bits: a symbol of {} has more than one",
                                             options.sync_bits.size(), sync_bits, options.format.format->name));
    }
    // Said before the run: a long one should not leave the user guessing.
    for (const std::string& note : analysis.notes)
    {
        notes("note: " + note);
    }
    const std::size_t said = analysis.notes.size();

    const library_output_t output(library_output_t::keep_errors, options.verbose, notes);
    analysis.phy.set_frame_configure(analysis.frame);
    analysis.phy.set_sample_rate(sample_rate);
    analysis.phy.set_demod_data(analysis.capture.samples);
    // The driver has a copy of its own.
    vrim::complex_array().swap(analysis.capture.samples);
    analysis.result_code = analysis.phy.dma_phy_process();
    const std::vector<std::string> errors = output.get_messages();
    if (analysis.result_code != LIB_DMA_RESULT_OK)
    {
        fail_analysis(analysis.result_code, errors);
    }

    for (const std::string& error : errors)
    {
        analysis.notes.push_back("log: " + explain_message(error));
    }
    if (!options.sync_bits.empty() && !analysis.phy.get_data_manager().get_sync_search_flag(0))
    {
        analysis.notes.push_back("the sync word was not found; the interval starts where it would without one");
    }
    const std::vector<std::uint32_t>& symbols = analysis.phy.get_data_manager().get_decode_bit(0);
    if (symbols.empty() || std::adjacent_find(symbols.begin(), symbols.end(), std::not_equal_to<>()) == symbols.end())
    {
        analysis.notes.push_back(
            "all decoded symbols are the same; a capture without modulation looks like that, so do not trust the "
            "figures before you have looked at the capture");
    }
    for (std::size_t i = said; i < analysis.notes.size(); ++i)
    {
        notes("note: " + analysis.notes[i]);
    }
    return analysis;
}

command_t add_analyze_command(CLI::App& program)
{
    CLI::App* words = program.add_subcommand("analyze", "Measures one stretch of a capture and prints its error table");
    words->footer(exit_status_help);
    const auto arguments = std::make_shared<analyze_arguments_t>();
    add_analyze_options(*words, *arguments);
    const auto run = [arguments](const line_sink_t& notes)
    {
        const analyze_options_t options = parse_analyze_options(*arguments);
        const analysis_t analysis = run_analysis(options, notes);
        return options.json ? make_json_report(analysis, options.traces) : make_text_report(analysis);
    };
    return { words, run, "take fewer samples of the capture with --count" };
}
} // namespace dmatool
