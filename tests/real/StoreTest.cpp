// The host's configuration store, on real files.
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vconf.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "World.h"

namespace {

std::string Get(const char* key) {
    const std::unique_ptr<char, decltype(&std::free)> text(vconf_get_str(key), &std::free);
    return text ? text.get() : "(null)";
}

class StoreTest : public testing::Test {
  protected:
    TemporaryStore m_store;
};

TEST_F(StoreTest, TheRootDecidesWhoMayRead) {
    namespace fs = std::filesystem;
    umask(022);
    for (const auto mode : {fs::perms(0700), fs::perms(0755)}) {
        fs::permissions(m_store.Path(), mode);
        const std::string folder = m_store.Path() + "/db" + std::to_string(unsigned(mode));
        EXPECT_EQ(vconf_set_str((folder.substr(m_store.Path().size() + 1) + "/key").c_str(), ""),
                  0);
        EXPECT_EQ(fs::status(folder).permissions(), mode);
        EXPECT_EQ(fs::status(folder + "/key").permissions(), mode & fs::perms(0666));
    }
}

TEST_F(StoreTest, KeepsTexts) {
    EXPECT_EQ(Get("db/a/b"), "(null)");
    EXPECT_EQ(errno, ENOENT);
    for (const std::string& text :
         {std::string("one"), std::string(), std::string("\xff\n 2"), std::string(1 << 20, 'x')}) {
        EXPECT_EQ(vconf_set_str("db/a/b", text.c_str()), 0);
        EXPECT_EQ(Get("db/a/b"), text);
    }
    EXPECT_EQ(vconf_unset("db/a/b"), 0);
    EXPECT_EQ(Get("db/a/b"), "(null)");
    EXPECT_EQ(vconf_unset("db/a/b"), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(StoreTest, RefusesKeysThatAreNoPathBelowTheRoot) {
    for (const char* key : {"", "/a", "a/", "a//b", ".", "..", "../a", "a/../b", "a/./b", "a/..",
                            static_cast<const char*>(nullptr)}) {
        errno = 0;
        EXPECT_EQ(vconf_set_str(key, "x"), -1);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(Get(key), "(null)");
        EXPECT_EQ(vconf_unset(key), -1);
    }
    EXPECT_EQ(vconf_set_str("a", nullptr), -1);
    EXPECT_TRUE(std::filesystem::is_empty(m_store.Path()));
}

TEST_F(StoreTest, FollowsNoLinkOutOfTheRoot) {
    const TemporaryFolder outside;
    const std::string secret = outside.Write("secret", "secret");
    std::filesystem::create_directory_symlink(outside.Path(), m_store.Path() + "/folder");
    std::filesystem::create_symlink(secret, m_store.Path() + "/file");
    EXPECT_EQ(Get("folder/secret"), "(null)");
    EXPECT_EQ(Get("file"), "(null)");
    EXPECT_EQ(vconf_set_str("folder/secret", "x"), -1);
    EXPECT_EQ(vconf_unset("folder/secret"), -1);
    EXPECT_EQ(vconf_set_str("file", "x"), 0);  // replaces the link, not what it points to
    EXPECT_EQ(Get("file"), "x");
    EXPECT_EQ(ReadFile(secret), "secret");
}

TEST_F(StoreTest, TheRootItselfMayBeALink) {
    const TemporaryFolder elsewhere;
    const std::string link = elsewhere.Path() + "/link";
    std::filesystem::create_directory_symlink(m_store.Path(), link);
    setenv("VERANTI_STORE", link.c_str(), 1);
    EXPECT_EQ(vconf_set_str("db/key", "x"), 0);
    EXPECT_EQ(Get("db/key"), "x");
    std::filesystem::create_symlink(link, m_store.Path() + "/inside");
    EXPECT_EQ(Get("inside/db/key"), "(null)");
}

TEST_F(StoreTest, IsNotStalledOrFooledByWhatIsNoFile) {
    ASSERT_EQ(mkfifo((m_store.Path() + "/pipe").c_str(), 0600), 0);
    std::filesystem::create_directory(m_store.Path() + "/folder");
    EXPECT_EQ(Get("pipe"), "(null)");
    EXPECT_EQ(Get("folder"), "(null)");
    EXPECT_EQ(vconf_set_str("folder", "x"), -1);
    EXPECT_EQ(errno, EISDIR);
    const std::string file = m_store.Write("file", "x");
    EXPECT_EQ(Get("file/below"), "(null)");
    setenv("VERANTI_STORE", file.c_str(), 1);  // a root that cannot be written
    EXPECT_EQ(vconf_set_str("key", "x"), -1);
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(StoreTest, AReaderSeesWholeTextsAlsoWhenTheWriterIsKilled) {
    const std::string texts[] = {std::string(1 << 18, 'a'), std::string(1 << 18, 'b')};
    ASSERT_EQ(vconf_set_str("key", texts[0].c_str()), 0);
    const auto expectWhole = [&texts] {
        std::string seen = Get("key");
        EXPECT_TRUE(seen == texts[0] || seen == texts[1]) << seen.size();
        return seen;
    };
    for (int round = 0; round < 5; ++round) {
        const pid_t writer = fork();
        ASSERT_GE(writer, 0);
        if (writer == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (int i = round;; ++i) {
                vconf_set_str("key", texts[i % 2].c_str());
            }
        }
        for (int changes = 0; changes < 3; ++changes) {  // the writer writes
            const std::string before = expectWhole();
            while (expectWhole() == before && !HasFailure()) {
            }
        }
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
        expectWhole();
    }
}

}  // namespace
