#pragma once

#include <sane/sane.h>

#include <optional>
#include <string>
#include <vector>

namespace platen_sane {

struct ConfiguredDevice {
    std::string name;  // as SANE knows it: "epson2:libusb:001:004"
    std::string vendor = "Platen";
    std::string model;  // the name, where the file says nothing
    std::string type = "adjusting scanner";
    std::string preset;  // chosen when it is opened; empty: none
};

// What platen.conf says.
struct Configuration {
    std::vector<ConfiguredDevice> devices;
    std::string preset;  // of devices that the file doesn't name, and of those that have none of their own
    std::vector<std::string> presetFolders;
    std::optional<int> lowestDpi;
    std::optional<int> highestDpi;
};

// Reads platen.conf from the first folder that has it: those of $SANE_CONFIG_DIR, or else the current folder and
// the system's. Lines that say nothing known are passed over, with a message where messages are asked for.
Configuration ReadConfiguration();

// The preset that a device begins with; empty: none.
std::string FirstPreset(const Configuration& configuration, const std::string& device);

}  // namespace platen_sane
