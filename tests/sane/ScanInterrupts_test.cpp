// Interrupts while a device is open. Each ends a process of its own, whose exit code says what it saw.

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "StandInTest.h"
#include "programs/base/Error.h"
#include "programs/io/OutputFile.h"
#include "programs/io/Signals.h"
#include "programs/scan/ScanDevice.h"
#include "programs/scan/ScanInterrupt.h"

namespace platen_test {
namespace {

using platen_tool::ExitCode;

class ScanInterrupts : public StandInTest {
  protected:
    ScanInterrupts() {
        for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
            std::signal(number, SIG_DFL);  // the tests may run under nohup
        }
    }

    // How a process ends that does this: its exit code; 1000 and the signal that ended it.
    template <typename Work>
    static int EndOf(Work work) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(60);
            work();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }

    static void Require(bool condition, int code) {
        if (!condition) {
            _exit(code);
        }
    }

    // The code of the Error that it throws, 0 where there is none.
    template <typename Work>
    static int Thrown(Work work) {
        try {
            work();
        } catch (const platen_tool::Error& error) {
            return static_cast<int>(error.Code());
        }
        return 0;
    }

    std::ptrdiff_t Cancels() {
        return std::count(Hooks().calls.begin(), Hooks().calls.end(), "cancel");
    }

    // The seconds until the alarm, as many as at most: a machine that is busy may lose some.
    template <typename Work>
    static unsigned Alarm(Work work) {
        unsigned most = 0;
        for (int i = 0; i < 5; ++i) {
            work();
            most = std::max(most, alarm(0));
        }
        return most;
    }
};

TEST_F(ScanInterrupts, WithinACallTheDeviceIsCancelled) {
    Hooks().records = true;
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        EXPECT_EQ(EndOf([&] {
                      platen_tool::ScanDevice device(kBare);
                      Hooks().start = [&]() -> Answer {
                          std::raise(number);
                          Require(Cancels() == 1, 1);  // at once
                          return SANE_STATUS_GOOD;
                      };
                      Require(Thrown([&] { device.Start(); }) == 128 + number, 2);
                      Require(Cancels() == 1, 3);
                      Require(Thrown([] { platen_tool::CheckInterrupt(); }) == 128 + number, 4);
                  }),
                  0)
            << number;
    }
}

TEST_F(ScanInterrupts, BetweenCallsTheNextOneIsNotMade) {
    Hooks().records = true;
    EXPECT_EQ(EndOf([&] {
                  platen_tool::ScanDevice device(kBare);
                  Require(device.Start() == SANE_STATUS_GOOD, 1);
                  Require(Thrown([] { platen_tool::CheckInterrupt(); }) == 0, 2);
                  std::raise(SIGTERM);
                  Require(Cancels() == 0, 3);
                  bool read = false;
                  Hooks().read = [&](SANE_Byte*, SANE_Int, SANE_Int&) -> Answer {
                      read = true;
                      return SANE_STATUS_EOF;
                  };
                  SANE_Byte bytes[10];
                  std::size_t count = 0;
                  Require(Thrown([&] { device.Read(bytes, sizeof bytes, count); }) == 143, 4);
                  Require(!read, 5);
                  Require(Thrown([] { platen_tool::CheckInterrupt(); }) == 143, 6);
              }),
              0);
}

// The device's own failure is no news then.
TEST_F(ScanInterrupts, FailuresAfterwardsAreTheInterrupts) {
    EXPECT_EQ(EndOf([&] {
                  platen_tool::ScanDevice device(kBare);
                  device.Start();
                  std::raise(SIGINT);
                  Require(Thrown([] { platen_tool::FailDevice("it", SANE_STATUS_IO_ERROR); }) == 130, 1);
              }),
              0);
    EXPECT_EQ(EndOf([&] {
                  platen_tool::ScanDevice device(kBare);
                  device.Start();
                  Hooks().read = [](SANE_Byte*, SANE_Int, SANE_Int&) -> Answer {
                      std::raise(SIGINT);
                      return SANE_STATUS_CANCELLED;
                  };
                  SANE_Byte bytes[10];
                  std::size_t count = 0;
                  Require(Thrown([&] { device.Read(bytes, sizeof bytes, count); }) == 130, 1);
              }),
              0);
}

TEST_F(ScanInterrupts, ASecondOneEndsTheProgramAtOnce) {
    EXPECT_EQ(EndOf([&] {
                  const platen_tool::OutputFile file(folder.File("half"), {});
                  platen_tool::ScanDevice device(kBare);
                  device.Start();
                  std::raise(SIGINT);
                  Require(folder.Listing() != "", 1);
                  std::raise(SIGTERM);
                  _exit(2);
              }),
              143);
    EXPECT_EQ(folder.Listing(), "");
    // Also while the device's cancel doesn't come back.
    EXPECT_EQ(EndOf([&] {
                  platen_tool::ScanDevice device(kBare);
                  Hooks().cancel = [] {
                      std::raise(SIGTERM);
                      _exit(3);
                  };
                  Hooks().start = []() -> Answer {
                      std::raise(SIGINT);
                      return SANE_STATUS_GOOD;
                  };
                  device.Start();
                  _exit(2);
              }),
              143);
}

TEST_F(ScanInterrupts, WhatDoesNotEndIsAbandoned) {
    const auto limited = [&](ExitCode code) {
        return EndOf([&] {
            const platen_tool::OutputFile file(folder.File("half"), {});
            Require(folder.Listing() != "", 1);
            Require(Alarm([&] { platen_tool::LimitLeaving(code); }) == 10, 2);
            std::raise(SIGALRM);
            _exit(3);
        });
    };
    EXPECT_EQ(limited(ExitCode::kDone), 0);
    EXPECT_EQ(limited(ExitCode::kDevice), 4);
    EXPECT_EQ(folder.Listing(), "");
    EXPECT_EQ(EndOf([] {
                  platen_tool::LimitLeaving(ExitCode::kDevice);
                  platen_tool::TakeTime();
                  Require(alarm(0) == 0, 1);
              }),
              0);
    // An interrupt begins it, with its own code.
    EXPECT_EQ(EndOf([&] {
                  platen_tool::ScanDevice device(kBare);
                  device.Start();
                  alarm(0);
                  std::raise(SIGHUP);
                  const unsigned left = alarm(0);
                  Require(left >= 8 && left <= 10, 1);
                  std::raise(SIGALRM);
                  _exit(3);
              }),
              128 + SIGHUP);
}

// Processes that a backend starts have the handler, too: they just end.
TEST_F(ScanInterrupts, AProcessOfTheBackendsEnds) {
    Hooks().records = true;
    EXPECT_EQ(EndOf([&] {
                  platen_tool::ScanDevice device(kBare);
                  Hooks().start = [&]() -> Answer {
                      const int end = EndOf([] {
                          std::raise(SIGINT);
                          _exit(7);
                      });
                      Require(end == 130, 1);
                      return SANE_STATUS_GOOD;
                  };
                  Require(device.Start() == SANE_STATUS_GOOD, 2);
                  Require(Cancels() == 0, 3);
              }),
              0);
}

// And threads, which pass it on: the cancel is a matter of the thread that is in the call.
TEST_F(ScanInterrupts, AThreadOfTheBackendsPassesItOn) {
    EXPECT_EQ(EndOf([&] {
                  const pthread_t caller = pthread_self();
                  std::atomic<bool> cancelled{false};
                  Hooks().cancel = [&] {
                      Require(pthread_equal(pthread_self(), caller) != 0, 1);
                      cancelled = true;
                  };
                  Hooks().start = [&]() -> Answer {
                      std::thread([] { pthread_kill(pthread_self(), SIGINT); }).join();
                      for (int i = 0; i < 1000 && !cancelled; ++i) {
                          usleep(1000);
                      }
                      return SANE_STATUS_GOOD;
                  };
                  platen_tool::ScanDevice device(kBare);
                  Require(Thrown([&] { device.Start(); }) == 130, 2);
                  Require(cancelled, 3);
              }),
              0);
}

TEST_F(ScanInterrupts, WithoutADeviceTheProgramEnds) {
    EXPECT_EQ(EndOf([&] {
                  { const platen_tool::ScanDevice device(kBare); }
                  platen_tool::InstallSignalHandlers();
                  std::raise(SIGINT);
                  _exit(9);
              }),
              130);
}

// Backends put handlers back to their defaults while they start processes of their own.
TEST_F(ScanInterrupts, HandlersThatABackendTookAwayComeBack) {
    EXPECT_EQ(EndOf([&] {
                  platen_tool::ScanDevice device(kBare);
                  Hooks().start = []() -> Answer {
                      std::signal(SIGTERM, SIG_DFL);
                      return SANE_STATUS_GOOD;
                  };
                  device.Start();
                  std::raise(SIGTERM);
                  Require(Thrown([] { platen_tool::CheckInterrupt(); }) == 143, 1);
              }),
              0);
    EXPECT_EQ(EndOf([&] {
                  platen_tool::ScanDevice device(kBare);
                  std::signal(SIGTERM, SIG_DFL);
                  Hooks().start = []() -> Answer {
                      std::raise(SIGTERM);
                      return SANE_STATUS_GOOD;
                  };
                  Require(Thrown([&] { device.Start(); }) == 143, 1);
              }),
              0);
}

}  // namespace
}  // namespace platen_test
