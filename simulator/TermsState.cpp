#include "TermsState.h"

#include <vconf.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "TermsProtocol.h"
#include "Wire.h"

namespace {

using Corvane::Wire::FromText;
using Corvane::Wire::ToText;

constexpr char kStateKey[] = "db/veranti/simulator_state";

/// Says why the store's last call could not do something to a key, where, and the mend.
[[noreturn]] void Fail(const char* what, const char* key) {
    const std::string reason = std::strerror(errno);
    const std::unique_ptr<char, decltype(&std::free)> store(vconf_host_root(), &std::free);
    throw StateError(std::string("Cannot ") + what + " the key \"" + key + "\": " + reason +
                     ". Set VERANTI_STORE to a folder that can be read and written" +
                     (store ? std::string(", instead of ") + store.get() : "") + '.');
}

void Write(const char* key, const Json::Value& value) {
    if (vconf_set_str(key, ToText(value).c_str()) != 0) {
        Fail("write", key);
    }
}

Json::Value Agreements(const TermsState& state, const Catalogue& catalogue) {
    Json::Value agreements(Json::objectValue);
    for (const Term& term : catalogue.terms) {
        agreements[term.id] = state.IsAgreed(kTelevision, term.id) ? "true" : "false";
    }
    return agreements;
}

Json::Value Titles(const TermsState& state, const Catalogue& catalogue) {
    Json::Value titles(Json::arrayValue);
    for (const Term& term : catalogue.terms) {
        Json::Value entry;
        entry["title"] = term.texts.at(catalogue.LanguageOf(state.country)).title;
        titles.append(entry);
    }
    return titles;
}

Json::Value ToJson(const TermsState& state) {
    Json::Value json;
    json["country"] = state.country;
    json["agreed"] = Json::objectValue;
    for (const auto& [product, ids] : state.agreed) {
        Json::Value& list = json["agreed"][product] = Json::arrayValue;
        for (const std::string& id : ids) {
            list.append(id);
        }
    }
    return json;
}

/// @throws Json::Exception when the value does not hold a state.
TermsState FromJson(const Json::Value& json) {
    TermsState state;
    state.country = json["country"].asString();
    const Json::Value& agreed = json["agreed"];
    for (const std::string& product : agreed.getMemberNames()) {
        if (!agreed[product].isArray()) {
            throw Json::LogicError("no list of ids");
        }
        for (const Json::Value& id : agreed[product]) {
            state.agreed[product].insert(id.asString());
        }
    }
    return state;
}

}  // namespace

bool TermsState::IsAgreed(const std::string& product, const std::string& id) const {
    const auto found = agreed.find(product);
    return found != agreed.end() && found->second.count(id) == 1;
}

TermsState LoadState() {
    const std::unique_ptr<char, decltype(&std::free)> text(vconf_get_str(kStateKey), &std::free);
    if (!text && errno == ENOENT) {
        return {};
    }
    if (!text) {
        Fail("read", kStateKey);
    }
    try {
        Json::Value json;
        if (FromText(text.get(), json)) {
            return FromJson(json);
        }
    } catch (const Json::Exception&) {  // said below, as for any other text
    }
    throw StateError(std::string("The text of the key \"") + kStateKey +
                     "\" is not the simulator's. Remove its file from the store to start anew.");
}

void SaveState(const TermsState& state, const Catalogue& catalogue) {
    Write(kAgreementsKey, Agreements(state, catalogue));
    Write(kTitlesKey, Titles(state, catalogue));
    Write(kStateKey, ToJson(state));
}
