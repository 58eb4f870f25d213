// Prints what the library learns from the set of this folder.
#include <TermsAPI.h>
#include <VerantiAPI.h>

#include <iostream>

int main() {
    std::cout << CVerantiAPI::GetInstance()->GetDisclaimerNum(HOME_DISCLAIMER_REQUESTER_0, "TV")
              << ' ' << GetDisclaimerItemAgreement("a_term")
              << GetDisclaimerItemAgreement("another") << '\n';
}
