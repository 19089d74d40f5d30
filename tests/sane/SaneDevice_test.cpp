// The backend as applications call it, over a stand-in scanner.

#include <sane/saneopts.h>

#include <algorithm>
#include <set>
#include <thread>

#include "StandInTest.h"

namespace platen_test {
namespace {

using platen_tool::Sane;
using Words = std::vector<std::string>;

struct Device {
    std::string mode = "Gray";
    SANE_Word depth = 8;
    SANE_Word resolution = 75;
    bool unknownHeight = false;

    void SetUp(const Application& application) const {
        EXPECT_EQ(application.SetText("mode", mode), SANE_STATUS_GOOD);
        EXPECT_EQ(application.SetWord("depth", depth), SANE_STATUS_GOOD);
        EXPECT_EQ(application.SetWord("resolution", resolution), SANE_STATUS_GOOD);
        EXPECT_EQ(application.SetWord("unknown-height", unknownHeight ? SANE_TRUE : SANE_FALSE), SANE_STATUS_GOOD);
    }
};

class SaneDevice : public StandInTest {
  protected:
    ScannedPage BarePage(const Device& device) const {
        const Application bare(kBare);
        device.SetUp(bare);
        return bare.Scan();
    }

    // The frames of a page of three passes, as one colour page.
    static std::vector<SANE_Byte> Joined(const ScannedPage& page) {
        if (page.frames.size() != 3) {
            return page.bytes;
        }
        const std::size_t sample = page.frames[0].depth == 16 ? 2 : 1;
        const std::size_t plane = page.bytes.size() / 3;
        std::vector<SANE_Byte> bytes(page.bytes.size());
        for (std::size_t i = 0; i < plane; ++i) {
            for (std::size_t c = 0; c < 3; ++c) {
                bytes[(3 * (i / sample) + c) * sample + i % sample] = page.bytes[c * plane + i];
            }
        }
        return bytes;
    }
};

class SaneModes : public SaneDevice, public testing::WithParamInterface<const char*> {};

TEST_P(SaneModes, PassThroughWhatNeedsNothing) {
    for (const SANE_Word depth : {1, 8, 16}) {
        for (const bool unknown : {false, true}) {
            const Device device = {GetParam(), depth, 150, unknown};
            const ScannedPage expected = BarePage(device);
            ASSERT_EQ(expected.status, SANE_STATUS_GOOD);
            const Application application(kWrapped);
            device.SetUp(application);
            for (const SANE_Int room : {1, 7, 4096}) {
                const ScannedPage page = application.Scan(room);
                EXPECT_EQ(page.status, SANE_STATUS_GOOD);
                EXPECT_TRUE(page.bytes == expected.bytes) << depth << unknown << room;
                ASSERT_EQ(page.frames.size(), expected.frames.size());
                for (std::size_t i = 0; i < page.frames.size(); ++i) {
                    EXPECT_EQ(page.frames[i].format, expected.frames[i].format);
                    EXPECT_EQ(page.frames[i].lines, expected.frames[i].lines);
                    EXPECT_EQ(page.frames[i].depth, expected.frames[i].depth);
                    EXPECT_EQ(page.frames[i].bytes_per_line, expected.frames[i].bytes_per_line);
                    EXPECT_EQ(page.frames[i].last_frame, expected.frames[i].last_frame);
                }
            }
        }
    }
    EXPECT_EQ(Opened(), 0);
}

INSTANTIATE_TEST_SUITE_P(All, SaneModes, testing::Values("Gray", "Color", "Passes", "Strange"));

// What is set on the backend, and the tool's options for the same.
struct Adjustment {
    const char* name;
    std::vector<std::pair<const char*, SANE_Word>> words;
    Words options;
    SANE_Word resolution = 0;  // asked for instead of the device's
    SANE_Word device = 0;      // what the device then has
    bool colourOnly = false;
};

const std::vector<Adjustment>& Adjustments() {
    static const std::vector<Adjustment> list = {
        {"tone", {{"brightness", 10}, {"contrast", 30}}, {"--brightness=10", "--contrast=30"}},
        {"levels",
         {{"shadow", 20}, {"highlight", 220}, {"platen-gamma", 117965}, {"platen-output-white", 250}},
         {"--levels=20,220,1.8,0,250"}},
        {"balance",
         {{"platen-shadows-red", 20}, {"platen-midtones-green", -30}, {"platen-highlights-blue", 40}},
         {"--balance-shadows=20,0,0", "--balance-midtones=0,-30,0", "--balance-highlights=0,0,40"},
         0,
         0,
         true},
        {"hsv",
         {{"saturation", 30}, {"hue", -40}, {"platen-lightness", 10}},
         {"--saturation=30", "--hue=-40", "--lightness=10"},
         0,
         0,
         true},
        {"sharp", {{"platen-sharpness", 2}}, {"--sharpness=2"}},
        {"smaller", {}, {"--input-resolution=150", "--resolution=101"}, 101, 150},
        {"larger", {}, {"--input-resolution=300", "--resolution=517"}, 517, 300},
        {"all",
         {{"contrast", -20}, {"platen-curve-gamma", 15}, {"platen-sharpness", -1}},
         {"--curve-gamma=15", "--contrast=-20", "--sharpness=-1", "--input-resolution=75", "--resolution=40"},
         40,
         75},
        {"all colours",
         {{"contrast", -20}, {"platen-sharpness", 1}, {"saturation", -50}},
         {"--contrast=-20", "--saturation=-50", "--sharpness=1", "--input-resolution=150", "--resolution=80"},
         80,
         150,
         true}};
    return list;
}

class SanePages : public SaneDevice, public testing::WithParamInterface<std::size_t> {
  protected:
    // The same page from the backend, in small and in large reads.
    void Compare(const Adjustment& adjustment, const Device& device) const {
        const std::string where = std::string(adjustment.name) + " " + device.mode + " " +
                                  std::to_string(device.depth) + (device.unknownHeight ? " ?" : "");
        const std::vector<SANE_Byte> expected = Adjusted(BarePage(device), adjustment.options);
        const Application application(kWrapped);
        device.SetUp(application);
        for (const auto& [name, value] : adjustment.words) {
            EXPECT_EQ(application.SetWord(name, value), SANE_STATUS_GOOD) << name;
        }
        if (adjustment.resolution != 0) {
            EXPECT_EQ(application.SetWord("resolution", adjustment.resolution), SANE_STATUS_GOOD);
            EXPECT_EQ(application.Word("resolution"), adjustment.resolution);
        }
        const SANE_Parameters before = application.Parameters();
        for (const SANE_Int room : {13, 8192}) {
            const ScannedPage page = application.Scan(room);
            ASSERT_EQ(page.status, SANE_STATUS_GOOD) << where;
            EXPECT_TRUE(Joined(page) == expected) << where;
            const SANE_Parameters& after = page.frames.front();
            EXPECT_EQ(before.lines, after.lines) << where;
            EXPECT_EQ(before.bytes_per_line, after.bytes_per_line) << where;
            EXPECT_EQ(before.format, after.format) << where;
            EXPECT_EQ(before.depth, after.depth) << where;
            const std::size_t frame = expected.size() / page.frames.size();
            if (device.unknownHeight && page.frames.size() == 1 && device.mode != "Passes") {
                EXPECT_EQ(after.lines, -1);
            } else if (!device.unknownHeight) {
                EXPECT_EQ(static_cast<std::size_t>(after.lines * after.bytes_per_line), frame) << where;
            }
        }
    }
};

TEST_P(SanePages, EqualTheTools) {
    const Adjustment& adjustment = Adjustments()[GetParam()];
    for (const char* mode : {"Gray", "Color", "Passes"}) {
        if (adjustment.colourOnly && mode == std::string("Gray")) {
            continue;
        }
        for (const SANE_Word depth : {8, 16}) {
            for (const bool unknown : {false, true}) {
                Compare(adjustment, {mode, depth, adjustment.device != 0 ? adjustment.device : 75, unknown});
            }
        }
    }
    EXPECT_EQ(Opened(), 0);
}

INSTANTIATE_TEST_SUITE_P(All, SanePages, testing::Range(std::size_t{0}, Adjustments().size()));

// An option, and the tool's for the same.
struct Alone {
    const char* name;
    SANE_Word value;
    const char* option;
};

class SaneAlone : public SaneDevice {
  protected:
    void Compare(const std::vector<Alone>& options) const {
        const Device device = {"Color", 8, 75, false};
        const ScannedPage bare = BarePage(device);
        const Application application(kWrapped);
        device.SetUp(application);
        for (const Alone& one : options) {
            const SANE_Word before = application.Word(one.name).value_or(0);
            EXPECT_EQ(application.SetWord(one.name, one.value), SANE_STATUS_GOOD) << one.name;
            const ScannedPage page = application.Scan();
            EXPECT_TRUE(page.bytes == Adjusted(bare, {one.option})) << one.option;
            EXPECT_FALSE(page.bytes == bare.bytes) << one.option;
            EXPECT_EQ(application.SetWord(one.name, before), SANE_STATUS_GOOD) << one.name;
        }
        EXPECT_TRUE(application.Scan().bytes == bare.bytes);
    }
};

TEST_F(SaneAlone, TonesAreTheTools) {
    Compare({
        {"brightness", -15, "--brightness=-15"},
        {"contrast", 25, "--contrast=25"},
        {"shadow", 60, "--levels=60,255"},
        {"highlight", 200, "--levels=0,200"},
        {"platen-gamma", 117965, "--levels=0,255,1.8"},
        {"platen-gamma", 8192, "--levels=0,255,0.125"},
        {"platen-gamma", 80909, "--levels=0,255,1.2346"},
        {"platen-output-black", 30, "--levels=0,255,1,30,255"},
        {"platen-output-white", 220, "--levels=0,255,1,0,220"},
        {"platen-curve-gamma", 40, "--curve-gamma=40"},
    });
}

TEST_F(SaneAlone, ColoursAreTheTools) {
    Compare({
        {"platen-shadows-red", 50, "--balance-shadows=50,0,0"},
        {"platen-shadows-green", 50, "--balance-shadows=0,50,0"},
        {"platen-shadows-blue", 50, "--balance-shadows=0,0,50"},
        {"platen-midtones-red", 50, "--balance-midtones=50,0,0"},
        {"platen-midtones-green", 50, "--balance-midtones=0,50,0"},
        {"platen-midtones-blue", 50, "--balance-midtones=0,0,50"},
        {"platen-highlights-red", 50, "--balance-highlights=50,0,0"},
        {"platen-highlights-green", 50, "--balance-highlights=0,50,0"},
        {"platen-highlights-blue", 50, "--balance-highlights=0,0,50"},
        {"saturation", 40, "--saturation=40"},
        {"hue", 70, "--hue=70"},
        {"platen-lightness", -30, "--lightness=-30"},
        {"platen-sharpness", 3, "--sharpness=3"},
    });
}

TEST_F(SaneAlone, CurvesAreTheTools) {
    const Device device = {"Color", 8, 75, false};
    const ScannedPage bare = BarePage(device);
    const Application application(kWrapped);
    device.SetUp(application);
    const std::string curve = "0,20:60,50:100,130:180,190:255,240";
    EXPECT_EQ(application.SetText("platen-curve", curve), SANE_STATUS_GOOD);
    EXPECT_TRUE(application.Scan().bytes == Adjusted(bare, {"--curve=" + curve}));
    EXPECT_EQ(application.SetText("platen-curve-kind", "polyline"), SANE_STATUS_GOOD);
    EXPECT_TRUE(application.Scan().bytes == Adjusted(bare, {"--curve=" + curve, "--curve-kind=polyline"}));
    EXPECT_EQ(application.SetText("platen-curve-kind", "spline"), SANE_STATUS_GOOD);
    EXPECT_TRUE(application.Scan().bytes == Adjusted(bare, {"--curve=" + curve}));
    EXPECT_EQ(application.SetText("platen-curve", ""), SANE_STATUS_GOOD);
    EXPECT_TRUE(application.Scan().bytes == bare.bytes);
}

// The preset's tones come first, then those of the options, as steps of their own.
TEST_F(SaneDevice, OptionsComeAfterThePresets) {
    WriteFile(folder.File("own.toml"), "[[tone]]\ncontrast = 40\n");
    WriteFile(folder.File("later.toml"),
              "[[tone]]\ncontrast = 40\n\n[[tone]]\nlevels = [60, 200]\n\n[[tone]]\ncontrast = -20\n");
    OfferPresets();
    const Device device = {"Color", 8, 75, false};
    const Application application(kWrapped);
    device.SetUp(application);
    ASSERT_EQ(application.SetText("platen-preset", "own"), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("contrast", -20), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("shadow", 60), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("highlight", 200), SANE_STATUS_GOOD);
    EXPECT_TRUE(application.Scan().bytes == Adjusted(BarePage(device), {"--preset=" + folder.File("later.toml")}));
    // Also where both would fit into one.
    WriteFile(folder.File("later.toml"), "[[tone]]\ncontrast = 40\n\n[[tone]]\nbrightness = 30\n");
    const Application second(kWrapped);
    device.SetUp(second);
    ASSERT_EQ(second.SetText("platen-preset", "own"), SANE_STATUS_GOOD);
    ASSERT_EQ(second.SetWord("brightness", 30), SANE_STATUS_GOOD);
    EXPECT_TRUE(second.Scan().bytes == Adjusted(BarePage(device), {"--preset=" + folder.File("later.toml")}));
}

// What an application is told before a page, and with each frame.
TEST_F(SaneDevice, FramesHaveTheFormOfWhatIsMade) {
    WriteFile(folder.File("own.toml"), "mode = \"gray\"\n");
    WriteFile(folder.File("colour.toml"), "mode = \"color\"\n");
    OfferPresets();
    struct Case {
        const char* mode;
        const char* preset;
        const char* option;
        std::vector<SANE_Frame> frames;
    };
    const Case cases[] = {{"Gray", "None", "contrast", {SANE_FRAME_GRAY}},
                          {"Color", "None", "contrast", {SANE_FRAME_RGB}},
                          {"Passes", "None", "contrast", {SANE_FRAME_RED, SANE_FRAME_GREEN, SANE_FRAME_BLUE}},
                          {"Passes", "None", "saturation", {SANE_FRAME_RGB}},
                          {"Passes", "own", "contrast", {SANE_FRAME_GRAY}},
                          {"Color", "own", "contrast", {SANE_FRAME_GRAY}},
                          {"Gray", "colour", "contrast", {SANE_FRAME_RGB}}};
    for (const Case& one : cases) {
        const Application application(kWrapped);
        Device{one.mode, 8, 75, false}.SetUp(application);
        ASSERT_EQ(application.SetText("platen-preset", one.preset), SANE_STATUS_GOOD);
        ASSERT_EQ(application.SetWord(one.option, 10), SANE_STATUS_GOOD);
        EXPECT_EQ(application.Parameters().format, one.frames.front()) << one.mode << one.preset;
        const ScannedPage page = application.Scan();
        ASSERT_EQ(page.frames.size(), one.frames.size()) << one.mode << one.preset;
        for (std::size_t i = 0; i < page.frames.size(); ++i) {
            EXPECT_EQ(page.frames[i].format, one.frames[i]) << one.mode << one.preset;
        }
    }
    // What isn't known is the device's.
    const Application application(kWrapped);
    Device{"Strange", 8, 75, false}.SetUp(application);
    EXPECT_EQ(application.Parameters().depth, 12);
    EXPECT_EQ(application.Parameters().pixels_per_line, 61);
}

// How large a page may be is for the application to say, not the tool's limit.
TEST_F(SaneDevice, LargePagesAreForTheApplicationToBound) {
    Hooks().parameters = [](SANE_Parameters& parameters) {
        parameters.pixels_per_line = 100000;
        parameters.bytes_per_line = 100000;
        parameters.lines = 900000;
    };
    const Application application(kWrapped);
    ASSERT_EQ(application.SetWord("contrast", 20), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Parameters().lines, 900000);
    ASSERT_EQ(application.SetWord("resolution", 140), SANE_STATUS_GOOD);  // of the device's 150
    EXPECT_EQ(application.Parameters().lines, 840000);
    EXPECT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
}

TEST_F(SaneDevice, ColourAtOneBitBecomesBytesForAdjustments) {
    for (const char* mode : {"Color", "Passes"}) {
        const Application application(kWrapped);
        Device{mode, 1, 75, false}.SetUp(application);
        EXPECT_EQ(application.Parameters().depth, 1);
        EXPECT_EQ(application.SetWord("brightness", -20), SANE_STATUS_GOOD);
        EXPECT_EQ(application.Parameters().depth, 8);
        const ScannedPage page = application.Scan();
        EXPECT_EQ(page.bytes.size(), std::size_t{61 * 47 * 3}) << mode;
    }
}

TEST_F(SaneDevice, OptionsThatCannotActAreInactive) {
    const Application application(kWrapped);
    Device{"Gray", 1, 75, false}.SetUp(application);
    EXPECT_FALSE(application.IsActive("contrast"));
    EXPECT_FALSE(application.IsActive("saturation"));
    EXPECT_EQ(application.SetWord("contrast", 5), SANE_STATUS_INVAL);
    SANE_Int info = 0;
    EXPECT_EQ(application.SetWord("depth", 8, &info), SANE_STATUS_GOOD);
    EXPECT_NE(info & SANE_INFO_RELOAD_OPTIONS, 0);
    EXPECT_TRUE(application.IsActive("contrast"));
    EXPECT_FALSE(application.IsActive("saturation"));
    EXPECT_EQ(application.SetText("mode", "Color"), SANE_STATUS_GOOD);
    EXPECT_TRUE(application.IsActive("saturation"));
    EXPECT_EQ(application.SetWord("saturation", 50), SANE_STATUS_GOOD);
    // Its value waits for pages that have colours.
    EXPECT_EQ(application.SetText("mode", "Gray"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Word("saturation"), 50);
    EXPECT_TRUE(application.Scan().bytes == BarePage({"Gray", 8, 75, false}).bytes);
    EXPECT_EQ(application.SetText("mode", "Strange"), SANE_STATUS_GOOD);
    EXPECT_FALSE(application.IsActive("contrast"));
}

TEST_F(SaneDevice, OptionsHaveNamesRangesAndWords) {
    const Application application(kWrapped);
    SANE_Int count = 0;
    ASSERT_EQ(Sane().controlOption(application.Handle(), 0, SANE_ACTION_GET_VALUE, &count, nullptr),
              SANE_STATUS_GOOD);
    for (SANE_Int i = 0; i < count; ++i) {
        ASSERT_NE(Sane().getOptionDescriptor(application.Handle(), i), nullptr) << i;
    }
    EXPECT_EQ(Sane().getOptionDescriptor(application.Handle(), count), nullptr);
    EXPECT_EQ(Sane().getOptionDescriptor(application.Handle(), -1), nullptr);
    const SANE_Option_Descriptor* contrast = application.Option("contrast");
    ASSERT_NE(contrast, nullptr);
    EXPECT_EQ(contrast->constraint.range->min, -100);
    EXPECT_EQ(contrast->constraint.range->max, 100);
    SANE_Int info = 0;
    EXPECT_EQ(application.SetWord("contrast", 300, &info), SANE_STATUS_GOOD);
    EXPECT_NE(info & SANE_INFO_INEXACT, 0);
    EXPECT_EQ(application.Word("contrast"), 100);
    // The level that is set moves the other.
    EXPECT_EQ(application.SetWord("highlight", 100), SANE_STATUS_GOOD);
    EXPECT_EQ(application.SetWord("shadow", 240, &info), SANE_STATUS_GOOD);
    EXPECT_NE(info & SANE_INFO_RELOAD_OPTIONS, 0);
    EXPECT_EQ(application.Word("highlight"), 248);
    EXPECT_EQ(application.SetText("platen-curve", "1,2:3"), SANE_STATUS_INVAL);
    EXPECT_EQ(application.SetText("platen-curve", "0,0:50,60:100,120:150,200:243,255"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Text("platen-curve"), "0,0:50,60:100,120:150,200:243,255");
    EXPECT_EQ(application.SetText("platen-curve-kind", "round"), SANE_STATUS_INVAL);
    EXPECT_EQ(application.SetText("platen-preset", "nothing"), SANE_STATUS_INVAL);
    // A second wrapping has names of its own.
    const Application twice("platen:platen:standin:");
    EXPECT_NE(twice.Find("platen-contrast"), 0);
    EXPECT_NE(twice.Find("platen-platen-preset"), 0);
}

TEST_F(SaneDevice, OptionsStayAsTheyAreDuringAFrame) {
    const Application application(kWrapped);
    EXPECT_EQ(application.SetWord("contrast", 20), SANE_STATUS_GOOD);
    ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
    EXPECT_EQ(application.SetWord("contrast", 30), SANE_STATUS_DEVICE_BUSY);
    // Nothing to wait for with select, since lines are held back.
    SANE_Int descriptor = 0;
    EXPECT_EQ(Sane().getSelectFd(application.Handle(), &descriptor), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(Sane().setIoMode(application.Handle(), SANE_TRUE), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(Sane().setIoMode(application.Handle(), SANE_FALSE), SANE_STATUS_GOOD);
    Sane().cancel(application.Handle());
    EXPECT_EQ(application.SetWord("contrast", 0), SANE_STATUS_GOOD);
    ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
    EXPECT_EQ(Sane().getSelectFd(application.Handle(), &descriptor), SANE_STATUS_GOOD);
    EXPECT_EQ(Sane().setIoMode(application.Handle(), SANE_TRUE), SANE_STATUS_GOOD);
}

TEST_F(SaneDevice, ResolutionsBetweenTheDevicesOwn) {
    const Application application(kWrapped);
    const SANE_Option_Descriptor* option = application.Option("resolution");
    ASSERT_NE(option, nullptr);
    ASSERT_EQ(option->constraint_type, SANE_CONSTRAINT_RANGE);
    EXPECT_EQ(option->constraint.range->min, 25);
    EXPECT_EQ(option->constraint.range->max, 600);
    EXPECT_EQ(application.SetWord("resolution", 100), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Word("resolution"), 100);
    EXPECT_EQ(application.Word("y-resolution"), 100);  // the device sets it along
    EXPECT_EQ(application.Parameters().pixels_per_line, 81);
    EXPECT_EQ(application.Parameters().lines, 63);
    EXPECT_EQ(application.SetWord("y-resolution", 30), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Word("resolution"), 100);
    EXPECT_EQ(application.Parameters().lines, 19);
    const ScannedPage page = application.Scan();
    EXPECT_EQ(page.bytes.size(), std::size_t{81 * 19});
    // Bilevel pages stay bilevel.
    EXPECT_EQ(application.SetWord("depth", 1), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Parameters().depth, 1);
    EXPECT_EQ(application.Scan().bytes.size(), std::size_t{11 * 19});
    SANE_Int info = 0;
    EXPECT_EQ(application.SetWord("resolution", 100000, &info), SANE_STATUS_GOOD);
    EXPECT_NE(info & SANE_INFO_INEXACT, 0);
    EXPECT_EQ(application.Word("resolution"), 600);
}

TEST_F(SaneDevice, PresetsActAsTheToolsDo) {
    WriteFile(folder.File("own.toml"),
              "mode = \"gray\"\nsharpness = 1\nresolution = 60\n\n[[tone]]\nlevels = [30, 200]\n");
    OfferPresets();
    const Application application(kWrapped);
    Device{"Color", 8, 75, false}.SetUp(application);
    EXPECT_EQ(application.Text("platen-preset"), "None");
    ASSERT_EQ(application.SetText("platen-preset", "own"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Word("resolution"), 60);
    EXPECT_FALSE(application.IsActive("saturation"));  // the page is grey now
    EXPECT_EQ(application.SetWord("brightness", 10), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Parameters().format, SANE_FRAME_GRAY);
    const std::vector<SANE_Byte> expected =
        Adjusted(BarePage({"Color", 8, 75, false}),
                 {"--preset=" + folder.File("own.toml"), "--brightness=10", "--input-resolution=75"});
    EXPECT_TRUE(application.Scan().bytes == expected);
    ASSERT_EQ(application.SetText("mode", "Passes"), SANE_STATUS_GOOD);
    const std::vector<SANE_Byte> passes =
        Adjusted(BarePage({"Passes", 8, 75, false}),
                 {"--preset=" + folder.File("own.toml"), "--brightness=10", "--input-resolution=75"});
    EXPECT_TRUE(application.Scan().bytes == passes);
    // What the configuration begins with.
    WriteFile(configuration.File("platen.conf"),
              "presets \"" + folder.Path() + "\"\npreset nothing\ndevice standin:\npreset own\ndevice standin:x\n");
    EXPECT_EQ(Application(kWrapped).Text("platen-preset"), "own");
    EXPECT_EQ(Application(kWrapped).Word("resolution"), 60);
    EXPECT_EQ(Application("platen:standin:x").Text("platen-preset"), "None");
    WriteFile(folder.File("own.toml"), "nonsense = 1\n");
    EXPECT_EQ(application.SetText("platen-preset", "own"), SANE_STATUS_INVAL);
    EXPECT_EQ(application.SetText("platen-preset", "None"), SANE_STATUS_GOOD);
    EXPECT_TRUE(application.IsActive("saturation"));
}

// What a page can't take is left out, and what takes its place is the tool's.
TEST_F(SaneDevice, PresetsLeaveOutWhatAPageCannotTake) {
    OfferPresets();
    struct Case {
        const char* preset;
        std::vector<std::pair<const char*, SANE_Word>> words;
        Device device;
        Words options;
    };
    const Case cases[] = {
        {"depth = 1\n",
         {{"saturation", 30}, {"platen-shadows-red", 20}, {"contrast", 20}},
         {"Color", 8, 75, false},
         {"--depth=1", "--contrast=20"}},
        {"mode = \"lineart\"\n",
         {{"hue", 30}, {"platen-sharpness", 1}},
         {"Color", 8, 75, false},
         {"--mode=lineart", "--sharpness=1"}},
        {"mode = \"gray\"\n",
         {{"platen-midtones-blue", 30}, {"brightness", 5}},
         {"Color", 8, 75, false},
         {"--mode=gray", "--brightness=5"}},
        {"depth = 1\n", {{"contrast", 20}, {"platen-sharpness", 2}}, {"Gray", 1, 75, false}, {}},
        {"input-resolution = 200\n", {{"contrast", 20}, {"platen-sharpness", 2}}, {"Gray", 1, 75, false}, {}},
        {"mode = \"color\"\n", {{"contrast", 20}}, {"Passes", 8, 75, false}, {"--mode=color", "--contrast=20"}},
        {"depth = 8\n", {{"contrast", 20}}, {"Passes", 16, 75, false}, {"--depth=8", "--contrast=20"}},
        {"depth = 8\n",
         {{"platen-output-white", 200}},
         {"Gray", 1, 75, false},
         {"--depth=8", "--levels=0,255,1,0,200"}},
        {"depth = 8\n", {{"contrast", 20}}, {"Gray", 16, 75, false}, {"--depth=8", "--contrast=20"}},
        {"mode = \"color\"\n",
         {{"platen-midtones-blue", 30}},
         {"Gray", 8, 75, false},
         {"--mode=color", "--balance-midtones=0,0,30"}},
        {"scale = \"50%\"\n", {}, {"Gray", 8, 150, false}, {"--scale=50%"}},
        {"scale = \"50%\"\n",
         {{"resolution", 100}},
         {"Gray", 8, 150, false},
         {"--input-resolution=150", "--resolution=100"}},
        {"width = 30\n", {}, {"Color", 8, 75, false}, {"--width=30"}},
        {"size = \"40x20\"\ninput-resolution = 200\nset-resolution = 100\n",
         {},
         {"Color", 8, 75, false},
         {"--size=40x20"}},
        {"scale = \"300%\"\nshrink-only = true\n", {{"contrast", 9}}, {"Gray", 8, 75, false}, {"--contrast=9"}},
    };
    for (const Case& one : cases) {
        WriteFile(folder.File("own.toml"), one.preset);
        Device rich = one.device;  // on which all options are active
        rich.mode = "Color";
        rich.depth = 8;
        const Application application(kWrapped);
        rich.SetUp(application);
        for (const auto& [name, value] : one.words) {
            EXPECT_EQ(application.SetWord(name, value), SANE_STATUS_GOOD) << one.preset << name;
        }
        EXPECT_EQ(application.SetText("mode", one.device.mode), SANE_STATUS_GOOD);
        EXPECT_EQ(application.SetWord("depth", one.device.depth), SANE_STATUS_GOOD);
        ASSERT_EQ(application.SetText("platen-preset", "own"), SANE_STATUS_GOOD) << one.preset;
        const ScannedPage bare = BarePage(one.device);
        const std::vector<SANE_Byte> expected = one.options.empty() ? bare.bytes : Adjusted(bare, one.options);
        const ScannedPage page = application.Scan();
        EXPECT_EQ(page.status, SANE_STATUS_GOOD) << one.preset;
        EXPECT_TRUE(Joined(page) == expected) << one.preset << one.device.mode << one.device.depth;
    }
}

// The page's lines pass once: what would need them twice, or in another order, is no choice.
TEST_F(SaneDevice, PresetsThatNeedTheWholePageAreNotOffered) {
    const std::pair<const char*, const char*> presets[] = {
        {"levels", "[[tone]]\nauto-levels = [1, 1]\n"},
        {"white", "[[tone]]\nauto-white = true\n"},
        {"otsu", "mode = \"lineart\"\nauto-threshold = \"otsu\"\n"},
        {"turned", "rotate = 90\n"},
        {"cut", "crop = \"10x10+1+1\"\n"},
        {"broken", "nonsense = 1\n"},
        {"plain", "sharpness = 1\n"}};
    for (const auto& [name, text] : presets) {
        WriteFile(folder.File(std::string(name) + ".toml"), text);
    }
    WriteFile(configuration.File("platen.conf"),
              "presets \"" + folder.Path() + "\"\ndevice standin:\npreset white\ndevice standin:x\n");
    setenv("SANE_DEBUG_PLATEN", "1", 1);
    testing::internal::CaptureStderr();
    const Application application(kWrapped);
    const std::string told = testing::internal::GetCapturedStderr();
    const SANE_Option_Descriptor* option = application.Option("platen-preset");
    ASSERT_NE(option, nullptr);
    std::set<std::string> offered;
    for (const SANE_String_Const* name = option->constraint.string_list; *name != nullptr; ++name) {
        offered.insert(*name);
    }
    for (const char* name : {"levels", "white", "otsu", "turned", "cut", "auto-document", "auto-photo"}) {
        EXPECT_FALSE(offered.contains(name)) << name;
        EXPECT_NE(told.find("[platen] the preset " + std::string(name) +
                            " isn't offered: it crops, rotates or has automatic settings, which this backend can't "
                            "do: it handles lines once, in order\n"),
                  std::string::npos)
            << name << told;
        EXPECT_EQ(application.SetText("platen-preset", name), SANE_STATUS_INVAL) << name;
    }
    for (const char* name : {"None", "plain", "broken", "text-clean"}) {
        EXPECT_TRUE(offered.contains(name)) << name;
    }
    EXPECT_EQ(application.SetText("platen-preset", "plain"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.SetText("platen-preset", "broken"), SANE_STATUS_INVAL);
    // One that was changed meanwhile is refused when it is chosen, and nothing else changes.
    WriteFile(folder.File("plain.toml"), "rotate = 90\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(application.SetText("platen-preset", "plain"), SANE_STATUS_INVAL);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("[platen] the preset plain crops, rotates or has "),
              std::string::npos);
    unsetenv("SANE_DEBUG_PLATEN");
    EXPECT_EQ(application.Text("platen-preset"), "plain");
    // The configuration can't begin with one either.
    EXPECT_EQ(Application("platen:standin:x").Text("platen-preset"), "None");
}

TEST_F(SaneDevice, AutoFindsLevelsAndWhite) {
    const Application application(kWrapped);
    Device{"Color", 8, 300, false}.SetUp(application);
    ASSERT_EQ(application.Press("platen-auto"), SANE_STATUS_GOOD);
    // The pattern has levels from 40 to 239.
    EXPECT_NEAR(*application.Word("shadow"), 41, 2);
    EXPECT_NEAR(*application.Word("highlight"), 238, 2);
    EXPECT_EQ(application.Word("resolution"), 300);
    EXPECT_EQ(application.Word("preview"), SANE_FALSE);
    EXPECT_EQ(application.Parameters().pixels_per_line, 244);
    const ScannedPage page = application.Scan();
    EXPECT_EQ(page.status, SANE_STATUS_GOOD);
    EXPECT_GT(std::count(page.bytes.begin(), page.bytes.end(), 255), 100);
    EXPECT_GT(std::count(page.bytes.begin(), page.bytes.end(), 0), 100);
    // A feeder would lose a page.
    EXPECT_EQ(application.SetText("source", "ADF"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(application.SetText("source", "Flatbed"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.SetText("fault", "read 6 2"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_JAMMED);
    EXPECT_EQ(application.Word("resolution"), 300);
    EXPECT_EQ(application.SetText("mode", "Passes"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.SetText("mode", "Gray"), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_GOOD);
}

TEST_F(SaneDevice, DevicesAreThoseOfTheConfiguration) {
    WriteFile(
        configuration.File("platen.conf"),
        "# comment\ndevice standin:\n\ndevice \"net:host:standin:\" Vendor \"A model\" flatbed # end\nnonsense\n"
        "resolution 10 5000\n");
    const SANE_Device** devices = nullptr;
    ASSERT_EQ(Sane().getDevices(&devices, SANE_FALSE), SANE_STATUS_GOOD);
    ASSERT_NE(devices[0], nullptr);
    EXPECT_STREQ(devices[0]->name, "platen:standin:");
    EXPECT_STREQ(devices[0]->vendor, "Platen");
    EXPECT_STREQ(devices[0]->model, "standin:");
    ASSERT_NE(devices[1], nullptr);
    EXPECT_STREQ(devices[1]->name, "platen:net:host:standin:");
    EXPECT_STREQ(devices[1]->model, "A model");
    EXPECT_STREQ(devices[1]->type, "flatbed");
    EXPECT_EQ(devices[2], nullptr);
    ASSERT_EQ(Sane().getDevices(&devices, SANE_TRUE), SANE_STATUS_GOOD);
    ASSERT_NE(devices[0], nullptr);
    EXPECT_EQ(devices[1], nullptr);
    const Application first("platen:");
    ASSERT_TRUE(first.IsOpen());
    EXPECT_EQ(first.Option("resolution")->constraint.range->min, 10);
    EXPECT_EQ(first.Option("resolution")->constraint.range->max, 5000);
    WriteFile(configuration.File("platen.conf"), "");
    EXPECT_EQ(Application("platen:").OpenStatus(), SANE_STATUS_INVAL);
    EXPECT_FALSE(Application("platen:nothing:x").IsOpen());
}

// SANE's own variable for what a backend tells; a level of 0, or none, is silence.
TEST_F(SaneDevice, TellsWhatItDoesWhereItIsAsked) {
    const Application application(kWrapped);
    Device().SetUp(application);
    ASSERT_EQ(application.SetWord("contrast", 20), SANE_STATUS_GOOD);
    for (const char* level : {"", "0", "1", "128", "none"}) {
        setenv("SANE_DEBUG_PLATEN", level, 1);
        testing::internal::CaptureStderr();
        EXPECT_EQ(application.Scan().status, SANE_STATUS_GOOD);
        const std::string told = testing::internal::GetCapturedStderr();
        const bool tells = std::string(level).starts_with('1');
        EXPECT_EQ(told.starts_with("[platen] the page as made by: "), tells) << level << told;
        EXPECT_EQ(told.empty(), !tells) << level;
    }
    WriteFile(folder.File("own.toml"), "negative = true\n");
    OfferPresets();
    const Application other(kWrapped);
    ASSERT_EQ(other.SetText("platen-preset", "own"), SANE_STATUS_GOOD);
    ASSERT_EQ(other.SetWord("contrast", 20), SANE_STATUS_GOOD);
    ASSERT_EQ(other.SetWord("platen-gamma", 80904), SANE_STATUS_GOOD);  // in four digits
    ASSERT_EQ(other.SetWord("resolution", 100), SANE_STATUS_GOOD);
    setenv("SANE_DEBUG_PLATEN", "1", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(other.Scan().status, SANE_STATUS_GOOD);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[platen] the page as made by: platen --negative --levels=0,255,1.2345 --contrast=20 "
              "--input-resolution=150x150 "
              "--resolution=100x100\n");
    unsetenv("SANE_DEBUG_PLATEN");
    testing::internal::CaptureStderr();
    EXPECT_EQ(application.Scan().status, SANE_STATUS_GOOD);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(SaneDevice, TwoHandlesWorkAtOnce) {
    const auto scan = [](SANE_Word lightness, SANE_Word hue, ScannedPage& page) {
        const Application application(kWrapped);
        Device{"Color", 8, 300, false}.SetUp(application);
        EXPECT_EQ(application.SetWord("platen-lightness", lightness), SANE_STATUS_GOOD);
        EXPECT_EQ(application.SetWord("hue", hue), SANE_STATUS_GOOD);
        for (int i = 0; i < 5; ++i) {
            page = application.Scan(2000);
        }
    };
    ScannedPage alone[2];
    scan(40, 10, alone[0]);
    scan(-60, -90, alone[1]);
    ScannedPage together[2];
    {
        // Opening is one thread's work, as SANE has it.
        const Application first(kWrapped);
        const Application second(kWrapped);
        const Application* applications[] = {&first, &second};
        for (int i = 0; i < 2; ++i) {
            Device{"Color", 8, 300, false}.SetUp(*applications[i]);
            EXPECT_EQ(applications[i]->SetWord("platen-lightness", i == 0 ? 40 : -60), SANE_STATUS_GOOD);
            EXPECT_EQ(applications[i]->SetWord("hue", i == 0 ? 10 : -90), SANE_STATUS_GOOD);
        }
        std::vector<std::thread> threads;
        for (int i = 0; i < 2; ++i) {
            threads.emplace_back([&, i] {
                for (int n = 0; n < 20; ++n) {
                    together[i] = applications[i]->Scan(2000);
                    EXPECT_TRUE(together[i].bytes == alone[i].bytes) << i;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
    EXPECT_EQ(Opened(), 0);
}

}  // namespace
}  // namespace platen_test
