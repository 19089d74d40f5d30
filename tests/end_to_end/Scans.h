#pragma once

#include <string>

namespace platen_test {

// A real scan, by its file's name; the folder may be absent.
inline std::string Scan(const std::string& name) {
    return std::string(PLATEN_TEST_DATA) + "/" + name;
}

}  // namespace platen_test
