#include <gtest/gtest.h>

#include "support/ForcedVariant.h"

namespace {

struct ForcedVariant : testing::Environment {
    void SetUp() override {
        platen_test::ForceVariantFromEnvironment();
    }
};

[[maybe_unused]] testing::Environment* const forced = testing::AddGlobalTestEnvironment(new ForcedVariant);

}  // namespace
