#pragma once

/// Marks what libdma_demod exports. Everything else is hidden (-fvisibility=hidden).
#if defined(__GNUC__)
#define DMA_DEMOD_EXPORT __attribute__((visibility("default")))
#else
#define DMA_DEMOD_EXPORT
#endif
