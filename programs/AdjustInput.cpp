#include "programs/AdjustInput.h"

#include <unistd.h>

#include <memory>
#include <optional>

#include "programs/Error.h"
#include "programs/LineSink.h"
#include "programs/LineWriter.h"
#include "programs/PagePlan.h"
#include "programs/Report.h"
#include "programs/SpooledPage.h"
#include "programs/Threads.h"

namespace platen_tool {

namespace {

class WriterSink : public LineSink {
  public:
    explicit WriterSink(LineWriter& writer) : writer_(writer) {}
    void Take(std::uint8_t* line) override {
        writer_.WriteLine(line);
    }

  private:
    LineWriter& writer_;
};

bool ShowProgress(const Settings& settings) {
    if (settings.jobs > 1) {
        return false;  // the lines of several processes would overwrite each other
    }
    return settings.progress.value_or(isatty(STDERR_FILENO) != 0);
}

class InputRun {
  public:
    InputRun(const Settings& settings, const OutputName& name, const std::string& input,
             std::unique_ptr<LineReader> reader, unsigned long& nextPage)
        : settings_(settings),
          name_(name),
          input_(input),
          nextPage_(nextPage),
          reader_(std::move(reader)),
          progress_(ShowProgress(settings), input),
          begin_(Now()) {}

    void Run() {
        Tell(reader_->Notice());
        bool any = false;
        unsigned long page = 1;
        do {
            if (Wanted(page)) {
                any = true;
                AdjustPage(page);
            } else {
                SkipLines(*reader_);
            }
            ++page;
        } while (reader_->NextPage());
        if (!any) {
            throw NoSuchPage(page - 1);
        }
        // Whatever can fail comes before the output's appearance.
        const std::string statistics = settings_.stats ? statistics_.Text(Now() - begin_) : "";
        CommitWriter();
        PrintStatistics(statistics);
    }

  private:
    bool Wanted(unsigned long page) const {
        return !settings_.pages || (page >= settings_.pages->first && page <= settings_.pages->last);
    }

    void Tell(const std::string& notice) const {
        if (settings_.verbose && !notice.empty()) {
            PrintMessage({input_, ": ", notice});
        }
    }

    void TellReduction(const PagePlan& plan) {
        if (plan.reducedTo8 && !toldReduction_) {
            PrintMessage({input_, ": 16-bit samples are reduced to 8 bits"});
            toldReduction_ = true;
        }
    }

    void AdjustPage(unsigned long page) {
        // What can't be done is refused before the page is spooled for it.
        PagePlan plan = PlanPage(settings_, reader_->Info());
        std::optional<SpooledPage> spooled;
        if (plan.input.height == 0 && settings_.NeedsHeight()) {
            spooled.emplace(*reader_);
            ImageInfo info = reader_->Info();
            info.height = spooled->Height();
            plan = PlanPage(settings_, info);
            Tell("spooled to a temporary file: the page's height wasn't known at first");
        }
        for (const std::string& notice : plan.notices) {
            Tell(notice);
        }
        TellReduction(plan);
        OpenPage(plan);
        WriterSink sink(*writer_);
        Pipeline pipeline(plan, sink);
        std::vector<std::uint8_t> line(plan.input.LineBytes());
        for (std::uint32_t y = 0; plan.input.height == 0 || y < plan.input.height; ++y) {
            if (!ReadLine(plan.input, spooled, line.data())) {
                break;
            }
            if (settings_.stats) {
                statistics_.Add(plan.input, line.data());
            }
            pipeline.Take(line.data());
            progress_.Line(page, y + 1, plan.input.height);
        }
        statistics_.EndPage();
        writer_->EndPage();
        Tell(writer_->Notice());
        if (name_.HasPage()) {
            CommitWriter();
        }
    }

    // The page's next line; false behind the last one of a page whose height isn't known. Where reading fails, what
    // was read before is written first: had that failed, it came first.
    bool ReadLine(const ImageInfo& info, std::optional<SpooledPage>& spooled, std::uint8_t* line) {
        try {
            if (spooled) {
                return spooled->ReadLine(line);
            }
            if (info.height == 0) {
                return reader_->ReadLineOrEnd(line);
            }
            reader_->ReadLine(line);
            return true;
        } catch (...) {
            writer_->Settle();
            throw;
        }
    }

    void OpenPage(const PagePlan& plan) {
        if (writer_ == nullptr) {
            WriteOptions options = MakeWriteOptions(settings_, reader_->FileContainer());
            const bool sameLayout = plan.input.bitsPerSample == plan.output.bitsPerSample &&
                                    plan.input.samplesPerPixel == plan.output.samplesPerPixel;
            options.tiffCompression = sameLayout ? reader_->TiffCompression() : 0;
            writer_ = WithThread(OpenWriter(name_.Make(input_, nextPage_), options), settings_);
        }
        ++nextPage_;
        writer_->BeginPage(plan.output);
    }

    void CommitWriter() {
        if (writer_ != nullptr) {
            writer_->Commit();
            writer_.reset();
        }
    }

    void PrintStatistics(std::string_view text) const {
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = text.find('\n', begin);
            PrintMessage({input_, ": ", text.substr(begin, end - begin)});
            begin = end + 1;
        }
    }

    const Settings& settings_;
    const OutputName& name_;
    const std::string& input_;
    unsigned long& nextPage_;
    std::unique_ptr<LineReader> reader_;
    std::unique_ptr<LineWriter> writer_;
    Progress progress_;
    Statistics statistics_;
    bool toldReduction_ = false;
    const double begin_;
};

}  // namespace

WriteOptions MakeWriteOptions(const Settings& settings, Container input) {
    WriteOptions options;
    options.container = settings.format;
    options.inputContainer = input;
    options.jpegQuality = settings.quality;
    options.strictStream = settings.read.strictStream;
    options.force = settings.force;
    return options;
}

void AdjustInput(const Settings& settings, const OutputName& name, const std::string& input,
                 unsigned long& nextPage) {
    AdjustPages(settings, name, input, WithThread(OpenReader(input, settings.read), input, settings), nextPage);
}

void AdjustPages(const Settings& settings, const OutputName& name, const std::string& input,
                 std::unique_ptr<LineReader> reader, unsigned long& nextPage) {
    InputRun(settings, name, input, std::move(reader), nextPage).Run();
}

}  // namespace platen_tool
