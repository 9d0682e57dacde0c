#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <cstddef>
#include <cstdint>

namespace vrim::dma_demod_lib
{
/// An IQ signal as two arrays, I and Q, with statistics over them in single precision. The analysis itself works on
/// `complex_array`.
///
/// After every operation both arrays have `get_num()` elements. Only a host that resizes one through its mutable reference
/// can part them; the operations then go as far as the shorter one.
///
/// A stride takes every stride-th sample from index 0. A stride of 0 is logged as an error and takes none: figures are 0,
/// arrays empty.
class DMA_DEMOD_EXPORT demod_container
{
public:
    demod_container();
    demod_container(const demod_container& other);
    demod_container& operator=(const demod_container& other);
    virtual ~demod_container();

    /// Frees both arrays.
    void clear();
    /// New elements are 0.
    void resize(std::uint32_t n);
    void resize(std::uint32_t n, float value);
    /// Drops the first `n` samples, or all when there are fewer.
    void remove_begin(std::uint32_t n);

    std::uint32_t get_num() const;
    const float_array& get_i_data() const;
    float_array& get_i_data();
    const float_array& get_q_data() const;
    float_array& get_q_data();
    const float* i_ptr() const;
    float* i_ptr();
    const float* q_ptr() const;
    float* q_ptr();

    void mulitply(float gain);
    void fill_q_data(float value);
    /// The index is not checked in these three.
    float get_i_value(std::uint32_t i) const;
    float get_q_value(std::uint32_t i) const;
    float get_mag_value(std::uint32_t i) const;

    /// Copies `n` values from either pointer. A null pointer is logged as an error and changes nothing, unless `n` is 0.
    void set_data(const float* i, const float* q, std::uint32_t n);
    /// Copies both; `q` is cut or filled up with zeros to the length of `i`.
    void set_data(const float_array& i, const float_array& q);

    /// Root of the sum of I^2 + Q^2 over the taken samples divided by num / stride, a whole number; a stride above num divides
    /// by nothing. 0 when empty.
    float cal_rms(std::uint32_t stride) const;
    /// Sum of the magnitudes of the taken samples divided by num, not by their count; not-a-number when empty.
    float cal_mean(std::uint32_t stride) const;
    /// The same of the I values.
    float cal_i_mean(std::uint32_t stride) const;

    // Extremes of the taken samples, the first of equal ones. Indices count taken samples. All four are 0 when empty; a null
    // pointer is skipped.

    void find_peak_mag(std::uint32_t* min_index, float* min_value, std::uint32_t* max_index, float* max_value,
                       std::uint32_t stride) const;
    void find_i_peak(std::uint32_t* min_index, float* min_value, std::uint32_t* max_index, float* max_value,
                     std::uint32_t stride) const;

    /// The first num / stride taken samples; a last one that a stride which does not divide num would add is left out.
    void get_sample(std::uint32_t stride, float_array& i_out, float_array& q_out) const;
    void get_sample(std::uint32_t stride, demod_container& dest) const;

private:
    std::size_t _get_size() const;
    template <typename value_of_t>
    float _cal_sum(std::uint32_t stride, value_of_t&& value_of) const;

    std::uint32_t num_ = 0;
    float_array i_data_;
    float_array q_data_;
};
} // namespace vrim::dma_demod_lib
