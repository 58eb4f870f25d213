/// @file
/// What a program shows to people. Nothing of it commands their terminal, wherever it comes from.
#pragma once

#include <string>

/// A text as it is shown: its line feeds as they are, tabs as blanks, and all else that is not
/// printable escaped as in the log.
std::string Printable(const std::string& text);

/// Prints a text in printable form on standard output, at once, with a line feed behind it.
/// @return false when standard output does not take it, or has not before; a sentence says so.
bool Say(const std::string& text);

/// Prints a text in printable form on standard error, with a line feed behind it.
void Complain(const std::string& text);
