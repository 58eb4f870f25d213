// Looking an agreement up in the store through the library, against reading the file and parsing it
// with JsonCpp by hand, for stores of several sizes. agreement-bench [ROUNDS]
#include <fcntl.h>
#include <json/reader.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vconf.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "Interleaved.h"
#include "Store.h"
#include "VerantiAPI.h"

namespace {

constexpr char kKey[] = "db/veranti/disclaimeragrees";

std::string Agreements(int terms) {
    std::string text = "{";
    for (int i = 0; i < terms; ++i) {
        text += (i > 0 ? ",\"term_" : "\"term_") + std::to_string(i) + "\":\"true\"";
    }
    return text + '}';
}

std::string ReadByHand(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    Check(file >= 0 && fstat(file, &status) == 0, "cannot open the store's file");
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    const ssize_t got = read(file, text.data(), text.size());
    close(file);
    Check(got == status.st_size, "cannot read the store's file");
    return text;
}

void ByHand(const std::string& path, const std::string& id) {
    const std::string text = ReadByHand(path);
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    Json::Value agreements;
    Check(reader->parse(text.data(), text.data() + text.size(), &agreements, nullptr) &&
              agreements[id].asString() == "true",
          "by hand: no good answer");
}

void ThroughTheLibrary(const std::string& id) {
    int agreed = 0;
    CVerantiAPI::GetInstance()->GetDisclaimerItemAgreement(id, &agreed, "TV");
    Check(agreed == 1, "the library: no good answer");
}

void Measure(int rounds) {
    setenv("VERANTI_LOG", "off", 1);
    const TemporaryStore store;
    const std::string path = FileOf(store, kKey);
    for (const int terms : {10, 1000, 10000}) {
        Check(vconf_set_str(kKey, Agreements(terms).c_str()) == 0, "cannot write the store");
        const std::string id = "term_" + std::to_string(terms / 2);
        std::vector<Contender> contenders = {{"the library", [&id] { ThroughTheLibrary(id); }},
                                             {"by hand", [&] { ByHand(path, id); }}};
        RunInterleaved(contenders, std::max(10, rounds * 10 / terms));
        PrintRatios("an agreement of " + std::to_string(terms), contenders);
    }
}

}  // namespace

int main(int argc, char** argv) {
    return RunBench(argc, argv, 20000, Measure);
}
