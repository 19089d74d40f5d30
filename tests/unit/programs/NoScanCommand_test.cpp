#include <gtest/gtest.h>

#include <string>

#include "programs/ScanCommand.h"

namespace platen_tool {
namespace {

TEST(NoScanCommand, SaysThatTheProgramWasBuiltWithoutSane) {
    try {
        RunScan(ScanSettings{});
        ADD_FAILURE() << "a scan without SANE";
    } catch (const Error& error) {
        EXPECT_EQ(error.Code(), ExitCode::kUnsupported);
        EXPECT_EQ(std::string(error.what()), "scan: this program was built without SANE");
    }
}

}  // namespace
}  // namespace platen_tool
