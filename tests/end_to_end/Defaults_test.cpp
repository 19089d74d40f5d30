#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "Spawn.h"

// The user's file of default options.

namespace platen_test {
namespace {

class Defaults : public testing::Test {
  protected:
    Defaults() {
        std::filesystem::create_directories(home.File(".config/platen"));
        std::filesystem::create_directories(configuration.File("platen"));
        setenv("XDG_CONFIG_HOME", configuration.Path().c_str(), 1);
        setenv("HOME", home.Path().c_str(), 1);
        WriteFile(folder.File("a.ppm"), PnmPage(20, 30, true));
    }
    ~Defaults() override {
        setenv("XDG_CONFIG_HOME", "/nonexistent", 1);
        setenv("HOME", "/nonexistent", 1);
    }

    Outcome Run(const std::vector<std::string>& words) const {
        Streams streams;
        streams.folder = folder.Path();
        return Spawn(words, streams);
    }
    std::string Bytes(const std::vector<std::string>& options) const {
        std::vector<std::string> words = {"a.ppm", "-f", "-o", "out.ppm"};
        words.insert(words.end(), options.begin(), options.end());
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return ReadFile(folder.File("out.ppm"));
    }
    void Write(const std::string& text) const {
        WriteFile(configuration.File("platen/defaults.toml"), text);
    }

    Folder folder;
    Folder home;
    Folder configuration;
};

TEST_F(Defaults, ActBeforeTheCommandLineWhichWins) {
    const std::string plain = Bytes({});
    Write("mode = \"gray\"\nscale = \"50%\"\n\n[[tone]]\nbrightness = 10\n");
    EXPECT_EQ(Bytes({}), Bytes({"--no-defaults", "--brightness=10", "--mode=gray", "--scale=50%"}));
    EXPECT_EQ(Bytes({"--mode=color", "--width=7"}), Bytes({"--no-defaults", "--brightness=10", "--width=7"}));
    EXPECT_EQ(Bytes({"--gamma=2"}),
              Bytes({"--no-defaults", "--brightness=10", "--gamma=2", "--mode=gray", "--scale=50%"}));
    EXPECT_EQ(Bytes({"--no-defaults"}), plain);
    EXPECT_NE(Bytes({}), plain);
}

TEST_F(Defaults, LieBelowHomeWhereNothingElseIsSaid) {
    WriteFile(home.File(".config/platen/defaults.toml"), "mode = \"gray\"\n");
    EXPECT_EQ(Bytes({}).substr(0, 2), "P6");
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(Bytes({}).substr(0, 2), "P5");
    setenv("XDG_CONFIG_HOME", "relative", 1);  // counts as not set
    EXPECT_EQ(Bytes({}).substr(0, 2), "P5");
}

TEST_F(Defaults, ADryRunTellsThem) {
    const std::string line = "default options from " + configuration.File("platen/defaults.toml") + "\n";
    EXPECT_EQ(Run({"-n", "a.ppm"}).out.find("default options"), std::string::npos);
    Write("sharpness = 1\n");
    EXPECT_TRUE(Run({"-n", "a.ppm"}).out.starts_with(line));
    EXPECT_EQ(Run({"-n", "--no-defaults", "a.ppm"}).out.find("default options"), std::string::npos);
}

TEST_F(Defaults, WrongOnesAreNamedWithTheirLine) {
    Write("sharpness = 1\nnonsense = 2\n");
    const Outcome outcome = Run({"a.ppm", "-o", "never.png"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_NE(outcome.err.find(configuration.File("platen/defaults.toml") + ":2: unknown key 'nonsense'"),
              std::string::npos)
        << outcome.err;
    EXPECT_EQ(Run({"--no-defaults", "a.ppm", "-o", "out.png"}).code, 0);
    EXPECT_EQ(Run({"info", "a.ppm"}).code, 0);  // reads no such options
}

TEST_F(Defaults, SavedPresetsHoldThem) {
    Write("sharpness = 1\n");
    EXPECT_EQ(Run({"--negative", "--save-preset=-"}).out, "sharpness = 1\nnegative = true\n");
}

}  // namespace
}  // namespace platen_test
