#include "Escape.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

struct Character {
    char32_t code;
    std::size_t bytes;  // 0 where there is no UTF-8; the code is that of one byte
};

Character FirstCharacter(std::string_view text) {
    constexpr std::array<char32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(text.front());
    const Character none{first, 0};
    const std::size_t bytes = first < 0xc0 ? 1 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    const bool neverFirst = (first & 0xc0U) == 0x80 || first >= 0xf8;
    if (neverFirst || bytes > text.size()) {
        return none;
    }
    char32_t code = bytes == 1 ? first : first & (0x7fU >> bytes);
    for (const char next : text.substr(1, bytes - 1)) {
        if ((next & 0xc0) != 0x80) {
            return none;
        }
        code = code << 6U | (static_cast<unsigned char>(next) & 0x3fU);
    }
    const bool surrogate = code >= 0xd800 && code <= 0xdfff;
    return code < kLeast.at(bytes) || surrogate || code > 0x10ffff ? none : Character{code, bytes};
}

/// Whether a character moves the cursor, turns the direction of what follows, or is a command.
bool IsControl(char32_t code) {
    const auto between = [code](char32_t first, char32_t last) {
        return code >= first && code <= last;
    };
    return code < 0x20 || between(0x7f, 0x9f) || code == 0x61c || between(0x200e, 0x200f) ||
           between(0x2028, 0x202e) || between(0x2066, 0x2069);
}

std::string Escape(Character character) {
    switch (character.code) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default: {
            std::array<char, 16> escape{};
            const bool byte = character.bytes < 2;
            std::snprintf(escape.data(), escape.size(), byte ? "\\x%02x" : "\\u%04x",
                          static_cast<unsigned>(character.code));
            return escape.data();
        }
    }
}

}  // namespace

std::string Escaped(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    while (!text.empty()) {
        const auto* const end =
            std::find_if(text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; });
        escaped.append(text.begin(), end);
        text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
        if (text.empty()) {
            break;
        }
        const Character character = FirstCharacter(text);
        if (character.bytes == 0 || IsControl(character.code)) {
            escaped += Escape(character);
        } else {
            escaped.append(text, 0, character.bytes);
        }
        text.remove_prefix(std::max<std::size_t>(character.bytes, 1));
    }
    return escaped;
}
