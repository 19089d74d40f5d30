#include "programs/commands/ScanCommand.h"

#include "programs/base/Report.h"
#include "programs/commands/Adjust.h"
#include "programs/commands/AdjustInput.h"
#include "programs/commands/DryRun.h"
#include "programs/io/OpenWriter.h"
#include "programs/io/OutputFile.h"
#include "programs/io/OutputName.h"
#include "programs/page/CurvePlot.h"
#include "programs/page/PagePlan.h"
#include "programs/scan/ScanDevice.h"
#include "programs/scan/ScanFrame.h"
#include "programs/scan/ScanInterrupt.h"
#include "programs/scan/ScanReader.h"

namespace platen_tool {

namespace {

// Tones are worked on at 8 bits and a threshold of one's own wants greys: then the device isn't asked for lines
// in black and white, the program makes them.
bool DeviceMayThreshold(const ScanSettings& settings) {
    return !settings.page.NeedsEightBits() && !settings.thresholdGiven && !settings.page.pixels.autoThreshold &&
           !settings.page.pixels.dither;
}

void SetMode(const ScanSettings& settings, ScanDevice& device, PixelMode mode) {
    if (mode == PixelMode::kLineart && !DeviceMayThreshold(settings)) {
        mode = PixelMode::kGray;
    }
    device.SetMode(mode);
}

void SetDepth(const ScanSettings& settings, ScanDevice& device, const std::string& value) {
    if (value == "1") {
        SetMode(settings, device, PixelMode::kLineart);
    } else {
        device.SetDepth(std::stoi(value));
    }
}

void Configure(const ScanSettings& settings, ScanDevice& device) {
    for (const DeviceRequest& request : settings.requests) {
        switch (request.kind) {
            case DeviceRequest::kSet:
                device.Set("--set " + request.name, request.name, request.value);
                break;
            case DeviceRequest::kMode:
                SetMode(settings, device, *settings.page.pixels.mode);
                break;
            case DeviceRequest::kDepth:
                SetDepth(settings, device, request.value);
                break;
            case DeviceRequest::kResolution:
                device.SetResolution(request.value);
                break;
        }
    }
    device.SetArea(settings.area);
}

// The options as they are when those of the command line are set.
std::string DescribeDevice(const ScanSettings& settings, ScanDevice& device) {
    for (const DeviceRequest& request : settings.requests) {
        if (request.kind == DeviceRequest::kSet) {
            device.Set("--set " + request.name, request.name, request.value);
        }
    }
    return device.DescribeOptions();
}

// Nothing would ever end such a scan.
void RefuseEndless(const ScanSettings& settings, const ScanDevice& device) {
    const std::string source = device.CurrentText("source").value_or("");
    if (!settings.pages && !settings.prompt && source.starts_with("Flatbed")) {
        throw Error(ExitCode::kUsage,
                    "--pages=all: the source is '" + source +
                        "', which is never empty; --set source=NAME chooses the feeder, and --prompt waits for "
                        "each page");
    }
}

ImageInfo ExpectedPage(const ScanDevice& device) {
    ImageInfo info = PageInfo(device.Parameters());
    info.resolution = device.CurrentResolution();
    return info;
}

// What would fail after the scan had better fail before it. A dry run needs no path.
PagePlan PlanFirstPage(const ScanSettings& settings, const ScanDevice& device, const std::string& path) {
    PagePlan plan = PlanPage(settings.page, ExpectedPage(device));
    if (!path.empty()) {
        CheckOutput(path, MakeWriteOptions(settings.page, Container::kPnm), plan.output);
    }
    return plan;
}

// The names of all pages that will come, as far as their number is known: no sheet is pulled for a page that can't
// be written.
void CheckNames(const ScanSettings& settings, const OutputName& name, RunFiles& files) {
    for (unsigned long page = 0; name.HasPage() && page < settings.pages.value_or(1); ++page) {
        const std::string path = name.Make("", settings.page.firstPageNumber + page);
        files.Check("-o", path);
        CheckOutputPath(path, {.force = settings.page.force});
    }
}

void Scan(const ScanSettings& settings, ScanDevice& device, RunFiles& files) {
    const OutputName name(settings.page.output);
    Configure(settings, device);
    RefuseEndless(settings, device);
    unsigned long nextPage = settings.page.firstPageNumber;
    const std::string path = name.Make("", nextPage);
    const PagePlan plan = PlanFirstPage(settings, device, path);
    CheckNames(settings, name, files);
    BeginPlot(settings.page);
    if (settings.page.dryRun) {
        const std::string head = settings.device + ", page 1" + (path.empty() ? "" : ", to " + path) + "\n";
        PrintOutput(head + DescribePage(plan));
        return;
    }
    Progress progress(ShowsProgress(settings.page), {1});
    RunNumbers numbers(settings.page);
    const Run run{settings.page, name, files, numbers, &progress};
    const auto promptFrom = settings.prompt ? std::optional(nextPage) : std::nullopt;
    AdjustSheets(run, {!settings.pages, TakeTime},
                 MakeScanReader(device, settings.pages, settings.page.read, promptFrom), nextPage);
    const unsigned long pages = nextPage - settings.page.firstPageNumber;
    if (settings.pages && pages < *settings.pages) {
        PrintMessage({settings.device,
                      settings.prompt ? ": the scan was ended after " : ": the feeder was empty after ",
                      std::to_string(pages), " of ", std::to_string(*settings.pages), " pages"});
    }
}

// Wrong options are about the command line, everything else about the device.
ExitCode Report(const ScanSettings& settings) {
    try {
        throw;
    } catch (const Error& error) {
        return ReportFailure(error.Code() == ExitCode::kUsage ? "" : settings.device);
    } catch (...) {
        return ReportFailure(settings.device);
    }
}

ExitCode ScanAndReport(const ScanSettings& settings, ScanDevice& device, RunFiles& files) {
    try {
        Scan(settings, device, files);
        CheckInterrupt();  // one that came after the last call of the device
        return ExitCode::kDone;
    } catch (...) {
        return Report(settings);
    }
}

}  // namespace

ExitCode RunScan(const ScanSettings& settings, RunFiles& files) {
    if (settings.listDevices) {
        const std::string list = SaneSession().ListDevices();
        if (list.empty()) {
            PrintMessage({"scan: SANE found no scanner; see sane-find-scanner(1)"});
        }
        PrintOutput(list);
        return ExitCode::kDone;
    }
    try {
        const SaneSession session;
        ScanDevice device(settings.device);
        if (settings.listOptions) {
            PrintOutput(DescribeDevice(settings, device));
            return ExitCode::kDone;
        }
        const ExitCode code = ScanAndReport(settings, device, files);
        LimitLeaving(code);
        return code;
    } catch (...) {
        return Report(settings);
    }
}

}  // namespace platen_tool
