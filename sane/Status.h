#pragma once

#include <sane/sane.h>

#include <exception>
#include <new>
#include <string>

#include "programs/base/Error.h"

namespace platen_sane {

// Ends an entry with a status: mostly one that the wrapped device gave.
class StatusError : public std::exception {
  public:
    explicit StatusError(SANE_Status status) : status_(status) {}
    SANE_Status Status() const {
        return status_;
    }
    const char* what() const noexcept override {
        return "a SANE status";
    }

  private:
    SANE_Status status_;
};

// Throws for anything but SANE_STATUS_GOOD.
inline void Check(SANE_Status status) {
    if (status != SANE_STATUS_GOOD) {
        throw StatusError(status);
    }
}

// Whether SANE_DEBUG_PLATEN asks for messages, and one of them: "[platen] TEXT" on standard error.
bool TellsMessages();
void Tell(const std::string& text);

// Runs an entry's work. No exception leaves it: SANE's callers are C programs.
template <typename Work>
SANE_Status Guarded(Work work) noexcept {
    try {
        return work();
    } catch (const StatusError& error) {
        return error.Status();
    } catch (const std::bad_alloc&) {
        return SANE_STATUS_NO_MEM;
    } catch (const platen_tool::Error& error) {
        try {
            Tell(error.what());
        } catch (...) {
            return SANE_STATUS_NO_MEM;
        }
        return error.Code() == platen_tool::ExitCode::kFailed ? SANE_STATUS_IO_ERROR : SANE_STATUS_INVAL;
    } catch (...) {
        return SANE_STATUS_IO_ERROR;
    }
}

}  // namespace platen_sane
