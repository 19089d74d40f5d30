#include "programs/io/OrderedWorkers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <vector>

namespace platen_tool {
namespace {

struct Log {
    std::vector<int> finished;
    std::atomic<int> running{0};
    std::atomic<int> mostRunning{0};
    std::atomic<int> destroyed{0};
};

class TestPiece : public Piece {
  public:
    TestPiece(Log& log, int number, int failRun = -1, int failFinish = -1)
        : log_(log), number_(number), failRun_(failRun), failFinish_(failFinish) {}
    ~TestPiece() override {
        ++log_.destroyed;
    }

    void Run() override {
        const int now = ++log_.running;
        int most = log_.mostRunning;
        while (now > most && !log_.mostRunning.compare_exchange_weak(most, now)) {
        }
        std::this_thread::sleep_for(
            std::chrono::microseconds(number_ % 3 * 300));  // later pieces may be done first
        --log_.running;
        if (number_ == failRun_) {
            throw std::runtime_error("run");
        }
    }
    void Finish() override {
        if (number_ == failFinish_) {
            throw std::runtime_error("finish");
        }
        log_.finished.push_back(number_);
    }

  private:
    Log& log_;
    int number_;
    int failRun_;
    int failFinish_;
};

TEST(OrderedWorkers, FinishesInOrderOfSubmission) {
    for (const unsigned workers : {0u, 1u, 2u, 3u, 8u}) {
        Log log;
        OrderedWorkers pool(workers);
        for (int i = 0; i < 50; ++i) {
            pool.Submit(std::make_unique<TestPiece>(log, i));
        }
        pool.Drain();
        ASSERT_EQ(log.finished.size(), 50u) << workers;
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(log.finished[static_cast<std::size_t>(i)], i);
        }
        EXPECT_LE(log.mostRunning, static_cast<int>(std::max(1u, workers)));
        EXPECT_EQ(log.destroyed, 50);
    }
}

TEST(OrderedWorkers, HoldsAtMostOnePieceMoreThanWorkers) {
    Log log;
    OrderedWorkers pool(3);
    for (int i = 0; i < 40; ++i) {
        pool.Submit(std::make_unique<TestPiece>(log, i));
        EXPECT_LE(i + 1 - static_cast<int>(log.finished.size()), 4);
    }
    pool.Drain();
}

TEST(OrderedWorkers, AnErrorComesOutInItsPlace) {
    for (const unsigned workers : {1u, 2u, 4u}) {
        for (const bool inRun : {true, false}) {
            Log log;
            try {
                OrderedWorkers pool(workers);
                for (int i = 0; i < 20; ++i) {
                    pool.Submit(std::make_unique<TestPiece>(log, i, inRun ? 7 : -1, inRun ? -1 : 7));
                }
                pool.Drain();
                ADD_FAILURE() << "no error";
            } catch (const std::runtime_error& error) {
                EXPECT_STREQ(error.what(), inRun ? "run" : "finish");
            }
            EXPECT_EQ(log.finished.size(), 7u);
            EXPECT_LE(log.destroyed, 20);
            EXPECT_GE(log.destroyed, 8);
        }
    }
}

TEST(OrderedWorkers, UnfinishedPiecesAreDropped) {
    Log log;
    {
        OrderedWorkers pool(2);
        pool.Submit(std::make_unique<TestPiece>(log, 1));
        pool.Submit(std::make_unique<TestPiece>(log, 2));
    }
    EXPECT_EQ(log.destroyed, 2);
    EXPECT_TRUE(log.finished.empty());
}

}  // namespace
}  // namespace platen_tool
