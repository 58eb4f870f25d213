#include "JsonText.h"

#include <json/reader.h>
#include <json/writer.h>

#include <memory>

// The builders are made once and never destroyed: a call may come while the process ends.

bool ParseJson(const std::string& text, Json::Value& value) {
    static const auto& builder = *new Json::CharReaderBuilder();
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    return reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
}

std::string CompactJson(const Json::Value& value) {
    static const auto& builder = *[] {
        auto* made = new Json::StreamWriterBuilder();
        (*made)["indentation"] = "";
        return made;
    }();
    return Json::writeString(builder, value);
}
