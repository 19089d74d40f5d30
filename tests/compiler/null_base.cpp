// A fault of GCC 12 on 32-bit x86, reduced. With
//
//   i686-linux-gnu-g++ -O1 -msse2 -mfpmath=sse tests/compiler/null_base.cpp
//
// of Debian 12 (GCC 12.2.0) the program prints 0: both calls of Fill are dropped. It must print 16, and does with
// -fno-ivopts, -fno-delete-null-pointer-checks, or -fno-ipa-pure-const and -fno-ipa-modref together.
//
// The second loop reads `divisor` at &block + 1536 + 8c and the other arrays at &block + 4c and on. The
// induction-variable pass (ivopts) computes the first address from the second, as 2 * (&block + 4c) - &block +
// 1536, and writes it as MEM[(double *)0B + 1536B + ...]: an access with a null base and an index. The passes
// pure-const and modref take a null base for a read through a null pointer, which ends the block ("NULL memory
// access; terminating BB" in -fdump-tree-local-pure-const2). They never see the store after it, so Fill counts as a
// function without effects.
//
// scripts/check/null-base looks for such accesses in the library.

#include <cstdio>

struct Block {
    int at[128], first[128], last[128];
    double divisor[128];
};

static void Fill(double* out, const double* src, const int* in, unsigned count) {
    Block block;
    for (unsigned c = 0; c < count; ++c) {
        block.at[c] = in[c];
        block.first[c] = in[c] * 3;
        block.last[c] = in[c] * 5;
        block.divisor[c] = 1.0 / in[c];
    }
    for (unsigned c = 0; c < count; ++c) {
        out[3 * c] = src[block.at[c]] * block.divisor[c] + block.first[c] * block.last[c];
    }
}

int main(int argc, char**) {
    int in[4];
    double src[8], out[12] = {};
    for (int i = 0; i < 8; ++i) {
        src[i] = i;
    }
    for (int i = 0; i < 4; ++i) {
        in[i] = i + argc;
    }
    Fill(out, src, in, 4);
    Fill(out, src, in, static_cast<unsigned>(argc));
    std::printf("%g\n", out[0]);
    return out[0] == 16 ? 0 : 1;
}
