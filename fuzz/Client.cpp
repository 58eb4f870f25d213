// The whole client against a service that answers anything, through the host's framework and
// libsystemd as far as the socket: the first byte of the input is the call, and each line behind it
// is what one of the call's exchanges is answered with.
#include <glib.h>
#include <json/writer.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <sstream>

#include "Allocations.h"
#include "CSharpBridgeAPI.h"
#include "Fuzz.h"
#include "Peer.h"
#include "TermsAPI.h"
#include "TermsAPIInternal.h"
#include "Wire.h"

namespace {

using Item = STHomeDisclaimerContentItem;
constexpr auto kWho = HOME_DISCLAIMER_REQUESTER_0;

std::vector<Json::Value> g_said;  // null for what is no reply

CVerantiAPI& Client() {
    return *CVerantiAPI::GetInstance();
}

/// What an exchange is answered with; a text of D-Bus has no zero bytes and is UTF-8.
const Json::Value& Said(std::size_t exchange) {
    return exchange < g_said.size() ? g_said[exchange] : Json::Value::nullSingleton();
}

bool Confirmed(std::size_t exchange) {
    return Said(exchange).isObject() && Said(exchange)["result"].asBool();
}

/// Most calls are an availability request and one of their own, and give its "result".
void Plain(bool result) {
    Require(result == Confirmed(1));
}

void Available(bool result) {
    Require(result == Confirmed(0));
}

/// A text of a C record is null for an empty one, and ends where the build says.
void SameText(const char* text, const std::string& expected) {
    Require((text == nullptr) == expected.empty());
    Require(text == nullptr || std::memcmp(text, expected.data(), expected.size()) == 0);
    Require(text == nullptr || VERANTI_TERMINATE_TEXTS == 0 || text[expected.size()] == '\0');
}

void SameRecord(const TermsContentItem& record, const Json::Value& reply) {
    SameText(record.strItemId, reply["id"].asString());
    SameText(record.strVersion, reply["version"].asString());
    SameText(record.strTitle, reply["title"].asString());
    SameText(record.strDetails, reply["details"].asString());
    SameText(record.strButton10, reply["button10"].asString());
    SameText(record.strAgreeDependency, reply["agree_dependency"].asString());
    Require(record.nOrder == reply["order"].asInt());
    Require(record.bReverse == (reply["reverse"].asBool() ? 1 : 0));
    Require(record.nDetailDataCount % 2 == 0);
    for (int i = 0; i < record.nDetailDataCount; ++i) {
        const char* section = record.ppDetailData[i];
        Require(section == nullptr || *section != 1);  // is read
    }
}

/// The replies that a list is made of: each of its exchanges comes behind one for availability.
std::vector<const Json::Value*> Listed() {
    std::vector<const Json::Value*> replies;
    const int number = Confirmed(1) ? Said(1)["number"].asInt() : 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(std::max(number, 0)); ++i) {
        if (Confirmed(3 + 2 * i)) {
            replies.push_back(&Said(3 + 2 * i));
        }
    }
    return replies;
}

/// Owns the records of a list.
struct Items {
    Items() = default;
    Items(const Items&) = delete;
    ~Items() {
        for (const Item* item : list) {
            delete item;
        }
    }
    std::vector<Item*> list;
};

void Details() {
    Items items;
    Client().GetDisclaimerDetails(items.list, kWho, "TV");
    const auto replies = Listed();
    Require(items.list.size() == replies.size());
    for (std::size_t i = 0; i < replies.size(); ++i) {
        Require(items.list[i]->strItemId == (*replies[i])["id"].asString());
        Require(items.list[i]->vecDetailData.size() % 2 == 0);
    }
}

void Revised() {
    Items items;
    Plain(Client().GetRevisedDisclaimers(items.list, "TV", "all"));
    Require(items.list.size() == (Confirmed(1) ? Said(1)["disclaimers"].size() : 0));
}

void CheckListed(TermsContentItem** items, int count, void* listed) {
    const auto replies = Listed();
    *static_cast<int*>(listed) = count;
    Require(static_cast<std::size_t>(count) == replies.size());
    for (int i = 0; i < count; ++i) {
        SameRecord(*items[i], *replies[static_cast<std::size_t>(i)]);
    }
}

/// How many allocations a call leaves behind, unless it throws. They are given back.
template <typename Call>
std::optional<std::size_t> Left(const Call& call) {
    const Allocations::LeftBehind left;
    try {
        call();
        return Allocations::LeftBehind::Count();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

/// The list leaves its client's records behind, and nothing else.
void ListInC() {
    const auto records = Left([] {
        std::vector<Item*> items;
        Client().GetDisclaimerDetails(items, kWho, "TV");
    });
    Peer::TakeWritten();  // and the same is said again
    int listed = 0;
    const auto left =
        Left([&] { GetAllDisclaimerDetail(TERMS_REQUESTER_0, CheckListed, &listed); });
    Require(left == records);
    Require(!left || listed == static_cast<int>(Listed().size()));
}

void DetailInC() {
    bool shown = false;
    GetDisclaimerDetail(
        "id",
        [](TermsContentItem* item, void* called) {
            *static_cast<bool*>(called) = true;
            SameRecord(*item, Said(1));
        },
        &shown);
    Require(shown == (Confirmed(1) && !Said(1)["id"].asString().empty()));
}

void HeaderInC() {
    const std::unique_ptr<char, decltype(&std::free)> text(GetInfoForDisclaimerWebView(),
                                                           &std::free);
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    Require(Json::writeString(builder, Said(1)["headerData"]) == text.get());
}

void Check(bool message) {
    int code = -7;
    int reason = -7;
    std::string text;
    Plain(message ? Client().DravikCheck(code, reason, text) : Client().DravikCheck(code, reason));
    Require(code == (Said(1).isNull() ? -7 : Said(1)["errorcode"].asInt()));
    Require(reason == (Said(1).isNull() ? -7 : Said(1)["errorreason"].asInt()));
    Require(text == (Said(1).isNull() || !message ? "" : Said(1)["errormessage"].asString()));
}

void Detail(bool byId) {
    Item item;
    item.strItemId = "before";
    const int result = byId ? Client().GetDisclaimerDetail("id", item, "TV")
                            : Client().GetDisclaimerDetail(item, 0, kWho, "TV");
    Plain(result == 0);
    Require(item.strItemId == (result == 0 ? Said(1)["id"].asString() : "before"));
}

void Number() {
    Require(Client().GetDisclaimerNum(kWho, "TV") ==
            (Confirmed(1) ? Said(1)["number"].asInt() : 0));
}

/// The service's answer only reaches the log: the store's, which has nothing, is the last.
void Agreement() {
    int agreed = -7;
    Require(Client().GetDisclaimerItemAgreement("id", &agreed, "Fridge") == 0 && agreed == 0);
}

template <void (CVerantiAPI::*Method)(Json::Value&)>
void Headers() {
    Json::Value header;
    (Client().*Method)(header);
    Require(header == Said(1)["headerData"]);
}

void Agreements() {
    Json::Value agreements;
    agreements["id"] = true;
    Plain(Client().SetDisclaimersAgreement(agreements, true, "TV"));
    Require(!agreements.isMember("id"));
}

void (*const kCalls[])() = {
    [] { Available(Client().IsServiceAvailable()); },
    [] { Available(IsServiceAvailable() == 1); },
    [] { Available(CSharpIsServiceAvailable() == 1); },
    m_TriggerTermsServiceAsync,
    Details,
    Revised,
    ListInC,
    DetailInC,
    HeaderInC,
    [] { Check(false); },
    [] { Check(true); },
    [] { Detail(false); },
    [] { Detail(true); },
    Number,
    Agreement,
    Agreements,
    Headers<&CVerantiAPI::GetInformationForDisclaimer>,
    Headers<&CVerantiAPI::GetInformationForDisclaimerWebView>,
    [] { Plain(Client().RequestResetNimbra()); },
    [] { Plain(Client().SetCountryCode("GB")); },
    [] { Plain(Client().RequestCountryCodeList()); },
    [] { Plain(Client().RequestDisclaimersRESTAPI("wizard", "all")); },
    [] { Plain(Client().RequestDisclaimerID("TV", true)); },
    [] { Plain(Client().RequestUpdateDisclaimers("TV")); },
    [] { Plain(Client().SetRevisedTermAgreement("id", true, "TV")); },
    [] { Plain(Client().SetAllDisclaimerItemAgreement(1, "TV")); },
    [] { Plain(Client().SetDisclaimerItemAgreement("id", 1, "TV")); },
    [] { Plain(Client().IsDisclaimerItemExist("id", "Fridge")); },
    [] { Plain(Client().CopyCloneDataUSBtoTV("from", "to")); },
    [] { Plain(Client().CopyCloneDataTVtoUSB("from", "to")); },
    [] { Plain(RequestUpdateDisclaimers("TV") == 1); },
    [] { SetDisclaimerItemAgreement("id", 1); },
    [] { Plain(SetDisclaimerItemsAgreements("{\"id\": true}") == 1); },
    [] { Plain(CSharpSetDisclaimerItemAgreement("id", 1, "TV") == 1); },
};

}  // namespace

void FuzzText(const std::string& text) {
    static const bool kMadeOnce = [] {  // and not where it is counted
        using Descriptor = CVerantiAPI::CErrorDescriptor;
        Descriptor::FromString(Descriptor().ToString());
        Peer::Say({Peer::Greeting() + Peer::Reply("{\"result\": true}")});
        return CSharpGetInstance() != nullptr && CSharpIsServiceAvailable() == 1;
    }();
    Require(kMadeOnce);
    StartAnew();
    std::vector<std::string> streams;
    std::istringstream lines(text.empty() ? text : text.substr(1));
    g_said.clear();
    for (std::string line; std::getline(lines, line);) {
        g_said.emplace_back();
        if (g_utf8_validate_len(line.data(), line.size(), nullptr) != FALSE) {
            Corvane::Wire::FromText(line, g_said.back());
        }
        streams.push_back(Peer::Greeting() + Peer::Reply(line));
    }
    Peer::Say(std::move(streams));
    CSharpGetInstance();
    try {
        kCalls[text.empty() ? 0 : static_cast<unsigned char>(text[0]) % std::size(kCalls)]();
    } catch (const Json::Exception&) {  // members of another kind
    } catch (const std::bad_alloc&) {   // a list without an end
    }
    Peer::TakeWritten();
    CSharpDestroy();
}
