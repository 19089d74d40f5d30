// The scan command's device over a stand-in whose options are made for each test.

#include <algorithm>

#include "MadeDevice.h"
#include "programs/base/Error.h"
#include "programs/page/Geometry.h"
#include "programs/scan/ScanDevice.h"

namespace platen_test {
namespace {

using platen_tool::Error;
using platen_tool::PixelMode;

class ScanOptions : public MadeDeviceTest {};

TEST_F(ScanOptions, ADeviceIsCancelledAndClosedAtItsEnd) {
    Hooks().records = true;
    {
        platen_tool::ScanDevice device(kBare);
        EXPECT_EQ(device.Start(), SANE_STATUS_GOOD);
        EXPECT_EQ(Opened(), 1);
    }
    EXPECT_EQ(Opened(), 0);
    EXPECT_EQ(Hooks().calls.back(), "cancel");
    EXPECT_EQ(Failure([] { const platen_tool::ScanDevice device("standin:fails 3"); }),
              "4 can't be opened: Device busy");
}

// Jams and open covers need no more than SANE's words.
TEST_F(ScanOptions, FailuresSayWhatFailed) {
    EXPECT_EQ(Failure([] { platen_tool::FailDevice("it", SANE_STATUS_IO_ERROR); }),
              "4 it: Error during device I/O");
    EXPECT_EQ(Failure([] { platen_tool::FailDevice("it", SANE_STATUS_JAMMED); }), "4 Document feeder jammed");
    EXPECT_EQ(Failure([] { platen_tool::FailDevice("it", SANE_STATUS_COVER_OPEN); }), "4 Scanner cover is open");
}

TEST_F(ScanOptions, OptionsAreFoundByTheirNames) {
    Made heading;
    heading.name = "speed";
    heading.type = SANE_TYPE_GROUP;
    Made nameless = Number("speed", 0);
    nameless.nameless = true;
    nameless.heading = "nothing";
    heading.heading = "Speed";
    Made empty = Number("", 4);
    empty.heading = "empty";
    Make({Number("first", 1), heading, nameless, Number("speed", 3), empty, Number("last", 5)});
    platen_tool::ScanDevice device(kBare);
    device.Set("--set first", "first", "11");
    device.Set("--set speed", "speed", "33");
    device.Set("--set last", "last", "55");
    EXPECT_EQ(asked, (Calls{"first=11", "speed=33", "last=55"}));
    EXPECT_EQ(Failure([&] { device.Set("--set lost", "lost", "1"); }),
              "2 --set lost: the device has no such option; it has first, speed, last");
}

// The first option of all, whose value is their number, isn't one to be set.
TEST_F(ScanOptions, TheNumberOfOptionsIsNone) {
    Make({Number("first", 1), Changed(Number("hidden", 0), kInactive)});
    const auto describe = Hooks().describe;
    Hooks().describe = [&](SANE_Option_Descriptor* options, SANE_Int& count) {
        describe(options, count);
        options[0].name = "count";
    };
    platen_tool::ScanDevice device(kBare);
    for (const std::string name : {"", "count"}) {
        EXPECT_EQ(Failure([&] { device.Set("--set " + name, name, "1"); }),
                  "2 --set " + name + ": the device has no such option; it has first");
    }
    // A device that doesn't tell it has none, or tells too many.
    SANE_Status status = SANE_STATUS_GOOD;
    const auto control = Hooks().control;
    Hooks().control = [&](const std::string& title, SANE_Action action, void* value, SANE_Int& info) -> Answer {
        if (!title.empty()) {
            return control(title, action, value, info);
        }
        *static_cast<SANE_Word*>(value) = 9;
        return status;
    };
    device.Set("--set first", "first", "1");
    EXPECT_EQ(Failure([&] { device.Set("--set second", "second", "1"); }),
              "2 --set second: the device has no such option; it has first");
    EXPECT_EQ(device.DescribeOptions(), "  first=whole numbers [1]\n  hidden=whole numbers [inactive]\n");
    status = SANE_STATUS_IO_ERROR;
    EXPECT_EQ(
        Failure([&] { device.Set("--set first", "first", "1"); }).find("2 --set first: the device has no such"),
        0u);
}

TEST_F(ScanOptions, WhatCannotBeSetIsNot) {
    Make({Changed(Number("asleep", 1), kInactive), Changed(Number("fixed", 1), kReadOnly)});
    platen_tool::ScanDevice device(kBare);
    EXPECT_EQ(
        Failure([&] { device.Set("--set asleep", "asleep", "1"); }),
        "2 --set asleep: is inactive with the device's current settings; set another option first that enables "
        "it");
    EXPECT_EQ(Failure([&] { device.Set("--set fixed", "fixed", "1"); }), "2 --set fixed: is read-only");
    EXPECT_EQ(asked, Calls{});
}

TEST_F(ScanOptions, ValuesReachTheDevice) {
    Made several = Number("several", 0);
    several.words = {1, 2, 3};
    Made chosen = Number("chosen", 0);
    chosen.capabilities |= SANE_CAP_AUTOMATIC;
    Make({several, chosen, Text("text", {}), Number("decimal", 0, SANE_TYPE_FIXED),
          Number("switch", 0, SANE_TYPE_BOOL)});
    platen_tool::ScanDevice device(kBare);
    device.Set("", "several", "7,8,9");
    device.Set("", "chosen", "auto");
    device.Set("", "text", "words");
    device.Set("", "decimal", "-1.5");
    device.Set("", "switch", "yes");
    EXPECT_EQ(asked, (Calls{"several=7,8,9", "chosen auto", "text=words", "decimal=-98304", "switch=1"}));
    answer = SANE_STATUS_DEVICE_BUSY;
    EXPECT_EQ(Failure([&] { device.Set("--set text", "text", "words"); }),
              "4 --set text: the device refused 'words': Device busy");
}

TEST_F(ScanOptions, AnotherNumberThanAskedForIsTold) {
    Made several = Number("several", 0);
    several.words = {1, 2, 3};
    Made chosen = Number("chosen", 5);
    chosen.capabilities |= SANE_CAP_AUTOMATIC;
    Make({several, chosen, Text("text", {}), Number("decimal", 80909, SANE_TYPE_FIXED), Number("whole", 8),
          Changed(Number("secret", 8), kUnreadable)});
    platen_tool::ScanDevice device(kBare);
    const auto said = [&](const std::string& name, const std::string& text) {
        testing::internal::CaptureStderr();
        device.Set("--set " + name, name, text);
        return testing::internal::GetCapturedStderr();
    };
    told = SANE_INFO_INEXACT | SANE_INFO_RELOAD_PARAMS;
    EXPECT_EQ(said("whole", "7"), "platen: --set whole: the device uses 8 instead of 7\n");
    EXPECT_EQ(said("decimal", "1.5"), "platen: --set decimal: the device uses 1.235 instead of 1.5\n");
    EXPECT_EQ(said("several", "7,8,9"), "");
    EXPECT_EQ(said("chosen", "auto"), "");
    EXPECT_EQ(said("text", "a"), "");
    EXPECT_EQ(said("secret", "7"), "");
    told = SANE_INFO_RELOAD_OPTIONS;
    EXPECT_EQ(said("whole", "7"), "");
}

// The mode that is set for what is asked for, "" where there is none.
TEST_F(ScanOptions, ModesAreTakenByTheirUsualNames) {
    struct Case {
        std::vector<const char*> list;
        const char* lineart;
        const char* gray;
        const char* color;
    };
    const Case cases[] = {
        {{"Color", "Gray", "Lineart", nullptr}, "Lineart", "Gray", "Color"},
        {{"COLOUR", "grey", "Binary", nullptr}, "Binary", "grey", "COLOUR"},
        {{"Color Lineart", "Color", "Gray Halftone", "Gray", nullptr}, "Color Lineart", "Gray", "Color"},
        {{"24bit Color", "Color Halftone", "16bit Gray", "True Gray", nullptr}, "", "16bit Gray", "Color Halftone"},
        {{"RGB", "Black & White", nullptr}, "Black & White", "", "RGB"},
        {{"Line Art", "Monochrome", nullptr}, "Line Art", "", ""},
        {{"Monochrome", "Bitmap", nullptr}, "Bitmap", "", ""},
        {{"Monochrome", nullptr}, "Monochrome", "", ""},
        {{"AZ[color]", "az{gray}@Z", nullptr}, "", "az{gray}@Z", "AZ[color]"},
        {{nullptr}, "", "", ""}};
    for (const Case& one : cases) {
        for (const auto& [mode, expected] : {std::pair{PixelMode::kLineart, one.lineart},
                                             {PixelMode::kGray, one.gray},
                                             {PixelMode::kColor, one.color}}) {
            Make({Text("mode", one.list)});
            platen_tool::ScanDevice device(kBare);
            const bool found = *expected != '\0';
            EXPECT_EQ(device.SetMode(mode), found) << one.list.front();
            // Lineart that isn't there may be a grey mode with one bit.
            const bool grey = !found && mode == PixelMode::kLineart && *one.gray != '\0';
            EXPECT_EQ(asked, found  ? Calls{std::string("mode=") + expected}
                             : grey ? Calls{std::string("mode=") + one.gray}
                                    : Calls{})
                << one.list.front();
        }
    }
}

TEST_F(ScanOptions, ModesThatAreNoListAreNotSet) {
    Made number = Number("mode", 1);
    Made free = Text("mode", {});
    const Made listed = Text("mode", {"Gray", nullptr});
    for (const Made& mode : {number, free, Changed(listed, kInactive), Changed(listed, kReadOnly)}) {
        Make({mode});
        platen_tool::ScanDevice device(kBare);
        EXPECT_FALSE(device.SetMode(PixelMode::kGray));
        EXPECT_EQ(asked, Calls{});
    }
    Make({});
    platen_tool::ScanDevice device(kBare);
    EXPECT_FALSE(device.SetMode(PixelMode::kGray));
}

TEST_F(ScanOptions, LineartMayBeGreyWithOneBit) {
    const Made gray = Text("mode", {"Gray", nullptr});
    const SANE_Range bits = {1, 16, 0};
    Made depth = Number("depth", 8);
    depth.range = &bits;
    Make({gray, depth});
    platen_tool::ScanDevice device(kBare);
    EXPECT_TRUE(device.SetMode(PixelMode::kLineart));
    EXPECT_EQ(asked, (Calls{"mode=Gray", "depth=1"}));
    asked.clear();
    EXPECT_TRUE(device.SetMode(PixelMode::kGray));
    EXPECT_EQ(asked, Calls{"mode=Gray"});
    EXPECT_FALSE(device.SetMode(PixelMode::kColor));
    // Without a grey mode its bits aren't asked for.
    Make({Text("mode", {"Color", nullptr}), depth});
    platen_tool::ScanDevice color(kBare);
    EXPECT_FALSE(color.SetMode(PixelMode::kLineart));
    EXPECT_EQ(asked, Calls{});
}

TEST_F(ScanOptions, DepthsThatTheDeviceLacksAreNotSet) {
    const SANE_Range bits = {8, 16, 0};
    Made depth = Number("depth", 8);
    depth.range = &bits;
    Make({depth});
    platen_tool::ScanDevice device(kBare);
    EXPECT_TRUE(device.SetDepth(16));
    EXPECT_FALSE(device.SetDepth(1));
    EXPECT_EQ(asked, Calls{"depth=16"});
    answer = SANE_STATUS_INVAL;
    EXPECT_EQ(Failure([&] { device.SetDepth(8); }), "4 --depth: the device refused '8': Invalid argument");
    answer = SANE_STATUS_GOOD;
    for (const Made& other : {Number("depth", 8, SANE_TYPE_FIXED), Text("depth", {"16", nullptr}),
                              Changed(depth, kInactive), Changed(depth, kReadOnly), Number("deep", 8)}) {
        Make({other});
        platen_tool::ScanDevice none(kBare);
        EXPECT_FALSE(none.SetDepth(16));
        EXPECT_EQ(asked, Calls{});
    }
}

TEST_F(ScanOptions, ResolutionsOfOneAndOfTwoAxes) {
    const Made both = Number("resolution", 75);
    const Made x = Number("x-resolution", 75);
    const Made y = Number("y-resolution", 75);
    const auto set = [&](const std::vector<Made>& options, const std::string& text) {
        Make(options);
        platen_tool::ScanDevice device(kBare);
        const std::string failure = Failure([&] { device.SetResolution(text); });
        return failure == "done" ? asked : Calls{failure};
    };
    const std::string none =
        "2 --resolution: the device has no such option; --scale changes the size afterwards, and "
        "--input-resolution "
        "states the pages' resolution";
    const std::string one = "2 --resolution: '300x150': the device has one resolution for both axes";
    EXPECT_EQ(set({both}, "300"), Calls{"resolution=300"});
    EXPECT_EQ(set({both}, "300x300"), Calls{"resolution=300"});
    EXPECT_EQ(set({both}, "300x150"), Calls{one});
    EXPECT_EQ(set({both, y}, "300"), (Calls{"resolution=300", "y-resolution=300"}));
    EXPECT_EQ(set({both, y}, "300x150"), (Calls{"resolution=300", "y-resolution=150"}));
    EXPECT_EQ(set({both, x, y}, "300"), Calls{"resolution=300"});
    EXPECT_EQ(set({both, x, y}, "300x150"), (Calls{"x-resolution=300", "y-resolution=150"}));
    EXPECT_EQ(set({both, x}, "300"), Calls{"resolution=300"});
    EXPECT_EQ(set({both, x}, "300x150"), Calls{one});
    EXPECT_EQ(set({x, y}, "300"), (Calls{"x-resolution=300", "y-resolution=300"}));
    EXPECT_EQ(set({x, y}, "300x150"), (Calls{"x-resolution=300", "y-resolution=150"}));
    EXPECT_EQ(set({y}, "300"), Calls{none});
    EXPECT_EQ(set({}, "300"), Calls{none});
    EXPECT_EQ(set({Changed(both, kInactive), x, y}, "300"), (Calls{"x-resolution=300", "y-resolution=300"}));
    EXPECT_EQ(set({both, Changed(y, kInactive)}, "300"), Calls{"resolution=300"});
    EXPECT_EQ(set({both, Changed(x, kReadOnly), y}, "300"), (Calls{"resolution=300", "y-resolution=300"}));
}

TEST_F(ScanOptions, AreasAreSetFromTheirEdges) {
    const auto edges = [](SANE_Value_Type type, SANE_Unit unit) {
        std::vector<Made> made;
        for (const char* name : {"tl-x", "tl-y", "br-x", "br-y"}) {
            made.push_back(Number(name, type == SANE_TYPE_FIXED ? SANE_FIX(3.5) : 30, type, unit));
        }
        return made;
    };
    const auto set = [&](const std::vector<Made>& options, const platen_tool::ScanArea& area) {
        Make(options);
        platen_tool::ScanDevice device(kBare);
        const std::string failure = Failure([&] { device.SetArea(area); });
        return failure == "done" ? asked : Calls{failure};
    };
    platen_tool::ScanArea area;
    EXPECT_EQ(set(edges(SANE_TYPE_INT, SANE_UNIT_MM), area), Calls{});
    area.left = 10.4;
    area.top = 20.6;
    area.width = 50.3;
    area.height = 60.0;
    EXPECT_EQ(set(edges(SANE_TYPE_INT, SANE_UNIT_MM), area), (Calls{"tl-x=10", "br-x=61", "tl-y=21", "br-y=81"}));
    EXPECT_EQ(set(edges(SANE_TYPE_FIXED, SANE_UNIT_MM), area),
              (Calls{"tl-x=681574", "br-x=3978035", "tl-y=1350042", "br-y=5282202"}));
    // From where the page begins now.
    area.left.reset();
    area.top.reset();
    EXPECT_EQ(set(edges(SANE_TYPE_INT, SANE_UNIT_MM), area), (Calls{"br-x=80", "br-y=90"}));
    EXPECT_EQ(set(edges(SANE_TYPE_FIXED, SANE_UNIT_MM), area), (Calls{"br-x=3525837", "br-y=4161536"}));
    // In pixels, of which each axis may have its own.
    std::vector<Made> pixels = edges(SANE_TYPE_INT, SANE_UNIT_PIXEL);
    EXPECT_EQ(set(pixels, area),
              Calls{"2 --area-width: the device measures in pixels and doesn't report their size"});
    pixels.push_back(Number("x-resolution", 254));
    pixels.push_back(Number("y-resolution", 508));
    EXPECT_EQ(set(pixels, area), (Calls{"br-x=533", "br-y=1230"}));
    area.left = 10.0;
    area.top = 10.0;
    EXPECT_EQ(set(pixels, area), (Calls{"tl-x=100", "br-x=603", "tl-y=200", "br-y=1400"}));
    // What can't be set is named.
    EXPECT_EQ(set({Number("br-x", 0), Number("br-y", 0)}, area),
              Calls{"2 --area-left: the device's area can't be set"});
    EXPECT_EQ(set({Number("tl-x", 0)}, area), Calls{"2 --area-width: the device's area can't be set"});
    area.left.reset();
    area.width.reset();
    EXPECT_EQ(set({Number("tl-x", 0)}, area), Calls{"2 --area-top: the device's area can't be set"});
    area.top.reset();
    EXPECT_EQ(set({Number("tl-x", 0)}, area), Calls{"2 --area-height: the device's area can't be set"});
    EXPECT_EQ(set({Number("br-y", 0)}, area), Calls{"br-y=60"});
}

TEST_F(ScanOptions, AllIsDescribed) {
    Made group;
    group.name = "geometry";
    group.heading = "Geometry";
    group.type = SANE_TYPE_GROUP;
    Made several = Number("several", 0);
    several.words = {1, -2, 3, 4, 5, 6, 7, 8};
    several.about = "Eight\nof them";
    Made button;
    button.name = "calibrate";
    button.type = SANE_TYPE_BUTTON;
    Made chosen = Number("chosen", 80909, SANE_TYPE_FIXED, SANE_UNIT_MM);
    chosen.capabilities |= SANE_CAP_AUTOMATIC;
    Make({group, several, button, chosen, Changed(Number("sensor", 1, SANE_TYPE_BOOL), kReadOnly),
          Changed(Number("lamp", 0, SANE_TYPE_BOOL), kInactive), Text("mode", {"Gray", "Color", nullptr}, "Color"),
          Number("light", 0, SANE_TYPE_BOOL)});
    platen_tool::ScanDevice device(kBare);
    EXPECT_EQ(device.DescribeOptions(),
              "Geometry:\n"
              "  several=whole numbers (8 values) [1,-2,3,4,5,6,7,8]\n"
              "        Eight of them\n"
              "  calibrate\n"
              "  chosen=numbers mm, or auto [1.2346]\n"
              "  sensor=yes or no [yes] [read only]\n"
              "  lamp=yes or no [inactive]\n"
              "  mode=Gray, Color [Color]\n"
              "  light=yes or no [no]\n");
    reading = SANE_STATUS_INVAL;
    Make({Number("odd", 3)});
    EXPECT_EQ(platen_tool::ScanDevice(kBare).DescribeOptions(), "  odd=whole numbers\n");
    reading = SANE_STATUS_GOOD;
    Made two = Number("two", 0);
    two.words = {1, 2};
    EXPECT_EQ((Make({two}), platen_tool::ScanDevice(kBare).DescribeOptions()),
              "  two=whole numbers (2 values) [1,2]\n");
    Made many = several;
    many.words.push_back(9);
    many.about = "";
    EXPECT_EQ((Make({many}), platen_tool::ScanDevice(kBare).DescribeOptions()),
              "  several=whole numbers (9 values) [1,-2,3,4,5,6,7,8,...]\n");
    EXPECT_EQ((Make({Changed(Number("secret", 3), kUnreadable)}), platen_tool::ScanDevice(kBare).DescribeOptions()),
              "  secret=whole numbers\n");
    Made nameless = Number("", 3);
    nameless.nameless = true;
    nameless.heading = "Name";
    nameless.about = nullptr;
    EXPECT_EQ((Make({nameless}), platen_tool::ScanDevice(kBare).DescribeOptions()), "  =whole numbers [3]\n");
    Make({Number("odd", 3), Number("even", 4)});
    Hooks().hidden = "odd";
    EXPECT_EQ(platen_tool::ScanDevice(kBare).DescribeOptions(), "  even=whole numbers [4]\n");
}

// Values of no size, or more than anybody reads, aren't asked for.
TEST_F(ScanOptions, ValuesOfStrangeSizesAreNotAskedFor) {
    for (const auto& [size, shown] :
         {std::pair{0, ""}, {-4, ""}, {(1 << 20) + 1, ""}, {1, " "}, {1 << 20, " [text]"}, {5, " [text]"}}) {
        Made text = Text("words", {}, size == 1 ? "" : "text");
        text.size = size;
        Make({text});
        Hooks().records = true;
        Hooks().calls.clear();
        EXPECT_EQ(platen_tool::ScanDevice(kBare).DescribeOptions(),
                  std::string("  words=any text") + (size == 1 ? "" : shown) + "\n")
            << size;
        EXPECT_EQ(std::count(Hooks().calls.begin(), Hooks().calls.end(), "words?"), *shown != '\0' ? 1 : 0) << size;
    }
}

TEST_F(ScanOptions, ResolutionsAreThoseThatCanBeRead) {
    const Made both = Number("resolution", 300);
    const Made x = Number("x-resolution", SANE_FIX(150.5), SANE_TYPE_FIXED);
    const Made y = Number("y-resolution", 75);
    const auto current = [&](const std::vector<Made>& options) -> std::string {
        Make(options);
        const auto found = platen_tool::ScanDevice(kBare).CurrentResolution();
        return found ? std::to_string(found->x.Value()) + " " + std::to_string(found->y.Value()) : "none";
    };
    EXPECT_EQ(current({}), "none");
    EXPECT_EQ(current({both}), "300.000000 300.000000");
    EXPECT_EQ(current({x}), "150.500000 150.500000");
    EXPECT_EQ(current({y}), "none");
    EXPECT_EQ(current({both, x}), "150.500000 300.000000");
    EXPECT_EQ(current({both, y}), "300.000000 75.000000");
    EXPECT_EQ(current({x, y}), "150.500000 75.000000");
    EXPECT_EQ(current({both, x, y}), "150.500000 75.000000");
    for (const SANE_Word bad : {0, -300}) {
        EXPECT_EQ(current({Number("resolution", bad)}), "none");
        EXPECT_EQ(current({both, Number("x-resolution", bad)}), "none");
        EXPECT_EQ(current({both, Number("y-resolution", bad)}), "none");
    }
    EXPECT_EQ(current({Number("resolution", 1)}), "1.000000 1.000000");
    EXPECT_EQ(current({Number("resolution", 1, SANE_TYPE_FIXED)}) == "none", false);
    Made two = both;
    two.words = {300, 300};
    for (const Made& other : {Changed(both, kInactive), Changed(both, kUnreadable), two,
                              Text("resolution", {}, "300"), Number("resolution", 1, SANE_TYPE_BOOL)}) {
        EXPECT_EQ(current({other}), "none");
    }
    EXPECT_EQ(current({Changed(both, kReadOnly)}), "300.000000 300.000000");
    reading = SANE_STATUS_IO_ERROR;
    EXPECT_EQ(current({both}), "none");
    // One that answers without a value.
    Make({both});
    Hooks().control = [](const std::string& title, SANE_Action, void*, SANE_Int&) {
        return title.empty() ? std::nullopt : std::optional(SANE_STATUS_GOOD);
    };
    EXPECT_EQ(platen_tool::ScanDevice(kBare).CurrentResolution(), std::nullopt);
}

TEST_F(ScanOptions, TextsAreThoseThatCanBeRead) {
    const Made source = Text("source", {}, "Flatbed");
    const auto current = [&](const Made& option) {
        Make({option});
        return platen_tool::ScanDevice(kBare).CurrentText("source").value_or("none");
    };
    EXPECT_EQ(current(source), "Flatbed");
    Made number = Number("source", 65);
    Made empty = source;
    empty.size = 0;
    Made negative = source;
    negative.size = -1;
    for (const Made& other : {Changed(source, kInactive), number, empty, negative, Text("sauce", {}, "Flatbed")}) {
        EXPECT_EQ(current(other), "none");
    }
    Made one = source;
    one.size = 1;
    one.text = "";
    EXPECT_EQ(current(one), "");
    reading = SANE_STATUS_IO_ERROR;
    EXPECT_EQ(current(source), "none");
}

TEST_F(ScanOptions, ReadsGiveWhatThereIsRoomFor) {
    platen_tool::ScanDevice device(kBare);
    ASSERT_EQ(device.Start(), SANE_STATUS_GOOD);
    EXPECT_EQ(device.Parameters().pixels_per_line, 61);
    SANE_Status status = SANE_STATUS_GOOD;
    SANE_Int length = 0;
    SANE_Int room = 0;
    Hooks().read = [&](SANE_Byte*, SANE_Int wanted, SANE_Int& count) -> Answer {
        room = wanted;
        count = length;
        return status;
    };
    std::vector<SANE_Byte> bytes(100);
    std::size_t count = 77;
    for (const auto& [answered, got] : {std::pair{5, 5}, {100, 100}, {105, 100}, {0, 0}, {-1, 0}, {1, 1}}) {
        length = answered;
        EXPECT_EQ(device.Read(bytes.data(), bytes.size(), count), SANE_STATUS_GOOD);
        EXPECT_EQ(count, static_cast<std::size_t>(got)) << answered;
        EXPECT_EQ(room, 100);
    }
    status = SANE_STATUS_EOF;
    length = 5;
    EXPECT_EQ(device.Read(bytes.data(), bytes.size(), count), SANE_STATUS_EOF);
    EXPECT_EQ(count, 0u);
    Hooks().read = [](SANE_Byte*, SANE_Int, SANE_Int&) -> Answer { return SANE_STATUS_GOOD; };
    EXPECT_EQ(device.Read(bytes.data(), bytes.size(), count), SANE_STATUS_GOOD);
    EXPECT_EQ(count, 0u);
    Hooks().start = []() -> Answer { return SANE_STATUS_NO_DOCS; };
    EXPECT_EQ(device.Start(), SANE_STATUS_NO_DOCS);
}

}  // namespace
}  // namespace platen_test
