// What the tests' expected journals have in common.
#pragma once

#include "Doubles.h"

/// One exchange with the service, over a proxy as the double opens it.
/// @param request the JSON that is sent.
/// @param read the lines between the send and the end.
/// @param filled the lines just before the send.
inline std::string Exchange(const std::string& request, const Lines& read = {},
                            const Lines& filled = {}) {
    return Journal({"make server CAutoConnect 2", "open", "make request", "make reply",
                    Journal(filled), "send request to com.velmora.tv.termsclient for reply sync -1",
                    request, Journal(read), "destroy reply", "destroy request",
                    ThePlatform().proxyOpens ? "close" : "", "destroy server"});
}

/// The availability check that comes before most requests.
inline std::string Check(bool available = true) {
    const std::string log = "info VerantiAPI.cpp IsServiceAvailable: IsServiceAvailable";
    return Journal({log, Exchange(R"({"method":"is service available"})",
                                  {log + " result : " + (available ? "true" : "false")})});
}

/// A query of the stored agreements, up to the line that tells what came of it.
inline std::string Query(const std::string& function, const std::string& id,
                         const std::string& stored) {
    const std::string client = " VerantiAPI.cpp " + function + ": ";
    return Journal({"warning" + client + "requested ID " + id, "read db/veranti/disclaimeragrees",
                    "info" + client + "Get vconf savedData: " + stored});
}

/// The client's getter where there is an instance.
constexpr char kInstance[] = "trace VerantiAPI.cpp GetInstance: CVerantiAPI GetInstance";

/// Counting a requester's disclaimers, for the set.
inline std::string Counted(const std::string& requester, const std::string& number) {
    const std::string log = "info VerantiAPI.cpp GetDisclaimerNum: GetDisclaimerNum ";
    return Journal({log + "called with requester: " + requester, Check(),
                    Exchange(R"({"data":null,"method":"get disclaimer number",)"
                             R"("product_type":"TV","requester":)" +
                                 requester + '}',
                             {log + number})});
}

/// Fetching the disclaimer at a position of requester 4's list.
inline std::string FetchedByOrder(const std::string& index, const std::string& product,
                                  const Lines& read) {
    return Journal(
        {"info VerantiAPI.cpp GetDisclaimerDetail: GetDisclaimerDetail called for "
         "index: " +
             index + " and requester: 4",
         Check(),
         Exchange(R"({"data":null,"method":"get disclaimer by order","product_type":")" + product +
                      R"(","request_index":)" + index + R"(,"requester":4})",
                  read)});
}

/// Fetching the set's disclaimer with the id "i".
inline std::string FetchedById(const Lines& read) {
    return Journal(
        {"info VerantiAPI.cpp GetDisclaimerDetail: GetDisclaimerDetail called for "
         "itemId: i TV",
         Check(),
         Exchange(R"({"data":null,"method":"get disclaimer by term id",)"
                  R"("product_type":"TV","request_item":"i"})",
                  read)});
}

/// The line of details that are no JSON.
constexpr char kProse[] = "trace VerantiAPI.cpp GetDisclaimerInfo: <<WARN: NOT JSON TYPE MESSAGE>>";

/// Recording the agreement to the disclaimer with the id "i".
inline std::string Agreed(const std::string& product, const std::string& agreed) {
    return Journal({Check(),
                    "info VerantiAPI.cpp SetDisclaimerItemAgreement: Model " + product +
                        " try to set i agreement to " + agreed + '.',
                    Exchange(R"({"is_agreed":)" + agreed +
                             R"(,"method":"set one agreement","product_type":")" + product +
                             R"(","request_item":"i"})")});
}

/// What a call gives, as a text.
inline std::string Text(bool value) {
    return value ? "true" : "false";
}
inline std::string Text(int value) {
    return std::to_string(value);
}
inline std::string Text(std::string value) {
    return value;
}
