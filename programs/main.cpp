#include "programs/Program.h"

int main(int count, char** words) {
    return platen_tool::RunProgram(std::vector<std::string>(words + (count > 0 ? 1 : 0), words + count));
}
