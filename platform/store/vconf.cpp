#include "vconf.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

class Descriptor {
  public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (m_fd >= 0) {
            const int savedErrno = errno;
            close(m_fd);
            errno = savedErrno;
        }
    }
    explicit operator bool() const { return m_fd >= 0; }
    int get() const { return m_fd; }

  private:
    int m_fd;
};

/// A key taken apart: the folders on the way and the file's name.
struct Location {
    std::vector<std::string> folders;
    std::string name;
};

/// False with errno EINVAL when the key is refused.
bool Locate(const char* key, Location& location) {
    const std::string text = key != nullptr ? key : "";
    std::size_t begin = 0;
    std::size_t end = 0;
    do {
        end = text.find('/', begin);
        std::string component = text.substr(begin, end - begin);
        if (component.empty() || component == "." || component == "..") {
            errno = EINVAL;
            return false;
        }
        location.folders.push_back(std::move(component));
        begin = end + 1;
    } while (end != std::string::npos);
    location.name = std::move(location.folders.back());
    location.folders.pop_back();
    return true;
}

std::string Root() {
    const char* root = std::getenv("VERANTI_STORE");
    if (root != nullptr && *root != '\0') {
        return root;
    }
    return std::string(g_get_user_state_dir()) + "/veranti/store";
}

/// Opens the folder that holds the key's file, component by component, so that a link cannot lead
/// out of the root however the folders change meanwhile.
Descriptor OpenFolder(const Location& location, bool create) {
    const std::string root = Root();
    if (create && g_mkdir_with_parents(root.c_str(), 0700) != 0) {
        return Descriptor(-1);
    }
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    Descriptor folder(open(root.c_str(), kFlags));
    for (const std::string& component : location.folders) {
        if (!folder) {
            break;
        }
        if (create && mkdirat(folder.get(), component.c_str(), 0700) != 0 && errno != EEXIST) {
            return Descriptor(-1);
        }
        folder = Descriptor(openat(folder.get(), component.c_str(), kFlags | O_NOFOLLOW));
    }
    return folder;
}

/// A path that reaches the key's file through the folder already opened.
std::string PathThrough(const Descriptor& folder, const std::string& name) {
    return "/proc/self/fd/" + std::to_string(folder.get()) + '/' + name;
}

char* Read(const char* key) {
    Location location;
    if (!Locate(key, location)) {
        return nullptr;
    }
    const Descriptor folder = OpenFolder(location, false);
    if (!folder) {
        return nullptr;
    }
    // Not blocking, so that a pipe in the place of a file cannot stall the reader.
    const Descriptor file(openat(folder.get(), location.name.c_str(),
                                 O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0) {
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
    while (text != nullptr && filled < size) {
        const ssize_t got = read(file.get(), text + filled, size - filled);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            std::free(text);
            return nullptr;
        }
        if (got == 0) {
            break;
        }
        filled += static_cast<std::size_t>(got);
    }
    if (text != nullptr) {
        text[filled] = '\0';
    }
    return text;
}

int Write(const char* key, const char* value) {
    Location location;
    if (value == nullptr) {
        errno = EINVAL;
        return -1;
    }
    if (!Locate(key, location)) {
        return -1;
    }
    const Descriptor folder = OpenFolder(location, true);
    if (!folder) {
        return -1;
    }
    errno = 0;
    constexpr auto kSafe = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                              G_FILE_SET_CONTENTS_DURABLE);
    const std::string path = PathThrough(folder, location.name);
    if (g_file_set_contents_full(path.c_str(), value, -1, kSafe, 0600, nullptr) == FALSE) {
        errno = errno != 0 ? errno : EIO;
        return -1;
    }
    return 0;
}

int Remove(const char* key) {
    Location location;
    if (!Locate(key, location)) {
        return -1;
    }
    const Descriptor folder = OpenFolder(location, false);
    if (!folder || unlinkat(folder.get(), location.name.c_str(), 0) != 0) {
        return -1;
    }
    return fsync(folder.get());
}

/// Runs an operation behind the C interface, where no exception may pass.
template <typename Result, typename Operation>
Result WithoutExceptions(Result failed, Operation operation) {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return failed;
    }
}

}  // namespace

char* vconf_get_str(const char* key) {
    return WithoutExceptions<char*>(nullptr, [key] { return Read(key); });
}

int vconf_set_str(const char* key, const char* value) {
    return WithoutExceptions(-1, [key, value] { return Write(key, value); });
}

int vconf_unset(const char* key) {
    return WithoutExceptions(-1, [key] { return Remove(key); });
}
