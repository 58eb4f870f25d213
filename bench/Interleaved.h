// Measures contenders side by side: each round runs every one once, in turns, so that whatever else
// the machine does meets all of them alike.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

struct Contender {
    std::string name;
    std::function<void()> run;
    std::vector<double> microseconds{};

    double Median() {
        const auto middle = microseconds.begin() + static_cast<long>(microseconds.size() / 2);
        std::nth_element(microseconds.begin(), middle, microseconds.end());
        return *middle;
    }
};

inline void RunInterleaved(std::vector<Contender>& contenders, int rounds) {
    using Clock = std::chrono::steady_clock;
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t turn = 0; turn < contenders.size(); ++turn) {
            Contender& next =
                contenders[(turn + static_cast<std::size_t>(round)) % contenders.size()];
            const Clock::time_point begin = Clock::now();
            next.run();
            next.microseconds.push_back(
                std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
        }
    }
}
