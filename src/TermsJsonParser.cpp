#include "TermsJsonParser.h"

#include <json/reader.h>

#include "Cancellation.h"
#include "Log.h"
#include "Platform.h"

namespace {

/// The title of an element, or the empty text where there is none.
std::string TitleAt(const Json::Value& titles, Json::ArrayIndex index) {
    if (!titles.isArray() || !titles[index].isObject()) {
        return "";
    }
    return titles[index].get("title", "").asString();
}

}  // namespace

std::string CTermsJsonParser::GetMenuTitleFromVconf(std::string key, int index) {
    const Cancellation::CHold hold;
    if (key.empty() || index < 0) {
        VERANTI_LOG_WARNING("parameter  Error : [%s][%d]", key.c_str(), index);
        return "";
    }
    const std::optional<std::string> text = Platform::StoredText(key.c_str());
    if (!text) {
        VERANTI_LOG_WARNING("vconf get str failed");
        return "";
    }
    try {
        Json::Value titles;
        // The older reader with its defaults: they decide which stored titles are JSON.
        if (!Json::Reader().parse(*text, titles) || titles.empty()) {
            VERANTI_LOG_WARNING("Parsing Error : [%s]", text->c_str());
            return "";
        }
        VERANTI_LOG_DEBUG("array size %d", static_cast<int>(titles.size()));
        if (titles.size() <= static_cast<Json::ArrayIndex>(index)) {
            VERANTI_LOG_WARNING("order is over length ");
            return "";
        }
        std::string title = TitleAt(titles, static_cast<Json::ArrayIndex>(index));
        VERANTI_LOG_DEBUG("Title is = %s", title.c_str());
        return title;
    } catch (const Json::Exception& error) {
        VERANTI_LOG_WARNING("Json Error e = %s", error.what());
        return "";
    }
}
