#include "Requests.h"

#include <json/reader.h>

#include "Interleaved.h"

namespace {

const std::string kAvailable = R"({"method":"is service available"})";

}  // namespace

Requests CountRequests() {
    return {kAvailable,
            R"({"data":null,"method":"get disclaimer number","product_type":"TV","requester":0})"};
}

Requests ListRequests(int terms) {
    Requests requests = CountRequests();
    for (int i = 0; i < terms; ++i) {
        requests.push_back(kAvailable);
        requests.push_back(R"({"data":null,"method":"get disclaimer by order","product_type":"TV",)"
                           R"("request_index":)" +
                           std::to_string(i) + R"(,"requester":0})");
    }
    return requests;
}

std::string Catalogue(int terms) {
    std::string text = R"({"languages":{"en":{"title":"","description":""}},)"
                       R"("default_language":"en","countries":{"US":"en"},"terms":[)";
    for (int i = 0; i < terms; ++i) {
        text += (i > 0 ? "," : "") + std::string(R"({"id":"term_)") + std::to_string(i) +
                R"(","texts":{"en":{"title":"Title","intro":"Intro","sections":[)"
                R"({"title":"One","data":"Some text"},{"title":"Two","data":"More text"}],)"
                R"("buttons":["Agree","Later"]}}})";
    }
    return text + "]}";
}

void Ask(const Peer& peer, const Requests& requests) {
    const Json::CharReaderBuilder builder;
    for (const std::string& request : requests) {
        const std::string text = peer.ask(request);
        const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
        Json::Value reply;
        Check(reader->parse(text.data(), text.data() + text.size(), &reply, nullptr) &&
                  reply["result"].asBool(),
              "a peer: no good answer");
    }
}

void CountThroughTheLibrary(int terms) {
    const int number =
        CVerantiAPI::GetInstance()->GetDisclaimerNum(HOME_DISCLAIMER_REQUESTER_0, "TV");
    Check(number == terms, "the library: no good answer");
}

Records ListThroughTheLibrary(int terms) {
    std::vector<STHomeDisclaimerContentItem*> items;
    CVerantiAPI::GetInstance()->GetDisclaimerDetails(items, HOME_DISCLAIMER_REQUESTER_0, "TV");
    Records records(items.begin(), items.end());
    Check(records.size() == static_cast<std::size_t>(terms) &&
              records.back()->vecDetailData.size() == 4,
          "the library: no good answer");
    return records;
}
