// The framework against a bus that says anything. The first byte of the input says whether the bus
// greets the framework well first; the rest is what it says then, and the request too. A reply that
// the framework takes is one that GDBus reads of the same bytes, too.
#include "Wire.h"

#include <TCServer.h>
#include <gio/gio.h>
#include <json/reader.h>

#include <algorithm>
#include <optional>

#include "Fuzz.h"
#include "Peer.h"

namespace {

/// Takes a message off the start of a stream, as GDBus reads it: null where it refuses it.
/// @return false at the end.
bool TakeMessage(std::string& stream, GDBusMessage** message) {
    g_clear_object(message);
    std::vector<guchar> bytes(stream.begin(), stream.end());
    const gssize size =
        bytes.size() < 16 ? -1 : g_dbus_message_bytes_needed(bytes.data(), bytes.size(), nullptr);
    if (size < 0 || static_cast<std::size_t>(size) > bytes.size()) {
        return false;
    }
    stream.erase(0, static_cast<std::size_t>(size));
    bytes[3] = 1;  // libsystemd takes version 2, too
    *message = g_dbus_message_new_from_blob(bytes.data(), static_cast<gsize>(size),
                                            G_DBUS_CAPABILITY_FLAGS_NONE, nullptr);
    return true;
}

/// The text at a place of a message's body.
std::optional<std::string> Text(GDBusMessage* message, const char* types, gsize place) {
    GVariant* body = message != nullptr ? g_dbus_message_get_body(message) : nullptr;
    if (body == nullptr || g_variant_is_of_type(body, G_VARIANT_TYPE(types)) == FALSE) {
        return std::nullopt;
    }
    g_autoptr(GVariant) text = g_variant_get_child_value(body, place);
    return g_variant_get_string(text, nullptr);
}

/// Whether a stream has a reply with a body to the call that comes behind the greeting.
bool HasReply(std::string stream, const Json::Value& body) {
    g_autoptr(GDBusMessage) message = nullptr;
    while (TakeMessage(stream, &message)) {
        const std::optional<std::string> text = Text(message, "(s)", 0);
        Json::Value read;
        if (text && g_dbus_message_get_reply_serial(message) == 2 &&
            Corvane::Wire::FromText(*text, read) && read == body) {
            return true;
        }
    }
    return false;
}

/// A value whose text is read again is the same value, or deeper than may be read.
void RoundTrip(const Json::Value& value) {
    const std::string text = Corvane::Wire::ToText(value);
    Json::Value read;
    Require(Corvane::Wire::FromText(text, read)
                ? Corvane::Wire::ToText(read) == text
                : std::count(text.begin(), text.end(), '[') +
                          std::count(text.begin(), text.end(), '{') >=
                      Corvane::Wire::kMostLevels);
}

Json::Value Request(const std::string& text) {
    Json::Value value;
    try {
        static const Json::CharReaderBuilder builder;
        const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
        if (reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) {
            return value;
        }
    } catch (const Json::Exception&) {  // too deep for the reader
    }
    return text;
}

}  // namespace

void FuzzText(const std::string& text) {
    const bool greeted = !text.empty() && text[0] % 2 != 0;
    const std::string stream = text.empty() ? text : text.substr(1);
    Corvane::TCMessage request;
    Corvane::TCMessage reply;
    request.m_JsonBody = Request(stream);
    reply.m_JsonBody = "untouched";
    RoundTrip(request.m_JsonBody);
    Peer::Say({(greeted ? Peer::Greeting() : "") + stream});
    bool answered = false;
    {
        Corvane::TCServer server("fuzz", Corvane::TCServer::TC_SERVER_CLIENT);
        server.CreateDBusProxy();
        answered = server.SendMessage("com.example.Name", &request, true, &reply, -1);
    }
    std::string written = Peer::TakeWritten().at(0);
    if (!answered) {
        Require(reply.m_JsonBody == "untouched");
        return;
    }
    Require(HasReply(stream, reply.m_JsonBody));
    written.erase(0, written.find("BEGIN\r\n") + 7);
    g_autoptr(GDBusMessage) sent = nullptr;
    Require(TakeMessage(written, &sent));  // the greeting
    Require(TakeMessage(written, &sent));
    Require(Text(sent, "(ss)", 1) == Corvane::Wire::ToText(request.m_JsonBody));
}
