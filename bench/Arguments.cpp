#include "bench/Arguments.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace platen_bench {

Arguments::Arguments(int count, char** arguments, const char* usage, const std::vector<std::string>& names)
    : usage_(usage) {
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        const std::size_t equals = std::min(argument.find('='), argument.size());
        const std::string name = argument.substr(0, equals);
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            Refuse();
        }
        values_[name] = argument.substr(std::min(equals + 1, argument.size()));
    }
}

bool Arguments::Has(const std::string& name) const {
    return values_.contains(name);
}

std::string Arguments::Text(const std::string& name) const {
    const auto found = values_.find(name);
    return found == values_.end() ? "" : found->second;
}

int Arguments::Number(const std::string& name, int otherwise) const {
    if (!Has(name)) {
        return otherwise;
    }
    const std::string text = Text(name);
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < 1 || value > 100000) {
        Refuse();
    }
    return static_cast<int>(value);
}

void Arguments::Refuse() const {
    std::fputs(usage_, stderr);
    std::exit(2);
}

}  // namespace platen_bench
