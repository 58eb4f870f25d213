// Messages of the bus server toolkit as tuples, and back.
#include <gtest/gtest.h>

#include <memory>

#include "Cases.h"
#include "Doubles.h"
#include "TermsDbusUtil.h"

namespace {

using Value = std::unique_ptr<GVariant, decltype(&g_variant_unref)>;

Value Keep(GVariant* value) {
    return {g_variant_ref_sink(value), &g_variant_unref};
}

std::string Print(GVariant* value) {
    const std::unique_ptr<char, decltype(&g_free)> text(g_variant_print(value, TRUE), &g_free);
    return text.get();
}

/// A record that is received into; its payload fields show whether they were written.
struct Received : TermsDbusMessage {
    Received() : TermsDbusMessage() { buffer = m_untouched; }
    ~Received() {
        buffer = buffer == m_untouched ? nullptr : buffer;
        ReleaseTermsDbusMessage(this);
    }
    Received(const Received&) = delete;
    Received& operator=(const Received&) = delete;

    std::string Show() const {
        if (from == nullptr) {
            return "unchanged";
        }
        std::string text = std::string(from) + ' ' + std::to_string(code) + ' ' + type + ' ' +
                           message + ' ' + (buffer == m_untouched ? "untouched" : "");
        for (std::uint32_t i = 0; i < buffer_size; ++i) {
            const char* digits = "0123456789abcdef";
            text += {digits[buffer[i] / 16], digits[buffer[i] % 16]};
        }
        return text;
    }

  private:
    std::uint8_t m_untouched[1] = {};
};

TEST(EncodingTest, TuplesBecomeRecords) {
    for (const Json::Value& each : ReadCases("decodings")) {
        SCOPED_TRACE(each[0].asString());
        const Value tuple = Keep(g_variant_new_parsed(each[0].asCString()));
        Received record;
        ThePlatform().Reset();
        EXPECT_TRUE(TermsDbusUtil::MakeParamsToMessage(tuple.get(), record));
        EXPECT_EQ(record.Show(), each[1].asString());
        EXPECT_EQ(ThePlatform().journal, ToTexts(each[2]));
    }
    Received record;
    EXPECT_FALSE(TermsDbusUtil::MakeParamsToMessage(nullptr, record));
    EXPECT_EQ(ThePlatform().journal.back(),
              "log bus-error TermsDbusUtil.cpp MakeParamsToMessage: "
              "Error: parameters is NULL");
}

TEST(EncodingTest, RecordsBecomeTuples) {
    for (const Json::Value& each : ReadCases("encodings")) {
        const Json::Value& fields = each[0];
        const auto text = [&](int field) { return const_cast<char*>(TextOrNull(fields[field])); };
        TermsDbusMessage record;
        InitiateTermsDbusMessage(&record, text(0), fields[1].asUInt(), text(2), text(3),
                                 reinterpret_cast<std::uint8_t*>(text(4)), fields[5].asUInt());
        std::string method;
        const Value arguments = Keep(TermsDbusUtil::MakeMsgInputToParams(method, record));
        const Value signal = Keep(TermsDbusUtil::MakeSignalDataToParams(record));
        const Value reply = Keep(TermsDbusUtil::MakeMsgOutputResponseToParams(record));
        EXPECT_EQ(method, each[1].asString());
        EXPECT_EQ(Print(arguments.get()), each[2].asString());
        EXPECT_EQ(Print(signal.get()), each[2].asString());
        EXPECT_STREQ(g_variant_get_type_string(reply.get()), "(sussa(y))");
        const Value payload(g_variant_get_child_value(reply.get(), 4), &g_variant_unref);
        EXPECT_EQ(Print(payload.get()), each[3].asString());
        if (method == "SendMessageWithBuffer") {  // the bytes are sent from where they are
            EXPECT_EQ(g_variant_get_data(payload.get()), record.buffer);
        }
    }
    TermsDbusMessage invalid{};
    char notUtf8[] = "a\xff";
    invalid.from = invalid.type = invalid.message = notUtf8;
    EXPECT_EQ(Print(Keep(TermsDbusUtil::MakeSignalDataToParams(invalid)).get()),
              "('a\xef\xbf\xbd', uint32 0, 'a\xef\xbf\xbd', 'a\xef\xbf\xbd')");
    EXPECT_EQ(Print(Keep(TermsDbusUtil::MakeFailResponseToParams()).get()),
              R"(('', uint32 0, '', '{"dbus_result":"fail","errmsg":"error handling"}', )"
              R"([(byte 0x00,)]))");
}

TEST(EncodingTest, OnlyTheTwoMethodsAreTaken) {
    const Value tuple = Keep(g_variant_new_parsed("('f', uint32 7, 't', 'm')"));
    for (const char* method :
         {"SendMessage", "SendMessageWithBuffer", "SendMessageX", "sendmessage", ""}) {
        const bool known =
            std::string(method) == "SendMessage" || std::string(method) == "SendMessageWithBuffer";
        Received record;
        ThePlatform().Reset();
        EXPECT_EQ(TermsDbusUtil::MakeParamsToMsgInput(method, tuple.get(), record), known);
        EXPECT_EQ(record.Show(), known ? "f 7 t m untouched" : "unchanged");
        const std::string look = known ? "bus" : "bus-error";
        EXPECT_EQ(ThePlatform().journal.front(),
                  "log " + look + " TermsDbusUtil.cpp MakeParamsToMsgInput: " +
                      (known ? "methodName: " : "error method name : ") + method);
    }
    Received record;
    EXPECT_TRUE(TermsDbusUtil::MakeParamsToMsgInput("SendMessage", nullptr, record));
}

TEST(EncodingTest, NamesBecomePaths) {
    const std::map<std::string, std::string> paths = {
        {"", "/"}, {"x", "/x"}, {"a.b.c", "/a/b/c"}, {"a.", "/a/"}, {"a..b-c", "/a//b-c"}};
    for (const auto& [name, path] : paths) {
        EXPECT_EQ(TermsDbusUtil::GetObjectPath(name), path);
    }
}

}  // namespace
