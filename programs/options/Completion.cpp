#include "programs/options/Completion.h"

#include <algorithm>
#include <array>
#include <vector>

#include "programs/base/Error.h"
#include "programs/options/OptionTable.h"

namespace platen_tool {

namespace {

constexpr const char* kListPresets = "platen presets list 2>/dev/null | cut -d ' ' -f 1";

struct Command {
    const char* name;
    CommandBit bit;
};

constexpr std::array kCommands = std::to_array<Command>(
    {{"curve", kCurve}, {"info", kInfo}, {"presets", kPresets}, {"scan", kScan}, {"", kAdjust}});

bool TakesFile(const OptionSpec& spec) {
    return spec.argument != nullptr && std::string_view(spec.argument) == "FILE";
}

bool IsPreset(const OptionSpec& spec) {
    return std::string_view(spec.name) == "preset";
}

std::string Words(CommandBit bit) {
    std::string words;
    for (const OptionSpec& spec : OptionTable()) {
        if ((spec.commands & bit) != 0) {
            words +=
                std::string(words.empty() ? "" : " ") + "--" + spec.name + (spec.argument != nullptr ? "=" : "");
            words += spec.letter != 0 ? std::string(" -") + spec.letter : std::string();
        }
    }
    return words;
}

std::string Pattern(const OptionSpec& spec) {
    return std::string("--") + spec.name + (spec.letter != 0 ? std::string("|-") + spec.letter : std::string());
}

std::string BashValue(const OptionSpec& spec) {
    std::string action = "COMPREPLY=()";
    if (spec.choices != nullptr) {
        action = std::string("mapfile -t COMPREPLY < <(compgen -W '") + spec.choices + "' -- \"$cur\")";
    } else if (IsPreset(spec)) {
        action = std::string("mapfile -t COMPREPLY < <(compgen -f -W \"$(") + kListPresets + ")\" -- \"$cur\")";
    } else if (TakesFile(spec)) {
        action = "mapfile -t COMPREPLY < <(compgen -f -- \"$cur\")";
    }
    return "        " + Pattern(spec) + ") " + action + "; return ;;\n";
}

// bash makes "=" a word of its own, so a value's option is one or two words before it.
std::string BashText() {
    std::string text =
        "_platen() {\n"
        "    local cur=${COMP_WORDS[COMP_CWORD]} option='' options\n"
        "    local before=${COMP_WORDS[COMP_CWORD - 1]}\n"
        "    if [[ $cur == '=' ]]; then\n"
        "        option=$before cur=''\n"
        "    elif [[ $before == '=' ]]; then\n"
        "        option=${COMP_WORDS[COMP_CWORD - 2]}\n"
        "    elif [[ $before == -* ]]; then\n"
        "        option=$before\n"
        "    fi\n"
        "    case $option in\n";
    for (const OptionSpec& spec : OptionTable()) {
        text += spec.argument != nullptr ? BashValue(spec) : std::string();
    }
    text +=
        "    esac\n"
        "    case ${COMP_WORDS[1]} in\n";
    for (const Command& command : kCommands) {
        text += std::string("        ") + (command.bit == kAdjust ? "*" : command.name) + ") options='" +
                Words(command.bit) + "' ;;\n";
    }
    std::string names;
    for (const Command& command : kCommands) {
        names += command.bit == kAdjust ? "" : std::string(names.empty() ? "" : " ") + command.name;
    }
    return text +
           "    esac\n"
           "    if [[ $cur == -* ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$cur\")\n"
           "        [[ ${COMPREPLY[0]} == *= ]] && compopt -o nospace\n"
           "    elif ((COMP_CWORD == 1)); then\n"
           "        mapfile -t COMPREPLY < <(compgen -f -W '" +
           names +
           "' -- \"$cur\")\n"
           "    elif [[ ${COMP_WORDS[1]} == presets ]] && ((COMP_CWORD == 2)); then\n"
           "        mapfile -t COMPREPLY < <(compgen -W 'list show check' -- \"$cur\")\n"
           "    elif [[ ${COMP_WORDS[1]} == presets && ${COMP_WORDS[2]} == show ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$(" +
           kListPresets +
           ")\" -- \"$cur\")\n"
           "    else\n"
           "        mapfile -t COMPREPLY < <(compgen -f -- \"$cur\")\n"
           "    fi\n"
           "}\n"
           "complete -o filenames -F _platen platen\n";
}

// Puts a backslash, or what else is said, before each of the characters in `special`.
std::string Escaped(const std::string& text, std::string_view special) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\'') {
            escaped += "'\\''";
            continue;
        }
        escaped += special.find(c) != std::string_view::npos ? std::string("\\") + c : std::string(1, c);
    }
    return escaped;
}

// A help of several lines as one.
std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

std::string ZshAction(const OptionSpec& spec) {
    if (spec.argument == nullptr) {
        return "";
    }
    const std::string message =
        std::string(spec.bare != nullptr ? "::" : ":") + Escaped(spec.argument, ":[]\\") + ":";
    if (spec.choices != nullptr) {
        return message + "(" + spec.choices + ")";
    }
    if (IsPreset(spec)) {
        return message + "_platen_preset";
    }
    return message + (TakesFile(spec) ? "_files" : "");
}

// An option may be given again, which "*" says.
std::string ZshOptions(CommandBit bit) {
    std::string text;
    for (const OptionSpec& spec : OptionTable()) {
        if ((spec.commands & bit) == 0) {
            continue;
        }
        const std::string rest = "[" + Escaped(OneLine(OptionHelp(spec)), ":[]\\") + "]" + ZshAction(spec) + "'";
        const char* takes = spec.argument == nullptr ? "" : spec.bare != nullptr ? "=-" : "=";
        text += std::string(" \\\n            '*--") + spec.name + takes + rest;
        if (spec.letter != 0) {
            text +=
                std::string(" \\\n            '*-") + spec.letter + (spec.argument != nullptr ? "+" : "") + rest;
        }
    }
    return text;
}

std::string ZshText() {
    std::string text =
        "#compdef platen\n"
        "_platen_preset() {\n"
        "    local -a names\n"
        "    names=(${(f)\"$(" +
        std::string(kListPresets) +
        ")\"})\n"
        "    compadd -a names\n"
        "    _files -g '*.toml'\n"
        "}\n"
        "_platen() {\n"
        "    case ${words[2]} in\n";
    for (const Command& command : kCommands) {
        const bool adjust = command.bit == kAdjust;
        text += std::string("        ") + (adjust ? "*" : command.name) + ")\n            _arguments" +
                ZshOptions(command.bit);
        if (command.bit == kPresets) {
            text += " \\\n            '2:action:(list show check)' '*:preset:_platen_preset'";
        } else if (command.bit != kCurve && command.bit != kScan) {
            text += " \\\n            '*:file:_files'";
        }
        text += " ;;\n";
    }
    return text +
           "    esac\n"
           "    ((CURRENT == 2)) && compadd curve info presets scan\n"
           "}\n"
           "_platen \"$@\"\n";
}

std::string FishCondition(const OptionSpec& spec) {
    std::string names;
    for (const Command& command : kCommands) {
        if ((spec.commands & command.bit) != 0 && command.bit != kAdjust) {
            names += std::string(" ") + command.name;
        }
    }
    const std::string own = "__fish_seen_subcommand_from" + names;
    if ((spec.commands & kAdjust) == 0) {
        return own;
    }
    std::string others;
    for (const Command& command : kCommands) {
        if ((spec.commands & command.bit) == 0) {
            others += std::string(" ") + command.name;
        }
    }
    return others.empty() ? "" : "not __fish_seen_subcommand_from" + others;
}

std::string FishOption(const OptionSpec& spec) {
    const std::string condition = FishCondition(spec);
    std::string line = "complete -c platen" + (condition.empty() ? condition : " -n '" + condition + "'");
    line += spec.letter != 0 ? std::string(" -s ") + spec.letter : std::string();
    line += std::string(" -l ") + spec.name + " -d '" + Escaped(OneLine(OptionHelp(spec)), "") + "'";
    if (spec.choices != nullptr) {
        line += std::string(" -x -a '") + spec.choices + "'";
    } else if (IsPreset(spec)) {
        line += std::string(" -r -a \"(") + kListPresets + ")\"";
    } else if (spec.argument != nullptr) {
        line += TakesFile(spec) ? " -r" : " -x";
    }
    return line + "\n";
}

std::string FishText() {
    std::string text;
    for (const OptionSpec& spec : OptionTable()) {
        text += FishOption(spec);
    }
    for (const Command& command : kCommands) {
        if (command.bit != kAdjust) {
            text += std::string("complete -c platen -n __fish_use_subcommand -a ") + command.name + "\n";
        }
    }
    text += "complete -c platen -n '__fish_seen_subcommand_from presets' -a 'list show check'\n";
    return text + "complete -c platen -n '__fish_seen_subcommand_from show' -a \"(" + kListPresets + ")\"\n";
}

}  // namespace

std::string CompletionText(std::string_view shell) {
    if (shell == "bash") {
        return BashText();
    }
    if (shell == "zsh") {
        return ZshText();
    }
    if (shell == "fish") {
        return FishText();
    }
    throw Error(ExitCode::kUsage, "--completion: '" + std::string(shell) + "' is not one of bash, zsh, fish");
}

}  // namespace platen_tool
