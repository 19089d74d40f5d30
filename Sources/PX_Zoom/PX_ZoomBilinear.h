#pragma once

#include <cstddef>
#include <cstdint>

#include "Sources/PX_Zoom/PX_Zoom.h"

// What one destination position (a column or a line) takes from the source. Weights are whole numbers; their unit
// is a source position divided into as many parts as the axis has destination positions when it is reduced, into
// destination count - 1 parts when it is enlarged. An axis enlarged from one source position has the records of the
// last column with start 0, but for emit: the destination count on the first record, 0 on the others.
struct PX_Zoom2_Param {
    //                            reduce                                enlarge                    keep
    std::int32_t start;         // first position covered               left or upper neighbour    the position
    std::int32_t startWeight;   // how much of it is covered            its weight                 1
    std::int32_t wholeEnd;      // last position covered whole          0                          0
    std::int32_t endWeight;     // shaped weight of the one after       weight of start + 1        0
    std::int32_t endRemainder;  // how much of that one is covered      0                          0
    std::int32_t weightSum;     // the divisor                          the divisor                1
    std::int32_t emit;          // last position that contributes       records that share start,  1
                                //                                      on their first one; else 0
};

static_assert(sizeof(PX_Zoom2_Param) == 28, "hosts walk these records");
static_assert(offsetof(PX_Zoom2_Param, startWeight) == 4 && offsetof(PX_Zoom2_Param, wholeEnd) == 8 &&
                  offsetof(PX_Zoom2_Param, endWeight) == 12 && offsetof(PX_Zoom2_Param, endRemainder) == 16 &&
                  offsetof(PX_Zoom2_Param, weightSum) == 20 && offsetof(PX_Zoom2_Param, emit) == 24,
              "field order");

// The bilinear scaler. Each axis has its own mode: it enlarges by linear interpolation, the outermost destination
// positions lying exactly on the outermost source positions; it reduces by the average of what a destination
// position covers; or it keeps. Each axis computes in 32-bit integers, or in doubles where those could overflow.
// All quotients are truncated, not rounded.
//
// A source line first becomes a work line of whole numbers, one per destination sample (the horizontal pass); work
// lines then become destination lines (the vertical pass).
//
// After Open the buffers are the scaler's, but hosts may read and write the records of horzParam and vertParam and
// the numbers of the work lines:
//   horzParam
//     Send follows the records as they are when it takes the first line, whoever wrote them. It reads them again
//     after the next Open, after Calc_ReducedParam or Calc_ExpandParam has written to the scaler's own table, and
//     when horzParam points elsewhere. Any other edit after the first line may take effect in some columns and not
//     in others until then: comparing the records for every line would cost between 6 % and four times the time.
//   vertParam
//     Its records are read line by line, so an edit takes effect with the next line that uses the record.
//   Positions
//     Outside the source line they count as samples of 0. Nothing outside the line is read, whatever a record says.
//   Weights
//     They may have any sign. 32-bit sums are modulo 2^32; there a weightSum of 0 gives 0.
//   Work lines
//     Send and Read use whatever workLine[0] holds at the time of the call. The bytes after a work line's samples
//     belong to the scaler: Send stores the columns' plan there, after the samples of workLine[1]. A host that
//     overwrites it gets other results, and nothing outside the buffers is touched.
//
// The passes as members follow the records as they are when they are called.
//
// A source line that two destination lines share when the height is reduced is taken a second time inside Read, so
// the caller sends every line once.
class PLATEN_API PX_ZoomBilinear : public PX_Zoom {
  public:
    PX_ZoomBilinear();
    ~PX_ZoomBilinear() override;

    // Closes, then takes all memory and makes the tables. Arguments as for PX_Zoom::Open, but `method` must be 2.
    //   returns  0 done | 1 out of memory | 2 a zero size, an unknown format or another method.
    //            After 1 and 2 it is closed and holds nothing.
    // Memory, counted by the larger side of each axis: 28 bytes a line, 28 a column, and two work lines of bits per
    // pixel + 7 bytes a column (bilevel counts as 8 bits, and takes one byte a column more). If a work line's size
    // overflows workLineBytes' 29 bits: the larger of the truncated value and 8 bytes per destination sample.
    // KEPT: only zero sizes are refused. (PX_ZoomBilinearNegative.OpenLooksAtZerosOnly)
    //   Both sizes of an axis negative: 1. One size negative: 0, and streaming is harmless. A source line of
    //   negative width gives zeros; a destination line of negative width gets nothing; with a negative height every
    //   line is taken and none becomes ready.
    int Open(int dstWidth, int dstHeight, int srcWidth, int srcHeight, int pixelFormat, int method) override;

    // Frees all buffers and sets every field to 0, but `zoom` and `method`, which it leaves alone.
    void Close() override;

    // Takes the next source line: ceil(srcWidth x bits per pixel / 8) bytes, read during the call only.
    //   returns  0 done | 2 `line` is null and no resend is pending | 3 a destination line waits, all have
    //            been read, or not open
    int Send(void* line) override;

    // Gives the next destination line: ceil(dstWidth x bits per pixel / 8) bytes; unused bits of a bilevel line's
    // last byte are 0.
    //   returns  0 done | 2 null line | 3 no line waits; where the next line needs the last source line once more,
    //            what Send(nullptr) returns
    int Read(void* line) override;

    // The curve that shapes the far weight of a reduced position: 0 to 0, range to range, below the straight line
    // in the lower half, above it in the upper one.
    //   weight   0..range
    //   returns  whole part of weight^2 / h, or from h = range / 2 on, of range - (range - weight)^2 / h
    long Shift_Coefficient(long weight, long range);

    // Fills dstCount records for a reduced axis (dstCount < srcCount).
    //   returns  1 where a weightSum is above 65535, so that 32-bit sums of 16-bit samples could overflow; else 0
    int Calc_ReducedParam(PX_Zoom2_Param* table, int dstCount, int srcCount);

    // Fills dstCount records for an enlarged or kept axis (dstCount >= srcCount). Returns 0.
    int Calc_ExpandParam(PX_Zoom2_Param* table, int dstCount, int srcCount);

    // The passes. A is the arithmetic, std::uint32_t (products and sums modulo 2^32, whatever the weights) or
    // double; S the sample, std::uint8_t or std::uint16_t. All process dstWidth pixels, the vertical ones with the
    // weights of the record at vertCursor, and all sample pointers may be odd. They need no Open: a host may fill
    // in the fields that they read (dstWidth, bitsPerPixel; srcWidth and horzParam; vertCursor). Close and the
    // destructor free horzParam, so a table of the host's own has to be taken out before. Work lines hold 32-bit
    // whole numbers whichever A computed them; only the accumulator of Add_ReduceVert and Reduce_Vert holds values
    // of type A.

    // The horizontal pass, all three modes, with the records of horzParam.
    // KEPT: of a source one pixel wide the first sample serves all samples.
    //                                                       (PX_ZoomBilinearStream.OnePixelWideSourceUsesFirstSample)
    template <class A, class S>
    void Expand_Horz(A* out, S* src);

    // acc[k] += line[k] x weight.
    template <class A>
    void Add_ReduceVert(A* acc, void* line, int weight);

    // out[k] = acc[k] / weightSum.
    template <class S, class A>
    void Reduce_Vert(S* out, A* acc);

    // out[k] = (upper[k] x startWeight + lower[k] x endWeight) / weightSum.
    template <class S, class A>
    void Expand_Vert(S* out, A* upper, A* lower);

    // out[k] = line[k].
    template <class S>
    void Equal_Vert(S* out, std::uint32_t* line);

    std::int32_t bitsPerPixel;    // pixelFormat, but 8 for bilevel, which is processed as one byte a pixel
    std::int32_t dstLineBytes;    // (dstWidth x bitsPerPixel + 7) / 8, so a bilevel line's unpacked bytes
    std::int32_t srcLineBytes;    // (srcWidth x bitsPerPixel + 7) / 8
    std::uint32_t workLineBytes;  // larger width x (bitsPerPixel + 7), low 29 bits
    std::int32_t srcLineIndex;    // the source line to be taken next
    std::int32_t currentWork;     // enlarging: the work line that the next source line overwrites, 0 or 1
    std::int32_t resendLine;      // 1: the last source line is the first one of the next destination line too
    std::int32_t horzDouble;      // 1: the horizontal pass computes in doubles
    std::int32_t vertDouble;      // 1: the vertical pass computes in doubles
    void* workLine[2];  // owned; height reduced: accumulator and newest line; enlarged: the two newest lines;
                        // kept: the newest line in the first
    std::uint8_t* bilevelLine;   // owned, format 1 only: a line of 255 and 0
    PX_Zoom2_Param* horzParam;   // owned; the first dstWidth records are used
    PX_Zoom2_Param* vertParam;   // owned; the first dstHeight records are used
    PX_Zoom2_Param* vertCursor;  // the record of the destination line that is read next
};

#define PLATEN_ZOOM_DECLARE(...) extern template void PX_ZoomBilinear::__VA_ARGS__;
PLATEN_ZOOM_DECLARE(Expand_Horz(std::uint32_t*, std::uint8_t*))
PLATEN_ZOOM_DECLARE(Expand_Horz(std::uint32_t*, std::uint16_t*))
PLATEN_ZOOM_DECLARE(Expand_Horz(double*, std::uint8_t*))
PLATEN_ZOOM_DECLARE(Expand_Horz(double*, std::uint16_t*))
PLATEN_ZOOM_DECLARE(Add_ReduceVert(std::uint32_t*, void*, int))
PLATEN_ZOOM_DECLARE(Add_ReduceVert(double*, void*, int))
PLATEN_ZOOM_DECLARE(Reduce_Vert(std::uint8_t*, std::uint32_t*))
PLATEN_ZOOM_DECLARE(Reduce_Vert(std::uint16_t*, std::uint32_t*))
PLATEN_ZOOM_DECLARE(Reduce_Vert(std::uint8_t*, double*))
PLATEN_ZOOM_DECLARE(Reduce_Vert(std::uint16_t*, double*))
PLATEN_ZOOM_DECLARE(Expand_Vert(std::uint8_t*, std::uint32_t*, std::uint32_t*))
PLATEN_ZOOM_DECLARE(Expand_Vert(std::uint16_t*, std::uint32_t*, std::uint32_t*))
PLATEN_ZOOM_DECLARE(Expand_Vert(std::uint8_t*, double*, double*))
PLATEN_ZOOM_DECLARE(Expand_Vert(std::uint16_t*, double*, double*))
PLATEN_ZOOM_DECLARE(Equal_Vert(std::uint8_t*, std::uint32_t*))
PLATEN_ZOOM_DECLARE(Equal_Vert(std::uint16_t*, std::uint32_t*))
#undef PLATEN_ZOOM_DECLARE
