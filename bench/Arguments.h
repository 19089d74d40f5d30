#pragma once

#include <map>
#include <string>
#include <vector>

namespace platen_bench {

// The arguments of a bench program, all of the form --name=value, or --name with an empty value.
class Arguments {
  public:
    // Ends the program with `usage` at any argument that isn't one of `names`.
    Arguments(int count, char** arguments, const char* usage, const std::vector<std::string>& names);

    bool Has(const std::string& name) const;
    // Empty where it isn't given.
    std::string Text(const std::string& name) const;
    // 1 to 100000; `otherwise` where it isn't given.
    int Number(const std::string& name, int otherwise) const;

  private:
    [[noreturn]] void Refuse() const;

    const char* usage_;
    std::map<std::string, std::string> values_;
};

}  // namespace platen_bench
