// Opening, options and the order of calls: what applications and devices may do between the usual.

#include <dlfcn.h>
#include <sane/saneopts.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "MadeDevice.h"

namespace platen_test {
namespace {

using platen_tool::Sane;

constexpr int kOurs = 27;  // options, with their heading

class SaneHandles : public MadeDeviceTest {
  protected:
    // What is told while this is done.
    template <typename Work>
    static std::string Told(Work work) {
        setenv("SANE_DEBUG_PLATEN", "1", 1);
        testing::internal::CaptureStderr();
        work();
        unsetenv("SANE_DEBUG_PLATEN");
        return testing::internal::GetCapturedStderr();
    }

    static SANE_Int CountOf(const Application& application) {
        SANE_Int count = 0;
        SANE_Int info = -1;
        EXPECT_EQ(Sane().controlOption(application.Handle(), 0, SANE_ACTION_GET_VALUE, &count, &info),
                  SANE_STATUS_GOOD);
        EXPECT_EQ(info, 0);
        return count;
    }

    // One of the backend's own functions, past SANE's library.
    template <typename Function>
    static Function Entry(const char* name) {
        void* library = dlopen("libsane-platen.so.1", RTLD_NOW | RTLD_NOLOAD);
        EXPECT_NE(library, nullptr);
        auto* entry = reinterpret_cast<Function>(dlsym(library, name));
        EXPECT_NE(entry, nullptr) << name;
        dlclose(library);
        return entry;
    }
};

// A device that doesn't say how many options it has can't be used, and is closed.
TEST_F(SaneHandles, ADeviceThatCountsNoOptionsIsNotOpened) {
    SANE_Word count = 0;
    SANE_Status status = SANE_STATUS_GOOD;
    Hooks().control = [&](const std::string& title, SANE_Action, void* word, SANE_Int&) -> Answer {
        if (!title.empty()) {
            return std::nullopt;
        }
        *static_cast<SANE_Word*>(word) = count;
        return status;
    };
    EXPECT_EQ(Application(kWrapped).OpenStatus(), SANE_STATUS_INVAL);
    EXPECT_EQ(Opened(), 0);
    count = -1;
    EXPECT_EQ(Application(kWrapped).OpenStatus(), SANE_STATUS_INVAL);
    EXPECT_EQ(Opened(), 0);
    status = SANE_STATUS_ACCESS_DENIED;
    for (const SANE_Word any : {0, 1, 9}) {
        count = any;
        EXPECT_EQ(Application(kWrapped).OpenStatus(), SANE_STATUS_ACCESS_DENIED);
        EXPECT_EQ(Opened(), 0);
    }
    status = SANE_STATUS_GOOD;
    count = 1;
    const Application application(kWrapped);
    ASSERT_TRUE(application.IsOpen());
    EXPECT_EQ(CountOf(application), 1 + kOurs);
}

TEST_F(SaneHandles, OptionsPastTheDevicesCountAreOurs) {
    Made odd = Number("contrast", 1);
    odd.nameless = true;
    odd.heading = "nameless";
    Make({Number("resolute", 75), odd});
    const Application application(kWrapped);
    ASSERT_TRUE(application.IsOpen());
    EXPECT_EQ(CountOf(application), 3 + kOurs);
    EXPECT_EQ(application.Find("resolute"), 1);
    EXPECT_EQ(application.Find("contrast"), 3 + 4);  // ours, as the device's has no name
    EXPECT_NE(Sane().getOptionDescriptor(application.Handle(), 3 + kOurs - 1), nullptr);
    EXPECT_EQ(Sane().getOptionDescriptor(application.Handle(), 3 + kOurs), nullptr);
    SANE_Word word = 0;
    for (const SANE_Int none : {3, 3 + kOurs, 3 + kOurs + 1, -1}) {
        for (const SANE_Action action : {SANE_ACTION_GET_VALUE, SANE_ACTION_SET_VALUE, SANE_ACTION_SET_AUTO}) {
            SANE_Int info = -1;
            EXPECT_EQ(Sane().controlOption(application.Handle(), none, action, &word, &info), SANE_STATUS_INVAL)
                << none;
            EXPECT_EQ(info, 0);
        }
    }
    // The number of options can be read, and that is all.
    EXPECT_EQ(Sane().controlOption(application.Handle(), 0, SANE_ACTION_SET_VALUE, &word, nullptr),
              SANE_STATUS_INVAL);
    EXPECT_EQ(Sane().controlOption(application.Handle(), 0, SANE_ACTION_GET_VALUE, nullptr, nullptr),
              SANE_STATUS_INVAL);
}

// Names that the device has are the device's; its first option, their number, takes none.
TEST_F(SaneHandles, NamesOfTheDevicesOptionsAreTaken) {
    Make({Number("contrast", 75), Number("hue", 1)});
    const auto describe = Hooks().describe;
    Hooks().describe = [&](SANE_Option_Descriptor* options, SANE_Int& count) {
        describe(options, count);
        options[0].name = "brightness";
    };
    const Application application(kWrapped);
    EXPECT_EQ(application.Find("contrast"), 1);
    EXPECT_EQ(application.Find("hue"), 2);
    for (const char* name : {"platen-contrast", "platen-hue", "brightness", "saturation", "platen-lightness"}) {
        EXPECT_GT(application.Find(name), 2) << name;
    }
    EXPECT_EQ(application.Find("platen-brightness"), 0);
    Hooks().describe = nullptr;
    Hooks().control = nullptr;
    Hooks().hidden = "depth";  // an option without a description
    EXPECT_TRUE(Application(kWrapped).IsOpen());
}

// The option that is found is never the first, their number.
TEST_F(SaneHandles, TheNumberOfOptionsIsNoOptionOfAnyName) {
    Hooks().describe = [](SANE_Option_Descriptor* options, SANE_Int& /*count*/) { options[0].name = "resolution"; };
    const Application application(kWrapped);
    const SANE_Option_Descriptor* first = Sane().getOptionDescriptor(application.Handle(), 0);
    EXPECT_STREQ(first->name, "resolution");
    EXPECT_EQ(first->type, SANE_TYPE_INT);
    EXPECT_EQ(first->constraint_type, SANE_CONSTRAINT_NONE);
    // Neither where the device has no resolution at all.
    Make({Number("lamp", 0)});
    const Application other(kWrapped);
    first = Sane().getOptionDescriptor(other.Handle(), 0);
    EXPECT_STREQ(first->name, "");
    EXPECT_EQ(first->type, SANE_TYPE_INT);
    Hooks().control = nullptr;
    EXPECT_EQ(application.SetWord("resolution", 100), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Parameters().pixels_per_line, 81);
}

TEST_F(SaneHandles, OptionsAreActiveFromTheStart) {
    const Application application(kWrapped);  // grey
    EXPECT_TRUE(application.IsActive("contrast"));
    EXPECT_FALSE(application.IsActive("saturation"));
    EXPECT_EQ(Told([] { const Application silent(kWrapped); }).find("platen.conf"), std::string::npos);
}

// Ours alone stays as it is on a page that isn't known: a heading.
TEST_F(SaneHandles, APageThatIsNotKnownHasNoOptions) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetText("mode", "Strange"), SANE_STATUS_GOOD);
    const SANE_Int group = application.Find("platen-preset") - 1;
    EXPECT_EQ(Sane().getOptionDescriptor(application.Handle(), group)->cap, 0);
    for (SANE_Int i = 1; i < kOurs; ++i) {
        EXPECT_FALSE(SANE_OPTION_IS_ACTIVE(Sane().getOptionDescriptor(application.Handle(), group + i)->cap)) << i;
    }
}

TEST_F(SaneHandles, AFirstPresetThatCannotBeUsedIsTold) {
    WriteFile(folder.File("own.toml"), "sharpness = 1\n");
    WriteFile(configuration.File("platen.conf"),
              "presets \"" + folder.Path() + "\"\ndevice standin:\npreset own\ndevice standin:x\npreset nothing\n");
    EXPECT_EQ(Told([] { EXPECT_EQ(Application(kWrapped).Text("platen-preset"), "own"); }).find("can't be used"),
              std::string::npos);
    const std::string lines =
        Told([] { EXPECT_EQ(Application("platen:standin:x").Text("platen-preset"), "None"); });
    EXPECT_TRUE(lines.ends_with("[platen] platen.conf: the preset nothing can't be used\n")) << lines;
}

TEST_F(SaneHandles, AutoIsPressedAndTells) {
    const Application application(kWrapped);
    const SANE_Int option = application.Find("platen-auto");
    SANE_Word nothing = 0;
    SANE_Int info = -1;
    EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_SET_VALUE, &nothing, &info),
              SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_RELOAD_OPTIONS | SANE_INFO_RELOAD_PARAMS);
    EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_SET_AUTO, &nothing, &info),
              SANE_STATUS_INVAL);
    EXPECT_EQ(info, 0);
    // It has no value; neither does it act on pages without tones.
    EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_GET_VALUE, &nothing, &info),
              SANE_STATUS_INVAL);
    ASSERT_EQ(application.SetWord("depth", 1), SANE_STATUS_GOOD);
    Hooks().records = true;
    EXPECT_EQ(application.Press("platen-auto"), SANE_STATUS_INVAL);
    EXPECT_EQ(std::count(Hooks().calls.begin(), Hooks().calls.end(), "start"), 0);
}

TEST_F(SaneHandles, OptionsThatWaitForTheFramesEndTellNothing) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetWord("contrast", 5), SANE_STATUS_GOOD);
    ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
    SANE_Int info = -1;
    EXPECT_EQ(application.SetWord("contrast", 300, &info), SANE_STATUS_DEVICE_BUSY);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(application.Word("contrast"), 5);
    // A start that fails ends the frame that was.
    ASSERT_EQ(application.SetText("fault", "start 9 0"), SANE_STATUS_GOOD);
    EXPECT_EQ(Sane().start(application.Handle()), SANE_STATUS_IO_ERROR);
    EXPECT_EQ(application.SetWord("contrast", 6), SANE_STATUS_GOOD);
}

// What is asked of the device is as it was, unless the preset is what is set.
TEST_F(SaneHandles, OtherOptionsDoNotAskForThePresetsResolution) {
    WriteFile(folder.File("own.toml"), "resolution = 60\n");
    OfferPresets();
    const Application application(kWrapped);
    SANE_Int info = 0;
    ASSERT_EQ(application.SetText("platen-preset", "own", &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_RELOAD_OPTIONS | SANE_INFO_RELOAD_PARAMS);
    ASSERT_EQ(application.Word("resolution"), 60);
    ASSERT_EQ(application.SetWord("resolution", 100), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("contrast", 5), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Word("resolution"), 100);
    EXPECT_EQ(application.SetText("platen-preset", "nothing"), SANE_STATUS_INVAL);
    EXPECT_EQ(application.Word("resolution"), 100);
}

// As long as the device doesn't say what its page would be, options stay as they are.
TEST_F(SaneHandles, WithoutParametersOptionsStayActive) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetText("mode", "Color"), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetText("fault", "parameters 9 1"), SANE_STATUS_GOOD);
    SANE_Int info = 0;
    EXPECT_EQ(application.SetWord("depth", 16, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info & SANE_INFO_RELOAD_OPTIONS, 0);
    EXPECT_TRUE(application.IsActive("saturation"));
    EXPECT_TRUE(application.IsActive("contrast"));
}

// A frame that can't be worked on has been started: it is cancelled.
TEST_F(SaneHandles, AStartThatFailsAfterTheDevicesCancelsIt) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetWord("contrast", 5), SANE_STATUS_GOOD);
    const ScannedPage whole = application.Scan();
    Hooks().records = true;
    ASSERT_EQ(application.SetText("fault", "parameters 9 1"), SANE_STATUS_GOOD);
    Hooks().calls.clear();
    EXPECT_EQ(Sane().start(application.Handle()), SANE_STATUS_IO_ERROR);
    EXPECT_EQ(Hooks().calls, (Calls{"start", "cancel"}));
    EXPECT_EQ(application.SetWord("contrast", 5), SANE_STATUS_GOOD);
    EXPECT_TRUE(application.Scan().bytes == whole.bytes);
}

TEST_F(SaneHandles, IoModesAreTheDevicesWhereNothingIsDone) {
    const Application application(kWrapped);
    Hooks().ioMode = [](bool nonBlocking) { return nonBlocking ? SANE_STATUS_UNSUPPORTED : SANE_STATUS_JAMMED; };
    ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
    EXPECT_EQ(Sane().setIoMode(application.Handle(), SANE_TRUE), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(Sane().setIoMode(application.Handle(), SANE_FALSE), SANE_STATUS_JAMMED);
    Sane().cancel(application.Handle());
    ASSERT_EQ(application.SetWord("contrast", 5), SANE_STATUS_GOOD);
    ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
    EXPECT_EQ(Sane().setIoMode(application.Handle(), SANE_FALSE), SANE_STATUS_GOOD);
}

// A device that answers without a value has none.
TEST_F(SaneHandles, AnAnswerWithoutAValueIsNone) {
    Hooks().control = [](const std::string& title, SANE_Action action, void*, SANE_Int&) -> Answer {
        if (title == "resolution" && action == SANE_ACTION_GET_VALUE) {
            return SANE_STATUS_GOOD;
        }
        return std::nullopt;
    };
    const Application application(kWrapped);
    ASSERT_EQ(application.SetWord("resolution", 100), SANE_STATUS_GOOD);
    EXPECT_EQ(application.Parameters().pixels_per_line, 122);  // at the device's 150
}

TEST_F(SaneHandles, WhereNoDeviceIsNamedTheFirstIsOpened) {
    WriteFile(configuration.File("platen.conf"), "");
    EXPECT_EQ(Told([] { EXPECT_EQ(Application("platen:").OpenStatus(), SANE_STATUS_INVAL); }),
              "[platen] no device; name one as platen:NAME, or list some in platen.conf\n");
    WriteFile(configuration.File("platen.conf"), "device standin:\ndevice nothing:\n");
    EXPECT_TRUE(Application("platen:").IsOpen());
}

// The first folder that has a configuration is the one.
TEST_F(SaneHandles, TheFirstConfigurationCounts) {
    Folder empty;
    Folder other;
    WriteFile(other.File("platen.conf"), "device net:other\n");
    const auto names = [] {
        const SANE_Device** devices = nullptr;
        EXPECT_EQ(Sane().getDevices(&devices, SANE_FALSE), SANE_STATUS_GOOD);
        std::string text;
        for (; *devices != nullptr; ++devices) {
            text += std::string((*devices)->name) + " ";
        }
        return text;
    };
    const std::string before = std::getenv("SANE_CONFIG_DIR");
    setenv("SANE_CONFIG_DIR", (empty.Path() + "::/dev/null:" + configuration.Path() + ":" + other.Path()).c_str(),
           1);
    EXPECT_EQ(Told([&] { EXPECT_EQ(names(), "platen:standin: "); }), "");
    setenv("SANE_CONFIG_DIR", (other.Path() + ":" + configuration.Path()).c_str(), 1);
    EXPECT_EQ(names(), "platen:net:other ");
    // One that can't be opened, or read, is told.
    ASSERT_EQ(symlink("platen.conf", empty.File("platen.conf").c_str()), 0);
    setenv("SANE_CONFIG_DIR", (empty.Path() + ":" + other.Path()).c_str(), 1);
    EXPECT_EQ(Told([&] { EXPECT_EQ(names(), "platen:net:other "); }),
              "[platen] " + empty.File("platen.conf") + ": Too many levels of symbolic links\n");
    std::remove(empty.File("platen.conf").c_str());
    ASSERT_EQ(mkdir(empty.File("platen.conf").c_str(), 0700), 0);
    EXPECT_EQ(Told([&] { EXPECT_EQ(names(), ""); }),
              "[platen] " + empty.File("platen.conf") + ": can't be read whole\n");
    rmdir(empty.File("platen.conf").c_str());
    setenv("SANE_CONFIG_DIR", before.c_str(), 1);
}

// The folder that the program runs in, and those of the system, where nothing else is said or an end asks for them.
TEST_F(SaneHandles, TheUsualFoldersComeLast) {
    Folder here;
    Folder empty;
    WriteFile(here.File("platen.conf"), "device net:here\n");
    const std::string before = std::getenv("SANE_CONFIG_DIR");
    const std::filesystem::path folderBefore = std::filesystem::current_path();
    std::filesystem::current_path(here.Path());
    const auto first = [] {
        const SANE_Device** devices = nullptr;
        EXPECT_EQ(Sane().getDevices(&devices, SANE_FALSE), SANE_STATUS_GOOD);
        return *devices != nullptr ? std::string((*devices)->name) : "none";
    };
    EXPECT_EQ(first(), "platen:standin:");
    setenv("SANE_CONFIG_DIR", (configuration.Path() + ":").c_str(), 1);
    EXPECT_EQ(first(), "platen:standin:");
    setenv("SANE_CONFIG_DIR", empty.Path().c_str(), 1);
    EXPECT_EQ(first(), "none");
    setenv("SANE_CONFIG_DIR", (empty.Path() + ":").c_str(), 1);
    EXPECT_EQ(first(), "platen:net:here");
    setenv("SANE_CONFIG_DIR", "", 1);
    EXPECT_EQ(first(), "platen:net:here");
    unsetenv("SANE_CONFIG_DIR");
    EXPECT_EQ(first(), "platen:net:here");
    setenv("SANE_CONFIG_DIR", before.c_str(), 1);
    std::filesystem::current_path(folderBefore);
}

TEST_F(SaneHandles, WordsOfADeviceSayWhatItIs) {
    const std::pair<const char*, std::array<const char*, 4>> lines[] = {
        {"device a", {"platen:a", "Platen", "a", "adjusting scanner"}},
        {"device a b", {"platen:a", "b", "a", "adjusting scanner"}},
        {"device a b c", {"platen:a", "b", "c", "adjusting scanner"}},
        {"device a b c d", {"platen:a", "b", "c", "d"}},
        {"\t device \t a\tb \"c and\td\" e # f \r", {"platen:a", "b", "c and\td", "e"}},
        {"device \"a\"\"b\"\"c\"", {"platen:a", "b", "c", "adjusting scanner"}},
        {"device \"a\"b", {"platen:a", "b", "a", "adjusting scanner"}},
        {"device a \"\" \"never ends", {"platen:a", "", "never ends", "adjusting scanner"}}};
    for (const auto& [line, words] : lines) {
        WriteFile(configuration.File("platen.conf"), line);
        const SANE_Device** devices = nullptr;
        ASSERT_EQ(Sane().getDevices(&devices, SANE_FALSE), SANE_STATUS_GOOD);
        ASSERT_NE(*devices, nullptr) << line;
        EXPECT_STREQ((*devices)->name, words[0]) << line;
        EXPECT_STREQ((*devices)->vendor, words[1]) << line;
        EXPECT_STREQ((*devices)->model, words[2]) << line;
        EXPECT_STREQ((*devices)->type, words[3]) << line;
    }
}

TEST_F(SaneHandles, APresetBeforeAllDevicesIsForAll) {
    WriteFile(folder.File("own.toml"), "sharpness = 1\n");
    WriteFile(folder.File("other.toml"), "sharpness = 2\n");
    WriteFile(configuration.File("platen.conf"),
              "preset own\npresets \"" + folder.Path() + "\"\ndevice standin:\ndevice standin:x\npreset other\n");
    EXPECT_EQ(Application(kWrapped).Text("platen-preset"), "own");
    EXPECT_EQ(Application("platen:standin:x").Text("platen-preset"), "other");
    EXPECT_EQ(Application("platen:standin:y").Text("platen-preset"), "own");
}

TEST_F(SaneHandles, LinesOfTheConfigurationThatAreWrongAreTold) {
    const std::string allowed =
        " is none of: device NAME [VENDOR [MODEL [TYPE]]], preset NAME, presets FOLDER, resolution LOWEST "
        "HIGHEST\n";
    const std::string file = "[platen] " + configuration.File("platen.conf") + ":";
    const auto list = [] {
        const SANE_Device** devices = nullptr;
        EXPECT_EQ(Sane().getDevices(&devices, SANE_FALSE), SANE_STATUS_GOOD);
    };
    const std::pair<const char*, std::string> lines[] = {
        {"device a b c d", ""},
        {"device a b c d e", "'device'" + allowed},
        {"device", "'device'" + allowed},
        {"device \"\"", "'device'" + allowed},
        {"preset", "'preset'" + allowed},
        {"preset a", ""},
        {"preset a b", "'preset'" + allowed},
        {"presets", "'presets'" + allowed},
        {"presets a", ""},
        {"presets a b", "'presets'" + allowed},
        {"resolution 1", "'resolution'" + allowed},
        {"resolution 1 32767", ""},
        {"resolution 1 2 3", "'resolution'" + allowed},
        {"resolution 0 2", "resolution: '0' is out of range; allowed: 1 to 32767\n"},
        {"resolution 1 32768", "resolution: '32768' is out of range; allowed: 1 to 32767\n"},
        {"nonsense", "'nonsense'" + allowed},
        {"# device", ""},
        {"", ""}};
    for (const auto& [line, message] : lines) {
        WriteFile(configuration.File("platen.conf"), std::string("\n# first\n") + line + "\ndevice standin:\n");
        EXPECT_EQ(Told(list), message.empty() ? "" : file + "3: " + message) << line;
    }
}

TEST_F(SaneHandles, DevicesOfANetworkAreNotLocal) {
    WriteFile(configuration.File("platen.conf"), "device net:host:a\ndevice standin:\ndevice net:host:b\n");
    const SANE_Device** devices = nullptr;
    ASSERT_EQ(Sane().getDevices(&devices, SANE_TRUE), SANE_STATUS_GOOD);
    ASSERT_NE(devices[0], nullptr);
    EXPECT_STREQ(devices[0]->name, "platen:standin:");
    EXPECT_EQ(devices[1], nullptr);
    ASSERT_EQ(Sane().getDevices(&devices, SANE_FALSE), SANE_STATUS_GOOD);
    for (const char* name : {"platen:net:host:a", "platen:standin:", "platen:net:host:b"}) {
        ASSERT_NE(*devices, nullptr);
        EXPECT_STREQ((*devices)->name, name);
        ++devices;
    }
    EXPECT_EQ(*devices, nullptr);
}

// SANE's library lets none of these through; a frontend may load the backend without it.
TEST_F(SaneHandles, NullPointersAreRefusedByTheEntriesThemselves) {
    const Application application(kWrapped);
    ASSERT_TRUE(application.IsOpen());
    const auto open = Entry<SANE_Status (*)(SANE_String_Const, SANE_Handle*)>("sane_platen_open");
    const auto close = Entry<void (*)(SANE_Handle)>("sane_platen_close");
    EXPECT_EQ(open("standin:", nullptr), SANE_STATUS_INVAL);
    SANE_Handle handle = nullptr;
    ASSERT_EQ(open(nullptr, &handle), SANE_STATUS_GOOD);  // the first of the configuration
    const auto init = Entry<SANE_Status (*)(SANE_Int*, SANE_Auth_Callback)>("sane_platen_init");
    EXPECT_EQ(init(nullptr, nullptr), SANE_STATUS_GOOD);
    SANE_Int version = 0;
    EXPECT_EQ(init(&version, nullptr), SANE_STATUS_GOOD);
    EXPECT_EQ(SANE_VERSION_MAJOR(version), 1);
    const auto devices = Entry<SANE_Status (*)(const SANE_Device***, SANE_Bool)>("sane_platen_get_devices");
    EXPECT_EQ(devices(nullptr, SANE_FALSE), SANE_STATUS_INVAL);
    const auto descriptor = Entry<SANE_Status (*)(SANE_Handle, SANE_Int*)>("sane_platen_get_select_fd");
    EXPECT_EQ(descriptor(handle, nullptr), SANE_STATUS_INVAL);
    const auto start = Entry<SANE_Status (*)(SANE_Handle)>("sane_platen_start");
    const auto read = Entry<SANE_Status (*)(SANE_Handle, SANE_Byte*, SANE_Int, SANE_Int*)>("sane_platen_read");
    ASSERT_EQ(start(handle), SANE_STATUS_GOOD);
    SANE_Byte byte = 0;
    SANE_Int count = 7;
    EXPECT_EQ(read(handle, &byte, 1, nullptr), SANE_STATUS_INVAL);
    EXPECT_EQ(read(handle, nullptr, 1, &count), SANE_STATUS_INVAL);
    EXPECT_EQ(read(handle, nullptr, 0, &count), SANE_STATUS_GOOD);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(read(handle, &byte, 1, &count), SANE_STATUS_GOOD);
    EXPECT_EQ(count, 1);
    close(handle);
    EXPECT_EQ(Opened(), 1);
}

}  // namespace
}  // namespace platen_test
