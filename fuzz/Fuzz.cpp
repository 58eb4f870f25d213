#include "Fuzz.h"

#include <cstdint>
#include <cstdlib>

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    StartAnew();
    FuzzText(std::string(data, data + size));
    return 0;
}
