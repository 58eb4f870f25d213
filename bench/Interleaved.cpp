#include "Interleaved.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <random>
#include <stdexcept>

namespace {

/// Everybody has a turn in each round, in another order: who leaves a bus and caches busy must not
/// always have the same one behind it.
void RunRounds(std::vector<Contender>& contenders, int rounds) {
    using Clock = std::chrono::steady_clock;
    std::mt19937 random;  // NOLINT(cert-msc*): the same orders every time
    std::vector<Contender*> order;
    for (Contender& each : contenders) {
        order.push_back(&each);
    }
    for (int round = 0; round < rounds; ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (Contender* next : order) {
            const Clock::time_point begin = Clock::now();
            next->run();
            next->microseconds.push_back(
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

void PrintRatios(const std::string& what, const std::vector<Contender>& contenders) {
    const double first = contenders.front().Median();
    std::printf("\n| %s | median | %s / this |\n|---|---:|---:|\n", what.c_str(),
                contenders.front().name.c_str());
    for (const Contender& each : contenders) {
        std::printf("| %s | %.1f us | %.2f |\n", each.name.c_str(), each.Median(),
                    first / each.Median());
    }
    std::fflush(stdout);
}

void Check(bool good, const char* what) {
    if (!good) {
        throw std::runtime_error(what);
    }
}

int RunBench(int argc, char** argv, int rounds, void (*measure)(int rounds)) {
    const std::string given = argc > 1 ? argv[1] : std::to_string(rounds);
    const long wanted = std::strtol(given.c_str(), nullptr, 10);
    if (wanted < 1 || wanted > 1000000 || std::to_string(wanted) != given) {
        std::cerr << argv[0] << ": \"" << given
                  << "\" is no number of rounds; give 1 to 1000000.\n";
        return 2;
    }
    try {
        measure(static_cast<int>(wanted));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::cerr << argv[0] << ": " << error.what() << std::endl;
        return EXIT_FAILURE;
    }
}
