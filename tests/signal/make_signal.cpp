// Writes a test signal as a SigMF pair, with what went into it in STEM.truth.json beside it.

#include "sigmf_writer.h"
#include "signal_maker.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
std::vector<std::uint8_t> parse_bits(const std::string& text)
{
    std::vector<std::uint8_t> bits;
    for (const char c : text)
    {
        if (c != '0' && c != '1')
        {
            throw std::invalid_argument("--sync takes the characters 0 and 1");
        }
        bits.push_back(static_cast<std::uint8_t>(c - '0'));
    }
    return bits;
}

std::string list_formats()
{
    std::string list;
    for (const dma_test::signal_format_info_t& info : dma_test::get_signal_formats())
    {
        list += (list.empty() ? "" : ", ") + info.name;
    }
    return list;
}

/// An empty name stands for the usual pulse of the format.
void set_pulse(const std::string& name, dma_test::signal_setting_t& setting)
{
    if (name.empty())
    {
        const bool frequency = dma_test::get_signal_format(setting.format).coding == dma_test::signal_coding_t::frequency;
        setting.pulse = frequency ? dma_test::signal_pulse_t::rectangular : dma_test::signal_pulse_t::root_raised_cosine;
        return;
    }
    if (!dma_test::find_pulse(name, setting.pulse))
    {
        throw std::invalid_argument("no pulse " + name);
    }
    if (dma_test::get_pulse(setting) != setting.pulse)
    {
        throw std::invalid_argument("the format has a pulse of its own");
    }
}

nlohmann::ordered_json number_or_text(double value)
{
    return std::isfinite(value) ? nlohmann::ordered_json(value) : nlohmann::ordered_json(value > 0.0 ? "inf" : "-inf");
}

std::string make_truth(const dma_test::signal_setting_t& setting, const dma_test::signal_t& signal, const std::string& sync)
{
    const dma_test::signal_format_info_t& info = dma_test::get_signal_format(setting.format);
    nlohmann::ordered_json truth;
    truth["format"] = info.name;
    const dma_test::ring_ratios_t rings = dma_test::get_ring_ratios(setting.format, setting.rings);
    if (rings.r2_r1 > 0.0)
    {
        truth["r2_r1"] = rings.r2_r1;
    }
    if (rings.r3_r1 > 0.0)
    {
        truth["r3_r1"] = rings.r3_r1;
    }
    truth["pulse"] = dma_test::get_pulse_name(dma_test::get_pulse(setting));
    truth["shape"] = setting.shape;
    if (signal.deviation_hz > 0.0)
    {
        truth["deviation_hz"] = signal.deviation_hz;
    }
    truth["symbol_rate"] = setting.symbol_rate;
    truth["sample_rate"] = setting.sample_rate;
    truth["symbol_count"] = setting.symbol_count;
    truth["seed"] = setting.seed;
    if (setting.balanced_run > 0)
    {
        truth["balanced_run"] = setting.balanced_run;
    }
    truth["timing_symbols"] = setting.timing_symbols;
    truth["gain_imbalance_db"] = setting.gain_imbalance_db;
    truth["quadrature_skew_deg"] = setting.quadrature_skew_deg;
    truth["iq_offset_db"] = number_or_text(setting.iq_offset_db);
    truth["carrier_offset_hz"] = setting.carrier_offset_hz;
    truth["carrier_phase_rad"] = setting.carrier_phase;
    truth["gain"] = setting.gain;
    truth["snr_db"] = number_or_text(setting.snr_db);
    if (info.coding != dma_test::signal_coding_t::frequency)
    {
        // Noise and DC add up by power; 10^(-inf) is 0.
        truth["noise_and_offset_evm_percent"] =
            100.0 * std::sqrt(std::pow(10.0, -setting.snr_db / 10.0) + std::pow(10.0, setting.iq_offset_db / 10.0));
    }
    if (!sync.empty())
    {
        truth["sync_bits"] = sync;
        truth["sync_position"] = setting.sync_position;
    }
    if (!signal.levels.empty())
    {
        truth["levels"] = signal.levels;
    }
    truth["symbols"] = signal.symbols;
    // The list of symbols is a line of its own: indented it would be a line a symbol.
    std::string text = "{\n";
    for (auto entry = truth.begin(); entry != truth.end(); ++entry)
    {
        text += (entry == truth.begin() ? "  \"" : ",\n  \"") + entry.key() + "\": " + entry.value().dump();
    }
    return text + "\n}\n";
}
} // namespace

int main(int argc, char** argv)
{
    dma_test::signal_setting_t setting;
    std::string stem;
    std::string format = "QPSK";
    std::string pulse;
    std::string sync;

    CLI::App app{ "Makes a test signal: STEM.sigmf-meta, STEM.sigmf-data (cf32_le) and STEM.truth.json" };
    app.add_option("STEM", stem, "path of the files without their endings")->required();
    app.add_option("--format", format, list_formats())->capture_default_str();
    app.add_option("--r2-r1", setting.rings.r2_r1, "second ring of APSK over the first; the usual one if not given");
    app.add_option("--r3-r1", setting.rings.r3_r1, "third ring of 32APSK over the first; the usual one if not given");
    app.add_option("--pulse", pulse, "rrc, rc, gaussian, rectangular, half-sine; by default rectangular for FSK, else rrc");
    app.add_option("--deviation", setting.deviation_hz, "Hz, of FSK; by default neighbouring tones are half the symbol rate apart");
    app.add_option("--shape", setting.shape, "roll-off, or bandwidth-time product")->capture_default_str();
    app.add_option("--symbol-rate", setting.symbol_rate, "Hz")->capture_default_str();
    app.add_option("--sample-rate", setting.sample_rate, "Hz")->capture_default_str();
    app.add_option("--symbols", setting.symbol_count, "length of the record")->capture_default_str();
    CLI::Option* balanced =
        app.add_option("--balanced", setting.balanced_run, "every symbol equally often in runs of so many; in the record")
            ->expected(0, 1);
    app.add_option("--seed", setting.seed, "of data and noise")->capture_default_str();
    app.add_option("--timing", setting.timing_symbols, "symbols from the first sample to symbol 0")->capture_default_str();
    app.add_option("--gain-imbalance", setting.gain_imbalance_db, "dB, I over Q")->capture_default_str();
    app.add_option("--skew", setting.quadrature_skew_deg, "degrees")->capture_default_str();
    app.add_option("--iq-offset", setting.iq_offset_db, "dB of the rms; none if not given");
    app.add_option("--iq-offset-angle", setting.iq_offset_angle, "radians")->capture_default_str();
    app.add_option("--carrier-offset", setting.carrier_offset_hz, "Hz")->capture_default_str();
    app.add_option("--phase", setting.carrier_phase, "radians at the first sample")->capture_default_str();
    app.add_option("--gain", setting.gain, "factor on everything")->capture_default_str();
    app.add_option("--snr", setting.snr_db, "Es/N0 in dB; no noise if not given");
    app.add_option("--sync", sync, "bits that stand in the data");
    app.add_option("--sync-position", setting.sync_position, "symbol at which they start")->capture_default_str();
    CLI11_PARSE(app, argc, argv);

    try
    {
        const dma_test::signal_format_info_t* info = dma_test::find_signal_format(format);
        if (info == nullptr)
        {
            throw std::invalid_argument("no format " + format);
        }
        setting.format = info->format;
        set_pulse(pulse, setting);
        if (balanced->count() > 0 && setting.balanced_run == 0)
        {
            setting.balanced_run = setting.symbol_count;
        }
        setting.sync_symbols = dma_test::bits_to_symbols(parse_bits(sync), info->bits_per_symbol);

        const dma_test::signal_t signal = dma_test::make_signal(setting);
        dma_test::write_sigmf(stem, signal.samples, setting.sample_rate, "generated test signal: " + info->name);
        dma_test::write_text_file(stem + ".truth.json", make_truth(setting, signal, sync));
    }
    catch (const std::exception& error)
    {
        std::cerr << "make_signal: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
