// Looking an id up in the stored agreements: the first line of the input is the id, the rest is
// what is stored.
#include "Doubles.h"
#include "Fuzz.h"
#include "VerantiAPI.h"

void FuzzText(const std::string& input) {
    constexpr int kUntouched = 7;
    const std::size_t line = input.find('\n');
    const std::string id = input.substr(0, line);
    const std::string stored = line == std::string::npos ? "" : input.substr(line + 1);
    ThePlatform().store["db/veranti/disclaimeragrees"] = stored;
    CVerantiAPI client;
    int agreed = kUntouched;
    Require(client.GetDisclaimerItemAgreement(id, &agreed, "TV") == 0);
    Require(agreed == 0 || agreed == 1 || agreed == kUntouched);
    const bool exists = client.IsDisclaimerItemExist(id, "TV");
    Require(exists || agreed != 1);
    Require(!exists || agreed != kUntouched);
}
