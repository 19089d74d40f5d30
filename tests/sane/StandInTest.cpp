#include "StandInTest.h"

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>

namespace platen_test {

using platen_tool::Sane;

Application::Application(const std::string& name) : sane_(Sane()) {
    openStatus_ = sane_.open(name.c_str(), &handle_);
    if (openStatus_ != SANE_STATUS_GOOD) {
        handle_ = nullptr;
    }
}

Application::~Application() {
    if (IsOpen()) {
        sane_.close(handle_);
    }
}

SANE_Int Application::Find(const std::string& name) const {
    SANE_Int count = 0;
    EXPECT_EQ(sane_.controlOption(handle_, 0, SANE_ACTION_GET_VALUE, &count, nullptr), SANE_STATUS_GOOD);
    for (SANE_Int i = 1; i < count; ++i) {
        const SANE_Option_Descriptor* option = sane_.getOptionDescriptor(handle_, i);
        if (option != nullptr && option->name != nullptr && option->type != SANE_TYPE_GROUP &&
            name == option->name) {
            return i;
        }
    }
    return 0;
}

const SANE_Option_Descriptor* Application::Option(const std::string& name) const {
    const SANE_Int option = Find(name);
    return option != 0 ? sane_.getOptionDescriptor(handle_, option) : nullptr;
}

bool Application::IsActive(const std::string& name) const {
    const SANE_Option_Descriptor* option = Option(name);
    return option != nullptr && SANE_OPTION_IS_ACTIVE(option->cap);
}

SANE_Status Application::SetWord(const std::string& name, SANE_Word value, SANE_Int* info) const {
    return sane_.controlOption(handle_, Find(name), SANE_ACTION_SET_VALUE, &value, info);
}

SANE_Status Application::SetText(const std::string& name, const std::string& value, SANE_Int* info) const {
    const SANE_Option_Descriptor* option = Option(name);
    if (option == nullptr || value.size() >= static_cast<std::size_t>(option->size)) {
        return SANE_STATUS_INVAL;
    }
    std::vector<char> text(static_cast<std::size_t>(option->size));
    std::memcpy(text.data(), value.c_str(), value.size() + 1);
    return sane_.controlOption(handle_, Find(name), SANE_ACTION_SET_VALUE, text.data(), info);
}

SANE_Status Application::Press(const std::string& name) const {
    SANE_Word nothing = 0;
    return sane_.controlOption(handle_, Find(name), SANE_ACTION_SET_VALUE, &nothing, nullptr);
}

std::optional<SANE_Word> Application::Word(const std::string& name) const {
    SANE_Word word = 0;
    const SANE_Int option = Find(name);
    if (option == 0 ||
        sane_.controlOption(handle_, option, SANE_ACTION_GET_VALUE, &word, nullptr) != SANE_STATUS_GOOD) {
        return std::nullopt;
    }
    return word;
}

std::string Application::Text(const std::string& name) const {
    const SANE_Option_Descriptor* option = Option(name);
    if (option == nullptr) {
        return {};
    }
    std::vector<char> text(static_cast<std::size_t>(option->size) + 1);
    EXPECT_EQ(sane_.controlOption(handle_, Find(name), SANE_ACTION_GET_VALUE, text.data(), nullptr),
              SANE_STATUS_GOOD);
    return text.data();
}

SANE_Parameters Application::Parameters() const {
    SANE_Parameters parameters{};
    EXPECT_EQ(sane_.getParameters(handle_, &parameters), SANE_STATUS_GOOD);
    return parameters;
}

ScannedPage Application::Scan(SANE_Int room, bool cancel) const {
    ScannedPage page;
    std::vector<SANE_Byte> buffer(static_cast<std::size_t>(room));
    for (bool last = false; !last && page.status == SANE_STATUS_GOOD;) {
        page.status = sane_.start(handle_);
        SANE_Parameters parameters{};
        if (page.status == SANE_STATUS_GOOD) {
            page.status = sane_.getParameters(handle_, &parameters);
        }
        if (page.status != SANE_STATUS_GOOD) {
            break;
        }
        page.frames.push_back(parameters);
        last = parameters.last_frame != SANE_FALSE;
        while (page.status == SANE_STATUS_GOOD) {
            SANE_Int count = 0;
            page.status = sane_.read(handle_, buffer.data(), room, &count);
            EXPECT_LE(count, room);
            page.bytes.insert(page.bytes.end(), buffer.begin(), buffer.begin() + count);
        }
        page.status = page.status == SANE_STATUS_EOF ? SANE_STATUS_GOOD : page.status;
    }
    if (cancel) {
        sane_.cancel(handle_);
    }
    return page;
}

namespace {

Folder& SharedConfiguration() {
    static Folder folder;
    return folder;
}

}  // namespace

StandInTest::StandInTest() : configuration(SharedConfiguration()) {
    WriteFile(configuration.File("dll.conf"), "platen\n");
    WriteFile(configuration.File("platen.conf"), "device standin:\n");
    setenv("SANE_CONFIG_DIR", configuration.Path().c_str(), 1);
    const char* other = std::getenv("PLATEN_TEST_BACKENDS");  // a mutation run's, before the built one
    setenv("LD_LIBRARY_PATH", ((other != nullptr ? std::string(other) + ":" : "") + PLATEN_BACKENDS).c_str(), 1);
    // The user's presets aren't the test's.
    setenv("XDG_CONFIG_HOME", configuration.Path().c_str(), 1);
    setenv("XDG_DATA_HOME", configuration.Path().c_str(), 1);
}

StandInTest::~StandInTest() {
    Sane().exit();
    if (hooks_ != nullptr) {
        *hooks_ = {};
    }
}

StandInHooks& StandInTest::Hooks() {
    if (hooks_ == nullptr) {
        void* library = dlopen(PLATEN_STANDIN, RTLD_NOW);  // stays loaded
        auto* hooks = reinterpret_cast<StandInHooks* (*)()>(dlsym(library, "standin_hooks"));
        hooks_ = hooks();
        *hooks_ = {};
    }
    return *hooks_;
}

void StandInTest::SetUp() {
    ASSERT_EQ(Sane().init(nullptr, nullptr), SANE_STATUS_GOOD);
}

int StandInTest::Opened() const {
    void* library = dlopen(PLATEN_STANDIN, RTLD_NOW | RTLD_NOLOAD);
    if (library == nullptr) {
        return 0;
    }
    auto* opened = reinterpret_cast<int (*)()>(dlsym(library, "standin_opened"));
    const int count = opened != nullptr ? opened() : -1;
    dlclose(library);
    return count;
}

void StandInTest::OfferPresets() const {
    WriteFile(configuration.File("platen.conf"), "presets \"" + folder.Path() + "\"\n");
}

void StandInTest::SetUpDevice(const Application& application, const Road& road) {
    ASSERT_TRUE(application.IsOpen());
    ASSERT_EQ(application.SetText("mode", road.mode), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("unknown-height", road.unknownHeight ? SANE_TRUE : SANE_FALSE), SANE_STATUS_GOOD);
    for (const auto& [name, value] : road.words) {
        ASSERT_EQ(application.SetWord(name, value), SANE_STATUS_GOOD) << name;
    }
}

std::vector<SANE_Byte> StandInTest::Adjusted(const ScannedPage& page,
                                             const std::vector<std::string>& options) const {
    const SANE_Parameters& p = page.frames.front();
    const bool passes = page.frames.size() == 3;
    const bool colour = passes || p.format == SANE_FRAME_RGB;
    const auto width = static_cast<std::size_t>(p.pixels_per_line);
    std::vector<SANE_Byte> bytes = page.bytes;
    if (passes) {
        const std::size_t plane = bytes.size() / 3;
        const std::size_t sample = p.depth == 16 ? 2 : 1;
        for (std::size_t i = 0; i < plane / sample; ++i) {
            for (std::size_t c = 0; c < 3; ++c) {
                std::memcpy(&bytes[(3 * i + c) * sample], &page.bytes[c * plane + i * sample], sample);
            }
        }
    }
    const std::size_t samples = width * (colour ? 3 : 1);
    const std::size_t line = p.depth == 1 ? (width + 7) / 8 : samples * static_cast<std::size_t>(p.depth) / 8;
    const std::size_t height = bytes.size() / line;
    if (p.depth == 16) {  // the file's order of bytes
        for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
            std::uint16_t value = 0;
            std::memcpy(&value, &bytes[i], sizeof value);
            bytes[i] = static_cast<SANE_Byte>(value >> 8);
            bytes[i + 1] = static_cast<SANE_Byte>(value & 255);
        }
    }
    std::string file = std::string(p.depth == 1 ? "P4"
                                   : colour     ? "P6"
                                                : "P5") +
                       "\n" + std::to_string(width) + " " + std::to_string(height) + "\n";
    file += p.depth == 1 ? "" : p.depth == 16 ? "65535\n" : "255\n";
    file.append(bytes.begin(), bytes.end());
    Streams streams;
    streams.input = file;
    std::vector<std::string> words = options;
    words.insert(words.end(), {"--format=pnm", "-", "-o", "-"});
    const Outcome outcome = Spawn(words, streams);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    std::size_t at = 0;
    for (int ends = outcome.out.starts_with("P4") ? 2 : 3; ends > 0; --ends) {
        at = outcome.out.find('\n', at) + 1;
    }
    std::vector<SANE_Byte> result(outcome.out.begin() + static_cast<std::ptrdiff_t>(at), outcome.out.end());
    const bool wide = outcome.out.substr(0, at).find("65535") != std::string::npos;
    for (std::size_t i = 0; wide && i + 1 < result.size(); i += 2) {
        const auto value = static_cast<std::uint16_t>(result[i] << 8 | result[i + 1]);
        std::memcpy(&result[i], &value, sizeof value);
    }
    return result;
}

}  // namespace platen_test
