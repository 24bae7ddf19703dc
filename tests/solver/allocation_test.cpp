// A solve takes no memory: everything that the outer iteration works on is there before it.
//
// Counts what the program's allocation function hands out. It stands in for the standard one in the whole test
// program, and does the same beside counting.
#include "solver/devices.h"
#include "solver/small_signal.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> allocations{0};

}  // namespace

// Each form is replaced together with its partner: a block must go back the way it came, also under a sanitizer.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size > 0 ? size : 1);
}
void* operator new(std::size_t size)
{
    if (void* block = operator new(size, std::nothrow)) return block;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }

namespace kovin::testing {
namespace {

// Under each scheme, the last two with the coupled loop from the third pass, and on the fast route (0).
TEST(Allocation, NoneInASolveAfterTheFirst)
{
    for (const int scheme : {0, 11, 12, 13, 14}) {
        Device device(thin_film_cell(), 300.0, [&](ConvergenceParameters& c) {
            if (scheme == 0) c.route = Route::fast;
            c.coupling_scheme = scheme;
            c.gummel_to_coupled_iteration = 3;
        });
        device.illuminate_exponentially(30.0, 3e-7);
        ASSERT_TRUE(device.solve_equilibrium());
        ASSERT_TRUE(device.solve());
        const Problem problem = device.problem();
        const std::vector<double> x = device.cv.mesh.x;
        const long before = allocations.load();
        ASSERT_TRUE(volgende_iv_punt(problem, device.memory.work, device.cv, 0.0, 0.3, 16));
        EXPECT_EQ(allocations.load() - before, 0) << scheme;
        EXPECT_EQ(device.cv.mesh.x, x) << "a mesh that changes takes memory, which tells nothing about the solve";
        EXPECT_GT(before, 0) << "nothing is counted";
        SmallSignalWork small_signal;
        SmallSignal answer;
        ASSERT_TRUE(calculate_small_signal_ac(problem, device.cv, 1e6, small_signal, answer));
        const long before_next = allocations.load();
        ASSERT_TRUE(calculate_small_signal_ac(problem, device.cv, 1e7, small_signal, answer));
        EXPECT_EQ(allocations.load() - before_next, 0) << scheme;
    }
}

}  // namespace
}  // namespace kovin::testing
