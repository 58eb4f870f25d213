#include "Text.h"

#include <glib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <sstream>

#include "Output.h"

namespace {

std::size_t Columns(gunichar character) {
    if (g_unichar_iszerowidth(character) != FALSE) {
        return 0;
    }
    return g_unichar_iswide(character) != FALSE ? 2 : 1;
}

/// The columns that a printable text takes.
std::size_t Width(const std::string& text) {
    std::size_t width = 0;
    for (const char* at = text.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
        width += Columns(g_utf8_get_char(at));
    }
    return width;
}

std::string Next(const char* text) {
    return {text, static_cast<std::size_t>(g_utf8_next_char(text) - text)};
}

/// Lines that are filled word by word.
class Paragraph {
  public:
    Paragraph(std::size_t columns, std::size_t indent)
        : m_columns(std::max<std::size_t>(columns, indent + 2) - indent), m_indent(indent, ' ') {}

    void AddWord(const std::string& word) {
        if (m_used > 0 && m_used + 1 + Width(word) > m_columns) {
            EndLine();
        }
        if (m_used > 0) {
            Append(" ", 1);
        }
        for (const char* at = word.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
            const std::size_t wide = Columns(g_utf8_get_char(at));
            if (m_used + wide > m_columns) {
                EndLine();
            }
            Append(Next(at), wide);
        }
    }

    void EndLine() {
        m_lines += (m_used > 0 ? m_indent + m_line : "") + '\n';
        m_line.clear();
        m_used = 0;
    }

    const std::string& Lines() const { return m_lines; }

  private:
    void Append(const std::string& text, std::size_t width) {
        m_line += text;
        m_used += width;
    }

    std::size_t m_columns;
    std::string m_indent;
    std::string m_lines;
    std::string m_line;
    std::size_t m_used = 0;
};

}  // namespace

std::string ValidUtf8(const std::string& text) {
    const std::unique_ptr<char, decltype(&g_free)> valid(
        g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), &g_free);
    return valid.get();
}

std::string OneLine(const std::string& text) {
    std::string line = Printable(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

std::string Wrap(const std::string& text, std::size_t columns, std::size_t indent) {
    Paragraph paragraph(columns, indent);
    std::istringstream lines(Printable(text));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        for (std::string word; words >> word;) {
            paragraph.AddWord(word);
        }
        paragraph.EndLine();
    }
    return paragraph.Lines();
}

std::string Table(std::vector<std::vector<std::string>> rows) {
    std::vector<std::size_t> widths;
    for (auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            row[i] = OneLine(row[i]);
            widths[i] = std::max(widths[i], Width(row[i]));
        }
    }
    std::string table;
    for (const auto& row : rows) {
        table += table.empty() ? "" : "\n";
        for (std::size_t i = 0; i < row.size(); ++i) {
            const bool last = i + 1 == row.size();
            table += row[i] + (last ? "" : std::string(widths[i] - Width(row[i]) + 2, ' '));
        }
    }
    return table;
}

std::size_t TerminalWidth() {
    winsize size{};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}
