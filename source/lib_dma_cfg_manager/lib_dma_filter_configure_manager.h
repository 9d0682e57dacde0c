#pragma once

#include "dma_export.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"

#include <cstdint>

namespace vrim::dma_demod_lib
{
/// The measurement and reference filters of a segment. Setters clamp silently and return true unless said otherwise.
class DMA_DEMOD_EXPORT lib_dma_filter_configure_manager_t
{
public:
    /// Restores the defaults.
    void init();
    bool operator==(const lib_dma_filter_configure_manager_t&) const = default;

    bool set_meas_filter_type(lib_dma_meas_filter_type_t value);
    bool set_ref_filter_type(lib_dma_ref_filter_type_t value);
    /// Roll-off factor, or BT of a Gaussian measurement filter; 0.05 to 1.
    bool set_filter_alpha(float value);
    /// 0.05 to 100.
    bool set_filter_beta(float value);
    /// Span in symbols, 2 to 512.
    /// @return false, after a report, when the value had to be clamped
    bool set_filter_length(std::uint32_t value);
    bool set_user_define_filter_type(lib_dma_user_define_filter_type_t value);
    bool set_user_define_filter_coef(float value);

    lib_dma_meas_filter_type_t get_meas_filter_type() const;
    lib_dma_ref_filter_type_t get_ref_filter_type() const;
    float get_filter_alpha() const;
    float get_filter_beta() const;
    std::uint32_t get_filter_length() const;
    lib_dma_user_define_filter_type_t get_user_define_filter_type() const;
    float get_user_define_filter_coef() const;

private:
    lib_dma_meas_filter_type_t meas_filter_type_ = LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER;
    lib_dma_ref_filter_type_t ref_filter_type_ = LIB_DMA_REF_RAISED_COSINE_FILTER;
    float filter_alpha_ = 0.5f;
    float filter_beta_ = 0.6f;
    std::uint32_t filter_length_ = 16;
    lib_dma_user_define_filter_type_t user_define_filter_type_ = LIB_DMA_USER_DEFINE_MEAS_FILTER;
    float user_define_filter_coef_ = 0.5f;
};
} // namespace vrim::dma_demod_lib
