#include "TermsDbusUtil.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "Log.h"

namespace {

constexpr char kPlain[] = "(suss)";
constexpr char kWithPayload[] = "(sussa(y))";

/// A record's text as GVariant takes one: not null, and UTF-8.
class CSentText {
  public:
    explicit CSentText(const char* text)
        : m_pText(text != nullptr ? text : ""),
          m_pMended(g_utf8_validate(m_pText, -1, nullptr) == FALSE ? g_utf8_make_valid(m_pText, -1)
                                                                   : nullptr,
                    &g_free) {}
    const char* Get() const { return m_pMended ? m_pMended.get() : m_pText; }

  private:
    const char* m_pText;
    std::unique_ptr<char, decltype(&g_free)> m_pMended;
};

char* CopyText(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(new char[size], text, size));
}

bool HasPayload(const TermsDbusMessage& msg) {
    return msg.buffer_size != 0 && msg.buffer != nullptr;
}

GVariant* WrapBytes(const void* bytes, std::size_t size) {
    return g_variant_new_from_data(G_VARIANT_TYPE("a(y)"), bytes, size, TRUE, nullptr, nullptr);
}

GVariant* WrapPayload(const TermsDbusMessage& msg) {
    return WrapBytes(msg.buffer, msg.buffer_size);
}

/// What stands for no payload in a tuple that must have one.
GVariant* Placeholder() {
    return WrapBytes("", 1);
}

GVariant* MakeTuple(const TermsDbusMessage& msg) {
    return g_variant_new(kPlain, CSentText(msg.from).Get(), msg.code, CSentText(msg.type).Get(),
                         CSentText(msg.message).Get());
}

GVariant* MakeTuple(const TermsDbusMessage& msg, GVariant* payload) {
    return g_variant_new("(suss@a*)", CSentText(msg.from).Get(), msg.code,
                         CSentText(msg.type).Get(), CSentText(msg.message).Get(), payload);
}

/// Copies a payload into a record, unless it stands for none.
void ReadPayload(GVariant* payload, TermsDbusMessage& msg) {
    const std::size_t size = g_variant_get_size(payload);
    const auto* bytes = static_cast<const std::uint8_t*>(g_variant_get_data(payload));
    if (size > 1 || (size == 1 && *bytes != 0)) {
        msg.buffer_size = static_cast<std::uint32_t>(size);
        msg.buffer = static_cast<std::uint8_t*>(std::memcpy(new std::uint8_t[size], bytes, size));
    }
}

}  // namespace

bool TermsDbusUtil::MakeParamsToMessage(GVariant* params, TermsDbusMessage& msg) {
    if (params == nullptr) {
        VERANTI_LOG_BUS_ERROR("Error: parameters is NULL");
        return false;
    }
    const char* shape = g_variant_get_type_string(params);
    VERANTI_LOG_BUS("%s", shape);
    const char* from = nullptr;
    const char* type = nullptr;
    const char* message = nullptr;
    g_autoptr(GVariant) payload = nullptr;
    if (std::strcmp(shape, kPlain) == 0) {
        g_variant_get(params, "(&su&s&s)", &from, &msg.code, &type, &message);
    } else if (std::strcmp(shape, kWithPayload) == 0) {
        g_variant_get(params, "(&su&s&s@a*)", &from, &msg.code, &type, &message, &payload);
        VERANTI_LOG_BUS("get data of %s", shape);
    } else {
        return true;
    }
    msg.from = CopyText(from);
    msg.type = CopyText(type);
    msg.message = CopyText(message);
    if (payload != nullptr) {
        ReadPayload(payload, msg);
    }
    return true;
}

bool TermsDbusUtil::MakeParamsToMsgInput(std::string methodName, GVariant* params,
                                         TermsDbusMessage& msg) {
    if (methodName == "SendMessage") {
        VERANTI_LOG_BUS("methodName: SendMessage");
    } else if (methodName == "SendMessageWithBuffer") {
        VERANTI_LOG_BUS("methodName: SendMessageWithBuffer");
    } else {
        VERANTI_LOG_BUS_ERROR("error method name : %s", methodName.c_str());
        return false;
    }
    MakeParamsToMessage(params, msg);
    return true;
}

GVariant* TermsDbusUtil::MakeMsgInputToParams(std::string& methodName,
                                              const TermsDbusMessage& msg) {
    methodName = HasPayload(msg) ? "SendMessageWithBuffer" : "SendMessage";
    return MakeSignalDataToParams(msg);
}

GVariant* TermsDbusUtil::MakeMsgOutputResponseToParams(const TermsDbusMessage& msg) {
    return MakeTuple(msg, HasPayload(msg) ? WrapPayload(msg) : Placeholder());
}

GVariant* TermsDbusUtil::MakeFailResponseToParams() {
    constexpr char kMessage[] = R"({"dbus_result":"fail","errmsg":"error handling"})";
    return g_variant_new("(suss@a*)", "", 0U, "", kMessage, Placeholder());
}

GVariant* TermsDbusUtil::MakeSignalDataToParams(const TermsDbusMessage& msg) {
    return HasPayload(msg) ? MakeTuple(msg, WrapPayload(msg)) : MakeTuple(msg);
}

std::string TermsDbusUtil::GetObjectPath(std::string name) {
    std::string path = '.' + name;
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}
