// Messages of the bus server toolkit as tuples, and back.
#include <gtest/gtest.h>

#include <memory>

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
struct Received : TermsDbusUtil::OwnedMessage {
    Received() { buffer = m_untouched; }
    ~Received() { buffer = buffer == m_untouched ? nullptr : buffer; }

    std::string Show() const {
        if (from == nullptr) {
            return "unchanged";
        }
        std::string text = std::string(from) + ' ' + std::to_string(code) + ' ' + type + ' ' +
                           message + ' ' + (buffer == m_untouched ? "untouched" : "");
        for (std::uint32_t i = 0; i < buffer_size; ++i) {
            text += '/' + std::to_string(buffer[i]);
        }
        return text;
    }

  private:
    std::uint8_t m_untouched[1] = {};
};

const std::string kDecodes = "bus TermsDbusUtil.cpp MakeParamsToMessage: ";

TEST(EncodingTest, TuplesBecomeRecords) {
    // A tuple, its type in the log, and the record, its payload byte by byte.
    const std::tuple<const char*, std::string, const char*> cases[] = {
        {"('f', uint32 7, 't', 'm')", "(suss)", "f 7 t m untouched"},
        {"('', uint32 0, '', '')", "(suss)", " 0   untouched"},
        {"('f', uint32 4294967295, 't', '약관', [(byte 1,), (0,), (255,)])", "(sussa(y))",
         "f 4294967295 t 약관 /1/0/255"},
        {"('f', uint32 7, 't', 'm', [(byte 1,)])", "(sussa(y))", "f 7 t m /1"},
        {"('f', uint32 7, 't', 'm', [(byte 0,)])", "(sussa(y))", "f 7 t m untouched"},
        {"('f', uint32 7, 't', 'm', [(byte 0,), (0,)])", "(sussa(y))", "f 7 t m /0/0"},
        {"('f', uint32 7, 't', 'm', @a(y) [])", "(sussa(y))", "f 7 t m untouched"},
        {"('f', uint32 7, 't', 'm', [byte 1, 2])", "(sussay)", "unchanged"},
        {"('f', 7, 't', 'm')", "(siss)", "unchanged"},
        {"('f', uint32 7, 't')", "(sus)", "unchanged"},
        {"'text'", "s", "unchanged"},
    };
    for (const auto& [text, type, shown] : cases) {
        SCOPED_TRACE(text);
        const Value tuple = Keep(g_variant_new_parsed(text));
        Received record;
        ThePlatform().Reset();
        EXPECT_TRUE(TermsDbusUtil::MakeParamsToMessage(tuple.get(), record));
        EXPECT_EQ(record.Show(), shown);
        EXPECT_EQ(ThePlatform().TakeJournal(),
                  Journal({kDecodes + type,
                           type == "(sussa(y))" ? kDecodes + "get data of " + type : ""}));
    }
    Received record;
    ThePlatform().Reset();
    EXPECT_FALSE(TermsDbusUtil::MakeParamsToMessage(nullptr, record));
    EXPECT_EQ(ThePlatform().TakeJournal(),
              "bus-error TermsDbusUtil.cpp MakeParamsToMessage: Error: parameters is NULL");
    EXPECT_TRUE(TermsDbusUtil::MakeParamsToMsgInput("SendMessage", nullptr, record));
}

TEST(EncodingTest, RecordsBecomeTuples) {
    const struct {
        const char* from;
        std::uint32_t code;
        const char* type;
        const char* message;
        const char* buffer;
        std::uint32_t size;
        const char* fields;   // the front of every tuple
        const char* payload;  // of those that have one
    } cases[] = {
        {"f", 7, "t", "m", "", 0, "('f', uint32 7, 't', 'm'", "[(byte 0x00,)]"},
        {"f", 7, "t", "m", "x", 0, "('f', uint32 7, 't', 'm'", "[(byte 0x00,)]"},
        {"f", 7, "t", "m", nullptr, 5, "('f', uint32 7, 't', 'm'", "[(byte 0x00,)]"},
        {nullptr, 0, nullptr, nullptr, nullptr, 0, "('', uint32 0, '', ''", "[(byte 0x00,)]"},
        {"약", 4294967295, "\xff", "a\xff", "", 0,
         "('약', uint32 4294967295, '\xef\xbf\xbd', 'a\xef\xbf\xbd'", "[(byte 0x00,)]"},
        {"f", 7, "t", "m", "x", 1, "('f', uint32 7, 't', 'm'", "[(byte 0x78,)]"},
        {"f", 7, "t", "m", "", 1, "('f', uint32 7, 't', 'm'", "[(byte 0x00,)]"},
        {"f", 7, "t", "m", "xy", 2, "('f', uint32 7, 't', 'm'", "[(byte 0x78,), (0x79,)]"},
    };
    for (const auto& each : cases) {
        const bool bytes = each.size > 0 && each.buffer != nullptr;
        const auto* buffer = reinterpret_cast<const std::uint8_t*>(each.buffer);
        TermsDbusMessage record;
        InitiateTermsDbusMessage(&record, const_cast<char*>(each.from), each.code,
                                 const_cast<char*>(each.type), const_cast<char*>(each.message),
                                 const_cast<std::uint8_t*>(buffer), each.size);
        std::string method;
        const Value arguments = Keep(TermsDbusUtil::MakeMsgInputToParams(method, record));
        const Value signal = Keep(TermsDbusUtil::MakeSignalDataToParams(record));
        const Value answer = Keep(TermsDbusUtil::MakeMsgOutputResponseToParams(record));
        const std::string fields = each.fields;
        const std::string all = fields + ", " + each.payload + ')';
        EXPECT_EQ(method, bytes ? "SendMessageWithBuffer" : "SendMessage");
        EXPECT_EQ(Print(arguments.get()), bytes ? all : fields + ')');
        EXPECT_EQ(Print(signal.get()), bytes ? all : fields + ')');
        EXPECT_EQ(Print(answer.get()), all);  // always has a payload
        if (bytes) {                          // they are sent from where they are
            const Value payload(g_variant_get_child_value(answer.get(), 4), &g_variant_unref);
            EXPECT_EQ(g_variant_get_data(payload.get()), buffer);
        }
    }
    EXPECT_EQ(Print(Keep(TermsDbusUtil::MakeFailResponseToParams()).get()),
              R"(('', uint32 0, '', '{"dbus_result":"fail","errmsg":"error handling"}', )"
              R"([(byte 0x00,)]))");
}

TEST(EncodingTest, NamesBecomePaths) {
    const std::map<std::string, std::string> paths = {
        {"", "/"}, {"x", "/x"}, {"a.b.c", "/a/b/c"}, {"a.", "/a/"}, {"a..b-c", "/a//b-c"}};
    for (const auto& [name, path] : paths) {
        EXPECT_EQ(TermsDbusUtil::GetObjectPath(name), path);
    }
}

}  // namespace
