#include "programs/io/ColourTransform.h"

#include <lcms2.h>
#include <lcms2_plugin.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "programs/base/Error.h"
#include "programs/io/CodecGuard.h"

namespace platen_tool {

namespace {

// A hostile profile may ask for any amount.
constexpr std::size_t kMostBytesAtOnce = 32 << 20;

constexpr std::size_t kSpaceAt = 16;  // of a profile's header: its colours

// Before each block that Little-CMS holds. Once it has a context its blocks are linked in a ring.
struct alignas(std::max_align_t) Block {
    Block* before = this;
    Block* after = this;

    void Link(Block* ring) {
        before = ring;
        after = ring->after;
        after->before = this;
        ring->after = this;
    }
    void Unlink() {
        before->after = after;
        after->before = before;
        before = after = this;
    }
};

// Little-CMS doesn't survive a lack of memory everywhere, and elsewhere goes on with other results. So where there
// is none it is left at once, and the blocks that it held are freed.
thread_local CodecGuard* currentGuard = nullptr;
thread_local Block* currentRing = nullptr;

void* OnMalloc(cmsContext, cmsUInt32Number bytes) {
    void* memory = bytes <= kMostBytesAtOnce ? std::malloc(sizeof(Block) + bytes) : nullptr;
    if (memory == nullptr) {
        if (currentGuard != nullptr) {
            currentGuard->Fail("out of memory");
        }
        return nullptr;
    }
    auto* block = new (memory) Block;
    if (currentRing != nullptr) {
        block->Link(currentRing);
    }
    return block + 1;
}

void OnFree(cmsContext, void* bytes) {
    if (bytes != nullptr) {
        Block* block = static_cast<Block*>(bytes) - 1;
        block->Unlink();
        std::free(block);
    }
}

void* OnRealloc(cmsContext context, void* bytes, cmsUInt32Number wanted) {
    if (bytes == nullptr) {
        return OnMalloc(context, wanted);
    }
    Block* block = static_cast<Block*>(bytes) - 1;
    Block* ring = block->before != block ? block->before : nullptr;
    block->Unlink();
    void* memory = wanted <= kMostBytesAtOnce ? std::realloc(block, sizeof(Block) + wanted) : nullptr;
    if (memory != nullptr) {
        block = new (memory) Block;
    }
    if (ring != nullptr) {
        block->Link(ring);
    }
    if (memory == nullptr && currentGuard != nullptr) {
        currentGuard->Fail("out of memory");
    }
    return memory != nullptr ? block + 1 : nullptr;
}

// The plug-ins' records are changed by nobody.
cmsPluginMemHandler kMemory = {{cmsPluginMagicNumber, 2060, cmsPluginMemHandlerSig, nullptr},
                               OnMalloc,
                               OnFree,
                               OnRealloc,
                               nullptr,
                               nullptr,
                               nullptr};

void OnMessage(cmsContext, cmsUInt32Number, const char*) {}

// A profile may have any number there: it isn't looked at as one of the enumeration.
std::string SpaceName(cmsUInt32Number space) {
    switch (space) {
        case cmsSigRgbData:
            return "RGB";
        case cmsSigGrayData:
            return "grey";
        case cmsSigCmykData:
            return "CMYK";
        case cmsSigLabData:
            return "Lab";
        default:
            return "other colours";
    }
}

// The Lab number of a TIFF as that of ICC's older encoding, which counts a and b from -128 up.
void ToIccLab8(std::uint8_t* line, std::size_t pixels) {
    for (std::size_t i = 0; i < 3 * pixels; ++i) {
        line[i] = static_cast<std::uint8_t>(i % 3 == 0 ? line[i] : line[i] ^ 0x80);
    }
}

// All that the guarded steps touch. Nothing in it has a destructor.
struct TransformState {
    CodecGuard guard;
    Block ring;
    ColourTransform::From from = ColourTransform::From::kCmyk8;
    const std::uint8_t* profile = nullptr;
    std::size_t profileBytes = 0;
    cmsContext context = nullptr;
    bool opened = false;
    cmsUInt32Number space = cmsSigCmykData;
    char name[80] = "";  // the profile's own
    cmsHTRANSFORM transform = nullptr;
    const void* in = nullptr;
    void* out = nullptr;
    cmsUInt32Number pixels = 0;

    bool Lab() const {
        return from == ColourTransform::From::kLab8 || from == ColourTransform::From::kLab16;
    }
    bool Deep() const {
        return from == ColourTransform::From::kCmyk16 || from == ColourTransform::From::kLab16;
    }
};

void Create(void* pointer) {
    auto* state = static_cast<TransformState*>(pointer);
    state->context = cmsCreateContext(&kMemory, nullptr);
    if (state->context == nullptr) {
        state->guard.Fail("out of memory");
    }
    currentRing = &state->ring;
    cmsSetLogErrorHandlerTHR(state->context, OnMessage);
    cmsHPROFILE input = state->Lab() ? cmsCreateLab2ProfileTHR(state->context, nullptr)
                                     : cmsOpenProfileFromMemTHR(state->context, state->profile,
                                                                static_cast<cmsUInt32Number>(state->profileBytes));
    state->opened = input != nullptr;
    if (!state->opened) {
        return;
    }
    if (!state->Lab()) {
        cmsGetProfileInfoASCII(input, cmsInfoDescription, "en", "US", state->name, sizeof state->name);
        state->name[sizeof state->name - 1] = 0;
        const std::uint8_t* space = state->profile + kSpaceAt;  // the header is there, or it weren't open
        state->space = static_cast<cmsUInt32Number>(space[0]) << 24 | static_cast<cmsUInt32Number>(space[1]) << 16 |
                       static_cast<cmsUInt32Number>(space[2]) << 8 | space[3];
    }
    if (state->Lab() || state->space == cmsSigCmykData) {
        constexpr cmsUInt32Number kFormats[] = {TYPE_CMYK_8, TYPE_CMYK_8_REV, TYPE_CMYK_16, TYPE_Lab_8,
                                                TYPE_Lab_DBL};
        cmsHPROFILE output = cmsCreate_sRGBProfileTHR(state->context);
        state->transform =
            cmsCreateTransformTHR(state->context, input, kFormats[static_cast<int>(state->from)], output,
                                  state->Deep() ? TYPE_RGB_16 : TYPE_RGB_8, INTENT_PERCEPTUAL,
                                  cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_HIGHRESPRECALC);
        cmsCloseProfile(output);
    }
    cmsCloseProfile(input);
}

void Convert(void* pointer) {
    auto* state = static_cast<TransformState*>(pointer);
    cmsDoTransform(state->transform, state->in, state->out, state->pixels);
}

}  // namespace

struct ColourTransform::State {
    ~State() {
        if (lcms.transform != nullptr) {
            cmsDeleteTransform(lcms.transform);
        }
        if (lcms.context != nullptr) {
            cmsDeleteContext(lcms.context);
        }
    }

    void Run(CodecGuard::Step step) {
        currentGuard = &lcms.guard;
        currentRing = lcms.context != nullptr ? &lcms.ring : nullptr;
        const bool done = lcms.guard.Run(step, &lcms);
        currentGuard = nullptr;
        currentRing = nullptr;
        if (!done) {
            lcms.transform = nullptr;  // in no state to be ended
            while (lcms.ring.after != &lcms.ring) {
                OnFree(nullptr, lcms.ring.after + 1);
            }
            throw Error(ExitCode::kFailed, lcms.guard.text);
        }
    }

    // In printable ASCII.
    std::string Name() const {
        std::string name = lcms.name;
        std::replace_if(
            name.begin(), name.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
        return name;
    }

    TransformState lcms;
    std::vector<double> lab;  // of a line of 16-bit numbers
};

ColourTransform::ColourTransform(From from, const std::vector<std::uint8_t>& profile, const std::string& file)
    : state_(new State) {
    const char* wanted = "; converting it to RGB needs an embedded CMYK profile";
    TransformState& lcms = state_->lcms;
    lcms.from = from;
    lcms.profile = profile.data();
    lcms.profileBytes = profile.size();
    if (!lcms.Lab() && profile.empty()) {
        throw Error(ExitCode::kUnsupported, file + " is CMYK without a profile" + wanted);
    }
    state_->Run(Create);
    if (!lcms.opened) {
        throw Error(ExitCode::kUnsupported, file + " is CMYK and its profile is damaged" + wanted);
    }
    const std::string named = file + " is CMYK and its profile '" + state_->Name() + "'";
    if (lcms.space != cmsSigCmykData) {
        throw Error(ExitCode::kUnsupported, named + " is of " + SpaceName(lcms.space) + wanted);
    }
    if (lcms.transform == nullptr) {
        throw Error(ExitCode::kUnsupported, named + " can't convert it to RGB");
    }
}

ColourTransform::~ColourTransform() = default;

std::size_t ColourTransform::Samples() const {
    return state_->lcms.Lab() ? 3 : 4;
}

std::size_t ColourTransform::SampleBytes() const {
    return state_->lcms.Deep() ? 2 : 1;
}

void ColourTransform::Apply(std::uint8_t* in, std::uint8_t* out, std::size_t pixels) {
    TransformState& lcms = state_->lcms;
    lcms.in = in;
    lcms.out = out;
    lcms.pixels = static_cast<cmsUInt32Number>(pixels);
    if (lcms.from == From::kLab8) {
        ToIccLab8(in, pixels);
    } else if (lcms.from == From::kLab16) {
        state_->lab.resize(3 * pixels);
        for (std::size_t i = 0; i < 3 * pixels; ++i) {
            std::uint16_t sample = 0;
            std::memcpy(&sample, in + 2 * i, 2);
            state_->lab[i] = i % 3 == 0 ? sample * 100.0 / 65535.0 : static_cast<std::int16_t>(sample) / 256.0;
        }
        lcms.in = state_->lab.data();
    }
    state_->Run(Convert);
}

std::string ColourTransform::Notice() const {
    return state_->lcms.Lab() ? "CIE L*a*b* is converted to sRGB"
                              : "CMYK is converted to sRGB by the profile '" + state_->Name() + "'";
}

}  // namespace platen_tool
