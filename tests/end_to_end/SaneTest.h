#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Spawn.h"

namespace platen_test {

// Tests with SANE's own test device, which needs no hardware. They skip where the program was built without SANE
// or the device is not installed. A configuration of its own lets SANE see no other device.
class SaneTest : public testing::Test {
  protected:
    SaneTest();

    void SetUp() override;

    // `platen scan -d test` with these arguments, in the test's folder.
    Outcome RunScan(std::vector<std::string> arguments) const;
    // The same; expects it to end well and without a word.
    void DoScan(const std::vector<std::string>& arguments) const;
    // Any command of the program.
    Outcome Run(const std::vector<std::string>& arguments, Streams streams = {}) const;

    // scanimage with the arguments. SANE's test device ends its reading thread wherever it is, in the program
    // loader too; scanimage then waits for the loader's lock for ever as it ends. So it gets a minute, and another
    // try.
    Outcome RunScanImage(const std::vector<std::string>& arguments) const;

    // What `scanimage` reads from the device, as PNM without its comment; empty where there is no scanimage.
    std::string ScanImage(std::vector<std::string> arguments) const;

    std::string Info(const std::string& file) const {
        return Run({"info", file}).out;
    }

    Folder folder;
    Folder configuration;
};

// The samples of a PNM file: everything after its header, comments passed over.
std::string PnmPixels(const std::string& bytes);

// Equality that doesn't print whole pages where it fails.
template <typename Bytes>
bool Same(const Bytes& first, const Bytes& second) {
    return first == second;
}

const std::vector<std::string> kPattern = {"--set", "test-picture=Color pattern"};

std::vector<std::string> operator+(std::vector<std::string> first, const std::vector<std::string>& second);

}  // namespace platen_test
