#pragma once

// No kernel may fuse a product with its sum, because the rounding in between is part of the result. The kernels include
// this before anything else: it takes the processor's fused instructions away from the whole file, the compiler's
// intrinsics included, even where the command line allows those instructions and their contraction.
#if defined(__clang__)
#pragma STDC FP_CONTRACT OFF
#elif defined(__x86_64__)
#pragma GCC target("no-fma,no-fma4,no-avx512f")
#endif

#if defined(__FAST_MATH__)
#error "The kernels' results are defined to the last bit, which fast mathematics gives up."
#endif
