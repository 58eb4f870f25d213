/// @file
/// Texts on a terminal. Widths are in columns: a wide character, such as a Korean one, takes two.
#pragma once

#include <string>
#include <vector>

/// A text with what is not UTF-8 in it replaced.
std::string ValidUtf8(const std::string& text);

/// A text in printable form, on one line.
std::string OneLine(const std::string& text);

/// Breaks a text in printable form between words into lines of at most so many columns, each with
/// an indent in front; a word that is longer than a line is broken where the line ends. Its own
/// line feeds are kept. Every line ends with a line feed.
std::string Wrap(const std::string& text, std::size_t columns, std::size_t indent);

/// Rows of cells in printable form, the columns below each other, without a final line feed.
std::string Table(std::vector<std::vector<std::string>> rows);

/// The columns of the terminal on standard output; 80 where there is none.
std::size_t TerminalWidth();
