#pragma once

#include <memory>
#include <string>

#include "programs/base/Progress.h"
#include "programs/commands/AutomaticPages.h"
#include "programs/io/LineReader.h"
#include "programs/io/LineWriter.h"
#include "programs/io/OutputName.h"
#include "programs/io/RunFiles.h"
#include "programs/options/Settings.h"
#include "programs/page/PagePlan.h"

namespace platen_tool {

// What all inputs of a run share.
struct Run {
    const Settings& settings;
    const OutputName& name;
    RunFiles& files;
    RunNumbers& numbers;
    Progress* progress = nullptr;
};

// Whether there is to be a line about the progress.
bool ShowsProgress(const Settings& settings);

// Works on one of the settings' inputs from its first page to its last.
//   nextPage  the number that %d gives to the first page written; receives the one after the last
void AdjustInput(const Run& run, std::size_t input, unsigned long& nextPage);

// Sheets of paper, which can't be read twice: after a failure the file keeps the pages that came in whole.
struct Sheets {
    bool openEnded = false;  // until the feeder is empty: a page's name is looked at before its sheet is pulled
    void (*keeping)();       // called before the pages are kept
};

// The same for pages that a device sends, which is the settings' one input.
void AdjustSheets(const Run& run, const Sheets& sheets, std::unique_ptr<LineReader> reader,
                  unsigned long& nextPage);

// How an output is written. `input`: what the pages come in.
WriteOptions MakeWriteOptions(const Settings& settings, Container input);

}  // namespace platen_tool
