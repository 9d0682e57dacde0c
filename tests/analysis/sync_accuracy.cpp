#include "sync_accuracy.h"

#include "accuracy_run.h"
#include "analysis_runner.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numbers>
#include <vector>

namespace dma_test
{
namespace
{
constexpr double pi = std::numbers::pi;
constexpr std::uint32_t phases = 16;
constexpr std::array<std::uint32_t, 5> positions = { 95, 138, 301, 555, 760 };
// Not periodic, and no turn of the points maps it onto itself. Smaller formats take the lowest bits.
const std::vector<std::uint32_t> word = { 0, 1, 5, 2, 7, 3, 3, 6, 4, 1, 0, 0, 7, 5, 2, 6, 1, 1, 4, 3, 2, 2, 7, 0 };

/// What the trials of one format came to.
struct sync_trials_t
{
    double missed = 0.0;
    double misplaced = 0.0; ///< found, but the decoded symbols are not those from the word on
    figure_t start;         ///< `result_start` behind the centre of the word's first symbol, symbols
};

/// @param alpha  roll-off
sync_trials_t try_sync_words(signal_format_t format, double alpha)
{
    const signal_format_info_t& info = get_signal_format(format);
    std::vector<std::uint32_t> symbols = word;
    for (std::uint32_t& symbol : symbols)
        symbol %= get_order(format);
    // The step into the first symbol of a window may be unknown to a differential format.
    const std::ptrdiff_t first = info.coding == signal_coding_t::phase_step ? 1 : 0;
    sync_trials_t trials;
    for (std::size_t place = 0; place < positions.size(); ++place)
    {
        for (std::uint32_t phase = 0; phase < phases; ++phase)
        {
            signal_setting_t signal = make_accuracy_run(format, alpha, 1000, 601 + 20 * place + phase);
            signal.snr_db = 30.0;
            signal.carrier_phase = 2.0 * pi * static_cast<double>(phase) / static_cast<double>(phases);
            signal.sync_symbols = symbols;
            signal.sync_position = positions[place];
            analysis_setting_t setting = make_accuracy_analysis(signal);
            setting.meas_interval = 200;
            setting.search_length = 0.001;
            setting.points_per_symbol = phase % 2 == 0 ? 4 : 8;
            for (const std::uint8_t bit : symbols_to_bits(symbols, info.bits_per_symbol))
                setting.sync_bits += bit == 0 ? '0' : '1';
            const signal_t record = make_signal(signal);
            const analysis_result_t result = analyse(record.samples, setting);
            if (!result.locked() || !result.sync_found)
            {
                trials.missed += 1.0;
                continue;
            }
            // The turn is resolved, so the decoded symbols are the sent ones themselves.
            const auto sent = record.symbols.begin() + static_cast<std::ptrdiff_t>(signal.sync_position);
            const bool in_place = result.decoded.size() == setting.meas_interval &&
                                  std::equal(result.decoded.begin() + first, result.decoded.end(), sent + first);
            trials.misplaced += in_place ? 0.0 : 1.0;
            if (setting.points_per_symbol == 8)
                trials.start.add(static_cast<double>(result.result_start) * signal.symbol_rate / signal.sample_rate -
                                 (static_cast<double>(signal.sync_position) + signal.timing_symbols));
        }
    }
    return trials;
}

/// @param all_found  whether a missed word misses the bar
void add_sync_rows(signal_format_t format, double alpha, bool all_found, accuracy_section_t& section)
{
    const sync_trials_t trials = try_sync_words(format, alpha);
    section.rows.push_back(make_row("words not found, of 80", format, "", all_found ? 0.0 : -unbounded,
                                    all_found ? 0.0 : unbounded, trials.missed, trials.missed, 0));
    section.rows.push_back(make_row("found words behind which the decoded symbols are not the sent ones", format, "", 0.0, 0.0,
                                    trials.misplaced, trials.misplaced, 0));
    if (!trials.start.is_empty())
        section.rows.push_back(make_row("`result_start` against the word", format, "symbols", -1.0, 1.0, trials.start.get_low(),
                                        trials.start.get_high(), 2));
}
} // namespace

accuracy_section_t measure_sync_search()
{
    accuracy_section_t section = {
        "Sync word",
        "Word of 24 symbols at 5 places between symbol 95 and 760, 16 carrier phases, SNR 30 dB, interval "
        "200 symbols, search length 1 ms. Found words: the window starts with the word's first symbol. "
        "`result_start` is compared with the centre of that symbol, at 8 points per symbol; at fewer than the "
        "working rate it is not a place in the capture. 3PI/4-QPSK and 3PI/8-8PSK are tried at two turns "
        "only, so they have no bar for the count",
        {}
    };
    for (const signal_format_t format : { signal_format_t::bpsk, signal_format_t::qpsk, signal_format_t::psk8,
                                          signal_format_t::qpsk_3pi_4, signal_format_t::psk8_3pi_8 })
    {
        const bool turns = format == signal_format_t::qpsk_3pi_4 || format == signal_format_t::psk8_3pi_8;
        add_sync_rows(format, 0.35, !turns, section);
    }
    return section;
}

accuracy_section_t measure_dpsk_sync_search()
{
    accuracy_section_t section = { "DPSK: sync word",
                                   "As with PSK, at roll-off 0.5. Steps do not depend on the carrier phase. Symbols are compared "
                                   "from the second one of the window on",
                                   {} };
    for (const signal_format_t format : { signal_format_t::dbpsk, signal_format_t::dqpsk, signal_format_t::dqpsk_pi_4,
                                          signal_format_t::d8psk_pi_8, signal_format_t::d8psk })
        add_sync_rows(format, 0.5, true, section);
    return section;
}

accuracy_section_t measure_linear_sync_search()
{
    accuracy_section_t section = { "QAM, APSK, ASK: sync word", "As with PSK, at roll-off 0.5", {} };
    for (const signal_format_t format : { signal_format_t::qam16, signal_format_t::qam64, signal_format_t::qam16_pi_4,
                                          signal_format_t::qam32_minus_pi_4, signal_format_t::apsk16, signal_format_t::apsk32,
                                          signal_format_t::ask2, signal_format_t::ask4 })
    {
        const bool turns = format == signal_format_t::qam16_pi_4 || format == signal_format_t::qam32_minus_pi_4;
        add_sync_rows(format, 0.5, !turns, section);
    }
    return section;
}

accuracy_section_t measure_dpsk_steps()
{
    accuracy_section_t section = {
        "DPSK: steps",
        "1,000 symbols, SNR 40 dB, roll-off 0.5, 16 carrier phases and seeds, carrier 1234.5 Hz high. Symbols from the second "
        "one of the window on; the first has no phase before it and stands for its own angle",
        {}
    };
    for (const signal_format_t format : { signal_format_t::dbpsk, signal_format_t::dqpsk, signal_format_t::dqpsk_pi_4,
                                          signal_format_t::d8psk_pi_8, signal_format_t::d8psk })
    {
        double wrong = 0.0;
        for (std::uint32_t phase = 0; phase < phases; ++phase)
        {
            signal_setting_t setting = make_accuracy_run(format, 0.5, 1000, 901 + phase);
            setting.snr_db = 40.0;
            setting.carrier_phase = 2.0 * pi * static_cast<double>(phase) / static_cast<double>(phases);
            const signal_t signal = make_signal(setting);
            const analysis_result_t result = analyse(signal.samples, make_accuracy_analysis(setting));
            const decode_match_t match = match_decoded(format, result.decoded, signal.symbols, 88, 92);
            wrong += result.locked() ? static_cast<double>(match.differing) : static_cast<double>(signal.symbols.size());
        }
        section.rows.push_back(make_row("wrong steps of 15,984", format, "", 0.0, 0.0, wrong, wrong, 0));
    }
    return section;
}
} // namespace dma_test
