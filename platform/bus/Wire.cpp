#include "Wire.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>

// The builders are made for each call: a static one would be gone for whoever calls while the
// process ends.

namespace Corvane::Wire {

std::string ObjectPath(std::string_view busName) {
    std::string path = "/" + std::string(busName);
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}

std::string ToText(const Json::Value& value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

bool FromText(std::string_view text, Json::Value& value) {
    Json::CharReaderBuilder builder;
    builder["allowComments"] = false;
    builder["allowTrailingCommas"] = false;
    builder["failIfExtra"] = true;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    try {
        Json::Value read;
        if (!reader->parse(text.data(), text.data() + text.size(), &read, nullptr)) {
            return false;
        }
        value.swap(read);
        return true;
    } catch (const Json::Exception&) {  // nested deeper than the reader goes
        return false;
    }
}

}  // namespace Corvane::Wire
