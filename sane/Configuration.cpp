#include "sane/Configuration.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "programs/base/Error.h"
#include "programs/base/Numbers.h"
#include "sane/Status.h"

namespace platen_sane {

namespace {

constexpr const char* kFile = "platen.conf";

// As the other backends search: an ending colon asks for the usual folders too.
std::vector<std::string> Folders() {
    const char* variable = std::getenv("SANE_CONFIG_DIR");
    const std::string listed = variable != nullptr ? variable : "";
    std::vector<std::string> folders;
    for (const std::string_view folder : platen_tool::SplitText(listed, ':')) {
        if (!folder.empty()) {
            folders.emplace_back(folder);
        }
    }
    if (listed.empty() || listed.back() == ':') {
        folders.insert(folders.end(), {".", PLATEN_SANE_CONFIG_DIR, "/etc/sane.d"});
    }
    return folders;
}

// The words of a line; one in double quotes may hold blanks.
std::vector<std::string> Words(const std::string& line) {
    std::vector<std::string> words;
    for (std::size_t at = line.find_first_not_of(" \t\r"); at < line.size();) {
        if (line[at] == '#') {
            break;
        }
        const bool quoted = line[at] == '"';
        const std::size_t begin = at + (quoted ? 1 : 0);
        const std::size_t end = std::min(line.find_first_of(quoted ? "\"" : " \t\r", begin), line.size());
        words.push_back(line.substr(begin, end - begin));
        at = line.find_first_not_of(" \t\r", std::min(end + (quoted ? 1 : 0), line.size()));
    }
    return words;
}

// A line without its end; false after the last one. Streams would bring a megabyte of the C++ library into memory.
bool ReadLine(std::FILE& file, std::string& line) {
    line.clear();
    int c = std::getc(&file);
    const bool any = c != EOF;
    for (; c != EOF && c != '\n'; c = std::getc(&file)) {
        line += static_cast<char>(c);
    }
    return any;
}

constexpr int kMostDpi = 32767;  // of a fixed-point number

int Dpi(const std::string& text) {
    return static_cast<int>(platen_tool::ParseWhole("resolution", text, 1, kMostDpi));
}

void TakeLine(Configuration& configuration, const std::vector<std::string>& words) {
    const std::string& what = words.front();
    if (what == "device" && words.size() >= 2 && words.size() <= 5 && !words[1].empty()) {
        ConfiguredDevice device;
        device.name = words[1];
        device.vendor = words.size() > 2 ? words[2] : device.vendor;
        device.model = words.size() > 3 ? words[3] : device.name;
        device.type = words.size() > 4 ? words[4] : device.type;
        configuration.devices.push_back(device);
    } else if (what == "preset" && words.size() == 2) {
        (configuration.devices.empty() ? configuration.preset : configuration.devices.back().preset) = words[1];
    } else if (what == "presets" && words.size() == 2) {
        configuration.presetFolders.push_back(words[1]);
    } else if (what == "resolution" && words.size() == 3) {
        const int lowest = Dpi(words[1]);
        const int highest = Dpi(words[2]);
        configuration.lowestDpi = lowest;
        configuration.highestDpi = highest;
    } else {
        throw platen_tool::Error(
            platen_tool::ExitCode::kUsage,
            "'" + what +
                "' is none of: device NAME [VENDOR [MODEL [TYPE]]], preset NAME, presets FOLDER, "
                "resolution LOWEST HIGHEST");
    }
}

}  // namespace

Configuration ReadConfiguration() {
    Configuration configuration;
    for (const std::string& folder : Folders()) {
        const std::string path = folder + "/" + kFile;
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"), std::fclose);
        if (file == nullptr) {
            if (errno == ENOMEM) {
                throw std::bad_alloc();
            }
            if (errno != ENOENT && errno != ENOTDIR) {
                Tell(path + ": " + std::strerror(errno));
            }
            continue;
        }
        int number = 0;
        for (std::string line; ReadLine(*file, line);) {
            ++number;
            const std::vector<std::string> words = Words(line);
            try {
                if (!words.empty()) {
                    TakeLine(configuration, words);
                }
            } catch (const platen_tool::Error& error) {
                Tell(path + ":" + std::to_string(number) + ": " + error.what());
            }
        }
        if (std::ferror(file.get()) != 0) {
            Tell(path + ": can't be read whole");
        }
        break;
    }
    return configuration;
}

std::string FirstPreset(const Configuration& configuration, const std::string& device) {
    for (const ConfiguredDevice& one : configuration.devices) {
        if (one.name == device && !one.preset.empty()) {
            return one.preset;
        }
    }
    return configuration.preset;
}

}  // namespace platen_sane
