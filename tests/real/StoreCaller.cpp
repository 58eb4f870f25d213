// store-caller: says where its store is and what a key holds there, and writes the key; else why
// not. It has the store's sources in it, and no sanitizer, as it runs with another user's rights.
// The machine's store is "machine" in the folder that it is started in.
#include <vconf.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

void Say(const char* text) {
    std::puts(text != nullptr ? text : std::strerror(errno));
}

}  // namespace

int main() {
    Say(vconf_host_root());
    Say(vconf_get_str("key"));
    Say(vconf_set_str("key", "written") == 0 ? "written" : nullptr);
    return 0;
}
