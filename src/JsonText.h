// JSON text with the JSON library's default settings, as replies and stored values carry it.
#pragma once

#include <json/value.h>

#include <string>

/// Reads JSON text.
/// @return false when the text is not JSON. What the reader throws, for a text that is nested too
///   deeply, passes.
bool ParseJson(const std::string& text, Json::Value& value);

/// Writes a value on one line, its members in the order of their names.
std::string CompactJson(const Json::Value& value);
