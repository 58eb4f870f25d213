// The titles of the terms menu, as the terms service keeps them in the configuration store.
#pragma once

#include <string>

class CTermsJsonParser {
  public:
    /// Reads the "title" of an element of the array stored under a key.
    /// @param key the key of the configuration store.
    /// @param index the element's position, from 0.
    /// @return the title, numbers and booleans as their text; empty on any failure, which is
    ///   logged. Json exceptions are caught.
    static std::string GetMenuTitleFromVconf(std::string key, int index);
};
