#include "vconf.h"

#include <fcntl.h>
#include <glib.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <utility>

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

/// Whether a key is a path below the root: components, none of them empty, "." or "..".
bool IsKey(std::string_view key) {
    while (true) {
        const std::size_t end = key.find('/');
        const std::string_view component = key.substr(0, end);
        if (component.empty() || component == "." || component == "..") {
            errno = EINVAL;
            return false;
        }
        if (end == std::string_view::npos) {
            return true;
        }
        key.remove_prefix(end + 1);
    }
}

/// A key's folders, each with a "/" behind it, and the name of its file.
std::pair<std::string_view, std::string> Split(std::string_view key) {
    const std::size_t name = key.rfind('/') + 1;
    return {key.substr(0, name), std::string(key.substr(name))};
}

std::string Root() {
    const char* root = secure_getenv("VERANTI_STORE");
    if (root != nullptr && *root != '\0') {
        return root;
    }
    return std::string(g_get_user_state_dir()) + "/veranti/store";
}

/// What a folder lets its user, its group and everybody do. What is made in it allows the same, so
/// that the root decides who may read the store.
mode_t PermissionsOf(int folder) {
    struct stat status {};
    return fstat(folder, &status) == 0 ? status.st_mode & 0777U : 0700U;
}

/// Makes a folder that is missing, for good: its entry is on the disk.
bool MakeFolder(int parent, const char* name) {
    if (mkdirat(parent, name, PermissionsOf(parent)) != 0) {
        return errno == EEXIST;
    }
    return fsync(parent) == 0;
}

/// The error number of what GLib's file functions report.
int ErrorNumber(const GError& error) {
    switch (error.code) {
        case G_FILE_ERROR_ACCES:
            return EACCES;
        case G_FILE_ERROR_ISDIR:
            return EISDIR;
        case G_FILE_ERROR_NAMETOOLONG:
            return ENAMETOOLONG;
        case G_FILE_ERROR_NOSPC:
            return ENOSPC;
        case G_FILE_ERROR_ROFS:
            return EROFS;
        default:
            return EIO;
    }
}

/// Opens the folder that holds the key's file, component by component, so that a link cannot lead
/// out of the root however the folders change meanwhile.
Descriptor OpenFolder(std::string_view folders, bool create) {
    const std::string root = Root();
    if (create && g_mkdir_with_parents(root.c_str(), 0700) != 0) {
        return Descriptor(-1);
    }
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    Descriptor folder(open(root.c_str(), kFlags));
    while (folder && !folders.empty()) {
        const std::string component(folders.substr(0, folders.find('/')));
        folders.remove_prefix(component.size() + 1);
        if (create && !MakeFolder(folder.get(), component.c_str())) {
            return Descriptor(-1);
        }
        folder = Descriptor(openat(folder.get(), component.c_str(), kFlags | O_NOFOLLOW));
    }
    return folder;
}

/// Opens the key's file for reading. Not blocking, so that a pipe in its place cannot stall
/// anybody.
Descriptor OpenFile(std::string_view key) {
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    open_how how{};
    how.flags = kFlags;
    how.resolve = RESOLVE_NO_SYMLINKS;
    const std::string path = Root() + '/' + std::string(key);
    Descriptor file(
        static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how)));
    if (file || errno == ENOENT) {
        return file;
    }
    // There is a link on the way, perhaps only to the root; or this system has no such call.
    const auto [folders, name] = Split(key);
    const Descriptor folder = OpenFolder(folders, false);
    if (folder) {
        file = Descriptor(openat(folder.get(), name.c_str(), kFlags | O_NOFOLLOW));
    }
    return file;
}

/// A path that reaches the key's file through the folder already opened.
std::string PathThrough(const Descriptor& folder, const std::string& name) {
    return "/proc/self/fd/" + std::to_string(folder.get()) + '/' + name;
}

char* Read(std::string_view key) {
    if (!IsKey(key)) {
        return nullptr;
    }
    const Descriptor file = OpenFile(key);
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

int Write(std::string_view key, const char* value) {
    if (value == nullptr) {
        errno = EINVAL;
        return -1;
    }
    if (!IsKey(key)) {
        return -1;
    }
    const auto [folders, name] = Split(key);
    const Descriptor folder = OpenFolder(folders, true);
    if (!folder) {
        return -1;
    }
    constexpr auto kSafe = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                              G_FILE_SET_CONTENTS_DURABLE);
    const std::string path = PathThrough(folder, name);
    const auto mode = static_cast<int>(PermissionsOf(folder.get()) & 0666U);
    g_autoptr(GError) error = nullptr;
    if (g_file_set_contents_full(path.c_str(), value, -1, kSafe, mode, &error) == FALSE) {
        errno = ErrorNumber(*error);
        return -1;
    }
    return 0;
}

int Remove(std::string_view key) {
    if (!IsKey(key)) {
        return -1;
    }
    const auto [folders, name] = Split(key);
    const Descriptor folder = OpenFolder(folders, false);
    if (!folder || unlinkat(folder.get(), name.c_str(), 0) != 0) {
        return -1;
    }
    return fsync(folder.get());
}

std::string_view View(const char* key) {
    return key != nullptr ? key : std::string_view();
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
    return WithoutExceptions<char*>(nullptr, [key] { return Read(View(key)); });
}

int vconf_set_str(const char* key, const char* value) {
    return WithoutExceptions(-1, [key, value] { return Write(View(key), value); });
}

int vconf_unset(const char* key) {
    return WithoutExceptions(-1, [key] { return Remove(View(key)); });
}
