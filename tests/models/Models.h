#pragma once

#include "Sequences.h"

// One sequence each: steps that say what is called, and what a host edits in between. They throw where the library
// differs from the model.

namespace platen_test {

void WalkToneWorld(const Steps& steps);
void WalkHsvFilter(const Steps& steps);
void WalkSharpnessFilter(const Steps& steps);
void WalkScaler(const Steps& steps);

}  // namespace platen_test
