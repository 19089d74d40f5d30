#pragma once

// How calls of platen.hpp end, and how settings are checked.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <new>
#include <stdexcept>
#include <string>

#if defined(__cpp_exceptions) || defined(_CPPUNWIND)
#define PLATEN_HPP_THROWS 1
#else
#define PLATEN_HPP_THROWS 0
#endif

namespace platen {
inline namespace hpp1 {

// How a call ended. The library's numbers mean different things in its services; here each has one name.
enum class [[nodiscard]] Status : std::int32_t{
    done, outOfMemory,
    badArgument,  // a setting out of range, a line that is too short, the wrong kind of sample
    outOfOrder,   // a call that doesn't fit the state: not open, or finished lines wait to be read
};

constexpr const char* text(Status status) noexcept {
    switch (status) {
        case Status::done:
            return "done";
        case Status::outOfMemory:
            return "out of memory";
        case Status::badArgument:
            return "bad argument";
        case Status::outOfOrder:
            break;
    }
    return "out of order: closed, or finished lines wait to be read, or no more are to come";
}

// What is wrong with settings: the first member that is out of range, or the rule that they break. False where
// nothing is wrong.
struct Problem {
    const char* what = nullptr;
    double value = 0;
    double lowest = 0;
    double highest = 0;

    constexpr explicit operator bool() const noexcept {
        return what != nullptr;
    }

    // "Level: inputBlack is 300; allowed: 0 to 247"
    std::string text() const {
        char line[160] = "";
        if (what != nullptr && lowest < highest) {
            std::snprintf(line, sizeof line, "%s is %.10g; allowed: %.10g to %.10g", what, value, lowest, highest);
        } else if (what != nullptr) {
            std::snprintf(line, sizeof line, "%s", what);
        }
        return line;
    }
};

#if PLATEN_HPP_THROWS
// What is thrown for everything but memory.
class Error : public std::logic_error {
  public:
    Error(Status status, const std::string& message) : std::logic_error(message), status_(status) {}

    Status status() const noexcept {
        return status_;
    }

  private:
    Status status_;
};
#endif

namespace detail {

constexpr Problem within(const char* what, double value, double lowest, double highest) noexcept {
    return value >= lowest && value <= highest ? Problem{} : Problem{what, value, lowest, highest};
}

constexpr Problem rule(const char* what, bool kept) noexcept {
    return kept ? Problem{} : Problem{what};
}

// The first problem of several.
constexpr Problem first(std::initializer_list<Problem> problems) noexcept {
    for (const Problem& problem : problems) {
        if (problem) {
            return problem;
        }
    }
    return {};
}

#if PLATEN_HPP_THROWS
inline void check(const Problem& problem) {
    if (problem) {
        throw Error(Status::badArgument, problem.text());
    }
}

inline void check(Status status, const char* what) {
    if (status == Status::outOfMemory) {
        throw std::bad_alloc();
    }
    if (status != Status::done) {
        throw Error(status, std::string(what) + ": " + text(status));
    }
}

inline void failLine(Status status, const char* what, std::size_t size, std::size_t needed) {
    if (size < needed) {
        throw Error(Status::badArgument, std::string(what) + ": the line has " + std::to_string(size) + " bytes; " +
                                             std::to_string(needed) + " are needed");
    }
    check(status, what);
}

// Of a call with a line.
inline void checkLine(Status status, const char* what, std::size_t size, std::size_t needed) {
    if (status != Status::done) [[unlikely]] {
        failLine(status, what, size, needed);
    }
}
#endif

// Runs what may throw std::bad_alloc out of the library.
template <class Call>
Status guarded(Call call) noexcept {
#if PLATEN_HPP_THROWS
    try {
        return call();
    } catch (const std::bad_alloc&) {
        return Status::outOfMemory;
    }
#else
    return call();
#endif
}

constexpr Problem amount(const char* what, std::int32_t value) noexcept {
    return within(what, value, -100, 100);
}

}  // namespace detail

}  // namespace hpp1
}  // namespace platen
