// How a line reaches its sink.
#pragma once

#include <string_view>

/// Writes a text to its end, so that no other comes in between. Where nothing may wait, a text that
/// has not begun fails; one that has begun is finished.
/// @return the bytes written, or a negative error number.
int Write(int descriptor, std::string_view text);
