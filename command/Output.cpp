#include "Output.h"

#include <Escape.h>

#include <algorithm>
#include <iostream>

std::string Printable(const std::string& text) {
    std::string printable;
    for (std::size_t start = 0, end = 0; end != std::string::npos; start = end + 1) {
        end = text.find('\n', start);
        std::string line = text.substr(start, end - start);
        if (end != std::string::npos && !line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        std::replace(line.begin(), line.end(), '\t', ' ');
        printable += Escaped(line) + (end != std::string::npos ? "\n" : "");
    }
    return printable;
}

bool Say(const std::string& text) {
    if (std::cout && !(std::cout << Printable(text) << std::endl)) {
        Complain("Cannot write the answer: what the output goes to is full or closed.");
    }
    return static_cast<bool>(std::cout);
}

void Complain(const std::string& text) {
    std::cerr << Printable(text) << std::endl;
}
