// Tables of cases that are kept as data: tests/cases/NAME.json, an array.
#pragma once

#include <json/reader.h>

#include <fstream>
#include <stdexcept>
#include <string>

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
