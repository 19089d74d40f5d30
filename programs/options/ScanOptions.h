#pragma once

#include <string>

namespace platen_tool {

struct OptionSpec;
struct ScanSettings;

// What the rows of the option table call; see OptionSpec::takeForDevice. A file of their own: whoever reads presets
// needs the table, but not the writers that a scan's settings are checked against.
bool TakeDeviceName(const OptionSpec& spec, const std::string& value, ScanSettings& s);
bool TakeListDevices(const OptionSpec& spec, const std::string& value, ScanSettings& s);
bool TakeListOptions(const OptionSpec& spec, const std::string& value, ScanSettings& s);
bool TakeDeviceArea(const OptionSpec& spec, const std::string& value, ScanSettings& s);
bool TakePrompt(const OptionSpec& spec, const std::string& value, ScanSettings& s);
bool TakeDevicePages(const OptionSpec& spec, const std::string& value, ScanSettings& s);
bool TakeDeviceSet(const OptionSpec& spec, const std::string& value, ScanSettings& s);
bool TakeDeviceResolution(const OptionSpec& spec, const std::string& value, ScanSettings& s);
bool TakeDeviceMode(const OptionSpec& spec, const std::string& value, ScanSettings& s);
bool TakeDeviceDepth(const OptionSpec& spec, const std::string& value, ScanSettings& s);
bool TakeDeviceThreshold(const OptionSpec& spec, const std::string& value, ScanSettings& s);

}  // namespace platen_tool
