// The sharpness filter: any record; where it is a valid one, Put, Get and changes of the kernel in any order,
// against the oracle of a stream of lines.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "LineFilters/SharpContext.h"
#include "LineFilters/Sharpness.h"
#include "Producer.h"
#include "Variants.h"
#include "tests/oracles/SharpOracle.h"

namespace {

using platen_fuzz::Producer;
using Bytes = std::vector<std::uint8_t>;
using Model = platen_test::SharpStreamOracle;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

_SSharpParam TakeRecord(Producer& producer) {
    _SSharpParam param{};
    param.level = static_cast<std::int32_t>(producer.Between(-3, 4));
    param.bitsPerPixel = producer.Flip() ? 24 : 8;
    param.width = static_cast<std::uint32_t>(producer.Between(2, 150));
    param.height = static_cast<std::uint32_t>(producer.Between(0, 9));
    param.rowBytes =
        param.width * (param.bitsPerPixel / 8) + static_cast<std::uint32_t>(producer.Between(0, 7)) - 1;
    switch (producer.Take<std::uint8_t>() % 16) {  // some fields at random, but not the size of a line
        case 13:
            param.level = producer.Take<std::int32_t>();
            break;
        case 14:
            param.bitsPerPixel = producer.Take<std::uint32_t>();
            break;
        case 15:
            param.width = producer.Take<std::uint32_t>();
            break;
        default:
            break;
    }
    return param;
}

bool ShouldBeTaken(const _SSharpParam& p) {
    const bool level = p.level == -2 || p.level == -1 || p.level == 1 || p.level == 2 || p.level == 3;
    const bool layout = p.bitsPerPixel == 8 || p.bitsPerPixel == 24;
    const bool sizes = p.width > 2 && p.height > 0 && p.rowBytes > 0;
    return level && layout && sizes && p.rowBytes / (p.bitsPerPixel / 8) >= p.width;
}

// Weights of the host's own, such that no sum leaves 32 bits.
void TakeKernel(Producer& producer, std::int32_t* kernel) {
    for (int i = 0; i < 9; ++i) {
        kernel[i] = static_cast<std::int32_t>(producer.Between(-100000, 100000));
    }
    const std::int32_t divisor = producer.Take<std::int32_t>();
    kernel[9] = divisor == 0 ? 1 : divisor;
}

void Put(void** handle, Model& model, Producer& producer, std::size_t rowBytes) {
    Bytes line(rowBytes);
    producer.Fill(line.data(), line.size());
    model.Put(line);
    Require(ApplySharpFilterPutLine(handle, line.data()) == 0);
}

void Get(void** handle, Model& model, std::size_t rowBytes) {
    Bytes got(rowBytes, 0xA5);
    Bytes expected = got;
    model.Get(expected);
    Require(ApplySharpFilterGetLine(handle, got.data()) == 0);
    Require(got == expected);
}

// Words without any range: the values are nobody's business, but nothing may go wrong.
void RunWithWildKernel(void** handle, Producer& producer, std::size_t rowBytes) {
    producer.Fill(static_cast<platen::SharpContext*>(*handle)->kernel, 40);
    Bytes line(rowBytes);
    for (int i = 0; i < 4; ++i) {
        producer.Fill(line.data(), line.size());
        Require(ApplySharpFilterPutLine(handle, line.data()) == 0);
        Require(ApplySharpFilterGetLine(handle, line.data()) == 0);
    }
}

void RunCalls(void** handle, const _SSharpParam& param, Producer& producer) {
    auto* context = static_cast<platen::SharpContext*>(*handle);
    Model model(param, context->kernel);
    for (int calls = 0; calls < 40 && producer.Left() != 0; ++calls) {
        switch (producer.Take<std::uint8_t>() % 8) {
            case 0:
                TakeKernel(producer, context->kernel);
                model.SetKernel(context->kernel);
                break;
            case 1:
            case 2:
            case 3:
                Get(handle, model, param.rowBytes);
                break;
            default:
                Put(handle, model, producer, param.rowBytes);
                break;
        }
        Require(GetSharpDstLines(*handle) == model.Ready());
    }
}

int RunInput(const std::uint8_t* data, std::size_t size) {
    Producer producer(data, size);
    _SSharpParam param = TakeRecord(producer);
    void* handle = nullptr;
    const std::int32_t status = SetupSharp(&param, &handle);
    Require(status == (ShouldBeTaken(param) ? 0 : 3));
    if (status != 0) {
        Require(handle == nullptr);
        return 0;
    }
    if (producer.Take<std::uint8_t>() % 8 == 0) {
        RunWithWildKernel(&handle, producer, param.rowBytes);
    } else {
        RunCalls(&handle, param, producer);
    }
    DisposeSharpness(handle);
    return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return platen_fuzz::RunWithEachVariant(RunInput, data, size);
}
