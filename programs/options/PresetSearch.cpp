#include "programs/options/PresetSearch.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>

#include "programs/base/Error.h"
#include "programs/base/Numbers.h"

namespace platen_tool {

namespace {

constexpr std::string_view kEnding = ".toml";

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && value[0] == '/' ? value : "";
}

// A folder from a variable, or one below the user's home; empty where neither is known.
std::string UserFolder(const char* variable, const char* belowHome) {
    const std::string base = Environment(variable);
    const std::string home = Environment("HOME");
    return base.empty() && !home.empty() ? home + belowHome : base;
}

void AddUserFolder(std::vector<std::string>& folders, const char* variable, const char* belowHome) {
    const std::string base = UserFolder(variable, belowHome);
    if (!base.empty()) {
        folders.push_back(base + "/platen/presets");
    }
}

// The folder above the program's own, empty where that can't be found out.
std::string ProgramFolder() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    const std::string program(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::string folder = program.substr(0, program.find_last_of('/') + 1);
    return folder.size() < 2 ? "" : folder.substr(0, folder.find_last_of('/', folder.size() - 2));
}

struct CloseFolder {
    void operator()(DIR* folder) const {
        closedir(folder);
    }
};

// The C++ library's directory iterator ends the program where memory runs out.
std::vector<std::string> NamesIn(const std::string& path) {
    std::vector<std::string> names;
    errno = 0;
    const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
    if (folder == nullptr && errno == ENOMEM) {
        throw std::bad_alloc();
    }
    while (const dirent* entry = folder != nullptr ? readdir(folder.get()) : nullptr) {
        names.emplace_back(entry->d_name);
    }
    return names;
}

}  // namespace

std::string DefaultsFile() {
    const std::string base = UserFolder("XDG_CONFIG_HOME", "/.config");
    const std::string file = base + "/platen/defaults.toml";
    return !base.empty() && access(file.c_str(), F_OK) == 0 ? file : "";
}

std::vector<std::string> PresetFolders() {
    std::vector<std::string> folders;
    AddUserFolder(folders, "XDG_CONFIG_HOME", "/.config");
    AddUserFolder(folders, "XDG_DATA_HOME", "/.local/share");
    const std::string program = ProgramFolder();
    if (!program.empty()) {
        folders.push_back(program + "/share/platen/presets");
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

std::vector<FoundPreset> FindAllPresets(const std::vector<std::string>& more) {
    std::map<std::string, std::string> found;
    std::vector<std::string> folders = PresetFolders();
    folders.insert(folders.end(), more.begin(), more.end());
    for (const std::string& folder : folders) {
        for (const std::string& file : NamesIn(folder)) {
            if (file.size() > kEnding.size() && file.ends_with(kEnding)) {
                found.emplace(file.substr(0, file.size() - kEnding.size()), folder + "/" + file);
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
