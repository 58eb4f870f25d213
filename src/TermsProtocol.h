// The names that the client and the terms service have agreed on.
#pragma once

/// The service's name on the system message bus.
constexpr char kTermsService[] = "com.velmora.tv.termsclient";

/// The product type of the set itself.
constexpr char kTelevision[] = "TV";

/// The configuration store's key of the set's agreements: a JSON object, "true" or "false" by id.
constexpr char kAgreementsKey[] = "db/veranti/disclaimeragrees";

/// The configuration store's key of the terms menu: a JSON array of objects with a "title".
constexpr char kTitlesKey[] = "db/veranti/terms_title";
