#include <gtest/gtest.h>

#include "programs/commands/Program.h"

// `platen scan` of a program built without SANE: this test links that form of the command.

namespace platen_tool {
namespace {

TEST(NoScan, ScanIsRefusedWithAReason) {
    testing::internal::CaptureStderr();
    const int code = RunProgram({"scan", "-d", "test", "-o", "never.png"});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "platen: scan: this program was built without SANE\n");
    EXPECT_EQ(code, 3);
}

TEST(NoScan, WrongOptionsAreStillSeenFirst) {
    testing::internal::CaptureStderr();
    const int code = RunProgram({"scan", "-o", "never.png"});
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "platen: scan: no device; give -d NAME (platen scan -L lists the devices)\n");
    EXPECT_EQ(code, 2);
}

}  // namespace
}  // namespace platen_tool
