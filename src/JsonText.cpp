#include "JsonText.h"

#include <json/reader.h>
#include <json/writer.h>

#include <memory>

// The builders are made for each call: a static one would be gone for whoever calls while the
// process ends.

bool ParseJson(const std::string& text, Json::Value& value) {
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    return reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
}

std::string CompactJson(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}
