#include "Models.h"

#include <gtest/gtest.h>

namespace platen_test {
namespace {

TEST(Models, ToneWorld) {
    CheckSequences("tone world", WalkToneWorld);
}

TEST(Models, HsvFilter) {
    CheckSequences("HSV filter", WalkHsvFilter);
}

TEST(Models, SharpnessFilter) {
    CheckSequences("sharpness filter", WalkSharpnessFilter);
}

TEST(Models, Scaler) {
    CheckSequences("scaler", WalkScaler);
}

}  // namespace
}  // namespace platen_test
