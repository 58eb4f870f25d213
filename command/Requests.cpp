#include <climits>
#include <iostream>
#include <sstream>

#include "Subcommands.h"
#include "Text.h"

namespace {

/// The members of an object, a line each, the values below each other.
std::string Aligned(const Json::Value& object) {
    std::vector<std::vector<std::string>> rows;
    for (const std::string& name : object.getMemberNames()) {
        const Json::Value& value = object[name];
        rows.push_back({name, value.isString() ? value.asString() : JsonLine(value)});
    }
    return Table(rows);
}

template <auto request>
Answer ShowHeader(CVerantiAPI& client, const Options& /*given*/) {
    Json::Value header;
    (client.*request)(header);
    const bool done = header.isObject() && !header.empty();
    Answer answer = Plain(done, done ? Aligned(header) : "",
                          "The terms service has no header for its screens.");
    answer.json["header"] = header;
    return answer;
}

/// What the service's checks write when a reply came, whatever it says.
struct Found {
    int code = INT_MIN;
    int reason = INT_MIN;
    std::string message;

    Answer ToAnswer(bool done, bool withMessage) const {
        if (code == INT_MIN) {
            return Plain(false, "", "The terms service gave no answer that can be read.");
        }
        Json::Value members;
        members["code"] = code;
        members["reason"] = reason;
        if (withMessage) {
            members["message"] = message;
        }
        Answer answer = Plain(done, Aligned(members),
                              "The terms service reports an error:\n" + Aligned(members));
        members["result"] = done;
        answer.json = members;
        return answer;
    }
};

Answer SayWhetherItIsUp(CVerantiAPI& client, const Options& /*given*/) {
    return Plain(client.IsServiceAvailable(), "The terms service is up.",
                 "The terms service was not ready a moment ago: try again.");
}

Answer RunCheck(CVerantiAPI& client, const Options& /*given*/) {
    Found found;
    const bool done = client.DravikCheck(found.code, found.reason);
    return found.ToAnswer(done, false);
}

Answer ShowLastError(CVerantiAPI& client, const Options& /*given*/) {
    Found found;
    const bool done = client.DravikCheck(found.code, found.reason, found.message);
    return found.ToAnswer(done, true);
}

Answer ResetNimbra(CVerantiAPI& client, const Options& /*given*/) {
    return Plain(client.RequestResetNimbra(), "The reset was accepted.",
                 "The terms service refused the reset.");
}

Answer SetCountry(CVerantiAPI& client, const Options& given) {
    return Plain(client.SetCountryCode(given.country),
                 "The country is set to " + given.country + '.',
                 "The terms service does not take the country \"" + given.country +
                     "\": give a code that it has, such as KR.");
}

Answer FetchCountries(CVerantiAPI& client, const Options& /*given*/) {
    return Plain(client.RequestCountryCodeList(), "The list of countries was fetched.",
                 "The terms service refused to fetch the list of countries.");
}

Answer Fetch(CVerantiAPI& client, const Options& given) {
    return Plain(client.RequestDisclaimersRESTAPI(given.from, given.terms),
                 "The terms were fetched.",
                 "The terms service refused to fetch the terms \"" + given.terms + "\".");
}

Answer FetchIds(CVerantiAPI& client, const Options& given) {
    return Plain(client.RequestDisclaimerID(given.product, given.otherPage),
                 "The ids were fetched.", "The terms service refused to fetch the ids.");
}

Answer Update(CVerantiAPI& client, const Options& given) {
    return Plain(client.RequestUpdateDisclaimers(given.product), "The terms are up to date.",
                 "The terms service could not update its terms: its own output says why.");
}

Answer Count(CVerantiAPI& client, const Options& given) {
    const std::string requester = std::to_string(given.requester);
    const int number = client.GetDisclaimerNum(given.WhoAsks(), given.product);
    // 0 is also what a refusal gives.
    Answer answer =
        Plain(number > 0, std::to_string(number) + " terms for requester " + requester + '.',
              "The terms service counts no terms for requester " + requester +
                  ", or refused to count: try another requester.");
    answer.json["number"] = number;
    return answer;
}

Answer AgreementAnswer(bool done, bool agreed, const std::string& id) {
    return Plain(done, (agreed ? "Agreed to " : "Withdrew the agreement to ") + id + '.',
                 "The terms service does not take an agreement to \"" + id +
                     "\": give the id of a term that can be agreed to.");
}

/// Agrees to a term, or to all, or withdraws that.
template <bool agreed>
Answer SetAgreement(CVerantiAPI& client, const Options& given) {
    constexpr int value = agreed ? 1 : 0;
    if (!given.id.empty()) {
        return AgreementAnswer(client.SetDisclaimerItemAgreement(given.id, value, given.product),
                               agreed, given.id);
    }
    Answer answer = AgreementAnswer(client.SetAllDisclaimerItemAgreement(value, given.product),
                                    agreed, "all terms");
    answer.refusal = "The terms service could not record that: its own output says why.";
    return answer;
}

Answer AgreeRevised(CVerantiAPI& client, const Options& given) {
    const bool done = client.SetRevisedTermAgreement(given.id, !given.withdraw, given.product);
    return AgreementAnswer(done, !given.withdraw, given.id);
}

/// Reads a JSON object from the text, or from standard input when the text is "-".
Json::Value ReadObject(std::string text) {
    if (text == "-") {
        std::ostringstream given;
        given << std::cin.rdbuf();
        text = given.str();
    }
    Json::Value object;
    if (!ReadJson(text, object) || !object.isObject()) {
        throw std::invalid_argument(
            "AGREEMENTS: must be a JSON object such as {\"some_id\":\"true\"}");
    }
    return object;
}

Answer SetAgreements(CVerantiAPI& client, const Options& given) {
    Json::Value agreements = ReadObject(given.agreements);
    return Plain(client.SetDisclaimersAgreement(agreements, true, given.product),
                 "The agreements are recorded.",
                 "The terms service took none of the agreements: give ids that it has, each with "
                 "true or false.");
}

template <auto copy>
Answer Copy(CVerantiAPI& client, const Options& given) {
    return Plain((client.*copy)(given.source, given.destination),
                 "Copying from " + given.source + " to " + given.destination + '.',
                 "The terms service refused to copy: give a source and a destination that it has.");
}

void AddSupply(const Subcommands& add) {
    Options& given = add.given;
    add("country", "Set the country whose terms apply", &SetCountry,
        {{"CODE", &given.country, "Two letters, such as KR", kRequired}});
    add("countries", "Ask the service to fetch its list of countries", &FetchCountries);
    add("fetch", "Ask the service to fetch terms from its server", &Fetch,
        {{"TERMS", &given.terms, "Which terms"}, {"--from", &given.from, "Who asks"}});
    add("fetch-ids", "Ask the service to fetch the ids of the terms", &FetchIds,
        {{"--other-page", &given.otherPage, "Ask as a page other than the set-up wizard"},
         Product(given)});
    add("update", "Ask the service to bring its terms up to date", &Update, {Product(given)});
}

void AddAgreements(const Subcommands& add) {
    Options& given = add.given;
    const auto notEmpty = [](const std::string& id) {
        return id.empty() ? "must not be empty" : "";
    };
    const std::vector<Argument> which = {{"ID", &given.id, "The term's id", kOptional, {notEmpty}},
                                         {"--all", nullptr, "All terms"}};
    add("agree", "Agree to a term, or to all", &SetAgreement<true>, {Product(given)})
        .AddChoice(which);
    add("withdraw", "Withdraw the agreement to a term, or to all", &SetAgreement<false>,
        {Product(given)})
        .AddChoice(which);
    add("agree-revised", "Agree to a revised term", &AgreeRevised,
        {Id(given), {"--withdraw", &given.withdraw, "Withdraw instead"}, Product(given)});
    add("set-agreements", "Record several agreements in one request", &SetAgreements,
        {{"AGREEMENTS", &given.agreements,
          "A JSON object of ids with true or false; - reads it from input", kRequired},
         Product(given)});
}

}  // namespace

void AddRequests(const Subcommands& add) {
    Options& given = add.given;
    add("status", "Say whether the terms service is up", &SayWhetherItIsUp);
    add("check", "Run the service's own check", &RunCheck);
    add("last-error", "Show the service's last error", &ShowLastError);
    add("reset-nimbra", "Reset the content service", &ResetNimbra);
    AddSupply(add);
    add("header", "Show the header of the terms screen",
        &ShowHeader<&CVerantiAPI::GetInformationForDisclaimer>);
    add("web-header", "Show the header of the terms web view",
        &ShowHeader<&CVerantiAPI::GetInformationForDisclaimerWebView>);
    add("count", "Count the terms that a requester sees", &Count,
        {Requester(given), Product(given)});
    AddAgreements(add);
    const std::vector<Argument> places = {{"SRC", &given.source, "Where from", kRequired},
                                          {"DEST", &given.destination, "Where to", kRequired}};
    add("copy-to-usb", "Copy clone data from the set to a USB device",
        &Copy<&CVerantiAPI::CopyCloneDataTVtoUSB>, places);
    add("copy-from-usb", "Copy clone data from a USB device to the set",
        &Copy<&CVerantiAPI::CopyCloneDataUSBtoTV>, places);
}
