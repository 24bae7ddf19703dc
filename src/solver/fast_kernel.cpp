#include "solver/fast_kernel.h"

namespace kovin {

const FastKernel& fast_kernel()
{
#if defined(__x86_64__)
    static const bool wide = fast_kernel_v3() != nullptr && __builtin_cpu_supports("avx2") != 0 &&
                             __builtin_cpu_supports("fma") != 0 && __builtin_cpu_supports("bmi2") != 0;
    if (wide) return *fast_kernel_v3();
#endif
    return fast_kernel_baseline();
}

}  // namespace kovin
