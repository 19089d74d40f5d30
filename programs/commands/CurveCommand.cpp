#include "programs/commands/CurveCommand.h"

#include <algorithm>
#include <optional>

#include "programs/base/Error.h"
#include "programs/base/Report.h"
#include "programs/page/CurvePlot.h"

namespace platen_tool {

namespace {

std::string Entries(const ToneTable& table, const char* between, std::size_t perLine, const char* lineStart) {
    std::string text = lineStart;
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (i > 0) {
            text += between;
            text += i % perLine == 0 ? std::string("\n") + lineStart : std::string();
        }
        text += std::to_string(table[i]);
    }
    return text;
}

std::string Rows(const ToneTables& tables, const char* between) {
    std::string text;
    for (std::size_t i = 0; i < tables.red.size(); ++i) {
        text += std::to_string(i) + between + std::to_string(tables.red[i]) + between +
                std::to_string(tables.green[i]) + between + std::to_string(tables.blue[i]) + "\n";
    }
    return text;
}

std::string CArray(const char* name, const ToneTable& table) {
    return std::string("static const unsigned char ") + name + "[256] = {\n" + Entries(table, ", ", 16, "    ") +
           "};\n";
}

TableForm ParseForm(const std::string& text) {
    if (text == "plain") {
        return TableForm::kPlain;
    }
    if (text == "c") {
        return TableForm::kC;
    }
    if (text == "csv") {
        return TableForm::kCsv;
    }
    if (text == "sane") {
        return TableForm::kSane;
    }
    throw Error(ExitCode::kUsage, "--table: '" + text + "' is not one of plain, c, csv, sane");
}

}  // namespace

std::string TableText(const ToneTables& tables, TableForm form) {
    switch (form) {
        case TableForm::kPlain:
            return Rows(tables, " ");
        case TableForm::kCsv:
            return "input,red,green,blue\n" + Rows(tables, ",");
        case TableForm::kC:
            return CArray("red", tables.red) + CArray("green", tables.green) + CArray("blue", tables.blue);
        case TableForm::kSane:
            break;
    }
    if (tables.red != tables.green || tables.red != tables.blue) {
        throw Error(ExitCode::kUsage,
                    "--table=sane: holds one table, but colour balance makes the channels differ");
    }
    return Entries(tables.red, ",", tables.red.size(), "") + "\n";
}

void RunCurve(const ParsedArguments& arguments) {
    constexpr int kColourDepth = 24;
    ToneStepList list;
    std::optional<std::string> svg;
    std::optional<TableForm> form;
    bool force = false;
    for (const GivenOption& option : arguments.options) {
        if (option.name == "svg") {
            svg = option.value;
        } else if (option.name == "table") {
            form = ParseForm(option.value);
        } else if (option.name == "force") {
            force = true;
        } else {
            if (option.newStep) {
                list.EndStep();
            }
            list.Take(option.name, option.value);
        }
    }
    if (!arguments.operands.empty()) {
        throw Error(ExitCode::kUsage,
                    "curve: takes no input file, but '" + arguments.operands.front() + "' is there");
    }
    if (form && svg == "-") {
        throw Error(ExitCode::kUsage, "--svg=-: the table goes to standard output; name a file");
    }
    const std::vector<ToneStep> steps = list.Finish();
    if (std::any_of(steps.begin(), steps.end(), IsAutomatic)) {
        throw Error(ExitCode::kUsage, "curve: --auto-levels and --auto-white measure a page, and curve reads none");
    }
    if (svg) {
        WriteCurvePlot(*svg, steps, {.force = force, .sync = false});
    }
    if (form || !svg) {
        PrintOutput(TableText(FoldToneSteps(steps, kColourDepth), form.value_or(TableForm::kPlain)));
    }
}

}  // namespace platen_tool
