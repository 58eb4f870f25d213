#include "TermsService.h"

#include <algorithm>
#include <iostream>
#include <sstream>

#include "Escape.h"
#include "TermsProtocol.h"

namespace {

/// Anybody may invent product types; nobody may fill the store with them.
constexpr std::size_t kMostProducts = 32;
constexpr std::size_t kLongestProduct = 64;

/// A request that lacks what it needs; answered with "result" false.
struct Refusal {};

Json::Value Result(bool result) {
    Json::Value reply;
    reply["result"] = result;
    return reply;
}

/// The reply to a request for one term: the term's members beside the result.
Json::Value WithResult(Json::Value term) {
    term["result"] = true;
    return term;
}

std::string Text(const Json::Value& request, const char* member) {
    const Json::Value& value = request[member];
    if (!value.isString()) {
        throw Refusal();
    }
    return value.asString();
}

bool Flag(const Json::Value& request, const char* member) {
    const Json::Value& value = request[member];
    if (!value.isBool()) {
        throw Refusal();
    }
    return value.asBool();
}

/// An agreement in either of the forms that callers use: a boolean, or its text.
bool Agreement(const Json::Value& value) {
    if (value.isBool()) {
        return value.asBool();
    }
    if (value == "true" || value == "false") {
        return value == "true";
    }
    throw Refusal();
}

void Record(std::set<std::string>& agreed, const std::string& id, bool isAgreed) {
    if (isAgreed) {
        agreed.insert(id);
    } else {
        agreed.erase(id);
    }
}

/// Refuses a new product type that is too long, or one too many. The set's own always has its
/// place, whatever others record.
void ExpectPlace(const TermsState& state, const std::string& product) {
    if (product.size() > kLongestProduct) {
        throw std::runtime_error("Refused an agreement: its product type has " +
                                 std::to_string(product.size()) + " bytes. Give at most " +
                                 std::to_string(kLongestProduct) + '.');
    }
    if (product != kTelevision &&
        state.agreed.size() - state.agreed.count(kTelevision) > kMostProducts) {
        throw std::runtime_error("Refused an agreement: " + std::to_string(kMostProducts) +
                                 " product types have some already. Withdraw those of one.");
    }
}

/// Whether a selector names an id: "all", nothing at all, or a list of ids with commas.
bool Selects(const std::string& selector, const std::string& id) {
    if (selector.empty() || selector == "all") {
        return true;
    }
    std::istringstream list(selector);
    std::string each;
    while (std::getline(list, each, ',')) {
        if (each == id) {
            return true;
        }
    }
    return false;
}

}  // namespace

TermsService::TermsService(Catalogue catalogue, std::string cataloguePath)
    : m_cataloguePath(std::move(cataloguePath)),
      m_catalogue(std::move(catalogue)),
      m_state(LoadState()) {
    SaveState(m_state, m_catalogue);
}

const std::map<std::string, TermsService::Handler>& TermsService::Handlers() {
    using S = TermsService;
    static const std::map<std::string, Handler> handlers = {
        {"is service available", &S::Accept},
        {"get information for disclaimer", &S::GetHeader},
        {"get information for web view disclaimer", &S::GetHeader},
        {"dravik check", &S::Check},
        {"dravik get error info", &S::Check},
        {"request disclaimer api", &S::Accept},
        {"request disclaimerid", &S::Accept},
        {"request update disclaimers", &S::Update},
        {"request country code list", &S::GetCountries},
        {"set country code", &S::SetCountry},
        {"Copy Clone Data TV to USB", &S::Clone},
        {"Copy Clone Data USB to TV", &S::Clone},
        {"request reset nimbra", &S::Accept},
        {"get disclaimer number", &S::GetNumber},
        {"get disclaimer by order", &S::GetByOrder},
        {"get disclaimer by term id", &S::GetById},
        {"get revised disclaimers", &S::GetRevised},
        {"get disclaimer agreement", &S::GetAgreement},
        {"set agreements", &S::SetAgreements},
        {"set one agreement", &S::SetOneAgreement},
        {"set all agreement", &S::SetAllAgreements},
    };
    return handlers;
}

std::vector<std::string> TermsService::Methods() {
    std::vector<std::string> methods;
    for (const auto& [method, handler] : Handlers()) {
        methods.push_back(method);
    }
    return methods;
}

std::string TermsService::MethodOf(std::string_view protocol, const Json::Value& request) {
    const char* member = protocol == "common_protocol" ? "request_type" : "method";
    const bool named = request.isObject() && request[member].isString();
    return named ? request[member].asString() : "";
}

Json::Value TermsService::Answer(const std::string& method, const Json::Value& request) {
    const auto handler = Handlers().find(method);
    if (handler == Handlers().end()) {
        return Result(false);
    }
    try {
        return (this->*handler->second)(request);
    } catch (const Refusal&) {
    } catch (const std::runtime_error& error) {
        std::cerr << Escaped(error.what()) << std::endl;
    }
    return Result(false);
}

Json::Value TermsService::Accept(const Json::Value& /*request*/) {
    return Result(true);
}

Json::Value TermsService::GetHeader(const Json::Value& /*request*/) {
    const std::string& language = m_catalogue.LanguageOf(m_state.country);
    const Header& header = m_catalogue.headers.at(language);
    Json::Value reply = Result(true);
    reply["headerData"]["title"] = header.title;
    reply["headerData"]["description"] = header.description;
    reply["headerData"]["country_code"] = m_state.country;
    reply["headerData"]["language"] = language;
    return reply;
}

Json::Value TermsService::Check(const Json::Value& /*request*/) {
    Json::Value reply = Result(true);
    reply["errorcode"] = 0;
    reply["errorreason"] = 0;
    reply["errormessage"] = "no error";
    return reply;
}

Json::Value TermsService::GetCountries(const Json::Value& /*request*/) {
    Json::Value reply = Result(true);
    for (const auto& [country, language] : m_catalogue.countries) {
        reply["country_codes"].append(country);
    }
    return reply;
}

Json::Value TermsService::SetCountry(const Json::Value& request) {
    const std::string country = Text(request, "country_code");
    if (m_catalogue.countries.count(country) == 0) {
        throw Refusal();
    }
    return Change([&country](TermsState& state) { state.country = country; });
}

Json::Value TermsService::Update(const Json::Value& /*request*/) {
    return Adopt(m_state, ReadCatalogue(m_cataloguePath));
}

/// Only says yes: a simulated service has no business in the caller's folders.
Json::Value TermsService::Clone(const Json::Value& request) {
    return Result(!Text(request, "src").empty() && !Text(request, "dest").empty());
}

Json::Value TermsService::GetNumber(const Json::Value& request) {
    Json::Value reply = Result(true);
    reply["number"] = static_cast<int>(VisibleTo(request["requester"]).size());
    return reply;
}

Json::Value TermsService::GetByOrder(const Json::Value& request) {
    const std::vector<const Term*> visible = VisibleTo(request["requester"]);
    const Json::Value& index = request["request_index"];
    if (!index.isUInt() || index.asUInt() >= visible.size()) {
        throw Refusal();
    }
    return WithResult(Describe(*visible[index.asUInt()], Text(request, "product_type")));
}

Json::Value TermsService::GetById(const Json::Value& request) {
    return WithResult(Describe(Wanted(request), Text(request, "product_type")));
}

Json::Value TermsService::GetRevised(const Json::Value& request) {
    const std::string product = Text(request, "product_type");
    const std::string selector = Text(request, "terms");
    Json::Value reply = Result(true);
    reply["disclaimers"] = Json::arrayValue;
    for (const Term& term : m_catalogue.terms) {
        if (term.revised && Selects(selector, term.id)) {
            reply["disclaimers"].append(Describe(term, product));
        }
    }
    return reply;
}

Json::Value TermsService::GetAgreement(const Json::Value& request) {
    const Term& term = Wanted(request);
    Json::Value reply = Result(true);
    reply["is_agreed"] = m_state.IsAgreed(Text(request, "product_type"), term.id);
    return reply;
}

/// The members besides the request's own are ids with their agreements; all of them count, or none.
Json::Value TermsService::SetAgreements(const Json::Value& request) {
    return ChangeAgreements(request, [this, &request](std::set<std::string>& agreed) {
        for (const std::string& name : request.getMemberNames()) {
            if (name == "method" || name == "product_type" || name == "data") {
                continue;
            }
            const Term* term = m_catalogue.Find(name);
            if (term == nullptr || term->onlyNotice) {
                throw Refusal();
            }
            Record(agreed, name, Agreement(request[name]));
        }
    });
}

Json::Value TermsService::SetOneAgreement(const Json::Value& request) {
    const Term& term = Wanted(request);
    if (term.onlyNotice) {
        throw Refusal();
    }
    const bool isAgreed = Flag(request, "is_agreed");
    return ChangeAgreements(
        request, [&](std::set<std::string>& agreed) { Record(agreed, term.id, isAgreed); });
}

Json::Value TermsService::SetAllAgreements(const Json::Value& request) {
    const bool isAgreed = Flag(request, "is_agreed");
    return ChangeAgreements(request, [&](std::set<std::string>& agreed) {
        for (const Term& term : m_catalogue.terms) {
            if (!term.onlyNotice) {
                Record(agreed, term.id, isAgreed);
            }
        }
    });
}

Json::Value TermsService::ChangeAgreements(
    const Json::Value& request, const std::function<void(std::set<std::string>&)>& change) {
    const std::string product = Text(request, "product_type");
    return Change([&](TermsState& state) {
        const bool isNew = state.agreed.count(product) == 0;
        std::set<std::string>& agreed = state.agreed[product];
        change(agreed);
        if (agreed.empty()) {
            state.agreed.erase(product);
        } else if (isNew) {
            ExpectPlace(state, product);
        }
    });
}

Json::Value TermsService::Change(const std::function<void(TermsState&)>& change) {
    TermsState changed = m_state;
    change(changed);
    return Adopt(std::move(changed), m_catalogue);
}

Json::Value TermsService::Adopt(TermsState state, Catalogue catalogue) {
    try {
        SaveState(state, catalogue);
    } catch (const StateError&) {
        SaveState(m_state, m_catalogue);  // whatever was already written goes back
        throw;
    }
    m_state = std::move(state);
    m_catalogue = std::move(catalogue);
    return Result(true);
}

std::vector<const Term*> TermsService::VisibleTo(const Json::Value& requester) const {
    if (!requester.isInt()) {
        throw Refusal();
    }
    std::vector<const Term*> visible;
    for (const Term& term : m_catalogue.terms) {
        if (term.requesters.count(requester.asInt()) == 1) {
            visible.push_back(&term);
        }
    }
    return visible;
}

const Term& TermsService::Wanted(const Json::Value& request) const {
    const Term* term = m_catalogue.Find(Text(request, "request_item"));
    if (term == nullptr) {
        throw Refusal();
    }
    return *term;
}

Json::Value TermsService::Describe(const Term& term, const std::string& product) const {
    const TermTexts& texts = term.texts.at(m_catalogue.LanguageOf(m_state.country));
    Json::Value reply;
    reply["id"] = term.id;
    reply["order"] = static_cast<int>(&term - m_catalogue.terms.data());
    reply["version"] = term.version;
    reply["title"] = texts.title;
    reply["intro"] = texts.intro;
    reply["details"] = texts.details;
    for (std::size_t i = 0; i < texts.buttons.size(); ++i) {
        reply["button" + std::to_string(i + 1)] = texts.buttons[i];
    }
    reply["is_agreed"] = m_state.IsAgreed(product, term.id);
    reply["only_notice"] = term.onlyNotice;
    reply["agree_dependency"] = term.agreeDependency;
    reply["ppused"] = term.ppUsed;
    reply["reverse"] = term.reverse;
    return reply;
}
