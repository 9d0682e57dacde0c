#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"

#include <complex>
#include <cstdint>
#include <string>
#include <vector>

namespace vrim::dma_demod_lib
{
struct lib_dma_demod_config_mgr;

/// Rows of equal length.
using complex_matrix = std::vector<complex_array>;

/// What `upsample` puts between two samples: 0 zeros, any other value the sample again.
using upsample_type_t = std::uint32_t;
constexpr upsample_type_t upsample_zeros = 0;
constexpr upsample_type_t upsample_hold = 1;

/// Figures that the QAM demodulator draws from a format's point set at rms 1.
struct qam_norm_t
{
    float grid_unit = 0.0f;        ///< half the distance of neighbouring points
    std::uint32_t cross_shift = 0; ///< 0 for the square formats, else points a side of the missing corners
    float mag_threshold = 0.0f;    ///< first decision constant of the carrier recovery
    float mag_margin = 0.0f;       ///< second decision constant
};

/// The same for APSK.
struct apsk_norm_t
{
    float mag_threshold = 0.0f;
    float mag_margin = 0.0f;
};

/// The toolkit: static operations on arrays. They know no pipeline and hold no data.
///
/// Arrays `meas` and `ref` are of the same rate; operations on both run over the length of `meas`, and a shorter `ref` raises
/// std::out_of_range.
class DMA_DEMOD_EXPORT lib_dma_phy_common_t
{
public:
    // Rate conversion and mixing (lib_dma_phy_common_rate.cpp)

    /// Multiplies data[n] by exp(j (2 pi freq n + phase)) through a single-precision phasor recurrence.
    ///
    /// The phasor is never renormalised. When the length is no multiple of eight, the tail runs one step ahead of the blocks
    /// and the last sample stays as it was. Lengths below 8 have no block, only the tail.
    /// @param freq   cycles per sample
    /// @param phase  radians
    static void deal_mixer1(complex_array& data, double freq, float phase);
    /// The same recurrence over `length` samples of `data` from `start` on, into `out`.
    static void deal_mixer(const complex_array& data, double freq, complex_array& out, std::uint32_t start, std::uint32_t length,
                           float phase);

    /// Picks every floor(factor)-th sample from index 0, without filtering. An empty input or a factor of 0 prints a report
    /// and leaves `out` as it was. A factor between 0 and 1 is not supported.
    static void downsample(const complex_array& data, float factor, complex_array& out);
    static void downsample(const float_array& data, float factor, float_array& out);
    /// The same from index `offset` on.
    static void downsample1(const complex_array& data, float factor, std::uint32_t offset, complex_array& out);
    static void downsample1(const float_array& data, float factor, std::uint32_t offset, float_array& out);

    /// Puts floor(factor) - 1 samples behind each sample: zeros or copies. A factor below 2 copies the data.
    static void upsample(const complex_array& data, upsample_type_t type, float factor, complex_array& out);
    static void upsample(const float_array& data, upsample_type_t type, float factor, float_array& out);
    /// The same with each sample multiplied by `gain`; a factor below 2 copies the data and ignores the gain.
    static void upsample1(const complex_array& data, upsample_type_t type, float factor, std::complex<float> gain,
                          complex_array& out);
    static void upsample1(const complex_array& data, upsample_type_t type, float factor, float gain, complex_array& out);
    static void upsample1(const float_array& data, upsample_type_t type, float factor, float gain, float_array& out);

    /// A boxcar of one symbol, unit DC gain, centred in span * sps + 1 taps.
    /// @throws std::out_of_range when span is 0
    static void gen_rectangular_filter(std::uint32_t span, std::uint32_t sps, complex_array& out);
    /// Main pulse of linearised GMSK, BT 0.3, 5 * sps + 1 real taps.
    /// Source: P. A. Laurent, "Exact and approximate construction of digital phase modulations by superposition of amplitude
    /// modulated pulses", IEEE Trans. Commun. 34(2), 1986.
    static void deal_edge_filter(std::uint32_t sps, complex_array& filter);

    /// `data` turned to the right by `shift`; a negative shift counts from the end. Reports an empty array or a shift larger
    /// than the array; such a shift is taken modulo the length.
    template <typename value_t>
    static std::vector<std::complex<value_t>> deal_cyclic_shift(const std::vector<std::complex<value_t>>& data,
                                                                std::int32_t shift);

    /// Slice of `length` elements from `start`, or what there is of it; a `start` past the end gives the whole data.
    /// @return always true
    template <typename value_t>
    static bool check_valid_data_size(const std::vector<value_t>& data, std::uint32_t start, std::uint32_t length,
                                      std::vector<value_t>& out);

    /// Every `sps`-th sample of the slice that leaves `pre_num` samples off each end; the slice falls back to the whole
    /// data as that of `check_valid_data_size` does.
    static void take_inner_symbols(const complex_array& data, std::uint32_t pre_num, std::uint32_t sps, complex_array& out);

    // Error vectors and impairments (lib_dma_phy_common_error.cpp)

    /// out = ref - meas: the vector points from the measurement to the reference.
    static void error_vector_cal(const complex_array& meas, const complex_array& ref, complex_array& out);
    /// out = |ref| - |meas|.
    static void mag_error_cal(const complex_array& meas, const complex_array& ref, float_array& out);
    /// out = arg(ref) - arg(meas) folded to half a turn, degrees.
    static void phase_error_cal(const complex_array& meas, const complex_array& ref, float_array& out);
    /// @return dB, power of the reference over power of the error; not-a-number for empty arrays
    static double snr_cal(const complex_array& meas, const complex_array& ref);
    /// Mean of 20 log10(|I| / |Q|) over the symbols whose rails differ by less than 1.0.
    /// @param symbols  about unit rms
    /// @return dB; 0 when no symbol counts
    static float gain_imbalance_cal(const complex_array& symbols);
    /// Mean angle between the symbols, turned by `rotation` radians, and the imaginary axis, over the symbols that lie within
    /// `threshold` of it.
    /// @return degrees, unsigned; 0 when no symbol counts
    static float quad_error_cal(const complex_array& symbols, float threshold, float rotation);
    /// Quadrature figure of QAM from the mean amplitudes of the innermost points of the first and the second quadrant.
    /// @param symbols  at unit rms
    /// @return degrees; 0 when a quadrant has no such point. The limit of the class lies on a ring of points at some formats,
    ///         so noise moves points in and out of it.
    static float qam_quad_error_cal(lib_dma_qam_modulation_type_t format, const complex_array& symbols);
    /// Quadrature figure of APSK from the mean powers of two amplitude classes. For 32APSK it is always 0.
    /// A format that is not 16 or 32 is logged and ends the process with exit code 1.
    /// @return degrees
    static float apsk_quad_error_cal(lib_dma_apsk_modulation_type_t format, const complex_array& symbols);
    /// Mean of the error vector against unit level.
    /// @return dB; -1e10 for an empty array or a sum of exactly 0
    static float iq_offset_cal(const complex_array& error_vector);
    /// Normalised correlation of a[0 .. count) with b[start .. start + count).
    /// @return 0 to 1; 0 for a `count` of 0 or when there is no power
    /// @throws std::out_of_range past either array
    static float deal_corr(const complex_array& a, const complex_array& b, std::uint32_t start, std::uint32_t count);
    /// Sets samples that are not finite to 0. `level` takes no part in it.
    static void filter_invalid(complex_array& data, float level);
    /// scale * start, scale * (start + step), ... while the running single-precision value is at most `stop` (for a negative
    /// step: at least). A range that cannot be walked gives one entry, 0.
    static float_array gen_target_array(float start, float step, float stop, float scale);
    static complex_array gen_target_array(float start, float step, float stop, std::complex<float> scale);
    /// Averages over `window` samples (made odd), with windows that shrink towards both ends.
    /// @return as long as `data`
    static float_array center_moving_average(std::uint32_t window, const float_array& data);

    // Matrices (lib_dma_phy_common_matrix.cpp)

    // Operands that do not fit, rows of unequal length among them, are reported on the standard output and give an empty
    // matrix. So does a product of more than 2^24 elements.

    static complex_matrix matric_add(const complex_matrix& a, const complex_matrix& b);
    static complex_matrix matric_multiply(const complex_matrix& a, const complex_matrix& b);
    /// a times the transpose of b, without conjugation.
    static complex_matrix transposed_multiply(const complex_matrix& a, const complex_matrix& b);
    /// Each element times `c`. An empty matrix is reported.
    static complex_matrix matric_val_multiply(const complex_matrix& a, std::complex<float> c);
    /// Inverse by Gauss-Jordan elimination in single precision, n^3 products.
    /// @param pivot  exchanges rows for the largest pivot; without it a zero on the way of the diagonal counts as singular
    /// @return empty, after a report, for a matrix that is not square or singular, one with an element that is not finite
    ///         included
    static complex_matrix inv(complex_matrix a, bool pivot);
    /// Determinant by elimination with row pivoting; 1 for an empty matrix, 0, after a report, for one that is not square.
    static std::complex<float> determinant(complex_matrix a);

    // Model of IQ impairments (lib_dma_phy_common_iq_model.cpp)

    /// Longest record of `deal_iqoffset`: a matrix of 2048 by 2048 elements takes 32 MiB and some ten seconds to invert.
    static constexpr std::uint32_t iq_model_longest_record = 2048;

    /// Impairments by least squares. The measurement is taken as the circular response of taps h to the reference,
    /// meas[k] = sum of h[j] ref[k + j]; what its taps from the 64th on hold is explained by those of the measurement's
    /// conjugate and of a constant. Gain and phase, and a channel within the first 64 taps, take no part in it.
    ///
    /// For meas = a ref + b conj(ref) + dc with the direct gain a real, the rail Q is (a - b) / (a + b) times the rail I. The
    /// reference has to fill its band: one that is weak at some frequency cannot be modelled, nor one of real values.
    /// @param meas, ref  66 to `iq_model_longest_record` samples of one rate, as many of either, in step and in phase
    /// @param[out] iq_offset       dB, the constant that is left when the image is taken out, against amplitude 1
    /// @param[out] quad_error      degrees by which the rail Q is ahead of a right angle to the rail I
    /// @param[out] gain_imbalance  dB, gain of the rail Q over that of the rail I
    /// @return false for records of unfit length and when the model cannot be solved, which is logged; the figures stay as
    ///         they were
    static bool deal_iqoffset(const complex_array& meas, const complex_array& ref, float& iq_offset, float& quad_error,
                              float& gain_imbalance);

    // Adaptive equalizer (lib_dma_phy_common_equalizer.cpp)

    /// One pass of the equalizer: a sweep of `deal_equailizer`, and a Kaiser taper of beta 12 on the taps that it leaves.
    ///
    /// In the first pass (`equalizer_loop_number` of 0) the taps are a delay of half the length, later they go on from where
    /// the last pass left them; a tap that is not finite counts as 0. Taps whose sum has become infinite or not a number are
    /// logged and get a centre tap of 1 again for the next pass; this pass is still used.
    /// @param[in,out] meas  at the rate of the taps, becomes the equalized signal, see `deal_equailizer`
    /// @param ref           the ideal signal
    /// @param coef          step size. Stable below 2 / (largest energy of `meas` within the taps); a first pass with one that
    ///                      is not is logged.
    /// @param filter_len    taps, odd
    /// @param config        its `equalizer_filter` is read and written
    /// @return false when there are fewer than 2 taps, which is reported, or more than 65,536, which is logged: `meas` stays
    /// @throws std::out_of_range for a `filter_len` of 0 in the first pass and below the count of taps later
    static bool apply_equailizer(complex_array& meas, const complex_array& ref, double coef, std::uint32_t filter_len,
                                 lib_dma_demod_config_mgr& config);
    /// Sweeps once over the signal, `y` = sum of x[j] conj(filter[j]) with x[0] the newest sample, and corrects every tap at
    /// every step by coef * x[j] * conj(ref - y), in single precision.
    ///
    /// With L taps and N samples `out` has a sample under the centre tap of each of the N - L steps: it is 0 at its first
    /// L - floor(L / 2) - 1 and at its last floor(L / 2) + 1 positions, and all 0 when N is at most L.
    /// @param[out] out     as long as `meas`
    /// @param[out] err     as long as `meas`: the square of ref - y of step k at k, else 0
    /// @param filter       the taps; changed
    /// @return always true
    /// Source: B. Widrow, J. McCool, M. Ball, "The complex LMS algorithm", Proc. IEEE 63(4), 1975.
    static bool deal_equailizer(const complex_array& meas, const complex_array& ref, double coef, complex_array& out,
                                complex_array& filter, complex_array& err);

    // Power (lib_dma_phy_common_power.cpp)

    /// Power in a band around zero frequency, from a spectrum under a Gaussian window. A band at least as wide as the sample
    /// rate takes every bin and costs no transform.
    /// @param load         ohms
    /// @param sample_rate  Hz
    /// @param bandwidth    Hz, two-sided; the mean density of the bins inside is multiplied by it
    /// @param half_power   samples are peak values of a real carrier
    /// @return dBm; about -90 for silence, not-a-number when no bin lies inside
    static float channel_power(const complex_array& data, std::uint32_t load, float sample_rate, float bandwidth, bool half_power);

    // Carrier phase (lib_dma_phy_common_phase.cpp)

    /// Takes the line fit[0] * symbol + fit[1] out of `data`.
    /// @param fit             radians per symbol, radians
    /// @param pre_num         samples before symbol 0
    /// @param sps             samples per symbol of `data`
    /// @param[in,out] data    corrected in place; FSK stays as it is, OQPSK and unknown groups are logged and stay
    /// @param[out] phase_shift  samples by which MSK was moved to its symbol pair; 0 otherwise
    /// @throws std::out_of_range when `fit` has fewer than two entries
    static void deal_fixed_phase(lib_dma_modulation_type_t format_group, const float_array& fit, std::uint32_t pre_num,
                                 std::uint32_t sps, complex_array& data, double& phase_shift);
    /// Fits a line to the phase between measurement and reference at the symbols and takes it out of `meas`.
    /// @param[out] fine_frequency  Hz; not written when the fit fails, which is logged
    static void deal_fine_phase_fit(lib_dma_modulation_type_t format_group, complex_array& meas, const complex_array& ref,
                                    double& fine_frequency, std::uint64_t symbol_rate, std::uint32_t pre_num, std::uint32_t sps);
    /// Unwraps in place, radians.
    static void phase_unwrap(float_array& phases);
    /// Phases of `symbols`; with `refine` two passes move entries by one turn where a step exceeds `step_tolerance` radians.
    /// Serves short tracks whose steps stay below two turns.
    static float_array phase_unwrap(const complex_array& symbols, bool refine, float step_tolerance);
    /// @return the angle modulo a turn, above -pi and at most pi; 0 for a value that is not finite
    static float wrap_to_pi(float angle);

    // Bits, text and formats (lib_dma_phy_common_bit.cpp)

    /// Digits of `value`: with `base` 0 bits, least significant first unless `reverse`; with `base` 1 decimal digits, most
    /// significant first; any other base zeros.
    static byte_array int2array(std::uint32_t value, std::uint32_t length, std::uint8_t base, bool reverse);
    /// Groups of `group` bits to numbers, the first bit the highest. With `keep_order` false `bits` is reversed first, in
    /// place. A `group` of 0 gives nothing.
    static float_array bit_array2int(float_array& bits, std::uint32_t group, bool keep_order);
    /// Two hexadecimal digits a byte, a last single one a byte of its own.
    /// A character that is no hexadecimal digit is reported and counts as 0.
    /// @param bytes  room for (length of text + 1) / 2 bytes
    /// @return count of bytes; 0 for a null pointer
    static std::uint32_t hecstr2dec(const char* text, std::uint8_t* bytes);
    /// Appends two lower-case hexadecimal digits a byte.
    static void dec2hexstr(const byte_array& bytes, std::string& text);
    /// Spreads `count` bytes, eight bits each. A null pointer leaves `bits` as it was.
    /// @param bits  sized by the caller to 8 * count
    /// @throws std::out_of_range when `bits` is too short
    static void convertbytes2bitarr(const std::uint8_t* bytes, std::uint32_t count, bool msb_first, byte_array& bits);
    /// The inverse. `bits` comes back with 8 * count elements, cut or filled up with zeros; an empty one leaves both as they
    /// were.
    static void convertbits2bytearr(byte_array& bits, std::uint32_t count, bool msb_first, byte_array& bytes);
    /// Bits of a text of hexadecimal digits; a last single digit makes a byte of its own, of eight bits.
    static void hexstr2bitarr(std::string text, bool msb_first, byte_array& bits);
    /// Two lower-case digits a byte. `bits` comes back filled up with zeros to a multiple of eight.
    static void bitarr2hexstr(byte_array& bits, bool msb_first, std::string& text);

    /// Bits per symbol of a format.
    static std::uint32_t get_qm_from_modulation(lib_dma_qam_modulation_type_t format);
    static std::uint32_t get_ask_order_from_modulation(lib_dma_ask_modulation_type_t format);
    /// 32 and 64 tones give 1.
    static std::uint32_t get_fsk_order_from_modulation(lib_dma_fsk_modulation_type_t format);
    static std::uint32_t get_psk_order_from_modulation(lib_dma_psk_modulation_type_t format);
    static std::uint32_t get_apsk_order_from_modulation(lib_dma_apsk_modulation_type_t format);
    static std::uint32_t get_dpsk_order_from_modulation(lib_dma_dpsk_modulation_type_t format);

    /// Nearest point of `map`; the first in key order of equally near ones.
    /// @return 0 for an empty map
    /// @throws std::out_of_range when a map that is not empty lacks key 0
    static std::complex<float> get_symbol_decision_result(const constellation_map& map, std::complex<float> point);
    /// Key of the nearest point, in single precision; 0 for an empty map.
    static std::uint32_t get_symbol_index_decision_result(const constellation_map& map, std::complex<float> point);

    /// Decisions of one symbol by sectors, levels or the grid; the analysis itself decides by the nearest point. Sector bounds
    /// belong to the sector on their lower side. An unknown format is logged and decided as the simplest one of its group.
    /// @param rotation  radians, taken out of the point first
    static std::uint32_t psk_demod_bit(std::complex<float> point, lib_dma_psk_modulation_type_t format, float rotation);
    /// @param phase  radians, difference of two symbols
    ///               The shifted formats have no sectors of their own: they are logged and decided as DBPSK.
    static std::uint32_t dpsk_demod_bit(float phase, lib_dma_dpsk_modulation_type_t format);
    /// @param value  normalised deviation, -1 to 1. 32 and 64 tones are logged and decided as two.
    static std::uint32_t fsk_demod_bit(float value, lib_dma_fsk_modulation_type_t format);
    /// @param point  at the level of the default set at rms 1; its amplitude decides
    static std::uint32_t ask_demod_bit(std::complex<float> point, lib_dma_ask_modulation_type_t format);
    /// @param point  at the level of the default set at rms 1
    /// @return key of the nearest point of the default set
    static std::uint32_t qam_demod_bit(std::complex<float> point, lib_dma_qam_modulation_type_t format);
    /// @param point  at the level at which ring 1 has radius 1
    /// @param r2, r3  radii of rings 2 and 3 at that level; 16APSK has no ring 3
    /// @return key of the point in the sets that are not in broadcast order, with rings that are not turned; 0 for an unknown
    ///         format, which is logged
    static std::uint32_t apsk_demod_bit(std::complex<float> point, lib_dma_apsk_modulation_type_t format, float r2, float r3);
    /// Amplitude of the corner of the square around the set, from the table's grid unit.
    static float qam_get_max_mag(lib_dma_qam_modulation_type_t format);
    /// @param point  at the level of the default set at rms 1
    /// @return row * side + column of the nearest point in the square around the set, rows rising with the quadrature part,
    ///         columns with the in-phase part
    static std::uint32_t qam_idx(std::complex<float> point, lib_dma_qam_modulation_type_t format);

    /// Real and imaginary parts apart.
    static void get_iq_data(const complex_array& data, float_array& i_part, float_array& q_part);
    /// Real parts.
    static void complex_to_float_arr(const complex_array& data, float_array& out);
    /// Values as real parts, imaginary parts 0.
    static void float_to_complex_arr(float_array values, complex_array& out);
    /// @return root of the mean square, summed in single precision; an empty array is reported and gives 0
    static float get_float_array_rms(const float_array& values);
    static void get_float_array_amplitude(const float_array& values, float_array& out);

    // Point sets (lib_dma_phy_common_constellation.cpp)

    /// Rings of 4 and 12 points, radii 1 and `r2_r1`. A ratio outside 1.25 to 8 is reported and used.
    /// @param phase1, phase2  radians, turn of each ring
    static void generate_16apsk_constellation(constellation_map& map, bool dvb_order, float r2_r1, float phase1, float phase2);
    /// Rings of 4, 12 and 16 points, radii 1, `r2_r1` and `r3_r1`.
    static void generate_32apsk_constellation(constellation_map& map, bool dvb_order, float r2_r1, float r3_r1, float phase1,
                                              float phase2, float phase3);
    /// Keys of the points in ring order.
    static void get_16apsk_symbol_arr(std::vector<std::uint32_t>& ring1, std::vector<std::uint32_t>& ring2, bool dvb_order);
    static void get_32apsk_symbol_arr(std::vector<std::uint32_t>& ring1, std::vector<std::uint32_t>& ring2,
                                      std::vector<std::uint32_t>& ring3, bool dvb_order);
    /// Scales the points to unit rms. @return false, after a report, for an empty map
    static bool rms_normalize(constellation_map& map);
    /// Scales the points to a largest amplitude of 1. @return false, after a report, for an empty map
    static bool amplitude_max_normalize(constellation_map& map);
    /// An unknown format, the broadcast ones included, is logged and gives the figures of 16QAM.
    static qam_norm_t qam_get_norm_param(lib_dma_qam_modulation_type_t format);
    /// An unknown format is logged and gives zeros.
    static apsk_norm_t apsk_get_norm_param(lib_dma_apsk_modulation_type_t format, float radius_ratio);

    // IQ text files (lib_dma_phy_common_file.cpp)

    // `samples` is emptied first, and stays empty when the file cannot be read, which is logged. The decimal sign is the point
    // whatever the locale. A last pair counts with or without a line end behind it, a last single number does not.

    /// Reads pairs of numbers, I then Q, until the end or until something that is no number; 1e-11 is added to both parts.
    static void get_test_demod_data(const char* file_name, complex_array& samples);
    /// Reads words in pairs, I then Q, until the end. A word is the number that it starts with, 0 when there is none.
    static void input_data2_complex_arr(const char* file_name, complex_array& samples);
};

template <typename value_t>
bool lib_dma_phy_common_t::check_valid_data_size(const std::vector<value_t>& data, std::uint32_t start, std::uint32_t length,
                                                 std::vector<value_t>& out)
{
    const std::uint32_t size = static_cast<std::uint32_t>(data.size());
    const std::uint32_t stop = start + length; // wraps: a length below zero asks for more than there is
    if (start >= size)
        out = data;
    else if (stop > size || length > size)
        out.assign(data.begin() + start, data.end());
    else
        out.assign(data.begin() + start, data.begin() + stop);
    return true;
}

extern template DMA_DEMOD_EXPORT complex_array lib_dma_phy_common_t::deal_cyclic_shift<float>(const complex_array& data,
                                                                                              std::int32_t shift);
} // namespace vrim::dma_demod_lib
