#pragma once

namespace platen_test {

// Makes the kernel variant that PLATEN_TEST_KERNELS names ("reference", "baseline", ...) the one in use, so that
// the whole suite can be run with each. Without the variable nothing changes; a variant that this processor lacks
// ends the program with status 2. Unit tests call it by themselves, golden programs in GoldenMain.
//
// The library itself reads no environment.
void ForceVariantFromEnvironment();

}  // namespace platen_test
