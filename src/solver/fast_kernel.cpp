#include "solver/fast_kernel.h"

namespace kovin {

#if defined(__x86_64__)
namespace {

bool has_v3_instructions()
{
#if defined(__clang__)
    return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0 &&
           __builtin_cpu_supports("bmi") != 0 && __builtin_cpu_supports("bmi2") != 0;
#else
    return __builtin_cpu_supports("x86-64-v3") != 0;
#endif
}

}  // namespace
#endif

const FastKernel& fast_kernel()
{
#if defined(__x86_64__)
    // The processor is asked first: what is compiled for wider instructions must not be entered before.
    static const FastKernel* const wide = has_v3_instructions() ? fast_kernel_v3() : nullptr;
    if (wide != nullptr) return *wide;
#endif
    return fast_kernel_baseline();
}

}  // namespace kovin
