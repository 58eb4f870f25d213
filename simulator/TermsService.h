/// @file
/// The simulated terms service: requests in, replies out. It knows nothing of the bus.
#pragma once

#include <json/value.h>

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Catalogue.h"
#include "TermsState.h"

class TermsService {
  public:
    /// Takes over what an earlier run remembered and brings the store up to date.
    /// @param catalogue what to serve.
    /// @param cataloguePath where it came from; it is read again whenever an update of the terms is
    ///   requested.
    /// @throws StateError
    TermsService(Catalogue catalogue, std::string cataloguePath);

    /// The names of all requests.
    static std::vector<std::string> Methods();

    /// The name of a request: its "method", or its "request_type" under the protocol
    /// "common_protocol"; empty when it has none.
    static std::string MethodOf(std::string_view protocol, const Json::Value& request);

    /// Answers a request. A request that is unknown, or lacks what it needs, gets "result" false,
    /// and then nothing has changed.
    Json::Value Answer(const std::string& method, const Json::Value& request);

    std::size_t NumberOfTerms() const { return m_catalogue.terms.size(); }

  private:
    using Handler = Json::Value (TermsService::*)(const Json::Value& request);
    static const std::map<std::string, Handler>& Handlers();

    Json::Value Accept(const Json::Value& request);
    Json::Value GetHeader(const Json::Value& request);
    Json::Value Check(const Json::Value& request);
    Json::Value GetCountries(const Json::Value& request);
    Json::Value SetCountry(const Json::Value& request);
    Json::Value Update(const Json::Value& request);
    Json::Value Clone(const Json::Value& request);
    Json::Value GetNumber(const Json::Value& request);
    Json::Value GetByOrder(const Json::Value& request);
    Json::Value GetById(const Json::Value& request);
    Json::Value GetRevised(const Json::Value& request);
    Json::Value GetAgreement(const Json::Value& request);
    Json::Value SetAgreements(const Json::Value& request);
    Json::Value SetOneAgreement(const Json::Value& request);
    Json::Value SetAllAgreements(const Json::Value& request);

    /// Changes the agreements of a request's product type and stores them.
    Json::Value ChangeAgreements(const Json::Value& request,
                                 const std::function<void(std::set<std::string>& agreed)>& change);
    /// Makes a change of the state and stores it.
    Json::Value Change(const std::function<void(TermsState&)>& change);
    /// Stores and adopts a state and a catalogue; on failure nothing has changed.
    Json::Value Adopt(TermsState state, Catalogue catalogue);

    std::vector<const Term*> VisibleTo(const Json::Value& requester) const;
    const Term& Wanted(const Json::Value& request) const;
    Json::Value Describe(const Term& term, const std::string& product) const;

    std::string m_cataloguePath;
    Catalogue m_catalogue;
    TermsState m_state;
};
