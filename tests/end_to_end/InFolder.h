#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
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

    // Both of its programs, and under their names nothing else.
    bool HasImageMagick() const {
        const auto has = [this](const char* program) {
            return Run(program, {"-version"}).out.find("ImageMagick") != std::string::npos;
        };
        return has("convert") && has("compare");
    }

    // The mean difference of two pictures' samples, as a share of the range, by ImageMagick.
    double Difference(const std::string& first, const std::string& second) const {
        const Outcome outcome = Run("compare", {"-metric", "MAE", first, second, "null:"});
        const std::size_t at = outcome.err.find('(');
        EXPECT_NE(at, std::string::npos) << outcome.err;
        return at == std::string::npos ? 1.0 : std::strtod(outcome.err.c_str() + at + 1, nullptr);
    }

    Folder folder;
};

}  // namespace platen_test
