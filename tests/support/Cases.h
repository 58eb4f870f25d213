// Tables of cases that are kept as data: tests/cases/NAME.json, an array.
#pragma once

#include <json/reader.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

inline Json::Value ReadCases(const std::string& name) {
    std::ifstream file(std::string(CASES_PATH) + '/' + name + ".json");
    Json::Value cases;
    std::string errors;
    if (!Json::parseFromStream(Json::CharReaderBuilder(), file, &cases, &errors) ||
        !cases.isArray() || cases.empty()) {
        throw std::runtime_error(name + ": " + errors);
    }
    return cases;
}

/// The texts of an array.
inline std::vector<std::string> ToTexts(const Json::Value& array) {
    std::vector<std::string> texts;
    for (const Json::Value& text : array) {
        texts.push_back(text.asString());
    }
    return texts;
}

/// A text, or null for null.
inline const char* TextOrNull(const Json::Value& text) {
    return text.isNull() ? nullptr : text.asCString();
}
