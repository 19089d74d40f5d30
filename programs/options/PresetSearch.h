#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platen_tool {

// The folders that hold presets, the first to be searched first:
//   the user's      $XDG_CONFIG_HOME/platen/presets (~/.config), $XDG_DATA_HOME/platen/presets (~/.local/share)
//   the program's   share/platen/presets beside the folder of the program's file
//   the system's    platen/presets in each of $XDG_DATA_DIRS (/usr/local/share, /usr/share)
// As the base directory rules ask, a variable that is empty or no absolute path counts as not set.
std::vector<std::string> PresetFolders();

struct FoundPreset {
    std::string name;  // without .toml
    std::string path;
};

// The file of --preset=TEXT: a text with a slash, or one that ends in .toml, is the file; any other is a name to
// search for. An unknown name is an Error (kUsage) that lists the names there are.
std::string FindPreset(const std::string& text);

// The user's file of default options, $XDG_CONFIG_HOME/platen/defaults.toml (~/.config); empty where there is none.
std::string DefaultsFile();

// All that can be found by name, sorted by it; of several of one name, the one that FindPreset takes. `more` are
// folders that are searched after those.
std::vector<FoundPreset> FindAllPresets(const std::vector<std::string>& more = {});

}  // namespace platen_tool
