// Cutting details into sections: whatever the details are, they are kept as they came, and sections
// come in pairs.
#include "Doubles.h"
#include "Fuzz.h"
#include "VerantiAPI.h"

void FuzzText(const std::string& details) {
    ThePlatform().service = [&details](const Json::Value&, Json::Value& reply) {
        reply["result"] = true;
        reply["details"] = details;
        return true;
    };
    CVerantiAPI client;
    STHomeDisclaimerContentItem item;
    try {
        Require(client.GetDisclaimerDetail("id", item, "TV") == 0);
    } catch (const Json::Exception&) {  // an element that is no object, or too many levels
    }
    Require(item.strDetails == details);
    Require(item.vecDetailData.size() % 2 == 0);
    Require(ThePlatform().Count("open") == ThePlatform().Count("destroy server"));
}
