#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Spawn.h"

namespace platen_test {

// Tests that run programs in a folder of their own.
class InFolder : public testing::Test {
  protected:
    // The tool, where `program` is empty.
    Outcome Run(const std::string& program, const std::vector<std::string>& words) const {
        Streams streams;
        streams.folder = folder.Path();
        streams.program = program;
        return Spawn(words, streams);
    }

    Folder folder;
};

}  // namespace platen_test
