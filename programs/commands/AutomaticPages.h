#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "programs/io/LineReader.h"
#include "programs/options/Settings.h"
#include "programs/page/AutoNumbers.h"
#include "programs/threads/SpooledPage.h"

namespace platen_tool {

// What a run's automatic settings have come to so far, for all of its inputs: the first page's numbers go into
// --plot and --save-preset, and with --same-for-all to the other pages.
class RunNumbers {
  public:
    explicit RunNumbers(const Settings& settings) : settings_(settings) {}

    // The first page's numbers, where there are any yet and they are for all.
    const AutoNumbers* ForAll() const {
        return settings_.automatic.sameForAll && first_ ? &*first_ : nullptr;
    }
    void Found(const AutoNumbers& numbers);

    // After the last page: writes --plot where no page had numbers.
    void Finish();

  private:
    void Write(const AutoNumbers* numbers);

    const Settings& settings_;
    std::optional<AutoNumbers> first_;
    bool written_ = false;
};

// A page's own settings.
struct PageNumbers {
    std::optional<Settings> settings;   // nothing: they have no automatic ones, or none for such a page
    std::vector<std::string> options;   // the numbers as typed
    std::vector<std::string> messages;  // what was left out, and why
};

// Finds the numbers of an input's pages. A file is read a second time for that, by a reader of its own; what can't
// be read twice is spooled.
class AutomaticPages {
  public:
    AutomaticPages(const Settings& settings, const std::string& input, RunNumbers& run)
        : settings_(settings), input_(input), run_(run) {}

    // Of the page that `reader` stands at, the input's number `page` from 1 on, before its first line.
    //   spooled  may hold the page already; receives it where it has to be spooled
    //   notice   receives what -v says of that
    PageNumbers Find(LineReader& reader, unsigned long page, std::optional<SpooledPage>& spooled,
                     std::string& notice);

  private:
    bool CanReadTwice(const ImageInfo& info) const;
    AutoNumbers CountFile(const ImageInfo& info, unsigned long page);
    AutoNumbers CountSpooled(const ImageInfo& info, SpooledPage& spooled) const;
    PageNumbers Numbers(const AutoNumbers& numbers) const;

    const Settings& settings_;
    const std::string& input_;
    RunNumbers& run_;
    std::unique_ptr<LineReader> counting_;
    unsigned long page_ = 1;  // that counting_ stands at
};

// The numbers of the run's first page, for processes that work at the same time. Inputs that can't be read are
// passed over: whoever works on them says so. An Error (kUsage) where the input can be read only once.
void FindFirstNumbers(const Settings& settings, RunNumbers& run);

}  // namespace platen_tool
