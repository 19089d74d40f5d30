#pragma once

#include <memory>
#include <string>

#include "programs/io/LineReader.h"
#include "programs/io/LineWriter.h"
#include "programs/options/Settings.h"

namespace platen_tool {

// A page is read, adjusted and written. These give reading and writing their own threads where that is
// asked for, or nothing is asked, the machine has processors for it and the page is large enough; else they give
// back what they got. `input` is the name that `reader` was opened by.
std::unique_ptr<LineReader> WithThread(std::unique_ptr<LineReader> reader, const std::string& input,
                                       const Settings& settings);
std::unique_ptr<LineWriter> WithThread(std::unique_ptr<LineWriter> writer, const Settings& settings);

// Threads that compress a page of this run, as PNG and TIFF writers want to know: what --threads says, else the
// processors that the run may use, shared by its jobs.
unsigned CompressionWorkers(const Settings& settings);

}  // namespace platen_tool
