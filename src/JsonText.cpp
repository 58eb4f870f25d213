#include "JsonText.h"

#include <json/reader.h>
#include <json/writer.h>

#include <memory>

bool ParseJson(const std::string& text, Json::Value& value) {
    static const Json::CharReaderBuilder builder;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    return reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
}

std::string CompactJson(const Json::Value& value) {
    static const Json::StreamWriterBuilder builder = [] {
        Json::StreamWriterBuilder made;
        made["indentation"] = "";
        return made;
    }();
    return Json::writeString(builder, value);
}
