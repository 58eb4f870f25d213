#include "Wire.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>

namespace Corvane::Wire {

// The builders are made once and never destroyed: a call may come while the process ends.

std::string ObjectPath(std::string_view busName) {
    std::string path = "/" + std::string(busName);
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}

std::string ToText(const Json::Value& value) {
    static const auto& builder = *[] {
        auto* made = new Json::StreamWriterBuilder();
        (*made)["indentation"] = "";
        (*made)["commentStyle"] = "None";  // a value keeps those that it was read with
        return made;
    }();
    return Json::writeString(builder, value);
}

bool FromText(std::string_view text, Json::Value& value) {
    static const auto& builder = *[] {
        auto* made = new Json::CharReaderBuilder();
        (*made)["allowComments"] = false;
        (*made)["allowTrailingCommas"] = false;
        (*made)["failIfExtra"] = true;
        (*made)["stackLimit"] = kMostLevels;
        return made;
    }();
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
