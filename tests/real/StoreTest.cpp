// The host's configuration store, on real files.
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <thread>

#include "Limit.h"
#include "Store.h"

namespace {

namespace fs = std::filesystem;

class StoreTest : public testing::Test {
  protected:
    using Sizes = std::map<std::string, std::uintmax_t>;

    /// What lies in the root.
    Sizes Files() const {
        Sizes files;
        for (const fs::directory_entry& entry : fs::directory_iterator(m_store.Path())) {
            files[entry.path().filename()] = entry.is_regular_file() ? entry.file_size() : 0;
        }
        return files;
    }

    /// What store-caller says that is started in the root with a line in front of it: variables,
    /// and whose rights it has.
    std::string Say(const std::string& line, const std::string& caller) const {
        return RunProgram(Arguments{"env", "-C", m_store.Path(),
                                    "VERANTI_STORE=", "XDG_STATE_HOME=" + m_store.Path() + "/xdg",
                                    "HOME=" + m_store.Path() + "/home"} +
                          Words(line) + Arguments{caller})
            .output;
    }

    TemporaryStore m_store;
};

/// 0, or why it could not be done.
int Error(bool done) {
    return done ? 0 : errno;
}

TEST_F(StoreTest, LiesInTheFirstOfItsPlaces) {
    const std::string folder = m_store.Path() + '/';
    const struct {
        fs::file_type machine;
        const char* variable;
        std::string root;
    } cases[] = {
        {fs::file_type::directory, "VERANTI_STORE=told/", "told"},
        {fs::file_type::directory, "VERANTI_STORE=", "machine"},
        {fs::file_type::not_found, "VERANTI_STORE=", folder + "xdg/veranti/store"},
        {fs::file_type::regular, "XDG_STATE_HOME=", folder + "home/.local/state/veranti/store"},
    };
    for (const auto& [machine, variable, root] : cases) {
        if (machine == fs::file_type::directory) {
            mkdir((folder + "machine").c_str(), 0700);
        } else if (machine == fs::file_type::regular) {
            m_store.Write("machine", "");
        }
        EXPECT_EQ(Say(variable, CALLERS_PATH "/store-caller"),
                  root + "\nNo such file or directory\nwritten\n");
        EXPECT_EQ(fs::status(folder / fs::path(root)).permissions(), fs::perms(0700));
        fs::remove_all(folder + "machine");
    }
}

TEST_F(StoreTest, MoreRightsThanTheCallersTakeNothingOfItsEnvironment) {
    constexpr uid_t kNobody = 65534;
    const TemporaryFolder forged;
    forged.Write("key", "forged");
    for (const char* place : {"told", "xdg/veranti/store", "home/.local/state/veranti/store"}) {
        const fs::path link = fs::path(m_store.Path()) / place;
        fs::create_directories(link.parent_path());
        fs::create_directory_symlink(forged.Path(), link);
    }
    const std::string machine = m_store.Path() + "/machine";
    fs::create_directory(machine);
    m_store.Write("machine/key", "kept");
    fs::copy(CALLERS_PATH "/store-caller", m_store.Path() + "/caller");
    for (const char* path : {"", "/machine", "/machine/key", "/caller"}) {
        fs::permissions(m_store.Path() + path, fs::perms(0755));
    }
    fs::permissions(forged.Path(), fs::perms(0777));

    const std::string more = "VERANTI_STORE=told setpriv --ruid 1 --euid ";
    const std::string nobody = std::to_string(kNobody);
    if (Say("setpriv --reuid " + nobody, "./caller").empty()) {
        GTEST_SKIP() << "no program can be given another user's rights here: that takes root";
    }
    const std::string kept = "machine\nkept\nPermission denied\n";
    EXPECT_EQ(Say("setpriv --reuid " + nobody, "./caller"), kept);
    EXPECT_EQ(Say(more + nobody, "./caller"), kept);
    fs::remove_all(machine);
    const TemporaryFolder sealed;
    fs::create_directory_symlink(sealed.Path() + "/store", machine);
    EXPECT_EQ(Say(more + nobody, "./caller"), "machine\nPermission denied\nPermission denied\n");
    fs::remove(machine);
    EXPECT_EQ(Say(more + nobody, "./caller"),
              std::string(getpwuid(kNobody)->pw_dir) +
                  "/.local/state/veranti/store\nNo such file or directory\nPermission denied\n");
    EXPECT_EQ(Say(more + "4000000000", "./caller"),
              "Not a directory\nNot a directory\nNot a directory\n");
    EXPECT_EQ(ReadFile(forged.Path() + "/key"), "forged");
}

TEST_F(StoreTest, TheRootMayBeALinkAndDecidesWhoMayRead) {
    const TemporaryFolder elsewhere;
    const std::string link = elsewhere.Path() + "/link";
    fs::create_directory_symlink(m_store.Path(), link);
    setenv("VERANTI_STORE", link.c_str(), 1);
    umask(077);
    for (const auto mode : {fs::perms(0700), fs::perms(0755)}) {
        fs::permissions(m_store.Path(), mode);
        EXPECT_EQ(vconf_set_str("db/key", "x"), 0);
        EXPECT_EQ(Stored("db/key"), "x");
        EXPECT_EQ(fs::status(FileOf(m_store, "db/key")).permissions(), mode & fs::perms(0666));
    }
    umask(022);
    const std::string file = FileOf(m_store, "db/key");
    setenv("VERANTI_STORE", file.c_str(), 1);
    EXPECT_EQ(Error(vconf_set_str("key", "x") == 0), ENOTDIR);
    EXPECT_EQ(RunCommand("agreed x").errors.find("The store " + file + " cannot be read: "), 0);
}

TEST_F(StoreTest, KeepsTexts) {
    for (const std::string& text :
         {std::string("one"), std::string(), std::string("\xff\n% 2"), std::string(1 << 20, 'x')}) {
        EXPECT_EQ(vconf_set_str("db/a/b", text.c_str()), 0);
        EXPECT_EQ(Stored("db/a/b"), text);
    }
    EXPECT_EQ(vconf_unset("db/a/b"), 0);
    EXPECT_EQ(Error(Stored("db/a/b") != "(null)"), ENOENT);
    EXPECT_EQ(Error(vconf_unset("db/a/b") == 0), ENOENT);
    EXPECT_EQ(Error(vconf_set_str("db/a/b", nullptr) == 0), EINVAL);
}

TEST_F(StoreTest, EachKeyIsAFileInTheRoot) {
    const auto expect = [this](const char* key, int error, const Sizes& files) {
        SCOPED_TRACE(key != nullptr ? key : "(null)");
        EXPECT_EQ(Error(vconf_set_str(key, "x") == 0), error);
        EXPECT_EQ(Files(), files);
        EXPECT_EQ(Error(Stored(key) == "x"), error);
        EXPECT_EQ(Error(vconf_unset(key) == 0), error);
    };
    const std::string longest(248, 'x');
    const std::pair<std::string, std::string> kept[] = {{"...", "..."},
                                                        {"..%2f", "..%252f"},
                                                        {"a/b", "a%2Fb"},
                                                        {"a%2Fb", "a%252Fb"},
                                                        {"\u00e9", "%C3%A9"},
                                                        {"\xe9", "%E9"},
                                                        {"~-_ #*\n", "~-_%20%23%2A%0A"},
                                                        {longest, longest}};
    for (const auto& [key, file] : kept) {
        expect(key.c_str(), 0, {{file, 1}});
    }
    for (const char* key : {"", "/a", "a/", "a//b", ".", "..", "../a", "a/./b", "a/..",
                            static_cast<const char*>(nullptr)}) {
        expect(key, EINVAL, {});
    }
    for (const std::string& key : {longest + 'x', std::string(83, ' '), std::string(300, '%')}) {
        expect(key.c_str(), ENAMETOOLONG, {});
    }
}

TEST_F(StoreTest, NothingButAFileFoolsOrStallsAnybody) {
    const TemporaryFolder outside;
    const std::string secret = outside.Write("secret", "secret");
    const std::string place = FileOf(m_store, "key");
    const struct {
        std::function<void()> make;
        int read, written, removed;
    } cases[] = {{[&] { mkfifo(place.c_str(), 0600); }, EINVAL, 0, 0},
                 {[&] { fs::create_directory(place); }, EINVAL, EISDIR, EISDIR},
                 {[&] { fs::create_symlink(secret, place); }, ELOOP, 0, 0}};
    for (const auto& each : cases) {
        each.make();
        EXPECT_EQ(Error(Stored("key") != "(null)"), each.read);
        EXPECT_EQ(Error(vconf_set_str("key", "") == 0), each.written);
        EXPECT_EQ(Files(), (Sizes{{"key", 0}}));
        fs::remove(place);
        each.make();
        EXPECT_EQ(Error(vconf_unset("key") == 0), each.removed);
        fs::remove(place);
    }
    EXPECT_EQ(ReadFile(secret), "secret");
    setenv("VERANTI_STORE", "/dev", 1);
    EXPECT_EQ(Error(Stored("null") != "(null)"), EINVAL);
}

const std::string kTexts[] = {std::string(1 << 14, 'a'), std::string(1 << 14, 'b')};

/// Writes the texts in turn, so often, and reads between.
void WriteAndRead(int times) {
    for (int i = 0; i < times; ++i) {
        EXPECT_EQ(vconf_set_str("key", kTexts[i % 2].c_str()), 0);
        const std::string seen = Stored("key");
        EXPECT_TRUE(seen == kTexts[0] || seen == kTexts[1]) << seen.size() << " bytes";
    }
}

TEST_F(StoreTest, WritersAndReadersOfOneKeyDoNotMeet) {
    std::thread other(WriteAndRead, 200);
    WriteAndRead(200);
    other.join();
    EXPECT_EQ(Files().size(), 1);
}

TEST_F(StoreTest, AWriterThatIsStoppedOrKilledHarmsNobody) {
    m_store.Write("other#abcdef", "");
    WriteAndRead(2);
    const Sizes settled = Files();
    for (int round = 0; round < 5; ++round) {
        const pid_t writer = fork();
        ASSERT_GE(writer, 0);
        if (writer == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            WriteAndRead(INT_MAX);
        }
        const auto end = std::chrono::steady_clock::now() + kHang;
        Sizes files;
        do {
            EXPECT_LT(std::chrono::steady_clock::now(), end) << "waited for a half-written file";
            kill(writer, SIGCONT);
            WriteAndRead(1);
            kill(writer, SIGSTOP);
            waitpid(writer, nullptr, WUNTRACED);
            files = Files();
        } while (!HasFailure() && (files.size() != 3 || std::next(files.begin())->second == 0));
        WriteAndRead(1);
        EXPECT_EQ(Files(), files);
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
        WriteAndRead(1);
        EXPECT_EQ(Files(), settled);
    }
}

}  // namespace
