#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
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
        rows.push_back({name, Printable(value.isString() ? value.asString() : JsonLine(value))});
    }
    return Table(rows);
}

Answer HeaderAnswer(const Json::Value& header) {
    const bool done = header.isObject() && !header.empty();
    Answer answer = Plain(done, "", "The terms service has no header for its screens.");
    answer.json["header"] = header;
    answer.text = done ? Aligned(header) : "";
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

void AddServiceRequests(Registrar& requests) {
    requests.Add("status", "Say whether the terms service is up", [](CVerantiAPI& client) {
        return Plain(client.IsServiceAvailable(), "The terms service is up.",
                     "The terms service was not ready a moment ago: try again.");
    });
    requests.Add("check", "Run the service's own check", [](CVerantiAPI& client) {
        Found found;
        const bool done = client.DravikCheck(found.code, found.reason);
        return found.ToAnswer(done, false);
    });
    requests.Add("last-error", "Show the service's last error", [](CVerantiAPI& client) {
        Found found;
        const bool done = client.DravikCheck(found.code, found.reason, found.message);
        return found.ToAnswer(done, true);
    });
    requests.Add("reset-nimbra", "Reset the content service", [](CVerantiAPI& client) {
        return Plain(client.RequestResetNimbra(), "The reset was accepted.",
                     "The terms service refused the reset.");
    });
}

void AddSupplyRequests(Registrar& requests) {
    const auto code = Argument<std::string>();
    AddRequired(requests.Add("country", "Set the country whose terms apply",
                             [code](CVerantiAPI& client) {
                                 return Plain(client.SetCountryCode(*code),
                                              "The country is set to " + *code + '.',
                                              "The terms service does not take the country \"" +
                                                  *code +
                                                  "\": give a code that it has, such as KR.");
                             }),
                "CODE", "Two letters, such as KR", code);

    requests.Add(
        "countries", "Ask the service to fetch its list of countries", [](CVerantiAPI& client) {
            return Plain(client.RequestCountryCodeList(), "The list of countries was fetched.",
                         "The terms service refused to fetch the list of countries.");
        });

    const auto from = Argument<std::string>("veranti");
    const auto terms = Argument<std::string>("all");
    CLI::App* fetch = requests.Add(
        "fetch", "Ask the service to fetch terms from its server",
        [from, terms](CVerantiAPI& client) {
            return Plain(client.RequestDisclaimersRESTAPI(*from, *terms), "The terms were fetched.",
                         "The terms service refused to fetch the terms \"" + *terms + "\".");
        });
    fetch->add_option("TERMS", *terms, "Which terms")->capture_default_str();
    fetch->add_option("--from", *from, "Who asks")->capture_default_str();

    const auto product = Argument<std::string>("TV");
    const auto otherPage = Argument<bool>(false);
    CLI::App* ids = requests.Add("fetch-ids", "Ask the service to fetch the ids of the terms",
                                 [product, otherPage](CVerantiAPI& client) {
                                     return Plain(client.RequestDisclaimerID(*product, *otherPage),
                                                  "The ids were fetched.",
                                                  "The terms service refused to fetch the ids.");
                                 });
    ids->add_flag("--other-page", *otherPage, "Ask as a page other than the set-up wizard");
    AddProduct(ids, product);

    const auto updated = Argument<std::string>("TV");
    AddProduct(requests.Add("update", "Ask the service to bring its terms up to date",
                            [updated](CVerantiAPI& client) {
                                return Plain(client.RequestUpdateDisclaimers(*updated),
                                             "The terms are up to date.",
                                             "The terms service could not update its terms: its "
                                             "own output says why.");
                            }),
               updated);
}

void AddScreenRequests(Registrar& requests) {
    requests.Add("header", "Show the header of the terms screen", [](CVerantiAPI& client) {
        Json::Value header;
        client.GetInformationForDisclaimer(header);
        return HeaderAnswer(header);
    });
    requests.Add("web-header", "Show the header of the terms web view", [](CVerantiAPI& client) {
        Json::Value header;
        client.GetInformationForDisclaimerWebView(header);
        return HeaderAnswer(header);
    });

    const auto requester = Argument<int>(HOME_DISCLAIMER_REQUESTER_0);
    const auto product = Argument<std::string>("TV");
    CLI::App* count = requests.Add(
        "count", "Count the terms that a requester sees",
        [requester, product](CVerantiAPI& client) {
            const auto who = static_cast<EHomeDisclaimerRequester>(*requester);
            const int number = client.GetDisclaimerNum(who, *product);
            // 0 is also what a refusal gives.
            Answer answer = Plain(
                number > 0,
                std::to_string(number) + " terms for requester " + std::to_string(*requester) + '.',
                "The terms service counts no terms for requester " + std::to_string(*requester) +
                    ", or refused to count: try another requester.");
            answer.json["number"] = number;
            return answer;
        });
    AddRequester(count, requester);
    AddProduct(count, product);
}

/// `agree` and `withdraw`: one term, or all.
void AddAgreement(Registrar& requests, const std::string& name, bool agreed) {
    const auto id = Argument<std::string>();
    const auto product = Argument<std::string>("TV");
    const std::string done = agreed ? "Agreed to " : "Withdrew the agreement to ";
    CLI::App* command = requests.Add(
        name, agreed ? "Agree to a term, or to all" : "Withdraw the agreement to a term, or to all",
        [id, product, agreed, done](CVerantiAPI& client) {
            if (id->empty()) {
                return Plain(client.SetAllDisclaimerItemAgreement(agreed ? 1 : 0, *product),
                             done + "all terms.",
                             "The terms service could not record that: its own output says why.");
            }
            return Plain(client.SetDisclaimerItemAgreement(*id, agreed ? 1 : 0, *product),
                         done + *id + '.',
                         "The terms service does not take an agreement to \"" + *id +
                             "\": give the id of a term that can be agreed to.");
        });
    CLI::Option_group* which = command->add_option_group("which");
    which->add_option("ID", *id, "The term's id")->check([](const std::string& text) {
        return text.empty() ? std::string("must not be empty") : std::string();
    });
    which->add_flag("--all", "All terms");
    which->require_option(1);
    AddProduct(command, product);
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
        throw CLI::ValidationError("AGREEMENTS",
                                   "must be a JSON object such as {\"some_id\":\"true\"}");
    }
    return object;
}

void AddAgreementRequests(Registrar& requests) {
    AddAgreement(requests, "agree", true);
    AddAgreement(requests, "withdraw", false);

    const auto revised = Argument<std::string>();
    const auto refused = Argument<bool>(false);
    const auto product = Argument<std::string>("TV");
    CLI::App* again =
        requests.Add("agree-revised", "Agree to a revised term", [=](CVerantiAPI& client) {
            return Plain(client.SetRevisedTermAgreement(*revised, !*refused, *product),
                         (*refused ? "Withdrew the agreement to " : "Agreed to ") + *revised + '.',
                         "The terms service does not take an agreement to \"" + *revised +
                             "\": give the id of a term that can be agreed to.");
        });
    AddRequired(again, "ID", "The term's id", revised);
    again->add_flag("--withdraw", *refused, "Withdraw instead");
    AddProduct(again, product);

    const auto text = Argument<std::string>();
    const auto several = Argument<std::string>("TV");
    CLI::App* set = requests.Add(
        "set-agreements", "Record several agreements in one request",
        [text, several](CVerantiAPI& client) {
            Json::Value agreements = ReadObject(*text);
            return Plain(client.SetDisclaimersAgreement(agreements, true, *several),
                         "The agreements are recorded.",
                         "The terms service took none of the agreements: give ids that it has, "
                         "each with true or false.");
        });
    AddRequired(set, "AGREEMENTS", "A JSON object of ids with true or false; - reads it from input",
                text);
    AddProduct(set, several);
}

void AddCloneRequests(Registrar& requests) {
    for (const bool toUsb : {true, false}) {
        const auto source = Argument<std::string>();
        const auto destination = Argument<std::string>();
        CLI::App* copy = requests.Add(
            toUsb ? "copy-to-usb" : "copy-from-usb",
            toUsb ? "Copy clone data from the set to a USB device"
                  : "Copy clone data from a USB device to the set",
            [=](CVerantiAPI& client) {
                return Plain(toUsb ? client.CopyCloneDataTVtoUSB(*source, *destination)
                                   : client.CopyCloneDataUSBtoTV(*source, *destination),
                             "Copying from " + *source + " to " + *destination + '.',
                             "The terms service refused to copy: give a source and a destination "
                             "that it has.");
            });
        AddRequired(copy, "SRC", "Where from", source);
        AddRequired(copy, "DEST", "Where to", destination);
    }
}

}  // namespace

void AddRequests(Registrar& requests) {
    AddServiceRequests(requests);
    AddSupplyRequests(requests);
    AddScreenRequests(requests);
    AddAgreementRequests(requests);
    AddCloneRequests(requests);
}
