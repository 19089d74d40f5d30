// Every option of the backend, as an application finds it: a second writing of docs/man/sane-platen.5's table.

#include <sane/saneopts.h>

#include <array>

#include "StandInTest.h"

namespace platen_test {
namespace {

using platen_tool::Sane;

constexpr SANE_Int kWord = sizeof(SANE_Word);
constexpr SANE_Int kUsual = SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT;
constexpr SANE_Int kMore = kUsual | SANE_CAP_ADVANCED;

enum class Pages { kAll, kTones, kColour };

struct Described {
    const char* name;
    SANE_Value_Type type;
    SANE_Unit unit;
    SANE_Int size;
    SANE_Int capabilities;
    SANE_Constraint_Type constraint;
    SANE_Range range;
    SANE_Word initial;
    Pages pages;
};

constexpr SANE_Constraint_Type kRange = SANE_CONSTRAINT_RANGE;
constexpr SANE_Constraint_Type kFree = SANE_CONSTRAINT_NONE;
constexpr SANE_Constraint_Type kList = SANE_CONSTRAINT_STRING_LIST;

Described Percent(const char* name, SANE_Int capabilities, Pages pages) {
    return {name, SANE_TYPE_INT, SANE_UNIT_PERCENT, kWord, capabilities, kRange, {-100, 100, 1}, 0, pages};
}

Described Number(const char* name, SANE_Int capabilities, const SANE_Range& range, SANE_Word initial,
                 Pages pages = Pages::kTones) {
    return {name, SANE_TYPE_INT, SANE_UNIT_NONE, kWord, capabilities, kRange, range, initial, pages};
}

Described Text(const char* name, SANE_Int size, SANE_Int capabilities, SANE_Constraint_Type constraint,
               Pages pages) {
    return {name, SANE_TYPE_STRING, SANE_UNIT_NONE, size, capabilities, constraint, {}, 0, pages};
}

const std::vector<Described>& Table() {
    static const std::vector<Described> table = {
        Text("platen-preset", 0, kUsual, kList, Pages::kAll),
        {"platen-auto", SANE_TYPE_BUTTON, SANE_UNIT_NONE, 0, kUsual, kFree, {}, 0, Pages::kTones},
        Percent("brightness", kUsual, Pages::kTones),
        Percent("contrast", kUsual, Pages::kTones),
        Number("shadow", kUsual, {0, 247, 1}, 0),
        Number("highlight", kUsual, {8, 255, 1}, 255),
        {"platen-gamma",  // 0.1 to 9.99
         SANE_TYPE_FIXED,
         SANE_UNIT_NONE,
         kWord,
         kUsual,
         kRange,
         {6554, 654705, 0},
         65536,
         Pages::kTones},
        Number("platen-output-black", kMore, {0, 247, 1}, 0),
        Number("platen-output-white", kMore, {8, 255, 1}, 255),
        {"gamma-table", SANE_TYPE_INT, SANE_UNIT_NONE, 256 * kWord, kMore, kRange, {0, 255, 1}, 0, Pages::kTones},
        Text("platen-curve", 128, kMore, kFree, Pages::kTones),
        Text("platen-curve-kind", 128, kMore, kList, Pages::kTones),
        Percent("platen-curve-gamma", kMore, Pages::kTones),
        Percent("platen-shadows-red", kMore, Pages::kColour),
        Percent("platen-shadows-green", kMore, Pages::kColour),
        Percent("platen-shadows-blue", kMore, Pages::kColour),
        Percent("platen-midtones-red", kMore, Pages::kColour),
        Percent("platen-midtones-green", kMore, Pages::kColour),
        Percent("platen-midtones-blue", kMore, Pages::kColour),
        Percent("platen-highlights-red", kMore, Pages::kColour),
        Percent("platen-highlights-green", kMore, Pages::kColour),
        Percent("platen-highlights-blue", kMore, Pages::kColour),
        Percent("saturation", kUsual, Pages::kColour),
        Number("hue", kUsual, {-180, 180, 1}, 0, Pages::kColour),
        Percent("platen-lightness", kUsual, Pages::kColour),
        Number("platen-sharpness", kUsual, {-2, 3, 1}, 0),
    };
    return table;
}

class SaneOptions : public StandInTest {
  protected:
    static void SetDevice(const Application& application, const char* mode, SANE_Word depth) {
        ASSERT_EQ(application.SetText("mode", mode), SANE_STATUS_GOOD);
        ASSERT_EQ(application.SetWord("depth", depth), SANE_STATUS_GOOD);
    }

    static SANE_Status SetTable(const Application& application, std::array<SANE_Word, 256> table) {
        return Sane().controlOption(application.Handle(), application.Find("gamma-table"), SANE_ACTION_SET_VALUE,
                                    table.data(), nullptr);
    }
    static std::array<SANE_Word, 256> TableOf(const Application& application) {
        std::array<SANE_Word, 256> table{};
        EXPECT_EQ(Sane().controlOption(application.Handle(), application.Find("gamma-table"), SANE_ACTION_GET_VALUE,
                                       table.data(), nullptr),
                  SANE_STATUS_GOOD);
        return table;
    }
};

TEST_F(SaneOptions, AreDescribedOneByOne) {
    const Application application(kWrapped);
    SetDevice(application, "Color", 8);
    const SANE_Int group = application.Find("platen-preset") - 1;
    const SANE_Option_Descriptor* heading = Sane().getOptionDescriptor(application.Handle(), group);
    ASSERT_NE(heading, nullptr);
    EXPECT_EQ(heading->type, SANE_TYPE_GROUP);
    EXPECT_EQ(heading->size, 0);
    EXPECT_EQ(heading->cap, 0);
    EXPECT_STREQ(heading->title, "Adjustment (Platen)");
    for (std::size_t i = 0; i < Table().size(); ++i) {
        const Described& expected = Table()[i];
        const SANE_Option_Descriptor* option =
            Sane().getOptionDescriptor(application.Handle(), group + 1 + static_cast<SANE_Int>(i));
        ASSERT_NE(option, nullptr);
        ASSERT_STREQ(option->name, expected.name);
        EXPECT_NE(option->title, nullptr) << expected.name;
        EXPECT_GT(std::string(option->desc).size(), 10u) << expected.name;
        EXPECT_EQ(option->type, expected.type) << expected.name;
        EXPECT_EQ(option->unit, expected.unit) << expected.name;
        EXPECT_EQ(option->cap, expected.capabilities) << expected.name;
        EXPECT_EQ(option->constraint_type, expected.constraint) << expected.name;
        if (i != 0) {  // as long as the longest name of a preset
            EXPECT_EQ(option->size, expected.size) << expected.name;
        }
        if (expected.constraint == kRange) {
            EXPECT_EQ(option->constraint.range->min, expected.range.min) << expected.name;
            EXPECT_EQ(option->constraint.range->max, expected.range.max) << expected.name;
            EXPECT_EQ(option->constraint.range->quant, expected.range.quant) << expected.name;
            if (option->size == kWord) {
                EXPECT_EQ(application.Word(expected.name), expected.initial) << expected.name;
            }
        }
    }
    const SANE_String_Const* kinds = application.Option("platen-curve-kind")->constraint.string_list;
    EXPECT_STREQ(kinds[0], "spline");
    EXPECT_STREQ(kinds[1], "polyline");
    EXPECT_EQ(kinds[2], nullptr);
    EXPECT_EQ(application.Text("platen-curve-kind"), "spline");
    EXPECT_EQ(application.Text("platen-curve"), "");
    EXPECT_EQ(application.Text("platen-preset"), "None");
    const SANE_String_Const* presets = application.Option("platen-preset")->constraint.string_list;
    EXPECT_STREQ(presets[0], "None");
    std::size_t longest = 0;
    for (; *presets != nullptr; ++presets) {
        longest = std::max(longest, std::string(*presets).size());
    }
    EXPECT_EQ(application.Option("platen-preset")->size, static_cast<SANE_Int>(longest + 1));
}

TEST_F(SaneOptions, AreActiveWhereTheyAct) {
    const Application application(kWrapped);
    struct Page {
        const char* mode;
        SANE_Word depth;
        bool tones;
        bool colour;
    };
    for (const Page& page :
         {Page{"Gray", 1, false, false}, Page{"Gray", 8, true, false}, Page{"Gray", 16, true, false},
          Page{"Color", 8, true, true}, Page{"Passes", 16, true, true}}) {
        SetDevice(application, page.mode, page.depth);
        for (const Described& option : Table()) {
            const bool acts =
                option.pages == Pages::kAll || (option.pages == Pages::kTones ? page.tones : page.colour);
            EXPECT_EQ(application.IsActive(option.name), acts) << option.name << page.mode << page.depth;
        }
    }
}

TEST_F(SaneOptions, NumbersStayInTheirRangesAndSaySo) {
    const Application application(kWrapped);
    SetDevice(application, "Color", 8);
    for (const Described& option : Table()) {
        if (option.constraint != kRange || option.size != kWord) {
            continue;
        }
        for (const bool above : {false, true}) {
            const SANE_Word end = above ? option.range.max : option.range.min;
            SANE_Int info = -1;
            EXPECT_EQ(application.SetWord(option.name, end, &info), SANE_STATUS_GOOD) << option.name;
            EXPECT_EQ(info & (SANE_INFO_INEXACT | SANE_INFO_RELOAD_PARAMS), SANE_INFO_RELOAD_PARAMS) << option.name;
            EXPECT_EQ(application.Word(option.name), end) << option.name;
            SANE_Word asked = above ? end + 1 : end - 1;
            EXPECT_EQ(Sane().controlOption(application.Handle(), application.Find(option.name),
                                           SANE_ACTION_SET_VALUE, &asked, &info),
                      SANE_STATUS_GOOD);
            EXPECT_EQ(info & (SANE_INFO_INEXACT | SANE_INFO_RELOAD_PARAMS),
                      SANE_INFO_INEXACT | SANE_INFO_RELOAD_PARAMS)
                << option.name;
            EXPECT_EQ(asked, end) << option.name;  // what it took
            EXPECT_EQ(application.Word(option.name), end) << option.name;
        }
        EXPECT_EQ(application.SetWord(option.name, option.initial), SANE_STATUS_GOOD);
    }
}

TEST_F(SaneOptions, LevelsStayEightApart) {
    for (const auto& [black, white] :
         {std::pair{"shadow", "highlight"}, {"platen-output-black", "platen-output-white"}}) {
        const Application application(kWrapped);
        SANE_Int info = 0;
        EXPECT_EQ(application.SetWord(white, 100, &info), SANE_STATUS_GOOD);
        EXPECT_EQ(info & SANE_INFO_RELOAD_OPTIONS, 0);
        EXPECT_EQ(application.SetWord(black, 92, &info), SANE_STATUS_GOOD);
        EXPECT_EQ(info & SANE_INFO_RELOAD_OPTIONS, 0);
        EXPECT_EQ(application.Word(white), 100);
        EXPECT_EQ(application.SetWord(black, 93, &info), SANE_STATUS_GOOD);
        EXPECT_NE(info & SANE_INFO_RELOAD_OPTIONS, 0);
        EXPECT_EQ(application.Word(white), 101);
        EXPECT_EQ(application.SetWord(white, 50, &info), SANE_STATUS_GOOD);
        EXPECT_NE(info & SANE_INFO_RELOAD_OPTIONS, 0);
        EXPECT_EQ(application.Word(black), 42);
        // Another option leaves them alone.
        EXPECT_EQ(application.SetWord("contrast", 5, &info), SANE_STATUS_GOOD);
        EXPECT_EQ(info & SANE_INFO_RELOAD_OPTIONS, 0);
        EXPECT_EQ(application.Word(black), 42);
        EXPECT_EQ(application.Word(white), 50);
    }
}

TEST_F(SaneOptions, WhatCannotBeSetIsRefused) {
    const Application application(kWrapped);
    SetDevice(application, "Color", 8);
    const SANE_Int group = application.Find("platen-preset") - 1;
    SANE_Word word = 0;
    for (const SANE_Action action : {SANE_ACTION_GET_VALUE, SANE_ACTION_SET_VALUE, SANE_ACTION_SET_AUTO}) {
        EXPECT_EQ(Sane().controlOption(application.Handle(), group, action, &word, nullptr), SANE_STATUS_INVAL);
        EXPECT_EQ(Sane().controlOption(application.Handle(), group + 3, action, nullptr, nullptr),
                  SANE_STATUS_INVAL);
    }
    EXPECT_EQ(Sane().controlOption(application.Handle(), group + 3, SANE_ACTION_SET_AUTO, &word, nullptr),
              SANE_STATUS_INVAL);
    SetDevice(application, "Gray", 8);
    EXPECT_EQ(application.SetWord("saturation", 1), SANE_STATUS_INVAL);
    EXPECT_EQ(application.Word("saturation"), 0);
    // Text without an end within its room.
    std::vector<char> text(128, '1');
    EXPECT_EQ(Sane().controlOption(application.Handle(), application.Find("platen-curve"), SANE_ACTION_SET_VALUE,
                                   text.data(), nullptr),
              SANE_STATUS_INVAL);
    EXPECT_EQ(application.Text("platen-curve"), "");
    EXPECT_EQ(application.SetText("platen-curve-kind", "none"), SANE_STATUS_INVAL);
    EXPECT_EQ(application.SetText("platen-preset", "none"), SANE_STATUS_INVAL);
    EXPECT_EQ(application.Text("platen-preset"), "None");
}

TEST_F(SaneOptions, TextsAreTakenAndSayWhatTheyChange) {
    const Application application(kWrapped);
    SANE_Int info = 0;
    EXPECT_EQ(application.SetText("platen-curve-kind", "polyline", &info), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Text("platen-curve-kind"), "polyline");
    EXPECT_EQ(application.SetText("platen-curve", "0,0:50,60:100,120:150,200:255,255", &info), SANE_STATUS_GOOD);
    EXPECT_NE(info & SANE_INFO_RELOAD_PARAMS, 0);
    EXPECT_EQ(application.SetText("platen-curve", "0,0:50", &info), SANE_STATUS_INVAL);
    EXPECT_EQ(application.Text("platen-curve"), "0,0:50,60:100,120:150,200:255,255");
    EXPECT_EQ(application.SetText("platen-curve", "", &info), SANE_STATUS_GOOD);
    EXPECT_NE(info & SANE_INFO_RELOAD_PARAMS, 0);
    EXPECT_EQ(application.Text("platen-curve"), "");
    EXPECT_EQ(application.SetText("platen-preset", "None", &info), SANE_STATUS_GOOD);
    EXPECT_NE(info & SANE_INFO_RELOAD_PARAMS, 0);
}

// What a preset makes of a page decides which options act on it.
TEST_F(SaneOptions, PresetsDecideWhichAreActive) {
    struct Case {
        const char* preset;
        const char* mode;
        SANE_Word depth;
        bool tones;
        bool colour;
    };
    const Case cases[] = {{"sharpness = 1\n", "Gray", 1, false, false},
                          {"mode = \"gray\"\n", "Gray", 1, true, false},
                          {"mode = \"color\"\n", "Gray", 1, true, true},
                          {"mode = \"lineart\"\n", "Gray", 1, false, false},
                          {"depth = 1\n", "Gray", 1, false, false},
                          {"depth = 8\n", "Gray", 1, true, false},
                          {"depth = 8\nsharpness = 1\n", "Gray", 1, true, false},
                          {"mode = \"gray\"\n", "Gray", 8, true, false},
                          {"mode = \"color\"\n", "Gray", 8, true, true},
                          {"mode = \"color\"\nsharpness = 1\n", "Gray", 8, true, true},
                          {"mode = \"color\"\n", "Color", 8, true, true},
                          {"mode = \"gray\"\n", "Color", 8, true, false},
                          {"mode = \"lineart\"\n", "Color", 8, true, false},
                          {"sharpness = 1\n", "Color", 8, true, true},
                          {"depth = 16\n", "Color", 8, true, true},
                          {"depth = 1\n", "Color", 8, true, true}};
    OfferPresets();
    for (const Case& one : cases) {
        WriteFile(folder.File("0own.toml"), one.preset);
        const Application application(kWrapped);
        SetDevice(application, one.mode, one.depth);
        ASSERT_EQ(application.SetText("platen-preset", "0own"), SANE_STATUS_GOOD);
        EXPECT_EQ(application.IsActive("contrast"), one.tones) << one.preset << one.mode << one.depth;
        EXPECT_EQ(application.IsActive("saturation"), one.colour) << one.preset << one.mode << one.depth;
        EXPECT_TRUE(application.IsActive("platen-preset"));
    }
}

// Texts end within the option's room, and nothing is written past it.
TEST_F(SaneOptions, TextsFitTheirRoom) {
    OfferPresets();
    const std::string longest(40, 'z');
    WriteFile(folder.File(longest + ".toml"), "sharpness = 1\n");
    WriteFile(folder.File("0own.toml"), "sharpness = 1\n");
    const Application application(kWrapped);
    EXPECT_EQ(application.Option("platen-preset")->size, 41);
    EXPECT_STREQ(application.Option("platen-preset")->constraint.string_list[1], "0own");
    for (const std::string& name : {std::string("0own"), longest, std::string("None")}) {
        ASSERT_EQ(application.SetText("platen-preset", name), SANE_STATUS_GOOD);
        std::vector<char> text(42, '#');
        ASSERT_EQ(Sane().controlOption(application.Handle(), application.Find("platen-preset"),
                                       SANE_ACTION_GET_VALUE, text.data(), nullptr),
                  SANE_STATUS_GOOD);
        EXPECT_EQ(std::string(text.data()), name);
        EXPECT_EQ(text[name.size() + 1], '#');
    }
    // The first one acts, too.
    const ScannedPage plain = application.Scan();
    ASSERT_EQ(application.SetText("platen-preset", "0own"), SANE_STATUS_GOOD);
    EXPECT_FALSE(application.Scan().bytes == plain.bytes);
    // A curve without an end, though of good points.
    std::string curve = "0,0:50,60:100,120:150,200:255,255";
    curve.insert(0, 128 - curve.size(), '0');
    EXPECT_EQ(Sane().controlOption(application.Handle(), application.Find("platen-curve"), SANE_ACTION_SET_VALUE,
                                   curve.data(), nullptr),
              SANE_STATUS_INVAL);
    EXPECT_EQ(application.Text("platen-curve"), "");
    EXPECT_EQ(application.SetText("platen-curve", curve.substr(1)), SANE_STATUS_GOOD);
    const SANE_Int group = application.Find("platen-preset") - 1;
    EXPECT_STREQ(Sane().getOptionDescriptor(application.Handle(), group)->name, "");
}

TEST_F(SaneOptions, TheGammaTableIsTheIdentityUntilSet) {
    const Application application(kWrapped);
    std::array<SANE_Word, 256> table = TableOf(application);
    for (SANE_Word i = 0; i < 256; ++i) {
        EXPECT_EQ(table[static_cast<std::size_t>(i)], i);
    }
    const ScannedPage before = application.Scan();
    for (const std::size_t at : {std::size_t{0}, std::size_t{128}, std::size_t{255}}) {
        for (const SANE_Word bad : {-1, 256}) {
            std::array<SANE_Word, 256> wrong = table;
            wrong[at] = bad;
            EXPECT_EQ(SetTable(application, wrong), SANE_STATUS_INVAL);
        }
    }
    EXPECT_EQ(TableOf(application), table);
    for (SANE_Word& level : table) {
        level = 255 - level;
    }
    EXPECT_EQ(SetTable(application, table), SANE_STATUS_GOOD);
    EXPECT_EQ(TableOf(application), table);
    ScannedPage after = application.Scan();
    ASSERT_EQ(after.bytes.size(), before.bytes.size());
    for (SANE_Byte& byte : after.bytes) {
        byte = static_cast<SANE_Byte>(255 - byte);
    }
    EXPECT_TRUE(after.bytes == before.bytes);
}

}  // namespace
}  // namespace platen_test
