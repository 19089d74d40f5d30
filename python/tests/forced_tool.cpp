// The tool with the kernel variant that PLATEN_TEST_KERNELS names; see tests/support/ForcedVariant.h.
#include "programs/commands/Program.h"
#include "support/ForcedVariant.h"

int main(int count, char** words) {
    platen_test::ForceVariantFromEnvironment();
    return platen_tool::RunProgram(count - 1, words + 1);
}
