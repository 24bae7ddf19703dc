// The kernel with 256-bit vectors and fused multiply-add; compiled with options of its own, see CMakeLists.txt.
#if defined(KOVIN_KERNEL_V3)
#define KOVIN_KERNEL_BUILD kernel_v3
#include "solver/fast_kernel_body.h"
#else
#include "solver/fast_kernel.h"
#endif

namespace kovin {

const FastKernel* fast_kernel_v3()
{
#if defined(KOVIN_KERNEL_V3)
    static constexpr FastKernel kernel = kernel_v3::loops("x86-64-v3");
    return &kernel;
#else
    return nullptr;
#endif
}

}  // namespace kovin
