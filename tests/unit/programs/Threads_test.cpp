#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "Expect.h"
#include "programs/io/QuietThread.h"
#include "programs/threads/LineRing.h"
#include "programs/threads/ThreadedReader.h"
#include "programs/threads/ThreadedWriter.h"
#include "programs/threads/Threads.h"
#include "support/Random.h"

// Readers and writers with a thread of their own, against pages in memory.

namespace platen_tool {
namespace {

using Bytes = std::vector<std::uint8_t>;
using platen_test::Random;

constexpr std::uint32_t kNever = 0xFFFFFFFF;

struct Page {
    ImageInfo info;
    std::vector<Bytes> lines;
};

Page RandomPage(Random& random, std::uint32_t width, std::uint32_t height) {
    Page page;
    page.info.width = width;
    page.info.height = height;
    page.info.samplesPerPixel = 3;
    page.lines.assign(height, Bytes(page.info.LineBytes()));
    for (Bytes& line : page.lines) {
        for (std::uint8_t& byte : line) {
            byte = random.Byte();
        }
    }
    return page;
}

std::vector<Page> RandomPages(Random& random, int count) {
    std::vector<Page> pages;
    for (int i = 0; i < count; ++i) {
        // Lines that fill a batch by the hundred, by three or alone.
        const auto widest = random.OneIn(4) ? 30000 : random.OneIn(2) ? 3000 : 30;
        pages.push_back(RandomPage(random, static_cast<std::uint32_t>(random.Between(1, widest)),
                                   static_cast<std::uint32_t>(random.Between(1, widest > 3000 ? 20 : 400))));
    }
    return pages;
}

// Gives pages from memory; fails at one line of the last page.
class FakeReader : public LineReader {
  public:
    FakeReader(const std::vector<Page>& pages, std::uint32_t failsAt, std::thread::id* thread = nullptr)
        : pages_(pages), failsAt_(failsAt), thread_(thread) {}

    Container FileContainer() const override {
        return Container::kPnm;
    }
    const ImageInfo& Info() const override {
        return pages_[page_].info;
    }
    std::uint32_t PageCount() const override {
        return 0;
    }
    void ReadLine(std::uint8_t* line) override {
        if (thread_ != nullptr) {
            *thread_ = std::this_thread::get_id();
        }
        const Page& page = pages_[page_];
        if (page_ + 1 == pages_.size() && next_ == failsAt_) {
            throw Error(ExitCode::kUnsupported, "line " + std::to_string(next_) + " can't be read");
        }
        if (next_ == page.lines.size()) {
            throw Error(ExitCode::kFailed, "read past the last line");
        }
        std::copy(page.lines[next_].begin(), page.lines[next_].end(), line);
        ++next_;
    }
    bool NextPage() override {
        next_ = 0;
        return ++page_ < pages_.size();
    }

  private:
    const std::vector<Page>& pages_;
    std::uint32_t failsAt_;
    std::thread::id* thread_;
    std::size_t page_ = 0;
    std::uint32_t next_ = 0;
};

// What a writer was given, and on which thread its lines came.
struct Written {
    std::vector<Page> pages;
    int ended = 0;
    bool committed = false;
    std::thread::id thread;
};

class FakeWriter : public LineWriter {
  public:
    FakeWriter(Written& written, std::uint32_t failsAt, int pause = 0)
        : written_(written), failsAt_(failsAt), pause_(pause) {}

    void BeginPage(const ImageInfo& info) override {
        written_.pages.push_back({info, {}});
    }
    void WriteLine(const std::uint8_t* line) override {
        written_.thread = std::this_thread::get_id();
        std::this_thread::sleep_for(std::chrono::microseconds(pause_));
        Page& page = written_.pages.back();
        if (page.lines.size() == failsAt_) {
            throw Error(ExitCode::kBrokenPipe, "line " + std::to_string(failsAt_) + " can't be written");
        }
        page.lines.emplace_back(line, line + page.info.LineBytes());
    }
    void EndPage() override {
        ++written_.ended;
    }
    void Commit() override {
        written_.committed = true;
    }

  private:
    Written& written_;
    std::uint32_t failsAt_;
    int pause_;
};

void ExpectSame(const std::vector<Page>& actual, const std::vector<Page>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        EXPECT_EQ(actual[i].info.width, expected[i].info.width);
        EXPECT_TRUE(actual[i].lines == expected[i].lines) << "page " << i;
    }
}

TEST(ThreadedReader, GivesPagesOfAllSizesUnchanged) {
    Random random(1);
    for (int round = 0; round < 60; ++round) {
        const auto pages = RandomPages(random, 1 + round % 4);
        ThreadedReader reader(std::make_unique<FakeReader>(pages, kNever), 0);
        std::vector<Page> read;
        do {
            read.push_back({reader.Info(), {}});
            for (std::uint32_t y = 0; y < reader.Info().height; ++y) {
                read.back().lines.emplace_back(reader.Info().LineBytes());
                reader.ReadLine(read.back().lines.back().data());
            }
        } while (reader.NextPage());
        ExpectSame(read, pages);
    }
}

TEST(ThreadedReader, ReadsLargePagesOnAnotherThreadAndSmallOnesOnTheCallers) {
    Random random(2);
    const std::vector<Page> pages = {RandomPage(random, 100, 10)};
    for (const std::uint64_t smallest : {3000u, 3001u}) {
        std::thread::id thread;
        ThreadedReader reader(std::make_unique<FakeReader>(pages, kNever, &thread), smallest);
        Bytes line(300);
        for (int y = 0; y < 10; ++y) {
            reader.ReadLine(line.data());
        }
        EXPECT_EQ(thread == std::this_thread::get_id(), smallest == 3001);
    }
}

TEST(ThreadedReader, ThrowsTheErrorBehindTheLinesThatCameBeforeIt) {
    Random random(3);
    for (const std::uint32_t width : {10u, 4000u, 30000u}) {
        const std::vector<Page> pages = {RandomPage(random, 5, 5), RandomPage(random, width, 40)};
        for (std::uint32_t failsAt = 0; failsAt < 40; ++failsAt) {
            ThreadedReader reader(std::make_unique<FakeReader>(pages, failsAt), 0);
            Bytes line(pages[1].info.LineBytes());
            for (int y = 0; y < 5; ++y) {
                reader.ReadLine(line.data());
            }
            ASSERT_TRUE(reader.NextPage());
            for (std::uint32_t y = 0; y < failsAt; ++y) {
                reader.ReadLine(line.data());
                EXPECT_TRUE(line == pages[1].lines[y]);
            }
            EXPECT_EQ(ErrorText(ExitCode::kUnsupported, [&] { reader.ReadLine(line.data()); }),
                      "line " + std::to_string(failsAt) + " can't be read");
        }
    }
}

TEST(ThreadedReader, RefusesLinesBehindTheLast) {
    Random random(4);
    const std::vector<Page> pages = {RandomPage(random, 5, 5)};
    ThreadedReader reader(std::make_unique<FakeReader>(pages, kNever), 0);
    Bytes line(15);
    for (int y = 0; y < 5; ++y) {
        reader.ReadLine(line.data());
    }
    EXPECT_EQ(ErrorText(ExitCode::kFailed, [&] { reader.ReadLine(line.data()); }), "read past the last line");
}

TEST(ThreadedReader, EndsAtAnyLine) {
    Random random(5);
    for (const std::uint32_t width : {10u, 30000u}) {
        const std::vector<Page> pages = {RandomPage(random, width, 40)};
        Bytes line(pages[0].info.LineBytes());
        for (std::uint32_t lines = 0; lines <= 40; ++lines) {
            ThreadedReader reader(std::make_unique<FakeReader>(pages, lines % 3 == 0 ? lines : kNever), 0);
            for (std::uint32_t y = 0; y < lines; ++y) {
                reader.ReadLine(line.data());
            }
            if (lines % 2 == 0) {
                EXPECT_FALSE(reader.NextPage());
            }
        }
    }
}

TEST(ThreadedWriter, TakesPagesOfAllSizesUnchanged) {
    Random random(6);
    for (int round = 0; round < 60; ++round) {
        const auto pages = RandomPages(random, 1 + round % 4);
        Written written;
        ThreadedWriter writer(std::make_unique<FakeWriter>(written, kNever, round % 3 == 0 ? 100 : 0), 0);
        for (const Page& page : pages) {
            ImageInfo info = page.info;
            info.height = round % 2 == 0 ? info.height : 0;
            writer.BeginPage(info);
            for (const Bytes& line : page.lines) {
                writer.WriteLine(line.data());
            }
            writer.EndPage();
            EXPECT_EQ(written.pages.back().lines.size(), page.lines.size());
        }
        EXPECT_FALSE(written.committed);
        writer.Commit();
        EXPECT_TRUE(written.committed);
        EXPECT_EQ(written.ended, static_cast<int>(pages.size()));
        EXPECT_NE(written.thread, std::this_thread::get_id());
        ExpectSame(written.pages, pages);
    }
}

TEST(ThreadedWriter, WritesSmallPagesOnTheCallersThread) {
    Random random(7);
    const Page page = RandomPage(random, 100, 10);
    for (const std::uint64_t smallest : {3000u, 3001u}) {
        Written written;
        ThreadedWriter writer(std::make_unique<FakeWriter>(written, kNever), smallest);
        writer.BeginPage(page.info);
        for (const Bytes& line : page.lines) {
            writer.WriteLine(line.data());
        }
        writer.EndPage();
        EXPECT_EQ(written.thread == std::this_thread::get_id(), smallest == 3001);
    }
}

// At the latest in EndPage, which then doesn't end the page.
TEST(ThreadedWriter, ThrowsTheErrorOfAnyLine) {
    Random random(8);
    for (const std::uint32_t width : {10u, 4000u, 30000u}) {
        const Page page = RandomPage(random, width, 40);
        for (std::uint32_t failsAt = 0; failsAt < 40; ++failsAt) {
            Written written;
            ThreadedWriter writer(std::make_unique<FakeWriter>(written, failsAt), 0);
            const auto write = [&] {
                writer.BeginPage(page.info);
                for (const Bytes& line : page.lines) {
                    writer.WriteLine(line.data());
                }
                writer.EndPage();
            };
            EXPECT_EQ(ErrorText(ExitCode::kBrokenPipe, write),
                      "line " + std::to_string(failsAt) + " can't be written");
            EXPECT_EQ(written.pages.back().lines.size(), failsAt);
            EXPECT_EQ(written.ended, 0);
        }
    }
}

TEST(ThreadedWriter, SettleWritesWhatIsWaitingOrThrows) {
    Random random(9);
    const Page page = RandomPage(random, 100, 40);
    for (std::uint32_t lines = 0; lines <= 40; ++lines) {
        Written written;
        ThreadedWriter writer(std::make_unique<FakeWriter>(written, 30), 0);
        writer.BeginPage(page.info);
        for (std::uint32_t y = 0; y < std::min(lines, 30u); ++y) {
            writer.WriteLine(page.lines[y].data());
        }
        writer.Settle();
        EXPECT_EQ(written.pages.back().lines.size(), std::min(lines, 30u));
        const auto rest = [&] {
            for (std::uint32_t y = 30; y < lines; ++y) {
                writer.WriteLine(page.lines[y].data());
            }
            writer.Settle();
        };
        if (lines > 30) {
            EXPECT_EQ(ErrorText(ExitCode::kBrokenPipe, rest), "line 30 can't be written");
        } else {
            rest();
        }
    }
}

TEST(ThreadedWriter, EndsAtAnyLine) {
    Random random(10);
    for (const std::uint32_t width : {10u, 30000u}) {
        const Page page = RandomPage(random, width, 40);
        for (std::uint32_t lines = 0; lines <= 40; ++lines) {
            Written written;
            {
                ThreadedWriter writer(std::make_unique<FakeWriter>(written, lines % 3 == 0 ? lines / 2 : kNever),
                                      0);
                writer.BeginPage(page.info);
                try {
                    for (std::uint32_t y = 0; y < lines; ++y) {
                        writer.WriteLine(page.lines[y].data());
                    }
                } catch (const Error& error) {
                    EXPECT_EQ(lines % 3, 0u) << error.what();
                }
            }
            EXPECT_EQ(written.ended, 0);
            EXPECT_FALSE(written.committed);
        }
    }
}

// A writer that only takes as fast as it can keeps a reader from running far ahead.
TEST(LineRing, HoldsItsBatchesAndNoMore) {
    constexpr int kHeld =
        (2 + static_cast<int>(LineRing::kBatches)) * 10;  // two batches given back, all others full
    LineRing ring(100, 1000);
    std::atomic<int> put{0};
    std::thread putting([&] {
        while (std::uint8_t* room = ring.Room()) {
            *room = static_cast<std::uint8_t>(put);
            ring.Put();
            ++put;
        }
        ring.End(nullptr);
    });
    for (int i = 0; i < 25; ++i) {
        const std::uint8_t* line = ring.Front();
        ASSERT_NE(line, nullptr);
        EXPECT_EQ(*line, i);
        ring.Drop();
    }
    while (put < kHeld) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(put, kHeld);
    ring.Abandon();
    putting.join();
}

TEST(Threads, LeaveInterruptsToTheMainThread) {
    sigset_t mask;
    sigemptyset(&mask);
    std::thread thread = StartQuietThread(
        [](void* object) { pthread_sigmask(SIG_SETMASK, nullptr, static_cast<sigset_t*>(object)); }, &mask);
    thread.join();
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        EXPECT_EQ(sigismember(&mask, number), 1) << number;
    }
    EXPECT_EQ(sigismember(&mask, SIGSEGV), 0);
    sigset_t own;
    pthread_sigmask(SIG_SETMASK, nullptr, &own);
    EXPECT_EQ(sigismember(&own, SIGINT), 0);
}

// A read from a pipe can wait for ever, so there nobody may have to wait for a reading thread's end.
TEST(Threads, PipesAreReadOnTheMainThread) {
    Random random(11);
    const std::vector<Page> pages = {RandomPage(random, 10, 10)};
    Settings settings;
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string pipeName = "/dev/fd/" + std::to_string(ends[0]);
    for (const std::string& input : {pipeName, std::string("/proc/self/exe")}) {
        for (const int threads : {1, 3}) {
            settings.threads = threads;
            auto reader = std::make_unique<FakeReader>(pages, kNever);
            const LineReader* plain = reader.get();
            const auto result = WithThread(std::move(reader), input, settings);
            EXPECT_EQ(result.get() == plain, threads == 1 || input == pipeName) << input << threads;
        }
    }
    close(ends[0]);
    close(ends[1]);
}

}  // namespace
}  // namespace platen_tool
