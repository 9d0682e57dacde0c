#include "demod_container.h"

#include "support/log_macro.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vrim::dma_demod_lib
{
namespace
{
bool is_stride(std::uint32_t stride)
{
    if (stride == 0)
        DMA_LOG_ERROR("demod_container: a stride of 0 takes no sample!\n");
    return stride != 0;
}

void remove_front(float_array& data, std::size_t count)
{
    data.erase(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min(count, data.size())));
}

float_array take_samples(const float_array& data, std::size_t stride, std::size_t count)
{
    float_array taken(count);
    for (std::size_t k = 0; k < count; ++k)
        taken[k] = data[k * stride];
    return taken;
}

struct peaks_t
{
    std::uint32_t min_index = 0;
    float min_value = 0.0f;
    std::uint32_t max_index = 0;
    float max_value = 0.0f;
};

/// @param value_of  value of the sample at an index below `size`
template <typename value_of_t>
peaks_t find_peaks(std::size_t size, std::uint32_t stride, value_of_t&& value_of)
{
    peaks_t peaks;
    if (size == 0 || !is_stride(stride))
        return peaks;
    peaks.min_value = peaks.max_value = value_of(0);
    std::uint32_t taken = 1;
    for (std::size_t i = stride; i < size; i += stride, ++taken)
    {
        const float value = value_of(i);
        if (value < peaks.min_value)
        {
            peaks.min_value = value;
            peaks.min_index = taken;
        }
        if (value > peaks.max_value)
        {
            peaks.max_value = value;
            peaks.max_index = taken;
        }
    }
    return peaks;
}

template <typename value_t>
void put(value_t* target, value_t value)
{
    if (target != nullptr)
        *target = value;
}
} // namespace

demod_container::demod_container() = default;
demod_container::demod_container(const demod_container& other) = default;
demod_container& demod_container::operator=(const demod_container& other) = default;
demod_container::~demod_container() = default;

std::size_t demod_container::_get_size() const
{
    return std::min({ static_cast<std::size_t>(num_), i_data_.size(), q_data_.size() });
}

template <typename value_of_t>
float demod_container::_cal_sum(std::uint32_t stride, value_of_t&& value_of) const
{
    float sum = 0.0f;
    const std::size_t size = _get_size();
    for (std::size_t i = 0; i < size; i += stride)
        sum += value_of(i_data_[i], q_data_[i]);
    return sum;
}

void demod_container::clear()
{
    i_data_ = float_array(); // = {} would keep the memory
    q_data_ = float_array();
    num_ = 0;
}

void demod_container::resize(std::uint32_t n)
{
    resize(n, 0.0f);
}

void demod_container::resize(std::uint32_t n, float value)
{
    // Memory for both before either changes: a failure leaves the container as it was.
    i_data_.reserve(n);
    q_data_.reserve(n);
    i_data_.resize(n, value);
    q_data_.resize(n, value);
    num_ = n;
}

void demod_container::remove_begin(std::uint32_t n)
{
    const std::uint32_t count = std::min(n, num_);
    remove_front(i_data_, count);
    remove_front(q_data_, count);
    num_ -= count;
}

std::uint32_t demod_container::get_num() const
{
    return num_;
}

const float_array& demod_container::get_i_data() const
{
    return i_data_;
}

float_array& demod_container::get_i_data()
{
    return i_data_;
}

const float_array& demod_container::get_q_data() const
{
    return q_data_;
}

float_array& demod_container::get_q_data()
{
    return q_data_;
}

const float* demod_container::i_ptr() const
{
    return i_data_.data();
}

float* demod_container::i_ptr()
{
    return i_data_.data();
}

const float* demod_container::q_ptr() const
{
    return q_data_.data();
}

float* demod_container::q_ptr()
{
    return q_data_.data();
}

void demod_container::mulitply(float gain)
{
    for (float& value : i_data_)
        value *= gain;
    for (float& value : q_data_)
        value *= gain;
}

void demod_container::fill_q_data(float value)
{
    std::fill(q_data_.begin(), q_data_.end(), value);
}

float demod_container::get_i_value(std::uint32_t i) const
{
    return i_data_[i];
}

float demod_container::get_q_value(std::uint32_t i) const
{
    return q_data_[i];
}

float demod_container::get_mag_value(std::uint32_t i) const
{
    return std::sqrt(i_data_[i] * i_data_[i] + q_data_[i] * q_data_[i]);
}

void demod_container::set_data(const float* i, const float* q, std::uint32_t n)
{
    if (n == 0)
    {
        i_data_.clear();
        q_data_.clear();
        num_ = 0;
        return;
    }
    if (i == nullptr || q == nullptr)
    {
        DMA_LOG_ERROR("demod_container: a null pointer holds no data!\n");
        return;
    }
    // Copies first: the pointers may lead into this container.
    float_array new_i(i, i + n);
    float_array new_q(q, q + n);
    i_data_ = std::move(new_i);
    q_data_ = std::move(new_q);
    num_ = n;
}

void demod_container::set_data(const float_array& i, const float_array& q)
{
    const std::uint32_t n = static_cast<std::uint32_t>(i.size());
    float_array new_i(i.begin(), i.begin() + static_cast<std::ptrdiff_t>(n));
    float_array new_q = q;
    new_q.resize(n);
    i_data_ = std::move(new_i);
    q_data_ = std::move(new_q);
    num_ = n;
}

float demod_container::cal_rms(std::uint32_t stride) const
{
    if (_get_size() == 0 || !is_stride(stride))
        return 0.0f;
    const float sum = _cal_sum(stride, [](float i, float q) { return i * i + q * q; });
    const std::uint32_t count = num_ / stride;
    return std::sqrt(count == 0 ? sum : sum / static_cast<float>(count));
}

float demod_container::cal_mean(std::uint32_t stride) const
{
    if (!is_stride(stride))
        return 0.0f;
    const float sum = _cal_sum(stride, [](float i, float q) { return std::sqrt(i * i + q * q); });
    return sum / static_cast<float>(num_);
}

float demod_container::cal_i_mean(std::uint32_t stride) const
{
    if (!is_stride(stride))
        return 0.0f;
    return _cal_sum(stride, [](float i, float) { return i; }) / static_cast<float>(num_);
}

void demod_container::find_peak_mag(std::uint32_t* min_index, float* min_value, std::uint32_t* max_index, float* max_value,
                                    std::uint32_t stride) const
{
    const peaks_t peaks =
        find_peaks(_get_size(), stride, [&](std::size_t i) { return i_data_[i] * i_data_[i] + q_data_[i] * q_data_[i]; });
    put(min_index, peaks.min_index);
    put(min_value, std::sqrt(peaks.min_value));
    put(max_index, peaks.max_index);
    put(max_value, std::sqrt(peaks.max_value));
}

void demod_container::find_i_peak(std::uint32_t* min_index, float* min_value, std::uint32_t* max_index, float* max_value,
                                  std::uint32_t stride) const
{
    const peaks_t peaks = find_peaks(_get_size(), stride, [&](std::size_t i) { return i_data_[i]; });
    put(min_index, peaks.min_index);
    put(min_value, peaks.min_value);
    put(max_index, peaks.max_index);
    put(max_value, peaks.max_value);
}

void demod_container::get_sample(std::uint32_t stride, float_array& i_out, float_array& q_out) const
{
    const std::size_t count = is_stride(stride) ? _get_size() / stride : 0;
    float_array taken_i = take_samples(i_data_, stride, count);
    float_array taken_q = take_samples(q_data_, stride, count);
    i_out = std::move(taken_i);
    q_out = std::move(taken_q);
}

void demod_container::get_sample(std::uint32_t stride, demod_container& dest) const
{
    float_array taken_i;
    float_array taken_q;
    get_sample(stride, taken_i, taken_q);
    dest.num_ = static_cast<std::uint32_t>(taken_i.size());
    dest.i_data_ = std::move(taken_i);
    dest.q_data_ = std::move(taken_q);
}
} // namespace vrim::dma_demod_lib
