#include <vconf.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>

#include "Subcommands.h"
#include "TermsProtocol.h"
#include "Text.h"

namespace {

using Item = STHomeDisclaimerContentItem;

/// Owns the records of a list that the client hands out, also when it does not get to the end.
struct Items {
    Items() = default;
    Items(const Items&) = delete;
    Items& operator=(const Items&) = delete;
    ~Items() {
        for (const Item* item : list) {
            delete item;
        }
    }
    std::vector<Item*> list;
};

/// The labels of an item's buttons, up to the last that has one.
std::vector<std::string> Buttons(const Item& item) {
    std::vector<std::string> labels = {
        item.strButton1, item.strButton2, item.strButton3, item.strButton4, item.strButton5,
        item.strButton6, item.strButton7, item.strButton8, item.strButton9, item.strButton10};
    while (!labels.empty() && labels.back().empty()) {
        labels.pop_back();
    }
    return labels;
}

std::string Agreement(const Item& item) {
    return item.bIsAgreed ? "agreed" : "not agreed";
}

std::string State(const Item& item) {
    return item.bOnlyNotice ? "notice" : Agreement(item);
}

Json::Value ToJson(const Item& item) {
    Json::Value json;
    json["id"] = item.strItemId;
    json["order"] = item.nOrder;
    json["version"] = item.strVersion;
    json["title"] = item.strTitle;
    json["intro"] = item.strIntro;
    json["details"] = item.strDetails;
    json["buttons"] = Json::arrayValue;
    for (const std::string& label : Buttons(item)) {
        json["buttons"].append(label);
    }
    json["is_agreed"] = item.bIsAgreed;
    json["only_notice"] = item.bOnlyNotice;
    json["agree_dependency"] = item.strAgreeDependency;
    json["ppused"] = item.bPPUsed;
    json["reverse"] = item.bReverse;
    json["sections"] = Json::arrayValue;
    for (std::size_t i = 0; i + 1 < item.vecDetailData.size(); i += 2) {
        Json::Value section;
        section["title"] = item.vecDetailData[i];
        section["data"] = item.vecDetailData[i + 1];
        json["sections"].append(section);
    }
    return json;
}

/// A disclaimer as a person reads it.
std::string ToPage(const Item& item) {
    constexpr std::size_t kIndent = 2;
    const std::size_t columns = TerminalWidth();
    const auto wrap = [columns](const std::string& text, std::size_t indent) {
        return Wrap(text, columns, indent);
    };
    std::string page = wrap(item.strTitle, 0);
    page += wrap("(" + item.strItemId + ", version " + item.strVersion + ")", 0);
    if (!item.strIntro.empty()) {
        page += '\n' + wrap(item.strIntro, 0);
    }
    for (std::size_t i = 0; i + 1 < item.vecDetailData.size(); i += 2) {
        page += '\n' + wrap(item.vecDetailData[i], 0) + wrap(item.vecDetailData[i + 1], kIndent);
    }
    Json::Value sections;
    const bool isProse = !ReadJson(item.strDetails, sections) || !sections.isArray();
    if (isProse && !item.strDetails.empty()) {
        page += '\n' + wrap(item.strDetails, kIndent);
    }
    std::string buttons;
    for (const std::string& label : Buttons(item)) {
        buttons += '[' + label + "] ";
    }
    page += '\n' + wrap(buttons, 0);
    page += "State: " + State(item);
    if (!item.strAgreeDependency.empty()) {
        page += ", depends on " + OneLine(item.strAgreeDependency);
    }
    return page;
}

using Row = std::vector<std::string>;

/// A table of disclaimers, a row each, with an array of them for scripts.
Answer ListAnswer(bool done, const Items& items, const Row& heading, Row (*row)(const Item&),
                  const std::string& refusal) {
    Answer answer = Plain(done, "", refusal);
    answer.json = Json::arrayValue;
    std::vector<Row> rows = {heading};
    for (const Item* item : items.list) {
        answer.json.append(ToJson(*item));
        rows.push_back(row(*item));
    }
    answer.text = Table(rows);
    return answer;
}

Row ListRow(const Item& item) {
    return {item.strItemId, std::to_string(item.nOrder), item.strTitle, State(item)};
}

/// The list of revised disclaimers carries neither their order nor whether they are notices.
Row RevisedRow(const Item& item) {
    return {item.strItemId, item.strTitle, Agreement(item)};
}

Answer List(CVerantiAPI& client, const Options& given) {
    Items items;
    client.GetDisclaimerDetails(items.list, given.WhoAsks(), given.product);
    // No terms is also what a refusal gives.
    Answer answer =
        ListAnswer(!items.list.empty(), items, {"ID", "ORDER", "TITLE", "STATE"}, ListRow,
                   "The terms service lists no terms for requester " +
                       std::to_string(given.requester) + ", or refused to: try another requester.");
    const auto listed = static_cast<int>(items.list.size());
    // The list is as long as the set's own, whatever the product.
    const int counted = answer.done ? client.GetDisclaimerNum(given.WhoAsks(), kTelevision) : 0;
    if (listed < counted) {
        answer.warning = "The terms service gave " + std::to_string(listed) + " of " +
                         std::to_string(counted) + " terms: try again for the others.";
    }
    return answer;
}

Answer ListRevised(CVerantiAPI& client, const Options& given) {
    Items items;
    const bool done = client.GetRevisedDisclaimers(items.list, given.product, given.terms);
    Answer answer = ListAnswer(done, items, {"ID", "TITLE", "STATE"}, RevisedRow,
                               "The terms service refused to list revised terms.");
    if (items.list.empty()) {
        answer.text = "No terms were revised.";
    }
    return answer;
}

std::string NoTerm(const std::string& id) {
    return "There is no term \"" + id + "\": `veranti list` shows the ids.";
}

Answer Show(CVerantiAPI& client, const Options& given) {
    Item item;
    const int result =
        given.index ? client.GetDisclaimerDetail(item, *given.index, given.WhoAsks(), given.product)
                    : client.GetDisclaimerDetail(given.id, item, given.product);
    Answer answer =
        Plain(result == 0, ToPage(item),
              given.index ? "There is no term at the index " + std::to_string(*given.index) +
                                ": `veranti list` shows how many there are."
                          : NoTerm(given.id));
    if (answer.done) {
        answer.json = ToJson(item);
    }
    return answer;
}

/// An answer that a key of the store decides, and so says which store.
Answer Stored(bool done, const char* key, const std::string& text, const std::string& what,
              const std::string& advice) {
    using Text = std::unique_ptr<char, decltype(&std::free)>;
    const Text root(vconf_host_root(), &std::free);
    if (!root) {
        throw std::system_error(errno, std::generic_category(), "There is no store");
    }
    const std::string store = root.get();
    const bool isReadable = Text(vconf_get_str(key), &std::free) != nullptr || errno == ENOENT;
    Answer answer =
        Local(done, text,
              isReadable ? "No " + what + " is stored in " + store + ": " + advice
                         : "The store " + store + " cannot be read: " + std::strerror(errno) +
                               ". Set VERANTI_STORE to one that can.");
    answer.json["store"] = root.get();
    return answer;
}

Answer SayWhetherItExists(CVerantiAPI& client, const Options& given) {
    const bool done = client.IsDisclaimerItemExist(given.id, given.product);
    const std::string text = given.id + " exists.";
    return given.product == kTelevision
               ? Stored(done, kAgreementsKey, text, "term \"" + given.id + '"',
                        "`veranti list` shows the ids.")
               : Plain(done, text, NoTerm(given.id));
}

Answer SayWhetherItIsAgreed(CVerantiAPI& client, const Options& given) {
    int isAgreed = 0;
    client.GetDisclaimerItemAgreement(given.id, &isAgreed, given.product);
    return Stored(isAgreed != 0, kAgreementsKey, given.id + " is agreed to.",
                  "agreement to " + given.id, "`veranti agree " + given.id + "` agrees.");
}

Answer ShowTitle(CVerantiAPI& client, const Options& given) {
    const int index = given.index.value_or(0);  // an empty text is a number, too
    std::string title;
    const int result = client.GetDisclaimerTitle(title, index);
    Answer answer = Stored(result == 0, kTitlesKey, OneLine(title),
                           "title at the index " + std::to_string(index),
                           "give one from 0 on, below the number of the menu's entries.");
    answer.json["title"] = title;
    return answer;
}

Answer ShowLanguage(CVerantiAPI& client, const Options& /*given*/) {
    std::string language;
    const int result = client.GetDisclaimerOsdLanguage(language);
    Answer answer = Plain(result == 0, OneLine(language), "");
    answer.json["language"] = language;
    return answer;
}

}  // namespace

void AddDisclaimers(const Subcommands& add) {
    Options& given = add.given;
    add("list", "List the terms that a requester sees", &List, {Requester(given), Product(given)});
    add("revised", "List the terms that were revised", &ListRevised,
        {{"--terms", &given.terms, "Which terms: all, or ids with commas"}, Product(given)});
    add("show", "Show a term with its texts", &Show, {Requester(given), Product(given)})
        .AddChoice({{"ID", &given.id, "The term's id"},
                    {"--index", &given.index, "Its position in the requester's list, from 0",
                     kOptional, NotNegative()}});
    add("exists", "Say whether a term exists", &SayWhetherItExists, {Id(given), Product(given)});
    add("agreed", "Say whether the user agreed to a term", &SayWhetherItIsAgreed,
        {Id(given), Product(given)});
    add("title", "Show the title of an entry of the terms menu", &ShowTitle,
        {{"N", &given.index, "The entry's position, from 0", kRequired}});
    add("language", "Show the language of the terms' screens", &ShowLanguage);
}
