#include "Base/XdgFolders.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <sys/stat.h>

namespace ombrel {
namespace {

using test::TemporaryFolder;

/// The environment as given for a scope; a variable without a value is absent.
class ScopedEnvironment {
public:
    explicit ScopedEnvironment(const std::map<std::string, std::optional<std::string>>& values) {
        for (const auto& [name, value] : values) {
            const char* before = std::getenv(name.c_str());
            before_[name] = before ? std::optional<std::string>(before) : std::nullopt;
            assign(name, value);
        }
    }
    ~ScopedEnvironment() {
        for (const auto& [name, value] : before_)
            assign(name, value);
    }

private:
    static void assign(const std::string& name, const std::optional<std::string>& value) {
        if (value)
            ::setenv(name.c_str(), value->c_str(), 1);
        else
            ::unsetenv(name.c_str());
    }
    std::map<std::string, std::optional<std::string>> before_;
};

TEST(XdgFolders, followTheEnvironment) {
    const ScopedEnvironment environment({{"HOME", "/h"},
                                         {"XDG_DATA_HOME", "/d"},
                                         {"XDG_CONFIG_HOME", "/c/"},
                                         {"XDG_CACHE_HOME", "/x"},
                                         {"XDG_STATE_HOME", "/s"},
                                         {"TMPDIR", "/t"}});
    EXPECT_EQ(XdgFolders::fromEnvironment(),
              (XdgFolders{"/d/ombrel", "/c/ombrel", "/x/ombrel", "/s/ombrel", "/t"}));
}

TEST(XdgFolders, ignoreRelativeAndEmptyValues) {
    const ScopedEnvironment environment({{"HOME", "/h"},
                                         {"XDG_DATA_HOME", "relative"},
                                         {"XDG_CONFIG_HOME", ""},
                                         {"XDG_CACHE_HOME", std::nullopt},
                                         {"XDG_STATE_HOME", "./s"},
                                         {"TMPDIR", "tmp"}});
    EXPECT_EQ(XdgFolders::fromEnvironment(),
              (XdgFolders{"/h/.local/share/ombrel", "/h/.config/ombrel", "/h/.cache/ombrel",
                          "/h/.local/state/ombrel", "/tmp"}));
}

TEST(XdgFolders, areFoundWithoutAHomeVariable) {
    const ScopedEnvironment environment({{"HOME", std::nullopt}, {"XDG_DATA_HOME", std::nullopt}});
    EXPECT_TRUE(XdgFolders::fromEnvironment().data.is_absolute());
}

TEST(XdgFolders, privateFoldersAreForTheUserAlone) {
    const TemporaryFolder folder;
    const std::filesystem::path deep = folder / "a/b/c/";
    ASSERT_TRUE(createPrivateFolder(deep));
    ASSERT_TRUE(createPrivateFolder(deep)) << "what exists is fine";
    for (const char* name : {"a", "a/b", "a/b/c"}) {
        struct stat status{};
        ASSERT_EQ(::stat((folder / name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0700u) << name;
    }
    std::ofstream(folder / "file") << "x";
    EXPECT_EQ(createPrivateFolder(folder / "file").error().code, ENOTDIR);
    EXPECT_EQ(createPrivateFolder(folder / "file/below").error().code, ENOTDIR);
}

} // namespace
} // namespace ombrel
