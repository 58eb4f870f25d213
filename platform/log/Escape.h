// How a text is shown.
#pragma once

#include <string>
#include <string_view>

/// A text in which nothing forges a line or commands a terminal.
std::string Escaped(std::string_view text);
