#include "Catalogue.h"

#include <json/reader.h>
#include <json/writer.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

#include "BuiltInCatalogue.h"

namespace {

constexpr int kRequesters = 5;
constexpr std::size_t kMostButtons = 10;

/// The text of a catalogue with its name, to say where in it something is wrong.
struct Source {
    std::string name;
    std::string text;

    [[noreturn]] void Fail(std::ptrdiff_t offset, const std::string& problem) const {
        const auto line = 1 + std::count(text.begin(), text.begin() + offset, '\n');
        throw CatalogueError(name + ':' + std::to_string(line) + ": " + problem + '.');
    }
};

/// A JSON value of the catalogue that is read by what it is expected to be.
class Node {
  public:
    Node(const Source& source, const Json::Value& value, std::string name)
        : m_source(source), m_value(value), m_name(std::move(name)) {}

    bool Has(const std::string& member) const { return Object().m_value.isMember(member); }

    Node operator[](const std::string& member) const {
        if (!Has(member)) {
            Fail("needs the member \"" + member + '"');
        }
        return {m_source, m_value[member], '"' + member + '"'};
    }

    std::vector<Node> Elements() const {
        Expect(m_value.isArray(), "an array");
        std::vector<Node> elements;
        for (const Json::Value& element : m_value) {
            elements.emplace_back(m_source, element, "an element of " + m_name);
        }
        return elements;
    }

    /// The members of an object, each with its name.
    std::vector<std::pair<std::string, Node>> Members() const {
        std::vector<std::pair<std::string, Node>> members;
        for (const std::string& name : Object().m_value.getMemberNames()) {
            members.emplace_back(name, (*this)[name]);
        }
        if (members.empty()) {
            Fail("must not be empty");
        }
        return members;
    }

    std::string Text() const {
        Expect(m_value.isString(), "a text");
        return m_value.asString();
    }

    int Number(int least, int most) const {
        const bool fits = m_value.isInt() && m_value.asInt() >= least && m_value.asInt() <= most;
        Expect(fits, "a number from " + std::to_string(least) + " to " + std::to_string(most));
        return m_value.asInt();
    }

    bool Flag(const std::string& member) const {
        if (!Has(member)) {
            return false;
        }
        const Node flag = (*this)[member];
        flag.Expect(flag.m_value.isBool(), "true or false");
        return flag.m_value.asBool();
    }

    std::string TextOr(const std::string& member, const std::string& missing) const {
        return Has(member) ? (*this)[member].Text() : missing;
    }

    void Expect(bool condition, const std::string& expected) const {
        if (!condition) {
            Fail("must be " + expected);
        }
    }

    [[noreturn]] void Fail(const std::string& problem) const {
        m_source.Fail(m_value.getOffsetStart(), m_name + ' ' + problem);
    }

  private:
    const Node& Object() const {
        Expect(m_value.isObject(), "an object");
        return *this;
    }

    const Source& m_source;
    const Json::Value& m_value;
    std::string m_name;
};

Source Load(const std::string& path) {
    if (path.empty()) {
        return {"the built-in catalogue", kBuiltInCatalogue};
    }
    std::ifstream file(path);
    file.peek();  // a folder can be opened, but not read
    if (!file.is_open() || file.bad()) {
        throw CatalogueError("Cannot read the catalogue \"" + path + "\": " + std::strerror(errno) +
                             ". Give the path of a JSON file.");
    }
    std::ostringstream text;
    text << file.rdbuf();
    return {path, text.str()};
}

Json::Value Parse(const Source& source) {
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    builder["rejectDupKeys"] = true;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    const char* begin = source.text.data();
    Json::Value root;
    std::string errors;
    try {
        if (reader->parse(begin, begin + source.text.size(), &root, &errors)) {
            return root;
        }
    } catch (const Json::Exception& error) {
        errors = error.what();
    }
    // The reader reports as "* Line 3, Column 7\n  Problem.\n", once for each error.
    std::istringstream report(errors);
    std::string word;
    std::string problem;
    int line = 0;
    int column = 0;
    report >> word >> word >> line >> word >> word >> column >> std::ws;
    std::getline(report, problem);
    if (!report) {
        throw CatalogueError(source.name + ": " + errors);
    }
    throw CatalogueError(source.name + ':' + std::to_string(line) + ':' + std::to_string(column) +
                         ": " + problem + " A catalogue is a JSON object.");
}

/// The details in the form in which they travel: sections as the text of a JSON array.
std::string ReadDetails(const Node& texts) {
    if (!texts.Has("sections")) {
        return texts.TextOr("details", "");
    }
    Json::Value sections(Json::arrayValue);
    for (const Node& section : texts["sections"].Elements()) {
        Json::Value each;
        each["title"] = section["title"].Text();
        each["data"] = section["data"].Text();
        sections.append(each);
    }
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    writer["emitUTF8"] = true;
    return Json::writeString(writer, sections);
}

TermTexts ReadTexts(const Node& node) {
    TermTexts texts{node["title"].Text(), node.TextOr("intro", ""), ReadDetails(node), {}};
    if (node.Has("buttons")) {
        for (const Node& button : node["buttons"].Elements()) {
            texts.buttons.push_back(button.Text());
        }
        node["buttons"].Expect(texts.buttons.size() <= kMostButtons,
                               "at most " + std::to_string(kMostButtons) + " texts");
    }
    return texts;
}

std::set<int> ReadRequesters(const Node& term) {
    std::set<int> requesters;
    if (!term.Has("requesters")) {
        for (int requester = 0; requester < kRequesters; ++requester) {
            requesters.insert(requester);
        }
        return requesters;
    }
    for (const Node& requester : term["requesters"].Elements()) {
        requesters.insert(requester.Number(0, kRequesters - 1));
    }
    return requesters;
}

Term ReadTerm(const Node& node, const Catalogue& catalogue) {
    Term term;
    term.id = node["id"].Text();
    node["id"].Expect(!term.id.empty(), "a text that is not empty");
    node["id"].Expect(catalogue.Find(term.id) == nullptr, "unique: another term has it too");
    term.version = node.TextOr("version", "1.0");
    term.agreeDependency = node.TextOr("agree_dependency", "");
    term.requesters = ReadRequesters(node);
    term.onlyNotice = node.Flag("only_notice");
    term.revised = node.Flag("revised");
    term.ppUsed = node.Flag("ppused");
    term.reverse = node.Flag("reverse");
    for (const auto& [language, header] : catalogue.headers) {
        term.texts[language] = ReadTexts(node["texts"][language]);
    }
    return term;
}

}  // namespace

const std::string& Catalogue::LanguageOf(const std::string& country) const {
    const auto found = countries.find(country);
    return found != countries.end() ? found->second : defaultLanguage;
}

const Term* Catalogue::Find(const std::string& id) const {
    const auto found =
        std::find_if(terms.begin(), terms.end(), [&id](const Term& term) { return term.id == id; });
    return found != terms.end() ? &*found : nullptr;
}

Catalogue ReadCatalogue(const std::string& path) {
    const Source source = Load(path);
    const Json::Value json = Parse(source);
    const Node root(source, json, "the catalogue");

    Catalogue catalogue;
    for (const auto& [language, header] : root["languages"].Members()) {
        catalogue.headers[language] = {header["title"].Text(), header["description"].Text()};
    }
    const Node defaultLanguage = root["default_language"];
    catalogue.defaultLanguage = defaultLanguage.Text();
    defaultLanguage.Expect(catalogue.headers.count(catalogue.defaultLanguage) == 1,
                           "one of \"languages\"");
    for (const auto& [country, language] : root["countries"].Members()) {
        language.Expect(catalogue.headers.count(language.Text()) == 1, "one of \"languages\"");
        catalogue.countries[country] = language.Text();
    }
    for (const Node& term : root["terms"].Elements()) {
        catalogue.terms.push_back(ReadTerm(term, catalogue));
    }
    return catalogue;
}
