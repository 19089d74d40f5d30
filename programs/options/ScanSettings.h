#pragma once

#include <optional>
#include <string>
#include <vector>

#include "programs/options/Arguments.h"
#include "programs/options/Settings.h"

namespace platen_tool {

// One wish that goes to the device, in the command line's order.
struct DeviceRequest {
    enum Kind { kSet, kMode, kDepth, kResolution } kind;
    std::string name;   // kSet: the option's
    std::string value;  // as given
};

// The part of the glass to scan, in millimetres; what isn't said stays as the device has it.
struct ScanArea {
    std::optional<double> left;
    std::optional<double> top;
    std::optional<double> width;
    std::optional<double> height;
};

// The line of `platen scan`.
struct ScanSettings {
    std::string device;
    bool listDevices = false;
    bool listOptions = false;
    bool prompt = false;  // wait for Enter before each page
    ScanArea area;
    std::optional<unsigned long> pages = 1;  // nothing: until the feeder is empty
    std::vector<DeviceRequest> requests;
    bool thresholdGiven = false;
    Settings page;  // what happens to the pages afterwards; its one input is the device
};

// Takes out the options that the device alone needs; what is left is about its pages.
std::vector<GivenOption> TakeScanOptions(ScanSettings& s, const std::vector<GivenOption>& options);

// Sorts a command line into what the device is asked for and what the program does itself; a wrong option is an
// Error (kUsage). --resolution is the device's alone; --mode and --depth are asked of the device and, as far as
// it can't, done to its pages.
ScanSettings MakeScanSettings(const ParsedArguments& arguments, const Terminals& terminals);

}  // namespace platen_tool
