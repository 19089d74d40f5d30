#pragma once

#include <atomic>
#include <stdexcept>
#include <string>

namespace platen_python {

// A streaming object serves one call at a time. The interpreter's lock is released during a call, so a second
// thread may come; it is refused and nothing happens.
class Busy {
  public:
    class Use {
      public:
        Use(Busy& busy, const char* what) : busy_(busy) {
            if (busy_.flag_.test_and_set(std::memory_order_acquire)) {
                throw std::runtime_error(std::string(what) +
                                         ": another thread is using this object; give each thread one of its own");
            }
        }
        ~Use() {
            busy_.flag_.clear(std::memory_order_release);
        }
        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

      private:
        Busy& busy_;
    };

  private:
    std::atomic_flag flag_;
};

}  // namespace platen_python
