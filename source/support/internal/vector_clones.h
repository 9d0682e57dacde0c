#pragma once

/// Compiles a function once for each vector width and picks one when the program starts. Each clone does the same
/// operations in the same order on independent elements, so results do not depend on the machine. Sanitizers do not know
/// the start-up selection, and other compilers lack it: there the plain version serves.
///
/// Loops over complex products take DMA_COMPLEX_CLONES. GCC 12 joins the difference and the sum of their parts into one
/// fused instruction wherever the target has it, -ffp-contract=off or not, and the last bits would follow the processor.
/// AVX-512 brings that instruction along, AVX2 alone does not.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) &&                         \
    !defined(__SANITIZE_THREAD__)
#define DMA_VECTOR_CLONES __attribute__((target_clones("avx512f", "avx2", "default")))
#define DMA_COMPLEX_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define DMA_VECTOR_CLONES
#define DMA_COMPLEX_CLONES
#endif
