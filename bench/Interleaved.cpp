#include "Interleaved.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

namespace {

void RunRounds(std::vector<Contender>& contenders, int rounds) {
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

}  // namespace

double Contender::Median() const {
    std::vector<double> sorted = microseconds;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    return *middle;
}

void RunInterleaved(std::vector<Contender>& contenders, int rounds) {
    RunRounds(contenders, rounds / 10 + 1);
    for (Contender& each : contenders) {
        each.microseconds.clear();
    }
    RunRounds(contenders, rounds);
}

void PrintRatios(const std::vector<Contender>& contenders) {
    const double first = contenders.front().Median();
    for (const Contender& each : contenders) {
        std::printf("%-15s %9.1f us   %s/this %.3f\n", each.name.c_str(), each.Median(),
                    contenders.front().name.c_str(), first / each.Median());
    }
}

void Check(bool good, const char* what) {
    if (!good) {
        throw std::runtime_error(what);
    }
}

int RunBench(int argc, char** argv, int rounds, void (*measure)(int rounds)) {
    try {
        const int wanted = argc > 1 ? std::stoi(argv[1]) : rounds;
        Check(wanted > 0, "ROUNDS must be a number from 1 on");
        measure(wanted);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << argv[0] << ": " << error.what() << std::endl;
        return EXIT_FAILURE;
    }
}
