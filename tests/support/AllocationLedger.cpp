#include "support/AllocationLedger.h"

#if defined(_WIN32)
#include <windows.h>
#endif

#include <array>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

// The linker sends the test program's calls of malloc and operator new here (--wrap). The book-keeping itself
// uses fixed arrays, since it must not allocate.

extern "C" {
void* __real_malloc(std::size_t size);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void __wrap_free(void* block);
#if defined(_WIN64)
#define PLATEN_NEW(prefix) prefix##_Znwy
#define PLATEN_NEW_NOTHROW(prefix) prefix##_ZnwyRKSt9nothrow_t
#define PLATEN_DELETE_SIZED(prefix) prefix##_ZdlPvy
#elif __SIZEOF_SIZE_T__ == 8
#define PLATEN_NEW(prefix) prefix##_Znwm
#define PLATEN_NEW_NOTHROW(prefix) prefix##_ZnwmRKSt9nothrow_t
#define PLATEN_DELETE_SIZED(prefix) prefix##_ZdlPvm
#else
#define PLATEN_NEW(prefix) prefix##_Znwj
#define PLATEN_NEW_NOTHROW(prefix) prefix##_ZnwjRKSt9nothrow_t
#define PLATEN_DELETE_SIZED(prefix) prefix##_ZdlPvj
#endif
void* PLATEN_NEW(__real_)(std::size_t size);
void* PLATEN_NEW_NOTHROW(__real_)(std::size_t size, const std::nothrow_t& tag);
void PLATEN_DELETE_SIZED(__real_)(void* block, std::size_t size);
void __real__ZdlPv(void* block);
void* PLATEN_NEW(__wrap_)(std::size_t size);
void* PLATEN_NEW_NOTHROW(__wrap_)(std::size_t size, const std::nothrow_t& tag);
void PLATEN_DELETE_SIZED(__wrap_)(void* block, std::size_t size);
void __wrap__ZdlPv(void* block);
}

namespace {

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

struct Block {
    void* address;
    std::size_t size;
    bool isNew;
};

// Requests of one kind: how many there were, and which of those still to come fail.
struct Counter {
    std::size_t requests = 0;
    std::size_t sinceArmed = 0;
    std::size_t failFirst = kNever;
    std::size_t failLast = 0;

    void Arm(std::size_t first, std::size_t last) {
        sinceArmed = 0;
        failFirst = first;
        failLast = last;
    }

    bool NextFails() {
        const std::size_t index = sinceArmed++;
        ++requests;
        return failFirst != kNever && index >= failFirst && index <= failLast;
    }
};

#if defined(_WIN32)
// Thread-local variables take memory from malloc here, so the thread is told by its number. The runtime is linked
// in, and its own calls of malloc come here too: those of operator new and of a throw don't count.
DWORD owner = 0;
bool inside = false;
bool passNext = false;

bool IsActive() {
    return owner == GetCurrentThreadId() && !inside && !std::exchange(passNext, false);
}

void SetActive(bool active) {
    owner = active ? GetCurrentThreadId() : 0;
}

// While operator new does its work, by other functions that come here.
struct Inside {
    Inside() {
        inside = true;
    }
    ~Inside() {
        inside = false;
    }
};

void PassNextMalloc() {
    passNext = true;
}

// The first throw of a thread takes more memory than the others.
void ThrowOnce() {
    try {
        throw std::bad_alloc();
    } catch (const std::bad_alloc&) {
        passNext = false;
    }
}
#else
thread_local bool active = false;

bool IsActive() {
    return active;
}

void SetActive(bool on) {
    active = on;
}

struct Inside {
    Inside() {}
    ~Inside() {}
};

void PassNextMalloc() {}

void ThrowOnce() {}
#endif

Counter mallocs;
Counter news;
std::array<Block, 4096> blocks;
std::size_t blockCount = 0;

void Enter(void* address, std::size_t size, bool isNew) {
    if (blockCount == blocks.size()) {
        std::abort();  // a test that leaks this much needs a larger array
    }
    blocks[blockCount++] = {address, size, isNew};
}

void Leave(const void* address) {
    for (std::size_t i = blockCount; i-- > 0;) {
        if (blocks[i].address == address) {
            for (; i + 1 < blockCount; ++i) {
                blocks[i] = blocks[i + 1];
            }
            --blockCount;
            return;
        }
    }
}

}  // namespace

void* __wrap_malloc(std::size_t size) {
    if (!IsActive()) {
        return __real_malloc(size);
    }
    if (mallocs.NextFails()) {
        return nullptr;
    }
    void* block = __real_malloc(size);
    if (block != nullptr) {
        Enter(block, size, false);
    }
    return block;
}

void __wrap_free(void* block) {
    if (block != nullptr && IsActive()) {
        Leave(block);
    }
    __real_free(block);
}

void* PLATEN_NEW(__wrap_)(std::size_t size) {
    if (!IsActive()) {
        return PLATEN_NEW(__real_)(size);
    }
    if (news.NextFails()) {
        PassNextMalloc();
        throw std::bad_alloc();
    }
    const Inside inOperatorNew;
    void* block = PLATEN_NEW(__real_)(size);
    Enter(block, size, true);
    return block;
}

void* PLATEN_NEW_NOTHROW(__wrap_)(std::size_t size, const std::nothrow_t& tag) {
    if (!IsActive()) {
        return PLATEN_NEW_NOTHROW(__real_)(size, tag);
    }
    if (news.NextFails()) {
        return nullptr;
    }
    const Inside inOperatorNew;
    void* block = PLATEN_NEW_NOTHROW(__real_)(size, tag);
    if (block != nullptr) {
        Enter(block, size, true);
    }
    return block;
}

void __wrap__ZdlPv(void* block) {
    if (block != nullptr && IsActive()) {
        Leave(block);
    }
    __real__ZdlPv(block);
}

void PLATEN_DELETE_SIZED(__wrap_)(void* block, std::size_t size) {
    if (block != nullptr && IsActive()) {
        Leave(block);
    }
    PLATEN_DELETE_SIZED(__real_)(block, size);
}

namespace platen_test {

AllocationLedger::AllocationLedger() {
    mallocs = Counter();
    news = Counter();
    blockCount = 0;
    ThrowOnce();
    SetActive(true);
}

AllocationLedger::~AllocationLedger() {
    SetActive(false);
}

void AllocationLedger::FailOnly(std::size_t index) {
    mallocs.Arm(index, index);
}

void AllocationLedger::FailFrom(std::size_t index) {
    mallocs.Arm(index, kNever);
}

void AllocationLedger::FailNone() {
    mallocs.Arm(kNever, 0);
    news.Arm(kNever, 0);
}

void AllocationLedger::FailOnlyNew(std::size_t index) {
    news.Arm(index, index);
}

void AllocationLedger::FailFromNew(std::size_t index) {
    news.Arm(index, kNever);
}

std::size_t AllocationLedger::Mallocs() const {
    return mallocs.requests;
}

std::size_t AllocationLedger::News() const {
    return news.requests;
}

std::size_t AllocationLedger::Outstanding() const {
    return blockCount;
}

std::size_t AllocationLedger::OutstandingMallocs() const {
    std::size_t count = 0;
    for (std::size_t i = 0; i < blockCount; ++i) {
        count += blocks[i].isNew ? 0u : 1u;
    }
    return count;
}

std::vector<std::size_t> AllocationLedger::OutstandingSizes() const {
    SetActive(false);  // the vector's own memory is not the library's
    std::vector<std::size_t> sizes;
    for (std::size_t i = 0; i < blockCount; ++i) {
        sizes.push_back(blocks[i].size);
    }
    SetActive(true);
    return sizes;
}

void AllocationLedger::Pause() {
    SetActive(false);
}

void AllocationLedger::Resume() {
    SetActive(true);
}

void AllocationLedger::FreeOutstanding() {
    while (blockCount != 0) {
        const Block block = blocks[--blockCount];
        if (block.isNew) {
            __real__ZdlPv(block.address);
        } else {
            __real_free(block.address);
        }
    }
}

}  // namespace platen_test
