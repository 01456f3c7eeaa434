#pragma once

// Which instructions a kernel may be compiled to. None may fuse a product with its sum, because the rounding in between
// is part of the result; these attributes hold even where the command line allows the processor's fused instructions
// and their contraction. Every processor of the architecture has SSE2; callers ask for AVX2 first.
#if defined(__x86_64__)
#define BRINDLEMUX_PLAIN_KERNEL [[gnu::target("no-fma,no-fma4,no-avx512f")]]
#define BRINDLEMUX_SSE2_KERNEL [[gnu::target("sse2,no-fma,no-fma4,no-avx512f")]]
#define BRINDLEMUX_AVX2_KERNEL [[gnu::target("avx2,no-fma,no-fma4,no-avx512f")]]
#else
#define BRINDLEMUX_PLAIN_KERNEL
#endif

#if defined(__FAST_MATH__)
#error "The kernels' results are defined to the last bit, which fast mathematics gives up."
#endif
