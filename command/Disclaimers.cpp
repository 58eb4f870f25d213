#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "Subcommands.h"
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

std::string State(const Item& item) {
    if (item.bOnlyNotice) {
        return "notice";
    }
    return item.bIsAgreed ? "agreed" : "not agreed";
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
        return Wrap(Printable(text), columns, indent);
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
        page += ", depends on " + Printable(item.strAgreeDependency);
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
    if (!items.list.empty()) {
        answer.text = Table(rows);
    }
    return answer;
}

Row ListRow(const Item& item) {
    return {OneLine(item.strItemId), std::to_string(item.nOrder), OneLine(item.strTitle),
            State(item)};
}

/// The list of revised disclaimers carries neither their order nor whether they are notices.
Row RevisedRow(const Item& item) {
    return {OneLine(item.strItemId), OneLine(item.strTitle),
            item.bIsAgreed ? "agreed" : "not agreed"};
}

void AddLists(Registrar& requests) {
    const auto requester = Argument<int>(0);
    const auto product = Argument<std::string>("TV");
    CLI::App* list =
        requests.Add("list", "List the terms that a requester sees", [=](CVerantiAPI& client) {
            const auto who = static_cast<EHomeDisclaimerRequester>(*requester);
            Items items;
            client.GetDisclaimerDetails(items.list, who, *product);
            // No terms is also what a refusal gives.
            Answer answer = ListAnswer(
                !items.list.empty(), items, {"ID", "ORDER", "TITLE", "STATE"}, ListRow,
                "The terms service lists no terms for requester " + std::to_string(*requester) +
                    ", or refused to: try another requester.");
            const auto listed = static_cast<int>(items.list.size());
            const int counted = answer.done ? client.GetDisclaimerNum(who, "TV") : 0;
            if (listed < counted) {
                answer.warning = "The terms service gave " + std::to_string(listed) + " of " +
                                 std::to_string(counted) + " terms: try again for the others.";
            }
            return answer;
        });
    AddRequester(list, requester);
    AddProduct(list, product);

    const auto terms = Argument<std::string>("all");
    const auto revisedProduct = Argument<std::string>("TV");
    CLI::App* revised =
        requests.Add("revised", "List the terms that were revised", [=](CVerantiAPI& client) {
            Items items;
            const bool done = client.GetRevisedDisclaimers(items.list, *revisedProduct, *terms);
            Answer answer = ListAnswer(done, items, {"ID", "TITLE", "STATE"}, RevisedRow,
                                       "The terms service refused to list revised terms.");
            if (done && items.list.empty()) {
                answer.text = "No terms were revised.";
            }
            return answer;
        });
    revised->add_option("--terms", *terms, "Which terms: all, or ids with commas")
        ->capture_default_str();
    AddProduct(revised, revisedProduct);
}

void AddShow(Registrar& requests) {
    const auto id = Argument<std::string>();
    const auto index = Argument<int>(-1);
    const auto requester = Argument<int>(0);
    const auto product = Argument<std::string>("TV");
    CLI::App* show = requests.Add("show", "Show a term with its texts", [=](CVerantiAPI& client) {
        Item item;
        const auto who = static_cast<EHomeDisclaimerRequester>(*requester);
        const bool byIndex = *index >= 0;
        const int result = byIndex ? client.GetDisclaimerDetail(item, *index, who, *product)
                                   : client.GetDisclaimerDetail(*id, item, *product);
        Answer answer =
            Plain(result == 0, ToPage(item),
                  byIndex ? "There is no term at the index " + std::to_string(*index) +
                                ": `veranti list` shows how many there are."
                          : "There is no term \"" + *id + "\": `veranti list` shows the ids.");
        if (answer.done) {
            answer.json = ToJson(item);
        }
        return answer;
    });
    CLI::Option_group* which = show->add_option_group("which");
    which->add_option("ID", *id, "The term's id");
    which->add_option("--index", *index, "Its position in the requester's list, from 0")
        ->check(CLI::NonNegativeNumber);
    which->require_option(1);
    AddRequester(show, requester);
    AddProduct(show, product);
}

/// `exists` and `agreed`: questions whose answer is the exit status as well.
void AddQuestions(Registrar& requests) {
    const auto id = Argument<std::string>();
    const auto product = Argument<std::string>("TV");
    CLI::App* exists =
        requests.Add("exists", "Say whether a term exists", [=](CVerantiAPI& client) {
            Answer answer =
                Plain(client.IsDisclaimerItemExist(*id, *product), *id + " exists.",
                      "There is no term \"" + *id + "\": `veranti list` shows the ids.");
            answer.needsService = *product != "TV";
            return answer;
        });
    AddRequired(exists, "ID", "The term's id", id);
    AddProduct(exists, product);

    const auto agreedId = Argument<std::string>();
    const auto agreedProduct = Argument<std::string>("TV");
    CLI::App* agreed =
        requests.Add("agreed", "Say whether the user agreed to a term", [=](CVerantiAPI& client) {
            int isAgreed = 0;
            client.GetDisclaimerItemAgreement(*agreedId, &isAgreed, *agreedProduct);
            Answer answer =
                Plain(isAgreed != 0, *agreedId + " is agreed to.",
                      *agreedId + " is not agreed to: `veranti agree " + *agreedId + "` agrees.");
            answer.needsService = false;  // what is stored decides
            return answer;
        });
    AddRequired(agreed, "ID", "The term's id", agreedId);
    AddProduct(agreed, agreedProduct);
}

void AddMenu(Registrar& requests) {
    const auto index = Argument<int>(0);
    CLI::App* title = requests.Add(
        "title", "Show the title of an entry of the terms menu", [index](CVerantiAPI& client) {
            std::string text;
            const int result = client.GetDisclaimerTitle(text, *index);
            Answer answer = Plain(result == 0, OneLine(text),
                                  "The menu has no title at the index " + std::to_string(*index) +
                                      ": give one from 0 on, below the number of its entries.");
            answer.json["title"] = text;
            answer.needsService = false;
            return answer;
        });
    title->add_option("N", *index, "The entry's position, from 0")->required();

    requests.Add("language", "Show the language of the terms' screens", [](CVerantiAPI& client) {
        std::string language;
        const int result = client.GetDisclaimerOsdLanguage(language);
        Answer answer = Plain(result == 0, language, "");
        answer.json["language"] = language;
        return answer;
    });
}

}  // namespace

void AddDisclaimers(Registrar& requests) {
    AddLists(requests);
    AddShow(requests);
    AddQuestions(requests);
    AddMenu(requests);
}
