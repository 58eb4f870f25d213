// Loading the library with all that it depends on, in a process that has none of it yet, against
// the same for its dependencies alone and for other bus libraries. load-bench [ROUNDS]
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Interleaved.h"

namespace {

/// In a child, so that nothing is loaded before.
void Load(const std::vector<const char*>& libraries) {
    const pid_t child = fork();
    if (child == 0) {
        bool loaded = true;
        for (const char* library : libraries) {
            loaded = dlopen(library, RTLD_NOW | RTLD_LOCAL) != nullptr && loaded;
        }
        _exit(loaded ? 0 : 1);
    }
    int status = 0;
    Check(waitpid(child, &status, 0) == child && status == 0, "cannot load a library");
}

void Measure(int rounds) {
    std::vector<Contender> contenders = {
        {"the library", [] { Load({LIBRARY_PATH}); }},
        {"GIO, JsonCpp and sd-bus alone",
         [] {
             Load({"libgio-2.0.so.0", "libjsoncpp.so.25", "libsystemd.so.0"});
         }},
        {"sd-bus", [] { Load({"libsystemd.so.0"}); }},
        {"sdbus-c++", [] { Load({"libsdbus-c++.so.1"}); }},
        {"libdbus", [] { Load({"libdbus-1.so.3"}); }},
        {"GDBus", [] { Load({"libgio-2.0.so.0"}); }},
        {"nothing, in a process of its own too", [] { Load({}); }}};
    RunInterleaved(contenders, rounds);
    PrintRatios("loading", contenders);
}

}  // namespace

int main(int argc, char** argv) {
    return RunBench(argc, argv, 500, Measure);
}
