// How long a test waits for what must come: only a hang takes as long.
#pragma once

#include <chrono>

constexpr std::chrono::seconds kHang{30};
