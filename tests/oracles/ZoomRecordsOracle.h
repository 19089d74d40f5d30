#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"

// The scaler's rules for any records, written a second time: the passes one by one, and the line pipeline made of
// them. Positions outside the line count as samples of 0; where numbers are whole, a weightSum of 0 gives 0.

namespace platen_test {

inline std::uint32_t RuleQuotient(std::uint32_t sum, std::int32_t divisor) {
    return divisor != 0 ? sum / static_cast<std::uint32_t>(divisor) : 0;
}

#if defined(__clang__) || defined(__GNUC__)
__attribute__((no_sanitize("float-divide-by-zero")))
#endif
inline std::uint32_t
RuleQuotient(double sum, std::int32_t divisor) {
    const double quotient = sum / static_cast<double>(divisor);
    if (!(quotient > 0.0)) {
        return 0;
    }
    return quotient >= 4294967296.0 ? 4294967295u : static_cast<std::uint32_t>(quotient);
}

template <class S>
S RuleSample(const S* line, std::size_t index) {
    S sample;
    std::memcpy(&sample, reinterpret_cast<const unsigned char*>(line) + index * sizeof sample, sizeof sample);
    return sample;
}

struct RuleAxis {
    int dst;
    int src;
};

template <class A, class S>
std::vector<std::uint32_t> RuleHorz(const PX_Zoom2_Param* columns, const RuleAxis& axis, int samples,
                                    const S* line) {
    std::vector<std::uint32_t> out;
    const auto at = [&](std::int64_t position, int s) {
        if (position < 0 || position >= axis.src) {
            return A{};
        }
        return static_cast<A>(RuleSample(line, static_cast<std::size_t>(position * samples + s)));
    };
    for (int c = 0; c < axis.dst; ++c) {
        const PX_Zoom2_Param& p = columns[c];
        for (int s = 0; s < samples; ++s) {
            A sum{};
            if (axis.dst == axis.src || axis.src == 1) {
                const int index = axis.src == 1 ? 0 : c * samples + s;
                out.push_back(RuleSample(line, static_cast<std::size_t>(index)));
                continue;
            }
            sum = at(p.start, s) * static_cast<A>(p.startWeight);
            if (axis.dst < axis.src) {
                for (std::int64_t k = std::int64_t{p.start} + 1; k <= p.wholeEnd; ++k) {
                    sum += at(k, s) * static_cast<A>(axis.dst);
                }
                if (p.endWeight != 0) {
                    sum += at(std::int64_t{p.wholeEnd} + 1, s) * static_cast<A>(p.endWeight);
                }
            } else {
                sum += at(std::int64_t{p.start} + 1, s) * static_cast<A>(p.endWeight);
            }
            out.push_back(RuleQuotient(sum, p.weightSum));
        }
    }
    return out;
}

template <class A>
void RuleAdd(std::vector<A>& acc, const std::vector<std::uint32_t>& line, int weight) {
    for (std::size_t k = 0; k < acc.size() && weight != 0; ++k) {
        acc[k] += static_cast<A>(line[k]) * static_cast<A>(weight);
    }
}

template <class S, class A>
std::vector<S> RuleReduce(const std::vector<A>& acc, int weightSum) {
    std::vector<S> out;
    for (const A number : acc) {
        out.push_back(static_cast<S>(RuleQuotient(number, weightSum)));
    }
    return out;
}

template <class A, class S>
std::vector<S> RuleExpand(const std::vector<std::uint32_t>& upper, const std::vector<std::uint32_t>& lower,
                          const PX_Zoom2_Param& p) {
    std::vector<S> out;
    for (std::size_t k = 0; k < upper.size(); ++k) {
        const A above = static_cast<A>(upper[k]) * static_cast<A>(p.startWeight);
        const A below = static_cast<A>(lower[k]) * static_cast<A>(p.endWeight);
        out.push_back(static_cast<S>(RuleQuotient(above + below, p.weightSum)));
    }
    return out;
}

// The line pipeline by its rules. Made from a scaler that is open and has taken no line; afterwards it has its own
// copies of the tables, which a test changes together with the scaler's.
class RulePipeline {
  public:
    explicit RulePipeline(const PX_ZoomBilinear& zoom)
        : columns(zoom.horzParam, zoom.horzParam + zoom.dstWidth),
          lines(zoom.vertParam, zoom.vertParam + zoom.dstHeight),
          width_{zoom.dstWidth, zoom.srcWidth},
          height_{zoom.dstHeight, zoom.srcHeight},
          samples_(zoom.bitsPerPixel % 3 == 0    ? 3
                   : zoom.bitsPerPixel % 32 == 0 ? 4
                                                 : 1),
          wide_(zoom.bitsPerPixel / samples_ == 16),
          horzDouble_(zoom.horzDouble == 1),
          vertDouble_(zoom.vertDouble == 1) {
        const auto count = static_cast<std::size_t>(zoom.dstWidth * samples_);
        work[0].resize(count);
        work[1].resize(count);
        sums.resize(count);
    }

    // A line of bytes or 16-bit samples; unpacked, where pixels are bits.
    void Send(const std::uint8_t* line) {
        if (height_.dst < height_.src) {
            Accumulate(line);
        } else {
            Buffer(line);
        }
        ++index;
    }

    std::vector<std::uint8_t> Read() {
        const auto bytes = wide_ ? Bytes(Result<std::uint16_t>()) : Result<std::uint8_t>();
        ++cursor;
        --ready;
        if (resend) {
            Accumulate(nullptr);
            ++index;
            resend = false;
        }
        return bytes;
    }

    std::vector<PX_Zoom2_Param> columns;
    std::vector<PX_Zoom2_Param> lines;
    std::vector<std::uint32_t> work[2];  // reducing: [0] stays empty where vertDouble is set
    std::vector<double> sums;
    int index = 0, cursor = 0, ready = 0, current = 0;
    bool resend = false;

  private:
    std::vector<std::uint32_t> Horz(const std::uint8_t* line) const {
        const auto* wide = reinterpret_cast<const std::uint16_t*>(line);
        if (horzDouble_) {
            return wide_ ? RuleHorz<double>(columns.data(), width_, samples_, wide)
                         : RuleHorz<double>(columns.data(), width_, samples_, line);
        }
        return wide_ ? RuleHorz<std::uint32_t>(columns.data(), width_, samples_, wide)
                     : RuleHorz<std::uint32_t>(columns.data(), width_, samples_, line);
    }

    void Accumulate(const std::uint8_t* line) {
        const PX_Zoom2_Param& p = lines[static_cast<std::size_t>(cursor)];
        if (!resend) {
            work[1] = Horz(line);
        }
        if (index == p.start) {
            work[0].assign(work[0].size(), 0);
            sums.assign(sums.size(), 0);
        }
        const int weight = index == p.start ? p.startWeight : index > p.wholeEnd ? p.endWeight : height_.dst;
        if (vertDouble_) {
            RuleAdd(sums, work[1], weight);
        } else {
            RuleAdd(work[0], work[1], weight);
        }
        if (index == p.emit) {
            if (p.endRemainder != 0) {
                resend = p.endWeight != height_.dst;
                --index;
            }
            ready = 1;
        }
    }

    void Buffer(const std::uint8_t* line) {
        work[current] = Horz(line);
        const bool first = index == 0;
        if (first ? height_.src == 1 || height_.src == height_.dst
                  : index >= lines[static_cast<std::size_t>(cursor)].start) {
            ready = lines[static_cast<std::size_t>(cursor)].emit;
        }
        if (height_.dst > height_.src && height_.src > 1) {
            current = 1 - current;
        }
    }

    template <class S>
    std::vector<S> Result() const {
        const PX_Zoom2_Param& p = lines[static_cast<std::size_t>(cursor)];
        if (height_.dst == height_.src) {
            return std::vector<S>(work[0].begin(), work[0].end());
        }
        if (height_.dst < height_.src) {
            return vertDouble_ ? RuleReduce<S>(sums, p.weightSum) : RuleReduce<S>(work[0], p.weightSum);
        }
        const auto& upper = work[current];
        const auto& lower = work[1 - current];
        return vertDouble_ ? RuleExpand<double, S>(upper, lower, p) : RuleExpand<std::uint32_t, S>(upper, lower, p);
    }

    static std::vector<std::uint8_t> Bytes(const std::vector<std::uint16_t>& samples) {
        std::vector<std::uint8_t> bytes(samples.size() * sizeof(std::uint16_t));
        std::memcpy(bytes.data(), samples.data(), bytes.size());
        return bytes;
    }

    RuleAxis width_;
    RuleAxis height_;
    int samples_;
    bool wide_;
    bool horzDouble_;
    bool vertDouble_;
};

}  // namespace platen_test
