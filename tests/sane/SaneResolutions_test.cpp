// The backend's resolutions over devices of every kind: what is shown, what the device is asked for, and the page.

#include <algorithm>
#include <cmath>

#include "MadeDevice.h"

namespace platen_test {
namespace {

using platen_tool::Sane;

constexpr SANE_Word kOne = 65536;
constexpr SANE_Range kWide = {75, 1200, 0};
constexpr SANE_Range kFixedWide = {75 * kOne, 1200 * kOne, 0};
constexpr SANE_Word kList[] = {3, 75, 150, 300};

class SaneResolutions : public MadeDeviceTest {
  protected:
    void SetUp() override {
        StandInTest::SetUp();
        takes = [this](const std::string& name, const SANE_Word* word) {
            WordOf(name) = word != nullptr ? *word : 75;
        };
    }

    static Made Ranged(const std::string& name, SANE_Word word, const SANE_Range& range = kWide,
                       SANE_Value_Type type = SANE_TYPE_INT) {
        Made made = Number(name, word, type, SANE_UNIT_DPI);
        made.range = &range;
        return made;
    }
    static Made Listed(const std::string& name, SANE_Word word, const SANE_Word* numbers = kList) {
        Made made = Number(name, word, SANE_TYPE_INT, SANE_UNIT_DPI);
        made.numbers = numbers;
        return made;
    }

    // The size of the page of 61 x 47 pixels at the device's resolutions.
    static void ExpectPage(const Application& application, double x, double y) {
        const SANE_Parameters parameters = application.Parameters();
        EXPECT_EQ(parameters.pixels_per_line, std::lround(61 * x));
        EXPECT_EQ(parameters.lines, std::lround(47 * y));
    }

    static SANE_Int Set(const Application& application, const std::string& name, SANE_Word word) {
        SANE_Int info = -1;
        EXPECT_EQ(application.SetWord(name, word, &info), SANE_STATUS_GOOD);
        return info;
    }
};

// The range that the application sees of a device's resolutions.
TEST_F(SaneResolutions, RangesAreDrawnOut) {
    struct Case {
        SANE_Value_Type type;
        SANE_Range own;
        SANE_Range shown;
    };
    const Case cases[] = {{SANE_TYPE_INT, {75, 1200, 0}, {25, 2400, 1}},
                          {SANE_TYPE_INT, {75, 1200, 25}, {25, 2400, 1}},
                          {SANE_TYPE_INT, {10, 100, 1}, {10, 200, 1}},
                          {SANE_TYPE_INT, {300, 300, 1}, {25, 600, 1}},
                          {SANE_TYPE_INT, {75, 16383, 0}, {25, 32766, 1}},
                          {SANE_TYPE_INT, {75, 16384, 0}, {25, 32767, 1}},
                          {SANE_TYPE_INT, {75, 20000, 0}, {25, 32767, 1}},
                          {SANE_TYPE_INT, {75, 40000, 0}, {25, 40000, 1}},
                          {SANE_TYPE_FIXED, {75 * kOne, 1200 * kOne, 0}, {25 * kOne, 2400 * kOne, 0}},
                          {SANE_TYPE_FIXED, {10 * kOne, 1200 * kOne, 100}, {10 * kOne, 2400 * kOne, 0}},
                          {SANE_TYPE_FIXED, {75 * kOne, 16384 * kOne, 0}, {25 * kOne, 32767 * kOne, 0}},
                          {SANE_TYPE_FIXED, {75 * kOne, 16383 * kOne, 0}, {25 * kOne, 32766 * kOne, 0}}};
    for (const Case& one : cases) {
        Make({Ranged("resolution", one.own.min, one.own, one.type)});
        const Application application(kWrapped);
        const SANE_Option_Descriptor* option = application.Option("resolution");
        ASSERT_NE(option, nullptr);
        ASSERT_EQ(option->constraint_type, SANE_CONSTRAINT_RANGE);
        EXPECT_EQ(option->constraint.range->min, one.shown.min) << one.own.max;
        EXPECT_EQ(option->constraint.range->max, one.shown.max) << one.own.max;
        EXPECT_EQ(option->constraint.range->quant, one.shown.quant) << one.own.max;
        EXPECT_EQ(option->type, one.type);
        EXPECT_EQ(option->unit, SANE_UNIT_DPI);
    }
    const SANE_Word unsorted[] = {4, 300, 100, 600, 200};
    const SANE_Word single[] = {1, 300};
    for (const auto& [list, most] : {std::pair{unsorted, 1200}, {single, 600}}) {
        Make({Listed("resolution", 300, list)});
        const Application application(kWrapped);
        ASSERT_EQ(application.Option("resolution")->constraint_type, SANE_CONSTRAINT_RANGE);
        EXPECT_EQ(application.Option("resolution")->constraint.range->min, 25);
        EXPECT_EQ(application.Option("resolution")->constraint.range->max, most);
    }
}

TEST_F(SaneResolutions, TheConfigurationSaysHowFar) {
    WriteFile(configuration.File("platen.conf"), "resolution 10 5000\n");
    for (const SANE_Value_Type type : {SANE_TYPE_INT, SANE_TYPE_FIXED}) {
        const SANE_Word unit = type == SANE_TYPE_INT ? 1 : kOne;
        Make({Ranged("resolution", 75 * unit, type == SANE_TYPE_INT ? kWide : kFixedWide, type)});
        const Application application(kWrapped);
        EXPECT_EQ(application.Option("resolution")->constraint.range->min, 10 * unit);
        EXPECT_EQ(application.Option("resolution")->constraint.range->max, 5000 * unit);
    }
    WriteFile(configuration.File("platen.conf"), "resolution 100 200\n");  // the device's own stay
    Make({Ranged("resolution", 75)});
    const Application application(kWrapped);
    EXPECT_EQ(application.Option("resolution")->constraint.range->min, 75);
    EXPECT_EQ(application.Option("resolution")->constraint.range->max, 1200);
}

// Options of another kind are the device's own business.
TEST_F(SaneResolutions, OnlyUsualOptionsAreDrawnOut) {
    static constexpr SANE_Word kNone[] = {0, 75};
    static constexpr SANE_Word kNegative[] = {-1, 75};
    const std::pair<const char*, void (*)(SANE_Option_Descriptor&)> kinds[] = {
        {"switch", [](SANE_Option_Descriptor& option) { option.type = SANE_TYPE_BOOL; }},
        {"free", [](SANE_Option_Descriptor& option) { option.constraint_type = SANE_CONSTRAINT_NONE; }},
        {"no range", [](SANE_Option_Descriptor& option) { option.constraint.range = nullptr; }},
        {"no list",
         [](SANE_Option_Descriptor& option) {
             option.constraint_type = SANE_CONSTRAINT_WORD_LIST;
             option.constraint.word_list = nullptr;
         }},
        {"empty list",
         [](SANE_Option_Descriptor& option) {
             option.constraint_type = SANE_CONSTRAINT_WORD_LIST;
             option.constraint.word_list = kNone;
         }},
        {"negative list",
         [](SANE_Option_Descriptor& option) {
             option.constraint_type = SANE_CONSTRAINT_WORD_LIST;
             option.constraint.word_list = kNegative;
         }},
        {"pixels", [](SANE_Option_Descriptor& option) { option.unit = SANE_UNIT_PIXEL; }}};
    for (const auto& [name, change] : kinds) {
        Made made = Ranged("resolution", 75);
        made.change = change;
        Make({made});
        const Application application(kWrapped);
        ASSERT_TRUE(application.IsOpen()) << name;
        const SANE_Option_Descriptor* option = application.Option("resolution");
        ASSERT_NE(option, nullptr);
        if (option->constraint_type == SANE_CONSTRAINT_RANGE && option->constraint.range != nullptr) {
            EXPECT_EQ(option->constraint.range->max, 1200) << name;
        }
        Set(application, "resolution", 100);
        EXPECT_EQ(asked, Calls{"resolution=100"}) << name;
        ExpectPage(application, 1, 1);
    }
    Made two = Ranged("resolution", 75);
    two.words = {75, 75};
    Make({two});
    EXPECT_EQ(Application(kWrapped).Option("resolution")->constraint.range->max, 1200);
    Made text = Text("resolution", {"75", nullptr}, "75");
    Make({text});
    EXPECT_EQ(Application(kWrapped).Text("resolution"), "75");
}

// The next one that the device has and that is no lower, or its highest.
TEST_F(SaneResolutions, TheDeviceIsAskedForOneThatItHas) {
    const SANE_Word first[] = {3, 150, 75, 300};
    const SANE_Word last[] = {3, 300, 75, 150};
    const SANE_Word few[] = {4, 2, 3, 10, 20};
    const SANE_Range stepped = {75, 1000, 50};
    const SANE_Range coarse = {75, 1000, 300};
    const auto device = [&](const Made& made, SANE_Word word) {
        Make({made});
        const Application application(kWrapped);
        Set(application, "resolution", word);
        EXPECT_EQ(application.Word("resolution"), word);
        ExpectPage(application, static_cast<double>(word) / WordOf("resolution"),
                   static_cast<double>(word) / WordOf("resolution"));
        return WordOf("resolution");
    };
    for (const SANE_Word* list : {kList, first, last}) {
        const Made made = Listed("resolution", 300, list);
        for (const auto& [word, expected] : {std::pair{25, 75},
                                             {74, 75},
                                             {75, 75},
                                             {76, 150},
                                             {100, 150},
                                             {149, 150},
                                             {150, 150},
                                             {151, 300},
                                             {299, 300},
                                             {300, 300},
                                             {301, 300},
                                             {600, 300}}) {
            EXPECT_EQ(device(made, word), expected) << word;
        }
    }
    for (const auto& [word, expected] : {std::pair{4, 10}, {3, 3}, {11, 20}, {2, 2}}) {
        EXPECT_EQ(device(Listed("resolution", 10, few), word), expected) << word;
    }
    for (const auto& [word, expected] : {std::pair{50, 75},
                                         {75, 75},
                                         {76, 125},
                                         {125, 125},
                                         {126, 175},
                                         {975, 975},
                                         {976, 1000},
                                         {1000, 1000},
                                         {1001, 1000}}) {
        EXPECT_EQ(device(Ranged("resolution", 75, stepped), word), expected) << word;
    }
    for (const auto& [word, expected] : {std::pair{100, 375}, {375, 375}, {700, 975}, {980, 1000}}) {
        EXPECT_EQ(device(Ranged("resolution", 75, coarse), word), expected) << word;
    }
    for (const SANE_Word word : {75, 76, 200, 1199, 1200}) {
        EXPECT_EQ(device(Ranged("resolution", 75), word), word);
    }
    EXPECT_EQ(device(Ranged("resolution", 75 * kOne, kFixedWide, SANE_TYPE_FIXED), 100 * kOne + 1), 100 * kOne + 1);
}

TEST_F(SaneResolutions, WhatIsAskedForIsTold) {
    Make({Listed("resolution", 75)});
    const Application application(kWrapped);
    constexpr SANE_Int kExact = SANE_INFO_RELOAD_PARAMS;
    EXPECT_EQ(Set(application, "resolution", 100) & ~SANE_INFO_RELOAD_OPTIONS, kExact);
    EXPECT_EQ(Set(application, "resolution", 600) & ~SANE_INFO_RELOAD_OPTIONS, kExact);
    SANE_Word word = 601;
    SANE_Int info = 0;
    const SANE_Int option = application.Find("resolution");
    EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_SET_VALUE, &word, &info),
              SANE_STATUS_GOOD);
    EXPECT_EQ(info & ~SANE_INFO_RELOAD_OPTIONS, kExact | SANE_INFO_INEXACT);
    EXPECT_EQ(word, 600);
    // What the device tells is passed on, but for the page that is scaled in any case.
    told = SANE_INFO_INEXACT | SANE_INFO_RELOAD_OPTIONS;
    EXPECT_EQ(Set(application, "resolution", 90), kExact | SANE_INFO_RELOAD_OPTIONS);
    told = 0;
    EXPECT_EQ(Set(application, "resolution", 90), kExact);
    // What is refused changes nothing.
    answer = SANE_STATUS_DEVICE_BUSY;
    word = 200;
    EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_SET_VALUE, &word, &info),
              SANE_STATUS_DEVICE_BUSY);
    EXPECT_EQ(word, 200);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(application.Word("resolution"), 90);
    reading = SANE_STATUS_IO_ERROR;
    EXPECT_EQ(application.Word("resolution"), std::nullopt);
    word = 0;
    EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_GET_VALUE, &word, &info),
              SANE_STATUS_IO_ERROR);
}

// Until something is asked for, the device's own is what there is.
TEST_F(SaneResolutions, TheDevicesOwnIsShownAtFirst) {
    Make({Listed("resolution", 150)});
    const Application application(kWrapped);
    EXPECT_EQ(application.Word("resolution"), 150);
    WordOf("resolution") = 300;
    EXPECT_EQ(application.Word("resolution"), 300);
    // "auto" leaves the choice to it again.
    Set(application, "resolution", 100);
    EXPECT_EQ(application.Word("resolution"), 100);
    answer = SANE_STATUS_INVAL;
    const SANE_Int option = application.Find("resolution");
    EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_SET_AUTO, nullptr, nullptr),
              SANE_STATUS_INVAL);
    EXPECT_EQ(application.Word("resolution"), 100);
    ExpectPage(application, 100.0 / 150, 100.0 / 150);
    answer = SANE_STATUS_GOOD;
    EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_SET_AUTO, nullptr, nullptr),
              SANE_STATUS_GOOD);
    EXPECT_EQ(application.Word("resolution"), 75);
    ExpectPage(application, 1, 1);
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_GOOD);
    EXPECT_EQ(asked.back(), "resolution=75");
}

TEST_F(SaneResolutions, WhatWasLeftToTheDeviceIsNotAskedAnew) {
    takes = [this](const std::string& name, const SANE_Word* word) {
        WordOf(name) = word != nullptr ? *word : 75;
        WordOf("resolution") = name == "lamp" ? 300 : WordOf("resolution");
    };
    Make({Listed("resolution", 150), Number("lamp", 0)});
    const Application application(kWrapped);
    Set(application, "resolution", 100);
    EXPECT_EQ(Sane().controlOption(application.Handle(), application.Find("resolution"), SANE_ACTION_SET_AUTO,
                                   nullptr, nullptr),
              SANE_STATUS_GOOD);
    asked.clear();
    told = SANE_INFO_RELOAD_OPTIONS;
    EXPECT_EQ(application.SetWord("lamp", 1), SANE_STATUS_GOOD);
    EXPECT_EQ(asked, Calls{"lamp=1"});
    EXPECT_EQ(application.Word("resolution"), 300);
}

// The other axis tells what became of one that can't be read.
TEST_F(SaneResolutions, AnAxisFollowsOneThatCannotBeRead) {
    takes = [this](const std::string& name, const SANE_Word* word) {
        WordOf(name) = *word;
        WordOf("y-resolution") = *word;
    };
    Make({Changed(Listed("resolution", 75), kUnreadable), Listed("y-resolution", 75)});
    const Application application(kWrapped);
    Set(application, "resolution", 100);
    EXPECT_EQ(application.Word("y-resolution"), 100);
}

// A device that makes another of what it gets: the page is scaled from what it has.
TEST_F(SaneResolutions, WhatTheDeviceMakesOfItCounts) {
    takes = [this](const std::string& name, const SANE_Word* word) { WordOf(name) = *word - 10; };
    Make({Ranged("resolution", 75)});
    const Application application(kWrapped);
    Set(application, "resolution", 300);
    EXPECT_EQ(application.Word("resolution"), 300);
    ExpectPage(application, 300.0 / 290, 300.0 / 290);
    // One that says nothing, or nothing that can be, is not scaled from.
    for (const SANE_Word nothing : {0, -5}) {
        takes = [this, nothing](const std::string& name, const SANE_Word*) { WordOf(name) = nothing; };
        Set(application, "resolution", 200);
        ExpectPage(application, 1, 1);
    }
    takes = [this](const std::string& name, const SANE_Word*) { WordOf(name) = 1; };
    Set(application, "resolution", 25);
    ExpectPage(application, 25, 25);
    Make({Changed(Ranged("resolution", 75), kUnreadable)});
    const Application unreadable(kWrapped);
    Set(unreadable, "resolution", 25);
    EXPECT_EQ(asked, Calls{"resolution=75"});
    ExpectPage(unreadable, 1, 1);
}

TEST_F(SaneResolutions, AnOptionThatIsGoneStaysAsItWas) {
    Make({Listed("resolution", 75)});
    const Application application(kWrapped);
    Set(application, "resolution", 100);
    const SANE_Int option = application.Find("resolution");
    Hooks().hidden = "resolution";
    const SANE_Option_Descriptor* shown = Sane().getOptionDescriptor(application.Handle(), option);
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown->constraint.range->max, 600);
    SANE_Word word = 120;
    SANE_Int info = 0;
    EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_SET_VALUE, &word, &info),
              SANE_STATUS_GOOD);
    EXPECT_EQ(asked.back(), "resolution=120");
    EXPECT_EQ(application.Scan().status, SANE_STATUS_GOOD);
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_GOOD);
}

// Whether the second axis goes with "resolution" is the device's choice, which a setting shows.
TEST_F(SaneResolutions, AnAxisThatFollowsFollowsWhatIsAskedFor) {
    takes = [this](const std::string& name, const SANE_Word* word) {
        WordOf(name) = *word;
        if (name == "resolution") {
            WordOf("y-resolution") = *word;
        }
    };
    Make({Listed("resolution", 75), Listed("y-resolution", 75)});
    const Application application(kWrapped);
    EXPECT_EQ(Set(application, "resolution", 100) & SANE_INFO_RELOAD_OPTIONS, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(application.Word("y-resolution"), 100);
    ExpectPage(application, 100.0 / 150, 100.0 / 150);
    // The same of the device's: the other follows in what is asked for.
    EXPECT_EQ(Set(application, "resolution", 110) & SANE_INFO_RELOAD_OPTIONS, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(application.Word("y-resolution"), 110);
    EXPECT_EQ(Set(application, "resolution", 110) & SANE_INFO_RELOAD_OPTIONS, 0);
    // Once they are apart, no more.
    EXPECT_EQ(Set(application, "y-resolution", 120) & SANE_INFO_RELOAD_OPTIONS, 0);
    EXPECT_EQ(application.Word("resolution"), 110);
    EXPECT_EQ(Set(application, "resolution", 115) & SANE_INFO_RELOAD_OPTIONS, 0);
    EXPECT_EQ(application.Word("y-resolution"), 120);
    ExpectPage(application, 115.0 / 150, 120.0 / 150);
    Set(application, "y-resolution", 30);
    Set(application, "resolution", 130);
    EXPECT_EQ(application.Word("y-resolution"), 130);  // as the device sets it
    Set(application, "y-resolution", 30);
    EXPECT_EQ(application.Word("resolution"), 130);
    ExpectPage(application, 130.0 / 150, 30.0 / 75);
}

TEST_F(SaneResolutions, AnAxisThatStaysStays) {
    Make({Listed("resolution", 75), Listed("y-resolution", 75)});
    const Application application(kWrapped);
    EXPECT_EQ(Set(application, "resolution", 100) & SANE_INFO_RELOAD_OPTIONS, 0);
    EXPECT_EQ(application.Word("y-resolution"), 75);
    // At the same resolution of the device's again, they don't belong together.
    Set(application, "y-resolution", 100);
    EXPECT_EQ(Set(application, "resolution", 110) & SANE_INFO_RELOAD_OPTIONS, 0);
    EXPECT_EQ(application.Word("y-resolution"), 100);
    ExpectPage(application, 110.0 / 150, 100.0 / 150);
}

// As long as nothing has shown it, axes that agree go together.
TEST_F(SaneResolutions, AxesThatAgreeGoTogetherAtFirst) {
    Make({Listed("resolution", 150), Listed("y-resolution", 150)});
    const Application application(kWrapped);
    EXPECT_EQ(Set(application, "resolution", 140) & SANE_INFO_RELOAD_OPTIONS, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(application.Word("y-resolution"), 140);
    Set(application, "y-resolution", 130);
    EXPECT_EQ(application.Word("resolution"), 140);
    Make({Listed("resolution", 150), Listed("y-resolution", 300)});
    const Application apart(kWrapped);
    EXPECT_EQ(Set(apart, "resolution", 140) & SANE_INFO_RELOAD_OPTIONS, 0);
    EXPECT_EQ(apart.Word("y-resolution"), 300);
}

TEST_F(SaneResolutions, AnAxisThatTheDeviceMovesElsewhereIsThere) {
    takes = [this](const std::string& name, const SANE_Word* word) {
        WordOf(name) = *word;
        if (name == "resolution") {
            WordOf("y-resolution") = 300;
        } else {
            WordOf("resolution") = *word;
        }
    };
    Make({Listed("resolution", 75), Listed("y-resolution", 75)});
    const Application application(kWrapped);
    EXPECT_EQ(Set(application, "resolution", 100) & SANE_INFO_RELOAD_OPTIONS, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(application.Word("y-resolution"), 300);
    ExpectPage(application, 100.0 / 150, 1);
    // The first follows the second on this one.
    EXPECT_EQ(Set(application, "y-resolution", 60) & SANE_INFO_RELOAD_OPTIONS, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(application.Word("resolution"), 60);
    ExpectPage(application, 60.0 / 75, 60.0 / 75);
}

TEST_F(SaneResolutions, EachAxisHasItsOwnOption) {
    Make({Listed("resolution", 300), Listed("x-resolution", 75), Listed("y-resolution", 150)});
    const Application application(kWrapped);
    Set(application, "x-resolution", 50);
    ExpectPage(application, 50.0 / 75, 1);
    Set(application, "y-resolution", 100);
    ExpectPage(application, 50.0 / 75, 100.0 / 150);
    Make({Listed("x-resolution", 75), Listed("resolution", 150)});
    const Application two(kWrapped);
    Set(two, "x-resolution", 50);
    Set(two, "resolution", 100);
    EXPECT_EQ(two.Word("x-resolution"), 50);
    ExpectPage(two, 50.0 / 75, 50.0 / 75);
    Make({Listed("y-resolution", 75)});  // nothing tells of the other axis
    const Application one(kWrapped);
    Set(one, "y-resolution", 50);
    ExpectPage(one, 1, 1);
    Make({Ranged("x-resolution", 100 * kOne + kOne / 2, kFixedWide, SANE_TYPE_FIXED), Listed("y-resolution", 75)});
    const Application fixed(kWrapped);
    takes = [](const std::string&, const SANE_Word*) {};  // stays at 100.5
    Set(fixed, "x-resolution", 201 * kOne);
    ExpectPage(fixed, 2, 1);
}

// A device that goes to another resolution with another option is asked anew for what the application wants.
TEST_F(SaneResolutions, WhatWasAskedForIsAskedAnew) {
    const auto set = [this](const Application& application) {
        asked.clear();
        told = SANE_INFO_RELOAD_OPTIONS;
        EXPECT_EQ(application.SetWord("lamp", 1), SANE_STATUS_GOOD);
        told = 0;
    };
    const Made lamp = Number("lamp", 0);
    takes = [this](const std::string& name, const SANE_Word* word) {
        WordOf(name) = *word;
        if (name == "lamp") {
            WordOf("resolution") = 75;
        }
    };
    Make({Listed("resolution", 150), lamp});
    const Application application(kWrapped);
    set(application);
    EXPECT_EQ(asked, Calls{"lamp=1"});
    EXPECT_EQ(application.Word("resolution"), 75);  // nobody asked for another
    ExpectPage(application, 1, 1);
    Set(application, "resolution", 200);
    set(application);
    EXPECT_EQ(asked, (Calls{"lamp=1", "resolution=300"}));
    EXPECT_EQ(application.Word("resolution"), 200);
    ExpectPage(application, 200.0 / 300, 200.0 / 300);
    Set(application, "resolution", 60);  // for which the device's is the right one
    set(application);
    EXPECT_EQ(asked, Calls{"lamp=1"});
    ExpectPage(application, 60.0 / 75, 60.0 / 75);
    // Not where it can't be set now.
    for (const SANE_Int capabilities :
         {SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT | SANE_CAP_INACTIVE, SANE_CAP_SOFT_DETECT + 0}) {
        Make({Listed("resolution", 150), lamp});
        SANE_Option_Descriptor* description = nullptr;
        const auto describe = Hooks().describe;
        Hooks().describe = [&](SANE_Option_Descriptor* options, SANE_Int& count) {
            describe(options, count);
            description = &options[1];
        };
        const Application other(kWrapped);
        Set(other, "resolution", 200);
        description->cap = capabilities;
        set(other);
        EXPECT_EQ(asked, Calls{"lamp=1"});
    }
    Make({Listed("resolution", 150), lamp});
    const Application gone(kWrapped);
    Set(gone, "resolution", 200);
    Hooks().hidden = "resolution";
    set(gone);
    EXPECT_EQ(asked, Calls{"lamp=1"});
}

TEST_F(SaneResolutions, APresetsResolutionIsAskedFor) {
    WriteFile(folder.File("own.toml"), "resolution = \"60x120\"\n");
    OfferPresets();
    const auto choose = [](const Application& application) {
        SANE_Int info = 0;
        EXPECT_EQ(application.SetText("platen-preset", "own", &info), SANE_STATUS_GOOD);
        return info & SANE_INFO_RELOAD_OPTIONS;
    };
    Make({Listed("resolution", 300), Listed("x-resolution", 300), Listed("y-resolution", 300)});
    const Application all(kWrapped);
    EXPECT_NE(choose(all), 0);
    EXPECT_EQ(asked, (Calls{"resolution=75", "x-resolution=75", "y-resolution=150"}));
    EXPECT_EQ(all.Word("resolution"), 60);
    EXPECT_EQ(all.Word("x-resolution"), 60);
    EXPECT_EQ(all.Word("y-resolution"), 120);
    ExpectPage(all, 60.0 / 75, 120.0 / 150);
    Make({Ranged("resolution", 75 * kOne, kFixedWide, SANE_TYPE_FIXED)});
    const Application fixed(kWrapped);
    EXPECT_NE(choose(fixed), 0);
    EXPECT_EQ(fixed.Word("resolution"), 60 * kOne);
    for (const auto change : {kInactive, kReadOnly}) {
        Make({Changed(Listed("resolution", 300), change), Listed("y-resolution", 300)});
        const Application one(kWrapped);
        EXPECT_NE(choose(one), 0);
        EXPECT_EQ(asked, Calls{"y-resolution=150"});
    }
    Make({Number("lamp", 0)});
    const Application none(kWrapped);
    choose(none);
    EXPECT_EQ(asked, Calls{});
    // What the device refuses ends it.
    Make({Listed("resolution", 300)});
    const Application refused(kWrapped);
    answer = SANE_STATUS_ACCESS_DENIED;
    EXPECT_EQ(refused.SetText("platen-preset", "own"), SANE_STATUS_ACCESS_DENIED);
}

TEST_F(SaneResolutions, APreviewAsksWhatCanBeSet) {
    const auto press = [this](const std::vector<Made>& made) {
        Make(made);
        const Application application(kWrapped);
        EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_GOOD);
        return asked;
    };
    EXPECT_EQ(press({Listed("resolution", 300)}), (Calls{"resolution=75", "resolution=300"}));
    EXPECT_EQ(press({Ranged("resolution", 300 * kOne, kFixedWide, SANE_TYPE_FIXED)}),
              (Calls{"resolution=4915200", "resolution=19660800"}));
    static constexpr SANE_Range kLow = {50 * kOne, 1200 * kOne, 0};
    EXPECT_EQ(press({Ranged("resolution", 300 * kOne, kLow, SANE_TYPE_FIXED)}).front(), "resolution=4915200");
    EXPECT_EQ(press({Listed("resolution", 300), Listed("x-resolution", 150), Listed("y-resolution", 75)}),
              (Calls{"resolution=75", "x-resolution=75", "y-resolution=75", "resolution=300", "x-resolution=150",
                     "y-resolution=75"}));
    EXPECT_EQ(press({Changed(Listed("resolution", 300), kUnreadable)}), Calls{"resolution=75"});
    EXPECT_EQ(press({Changed(Listed("resolution", 300), kInactive)}), Calls{});
    EXPECT_EQ(press({Changed(Listed("resolution", 300), kReadOnly)}), Calls{});
    EXPECT_EQ(press({Listed("resolution", 300), Changed(Listed("y-resolution", 150), kReadOnly)}),
              (Calls{"resolution=75", "resolution=300"}));
    EXPECT_EQ(press({}), Calls{});
}

}  // namespace
}  // namespace platen_test
