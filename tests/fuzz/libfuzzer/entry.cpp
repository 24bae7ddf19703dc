// libFuzzer's way into one of the targets: KOVIN_FUZZ_TARGET names it.
#include "fuzz/targets.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kovin::fuzz::KOVIN_FUZZ_TARGET(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
