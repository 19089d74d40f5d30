// The sharpness filter: any record; where it is a valid one, Put, Get and changes of the kernel in any order,
// against a model that keeps the lines and computes finished ones by a second writing.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "LineFilters/SharpContext.h"
#include "LineFilters/Sharpness.h"
#include "Producer.h"
#include "Variants.h"
#include "tests/support/SharpTranscription.h"

namespace {

using platen_fuzz::Producer;
using Bytes = std::vector<std::uint8_t>;

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

class Model {
  public:
    Model(const _SSharpParam& param, const std::int32_t* kernel)
        : param_(param), out1_(param.rowBytes), out2_(param.rowBytes) {
        SetKernel(kernel);
    }

    void SetKernel(const std::int32_t* kernel) {
        std::memcpy(kernel_, kernel, sizeof kernel_);
    }

    void Put(const Bytes& line) {
        last_[0].swap(last_[1]);
        last_[1].swap(last_[2]);
        last_[2] = line;
        ++count_;
        if (count_ == 1) {
            ready_ = 0;
            return;
        }
        ready_ = 1;
        const std::size_t rows = count_ == 2 ? 2 : 3;
        Finish(out1_, rows, rows - 2);
        if (count_ == param_.height) {
            ready_ = 2;
            Finish(out2_, 2, 1);
        }
    }

    // What `line` holds after Get.
    void Get(Bytes& line) {
        if (count_ != param_.height || ready_ == 2) {
            line = out1_;
            ready_ = count_ != param_.height ? 0 : 1;
        } else if (ready_ == 1) {
            line = out2_;
            ready_ = 0;
        }
    }

    std::uint32_t Ready() const {
        return ready_;
    }

  private:
    // One line of the image that the last lines are.
    void Finish(Bytes& out, std::size_t rows, std::size_t wanted) const {
        const int samples = static_cast<int>(param_.bitsPerPixel / 8);
        platen_test::SharpImage image(static_cast<int>(param_.width), static_cast<int>(rows), samples);
        const std::size_t bytes = param_.width * (param_.bitsPerPixel / 8);
        for (std::size_t row = 0; row < rows; ++row) {
            std::memcpy(image.bytes.data() + row * bytes, last_[last_.size() - rows + row].data(), bytes);
        }
        const platen_test::SharpImage result = platen_test::SharpenedImage(image, kernel_);
        std::memcpy(out.data(), result.bytes.data() + wanted * bytes, bytes);
    }

    _SSharpParam param_;
    std::int32_t kernel_[10];
    std::array<Bytes, 3> last_;  // the newest behind
    std::uint32_t count_ = 0;
    Bytes out1_;
    Bytes out2_;
    std::uint32_t ready_ = 0;
};

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
