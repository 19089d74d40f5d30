#include "LineFilters/Sharpness.h"

#include <cstdlib>
#include <cstring>

#include "LineFilters/SharpContext.h"
#include "LineFilters/SharpRow.h"
#include "Sources/Dispatch/Kernels.h"

const std::int32_t sfilterParamTable[5][11] = {
    {1, 1, 1, 1, 1, 1, 1, 1, 1, 9, -2},     {0, 1, 0, 1, 4, 1, 0, 1, 0, 8, -1},
    {0, -1, 0, -1, 12, -1, 0, -1, 0, 8, 1}, {0, -1, 0, -1, 8, -1, 0, -1, 0, 4, 2},
    {0, -3, 0, -3, 20, -3, 0, -3, 0, 8, 3},
};

namespace {

using platen::SharpContext;
using platen::SharpRowArgs;

constexpr std::int32_t kDone = 0;
constexpr std::int32_t kOutOfMemory = 1;
constexpr std::int32_t kInvalid = 3;

constexpr std::size_t kKernelWords = 10;
constexpr std::size_t kLevelWord = 10;

std::uint32_t SamplesOf(const _SSharpParam& param) {
    return param.bitsPerPixel == 24 ? 3 : 1;
}

bool IsValid(const _SSharpParam& param) {
    if (param.level == 0 || param.level < -2 || param.level > 3) {
        return false;
    }
    if (param.bitsPerPixel != 24 && param.bitsPerPixel != 8) {
        return false;
    }
    return param.width >= 3 && param.height != 0 && std::uint64_t{param.width} * SamplesOf(param) <= param.rowBytes;
}

void CopyKernel(std::int32_t* kernel, std::int32_t level) {
    for (const auto& entry : sfilterParamTable) {
        if (entry[kLevelWord] == level) {
            std::memcpy(kernel, entry, kKernelWords * sizeof *kernel);
        }
    }
}

std::uint8_t* NewLine(std::size_t rowBytes) {
    void* line = std::malloc(rowBytes);
    if (line != nullptr) {
        std::memset(line, 0, rowBytes);
    }
    return static_cast<std::uint8_t*>(line);
}

// All five are tried, even after a failure.
bool AllocateLines(SharpContext* context) {
    const std::size_t rowBytes = context->param->rowBytes;
    context->newestLine = NewLine(rowBytes);
    context->previousLine = NewLine(rowBytes);
    context->oldestLine = NewLine(rowBytes);
    context->outLine1 = NewLine(rowBytes);
    context->outLine2 = NewLine(rowBytes);
    return context->newestLine != nullptr && context->previousLine != nullptr && context->oldestLine != nullptr &&
           context->outLine1 != nullptr && context->outLine2 != nullptr;
}

// The context that a handle's address leads to, or null where it can't be used.
SharpContext* Usable(void** handle, const unsigned char* line) {
    if (handle == nullptr || *handle == nullptr || line == nullptr) {
        return nullptr;
    }
    auto* context = static_cast<SharpContext*>(*handle);
    return IsValid(*context->param) ? context : nullptr;
}

// The lines move, not the pointers: those never change.
void ShiftLines(SharpContext* context, const unsigned char* line) {
    const std::size_t rowBytes = context->param->rowBytes;
    std::memcpy(context->oldestLine, context->previousLine, rowBytes);
    std::memcpy(context->previousLine, context->newestLine, rowBytes);
    std::memcpy(context->newestLine, line, rowBytes);
}

// Both at once, in mid-image.
void ShiftAndFinish(SharpContext* context, const unsigned char* line, const std::int32_t* kernel) {
    platen::SharpPutArgs put{};
    put.oldest = context->oldestLine;
    put.previous = context->previousLine;
    put.newest = context->newestLine;
    put.line = line;
    put.rowBytes = context->param->rowBytes;
    put.kernel = kernel;
    put.width = context->param->width;
    put.samples = SamplesOf(*context->param);
    platen::Kernels().sharpPut(context->outLine1, put);
}

// The line in the middle by the top edge's rule: no row above.
void FinishEdge(std::uint8_t* out, const SharpContext* context, const std::int32_t* kernel) {
    SharpRowArgs row{};
    row.middle = context->previousLine;
    row.bottom = context->newestLine;
    row.kernel = kernel;
    row.width = context->param->width;
    row.samples = SamplesOf(*context->param);
    row.topEdge = true;
    platen::Kernels().sharpRow(out, row);
}

}  // namespace

std::int32_t SetupSharp(_SSharpParam* param, void** handle) {
    if (param == nullptr || handle == nullptr || !IsValid(*param)) {
        return kInvalid;
    }
    auto* copy = static_cast<_SSharpParam*>(std::malloc(sizeof(_SSharpParam)));
    if (copy == nullptr) {
        return kOutOfMemory;
    }
    *copy = *param;
    auto* context = static_cast<SharpContext*>(std::malloc(sizeof(SharpContext)));
    // Here and below, what was taken is left behind, as the header says.
    if (context == nullptr) {
        return kOutOfMemory;  // NOLINT(clang-analyzer-*)
    }
    *context = {};
    context->param = copy;
    context->kernel = static_cast<std::int32_t*>(std::malloc(kKernelWords * sizeof(std::int32_t)));
    if (context->kernel == nullptr) {
        return kOutOfMemory;  // NOLINT(clang-analyzer-*)
    }
    std::memset(context->kernel, 0, kKernelWords * sizeof(std::int32_t));
    CopyKernel(context->kernel, copy->level);
    if (!AllocateLines(context)) {
        return kOutOfMemory;
    }
    *handle = context;
    return kDone;
}

std::int32_t ApplySharpFilterPutLine(void** handle, unsigned char* line) {
    SharpContext* context = Usable(handle, line);
    if (context == nullptr) {
        return kInvalid;
    }
    std::int32_t kernel[kKernelWords];
    std::memcpy(kernel, context->kernel, sizeof kernel);
    ++context->linesIn;
    if (context->linesIn == 1) {
        ShiftLines(context, line);
        context->linesReady = 0;
        return kDone;
    }
    context->linesReady = 1;
    if (context->linesIn <= 2) {
        ShiftLines(context, line);
        FinishEdge(context->outLine1, context, kernel);
    } else {
        ShiftAndFinish(context, line, kernel);
    }
    if (context->linesIn == context->param->height) {
        // outLine1 holds the last line but one already; the last is the top edge's rule on the last two rows.
        context->linesReady = 2;
        FinishEdge(context->outLine2, context, kernel);
    }
    *handle = context;
    return kDone;
}

std::uint32_t GetSharpDstLines(void* handle) {
    return handle == nullptr ? 0 : static_cast<const SharpContext*>(handle)->linesReady;
}

std::int32_t ApplySharpFilterGetLine(void** handle, unsigned char* line) {
    SharpContext* context = Usable(handle, line);
    if (context == nullptr) {
        return kInvalid;
    }
    const std::size_t rowBytes = context->param->rowBytes;
    if (context->linesIn != context->param->height) {
        std::memcpy(line, context->outLine1, rowBytes);
        context->linesReady = 0;
    } else if (context->linesReady == 2) {
        std::memcpy(line, context->outLine1, rowBytes);
        context->linesReady = 1;
    } else if (context->linesReady == 1) {
        std::memcpy(line, context->outLine2, rowBytes);
        context->linesReady = 0;
    }
    *handle = context;
    return kDone;
}

void DisposeSharpness(void* handle) {
    auto* context = static_cast<SharpContext*>(handle);
    if (context == nullptr) {
        return;
    }
    const auto release = [](auto*& block) {
        std::free(block);
        block = nullptr;
    };
    release(context->param);
    release(context->kernel);
    release(context->newestLine);
    release(context->previousLine);
    release(context->oldestLine);
    release(context->outLine1);
    release(context->outLine2);
    std::free(context);
}
