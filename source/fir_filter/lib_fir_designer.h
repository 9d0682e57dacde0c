#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "fir_filter/lib_fir_design_parameter.h"

#include <cstdint>
#include <vector>

namespace vrim::fir_filter_lib
{
/// Rows of equal length.
using double_matrix = std::vector<double_array>;

/// Designs linear-phase FIR filters with a symmetric impulse response. Everything is static and re-entrant.
///
/// Frequencies are relative to half the sample rate, 1 being the Nyquist frequency, unless told otherwise. Taps are real,
/// in the real parts, order + 1 of them. Work is bounded for every description that the setters allow; a limit that is
/// reached is logged at level 2 with its figure.
class DMA_DEMOD_EXPORT lib_fir_designer_t
{
public:
    /// The entry of the designer.
    /// @param[out] coefficients  taps; empty after a false
    /// @return false, said on standard output or in the log, for an unknown method or a description without a filter
    static bool design_fir_filter(const lib_fir_design_parameter_t& parameters, complex_array& coefficients);
    /// @return the least order by `firpmord` (equiripple) or `_get_kaiser_minimum_order` (window method, Kaiser) with minimum
    ///         order enabled, and at least 2; 1 where neither applies; 0, logged, where the estimate is not finite or above
    ///         1,000,000
    static std::uint32_t calculate_minimum_order(const lib_fir_design_parameter_t& parameters);

    // Bands of a description (lib_fir_designer.cpp)

    /// With minimum order: the interior edges, one amplitude and one deviation (linear) per band. Without: two edges and two
    /// amplitudes per band, one weight per band. A response without bands (Shaping) leaves all three empty.
    static void _get_freq_amplitude_vector(const lib_fir_design_parameter_t& parameters, double_array& frequencies,
                                           double_array& amplitudes, double_array& weights);
    /// Two edges and two amplitudes per band, one weight per band, whatever minimum order says.
    static void _get_freq_amplitude_weight_vector(const lib_fir_design_parameter_t& parameters, double_array& frequencies,
                                                  double_array& amplitudes, double_array& weights);

    // Equiripple method (lib_fir_designer_equiripple.cpp)

    /// Weighted Chebyshev approximation by the exchange algorithm.
    /// Source: J. H. McClellan, T. W. Parks, L. R. Rabiner, "A computer program for designing optimum FIR linear phase
    /// digital filters", IEEE Trans. Audio Electroacoust. 21(6), 1973.
    static bool _equiripple_method(const lib_fir_design_parameter_t& parameters, complex_array& coefficients);
    /// @return `calculate_minimum_order` with minimum order enabled, else the configured order
    static std::uint32_t _get_equiripple_filter_order(const lib_fir_design_parameter_t& parameters);
    /// Builds the grid, raising the density four-fold until it holds order + 1 points, with desired response and weight.
    /// @param edges             two per band
    /// @param amplitudes        two per band
    /// @param weights           one per band
    /// @param[out] grid         frequencies, 1 being Nyquist
    /// @return false, logged, where the grid would grow beyond its limit
    static bool _initialize_remez_iteration(std::uint32_t order, const lib_fir_design_parameter_t& parameters,
                                            const double_array& edges, const double_array& amplitudes,
                                            const double_array& weights, double_array& grid, double_array& desired,
                                            double_array& weight);
    /// @param density   grid points per extremal frequency
    /// @param edges     two per band
    /// @param negative  antisymmetric filter; no design asks for it
    /// @param odd       odd count of taps
    static void _initialize_frequency_grid(std::uint32_t order, const lib_fir_design_parameter_t& parameters,
                                           std::uint32_t density, double_array& grid, const double_array& edges, bool negative,
                                           bool odd);
    /// Interpolates amplitudes along the bands. @param flag  weights of bands that end above 1e-4 fall with frequency
    static void _calculate_response_and_final_weight(const double_array& edges, const double_array& grid,
                                                     const double_array& weights, const double_array& amplitudes, bool flag,
                                                     double_array& desired, double_array& weight);
    /// Runs the exchange, at most 250 passes.
    /// @param grid                frequencies, 0.5 being Nyquist
    /// @param frequencies         band edges, 0.5 being Nyquist
    /// @param[in,out] desired     on the grid; comes back as the approximation problem of the cosine polynomial
    /// @param[in,out] weight      on the grid, likewise
    /// @param[out] deviation      of the weighted error
    /// @param[out] coefficients   first half of the taps with the middle one; empty after a false
    /// @return false where the arrays do not fit together, and where rounding leaves no filter that is better than none
    static bool _remez_iteration(std::uint32_t order, double_array& grid, const double_array& frequencies, double_array& desired,
                                 double_array& weight, bool negative, bool odd, double& deviation, float_array& coefficients);
    /// Barycentric weight of node `index`: 1 over the product of 2 (x[index] - x[j]), taken in `spacing` interleaved groups;
    /// factors of 0 are left out. With a spacing below 1 it is 1.
    /// @throws std::out_of_range for an index outside `x`
    static double _calculate_quantities(std::int32_t index, std::int32_t spacing, const double_array& x);
    /// Taps from the interpolation: barycentric weights, nodes (cosines) and values of the final exchange.
    /// @param[in,out] x  gets a sentinel of -2 appended
    static void _equiripple_method_ifft(const double_array& grid, const double_array& frequencies, const double_array& ad,
                                        double_array& x, const double_array& y, bool negative, bool odd,
                                        float_array& coefficients);
    /// Estimates order, bands and weights of a minimum-order design.
    /// @param edges             interior edges
    /// @param amplitudes        one per band
    /// @param deviations        one per band, linear
    /// @param[out] order        0 with fewer than two deviations, and where the estimate is not finite or above 1,000,000
    /// @param[out] edges_out    with 0 and 1 added
    /// @param[out] amplitudes_out  two per band
    /// @param[out] weights_out  largest deviation over each band's deviation
    /// @return whether there is an order
    /// Source: O. Herrmann, L. R. Rabiner, D. S. K. Chan, "Practical design rules for optimum finite impulse response
    /// low-pass digital filters", Bell Syst. Tech. J. 52(6), 1973.
    static bool firpmord(const double_array& edges, const double_array& amplitudes, const double_array& deviations,
                         std::uint32_t& order, double_array& edges_out, double_array& amplitudes_out, double_array& weights_out);
    /// Length of a low-pass filter with the edges f1, f2 relative to the sample rate and the deviations d1, d2.
    static double remlpord(const double& f1, const double& f2, double d1, double d2);

    // Window method (lib_fir_designer_window.cpp)

    /// The ideal response, made by least squares with transitions of no width at the cutoffs, times a window.
    /// Source: A. V. Oppenheim, R. W. Schafer, Discrete-Time Signal Processing, Prentice-Hall, 1989, section 7.4.
    static bool _window_method(const lib_fir_design_parameter_t& parameters, complex_array& coefficients);
    /// @return `calculate_minimum_order` with minimum order enabled, else the configured order
    static std::uint32_t _get_window_filter_order(const lib_fir_design_parameter_t& parameters);
    /// Divides all taps by the gain at 0 (first band passes), at the Nyquist frequency (fourth frequency is 1), or at the
    /// mean of the third and fourth frequency. A gain of 0 leaves them.
    /// @param length  count of taps
    static void scalefilter(complex_array& coefficients, bool first_band_pass, const double_array& frequencies,
                            std::uint32_t length);
    /// @return false, and an empty window, for an unknown type
    static bool _get_window_data(const lib_fir_design_parameter_t& parameters,
                                 const lib_fir_design_window_parameter_t& window_parameters, std::uint32_t length,
                                 complex_array& window);

    // Windows (lib_fir_designer_generator.cpp): real values in the real parts; length 0 gives an empty array, length 1 the
    // value 1. Source: F. J. Harris, "On the use of windows for harmonic analysis with the discrete Fourier transform", Proc.
    // IEEE 66(1), 1978, unless told otherwise.

    static void _generate_rectangle_window(complex_array& window, std::uint32_t length);
    static void _generate_hamming_window(complex_array& window, std::uint32_t length);
    static void _generate_hann_window(complex_array& window, std::uint32_t length);
    /// @param beta  shaping factor
    static void _generate_kaiser_window(complex_array& window, std::uint32_t length, double beta);
    /// @param fraction  share of the window that is tapered; 0 and less is a rectangle, 1 and more a Hann window
    static void _generate_tukey_window(complex_array& window, std::uint32_t length, double fraction);
    /// @param width_factor  reciprocal of the standard deviation in half lengths; a negative one is said on standard output and
    ///                      gives zeros
    static void _generate_gaussian_window(complex_array& window, std::uint32_t length, double width_factor);
    /// Source: A. H. Nuttall, "Some windows with very good sidelobe behavior", IEEE Trans. ASSP 29(1), 1981.
    static void _generate_nuttall_window(complex_array& window, std::uint32_t length);
    /// @param n_bar      count of nearly constant sidelobes next to the main lobe, plus one
    /// @param sidelobe   dB below the main lobe
    /// Source: T. T. Taylor, "Design of line-source antennas for narrow beamwidth and low side lobes", IRE Trans. Antennas
    /// Propag. 3(1), 1955.
    static void _generate_taylor_window(complex_array& window, std::uint32_t length, std::uint32_t n_bar, double sidelobe);
    static void _generate_bartlett_hanning_window(complex_array& window, std::uint32_t length);
    static void _generate_bohman_window(complex_array& window, std::uint32_t length);
    static void _generate_bartlett_window(complex_array& window, std::uint32_t length);
    /// @param attenuation  dB of the sidelobes
    static void _generate_chebyshev_window(complex_array& window, std::uint32_t length, double attenuation);
    static void _generate_blackman_harris_window(complex_array& window, std::uint32_t length);
    static void _generate_flat_top_window(complex_array& window, std::uint32_t length);
    static void _generate_blackman_window(complex_array& window, std::uint32_t length);
    static void _generate_parzen_window(complex_array& window, std::uint32_t length);
    static void _generate_triangle_window(complex_array& window, std::uint32_t length);
    /// Modified Bessel function of the first kind, order 0, to double precision.
    static double _bessel_i0(double x);
    /// Polynomial with rising powers; an empty list is said on standard output and gives 0.
    static double _calc_polynomial(const double_array& coefficients, double x);

    // Least-square method (lib_fir_designer_least_square.cpp)

    /// Least integral of the weighted squared error over the bands.
    /// Source: T. W. Parks, C. S. Burrus, Digital Filter Design, Wiley, 1987, section 3.2.
    static bool _least_square_method(const lib_fir_design_parameter_t& parameters, complex_array& coefficients);
    /// @param order              up to 1,000,000; above that nothing is done
    /// @param[out] basis         0 to order / 2, plus 0.5 for an odd order
    /// @param[out] right_side    as many zeros
    static void _initmatrices(std::uint32_t order, double_array& basis, double_array& right_side);
    /// Gauss-Jordan with row search; a pivot counts from a magnitude of 1e-9 on.
    /// @return false where a column has no pivot; `inverse` is then empty
    static bool _invert_matrix(const double_matrix& matrix, double_matrix& inverse);
    /// @return matrix times vector; @throws std::out_of_range where the sizes do not fit
    static double_array _matrix_multiply(const double_matrix& matrix, const double_array& vector);
    /// Gaussian elimination with row search. @return false for a singular matrix; `solution` is then empty
    static bool _solvelinearsystem(const double_matrix& matrix, const double_array& right_side, double_array& solution);
    /// Taps from the cosine coefficients of half a filter. @param odd  odd count of taps: halves but for the middle one
    static complex_array _construct_h(const double_array& coefficients, bool odd);
    /// sin(pi x) / (pi x)
    static double sinc(double x);

    /// Estimates order, cutoffs and shaping factor of a window design.
    /// @param edges, amplitudes, deviations  as for `firpmord`
    /// @param[out] order    0 where the estimate is not finite or above 1,000,000, else at least 2
    /// @param[out] cutoffs  centres of the transitions
    /// @param[out] beta     shaping factor
    /// @return whether there is an order
    /// Source: J. F. Kaiser, "Nonrecursive digital filter design using the I0-sinh window function", Proc. IEEE ISCAS, 1974.
    static bool _get_kaiser_minimum_order(const double_array& edges, const double_array& amplitudes,
                                          const double_array& deviations, std::uint32_t& order, double_array& cutoffs,
                                          double& beta);
    /// Length and shaping factor for one transition, edges relative to the sample rate.
    static void kaislpord(double f1, double f2, double d1, double d2, double& length, double& beta);
};
} // namespace vrim::fir_filter_lib
