#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace platen_test {

// Counts, and on demand refuses, what the library takes from malloc and from operator new while the ledger
// lives. One ledger at a time, one thread. Blocks that are freed while it lives leave the ledger; what stands in
// it at the end was leaked or still belongs to somebody.
//
//   AllocationLedger ledger;
//   ledger.FailFrom(2);                       // the third malloc from here fails, and all after it
//   EXPECT_EQ(1, SetupSharp(&param, &handle));
//   EXPECT_EQ(2u, ledger.Outstanding());      // two blocks leaked, as the header says
//   ledger.FreeOutstanding();                 // so that leak checkers stay silent
class AllocationLedger {
  public:
    AllocationLedger();
    ~AllocationLedger();
    AllocationLedger(const AllocationLedger&) = delete;
    AllocationLedger& operator=(const AllocationLedger&) = delete;

    // Which requests fail, counted from this call on, the first being 0. FailOnly: that one; FailFrom: that one
    // and all later ones; FailNone: none. `malloc` and `new` are counted apart; a plain `new` that fails throws
    // std::bad_alloc, a nothrow one gives null.
    void FailOnly(std::size_t index);
    void FailFrom(std::size_t index);
    void FailNone();
    void FailOnlyNew(std::size_t index);
    void FailFromNew(std::size_t index);

    // Requests since the ledger was made, the refused ones included.
    std::size_t Mallocs() const;
    std::size_t News() const;
    // Blocks and their sizes that were taken since and not given back, malloc's and new's together, in the order
    // of taking.
    std::size_t Outstanding() const;
    std::vector<std::size_t> OutstandingSizes() const;
    std::size_t OutstandingMallocs() const;
    // Between the two nothing counts: for what a test takes and gives back itself while the ledger lives.
    void Pause();
    void Resume();
    // Gives back what stands in the ledger.
    void FreeOutstanding();
};

}  // namespace platen_test
