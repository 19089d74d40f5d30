#include "programs/commands/AdjustInput.h"

#include <unistd.h>

#include <memory>
#include <new>
#include <optional>

#include "programs/base/Error.h"
#include "programs/base/Json.h"
#include "programs/base/Report.h"
#include "programs/io/LineWriter.h"
#include "programs/io/OpenReader.h"
#include "programs/io/OpenWriter.h"
#include "programs/io/OutputFile.h"
#include "programs/page/PagePlan.h"
#include "programs/page/Pipeline.h"
#include "programs/threads/SpooledPage.h"
#include "programs/threads/Threads.h"

namespace platen_tool {

namespace {

class WriterStage : public Stage {
  public:
    explicit WriterStage(LineWriter& writer) : writer_(writer) {}
    void Take(std::uint8_t* line) override {
        writer_.WriteLine(line);
    }

  private:
    LineWriter& writer_;
};

class InputRun {
  public:
    InputRun(const Run& run, std::size_t input, const Sheets* sheets, std::unique_ptr<LineReader> reader,
             unsigned long& nextPage)
        : settings_(run.settings),
          name_(run.name),
          files_(run.files),
          owner_(input),
          input_(run.settings.inputs[input]),
          sheets_(sheets),
          nextPage_(nextPage),
          reader_(std::move(reader)),
          progress_(run.progress),
          automatic_(run.settings, input_, run.numbers),
          begin_(Now()) {
        if (progress_ != nullptr) {
            progress_->BeginFile(input, input_, reader_->PageCount());
        }
    }

    void Work() {
        if (sheets_ == nullptr) {
            DoPages();
            return;
        }
        try {
            DoPages();
        } catch (const Error& error) {
            KeepSheets(error);
        } catch (const std::bad_alloc&) {
            KeepSheets(Error(ExitCode::kFailed, "out of memory"));
        }
    }

  private:
    void DoPages() {
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
        } while (NextPage());
        if (!any) {
            throw NoSuchPage(page - 1);
        }
        // Whatever can fail comes before the output's appearance.
        std::string statistics = settings_.stats ? StatisticsText() : "";
        allPages_ = true;
        CommitWriter();
        if (inputsPage_ != nullptr) {
            inputsPage_->Commit();
        }
        PrintStatistics(std::move(statistics));
    }

    bool NextPage() {
        if (sheets_ != nullptr && sheets_->openEnded && name_.HasPage()) {
            const std::string path = name_.Make(input_, nextPage_);
            files_.Check("-o", path, owner_);
            CheckOutputPath(path, {.force = settings_.force});
        }
        return reader_->NextPage();
    }

    // The sheets before the one that failed can't be scanned again.
    [[noreturn]] void KeepSheets(const Error& error) {
        if (wholePages_ == 0 || allPages_) {
            throw error;
        }
        const std::string why =
            error.what()[0] == '\0' ? " was interrupted" : std::string(" failed: ") + error.what();
        const std::string number = std::to_string(firstPage_ + wholePages_);
        const std::string pages = std::to_string(wholePages_) + (wholePages_ == 1 ? " page" : " pages");
        try {
            sheets_->keeping();
            if (name_.HasPage()) {
                writer_.reset();  // each page has its file already
            } else {
                writer_->DropPage();
                CommitWriter();
            }
        } catch (const Error& lost) {
            throw Error(error.Code(),
                        "page " + number + why + "; the pages before it can't be kept: " + lost.what());
        }
        throw Error(error.Code(),
                    pages + " kept, page " + number + why +
                        (name_.HasPage() ? "; --first-page-number=" + number + " continues there" : ""));
    }

    bool Wanted(unsigned long page) const {
        return !settings_.pages || (page >= settings_.pages->first && page <= settings_.pages->last);
    }

    void Tell(const std::string& notice) const {
        if (settings_.verbose && !notice.empty()) {
            PrintMessage({input_, ": ", notice});
        }
    }

    void TellOnce(const PagePlan& plan) {
        if (plan.reducedTo8 && !toldReduction_) {
            PrintMessage({input_, ": 16-bit samples are reduced to 8 bits"});
            toldReduction_ = true;
        }
        if (!plan.leftOut.empty() && !toldLeftOut_) {
            PrintMessage({input_, ": ", plan.leftOut});
            toldLeftOut_ = true;
        }
    }

    void TellProgress(unsigned long page, std::uint32_t line, std::uint32_t height) {
        if (progress_ != nullptr) {
            progress_->Line(page, line, height);
        }
    }

    // For --stats without an output.
    void CountPage(unsigned long page) {
        std::optional<SpooledPage> spooled;
        if (settings_.AnyAutomatic()) {
            PlanPage(settings_, reader_->Info());  // what can't be done is refused
            FindNumbers(page, spooled);
        }
        const ImageInfo& info = reader_->Info();
        std::vector<std::uint8_t> line(info.LineBytes());
        for (std::uint32_t y = 0; info.height == 0 || y < info.height; ++y) {
            if (!ReadLine(info, spooled, line.data())) {
                break;
            }
            statistics_.Add(info, line.data());
            TellProgress(page, y + 1, info.height);
        }
        statistics_.EndPage();
    }

    // The page's own settings, where there are automatic ones.
    std::optional<Settings> FindNumbers(unsigned long page, std::optional<SpooledPage>& spooled) {
        std::string notice;
        PageNumbers numbers = automatic_.Find(*reader_, page, spooled, notice);
        Tell(notice);
        const std::string number = "page " + std::to_string(page) + ": ";
        for (const std::string& message : numbers.messages) {
            PrintMessage({input_, ": ", number, message});
        }
        if (numbers.settings) {
            std::string text;
            std::string json;
            for (const std::string& option : numbers.options) {
                text += " " + option;
                json += (json.empty() ? "" : ", ") + JsonText(option);
            }
            Tell(number + (text.empty() ? "no automatic setting changes it" : "found" + text));
            foundText_ += "found        " + number + (text.empty() ? "nothing" : text.substr(1)) + "\n";
            foundJson_ += std::string(foundJson_.empty() ? "" : ", ") + "{\"page\": " + std::to_string(page) +
                          ", \"options\": [" + json + "]}";
        }
        return std::move(numbers.settings);
    }

    void AdjustPage(unsigned long page) {
        if (settings_.output.empty()) {
            CountPage(page);
            return;
        }
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
        if (const auto own = FindNumbers(page, spooled)) {
            ImageInfo info = reader_->Info();
            info.height = spooled ? spooled->Height() : info.height;
            plan = PlanPage(*own, info);
        }
        for (const std::string& notice : plan.notices) {
            Tell(notice);
        }
        TellOnce(plan);
        OpenPage(plan);
        WriterStage end(*writer_);
        Pipeline pipeline(plan, end);
        std::vector<std::uint8_t> line(plan.input.LineBytes());
        for (std::uint32_t y = 0; plan.input.height == 0 || y < plan.input.height; ++y) {
            if (!ReadLine(plan.input, spooled, line.data())) {
                break;
            }
            if (settings_.stats) {
                statistics_.Add(plan.input, line.data());
            }
            pipeline.Take(line.data());
            TellProgress(page, y + 1, plan.input.height);
        }
        statistics_.EndPage();
        writer_->EndPage();
        Tell(writer_->Notice());
        if (isInput_) {
            inputsPage_ = std::move(writer_);
        } else if (name_.HasPage()) {
            CommitWriter();
        }
        ++wholePages_;
    }

    // The page's next line; false after the last one of a page whose height isn't known. Where reading fails, what
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
            if (writer_ != nullptr) {
                writer_->Settle();
            }
            throw;
        }
    }

    void OpenPage(const PagePlan& plan) {
        if (writer_ == nullptr) {
            WriteOptions options = MakeWriteOptions(settings_, reader_->FileContainer());
            const bool sameLayout = plan.input.bitsPerSample == plan.output.bitsPerSample &&
                                    plan.input.samplesPerPixel == plan.output.samplesPerPixel;
            options.tiffCompression = sameLayout ? reader_->TiffCompression() : 0;
            const std::string path = name_.Make(input_, nextPage_);
            Tell(LostMetadata(OutputContainer(path, options.container, options.inputContainer), plan.output));
            isInput_ = name_.HasPage() && files_.Claim("-o", path, owner_);
            writer_ = WithThread(OpenWriter(path, options), settings_);
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

    std::string StatisticsText() const {
        const double seconds = Now() - begin_;
        if (settings_.json) {
            std::string json = statistics_.Json(input_, seconds);
            if (!foundJson_.empty()) {
                json.pop_back();
                json += ", \"found\": [" + foundJson_ + "]}";
            }
            return json + "\n";
        }
        std::string text = input_ + ":\n";
        const std::string lines = statistics_.Text(seconds) + foundText_;
        for (std::size_t begin = 0; begin < lines.size();) {
            const std::size_t end = lines.find('\n', begin);
            text += "  " + lines.substr(begin, end + 1 - begin);
            begin = end + 1;
        }
        return text;
    }

    // On standard output, where no page may be; else on standard error.
    void PrintStatistics(std::string text) const {
        if (text.empty()) {
            return;
        }
        if (settings_.output.empty()) {
            PrintOutput(text);
        } else if (settings_.json) {
            PrintError(text);
        } else {
            text.pop_back();
            PrintMessage({text});
        }
    }

    const Settings& settings_;
    const OutputName& name_;
    RunFiles& files_;
    const std::size_t owner_;
    const std::string& input_;
    const Sheets* const sheets_;
    unsigned long& nextPage_;
    const unsigned long firstPage_ = nextPage_;
    std::unique_ptr<LineReader> reader_;
    std::unique_ptr<LineWriter> writer_;
    bool isInput_ = false;                    // the writer's name is the input's
    std::unique_ptr<LineWriter> inputsPage_;  // a page of several with the input's name, until all have been read
    unsigned long wholePages_ = 0;
    bool allPages_ = false;  // and what fails is no page
    Progress* const progress_;
    AutomaticPages automatic_;
    std::string foundText_;  // for --stats: what automatic settings came to, page by page
    std::string foundJson_;
    Statistics statistics_;
    bool toldReduction_ = false;
    bool toldLeftOut_ = false;
    const double begin_;
};

}  // namespace

bool ShowsProgress(const Settings& settings) {
    return settings.progress.value_or(isatty(STDERR_FILENO) != 0);
}

WriteOptions MakeWriteOptions(const Settings& settings, Container input) {
    WriteOptions options;
    options.container = settings.format;
    options.inputContainer = input;
    options.jpegQuality = settings.quality;
    options.compression = settings.compression;
    options.strictStream = settings.read.strictStream;
    options.force = settings.force;
    options.workers = CompressionWorkers(settings);
    return options;
}

void AdjustInput(const Run& run, std::size_t input, unsigned long& nextPage) {
    const std::string& path = run.settings.inputs[input];
    auto reader = WithThread(OpenReader(path, run.settings.read), path, run.settings);
    InputRun(run, input, nullptr, std::move(reader), nextPage).Work();
}

void AdjustSheets(const Run& run, const Sheets& sheets, std::unique_ptr<LineReader> reader,
                  unsigned long& nextPage) {
    InputRun(run, 0, &sheets, std::move(reader), nextPage).Work();
}

}  // namespace platen_tool
