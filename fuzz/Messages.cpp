// Reading a bus message from serialized bytes: whatever they are, the record that comes of them is
// sent and read again without a difference.
#include <cstring>

#include "Fuzz.h"
#include "TermsDbusUtil.h"

namespace {

struct Record : TermsDbusUtil::OwnedMessage {
    explicit Record(GVariant* value) {
        g_variant_ref_sink(value);
        Require(TermsDbusUtil::MakeParamsToMessage(value, *this));
        g_variant_unref(value);
    }
};

}  // namespace

void FuzzText(const std::string& text) {
    const char* const shapes[] = {"(suss)", "(sussa(y))", "(sussay)", "s", "(sussv)"};
    if (text.empty()) {
        return;
    }
    const char* shape = shapes[static_cast<unsigned char>(text[0]) % std::size(shapes)];
    GBytes* bytes = g_bytes_new(text.data() + 1, text.size() - 1);
    const Record read(g_variant_new_from_bytes(G_VARIANT_TYPE(shape), bytes, FALSE));
    g_bytes_unref(bytes);
    if (read.from == nullptr) {
        return;
    }
    const Record again(TermsDbusUtil::MakeMsgOutputResponseToParams(read));
    Require(std::strcmp(read.from, again.from) == 0);
    Require(read.code == again.code);
    Require(std::strcmp(read.type, again.type) == 0);
    Require(std::strcmp(read.message, again.message) == 0);
    Require(read.buffer_size == again.buffer_size);
    Require(read.buffer_size == 0 || std::memcmp(read.buffer, again.buffer, read.buffer_size) == 0);
}
