// The SANE backend under any application: options set, read and reset in any order, with values of any kind, reads
// of any size, cancels anywhere; on a scanner that fails now and then. Run through SANE's own library.

#include <dlfcn.h>
#include <sane/sane.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Producer.h"
#include "programs/scan/SaneLibrary.h"

namespace {

using platen_fuzz::Producer;
using platen_tool::Sane;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

bool IsStatus(SANE_Status status) {
    return status >= SANE_STATUS_GOOD && status <= SANE_STATUS_ACCESS_DENIED;
}

// Once: a configuration of its own, in which the stand-in scanner is the only one.
void Configure() {
    static const std::string folder = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "platen-sane-XXXXXX").string();
        Require(mkdtemp(pattern.data()) != nullptr);
        std::ofstream(pattern + "/dll.conf") << "platen\n";
        std::ofstream(pattern + "/platen.conf") << "device standin:\n";
        setenv("SANE_CONFIG_DIR", pattern.c_str(), 1);
        setenv("LD_LIBRARY_PATH", PLATEN_BACKENDS, 1);
        setenv("XDG_CONFIG_HOME", pattern.c_str(), 1);
        setenv("XDG_DATA_HOME", pattern.c_str(), 1);
        Require(Sane().init(nullptr, nullptr) == SANE_STATUS_GOOD);
        return pattern;
    }();
    static const struct Remover {
        ~Remover() {
            std::filesystem::remove_all(folder);
        }
    } remover;
}

class Application {
  public:
    explicit Application(Producer& input) : input_(input) {
        if (Sane().open("platen:standin:", &handle_) != SANE_STATUS_GOOD) {
            handle_ = nullptr;
        }
    }
    ~Application() {
        if (handle_ != nullptr) {
            Sane().close(handle_);
        }
    }
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    void Step() {
        switch (input_.Take<std::uint8_t>() % 12) {
            case 0:
                return Check(Sane().start(handle_));
            case 1:
                Sane().cancel(handle_);
                return;
            case 2: {
                SANE_Parameters parameters{};
                const SANE_Status status = Sane().getParameters(handle_, &parameters);
                Check(status);
                Require(status != SANE_STATUS_GOOD || (parameters.bytes_per_line > 0 && parameters.lines >= -1 &&
                                                       parameters.pixels_per_line > 0));
                return;
            }
            case 3:
            case 4:
            case 5:
                return Read();
            case 6:
                return Check(Sane().setIoMode(handle_, input_.Flip() ? SANE_TRUE : SANE_FALSE));
            case 7: {
                SANE_Int descriptor = -1;
                return Check(Sane().getSelectFd(handle_, &descriptor));
            }
            default:
                return Control();
        }
    }
    bool IsOpen() const {
        return handle_ != nullptr;
    }

  private:
    static void Check(SANE_Status status) {
        Require(IsStatus(status));
    }

    void Read() {
        const auto room = static_cast<SANE_Int>(input_.Flip() ? input_.Between(0, 70) : input_.Between(0, 70000));
        std::vector<SANE_Byte> bytes(static_cast<std::size_t>(room) + 1, 0xA5);
        SANE_Int count = -1;
        const SANE_Status status = Sane().read(handle_, bytes.data(), room, &count);
        Check(status);
        Require(count >= -1 && count <= room && bytes.back() == 0xA5);
        Require(status == SANE_STATUS_GOOD || count <= 0);
    }

    void Control() {
        SANE_Int options = 0;
        if (Sane().controlOption(handle_, 0, SANE_ACTION_GET_VALUE, &options, nullptr) != SANE_STATUS_GOOD) {
            return;
        }
        const auto option = static_cast<SANE_Int>(input_.Between(-1, options + 1));
        const SANE_Option_Descriptor* const descriptor = Sane().getOptionDescriptor(handle_, option);
        const auto action = static_cast<SANE_Action>(input_.Take<std::uint8_t>() % 3);
        if (descriptor == nullptr || descriptor->type == SANE_TYPE_GROUP || descriptor->type == SANE_TYPE_BUTTON) {
            SANE_Word word = 0;
            return Check(Sane().controlOption(handle_, option, action, &word, nullptr));
        }
        // Exactly as large as the descriptor says.
        std::vector<SANE_Byte> value(static_cast<std::size_t>(descriptor->size));
        Require(!value.empty());
        if (action == SANE_ACTION_SET_VALUE) {
            TakeValue(*descriptor, value);
        }
        SANE_Int info = 0;
        const SANE_Status status = Sane().controlOption(handle_, option, action, value.data(), &info);
        Check(status);
        if (status == SANE_STATUS_GOOD && descriptor->type == SANE_TYPE_STRING && action == SANE_ACTION_GET_VALUE) {
            Require(std::memchr(value.data(), 0, value.size()) != nullptr);
        }
    }

    void TakeValue(const SANE_Option_Descriptor& descriptor, std::vector<SANE_Byte>& value) {
        const std::string name = descriptor.name != nullptr ? descriptor.name : "";
        if (descriptor.type == SANE_TYPE_STRING) {
            static const char* const kFaults[] = {"read 9 1",       "start 7 0", "read 5 3",
                                                  "parameters 4 0", "",          "control 3 2"};
            std::string text;
            const SANE_String_Const* list = descriptor.constraint.string_list;
            if (name == "fault") {  // none that hangs
                text = kFaults[input_.Take<std::uint8_t>() % std::size(kFaults)];
            } else if (descriptor.constraint_type == SANE_CONSTRAINT_STRING_LIST && list != nullptr &&
                       list[0] != nullptr) {
                std::size_t count = 0;
                while (list[count] != nullptr) {
                    ++count;
                }
                text = list[input_.Take<std::uint8_t>() % count];
            }
            if (name != "fault" && input_.Take<std::uint8_t>() % 4 == 0) {
                text.resize(input_.Take<std::uint8_t>() % value.size());
                input_.Fill(text.data(), text.size());
            }
            text.resize(std::min(text.size(), value.size() - 1));
            std::memcpy(value.data(), text.c_str(), text.size() + 1);
            return;
        }
        for (std::size_t at = 0; at + sizeof(SANE_Word) <= value.size(); at += sizeof(SANE_Word)) {
            SANE_Word word =
                input_.Flip() ? input_.Take<SANE_Word>() : static_cast<SANE_Word>(input_.Between(-110, 310));
            if (descriptor.type == SANE_TYPE_BOOL) {
                word = word % 3;
            } else if (descriptor.type == SANE_TYPE_FIXED && input_.Flip()) {
                word = static_cast<SANE_Word>(static_cast<std::uint32_t>(word) << 16);
            }
            std::memcpy(&value[at], &word, sizeof word);
        }
    }

    Producer& input_;
    SANE_Handle handle_ = nullptr;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Configure();
    Producer input(data, size);
    Application application(input);
    for (int step = 0; application.IsOpen() && step < 80 && input.Left() != 0; ++step) {
        application.Step();
    }
    return 0;
}
