#include "programs/commands/DryRun.h"

#include "programs/io/LineWriter.h"
#include "programs/io/OpenReader.h"
#include "programs/io/OpenWriter.h"
#include "programs/page/PagePlan.h"

namespace platen_tool {

namespace {

std::string StageName(StageKind kind) {
    switch (kind) {
        case StageKind::kCrop:
            return "crop";
        case StageKind::kTurn:
            return "rotate";
        case StageKind::kTone:
            return "tone";
        case StageKind::kHsv:
            return "hsv";
        case StageKind::kScale:
            return "scale";
        case StageKind::kSharpen:
            return "sharpen";
        default:
            return "pixels";
    }
}

std::string Row(const std::string& name, const std::string& text) {
    std::string row = "  " + name;
    row.resize(12, ' ');
    return row + text + "\n";
}

std::string KeyPoints(const ToneTable& table) {
    std::string text;
    for (const unsigned level : {0u, 32u, 64u, 96u, 128u, 160u, 192u, 224u, 255u}) {
        text += (text.empty() ? "" : " ") + std::to_string(level) + ":" + std::to_string(table[level]);
    }
    return text;
}

std::string CurveRows(const ToneTables& tables) {
    if (tables.red == tables.green && tables.red == tables.blue) {
        return Row("", KeyPoints(tables.red));
    }
    return Row("", "red   " + KeyPoints(tables.red)) + Row("", "green " + KeyPoints(tables.green)) +
           Row("", "blue  " + KeyPoints(tables.blue));
}

// What the writer checks: a page, and before a second one in the same file, that the format holds several. Without
// an output there is no writer.
void CheckPage(const std::string& output, const Settings& settings, Container input, const PagePlan& plan) {
    if (!output.empty()) {
        CheckOutput(output, MakeWriteOptions(settings, input), plan.output);
    }
}

void CheckSecondPage(const std::string& output, const Settings& settings, Container input) {
    if (!output.empty()) {
        RequireSeveralPages(OutputContainer(output, settings.format, input));
    }
}

}  // namespace

std::string DescribePage(const PagePlan& plan) {
    std::string text = Row("input", PageText(plan.input));
    for (const PlannedStage& stage : plan.stages) {
        text += Row(StageName(stage.kind), stage.text);
        if (stage.kind == StageKind::kTone) {
            text += CurveRows(plan.tables);
        }
    }
    if (!plan.leftOut.empty()) {
        text += Row("note", plan.leftOut);
    }
    for (const std::string& notice : plan.notices) {
        text += Row("note", notice);
    }
    text += Row("output", PageText(plan.output));
    const std::size_t megabytes = (ExpectedMemory(plan) + 999'999) / 1'000'000;
    return text + Row("memory", "about " + std::to_string(megabytes) + " MB at most");
}

std::string DescribePlot(const Settings& settings) {
    std::string text;
    for (const ToneStep& step : settings.tone) {
        text += (text.empty() ? "" : "; ") + StepText(step);
    }
    return "plot, to " + *settings.plot + "\n" +
           Row("tone", text.empty() ? "nothing: the curve is a straight line" : text) +
           (settings.AnyAutomatic() ? Row("", "with the first page's automatic settings")
                                    : CurveRows(FoldToneSteps(settings.tone, 24)));
}

std::string DescribeInput(const Run& run, std::size_t index, unsigned long& nextPage) {
    const Settings& settings = run.settings;
    const OutputName& name = run.name;
    const std::string& input = settings.inputs[index];
    const auto reader = OpenReader(input, settings.read);
    const PageRange range = settings.pages.value_or(PageRange{});
    AutomaticPages automatic(settings, input, run.numbers);
    std::optional<SpooledPage> spooled;
    std::string text;
    unsigned long page = 1;
    bool more = true;
    for (; more && page <= range.last; ++page) {
        if (page >= range.first) {
            const std::string output = name.Make(input, nextPage++);
            if (name.HasPage()) {
                run.files.Claim("-o", output, index);
            }
            PagePlan plan = PlanPage(settings, reader->Info());
            std::string notice;
            const PageNumbers numbers = automatic.Find(*reader, page, spooled, notice);
            if (numbers.settings) {
                ImageInfo info = reader->Info();
                info.height = spooled ? spooled->Height() : info.height;
                plan = PlanPage(*numbers.settings, info);
                plan.notices.insert(plan.notices.end(), numbers.messages.begin(), numbers.messages.end());
            }
            CheckPage(output, settings, reader->FileContainer(), plan);
            if (page > range.first && !name.HasPage()) {
                CheckSecondPage(output, settings, reader->FileContainer());
            }
            text += input + ", page " + std::to_string(page);
            text += output.empty() ? "\n" : ", to " + output + "\n";
            text += DescribePage(plan);
            const std::string lost =
                output.empty()
                    ? ""
                    : LostMetadata(OutputContainer(output, settings.format, reader->FileContainer()), plan.output);
            text += lost.empty() ? "" : Row("note", lost);
        }
        if (reader->PageCount() == 1) {
            more = false;  // no need to read its lines to find the end
        } else {
            if (!spooled) {
                SkipLines(*reader);
            }
            spooled.reset();
            more = reader->NextPage();
        }
    }
    if (text.empty()) {
        throw NoSuchPage(page - 1);
    }
    return text;
}

}  // namespace platen_tool
