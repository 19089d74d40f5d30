#pragma once

#include <gtest/gtest.h>

#include <string>

#include "programs/base/Error.h"

namespace platen_tool {

// Runs `action` and gives the text of the Error it ends with; fails where it ends otherwise.
template <typename Action>
std::string ErrorText(ExitCode code, Action action) {
    try {
        action();
    } catch (const Error& error) {
        EXPECT_EQ(static_cast<int>(error.Code()), static_cast<int>(code)) << error.what();
        return error.what();
    }
    ADD_FAILURE() << "no error";
    return {};
}

template <typename Action>
std::string UsageText(Action action) {
    return ErrorText(ExitCode::kUsage, action);
}

}  // namespace platen_tool
