#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "LineFilters/Hsv.h"

namespace platen_python {

using LightnessTable = std::array<std::uint32_t, 256>;

// The library has one lightness table for the process, gStorage. Filters with different lightness take turns:
// whoever enters finds its own table there, those with the same table work together, and nobody waits for more than
// the work of those who came first. Work is done in short pieces, so a turn is short.
class LightnessGate {
  public:
    // The table of a setting, made by the library's set-up while nobody is inside. Returns the set-up's status.
    std::int32_t Make(_SHsvParam param, LightnessTable& table);

    // Inside, gStorage holds `table`.
    class Pass {
      public:
        Pass(LightnessGate& gate, const LightnessTable& table) : gate_(gate) {
            gate_.Enter(table);
        }
        ~Pass() {
            gate_.Leave();
        }
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;

      private:
        LightnessGate& gate_;
    };

  private:
    void Enter(const LightnessTable& table);
    void Leave();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::uint64_t nextTicket_ = 0;
    std::uint64_t serving_ = 0;
    int inside_ = 0;
    LightnessTable current_{};
};

}  // namespace platen_python
