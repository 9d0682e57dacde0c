# Numbers must come out the same on every machine: no contraction of a product and a sum into one operation,
# no reordering. The last two options only drop errno and floating-point traps, which nothing here reads; they
# change no result and let the compiler use vector square roots and blends.
function(dma_numeric_options target)
  target_compile_options(${target} PRIVATE -ffp-contract=off -fno-math-errno -fno-trapping-math)
endfunction()

function(dma_warning_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wconversion -Wdouble-promotion -Wfloat-conversion)
  if(DMA_DEMOD_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# Everything that the project compiles takes these.
function(dma_target_options target)
  dma_numeric_options(${target})
  dma_warning_options(${target})
  # Log lines and failed tests name files relative to the project, not to the machine.
  target_compile_options(${target} PRIVATE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
endfunction()
