// Reading a stored title: the first byte of the input is the position, the rest is what is stored.
#include "Doubles.h"
#include "Fuzz.h"
#include "VerantiAPI.h"

void FuzzText(const std::string& input) {
    const int index = input.empty() ? -1 : static_cast<signed char>(input.front());
    ThePlatform().store["db/veranti/terms_title"] = input.empty() ? "" : input.substr(1);
    CVerantiAPI client;
    std::string title;
    const int result = client.GetDisclaimerTitle(title, index);
    Require(result == (title.empty() ? -1 : 0));
    Require(index >= 0 || title.empty());
}
