#include "programs/io/TiffHandle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

#include "programs/io/Spool.h"

namespace platen_tool {

namespace {
// What the codec may take in one piece; a compressed strip is read whole, so this bounds it.
constexpr tmsize_t kMostBytesAtOnce = 256 << 20;

// Without memory for its table of fields, or for the list of values of fields that it doesn't know, the codec looks
// into them all the same. It can't return an error, so the program ends here, by its terminate handler.
[[noreturn]] void EndWithoutMemory() {
    try {
        throw std::bad_alloc();
    } catch (...) {
        std::terminate();
    }
}

}  // namespace

TiffHandle::TiffHandle(const TiffSource& source)
    : descriptor_(source.descriptor), start_(source.start), disguise_(source.disguise) {
    Open("rhm");
}

TiffHandle::TiffHandle(int descriptor, OutputFile* output) : descriptor_(descriptor), output_(output) {
    Open("wlm");
}

void TiffHandle::Open(const char* mode) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options == nullptr) {
        throw Error(ExitCode::kFailed, "out of memory");
    }
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMostBytesAtOnce);
    TIFFOpenOptionsSetErrorHandlerExtR(options, OnError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options, OnWarning, this);
    tiff_ =
        TIFFClientOpenExt("TIFF", mode, this, OnRead, OnWrite, OnSeek, OnClose, OnSize, nullptr, nullptr, options);
    TIFFOpenOptionsFree(options);
    if (tiff_ == nullptr) {
        if (output_ != nullptr) {
            output_->CheckWriteError();
        }
        throw Error(ExitCode::kFailed, std::string("the TIFF can't be opened: ") + text_);
    }
}

TiffHandle::~TiffHandle() {
    if (tiff_ != nullptr) {
        TIFFSetMode(tiff_, O_RDONLY);  // what an unfinished file would still get is not written, and not even made
        TIFFClose(tiff_);
    }
}

void TiffHandle::Expect() {
    complained_ = false;
    text_[0] = '\0';
}

void TiffHandle::Check(bool succeeded, const char* what) {
    if (!succeeded || complained_) {
        Fail(what);
    }
}

void TiffHandle::CheckMessages(const char* what) {
    if (complained_) {
        Fail(what);
    }
}

void TiffHandle::Fail(const char* what) {
    if (output_ != nullptr) {
        output_->CheckWriteError();
    }
    throw Error(ExitCode::kFailed, std::string(what) + (text_[0] == '\0' ? "" : ": ") + text_);
}

void TiffHandle::Close() {
    Expect();
    TIFFClose(tiff_);
    tiff_ = nullptr;
    CheckMessages("the TIFF can't be written");
}

// The first complaint names the cause, later ones its consequences.
void TiffHandle::Keep(const char* format, std::va_list arguments) {
    if (!complained_) {
        std::vsnprintf(text_, sizeof text_, format, arguments);
        complained_ = true;
    }
}

// The codec takes no answer for an empty file, and would write over what there is.
void TiffHandle::KeepNoSize(int error) {
    if (output_ != nullptr) {
        output_->SetWriteError(error, descriptor_ == output_->Descriptor() ? nullptr : "the temporary file");
    } else if (!complained_) {
        std::snprintf(text_, sizeof text_, "its size can't be read: %s", std::strerror(error));
        complained_ = true;
    }
}

int TiffHandle::OnError(TIFF*, void* user, const char*, const char* format, std::va_list arguments) {
    for (const char* list : {"fields array", "custom values"}) {
        if (std::strstr(format, list) != nullptr) {
            EndWithoutMemory();
        }
    }
    static_cast<TiffHandle*>(user)->Keep(format, arguments);
    return 1;
}

int TiffHandle::OnWarning(TIFF*, void* user, const char* module, const char* format, std::va_list arguments) {
    auto* self = static_cast<TiffHandle*>(user);
    // An old form of LZW, which is read correctly all the same. Warnings to a writer are a matter of style.
    const bool harmless = module != nullptr && std::strcmp(module, "LZWPreDecode") == 0;
    if (!harmless && self->output_ == nullptr) {
        self->Keep(format, arguments);
    }
    return 1;
}

tmsize_t TiffHandle::OnRead(thandle_t user, void* bytes, tmsize_t count) {
    auto* self = static_cast<TiffHandle*>(user);
    const std::size_t got =
        ReadFully(self->descriptor_, self->start_ + self->position_, bytes, static_cast<std::size_t>(count));
    if (self->disguise_ != nullptr) {
        self->disguise_->Apply(self->position_, static_cast<std::uint8_t*>(bytes), got);
    }
    self->position_ += got;
    return static_cast<tmsize_t>(got);
}

tmsize_t TiffHandle::OnWrite(thandle_t user, void* bytes, tmsize_t count) {
    auto* self = static_cast<TiffHandle*>(user);
    if (self->output_ == nullptr) {
        return 0;
    }
    const int failure = WriteFully(self->descriptor_, self->position_, bytes, static_cast<std::size_t>(count));
    if (failure != 0) {
        const bool own = self->descriptor_ == self->output_->Descriptor();
        self->output_->SetWriteError(failure, own ? nullptr : "the temporary file");
        return 0;
    }
    self->position_ += static_cast<std::uint64_t>(count);
    return count;
}

std::uint64_t TiffHandle::OnSeek(thandle_t user, std::uint64_t offset, int whence) {
    auto* self = static_cast<TiffHandle*>(user);
    const std::uint64_t base = whence == SEEK_CUR ? self->position_ : whence == SEEK_END ? OnSize(user) : 0;
    self->position_ = base + offset;
    return self->position_;
}

std::uint64_t TiffHandle::OnSize(thandle_t user) {
    auto* self = static_cast<TiffHandle*>(user);
    struct stat status {};
    if (fstat(self->descriptor_, &status) != 0) {
        self->KeepNoSize(errno);
        return 0;
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    return size > self->start_ ? size - self->start_ : 0;
}

int TiffHandle::OnClose(thandle_t) {
    return 0;
}

}  // namespace platen_tool
