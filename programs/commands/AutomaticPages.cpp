#include "programs/commands/AutomaticPages.h"

#include <sys/stat.h>

#include "programs/base/Error.h"
#include "programs/io/OpenReader.h"
#include "programs/io/OutputFile.h"
#include "programs/options/PresetFile.h"
#include "programs/page/CurvePlot.h"
#include "programs/page/PagePlan.h"
#include "programs/page/Pipeline.h"
#include "programs/threads/Threads.h"

namespace platen_tool {

namespace {

bool IsFile(const std::string& path) {
    struct stat status {};
    return path != "-" && stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

// What the lines are that come to the tone step.
const ImageInfo& LinesAtTone(const PagePlan& counting) {
    return counting.stages.empty() ? counting.input : counting.stages.back().out;
}

// Counts a page's lines, from the one that `next` gives on, as they come to the tone step.
template <typename NextLine>
AutoNumbers CountPage(const Settings& settings, const ImageInfo& info, NextLine next) {
    const PagePlan plan = PlanCounting(settings, info);
    PageCounts counts(LinesAtTone(plan), settings.automatic.margin);
    Pipeline pipeline(plan, counts);
    std::vector<std::uint8_t> line(info.LineBytes());
    for (std::uint32_t y = 0; y < info.height; ++y) {
        next(line.data());
        pipeline.Take(line.data());
    }
    return FindNumbers(settings, counts);
}

// Whether the page has tones for the automatic settings: bilevel lines that stay so have none.
bool HasTones(const Settings& settings, const ImageInfo& info) {
    return LinesAtTone(PlanCounting(settings, info)).bitsPerSample == 8;
}

}  // namespace

void RunNumbers::Found(const AutoNumbers& numbers) {
    if (!first_) {
        first_ = numbers;
        Write(&*first_);
    }
}

void RunNumbers::Finish() {
    Write(nullptr);
}

void RunNumbers::Write(const AutoNumbers* numbers) {
    if (written_ || settings_.dryRun) {
        return;
    }
    written_ = true;
    if (settings_.plot) {
        const Settings page = numbers != nullptr ? WithNumbers(settings_, *numbers) : settings_;
        WriteCurvePlot(*settings_.plot, page.tone, {.force = settings_.force, .sync = false});
    }
    if (settings_.savePreset && numbers != nullptr) {
        const std::string text = PresetText(WithNumbers(settings_.presetOptions, *numbers));
        OutputFile file(*settings_.savePreset, {.force = settings_.force, .sync = false});
        file.Write(text.data(), text.size());
        file.CheckWriteError();
        file.Commit();
    }
}

PageNumbers AutomaticPages::Find(LineReader& reader, unsigned long page, std::optional<SpooledPage>& spooled,
                                 std::string& notice) {
    ImageInfo info = reader.Info();
    if (spooled) {
        info.height = spooled->Height();
    }
    if (!settings_.AnyAutomatic() || !HasTones(settings_, info)) {
        return {};
    }
    if (const AutoNumbers* numbers = run_.ForAll()) {
        return Numbers(*numbers);
    }
    AutoNumbers numbers;
    if (!spooled && CanReadTwice(info)) {
        notice = "read twice: automatic settings need the whole page first";
        numbers = CountFile(info, page);
    } else {
        if (!spooled) {
            if (settings_.read.strictStream) {
                throw Error(ExitCode::kUnsupported,
                            "automatic settings need the whole page first; --strict-stream forbids spooling an "
                            "input that can't be read twice");
            }
            spooled.emplace(reader);
            notice = "spooled to a temporary file: automatic settings need the whole page first";
        }
        info.height = spooled->Height();
        numbers = CountSpooled(info, *spooled);
    }
    run_.Found(numbers);
    return Numbers(numbers);
}

bool AutomaticPages::CanReadTwice(const ImageInfo& info) const {
    return info.height != 0 && IsFile(input_);
}

AutoNumbers AutomaticPages::CountFile(const ImageInfo& info, unsigned long page) {
    if (counting_ == nullptr) {
        counting_ = WithThread(OpenReader(input_, settings_.read), input_, settings_);
        page_ = 1;
    }
    for (; page_ < page; ++page_) {
        if (!counting_->SkipPage()) {
            break;
        }
    }
    const ImageInfo& own = counting_->Info();
    if (own.width != info.width || own.height != info.height || own.bitsPerSample != info.bitsPerSample ||
        own.samplesPerPixel != info.samplesPerPixel) {
        throw Error(ExitCode::kFailed, "the file changed while it was being read");
    }
    AutoNumbers numbers = CountPage(settings_, info, [this](std::uint8_t* line) { counting_->ReadLine(line); });
    if (counting_->PageCount() == 1 || settings_.automatic.sameForAll) {
        counting_.reset();
    } else {
        counting_->NextPage();
        ++page_;
    }
    return numbers;
}

AutoNumbers AutomaticPages::CountSpooled(const ImageInfo& info, SpooledPage& spooled) const {
    AutoNumbers numbers = CountPage(settings_, info, [&spooled](std::uint8_t* line) { spooled.ReadLine(line); });
    spooled.Rewind();
    return numbers;
}

PageNumbers AutomaticPages::Numbers(const AutoNumbers& numbers) const {
    return {WithNumbers(settings_, numbers), NumberOptions(numbers), numbers.messages};
}

void FindFirstNumbers(const Settings& settings, RunNumbers& run) {
    for (const std::string& input : settings.inputs) {
        if (!IsFile(input)) {
            throw Error(ExitCode::kUsage,
                        "--jobs: the first page's automatic settings are needed before the others start, and '" +
                            input + "' can be read only once");
        }
        try {
            const auto reader = OpenReader(input, settings.read);
            const PageRange range = settings.pages.value_or(PageRange{});
            AutomaticPages pages(settings, input, run);
            std::optional<SpooledPage> spooled;
            std::string notice;
            unsigned long page = 1;
            bool there = true;
            for (; there && page < range.first; ++page) {
                there = reader->SkipPage();
            }
            if (there && pages.Find(*reader, page, spooled, notice).settings) {
                return;
            }
        } catch (const Error&) {
            // The process that works on it says what is wrong.
        }
    }
}

}  // namespace platen_tool
