#pragma once

/// Compiles a function once for each vector width and picks one when the program starts. Each clone does the same
/// operations in the same order on independent elements, so results do not depend on the machine. Sanitizers do not know
/// the start-up selection, and other compilers lack it: there the plain version serves.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) &&                         \
    !defined(__SANITIZE_THREAD__)
#define DMA_VECTOR_CLONES __attribute__((target_clones("avx512f", "avx2", "default")))
#else
#define DMA_VECTOR_CLONES
#endif
