#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

/// Copies between dense and spread arrays. Values travel as whole words: the compiler moves a complex value part by part.
namespace vrim::common_lib
{
template <typename value_t>
void copy_word(const value_t* from, value_t* to)
{
    using word_t = std::conditional_t<sizeof(value_t) == sizeof(std::uint64_t), std::uint64_t, std::uint32_t>;
    static_assert(sizeof(value_t) == sizeof(word_t) && std::is_trivially_copyable_v<value_t>);
    word_t word;
    std::memcpy(&word, from, sizeof word);
    std::memcpy(static_cast<void*>(to), &word, sizeof word);
}

/// out[i] = in[i * stride]; `out` may be `in` itself.
template <typename value_t>
void pick_strided(const value_t* in, std::size_t stride, std::size_t count, value_t* out)
{
    for (std::size_t i = 0; i < count; ++i)
        copy_word(in + i * stride, out + i);
}

/// out[i * stride] = in[i]
template <typename value_t>
void spread_strided(const value_t* in, std::size_t count, std::size_t stride, value_t* out)
{
    for (std::size_t i = 0; i < count; ++i)
        copy_word(in + i, out + i * stride);
}
} // namespace vrim::common_lib
