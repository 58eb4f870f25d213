// A set-up wizard in C++: waits for the terms service, lists the terms, shows one, agrees to it and
// checks.
//
//   cpp-wizard [ID [ATTEMPTS]]
//
// ATTEMPTS is how often it asks for the service, once a second.
#include <VerantiAPI.h>

#include <chrono>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr char kProduct[] = "TV";

bool WaitForService(CVerantiAPI& client, long attempts) {
    while (!client.IsServiceAvailable()) {
        if (--attempts <= 0) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    return true;
}

/// @return how many terms there are.
std::size_t List(CVerantiAPI& client) {
    std::vector<STHomeDisclaimerContentItem*> terms;
    client.GetDisclaimerDetails(terms, HOME_DISCLAIMER_REQUESTER_0, kProduct);
    std::cout << terms.size() << " terms:\n";
    for (STHomeDisclaimerContentItem* term : terms) {
        // The list's records are the caller's.
        const std::unique_ptr<STHomeDisclaimerContentItem> owned(term);
        std::cout << "  " << std::left << std::setw(20) << term->strItemId << ' ' << term->strTitle
                  << '\n';
    }
    return terms.size();
}

bool Show(CVerantiAPI& client, const std::string& id) {
    STHomeDisclaimerContentItem term;
    if (client.GetDisclaimerDetail(id, term, kProduct) != 0) {
        return false;
    }
    std::cout << '\n'
              << term.strTitle << ", version " << term.strVersion << '\n'
              << term.strIntro << '\n';
    const std::vector<std::string>& sections = term.vecDetailData;
    if (sections.empty() && term.strDetails.compare(0, 1, "[") != 0) {
        std::cout << term.strDetails << '\n';  // prose
    }
    for (std::size_t i = 0; i + 1 < sections.size(); i += 2) {
        std::cout << "- " << sections[i] << ": " << sections[i + 1] << '\n';
    }
    return true;
}

bool Agree(CVerantiAPI& client, const std::string& id) {
    int agreed = 0;
    client.SetDisclaimerItemAgreement(id, 1, kProduct);
    client.GetDisclaimerItemAgreement(id, &agreed, kProduct);
    return agreed != 0;
}

int Fail(const std::string& sentence) {
    std::cerr << sentence << '\n';
    return EXIT_FAILURE;
}

int Walk(const std::string& id, long attempts) {
    CVerantiAPI& client = *CVerantiAPI::GetInstance();
    if (!WaitForService(client, attempts)) {
        return Fail("The terms service does not answer: start it, then try again.");
    }
    if (List(client) == 0) {
        return Fail("The terms service lists no terms.");
    }
    if (!Show(client, id)) {
        return Fail("There is no term \"" + id + "\": give one of the list.");
    }
    if (!Agree(client, id)) {
        return Fail("The agreement to " + id + " was not recorded.");
    }
    std::cout << "\nAgreed to " << id << ".\n";
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    const long attempts = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 10;
    if (attempts < 1) {
        return Fail('"' + std::string(argv[2]) + "\" is no number of attempts: give 1 or more.");
    }
    try {
        return Walk(argc > 1 ? argv[1] : "privacy_policy", attempts);
    } catch (const Json::Exception& error) {
        return Fail(std::string("The service's answer cannot be read: ") + error.what());
    }
}
