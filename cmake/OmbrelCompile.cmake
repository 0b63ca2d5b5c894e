# Flags every target shares: warnings are errors, the x86-64-v2 baseline on PCs (faster
# instruction sets are chosen at run time by the kernels), sanitizers by option.
add_library(ombrel_compile INTERFACE)
target_compile_options(ombrel_compile INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                                -Wimplicit-fallthrough -Werror)
# No contraction: the reference math and the kernels must round alike on every target.
target_compile_options(ombrel_compile INTERFACE -ffp-contract=off)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  target_compile_options(ombrel_compile INTERFACE -march=x86-64-v2)
endif()
if(OMBREL_SANITIZE)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Instrumented code hides from GCC that a variant's other case is not destroyed.
    target_compile_options(ombrel_compile INTERFACE -Wno-maybe-uninitialized)
  endif()
  target_compile_options(ombrel_compile INTERFACE -fsanitize=${OMBREL_SANITIZE} -fno-omit-frame-pointer
                                                  -fno-sanitize-recover=all)
  target_link_options(ombrel_compile INTERFACE -fsanitize=${OMBREL_SANITIZE})
endif()
