#include "programs/options/Arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <list>
#include <map>

#include "programs/base/Error.h"

namespace platen_tool {

namespace {

// The parser's own results per option; the order over all of them comes from its parse order.
struct Bound {
    const OptionSpec* spec = nullptr;
    std::vector<std::string> values;
    std::size_t taken = 0;
};

std::string ParserName(const OptionSpec& spec) {
    std::string name = std::string("--") + spec.name;
    return spec.letter != 0 ? std::string("-") + spec.letter + "," + name : name;
}

// Whether an argument could be this option. The parser need not know the others, and setting up each takes it
// longer than all that it does with them.
bool MayBeGiven(const OptionSpec& spec, const std::vector<std::string>& arguments) {
    const std::string name = std::string("--") + spec.name;
    return std::any_of(arguments.begin(), arguments.end(), [&](const std::string& word) {
        const bool letters = spec.letter != 0 && word.size() > 1 && word[0] == '-' && word[1] != '-';
        return word == name || word.starts_with(name + "=") ||
               (letters && word.find(spec.letter, 1) != std::string::npos);
    });
}

// The parser would take the next argument for the value, and doesn't mind at a flag.
void RefuseEmptyValue(const OptionSpec& spec, const std::vector<std::string>& arguments) {
    const std::string name = std::string("--") + spec.name;
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    if (std::find(arguments.begin(), end, name + "=") != end) {
        throw Error(ExitCode::kUsage, name + (spec.argument != nullptr ? ": needs a value" : ": takes no value"));
    }
}

// The parser would take the next argument for the value.
std::vector<std::string> WithBareValues(CommandBit command, std::vector<std::string> arguments) {
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    for (const OptionSpec& spec : OptionTable()) {
        if (spec.bare != nullptr && (spec.commands & command) != 0) {
            const std::string name = std::string("--") + spec.name;
            std::replace(arguments.begin(), end, name, name + "=" + spec.bare);
            if (spec.letter != 0) {
                std::replace(arguments.begin(), end, std::string("-") + spec.letter, name + "=" + spec.bare);
            }
        }
    }
    return arguments;
}

void RefuseLeftOvers(const CLI::App& app) {
    for (const std::string& rest : app.remaining()) {
        if (rest != "--") {
            throw Error(ExitCode::kUsage, "unknown option '" + rest + "'; see platen --help");
        }
    }
}

// The parser says which option it is about in the first word.
[[noreturn]] void RefuseParse(const CLI::ParseError& error) {
    const std::string text = error.what();
    const bool flag = text.find("flag override") != std::string::npos;
    if (!flag && error.get_name() != "ArgumentMismatch") {
        throw Error(ExitCode::kUsage, text + "; see platen --help");
    }
    const std::string name = text.substr(0, text.find_first_of(": "));
    throw Error(ExitCode::kUsage, (flag ? "--" : "") + name + (flag ? ": takes no value" : ": needs a value"));
}

}  // namespace

ParsedArguments ParseArguments(CommandBit command, const std::vector<std::string>& given) {
    const std::vector<std::string> arguments = WithBareValues(command, given);
    CLI::App app;
    app.set_help_flag();
    app.allow_extras();
    std::list<Bound> bound;
    std::map<const CLI::Option*, Bound*> byOption;
    for (const OptionSpec& spec : OptionTable()) {
        if ((spec.commands & command) == 0 || !MayBeGiven(spec, arguments)) {
            continue;
        }
        RefuseEmptyValue(spec, arguments);
        Bound& entry = bound.emplace_back();
        entry.spec = &spec;
        CLI::Option* option = spec.argument != nullptr
                                  ? app.add_option(ParserName(spec), entry.values)->allow_extra_args(false)
                                  : app.add_flag(ParserName(spec))->disable_flag_override();
        byOption[option] = &entry;
    }
    ParsedArguments parsed;
    const CLI::Option* operands = app.add_option("INPUT", parsed.operands);
    try {
        // It takes the arguments from the back.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        RefuseParse(error);
    }
    RefuseLeftOvers(app);
    for (const CLI::Option* option : app.parse_order()) {
        if (option == operands) {
            continue;
        }
        Bound& entry = *byOption.at(option);
        const bool flag = entry.spec->argument == nullptr;
        parsed.options.push_back({entry.spec->name, flag ? std::string() : entry.values.at(entry.taken++)});
    }
    return parsed;
}

}  // namespace platen_tool
