// How a text is shown.
#pragma once

#include <string>
#include <string_view>

/// A text in which nothing forges a line or commands a terminal: control characters are escaped, as
/// dlog.h lists them, and so are bytes that are no UTF-8.
std::string Escaped(std::string_view text);
