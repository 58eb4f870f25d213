// Measures contenders side by side: each round runs every one once, in another order, so that
// whatever else the machine does meets all of them alike.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct Contender {
    std::string name;
    std::function<void()> run;
    std::vector<double> microseconds{};

    double Median() const;
};

/// Runs a tenth of the rounds to warm everything up, then the rounds, and keeps their times.
void RunInterleaved(std::vector<Contender>& contenders, int rounds);

/// Prints a table: the median of each, and how the first one's compares with it.
void PrintRatios(const std::string& what, const std::vector<Contender>& contenders);

/// Throws when a contender did not get what it should.
void Check(bool good, const char* what);

/// A benchmark's main function, its only argument being the number of rounds.
int RunBench(int argc, char** argv, int rounds, void (*measure)(int rounds));
