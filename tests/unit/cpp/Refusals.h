#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platen.hpp"

namespace platen_test {

// What is wrong with a setting, empty where nothing is.
template <class S>
std::string ProblemOf(const S& setting) {
    const platen::Problem problem = setting.problem();
    EXPECT_EQ(problem.text().empty(), !problem);
    return problem.text();
}

// What a call throws.
template <class Call>
std::string Thrown(Call call, platen::Status status = platen::Status::badArgument) {
    try {
        call();
    } catch (const platen::Error& error) {
        EXPECT_EQ(error.status(), status);
        return error.what();
    }
    return "nothing";
}

}  // namespace platen_test
