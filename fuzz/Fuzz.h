// What the fuzz targets share. Each defines FuzzText, and is linked with a platform.
#pragma once

#include <string>

/// One run over one input.
void FuzzText(const std::string& text);

/// Makes the platform as new: the fast tests' doubles, or the host's with a bus of our own
/// (Peer.h).
void StartAnew();

/// Ends the run when something does not hold.
void Require(bool holds);
