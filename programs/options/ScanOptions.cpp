#include "programs/options/ScanOptions.h"

#include "programs/base/Error.h"
#include "programs/options/OptionTable.h"
#include "programs/options/ParseValue.h"
#include "programs/options/ScanSettings.h"

namespace platen_tool {

namespace {

DeviceRequest ParseSet(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == 0 || text.empty()) {
        throw Error(ExitCode::kUsage, "--set: '" + text + "' is not NAME=VALUE");
    }
    // Without a value it can only be a button, which the device's description will show.
    return {DeviceRequest::kSet, text.substr(0, equals),
            equals == std::string::npos ? std::string() : text.substr(equals + 1)};
}

}  // namespace

bool TakeDeviceName(const OptionSpec&, const std::string& value, ScanSettings& s) {
    s.device = value;
    return true;
}

bool TakeListDevices(const OptionSpec&, const std::string&, ScanSettings& s) {
    s.listDevices = true;
    return true;
}

bool TakeListOptions(const OptionSpec&, const std::string&, ScanSettings& s) {
    s.listOptions = true;
    return true;
}

bool TakeDeviceArea(const OptionSpec& spec, const std::string& value, ScanSettings& s) {
    const double millimetres = ParseDecimal(spec, value);
    (spec.letter == 'l'   ? s.area.left
     : spec.letter == 't' ? s.area.top
     : spec.letter == 'x' ? s.area.width
                          : s.area.height) = millimetres;
    return true;
}

bool TakePrompt(const OptionSpec&, const std::string&, ScanSettings& s) {
    s.prompt = true;
    return true;
}

bool TakeDevicePages(const OptionSpec& spec, const std::string& value, ScanSettings& s) {
    s.pages.reset();
    if (value != "all") {
        s.pages = static_cast<unsigned long>(ParseInt(spec, value));
    }
    return true;
}

bool TakeDeviceSet(const OptionSpec&, const std::string& value, ScanSettings& s) {
    s.requests.push_back(ParseSet(value));
    return true;
}

bool TakeDeviceResolution(const OptionSpec& spec, const std::string& value, ScanSettings& s) {
    ParseResolution(spec.name, value);  // checked only; the device gets it as it was said
    s.requests.push_back({DeviceRequest::kResolution, "", value});
    return true;
}

bool TakeDeviceMode(const OptionSpec&, const std::string& value, ScanSettings& s) {
    s.requests.push_back({DeviceRequest::kMode, "", value});
    return false;
}

bool TakeDeviceDepth(const OptionSpec&, const std::string& value, ScanSettings& s) {
    s.requests.push_back({DeviceRequest::kDepth, "", value});
    return false;
}

bool TakeDeviceThreshold(const OptionSpec&, const std::string&, ScanSettings& s) {
    s.thresholdGiven = true;
    return false;
}

}  // namespace platen_tool
