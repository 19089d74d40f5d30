#include "programs/commands/Program.h"

int main(int count, char** words) {
    return platen_tool::RunProgram(count > 0 ? count - 1 : 0, words + (count > 0 ? 1 : 0));
}
