#include "programs/options/ScanSettings.h"

#include <cstdlib>

#include "programs/base/Error.h"
#include "programs/io/LineWriter.h"
#include "programs/io/OpenWriter.h"
#include "programs/io/OutputName.h"
#include "programs/options/OptionTable.h"

namespace platen_tool {

namespace {

[[noreturn]] void Refuse(const std::string& text) {
    throw Error(ExitCode::kUsage, text);
}

void CheckOutput(const ScanSettings& s) {
    const OutputName name(s.page.output);
    if (s.page.output.ends_with('/')) {
        Refuse("-o: '" + s.page.output +
               "' is a folder, and a scan has no name of its own; name a file in the folder");
    }
    if (name.HasName()) {
        Refuse("-o: %s is an input file's name, and a scan has none; %d and %03d number the pages");
    }
    const std::string path = name.Make("", 1);
    if (path.empty()) {
        return;  // of a dry run
    }
    const Container container = OutputContainer(path, s.page.format, Container::kPnm);
    if ((!s.pages || *s.pages > 1) && !name.HasPage()) {
        RequireSeveralPages(container);
    }
}

}  // namespace

std::vector<GivenOption> TakeScanOptions(ScanSettings& s, const std::vector<GivenOption>& options) {
    std::vector<GivenOption> rest;
    for (const GivenOption& option : options) {
        const OptionSpec* spec = FindOption(option.name);
        const auto take = spec != nullptr ? spec->takeForDevice : nullptr;
        if (take == nullptr || !take(*spec, option.value, s)) {
            rest.push_back(option);
        }
    }
    return rest;
}

ScanSettings MakeScanSettings(const ParsedArguments& arguments, const Terminals& terminals) {
    ScanSettings s;
    ParsedArguments rest;
    rest.options = TakeScanOptions(s, arguments.options);
    if (!arguments.operands.empty()) {
        Refuse("scan: takes no input file, but '" + arguments.operands.front() +
               "' was given; -d names the scanner");
    }
    if (s.listDevices) {
        return s;
    }
    const char* usual = std::getenv("SANE_DEFAULT_DEVICE");
    if (s.device.empty() && usual != nullptr) {
        s.device = usual;
    }
    if (s.device.empty()) {
        Refuse("scan: no device; give -d NAME (platen scan -L lists the devices)");
    }
    if (s.listOptions) {
        return s;
    }
    rest.operands = {s.device};
    s.page = MakeSettings(rest, terminals);
    if (s.page.output.empty() && !s.page.dryRun) {  // a sheet isn't pulled for --stats alone
        if (terminals.output) {
            Refuse("no output; give -o FILE");
        }
        s.page.output = "-";
    }
    CheckOutput(s);
    return s;
}

}  // namespace platen_tool
