#pragma once

#include <cstddef>
#include <cstdlib>

#include "Sources/Dispatch/Kernels.h"

namespace platen_test {

// Changes the kernel variant in the middle of a sequence, unless the environment chose one for the whole run; the
// one that there was comes back at the end.
class AnyVariant {
  public:
    AnyVariant() : before_(platen::Kernels()), free_(std::getenv("PLATEN_TEST_KERNELS") == nullptr) {}
    ~AnyVariant() {
        platen::UseKernels(before_);
    }
    AnyVariant(const AnyVariant&) = delete;
    AnyVariant& operator=(const AnyVariant&) = delete;

    void Use(std::size_t number) const {
        const auto variants = platen::AvailableKernels();
        if (free_) {
            platen::UseKernels(*variants[number % variants.size()]);
        }
    }

  private:
    const platen::KernelTable& before_;
    bool free_;
};

}  // namespace platen_test
