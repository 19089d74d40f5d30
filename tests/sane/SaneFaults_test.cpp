// A scanner that fails, jams, hangs or vanishes: the application hears the same from the backend, and the next page
// is a whole one.

#include <sane/saneopts.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "StandInTest.h"

namespace platen_test {
namespace {

using platen_tool::Sane;

// One for each road that a frame's bytes can take.
const std::vector<Road>& Roads() {
    static const std::vector<Road> roads = {
        {"as it is", "Color", false, {}},
        {"tone", "Color", false, {{"contrast", 20}}},
        {"scaled", "Gray", false, {{"resolution", 111}}},
        {"sharpened", "Gray", false, {{"platen-sharpness", 1}}},
        {"one pass at a time", "Passes", false, {{"brightness", 10}, {"platen-sharpness", 1}}},
        {"passes together", "Passes", false, {{"saturation", 10}}},
        {"unknown height", "Color", true, {{"platen-sharpness", 1}, {"resolution", 50}}},
    };
    return roads;
}

class SaneFaults : public StandInTest {
  protected:
    static void Arm(const Application& application, const std::string& call, int status, int skip) {
        ASSERT_EQ(application.SetText("fault", call + " " + std::to_string(status) + " " + std::to_string(skip)),
                  SANE_STATUS_GOOD);
    }
};

TEST_F(SaneFaults, EveryStatusOfEveryCallReachesTheApplication) {
    int faults = 0;
    for (const Road& road : Roads()) {
        const Application application(kWrapped);
        SetUpDevice(application, road);
        const ScannedPage whole = application.Scan();
        ASSERT_EQ(whole.status, SANE_STATUS_GOOD) << road.name;
        for (int status = SANE_STATUS_UNSUPPORTED; status <= SANE_STATUS_ACCESS_DENIED; ++status) {
            if (status == SANE_STATUS_EOF) {
                continue;  // no failure
            }
            for (const char* call : {"start", "read", "parameters"}) {
                for (const int skip : {0, 1, 2, 12}) {
                    Arm(application, call, status, skip);
                    const ScannedPage page = application.Scan();
                    if (page.status == SANE_STATUS_GOOD) {
                        continue;  // there are fewer calls, or it met a look at what the page would be
                    }
                    EXPECT_EQ(page.status, status) << road.name << " " << call << " " << skip;
                    ++faults;
                    ASSERT_EQ(application.SetText("fault", ""), SANE_STATUS_GOOD);
                    const ScannedPage next = application.Scan();
                    EXPECT_EQ(next.status, SANE_STATUS_GOOD);
                    EXPECT_TRUE(next.bytes == whole.bytes)
                        << road.name << " " << call << " " << status << " " << skip;
                }
                ASSERT_EQ(application.SetText("fault", ""), SANE_STATUS_GOOD);
            }
        }
    }
    EXPECT_GT(faults, 400);
    EXPECT_EQ(Opened(), 0);
}

TEST_F(SaneFaults, OptionsAndOpening) {
    for (int status = SANE_STATUS_UNSUPPORTED; status <= SANE_STATUS_ACCESS_DENIED; ++status) {
        EXPECT_EQ(Application("platen:standin:fails " + std::to_string(status)).OpenStatus(), status);
    }
    const Application application(kWrapped);
    SANE_Word word = 8;
    const SANE_Int depth = application.Find("depth");
    const SANE_Int resolution = application.Find("resolution");
    for (const SANE_Int option : {depth, resolution}) {
        word = option == depth ? 8 : 150;
        Arm(application, "control", SANE_STATUS_DEVICE_BUSY, 0);
        EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_SET_VALUE, &word, nullptr),
                  SANE_STATUS_DEVICE_BUSY);
        Arm(application, "control", SANE_STATUS_NO_MEM, 0);
        EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_GET_VALUE, &word, nullptr),
                  SANE_STATUS_NO_MEM);
    }
    EXPECT_EQ(Sane().controlOption(application.Handle(), resolution, SANE_ACTION_SET_AUTO, nullptr, nullptr),
              SANE_STATUS_INVAL);
    EXPECT_EQ(Sane().controlOption(application.Handle(), resolution, SANE_ACTION_SET_VALUE, nullptr, nullptr),
              SANE_STATUS_INVAL);
    for (const SANE_Int option : {-1, 100000}) {
        EXPECT_EQ(Sane().controlOption(application.Handle(), option, SANE_ACTION_GET_VALUE, &word, nullptr),
                  SANE_STATUS_INVAL);
    }
    EXPECT_EQ(application.Scan().status, SANE_STATUS_GOOD);
}

TEST_F(SaneFaults, AHangingReadEndsWithACancel) {
    for (const Road& road : Roads()) {
        const Application application(kWrapped);
        SetUpDevice(application, road);
        const ScannedPage whole = application.Scan();
        ASSERT_EQ(application.SetText("fault", "hang"), SANE_STATUS_GOOD);
        // Started here: a cancel that came before the start would end nothing.
        ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
        std::atomic<bool> done{false};
        SANE_Status status = SANE_STATUS_GOOD;
        std::thread reader([&] {
            SANE_Byte bytes[4096];
            for (SANE_Int count = 0; status == SANE_STATUS_GOOD;) {
                status = Sane().read(application.Handle(), bytes, sizeof bytes, &count);
            }
            done = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_FALSE(done) << road.name;
        Sane().cancel(application.Handle());
        reader.join();
        EXPECT_EQ(status, SANE_STATUS_CANCELLED) << road.name;
        ASSERT_EQ(application.SetText("fault", ""), SANE_STATUS_GOOD);
        EXPECT_TRUE(application.Scan().bytes == whole.bytes) << road.name;
    }
}

TEST_F(SaneFaults, ACancelInTheMiddleEndsThePage) {
    for (const Road& road : Roads()) {
        const Application application(kWrapped);
        SetUpDevice(application, road);
        const ScannedPage whole = application.Scan();
        ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
        SANE_Byte bytes[100];
        SANE_Int count = 0;
        EXPECT_EQ(Sane().read(application.Handle(), bytes, sizeof bytes, &count), SANE_STATUS_GOOD);
        Sane().cancel(application.Handle());
        EXPECT_EQ(Sane().read(application.Handle(), bytes, sizeof bytes, &count), SANE_STATUS_CANCELLED)
            << road.name;
        EXPECT_EQ(count, 0);
        EXPECT_TRUE(application.Scan().bytes == whole.bytes) << road.name;
    }
}

TEST_F(SaneFaults, AVanishedDeviceFailsUntilItIsBack) {
    for (const Road& road : Roads()) {
        const Application application(kWrapped);
        SetUpDevice(application, road);
        const ScannedPage whole = application.Scan();
        ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
        ASSERT_EQ(application.SetText("fault", "vanish"), SANE_STATUS_GOOD);
        SANE_Byte bytes[100];
        SANE_Int count = 0;
        EXPECT_EQ(Sane().read(application.Handle(), bytes, sizeof bytes, &count), SANE_STATUS_IO_ERROR)
            << road.name;
        Sane().cancel(application.Handle());
        EXPECT_EQ(application.Scan().status, SANE_STATUS_IO_ERROR);
        SANE_Parameters parameters{};
        EXPECT_EQ(Sane().getParameters(application.Handle(), &parameters), SANE_STATUS_IO_ERROR);
        ASSERT_EQ(application.SetText("fault", ""), SANE_STATUS_GOOD);
        EXPECT_TRUE(application.Scan().bytes == whole.bytes) << road.name;
    }
    EXPECT_EQ(Opened(), 0);
}

TEST_F(SaneFaults, FeedersRunEmpty) {
    const Application application(kWrapped);
    ASSERT_EQ(application.SetText("source", "ADF"), SANE_STATUS_GOOD);
    ASSERT_EQ(application.SetWord("platen-sharpness", 1), SANE_STATUS_GOOD);
    for (int round = 0; round < 2; ++round) {
        for (int page = 0; page < 3; ++page) {
            EXPECT_EQ(application.Scan(4096, false).status, SANE_STATUS_GOOD) << page;
        }
        EXPECT_EQ(application.Scan(4096, false).status, SANE_STATUS_NO_DOCS);
        Sane().cancel(application.Handle());
    }
}

// Temporary files that can't be made are the computer's failure, not the device's.
TEST_F(SaneFaults, WithoutRoomForTemporaryFiles) {
    const Application application(kWrapped);
    SetUpDevice(application, Roads().back());
    const ScannedPage whole = application.Scan();
    setenv("TMPDIR", folder.File("none").c_str(), 1);
    EXPECT_EQ(application.Scan().status, SANE_STATUS_IO_ERROR);
    unsetenv("TMPDIR");
    EXPECT_TRUE(application.Scan().bytes == whole.bytes);
}

TEST_F(SaneFaults, NullPointersAreRefused) {
    const Application application(kWrapped);
    EXPECT_EQ(Sane().getParameters(application.Handle(), nullptr), SANE_STATUS_INVAL);
    SANE_Int count = 5;
    ASSERT_EQ(application.SetWord("contrast", 5), SANE_STATUS_GOOD);
    ASSERT_EQ(Sane().start(application.Handle()), SANE_STATUS_GOOD);
    EXPECT_EQ(Sane().read(application.Handle(), nullptr, 10, &count), SANE_STATUS_INVAL);
    EXPECT_EQ(application.Scan().status, SANE_STATUS_GOOD);
}

}  // namespace
}  // namespace platen_test
