/// @file
/// The terms that the simulated service knows, read from a JSON file.
#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

/// A term's texts in one language, as the service sends them.
struct TermTexts {
    std::string title;
    std::string intro;
    std::string details;  ///< prose, or the text of a JSON array of sections
    std::vector<std::string> buttons;
};

struct Term {
    std::string id;
    std::string version;
    std::string agreeDependency;
    std::set<int> requesters;  ///< who sees it
    bool onlyNotice = false;
    bool revised = false;
    bool ppUsed = false;
    bool reverse = false;
    std::map<std::string, TermTexts> texts;  ///< by language
};

/// What the screens show above the terms.
struct Header {
    std::string title;
    std::string description;
};

struct Catalogue {
    std::string defaultLanguage;
    std::map<std::string, Header> headers;         ///< by language
    std::map<std::string, std::string> countries;  ///< country code to language
    std::vector<Term> terms;                       ///< in the service's order

    /// The language of a country; the default one for a country that is not known.
    const std::string& LanguageOf(const std::string& country) const;

    /// The term with an id, or null.
    const Term* Find(const std::string& id) const;
};

/// Says in one sentence where a catalogue is wrong and what was expected there.
class CatalogueError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Reads a catalogue; an empty path gives the built-in one.
/// @throws CatalogueError
Catalogue ReadCatalogue(const std::string& path);
