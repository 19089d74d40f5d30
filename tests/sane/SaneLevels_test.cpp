// platen-auto: what it asks of the device, and what it finds on pages whose levels are known.

#include <sane/saneopts.h>

#include <algorithm>
#include <array>

#include "StandInTest.h"

namespace platen_test {
namespace {

// So many pixels of a colour; grey pages take the first number.
struct Pixels {
    int count;
    std::array<int, 3> colour;
};

struct Levels {
    SANE_Word black;
    SANE_Word white;

    bool operator==(const Levels&) const = default;
};

void PrintTo(const Levels& levels, std::ostream* out) {
    *out << levels.black << ", " << levels.white;
}

class SaneLevels : public StandInTest {
  protected:
    ~SaneLevels() override {
        unsetenv("STANDIN_PAGE");
    }

    // The device gives these bytes as its source's name.
    void SourceIs(const std::string& bytes) {
        Hooks().control = [bytes](const std::string& option, SANE_Action action, void* value,
                                  SANE_Int& /*info*/) -> Answer {
            if (option != "source" || action != SANE_ACTION_GET_VALUE) {
                return std::nullopt;
            }
            std::copy(bytes.begin(), bytes.end(), static_cast<char*>(value));
            return SANE_STATUS_GOOD;
        };
    }

    // What platen-auto finds on a page of 1,000 pixels.
    Levels Found(bool colour, const std::vector<Pixels>& page, const std::string& preset = "",
                 const std::array<SANE_Word, 256>* table = nullptr) {
        std::string file = std::string(colour ? "P6" : "P5") + "\n20 50\n255\n";
        for (const Pixels& pixels : page) {
            for (int i = 0; i < pixels.count; ++i) {
                for (std::size_t channel = 0; channel < (colour ? 3u : 1u); ++channel) {
                    file += static_cast<char>(pixels.colour[channel]);
                }
            }
        }
        WriteFile(folder.File("page"), file);
        setenv("STANDIN_PAGE", folder.File("page").c_str(), 1);
        WriteFile(folder.File("own.toml"), preset);
        OfferPresets();
        const Application application(kWrapped);
        EXPECT_EQ(application.SetText("platen-preset", preset.empty() ? "None" : "own"), SANE_STATUS_GOOD);
        if (table != nullptr) {
            std::array<SANE_Word, 256> words = *table;
            EXPECT_EQ(platen_tool::Sane().controlOption(application.Handle(), application.Find("gamma-table"),
                                                        SANE_ACTION_SET_VALUE, words.data(), nullptr),
                      SANE_STATUS_GOOD);
        }
        EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_GOOD);
        return {application.Word("shadow").value_or(-1), application.Word("highlight").value_or(-1)};
    }

    // What platen-auto asks of a device whose options are changed like this; questions are left out.
    Calls Asked(const Application& application, SANE_Status status = SANE_STATUS_GOOD) {
        Hooks().records = true;
        Hooks().calls.clear();
        EXPECT_EQ(application.Press("platen-auto"), status);
        Calls calls = Hooks().calls;
        std::erase_if(calls, [](const std::string& call) { return call.ends_with('?'); });
        return calls;
    }
};

// The paper's weakest colour becomes white.
TEST_F(SaneLevels, PaperIsWhiteWhereItsWeakestColourIs) {
    const Pixels ink = {20, {10, 10, 10}};
    EXPECT_EQ(Found(true, {ink, {980, {250, 240, 220}}}), (Levels{10, 220}));
    EXPECT_EQ(Found(true, {ink, {980, {250, 220, 240}}}), (Levels{10, 220}));
    EXPECT_EQ(Found(true, {ink, {980, {220, 250, 240}}}), (Levels{10, 220}));
    EXPECT_EQ(Found(false, {ink, {980, {220, 0, 0}}}), (Levels{10, 220}));
    // A few bright specks aren't paper.
    EXPECT_EQ(Found(true, {ink, {976, {250, 240, 210}}, {4, {250, 240, 255}}}), (Levels{10, 210}));
}

// Four fifths of the white of all colours together, where there is hardly any of one.
TEST_F(SaneLevels, APictureWithoutAColourKeepsItsOthers) {
    const Pixels ink = {20, {10, 10, 10}};
    EXPECT_EQ(Found(true, {ink, {980, {250, 240, 30}}}), (Levels{10, 200}));
    EXPECT_EQ(Found(true, {ink, {980, {255, 255, 203}}}), (Levels{10, 204}));
    EXPECT_EQ(Found(true, {ink, {980, {255, 255, 205}}}), (Levels{10, 205}));
}

// A weak colour that is much the same all over is no reason for levels closer than that.
TEST_F(SaneLevels, LevelsLieEightApartAtLeast) {
    const Pixels ink = {20, {200, 200, 200}};
    EXPECT_EQ(Found(true, {ink, {980, {203, 240, 240}}}), (Levels{200, 208}));
    EXPECT_EQ(Found(true, {ink, {980, {209, 240, 240}}}), (Levels{200, 209}));
}

// Its grain isn't stretched, whatever its colour.
TEST_F(SaneLevels, ABlankPageLeavesTheLevelsAsTheyAre) {
    const Levels untouched = {0, 255};
    for (const int level : {0, 100, 255}) {
        EXPECT_EQ(Found(false, {{1000, {level, 0, 0}}}), untouched);
        EXPECT_EQ(Found(true, {{1000, {level, level, level}}}), untouched);
    }
    EXPECT_EQ(Found(true, {{1000, {250, 230, 60}}}), untouched);
    EXPECT_EQ(Found(false, {{500, {210, 0, 0}}, {500, {241, 0, 0}}}), untouched);
    EXPECT_EQ(Found(false, {{500, {210, 0, 0}}, {500, {242, 0, 0}}}), (Levels{210, 242}));
    // One channel with a picture is enough, the first or the last.
    EXPECT_EQ(Found(true, {{500, {210, 230, 230}}, {500, {241, 230, 230}}}), untouched);
    EXPECT_EQ(Found(true, {{500, {210, 240, 240}}, {500, {242, 240, 240}}}), (Levels{210, 240}));
    EXPECT_EQ(Found(true, {{500, {240, 240, 210}}, {500, {240, 240, 242}}}), (Levels{210, 240}));
}

TEST_F(SaneLevels, ABlankPageIsTold) {
    WriteFile(folder.File("page"), "P5\n10 10\n255\n" + std::string(100, '\xF0'));
    setenv("STANDIN_PAGE", folder.File("page").c_str(), 1);
    const Application application(kWrapped);
    ASSERT_EQ(application.SetWord("shadow", 3), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("highlight", 99), SANE_STATUS_GOOD);
    setenv("SANE_DEBUG_PLATEN", "1", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_GOOD);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[platen] platen-auto: the page is blank, or of one colour; the levels stay as they are\n");
    unsetenv("SANE_DEBUG_PLATEN");
    EXPECT_EQ(application.Word("shadow"), 3);
    EXPECT_EQ(application.Word("highlight"), 99);
}

// The levels come after the table and the preset, whose negative comes first of all, and before a threshold.
TEST_F(SaneLevels, LevelsAreThoseOfThePageThatIsMade) {
    const std::vector<Pixels> page = {{20, {10, 10, 10}}, {980, {220, 220, 220}}};
    std::array<SANE_Word, 256> half{};
    for (SANE_Word i = 0; i < 256; ++i) {
        half[static_cast<std::size_t>(i)] = i / 2;
    }
    for (const bool colour : {false, true}) {
        EXPECT_EQ(Found(colour, page), (Levels{10, 220}));
        EXPECT_EQ(Found(colour, page, "", &half), (Levels{5, 110}));
        EXPECT_EQ(Found(colour, page, "negative = true\n"), (Levels{35, 245}));
        EXPECT_EQ(Found(colour, page, "negative = true\n", &half), (Levels{17, 122}));
        EXPECT_EQ(Found(colour, page, "sharpness = 3\nscale = \"50%\"\n"), (Levels{10, 220}));
        EXPECT_EQ(Found(colour, page, "mode = \"lineart\"\nthreshold = 20\n"), (Levels{10, 220}));
        EXPECT_EQ(Found(colour, page, "depth = 1\n"), (Levels{10, 220}));
        EXPECT_EQ(Found(colour, page, "depth = 16\n"), (Levels{10, 220}));
        EXPECT_EQ(Found(colour, page, "mode = \"gray\"\n"), (Levels{10, 220}));
    }
    // Steps after the levels don't count, nor do those that the page can't take.
    const std::vector<Pixels> coloured = {{20, {10, 10, 10}}, {980, {250, 240, 220}}};
    for (const char* preset : {"saturation = -100\n", "lightness = -50\n", "hue = 120\n"}) {
        EXPECT_EQ(Found(true, coloured, preset), (Levels{10, 220})) << preset;
    }
    EXPECT_EQ(Found(false, page, "[[tone]]\nbalance-midtones = [50, 0, 0]\n"), (Levels{10, 220}));
    EXPECT_EQ(Found(false, page, "saturation = 50\n"), (Levels{10, 220}));
}

// A page of the gamma table's lowest and highest entries.
TEST_F(SaneLevels, TheTableChangesEveryLevel) {
    std::string page = "P5\n256 1\n255\n";
    for (int i = 0; i < 256; ++i) {
        page += static_cast<char>(i);
    }
    WriteFile(folder.File("page"), page);
    setenv("STANDIN_PAGE", folder.File("page").c_str(), 1);
    const Application application(kWrapped);
    for (const std::size_t changed : {std::size_t{0}, std::size_t{1}, std::size_t{128}, std::size_t{255}}) {
        std::array<SANE_Word, 256> table{};
        for (std::size_t i = 0; i < 256; ++i) {
            table[i] = i == changed ? 77 : static_cast<SANE_Word>(i);
        }
        EXPECT_EQ(platen_tool::Sane().controlOption(application.Handle(), application.Find("gamma-table"),
                                                    SANE_ACTION_SET_VALUE, table.data(), nullptr),
                  SANE_STATUS_GOOD);
        const ScannedPage made = application.Scan();
        ASSERT_EQ(made.bytes.size(), 256u);
        for (std::size_t i = 0; i < 256; ++i) {
            EXPECT_EQ(made.bytes[i], table[i]) << changed << " " << i;
        }
    }
}

TEST_F(SaneLevels, TheDeviceMakesAPreviewAndGetsItsSettingsBack) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetWord("resolution", 300), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("y-resolution", 150), SANE_STATUS_GOOD);
    EXPECT_EQ(Asked(application), (Calls{"preview=1", "resolution=75", "y-resolution=75", "start", "cancel",
                                         "resolution=300", "y-resolution=150", "preview=0"}));
    ASSERT_EQ(application.SetWord("preview", SANE_TRUE), SANE_STATUS_GOOD);
    EXPECT_EQ(Asked(application).back(), "preview=1");
    // One that fails gets them too.
    ASSERT_EQ(application.SetText("fault", "read 6 0"), SANE_STATUS_GOOD);
    EXPECT_EQ(Asked(application, SANE_STATUS_JAMMED),
              (Calls{"preview=1", "resolution=75", "y-resolution=75", "start", "cancel", "resolution=300",
                     "y-resolution=150", "preview=1"}));
}

TEST_F(SaneLevels, APreviewIsOfSeventyFiveDotsAnInchWhereThereAreSuch) {
    static constexpr SANE_Range kAny = {50, 1200, 1};
    Hooks().describe = [](SANE_Option_Descriptor* options, SANE_Int count) {
        SANE_Option_Descriptor& resolution = OptionOf(options, count, "resolution");
        resolution.constraint_type = SANE_CONSTRAINT_RANGE;
        resolution.constraint.range = &kAny;
    };
    const Application application(kWrapped);
    ASSERT_EQ(application.SetWord("resolution", 100), SANE_STATUS_GOOD);
    const Calls calls = Asked(application);
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls[1], "resolution=75");
}

// A preview option that isn't one number that can be read and set is left alone.
TEST_F(SaneLevels, APreviewOptionOfAnotherKindIsLeftAlone) {
    const std::pair<const char*, void (*)(SANE_Option_Descriptor&)> kinds[] = {
        {"missing", [](SANE_Option_Descriptor& option) { option.name = "glance"; }},
        {"inactive", [](SANE_Option_Descriptor& option) { option.cap |= SANE_CAP_INACTIVE; }},
        {"unreadable", [](SANE_Option_Descriptor& option) { option.cap &= ~SANE_CAP_SOFT_DETECT; }},
        {"long", [](SANE_Option_Descriptor& option) { option.size = 2 * sizeof(SANE_Word); }},
        {"empty", [](SANE_Option_Descriptor& option) { option.size = 0; }},
        {"text", [](SANE_Option_Descriptor& option) { option.type = SANE_TYPE_STRING; }},
        {"button", [](SANE_Option_Descriptor& option) { option.type = SANE_TYPE_BUTTON; }},
        {"heading", [](SANE_Option_Descriptor& option) { option.type = SANE_TYPE_GROUP; }}};
    for (const auto& [name, change] : kinds) {
        Hooks().describe = [change = change](SANE_Option_Descriptor* options, SANE_Int count) {
            change(OptionOf(options, count, "preview"));
        };
        const Application application(kWrapped);
        EXPECT_EQ(Asked(application), (Calls{"resolution=75", "y-resolution=75", "start", "cancel", "resolution=75",
                                             "y-resolution=75"}))
            << name;
        for (const std::string& call : Hooks().calls) {
            EXPECT_FALSE(call.starts_with("preview")) << name;
        }
    }
}

TEST_F(SaneLevels, NoPageIsTakenOutOfAFeeder) {
    const Application application(kWrapped);
    for (const char* source : {"ADF", "adf back", "Automatic Document Feeder", "FEEDER"}) {
        ASSERT_EQ(application.SetText("source", source), SANE_STATUS_GOOD);
        setenv("SANE_DEBUG_PLATEN", "1", 1);
        testing::internal::CaptureStderr();
        EXPECT_EQ(Asked(application, SANE_STATUS_UNSUPPORTED), Calls{}) << source;
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "[platen] platen-auto: the extra scan it needs would take a page out of the feeder\n");
        unsetenv("SANE_DEBUG_PLATEN");
    }
    for (const char* source : {"Flatbed", "Transparency Unit", "", "feed"}) {
        ASSERT_EQ(application.SetText("source", source), SANE_STATUS_GOOD);
        EXPECT_FALSE(Asked(application).empty()) << source;
    }
}

// What says where pages come from is one text that can be read; "ADF" elsewhere is nothing of the kind.
TEST_F(SaneLevels, ASourceOptionOfAnotherKindSaysNothing) {
    const std::pair<const char*, void (*)(SANE_Option_Descriptor&)> kinds[] = {
        {"missing", [](SANE_Option_Descriptor& option) { option.name = "sauce"; }},
        {"inactive", [](SANE_Option_Descriptor& option) { option.cap |= SANE_CAP_INACTIVE; }},
        {"empty", [](SANE_Option_Descriptor& option) { option.size = 0; }},
        {"negative", [](SANE_Option_Descriptor& option) { option.size = -5; }},
        {"number", [](SANE_Option_Descriptor& option) {
             option.type = SANE_TYPE_INT;
             option.size = sizeof(SANE_Word);
         }}};
    for (const auto& [name, change] : kinds) {
        Hooks().describe = [change = change](SANE_Option_Descriptor* options, SANE_Int count) {
            change(OptionOf(options, count, "source"));
        };
        SourceIs(std::string("ADF", 4));
        const Application application(kWrapped);
        ASSERT_EQ(application.SetText("mode", "ADF"), SANE_STATUS_GOOD);  // a grey page, too
        EXPECT_FALSE(Asked(application).empty()) << name;
    }
}

// The first option may be the one that is looked for.
TEST_F(SaneLevels, TheSourceMayComeFirst) {
    Hooks().describe = [](SANE_Option_Descriptor* options, SANE_Int count) {
        std::swap(options[1], OptionOf(options, count, "source"));
    };
    const Application application(kWrapped);
    ASSERT_EQ(application.SetText("source", "ADF"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_UNSUPPORTED);
}

// A text that the device doesn't end ends with its room.
TEST_F(SaneLevels, ATextWithoutAnEndEndsWithItsRoom) {
    Hooks().describe = [](SANE_Option_Descriptor* options, SANE_Int count) {
        OptionOf(options, count, "source").size = 24;
    };
    SourceIs(std::string("Documents by themselves: ADF", 24));
    const Application application(kWrapped);
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_GOOD);
}

TEST_F(SaneLevels, APageWithoutLinesIsAFailure) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetWord("unknown-height", SANE_TRUE), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("shadow", 3), SANE_STATUS_GOOD);
    Hooks().read = [](SANE_Byte* /*bytes*/, SANE_Int /*room*/, SANE_Int& count) -> Answer {
        count = 0;
        return SANE_STATUS_EOF;
    };
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_IO_ERROR);
    EXPECT_EQ(application.Word("shadow"), 3);
    EXPECT_EQ(application.Word("highlight"), 255);
    // One line is enough.
    int lines = 0;
    Hooks().read = [&lines](SANE_Byte* bytes, SANE_Int /*room*/, SANE_Int& count) -> Answer {
        count = lines++ == 0 ? 61 : 0;
        std::fill_n(bytes, count, SANE_Byte{177});
        std::fill_n(bytes, count / 2, SANE_Byte{77});
        return count != 0 ? SANE_STATUS_GOOD : SANE_STATUS_EOF;
    };
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Word("shadow"), 77);
    EXPECT_EQ(application.Word("highlight"), 177);
}

}  // namespace
}  // namespace platen_test
