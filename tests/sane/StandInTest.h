#pragma once

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Spawn.h"
#include "StandIn.h"
#include "programs/base/Error.h"
#include "programs/scan/SaneLibrary.h"

namespace platen_test {

// One page, as an application gets it: the frames one after the other.
struct ScannedPage {
    std::vector<SANE_Parameters> frames;  // as after each start
    std::vector<SANE_Byte> bytes;
    SANE_Status status = SANE_STATUS_GOOD;  // what the page ended with: GOOD where all of it came
};

// A device, opened as an application opens it.
class Application {
  public:
    explicit Application(const std::string& name);
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    bool IsOpen() const {
        return handle_ != nullptr;
    }
    SANE_Status OpenStatus() const {
        return openStatus_;
    }
    SANE_Handle Handle() const {
        return handle_;
    }

    // 0 where there is none.
    SANE_Int Find(const std::string& name) const;
    const SANE_Option_Descriptor* Option(const std::string& name) const;
    bool IsActive(const std::string& name) const;

    SANE_Status SetWord(const std::string& name, SANE_Word value, SANE_Int* info = nullptr) const;
    SANE_Status SetText(const std::string& name, const std::string& value, SANE_Int* info = nullptr) const;
    SANE_Status Press(const std::string& name) const;
    std::optional<SANE_Word> Word(const std::string& name) const;
    std::string Text(const std::string& name) const;

    SANE_Parameters Parameters() const;
    // Scans a page in reads of `room` bytes. Cancels at the end where `cancel` says so.
    ScannedPage Scan(SANE_Int room = 4096, bool cancel = true) const;

  private:
    const platen_tool::SaneLibrary& sane_;
    SANE_Handle handle_ = nullptr;
    SANE_Status openStatus_ = SANE_STATUS_GOOD;
};

// One of the roads that a frame's bytes can take: the device's settings.
struct Road {
    const char* name;
    const char* mode;
    bool unknownHeight;
    std::vector<std::pair<const char*, SANE_Word>> words;
};

// SANE with a configuration of its own, started and ended for each test.
class StandInTest : public testing::Test {
  protected:
    StandInTest();
    ~StandInTest() override;

    void SetUp() override;

    // The stand-in scanner, bare and through the backend.
    static constexpr const char* kBare = "standin:";
    static constexpr const char* kWrapped = "platen:standin:";

    // The stand-in's handles that are open.
    int Opened() const;

    // The backend offers the presets in `folder`.
    void OfferPresets() const;

    // What this test makes of the stand-in, until it ends.
    StandInHooks& Hooks();

    static void SetUpDevice(const Application& application, const Road& road);

    // What a piece of the scan command's work throws, with its code in front; "done" if nothing.
    template <typename Work>
    static std::string Failure(Work work) {
        try {
            work();
        } catch (const platen_tool::Error& error) {
            return std::to_string(static_cast<int>(error.Code())) + " " + error.what();
        }
        return "done";
    }

    // `scan` makes a file of the page, the tool adjusts it with `options`; the samples of the result.
    std::vector<SANE_Byte> Adjusted(const ScannedPage& page, const std::vector<std::string>& options) const;

    Folder& configuration;  // one for all tests of the process: SANE's library looks for its folder once
    Folder folder;

  private:
    StandInHooks* hooks_ = nullptr;
};

}  // namespace platen_test
