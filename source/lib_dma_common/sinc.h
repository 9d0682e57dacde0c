#pragma once

#include "dma_export.h"

namespace vrim::dma_demod_lib
{
/// Normalised sinc, sin(pi x) / (pi x), computed in double; 1 within 1e-12 of 0.
DMA_DEMOD_EXPORT float sinc(float x);
} // namespace vrim::dma_demod_lib
