#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <string>
#include <vector>

#include "ToneWorld/ToneWorld.h"

namespace platen_test {

// Sets an operation of `count` properties up once more: it gets a new list; the old one stays whole.
inline void ExpectSetupOverwritesTheList(_SToneOperation* op, std::int32_t (*setup)(_SToneOperation*),
                                         std::size_t count) {
    const auto valuesOf = [](const std::list<_SPropertyData>& properties) {
        std::vector<std::string> values;
        for (const _SPropertyData& property : properties) {
            values.emplace_back(static_cast<const char*>(property.data), property.size);
        }
        return values;
    };
    std::list<_SPropertyData>* const before = op->properties;
    const std::vector<std::string> values = valuesOf(*before);
    EXPECT_EQ(setup(op), 0);
    ASSERT_NE(op->properties, before);
    EXPECT_EQ(values.size(), count);
    EXPECT_EQ(op->properties->size(), count);
    EXPECT_EQ(valuesOf(*before), values);
    for (const _SPropertyData& property : *before) {
        std::free(property.data);
    }
    delete before;
}

}  // namespace platen_test
