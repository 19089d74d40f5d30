#include "programs/commands/InfoCommand.h"

#include "programs/base/Json.h"
#include "programs/base/Report.h"
#include "programs/commands/Adjust.h"
#include "programs/io/OpenReader.h"
#include "programs/io/TiffCompression.h"
#include "programs/options/Settings.h"
#include "programs/page/PagePlan.h"

namespace platen_tool {

namespace {

std::string JsonRatio(const Ratio& ratio) {
    return "[" + std::to_string(ratio.numerator) + ", " + std::to_string(ratio.denominator) + "]";
}

std::string JsonPage(const LineReader& reader) {
    const ImageInfo& info = reader.Info();
    std::string json = "{\"width\": " + std::to_string(info.width) +
                       ", \"height\": " + std::to_string(info.height) +
                       ", \"bits\": " + std::to_string(info.bitsPerSample) +
                       ", \"samples\": " + std::to_string(info.samplesPerPixel) +
                       ", \"alpha\": " + (info.HasAlpha() ? "true" : "false");
    if (info.resolution) {
        json += ", \"resolution\": {\"x\": " + JsonRatio(info.resolution->x) +
                ", \"y\": " + JsonRatio(info.resolution->y) + "}";
    }
    json += ", \"icc\": " + std::to_string(info.iccProfile.size()) +
            ", \"orientation\": " + std::to_string(info.orientation);
    const std::string compression = TiffCompressionName(reader.TiffCompression());
    json += compression.empty() ? "" : ", \"compression\": " + JsonText(compression);
    std::string storage;
    for (const std::string& word : reader.Storage()) {
        storage += (storage.empty() ? "" : ", ") + JsonText(word);
    }
    return json + (storage.empty() ? "" : ", \"storage\": [" + storage + "]") + "}";
}

std::string PlainPage(const LineReader& reader) {
    const ImageInfo& info = reader.Info();
    std::string text = PageText(info);
    const std::string compression = TiffCompressionName(reader.TiffCompression());
    text += compression.empty() ? "" : ", " + compression;
    for (const std::string& word : reader.Storage()) {
        text += ", " + word;
    }
    text += info.iccProfile.empty() ? "" : ", ICC profile of " + std::to_string(info.iccProfile.size()) + " bytes";
    text += info.orientation == 1 ? "" : ", orientation " + std::to_string(info.orientation);
    return text;
}

std::string FileText(const std::string& path, const ReadOptions& options, bool json) {
    const auto reader = OpenReader(path, options);
    const std::string container = ContainerName(reader->FileContainer());
    std::string text = json
                           ? "{\"file\": " + JsonText(path) + ", \"container\": \"" + container + "\", \"pages\": ["
                           : path + ": " + container + "\n";
    unsigned long page = 0;
    do {
        ++page;
        if (json) {
            text += (page > 1 ? ", " : "") + JsonPage(*reader);
        } else {
            text += "  page " + std::to_string(page) + ": " + PlainPage(*reader) + "\n";
        }
        if (!options.headersOnly) {
            SkipLines(*reader);
        }
    } while (options.headersOnly ? reader->SkipPage() : reader->NextPage());
    return json ? text + "]}" : text;
}

}  // namespace

ExitCode RunInfo(const ParsedArguments& arguments) {
    if (arguments.operands.empty()) {
        throw Error(ExitCode::kUsage, "info: no file; see platen --help");
    }
    const bool json = arguments.Given("json");
    ReadOptions options = MakeReadOptions(arguments.options);
    options.headersOnly = !arguments.Given("check");
    ExitCode result = ExitCode::kDone;
    std::string list;
    for (const std::string& path : arguments.operands) {
        try {
            const std::string text = FileText(path, options, json);
            if (json) {
                list += (list.empty() ? "" : ",\n ") + text;
            } else {
                PrintOutput(text);
            }
        } catch (...) {
            const ExitCode code = ReportFailure(path);
            result = result == ExitCode::kDone ? code : result;
            if (code == ExitCode::kBrokenPipe) {
                return code;
            }
        }
    }
    if (json) {
        PrintOutput("[" + list + "]\n");
    }
    return result;
}

}  // namespace platen_tool
