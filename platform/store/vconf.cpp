#include "vconf.h"

#include <fcntl.h>
#include <glib.h>
#include <pwd.h>
#include <sys/auxv.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "Cancellation.h"

// Else files whose inode's number is a large one could not be looked at on 32 bits (EOVERFLOW).
static_assert(sizeof(ino_t) == 8, "build with -D_FILE_OFFSET_BITS=64");

namespace {

/// The store of this machine's programs; empty for none.
constexpr char kMachineStore[] = VERANTI_MACHINE_STORE;

/// What a temporary file's name has behind the key's. No key's own holds a "#".
constexpr char kTemporary[] = "#XXXXXX";

struct Descriptor {
    explicit Descriptor(int opened) : fd(opened) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        const int savedErrno = errno;
        close(fd);
        errno = savedErrno;
    }
    const int fd;
};

/// Whether the machine has a store. One that cannot be looked at is one, so that whoever may not
/// use it is told so and is not given another.
bool HasMachineStore() {
    struct stat status {};
    return stat(kMachineStore, &status) == 0 ? S_ISDIR(status.st_mode)
                                             : errno != ENOENT && errno != ENOTDIR;
}

/// The home that the user database names for the effective user; empty, with errno set, when it
/// names none.
std::string HomeOfUser() {
    std::vector<char> texts(1024);
    passwd entry{};
    passwd* found = nullptr;
    int error = 0;
    while ((error = getpwuid_r(geteuid(), &entry, texts.data(), texts.size(), &found)) == ERANGE) {
        texts.resize(2 * texts.size());
    }
    if (found != nullptr && *entry.pw_dir == '/') {
        return entry.pw_dir;
    }
    // ENOENT would say that a key is not set.
    errno = error != 0 && error != ENOENT ? error : ENOTDIR;
    return {};
}

/// The user's state folder; empty, with errno set, when there is none. Whoever runs a program with
/// more rights than his own made its environment: it does not count then.
std::string StateFolder() {
    if (getauxval(AT_SECURE) == 0) {
        return g_get_user_state_dir();
    }
    const std::string home = HomeOfUser();
    return home.empty() ? home : home + "/.local/state";
}

/// The root, with a "/" behind it; empty, with errno set, when there is none.
std::string Root() {
    const char* root = secure_getenv("VERANTI_STORE");
    if (root != nullptr && *root != '\0') {
        return std::string(root) + '/';
    }
    if (HasMachineStore()) {
        return std::string(kMachineStore) + '/';
    }
    const std::string state = StateFolder();
    return state.empty() ? state : state + "/veranti/store/";
}

/// Whether a key is a path: components, none of them empty, "." or "..".
bool IsPath(std::string_view key) {
    while (true) {
        const std::string_view component = key.substr(0, key.find('/'));
        if (component.empty() || component == "." || component == "..") {
            return false;
        }
        if (component.size() == key.size()) {
            return true;
        }
        key.remove_prefix(component.size() + 1);
    }
}

/// The path of a key's file, whose name is escaped so that it holds no "/" and no two keys share
/// it; empty, with errno set, for a key that is refused and where there is no root.
std::string PathOf(const char* key) {
    const bool isPath = IsPath(key);
    if (isPath && std::strlen(key) <= NAME_MAX) {
        const g_autofree char* name = g_uri_escape_string(key, nullptr, FALSE);
        if (std::strlen(name) + std::strlen(kTemporary) <= NAME_MAX) {
            const std::string root = Root();
            return root.empty() ? root : root + name;
        }
    }
    errno = isPath ? ENAMETOOLONG : EINVAL;
    return {};
}

/// The root that a key's file lies in, with a "/" behind it.
std::string RootOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

char* Read(const std::string& path) {
    // Not blocking, so that a pipe in the file's place cannot stall anybody.
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    const Descriptor file(open(path.c_str(), kFlags));
    struct stat status {};
    if (file.fd < 0 || fstat(file.fd, &status) != 0) {
        return nullptr;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return nullptr;
    }
    // A file is replaced, never rewritten, so its size does not change under the reader.
    const auto size = static_cast<std::size_t>(status.st_size);
    auto* const text = static_cast<char*>(std::malloc(size + 1));
    std::size_t filled = 0;
    ssize_t got = 1;
    while (text != nullptr && filled < size && got > 0) {
        got = TEMP_FAILURE_RETRY(read(file.fd, text + filled, size - filled));
        filled += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    if (text == nullptr || got < 0) {
        std::free(text);
        return nullptr;
    }
    text[filled] = '\0';
    return text;
}

/// Removes the temporary files of a key's file that no living writer has locked.
void RemoveLeftovers(const std::string& root, const std::string& path) {
    const std::string prefix = path + kTemporary[0];
    g_autoptr(GDir) folder = g_dir_open(root.c_str(), 0, nullptr);
    while (const char* name = folder != nullptr ? g_dir_read_name(folder) : nullptr) {
        const std::string other = root + name;
        if (g_str_has_prefix(other.c_str(), prefix.c_str()) != FALSE) {
            const Descriptor file(
                open(other.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
            if (flock(file.fd, LOCK_EX | LOCK_NB) == 0) {
                unlink(other.c_str());
            }
        }
    }
}

int Write(const std::string& path, const char* value) {
    const std::string root = RootOf(path);
    struct stat status {};
    const bool isThere = stat(root.c_str(), &status) == 0 ||
                         (errno == ENOENT && g_mkdir_with_parents(root.c_str(), 0700) == 0);
    const Descriptor folder(isThere ? open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1);
    if (folder.fd < 0 || fstat(folder.fd, &status) != 0) {
        return -1;
    }
    RemoveLeftovers(root, path);
    while (true) {
        std::string temporary = path + kTemporary;
        const Descriptor file(mkostemp(temporary.data(), O_CLOEXEC));
        if (file.fd < 0) {
            return -1;
        }
        flock(file.fd, LOCK_EX | LOCK_NB);
        // The root decides who may read, not the writer's umask.
        if (fchmod(file.fd, status.st_mode & 0666U) == 0 && dprintf(file.fd, "%s", value) >= 0 &&
            fsync(file.fd) == 0 && rename(temporary.c_str(), path.c_str()) == 0) {
            return fsync(folder.fd);
        }
        const int error = errno;
        unlink(temporary.c_str());
        if (error != ENOENT) {  // else another writer took it for a leftover, before it was locked
            errno = error;
            return -1;
        }
    }
}

int Remove(const std::string& path) {
    const Descriptor folder(open(RootOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.fd >= 0 && unlink(path.c_str()) == 0 ? fsync(folder.fd) : -1;
}

/// Runs an operation. No exception passes, and its thread is not cancelled in it.
template <typename Result, typename Operation>
Result Guarded(Result failed, Operation operation) {
    const Cancellation::CHold hold;
    try {
        return operation();
    } catch (const std::exception&) {  // of allocation
        errno = ENOMEM;
        return failed;
    }
}

/// Runs an operation on the path of a key's file.
template <typename Result, typename Operation>
Result OnFile(const char* key, Result failed, Operation operation) {
    return Guarded(failed, [=] {
        const std::string path = PathOf(key != nullptr ? key : "");
        return path.empty() ? failed : operation(path);
    });
}

}  // namespace

char* vconf_get_str(const char* key) {
    return OnFile<char*>(key, nullptr, Read);
}

int vconf_set_str(const char* key, const char* value) {
    if (value == nullptr) {
        errno = EINVAL;
        return -1;
    }
    return OnFile(key, -1, [value](const std::string& path) { return Write(path, value); });
}

int vconf_unset(const char* key) {
    return OnFile(key, -1, Remove);
}

char* vconf_host_root() {
    return Guarded<char*>(nullptr, []() -> char* {
        const std::string root = Root();
        const std::size_t size = std::max<std::size_t>(root.find_last_not_of('/') + 1, 1);
        return root.empty() ? nullptr : strndup(root.c_str(), size);
    });
}
