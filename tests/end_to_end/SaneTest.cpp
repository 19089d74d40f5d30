#include "SaneTest.h"

#include <cctype>
#include <cstdlib>

namespace platen_test {

namespace {

#if defined(__SANITIZE_THREAD__)
constexpr bool kThreadSanitizer = true;
#elif defined(__has_feature)
constexpr bool kThreadSanitizer = __has_feature(thread_sanitizer);
#else
constexpr bool kThreadSanitizer = false;
#endif

}  // namespace

SaneTest::SaneTest() {
    WriteFile(configuration.File("dll.conf"), "test\n");
    WriteFile(configuration.File("test.conf"),
              "number_of_devices 2\nmode Gray\ndepth 8\nresolution 50.0\nresolution_min 1.0\n"
              "resolution_max 1200.0\nresolution_quant 1.0\n");
    setenv("SANE_CONFIG_DIR", configuration.Path().c_str(), 1);
    unsetenv("SANE_DEFAULT_DEVICE");
    // It also keeps some of its memory when it is unloaded, which a leak check can't put down to it any more.
    const char* sanitizer = std::getenv("ASAN_OPTIONS");
    setenv("ASAN_OPTIONS", ((sanitizer != nullptr ? std::string(sanitizer) + ":" : "") + "detect_leaks=0").c_str(),
           1);
    // The test device ends its thread wherever it is; within the allocator, that now and then leaves a lock behind
    // that its own clean-up waits for. DeferredCancel.cpp prevents this; where it can't be loaded, one arena makes
    // it rare.
    setenv("MALLOC_ARENA_MAX", "1", 1);
#if defined(PLATEN_DEFERRED_CANCEL)
    setenv("LD_PRELOAD", PLATEN_DEFERRED_CANCEL, 1);
#endif
}

void SaneTest::SetUp() {
    if (kThreadSanitizer) {
        GTEST_SKIP() << "the test device cancels its thread, now and then within the sanitizer's own work";
    }
    const Outcome outcome = Run({"scan", "-L"});
    if (outcome.code == 3) {
        GTEST_SKIP() << "no SANE: " << outcome.err;
    }
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    if (outcome.out.find("test:0") == std::string::npos) {
        GTEST_SKIP() << "SANE's test device is not installed";
    }
}

Outcome SaneTest::Run(const std::vector<std::string>& arguments, Streams streams) const {
    streams.folder = folder.Path();
    return Spawn(arguments, streams);
}

Outcome SaneTest::RunScan(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"scan", "-d", "test"});
    return Run(arguments);
}

void SaneTest::DoScan(const std::vector<std::string>& arguments) const {
    const Outcome outcome = RunScan(arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
}

Outcome SaneTest::RunScanImage(const std::vector<std::string>& arguments) const {
    constexpr int kKilled = 137;  // scanimage takes any other signal for a cancel
    Streams streams;
    streams.program = "timeout";
    Outcome outcome;
    for (int attempt = 0; attempt < 3; ++attempt) {
        outcome = Run(std::vector<std::string>{"-s", "KILL", "60", "scanimage"} + arguments, streams);
        if (outcome.code != kKilled) {
            break;
        }
    }
    return outcome;
}

std::string SaneTest::ScanImage(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"-d", "test", "--format=pnm"});
    const Outcome outcome = RunScanImage(arguments);
    return outcome.code == 0 ? PnmPixels(outcome.out) : std::string();
}

std::string PnmPixels(const std::string& bytes) {
    const int numbers = bytes.starts_with("P4") ? 2 : 3;
    std::size_t at = 2;
    for (int found = 0; found < numbers && at < bytes.size();) {
        if (bytes[at] == '#') {
            at = bytes.find('\n', at);
        } else if (std::isdigit(static_cast<unsigned char>(bytes[at])) != 0) {
            at = bytes.find_first_not_of("0123456789", at);
            ++found;
        } else {
            ++at;
        }
    }
    return at >= bytes.size() ? std::string() : bytes.substr(at + 1);
}

std::vector<std::string> operator+(std::vector<std::string> first, const std::vector<std::string>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

}  // namespace platen_test
