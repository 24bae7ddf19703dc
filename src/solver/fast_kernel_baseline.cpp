#define KOVIN_KERNEL_BUILD kernel_baseline
#include "solver/fast_kernel_body.h"

namespace kovin {

const FastKernel& fast_kernel_baseline()
{
    static constexpr FastKernel kernel = kernel_baseline::loops("x86-64");
    return kernel;
}

}  // namespace kovin
