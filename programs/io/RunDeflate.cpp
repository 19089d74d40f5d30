#include "programs/io/RunDeflate.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <span>

namespace platen_tool {

namespace {

// Numbers of RFC 1951.
constexpr int kLiterals = 256;
constexpr int kEndOfBlock = 256;
constexpr int kLengthCodes = 286;
constexpr int kCodeLengthCodes = 19;
constexpr int kMostBits = 15;
constexpr int kMostCodeLengthBits = 7;
constexpr std::size_t kShortestRun = 3;
constexpr std::size_t kLongestRun = 258;
constexpr std::size_t kLongestStored = 65535;

constexpr std::size_t kBlockBytes = kLongestStored;  // each has Huffman codes of its own

// A run's length is told by a code and some extra bits (RFC 1951, 3.2.5).
constexpr int ExtraBits(int code) {
    return code < 265 || code == 285 ? 0 : (code - 261) / 4;
}
struct RunCode {
    std::uint16_t code = 0;
    std::uint8_t extraBits = 0;
    std::uint8_t extra = 0;
};

constexpr std::array<RunCode, kLongestRun - kShortestRun + 1> MakeRunCodes() {
    std::array<RunCode, kLongestRun - kShortestRun + 1> codes{};
    std::size_t length = 0;
    for (int code = 257; code < 285; ++code) {
        const int extraBits = ExtraBits(code);
        for (int extra = 0; extra < 1 << extraBits; ++extra) {
            codes[length++] = {static_cast<std::uint16_t>(code), static_cast<std::uint8_t>(extraBits),
                               static_cast<std::uint8_t>(extra)};
        }
    }
    codes[kLongestRun - kShortestRun] = {285, 0, 0};  // has a code of its own, in place of 284's last
    return codes;
}
constexpr auto kRunCodes = MakeRunCodes();

// Literals are tokens 0 to 255, runs 256 and their length less 3.
using Token = std::uint16_t;
constexpr std::size_t kTokens = kLiterals + kRunCodes.size();

// Appends bits, the first one lowest. There must be 8 bytes of room past what is written.
class BitWriter {
  public:
    explicit BitWriter(std::uint8_t* out) : out_(out) {}

    // At most 56 bits may wait between two calls of Flush.
    void Put(std::uint64_t bits, int count) {
        waiting_ |= bits << count_;
        count_ += count;
    }
    void Flush() {
        if constexpr (std::endian::native == std::endian::little) {
            std::memcpy(out_, &waiting_, sizeof waiting_);
        } else {
            for (int i = 0; i < 8; ++i) {
                out_[i] = static_cast<std::uint8_t>(waiting_ >> (8 * i));
            }
        }
        out_ += count_ / 8;
        waiting_ >>= count_ / 8 * 8;
        count_ %= 8;
    }
    std::uint8_t* AlignToByte() {
        count_ = (count_ + 7) / 8 * 8;
        Flush();
        return out_;
    }

  private:
    std::uint8_t* out_;
    std::uint64_t waiting_ = 0;
    int count_ = 0;
};

// Lengths of a Huffman code for the symbols that occur, in bits, 0 for the others. At least two symbols occur.
// Where a code gets longer than allowed the counts are flattened until it doesn't.
void MakeLengths(std::span<const std::uint32_t> counts, int mostBits, std::span<std::uint8_t> lengths) {
    std::array<std::uint32_t, kLengthCodes> weights{};
    std::copy(counts.begin(), counts.end(), weights.begin());
    std::array<std::uint16_t, kLengthCodes> symbols{};
    std::size_t used = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        lengths[i] = 0;
        if (counts[i] != 0) {
            symbols[used++] = static_cast<std::uint16_t>(i);
        }
    }
    for (;;) {
        std::sort(symbols.begin(), symbols.begin() + static_cast<std::ptrdiff_t>(used), [&](int a, int b) {
            return weights[static_cast<std::size_t>(a)] != weights[static_cast<std::size_t>(b)]
                       ? weights[static_cast<std::size_t>(a)] < weights[static_cast<std::size_t>(b)]
                       : a < b;
        });
        // Leaves first, by rising weight; inner nodes follow and rise by themselves.
        std::array<std::uint32_t, 2 * kLengthCodes> weight{};
        std::array<std::uint16_t, 2 * kLengthCodes> parent{};
        for (std::size_t i = 0; i < used; ++i) {
            weight[i] = weights[symbols[i]];
        }
        std::size_t leaf = 0;
        std::size_t inner = used;
        for (std::size_t node = used; node < 2 * used - 1; ++node) {
            for (int child = 0; child < 2; ++child) {
                const bool takeLeaf = leaf < used && (inner == node || weight[leaf] <= weight[inner]);
                const std::size_t lightest = takeLeaf ? leaf++ : inner++;
                weight[node] += weight[lightest];
                parent[lightest] = static_cast<std::uint16_t>(node);
            }
        }
        std::array<std::uint8_t, 2 * kLengthCodes> depth{};
        for (std::size_t node = 2 * used - 2; node-- > 0;) {
            depth[node] = static_cast<std::uint8_t>(depth[parent[node]] + 1);
        }
        if (depth[0] <= mostBits) {
            for (std::size_t i = 0; i < used; ++i) {
                lengths[symbols[i]] = depth[i];
            }
            return;
        }
        for (std::size_t i = 0; i < used; ++i) {
            weights[symbols[i]] = (weights[symbols[i]] + 1) / 2;
        }
    }
}

// The codes that belong to the lengths (RFC 1951, 3.2.2), turned round for BitWriter.
void MakeCodes(std::span<const std::uint8_t> lengths, std::span<std::uint16_t> codes) {
    std::array<std::uint32_t, kMostBits + 2> next{};
    for (const std::uint8_t length : lengths) {
        next[length + 1u] += length != 0 ? 1 : 0;
    }
    for (std::size_t bits = 1; bits < next.size(); ++bits) {
        next[bits] = (next[bits] + next[bits - 1]) << (bits > 1 ? 1 : 0);
    }
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        std::uint32_t code = lengths[i] != 0 ? next[lengths[i]]++ : 0;
        std::uint32_t turned = 0;
        for (int bit = 0; bit < lengths[i]; ++bit, code >>= 1) {
            turned = turned << 1 | (code & 1);
        }
        codes[i] = static_cast<std::uint16_t>(turned);
    }
}

// The code lengths as the block's header tells them: 0 to 15, or a repetition (16 to 18) with its extra bits.
struct HeaderSymbol {
    std::uint8_t symbol;
    std::uint8_t extraBits;
    std::uint8_t extra;
};

std::size_t PackLengths(std::span<const std::uint8_t> lengths, HeaderSymbol* out) {
    std::size_t symbols = 0;
    for (std::size_t i = 0; i < lengths.size();) {
        std::size_t run = 1;
        while (i + run < lengths.size() && lengths[i + run] == lengths[i]) {
            ++run;
        }
        if (lengths[i] == 0 && run >= 3) {
            run = std::min<std::size_t>(run, 138);
            const bool shortRun = run <= 10;
            out[symbols++] = {static_cast<std::uint8_t>(shortRun ? 17 : 18),
                              static_cast<std::uint8_t>(shortRun ? 3 : 7),
                              static_cast<std::uint8_t>(run - (shortRun ? 3 : 11))};
        } else if (run >= 4) {
            run = std::min<std::size_t>(run, 7);
            out[symbols++] = {lengths[i], 0, 0};
            out[symbols++] = {16, 2, static_cast<std::uint8_t>(run - 4)};
        } else {
            run = 1;
            out[symbols++] = {lengths[i], 0, 0};
        }
        i += run;
    }
    return symbols;
}

// One block's tokens and how often each symbol occurs.
struct Tokens {
    std::array<Token, kBlockBytes> tokens;
    std::size_t count;
    std::array<std::uint32_t, kLengthCodes> symbols;
};

// `before` is the byte before the block, or -1.
void Tokenise(const std::uint8_t* bytes, std::size_t count, int before, Tokens& out) {
    std::array<std::uint32_t, kTokens> seen{};
    Token* next = out.tokens.data();
    for (std::size_t i = 0; i < count;) {
        const std::uint8_t byte = bytes[i];
        if (byte == before) {
            const std::size_t most = std::min(count - i, kLongestRun);
            std::size_t run = 1;
            while (run < most && bytes[i + run] == byte) {
                ++run;
            }
            if (run >= kShortestRun) {
                const auto token = static_cast<Token>(kLiterals + run - kShortestRun);
                ++seen[token];
                *next++ = token;
                i += run;
                continue;
            }
        }
        ++seen[byte];
        *next++ = byte;
        before = byte;
        ++i;
    }
    out.count = static_cast<std::size_t>(next - out.tokens.data());
    out.symbols = {};
    std::copy_n(seen.begin(), kLiterals, out.symbols.begin());
    out.symbols[kEndOfBlock] = 1;
    for (std::size_t run = 0; run < kRunCodes.size(); ++run) {
        out.symbols[kRunCodes[run].code] += seen[kLiterals + run];
    }
}

// A block's Huffman codes and the header that tells them.
struct BlockCodes {
    std::array<std::uint8_t, kLengthCodes + 1> lengths;  // the symbols', then the one distance's
    std::array<std::uint16_t, kLengthCodes> codes;
    std::array<HeaderSymbol, kLengthCodes + 1> header;
    std::size_t headerSymbols;
    std::array<std::uint8_t, kCodeLengthCodes> headerLengths;
    std::array<std::uint16_t, kCodeLengthCodes> headerCodes;
    std::size_t bits;  // the whole block's
};

constexpr std::array<std::uint8_t, kCodeLengthCodes> kHeaderOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                                     11, 4,  12, 3, 13, 2, 14, 1, 15};

void MakeBlockCodes(const Tokens& tokens, BlockCodes& out) {
    const std::span<std::uint8_t> lengths(out.lengths.data(), kLengthCodes);
    MakeLengths(tokens.symbols, kMostBits, lengths);
    MakeCodes(lengths, out.codes);
    out.lengths[kLengthCodes] = 1;  // distance 1, the only one
    out.headerSymbols = PackLengths(out.lengths, out.header.data());
    std::array<std::uint32_t, kCodeLengthCodes> counts{};
    for (std::size_t i = 0; i < out.headerSymbols; ++i) {
        ++counts[out.header[i].symbol];
    }
    MakeLengths(counts, kMostCodeLengthBits, out.headerLengths);
    MakeCodes(out.headerLengths, out.headerCodes);
    out.bits = 3 + 5 + 5 + 4 + 3 * kCodeLengthCodes;
    for (std::size_t i = 0; i < out.headerSymbols; ++i) {
        out.bits += out.headerLengths[out.header[i].symbol] + std::size_t{out.header[i].extraBits};
    }
    for (std::size_t i = 0; i < kLengthCodes; ++i) {
        const int more = i > kEndOfBlock ? ExtraBits(static_cast<int>(i)) + 1 : 0;  // of a run, and its distance
        out.bits += tokens.symbols[i] * (out.lengths[i] + static_cast<std::size_t>(more));
    }
}

void PutHeader(const BlockCodes& block, StreamPart part, BitWriter& out) {
    out.Put(part == StreamPart::kLast ? 1 : 0, 1);
    out.Put(2, 2);  // codes of the block's own
    out.Put(kLengthCodes - 257, 5);
    out.Put(0, 5);
    out.Put(kCodeLengthCodes - 4, 4);
    out.Flush();
    for (const std::uint8_t symbol : kHeaderOrder) {
        out.Put(block.headerLengths[symbol], 3);
        out.Flush();
    }
    for (std::size_t i = 0; i < block.headerSymbols; ++i) {
        const HeaderSymbol& symbol = block.header[i];
        out.Put(block.headerCodes[symbol.symbol], block.headerLengths[symbol.symbol]);
        out.Put(symbol.extra, symbol.extraBits);
        out.Flush();
    }
}

void PutTokens(const Tokens& tokens, const BlockCodes& block, BitWriter& out) {
    struct Bits {
        std::uint32_t bits;
        int count;  // at most 15 + 5 + 1
    };
    std::array<Bits, kTokens> table;
    for (std::size_t i = 0; i < kLiterals; ++i) {
        table[i] = {block.codes[i], block.lengths[i]};
    }
    for (std::size_t run = 0; run < kRunCodes.size(); ++run) {
        const RunCode& code = kRunCodes[run];
        const int length = block.lengths[code.code];
        // The distance's code is one bit, 0.
        table[kLiterals + run] = {block.codes[code.code] | std::uint32_t{code.extra} << length,
                                  length + code.extraBits + 1};
    }
    std::size_t i = 0;
    for (; i + 2 <= tokens.count; i += 2) {
        const Bits& first = table[tokens.tokens[i]];
        const Bits& second = table[tokens.tokens[i + 1]];
        out.Put(first.bits, first.count);
        out.Put(second.bits, second.count);
        out.Flush();
    }
    if (i < tokens.count) {
        out.Put(table[tokens.tokens[i]].bits, table[tokens.tokens[i]].count);
    }
    out.Put(block.codes[kEndOfBlock], block.lengths[kEndOfBlock]);
    out.Flush();
}

// The bytes as they are, for noise that no code makes smaller.
void PutStored(const std::uint8_t* bytes, std::size_t count, StreamPart part, BitWriter& out) {
    do {
        const std::size_t stored = std::min(count, kLongestStored);
        count -= stored;
        out.Put(part == StreamPart::kLast && count == 0 ? 1 : 0, 3);
        out.AlignToByte();
        out.Put(stored, 16);
        out.Put(~stored & 0xFFFF, 16);
        out.Flush();
        for (std::size_t i = 0; i < stored; ++i) {
            out.Put(*bytes++, 8);
            out.Flush();
        }
    } while (count != 0);
}

}  // namespace

std::vector<std::uint8_t> DeflateRuns(const std::uint8_t* bytes, std::size_t count, StreamPart part) {
    // A block takes at most its bytes, two stored headers and the rest of a byte; what Flush writes past the end
    // comes on top.
    std::vector<std::uint8_t> out(count + 16 * (count / kBlockBytes + 1) + 16);
    BitWriter writer(out.data());
    const auto tokens = std::make_unique<Tokens>();
    BlockCodes codes;
    int before = -1;
    for (std::size_t done = 0; done < count;) {
        const std::size_t blockBytes = std::min(count - done, kBlockBytes);
        const StreamPart block = done + blockBytes == count ? part : StreamPart::kMoreFollows;
        Tokenise(bytes + done, blockBytes, before, *tokens);
        MakeBlockCodes(*tokens, codes);
        if (codes.bits < 8 * blockBytes) {
            PutHeader(codes, block, writer);
            PutTokens(*tokens, codes, writer);
        } else {
            PutStored(bytes + done, blockBytes, block, writer);
        }
        done += blockBytes;
        before = bytes[done - 1];
    }
    if (part == StreamPart::kMoreFollows) {
        PutStored(nullptr, 0, StreamPart::kMoreFollows, writer);
    }
    out.resize(static_cast<std::size_t>(writer.AlignToByte() - out.data()));
    return out;
}

}  // namespace platen_tool
