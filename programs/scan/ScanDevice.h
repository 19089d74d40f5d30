#pragma once

#include <sane/sane.h>

#include <optional>
#include <string>

#include "programs/base/ImageInfo.h"
#include "programs/options/ScanSettings.h"

namespace platen_tool {

// SANE itself, between its start and its end.
class SaneSession {
  public:
    SaneSession();
    ~SaneSession();
    SaneSession(const SaneSession&) = delete;
    SaneSession& operator=(const SaneSession&) = delete;

    // One device a line: its name, then what it is.
    std::string ListDevices() const;
};

// An open device. Its failures are Errors (kDevice) in SANE's words, wrong option values are kUsage.
class ScanDevice {
  public:
    explicit ScanDevice(const std::string& name);
    ~ScanDevice();  // cancels what is going on
    ScanDevice(const ScanDevice&) = delete;
    ScanDevice& operator=(const ScanDevice&) = delete;

    // Sets an option by its name. `label` is the name in messages.
    void Set(const std::string& label, const std::string& name, const std::string& value);

    // Sets what the device has for --mode, --depth and --resolution. False where it has nothing for it: then the
    // pages are converted afterwards.
    bool SetMode(PixelMode mode);
    bool SetDepth(int depth);
    void SetResolution(const std::string& value);  // an Error where it has no such option

    // The part of the glass; to be set after all other options, which may change what is allowed.
    void SetArea(const ScanArea& area);

    // All options under their headings: what is allowed, what is set, what they are for.
    std::string DescribeOptions() const;

    // What it is set to, nothing where it has no such option.
    std::optional<Resolution> CurrentResolution() const;
    std::optional<std::string> CurrentText(const std::string& name) const;

    SANE_Status Start();
    SANE_Parameters Parameters() const;
    SANE_Status Read(SANE_Byte* bytes, std::size_t room, std::size_t& count);

  private:
    struct Found {
        SANE_Int index = 0;
        const SANE_Option_Descriptor* option = nullptr;
    };

    Found Find(const std::string& name) const;  // option is null where there is none
    Found FindUsable(const std::string& name) const;
    std::optional<double> CurrentNumber(const std::string& name) const;
    std::string OptionNames() const;
    std::string ValueText(SANE_Int index, const SANE_Option_Descriptor& option) const;
    double CurrentMillimetres(const std::string& name) const;
    void SetEdge(const std::string& label, const std::string& name, double millimetres);
    void TellInexact(const std::string& label, const std::string& name, const std::string& value) const;

    SANE_Handle handle_ = nullptr;
};

[[noreturn]] void FailDevice(const std::string& what, SANE_Status status);

}  // namespace platen_tool
