#include "lib_dma_common/lib_dma_phy_frequency_correct.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/working_rate.h"
#include "support/internal/complex_ops.h"
#include "support/internal/transform.h"
#include "support/internal/vector_clones.h"
#include "support/lib_common_math.h"
#include "support/lib_normalization.h"
#include "support/lib_test.h"
#include "support/trace_output.h"

#include <array>
#include <cmath>
#include <limits>

namespace vrim::dma_demod_lib
{
namespace
{
using common_lib::complex_product;
using common_lib::lib_common_math_t;
using common_lib::two_pi;

constexpr double tolerance = 1e-12;
constexpr std::uint32_t largest_transform = 43515904;
constexpr std::uint32_t peak_search_points = 8192;
constexpr std::size_t phasor_block = 256;

/// Phasors e^(j n w) for n from `first` on; every angle is formed afresh.
DMA_VECTOR_CLONES
void fill_phasors_reduced(double w, std::int32_t first, std::size_t count, double* cosines, double* sines)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const double angle = static_cast<double>(first + static_cast<std::int32_t>(i)) * w;
        const common_lib::sine_cosine_t turn = common_lib::sine_cosine_reduced(angle);
        cosines[i] = turn.cosine;
        sines[i] = turn.sine;
    }
}

/// |sum of data[n] e^(j n w)|, summed in order. @param count  samples that are not padding: zeros add nothing
double cal_point_magnitude(const std::complex<double>* data, std::size_t count, double w)
{
    std::array<double, phasor_block> cosines;
    std::array<double, phasor_block> sines;
    double re = 0.0;
    double im = 0.0;
    for (std::size_t start = 0; start < count; start += phasor_block)
    {
        const std::size_t length = std::min(phasor_block, count - start);
        if (std::abs(static_cast<double>(start + length) * w) <= common_lib::largest_reduced_angle)
        {
            fill_phasors_reduced(w, static_cast<std::int32_t>(start), length, cosines.data(), sines.data());
        }
        else
        {
            for (std::size_t i = 0; i < length; ++i)
            {
                const common_lib::sine_cosine_t turn = common_lib::sine_cosine(static_cast<double>(start + i) * w);
                cosines[i] = turn.cosine;
                sines[i] = turn.sine;
            }
        }
        for (std::size_t i = 0; i < length; ++i)
        {
            const std::complex<double> sample = data[start + i];
            re += sample.real() * cosines[i] - sample.imag() * sines[i];
            im += sample.real() * sines[i] + sample.imag() * cosines[i];
        }
    }
    return std::sqrt(re * re + im * im);
}

/// value^power by squaring: within a few roundings of the polar form, whose last bits follow the C library, and many times
/// faster. What is not finite comes back as not-a-number.
std::complex<double> raise(std::complex<float> value, std::uint32_t power)
{
    if (!common_lib::is_finite(value))
        return { std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::quiet_NaN() };
    std::complex<double> square(value);
    std::complex<double> raised(1.0, 0.0);
    for (; power != 0; power >>= 1)
    {
        if ((power & 1u) != 0)
            raised = complex_product(raised, square);
        square = complex_product(square, square);
    }
    return raised;
}

/// Two bin positions with their magnitudes.
struct bracket_t
{
    double left;
    double left_value;
    double right;
    double right_value;

    bool is_right_stronger() const
    {
        const double difference = left_value - right_value;
        return difference <= tolerance && std::abs(difference) >= tolerance;
    }
    bool operator==(const bracket_t&) const = default;
};

/// Halves the bracket towards the stronger end.
template <typename magnitude_t>
double bisect(bracket_t bracket, magnitude_t&& magnitude)
{
    constexpr int halvings = 100;
    for (int i = 0; i < halvings; ++i)
    {
        const bracket_t before = bracket;
        const double middle = (bracket.right + bracket.left) * 0.5;
        const double value = magnitude(middle);
        if (bracket.is_right_stronger())
        {
            bracket.left = middle;
            bracket.left_value = value;
        }
        else
        {
            bracket.right = middle;
            bracket.right_value = value;
        }
        // After some forty halvings the middle is an end itself and nothing moves any more.
        if (bracket == before)
            break;
    }
    return bracket.is_right_stronger() ? bracket.right : bracket.left;
}

/// Carrier offset, Hz, from the two lines that the square of a signal has one symbol rate above and below twice the carrier.
/// Pulses of a half sine leave no line at four times the carrier, but keep these two at full strength.
/// @param data         at `sample_rate`; the first `fft_size` samples count
/// @param symbol_rate  Hz, at most a quarter of `sample_rate`
double cal_line_pair_offset(lib_dma_phy_frequency_correct_t& estimator, const complex_array& data, double sample_rate,
                            double symbol_rate, std::uint32_t fft_size)
{
    const double points = static_cast<double>(fft_size);
    const double spacing = symbol_rate / sample_rate * points;
    const std::size_t used = std::min<std::size_t>(data.size(), fft_size);
    complex_double_array squared(fft_size, { 0.0, 0.0 });
    for (std::size_t i = 0; i < used; ++i)
    {
        const std::complex<double> sample(common_lib::finite_or_zero(data[i]));
        const double re = sample.real();
        const double im = sample.imag();
        squared[i] = { re * re - im * im, 2.0 * re * im };
    }
    complex_double_array spectrum = squared;
    estimator.deal_fft(spectrum, fft_size, false);
    estimator.fft_shift(spectrum);
    const auto get_magnitude = [&](std::int64_t bin)
    { return bin < 0 || bin >= std::int64_t(fft_size) ? 0.0 : std::abs(spectrum[static_cast<std::size_t>(bin)]); };

    // The same reach as that of the fourth power: an eighth of the sample rate to either side.
    const std::int64_t middle = fft_size / 2;
    const std::int64_t reach = fft_size / 4;
    const std::int64_t half_pair = std::llround(spacing);
    std::int64_t peak = middle - reach;
    double peak_value = -1.0;
    for (std::int64_t bin = middle - reach; bin < middle + reach; ++bin)
    {
        const double value = get_magnitude(bin - half_pair) + get_magnitude(bin + half_pair);
        if (value > peak_value)
        {
            peak = bin;
            peak_value = value;
        }
    }

    const auto get_pair_magnitude = [&](double position)
    {
        const auto get_point = [&](double bin)
        { return cal_point_magnitude(squared.data(), used, -((bin - points * 0.5) * two_pi / points)); };
        return get_point(position - spacing) + get_point(position + spacing);
    };
    const double centre = static_cast<double>(peak);
    const double value = get_pair_magnitude(centre);
    bracket_t bracket = { centre - 1.0, get_pair_magnitude(centre - 1.0), centre + 1.0, get_pair_magnitude(centre + 1.0) };
    bracket = bracket.is_right_stronger() ? bracket_t{ centre, value, centre + 1.0, bracket.right_value }
                                          : bracket_t{ centre - 1.0, bracket.left_value, centre, value };
    return sample_rate / points * (bisect(bracket, get_pair_magnitude) - points * 0.5) / 2.0;
}

/// Edges of the phase histogram.
class phase_bins_t
{
public:
    explicit phase_bins_t(std::uint64_t count)
        : width_(static_cast<float>(two_pi / static_cast<double>(count))),
          lower_(lib_dma_phy_common_t::gen_target_array(0.0f, 1.0f, static_cast<float>(count) - 1.0f, width_)),
          upper_(lib_dma_phy_common_t::gen_target_array(1.0f, 1.0f, static_cast<float>(count), width_))
    {
    }

    std::size_t size() const { return std::min(lower_.size(), upper_.size()); }

    /// Calls `take` with each bin that holds the phase; `phase` in radians, -pi to pi.
    template <typename take_t>
    void find(float phase, take_t&& take) const
    {
        const float turned = static_cast<float>(static_cast<double>(phase) + common_lib::pi);
        if (!std::isfinite(turned))
            return;
        // A bin reaches from the tolerance below its lower edge to the tolerance below its upper one. Rounding moves the
        // guess by one at most.
        const std::int64_t guess =
            static_cast<std::int64_t>((static_cast<double>(turned) + edge_tolerance) / static_cast<double>(width_));
        const std::int64_t last = static_cast<std::int64_t>(size()) - 1;
        for (std::int64_t bin = std::max<std::int64_t>(guess - 1, 0); bin <= std::min(guess + 1, last); ++bin)
        {
            if (holds(turned, static_cast<std::size_t>(bin)))
                take(static_cast<std::size_t>(bin));
        }
    }

private:
    bool holds(float turned, std::size_t bin) const
    {
        return !(static_cast<double>(turned - lower_[bin]) < -edge_tolerance) &&
               static_cast<double>(turned - upper_[bin]) < -edge_tolerance;
    }

    static constexpr double edge_tolerance = 1e-5; // rad

    float width_;
    float_array lower_;
    float_array upper_;
};

/// Score of one trial frequency: the fourth powers of the bins' mean amplitudes, summed.
/// @param turns  cycles per sample to be taken out of `stripped`
float cal_concentration(const complex_array& stripped, float turns, const phase_bins_t& bins)
{
    complex_array mixed = stripped;
    lib_dma_phy_common_t::deal_mixer1(mixed, static_cast<double>(-turns), 0.0f);
    float_array amplitude;
    lib_common_math_t::get_complex_array_amplitude(mixed, amplitude);
    float_array phase;
    lib_common_math_t::get_complex_array_phase(mixed, phase);
    float_array weight(bins.size(), 0.0f);
    const float count = static_cast<float>(mixed.size());
    // A row of the histogram holds one 1; its zeros would add nothing.
    for (std::size_t n = 0; n < mixed.size(); ++n)
        bins.find(phase[n], [&](std::size_t bin) { weight[bin] += amplitude[n] / count; });
    float score = 0.0f;
    for (const float value : weight)
        score += static_cast<float>(std::pow(static_cast<double>(value), 4.0));
    return score;
}

/// First candidate with the greatest score.
float find_best_candidate(const float_array& candidates, const complex_array& stripped, std::uint32_t power, float symbol_rate,
                          std::uint64_t bin_count)
{
    const phase_bins_t bins(bin_count);
    float best = candidates.at(0);
    float best_score = 0.0f;
    for (std::size_t i = 0; i < candidates.size(); ++i)
    {
        const float turns = static_cast<float>(power) * candidates[i] / symbol_rate;
        const float score = cal_concentration(stripped, turns, bins);
        if (i == 0 || score > best_score)
        {
            best = candidates[i];
            best_score = score;
        }
    }
    return best;
}
} // namespace

bool lib_dma_phy_frequency_correct_t::frequency_error_correct(const lib_dma_frame_configure_manager_t& frame_cfg,
                                                              std::uint32_t segment_index, complex_array& data,
                                                              lib_dma_demod_config_mgr& demod_cfg,
                                                              lib_dma_psk_modulation_param& psk_param)
{
    constexpr float scan_step = 0.001f;
    set_config(frame_cfg, segment_index, psk_param);
    if (m_format_group_ == LIB_DMA_GROUP_OQPSK)
    {
        const std::uint64_t rate = m_symbol_rate_ * m_points_per_symbol_;
        const lib_dma_ref_filter_type_t pulse =
            frame_cfg.get_segment(segment_index).get_filter_configure().get_ref_filter_type();
        if (pulse == LIB_DMA_REF_HALF_SINE_FILTER && rate != 0)
        {
            demod_cfg.carrier_frequency_offset =
                cal_line_pair_offset(*this, data, static_cast<double>(rate), static_cast<double>(m_symbol_rate_),
                                     peak_search_points);
            return true;
        }
        return _deal_dma_freqency_error_estimate_dft(data, demod_cfg, rate, rate, peak_search_points);
    }
    const std::uint64_t band = static_cast<std::uint64_t>(static_cast<double>(m_symbol_rate_) * 0.8);
    if (m_format_group_ == LIB_DMA_GROUP_QAM && m_qam_format_ == LIB_DMA_QAM_128)
    {
        complex_array whole = data;
        _deal_dma_freqency_error_estimate_cps(4, data, demod_cfg, m_symbol_rate_, scan_step);
        // The scan resolves offsets near multiples of its step only; the twelfth power has a line at every offset.
        const double scanned = demod_cfg.carrier_frequency_offset;
        if (!_deal_dma_freqency_error_estimate_dft(whole, demod_cfg, m_symbol_rate_, band, peak_search_points))
            return false;
        const double fine_step = static_cast<double>(m_symbol_rate_) * static_cast<double>(scan_step) / 16.0;
        if (std::abs(demod_cfg.carrier_frequency_offset - scanned) <= fine_step)
            demod_cfg.carrier_frequency_offset = scanned;
        return true;
    }
    return _deal_dma_freqency_error_estimate_dft(data, demod_cfg, m_symbol_rate_, band, peak_search_points);
}

bool lib_dma_phy_frequency_correct_t::set_config(const lib_dma_frame_configure_manager_t& frame_cfg, std::uint32_t segment_index,
                                                 const lib_dma_psk_modulation_param& psk_param)
{
    const lib_dma_format_configure_manager_t& format = frame_cfg.get_segment(segment_index).get_format_configure();
    m_format_group_ = format.get_format_group();
    m_symbol_rate_ = format.get_symbol_rate();
    m_qam_format_ = format.get_qam_format();
    m_points_per_symbol_ = cal_working_sps(format.get_points_per_symbol());

    switch (format.get_format_group())
    {
    case LIB_DMA_GROUP_OQPSK:
        m_power_ = 4;
        break;
    case LIB_DMA_GROUP_QAM:
        // The cross formats, values 1, 3, 5 and 7, have no fourth-power line.
        m_power_ = (m_qam_format_ & ~6u) == 1u ? 12 : 4;
        break;
    case LIB_DMA_GROUP_PSK:
        m_power_ = psk_param.modulation_order;
        break;
    case LIB_DMA_GROUP_ASK:
        m_power_ = 2;
        break;
    case LIB_DMA_GROUP_APSK:
        m_power_ = format.get_apsk_format() == LIB_DMA_APSK_16 ? 12 : 16;
        break;
    case LIB_DMA_GROUP_DPSK:
        switch (format.get_dpsk_format())
        {
        case LIB_DMA_MODULATION_PSK_DBPSK:
            m_power_ = 2;
            break;
        case LIB_DMA_MODULATION_PSK_DQPSK:
            m_power_ = 4;
            break;
        case LIB_DMA_MODULATION_PSK_PI_4_DQPSK:
        case LIB_DMA_MODULATION_PSK_D8PSK:
            m_power_ = 8;
            break;
        case LIB_DMA_MODULATION_PSK_PI_8_D8PSK:
            m_power_ = 16;
            break;
        default:
            break;
        }
        break;
    default:
        break;
    }
    return true;
}

bool lib_dma_phy_frequency_correct_t::_deal_dma_freqency_error_estimate_dft(complex_array& data,
                                                                            lib_dma_demod_config_mgr& demod_cfg,
                                                                            std::uint64_t sample_rate, std::uint64_t search_band,
                                                                            std::uint32_t fft_size)
{
    if (fft_size == 0 || sample_rate == 0)
        return false;
    const double points = static_cast<double>(fft_size);
    const double rate = static_cast<double>(sample_rate);
    const double half_band = std::round(points * static_cast<double>(search_band) / rate * 0.5);
    const std::int64_t reach = static_cast<std::int64_t>(std::min(half_band, points));

    const std::size_t used = std::min<std::size_t>(data.size(), fft_size);
    complex_double_array stripped(fft_size, { 0.0, 0.0 });
    for (std::size_t i = 0; i < used; ++i)
        stripped[i] = raise(data[i], m_power_);

    complex_double_array spectrum = stripped;
    deal_fft(spectrum, fft_size, false);
    fft_shift(spectrum);
    double_array magnitude(fft_size, tolerance);
    for (std::size_t i = 0; i < std::min<std::size_t>(spectrum.size(), fft_size); ++i)
        magnitude[i] = std::sqrt(spectrum[i].real() * spectrum[i].real() + spectrum[i].imag() * spectrum[i].imag());

    const std::int64_t middle = fft_size / 2;
    const std::size_t first = static_cast<std::size_t>(std::max<std::int64_t>(middle - reach, 0));
    const std::size_t last = static_cast<std::size_t>(std::min<std::int64_t>(middle + reach, fft_size));
    std::size_t peak = first;
    for (std::size_t i = first; i < last; ++i)
    {
        if (magnitude[i] > magnitude[peak])
            peak = i;
    }

    const double below = magnitude.at(peak - 1);
    const double above = magnitude.at(peak + 1);
    const double centre = static_cast<double>(peak);
    bracket_t bracket = { centre - 1.0, below, centre + 1.0, above };
    bracket = bracket.is_right_stronger() ? bracket_t{ centre, magnitude[peak], centre + 1.0, above }
                                          : bracket_t{ centre - 1.0, below, centre, magnitude[peak] };
    const double position = bisect(bracket,
                                   [&](double bin)
                                   {
                                       const double w = -(((bin - points * 0.5) * 2.0 * common_lib::pi) / points);
                                       return cal_point_magnitude(stripped.data(), used, w);
                                   });
    demod_cfg.carrier_frequency_offset = ((rate / points) * (position - points * 0.5)) / static_cast<double>(m_power_);
    return true;
}

bool lib_dma_phy_frequency_correct_t::_deal_dma_freqency_error_estimate_cps(std::uint32_t power, complex_array& data,
                                                                            lib_dma_demod_config_mgr& demod_cfg,
                                                                            std::uint64_t symbol_rate, float step_ratio)
{
    constexpr std::size_t longest_record = 1000;
    constexpr std::uint64_t coarse_bins = 128;
    constexpr std::uint64_t fine_bins = 64;
    static_cast<void>(data.at(0));
    if (data.size() > longest_record)
        data.resize(longest_record);
    common_lib::lib_normalization_t::rms_normalize(data);

    complex_array stripped(data.size());
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        const std::complex<double> raised = raise(data[i], power);
        stripped[i] = { static_cast<float>(raised.real()), static_cast<float>(raised.imag()) };
    }

    const float rate = static_cast<float>(symbol_rate);
    const float step = rate * step_ratio;
    std::int64_t start_time = common_lib::lib_test_t::get_current_time();
    const float_array coarse = lib_dma_phy_common_t::gen_target_array(-rate * 0.125f, step, rate * 0.125f, 1.0f);
    const float coarse_best = find_best_candidate(coarse, stripped, power, rate, coarse_bins);
    common_log::print_trace_time("lib_dma_phy_frequency_correct_t::_deal_dma_freqency_error_estimate_cps time first step: ",
                                 start_time);

    start_time = common_lib::lib_test_t::get_current_time();
    const float fine_step = static_cast<float>(static_cast<double>(step) * 2.0 * 0.03125);
    float_array fine = lib_dma_phy_common_t::gen_target_array(-15.0f, 1.0f, 15.0f, fine_step);
    for (float& candidate : fine)
        candidate += coarse_best;
    demod_cfg.carrier_frequency_offset = static_cast<double>(find_best_candidate(fine, stripped, power, rate, fine_bins));
    common_log::print_trace_time("lib_dma_phy_frequency_correct_t::_deal_dma_freqency_error_estimate_cps time second step: ",
                                 start_time);
    return true;
}

std::vector<float_array> lib_dma_phy_frequency_correct_t::dkl1(const complex_array& data, std::uint64_t bins)
{
    std::vector<float_array> histogram(data.size(), float_array(bins, 0.0f));
    if (bins == 0)
        return histogram;
    const phase_bins_t edges(bins);
    float_array phase;
    lib_common_math_t::get_complex_array_phase(data, phase);
    for (std::size_t n = 0; n < data.size(); ++n)
        edges.find(phase[n], [&](std::size_t bin) { histogram[n][bin] = 1.0f; });
    return histogram;
}

double lib_dma_phy_frequency_correct_t::one_point_dft_mag(const complex_double_array& data, double position, std::uint32_t length)
{
    if (data.size() < length)
        common_log::print_trace_line("one_point_dft_mag : Input data length NOT match!");
    if (length == 0)
        return 0.0;
    const double points = static_cast<double>(length);
    const double w = -(((position - points * 0.5) * 2.0 * common_lib::pi) / points);
    return cal_point_magnitude(data.data(), std::min<std::size_t>(data.size(), length), w);
}

bool lib_dma_phy_frequency_correct_t::deal_data_segmentation(std::uint32_t length, std::uint32_t& segments)
{
    if (length <= largest_transform)
    {
        segments = 1;
        return true;
    }
    // No segment is shorter than 2048 points.
    const std::uint32_t most = length / 2048;
    for (std::uint32_t count = (length - 1) / largest_transform + 1; count <= most; ++count)
    {
        if (length % count == 0)
        {
            segments = count;
            return true;
        }
    }
    return false;
}

bool lib_dma_phy_frequency_correct_t::deal_fft(complex_double_array& data, std::uint32_t fft_size, bool inverse)
{
    const std::uint32_t size = static_cast<std::uint32_t>(data.size());
    const std::uint32_t length = fft_size != 0 && fft_size >= size ? fft_size : size;
    std::uint32_t segments = 1;
    if (!deal_data_segmentation(length, segments))
    {
        common_log::print_trace_line(
            "lib_fourier_transform_t::_deal_fft Report: Info: DFT Length can NOT be segmentated, memory alloc "
            "might fail!");
        segments = 1;
    }
    if (segments == 1)
        return deal_transform(length, data, inverse, 1);

    const std::uint32_t points = length / segments;
    const double share = static_cast<double>(static_cast<float>(1.0 / static_cast<double>(segments)));
    complex_double_array folded(points, { 0.0, 0.0 });
    bool succeeded = true;
    for (std::size_t start = 0; start < data.size(); start += points)
    {
        const std::size_t stop = std::min<std::size_t>(data.size(), start + points);
        complex_double_array segment(data.begin() + static_cast<std::ptrdiff_t>(start),
                                     data.begin() + static_cast<std::ptrdiff_t>(stop));
        succeeded = deal_transform(points, segment, inverse, 1) && succeeded;
        for (std::size_t i = 0; i < points; ++i)
            folded[i] += segment[i] * share;
    }
    data = std::move(folded);
    return succeeded;
}

bool lib_dma_phy_frequency_correct_t::deal_transform(std::uint32_t length, complex_double_array& data, bool inverse,
                                                     std::uint32_t /*threads*/)
{
    if (length < static_cast<std::uint32_t>(data.size()))
    {
        common_log::print_trace_line("lib_fft_plan_manager_t::deal_transform Report : Input data length NOT match!");
        return false;
    }
    data.resize(length);
    const double scale = inverse ? static_cast<double>(static_cast<float>(1.0 / static_cast<double>(length))) : 1.0;
    common_lib::transform_rows(data.data(), 1, length, inverse, scale);
    return true;
}
} // namespace vrim::dma_demod_lib
