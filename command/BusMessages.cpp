#include "BusMessages.h"

#include <glib.h>

#include <fstream>
#include <sstream>

#include "Output.h"
#include "Text.h"

namespace {

/// A text of a received record, which has none when the sender's bytes were of another type.
const char* OrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

std::string ReadFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        throw std::runtime_error("Cannot read \"" + path + "\": give a file that you may read.");
    }
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    return bytes.str();
}

}  // namespace

OutgoingMessage::OutgoingMessage(const Options& given)
    : TermsDbusMessage(),
      m_type(given.type),
      m_text(given.text),
      m_bytes(given.file.empty() ? "" : ReadFile(given.file)) {
    InitiateTermsDbusMessage(this, m_from.data(), given.code, m_type.data(), m_text.data(),
                             reinterpret_cast<std::uint8_t*>(m_bytes.data()),
                             static_cast<std::uint32_t>(m_bytes.size()));
}

Json::Value ToJson(const TermsDbusMessage& message) {
    Json::Value json;
    json["from"] = OrEmpty(message.from);
    json["code"] = message.code;
    json["type"] = OrEmpty(message.type);
    json["message"] = OrEmpty(message.message);
    json["buffer"] = Json::nullValue;
    if (message.buffer != nullptr) {
        g_autofree char* base64 = g_base64_encode(message.buffer, message.buffer_size);
        json["buffer"] = base64;
    }
    return json;
}

std::string ToText(const TermsDbusMessage& message) {
    std::string text = OneLine(OrEmpty(message.from)) + " (" + OneLine(OrEmpty(message.type)) +
                       ", code " + std::to_string(message.code);
    if (message.buffer != nullptr) {
        text += ", " + std::to_string(message.buffer_size) + " bytes";
    }
    return text + "): " + OneLine(OrEmpty(message.message));
}

void Print(const Options& given, const Json::Value& json, const std::string& text) {
    Say(given.json ? JsonLine(json) : text);
}

void PrintEvent(const Options& given, const std::string& event, const std::string& text) {
    Json::Value json;
    json["event"] = event;
    Print(given, json, text);
}
