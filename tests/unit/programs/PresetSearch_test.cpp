#include "programs/options/PresetSearch.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "Expect.h"
#include "io/Pages.h"

namespace platen_tool {
namespace {

// The four variables, set for one test and put back after it.
class PresetSearch : public testing::Test {
  protected:
    static constexpr const char* kNames[] = {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS", "HOME"};

    PresetSearch() {
        for (const char* name : kNames) {
            const char* value = std::getenv(name);
            before_.emplace_back(value != nullptr ? std::optional<std::string>(value) : std::nullopt);
            unsetenv(name);
        }
    }
    ~PresetSearch() override {
        for (std::size_t i = 0; i < before_.size(); ++i) {
            before_[i] ? setenv(kNames[i], before_[i]->c_str(), 1) : unsetenv(kNames[i]);
        }
    }

    // The folders but the program's own, with a blank after each.
    static std::string Folders() {
        std::string text;
        const std::string own =
            std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path().string();
        for (const std::string& folder : PresetFolders()) {
            text += folder == own + "/share/platen/presets" ? "" : folder + " ";
        }
        return text;
    }

    std::string Put(const std::string& folder, const std::string& file) {
        const std::string path = scratch_ / (folder + "/platen/presets");
        std::filesystem::create_directories(path);
        platen_test::PutFile(path + "/" + file, "");
        return path + "/" + file;
    }

    platen_test::Scratch scratch_;

  private:
    std::vector<std::optional<std::string>> before_;
};

constexpr const char* kSystem = "/usr/local/share/platen/presets /usr/share/platen/presets ";

TEST_F(PresetSearch, WithoutVariablesOnlyTheSystemsFoldersAreLeft) {
    EXPECT_EQ(Folders(), kSystem);
}

TEST_F(PresetSearch, UserFoldersLieBelowTheHomeUnlessTheyAreNamed) {
    setenv("HOME", "/home/user", 1);
    const std::string config = "/home/user/.config/platen/presets ";
    const std::string data = "/home/user/.local/share/platen/presets ";
    EXPECT_EQ(Folders(), config + data + kSystem);
    setenv("XDG_CONFIG_HOME", "/c", 1);
    EXPECT_EQ(Folders(), "/c/platen/presets " + data + kSystem);
    setenv("XDG_DATA_HOME", "/d", 1);
    EXPECT_EQ(Folders(), std::string("/c/platen/presets /d/platen/presets ") + kSystem);
}

TEST_F(PresetSearch, EmptyAndRelativeVariablesCountAsNotSet) {
    for (const char* value : {"", "relative/path"}) {
        setenv("HOME", "/h", 1);
        setenv("XDG_CONFIG_HOME", value, 1);
        setenv("XDG_DATA_HOME", value, 1);
        EXPECT_EQ(Folders(), std::string("/h/.config/platen/presets /h/.local/share/platen/presets ") + kSystem);
        setenv("HOME", value, 1);
        EXPECT_EQ(Folders(), kSystem);
    }
    setenv("XDG_DATA_DIRS", "", 1);
    EXPECT_EQ(Folders(), kSystem);
    setenv("XDG_DATA_DIRS", "relative:/a::/b", 1);
    EXPECT_EQ(Folders(), "/a/platen/presets /b/platen/presets ");
}

TEST_F(PresetSearch, TheFirstOfSeveralOfOneNameIsTaken) {
    setenv("XDG_CONFIG_HOME", (scratch_ / "config").c_str(), 1);
    setenv("XDG_DATA_DIRS", (scratch_ / "one" + ":" + (scratch_ / "two")).c_str(), 1);
    const std::string first = Put("config", "own.toml");
    Put("one", "own.toml");
    const std::string second = Put("one", "other.toml");
    Put("two", "other.toml");
    Put("two", "notes.txt");
    EXPECT_EQ(FindPreset("own"), first);
    EXPECT_EQ(FindPreset("other"), second);
    const auto all = FindAllPresets();
    EXPECT_EQ(std::count_if(all.begin(), all.end(), [](const FoundPreset& p) { return p.name == "other"; }), 1);
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end(),
                               [](const FoundPreset& a, const FoundPreset& b) { return a.name < b.name; }));
    EXPECT_TRUE(std::none_of(all.begin(), all.end(), [](const FoundPreset& p) { return p.name == "notes"; }));
}

TEST_F(PresetSearch, FilesAreNotSearchedFor) {
    EXPECT_EQ(FindPreset("a/b"), "a/b");
    EXPECT_EQ(FindPreset("b.toml"), "b.toml");
}

TEST_F(PresetSearch, AnUnknownNameListsTheNamesThereAre) {
    setenv("XDG_DATA_DIRS", (scratch_ / "none").c_str(), 1);
    const std::string none = UsageText([] { FindPreset("what"); });
    EXPECT_EQ(none.substr(0, 28), "--preset: there is no 'what'");
    EXPECT_TRUE(none.ends_with(" (a file's name has a slash or ends in .toml)")) << none;
    setenv("XDG_DATA_DIRS", (scratch_ / "some").c_str(), 1);
    Put("some", "zebra.toml");
    Put("some", "yak.toml");
    const std::string some = UsageText([] { FindPreset("what"); });
    EXPECT_NE(some.find("yak, zebra"), std::string::npos) << some;
}

}  // namespace
}  // namespace platen_tool
