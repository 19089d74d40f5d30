#pragma once

#include <cstdint>

#include "Sources/Support/Export.h"

// The image scaler. A PX_Zoom is opened for a destination size, a source size, a pixel format and a method; then
// the image streams through it line by line:
//
//   PX_Zoom zoom;
//   zoom.Open(dstWidth, dstHeight, srcWidth, srcHeight, pixelFormat, 2)
//     for each source line, from the top:  Send(line), then Read(line) while CheckData() > 0
//   zoom.Close()                           or destroy the object; after Close it may be opened again
//
// Pixel formats are named by their bits per pixel:
//    1  bilevel, 8 pixels a byte, most significant bit first
//    8  one 8-bit sample        24  three 8-bit samples        32  four 8-bit samples
//   16  one 16-bit sample       48  three 16-bit samples       64  four 16-bit samples
// Samples of a pixel lie next to each other; what one stands for never matters. 16-bit samples are native unsigned
// integers, and their lines may lie at odd addresses.
//
// Status codes of everything here that returns one:
//   0  done
//   1  a buffer could not be allocated
//   2  a bad argument: a zero size, an unknown format, a method that is not served, a null line; or the
//      implementation object could not be made
//   3  a call that doesn't fit the state; nothing has changed
//
// Buffers are taken in Open and given back in Close; streaming allocates nothing. Nothing throws.
// Threads: nothing is locked. One scaler belongs to one thread at a time; distinct scalers are independent.
//
// KEPT marks behaviour that looks wrong and must stay; the test in brackets pins it.

extern "C" {

// Allocates with malloc.
//   slot     points at a pointer variable, which receives the block, or null on 1
//   size     bytes, whose contents are undefined; a negative size fails with 1
//   returns  0 done | 1 out of memory
// PX_Zoom_MemFree gives the block back.
PLATEN_API int PX_Zoom_MemAlloc(void* slot, long size);

// Frees the block that the variable at `slot` points to and sets the variable to null. A null slot and a null
// variable are ignored, so freeing twice is harmless.
PLATEN_API void PX_Zoom_MemFree(void* slot);

// Samples of a pixel: 4 for 32 and 64, 3 for 24 and 48, 1 for 1, 8 and 16, 0 for any other value.
PLATEN_API int PX_Zoom_SamplePerPixel(int pixelFormat);

// Bits of a sample: 16 for 16, 48 and 64, 8 for 8, 24 and 32, 1 for 1, 0 for any other value.
PLATEN_API int PX_Zoom_BitsPerSample(int pixelFormat);

}  // extern "C"

// The scaler's public interface, and the base class of its one implementation, PX_ZoomBilinear. It chooses the
// method, creates the implementation and forwards to it; its own size fields only record the last Open.
//
// Hosts may read the fields; their order, and that of the virtual functions, is fixed.
class PLATEN_API PX_Zoom {
  public:
    PX_Zoom();
    PX_Zoom(const PX_Zoom&) = delete;
    PX_Zoom& operator=(const PX_Zoom&) = delete;

    // Closes.
    virtual ~PX_Zoom();

    // Chooses the method, creates the implementation and opens it.
    //   dstWidth, dstHeight, srcWidth, srcHeight   pixels and lines, not 0. A negative size is not refused; see
    //                                              PX_ZoomBilinear::Open.
    //   pixelFormat                                1, 8, 16, 24, 32, 48 or 64
    //   method                                     a request: 2 is the bilinear method
    //   returns  0 done | 1 out of memory | 2 a bad argument, or the implementation could not be created |
    //            3 already open, nothing has changed
    // After 1 or 2 from the implementation the scaler counts as open: Close it before the next try. Where the
    // implementation could not be created, it stays closed with nothing stored but `method`.
    // The method becomes 2 where an axis is reduced; else where the source is at most 5 pixels wide or at most 5
    // lines high and the request is not 1; else where the format is bilevel.
    // KEPT: a request of 0 that none of these changes is refused with 2. (PX_Zoom.LargeEnlargementRefusesMethod0)
    // KEPT: any other request but 2 that none of these changes ends the process, though another argument may be
    // bad, with the message "Sources/PX_Zoom/PX_Zoom:84: failed assertion `0'" on the standard error stream.
    //                                                            (PX_ZoomDeathTest.LargeEnlargementByMethod1Aborts)
    virtual int Open(int dstWidth, int dstHeight, int srcWidth, int srcHeight, int pixelFormat, int method);

    // Releases the implementation and sets every field to 0. Harmless on a closed scaler.
    virtual void Close();

    // Takes the next source line. `line` is read during the call only.
    //   returns  0 done | 2 null line | 3 not open, a destination line waits, or all of them have been read
    virtual int Send(void* line);

    // Gives the next destination line.
    //   line     receives the line: ceil(dstWidth x bits per pixel / 8) bytes
    //   returns  0 done | 2 null line | 3 not open, or no line waits
    virtual int Read(void* line);

    // How many destination lines wait to be read; 0 while closed.
    int CheckData();

    PX_Zoom* zoom;             // the implementation, owned; null while closed and in the implementation itself
    std::int32_t linesReady;   // destination lines that are complete and not read yet
    std::int32_t active;       // set by the implementation's Open
    std::int32_t method;       // as chosen by the last Open
    std::int32_t dstWidth;     // pixels
    std::int32_t dstHeight;    // lines
    std::int32_t srcWidth;     // pixels
    std::int32_t srcHeight;    // lines
    std::int32_t pixelFormat;  // bits per pixel
};

static_assert(sizeof(PX_Zoom) == 2 * sizeof(void*) + 32, "hosts read the fields");
