/// @file
/// What the simulated service remembers, and where.
#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>

#include "Catalogue.h"

struct TermsState {
    std::string country;
    /// Ids agreed to, by product type, which has some. Ids that the catalogue no longer has are
    /// kept.
    std::map<std::string, std::set<std::string>> agreed;

    bool IsAgreed(const std::string& product, const std::string& id) const;
};

/// The stored state cannot be read or written; says in one sentence what to do.
class StateError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Reads the state that an earlier run left; a fresh one when there is none.
/// @throws StateError when what is stored is not a state: it is left as it is.
TermsState LoadState();

/// Writes the state, and the two keys that clients of the service read: the set's agreements and
/// the titles of the terms menu.
/// @throws StateError
void SaveState(const TermsState& state, const Catalogue& catalogue);
