// What the library asks the terms service for, as texts, for peers that ask by hand.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "VerantiAPI.h"
#include "peers/Peers.h"

using Requests = std::vector<std::string>;

/// Counting the terms: the availability request, then the number.
Requests CountRequests();

/// Listing them: the count, then an availability request and one for its record for each.
Requests ListRequests(int terms);

/// A simulator's catalogue with so many terms.
std::string Catalogue(int terms);

/// Asks through a peer and parses the answers as the library does.
void Ask(const Peer& peer, const Requests& requests);

void CountThroughTheLibrary(int terms);

using Records = std::vector<std::unique_ptr<const STHomeDisclaimerContentItem>>;
Records ListThroughTheLibrary(int terms);
