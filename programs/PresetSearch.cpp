#include "programs/PresetSearch.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "programs/Error.h"
#include "programs/Numbers.h"

namespace platen_tool {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kEnding = ".toml";

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && value[0] == '/' ? value : "";
}

// A folder from a variable, or one below the user's home.
void AddUserFolder(std::vector<std::string>& folders, const char* variable, const char* belowHome) {
    std::string base = Environment(variable);
    const std::string home = Environment("HOME");
    if (base.empty() && !home.empty()) {
        base = home + belowHome;
    }
    if (!base.empty()) {
        folders.push_back(base + "/platen/presets");
    }
}

}  // namespace

std::vector<std::string> PresetFolders() {
    std::vector<std::string> folders;
    AddUserFolder(folders, "XDG_CONFIG_HOME", "/.config");
    AddUserFolder(folders, "XDG_DATA_HOME", "/.local/share");
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (!error) {
        folders.push_back((program.parent_path().parent_path() / "share/platen/presets").string());
    }
    const char* listed = std::getenv("XDG_DATA_DIRS");
    const std::string list = listed != nullptr && listed[0] != '\0' ? listed : "/usr/local/share:/usr/share";
    for (const std::string_view folder : SplitText(list, ':')) {
        if (folder.starts_with('/')) {
            folders.push_back(std::string(folder) + "/platen/presets");
        }
    }
    return folders;
}

std::vector<FoundPreset> FindAllPresets() {
    std::map<std::string, std::string> found;
    for (const std::string& folder : PresetFolders()) {
        std::error_code error;
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
            const fs::path path = entry->path();
            if (path.extension() == kEnding) {
                found.emplace(path.stem().string(), path.string());
            }
        }
    }
    std::vector<FoundPreset> presets;
    for (const auto& [name, path] : found) {
        presets.push_back({name, path});
    }
    return presets;
}

std::string FindPreset(const std::string& text) {
    if (text.find('/') != std::string::npos || text.ends_with(kEnding)) {
        return text;
    }
    std::string names;
    for (const FoundPreset& preset : FindAllPresets()) {
        if (preset.name == text) {
            return preset.path;
        }
        names += (names.empty() ? "" : ", ") + preset.name;
    }
    throw Error(ExitCode::kUsage, "--preset: there is no '" + text + "'" +
                                      (names.empty() ? std::string() : "; there are " + names) +
                                      " (a file's name has a slash or ends in .toml)");
}

}  // namespace platen_tool
