#include "Misbehaviour.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "Escape.h"
#include "TermsService.h"

namespace {

constexpr int kLongestDelay = 24 * 60 * 60 * 1000;

int Milliseconds(const std::string& option, const std::string& text) {
    int value = -1;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || value < 0 || value > kLongestDelay) {
        throw std::invalid_argument("\"" + Escaped(option) +
                                    "\" is not METHOD=MILLISECONDS, with 0 to " +
                                    std::to_string(kLongestDelay) + " milliseconds.");
    }
    return value;
}

}  // namespace

Misbehaviour& MisbehaviourPlan::For(const std::string& method) {
    const std::vector<std::string> known = TermsService::Methods();
    if (std::find(known.begin(), known.end(), method) == known.end()) {
        std::string all;
        for (const std::string& each : known) {
            all += "\n  " + each;
        }
        throw std::invalid_argument("\"" + Escaped(method) +
                                    "\" is no request; give one of:" + all);
    }
    return m_plan[method];
}

void MisbehaviourPlan::Plan(bool Misbehaviour::*what, const std::vector<std::string>& methods) {
    for (const std::string& method : methods) {
        For(method).*what = true;
    }
}

void MisbehaviourPlan::Delay(const std::vector<std::string>& methods) {
    for (const std::string& option : methods) {
        const std::size_t sign = option.rfind('=');
        const std::string number = sign != std::string::npos ? option.substr(sign + 1) : "";
        const std::chrono::milliseconds delay(Milliseconds(option, number));
        For(option.substr(0, sign)).delay = delay;
    }
}

Misbehaviour MisbehaviourPlan::Of(const std::string& method) const {
    const auto found = m_plan.find(method);
    return found != m_plan.end() ? found->second : Misbehaviour();
}
