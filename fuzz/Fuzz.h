// What the fuzz targets share. Each defines FuzzText.
#pragma once

#include <string>

/// One run over one input, with the platform's doubles as new.
void FuzzText(const std::string& text);

/// Ends the run when something does not hold.
void Require(bool holds);
