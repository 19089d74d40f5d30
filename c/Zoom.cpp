#include <new>

#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "c/platen.h"

// The scaler for C. A platen_zoom is a PX_Zoom seen through its layout, which is fixed; the virtual functions do
// for both kinds.

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // defined for the compilers that we support
static_assert(sizeof(platen_zoom) == sizeof(PX_Zoom) && offsetof(platen_zoom, zoom) == offsetof(PX_Zoom, zoom) &&
                  offsetof(platen_zoom, lines_ready) == offsetof(PX_Zoom, linesReady) &&
                  offsetof(platen_zoom, pixel_format) == offsetof(PX_Zoom, pixelFormat),
              "the C record is the object");
static_assert(sizeof(platen_zoom_bilinear) == sizeof(PX_ZoomBilinear) &&
                  offsetof(platen_zoom_bilinear, bits_per_pixel) == offsetof(PX_ZoomBilinear, bitsPerPixel) &&
                  offsetof(platen_zoom_bilinear, work_line_bytes) == offsetof(PX_ZoomBilinear, workLineBytes) &&
                  offsetof(platen_zoom_bilinear, vert_double) == offsetof(PX_ZoomBilinear, vertDouble) &&
                  offsetof(platen_zoom_bilinear, work_line) == offsetof(PX_ZoomBilinear, workLine) &&
                  offsetof(platen_zoom_bilinear, horz_param) == offsetof(PX_ZoomBilinear, horzParam) &&
                  offsetof(platen_zoom_bilinear, vert_cursor) == offsetof(PX_ZoomBilinear, vertCursor),
              "the C record is the object");
#pragma GCC diagnostic pop

namespace {

PX_Zoom* Object(platen_zoom* zoom) {
    return reinterpret_cast<PX_Zoom*>(zoom);
}

template <class Class, class Record>
int32_t New(Record** out) {
    if (out == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    *out = reinterpret_cast<Record*>(new (std::nothrow) Class);
    return *out != nullptr ? PLATEN_DONE : PLATEN_OUT_OF_MEMORY;
}

// A pass over buffers that must be there, by an object that is open. The members take what they only read as
// non-const.
template <class Out, class In>
bool Ready(const platen_zoom_bilinear* zoom, const Out* out, const In* in) {
    return zoom != nullptr && zoom->vert_param != nullptr && out != nullptr && in != nullptr;
}

PX_ZoomBilinear& Object(platen_zoom_bilinear* zoom) {
    return *reinterpret_cast<PX_ZoomBilinear*>(zoom);
}

// Work lines are 32-bit whole numbers, also where the member's argument has the arithmetic's type.
template <class A>
A* Work(const uint32_t* line) {
    return reinterpret_cast<A*>(const_cast<uint32_t*>(line));
}

template <class A, class S>
int32_t ExpandHorz(platen_zoom_bilinear* zoom, uint32_t* out, const S* src) {
    if (!Ready(zoom, out, src)) {
        return PLATEN_BAD_ARGUMENT;
    }
    Object(zoom).Expand_Horz(Work<A>(out), const_cast<S*>(src));
    return PLATEN_DONE;
}

template <class A>
int32_t AddReduceVert(platen_zoom_bilinear* zoom, A* acc, const uint32_t* line, int32_t weight) {
    if (!Ready(zoom, acc, line)) {
        return PLATEN_BAD_ARGUMENT;
    }
    Object(zoom).Add_ReduceVert(acc, const_cast<uint32_t*>(line), weight);
    return PLATEN_DONE;
}

template <class S, class A>
int32_t ReduceVert(platen_zoom_bilinear* zoom, S* out, const A* acc) {
    if (!Ready(zoom, out, acc)) {
        return PLATEN_BAD_ARGUMENT;
    }
    Object(zoom).Reduce_Vert(out, const_cast<A*>(acc));
    return PLATEN_DONE;
}

template <class A, class S>
int32_t ExpandVert(platen_zoom_bilinear* zoom, S* out, const uint32_t* upper, const uint32_t* lower) {
    if (!Ready(zoom, out, upper) || lower == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    Object(zoom).Expand_Vert(out, Work<A>(upper), Work<A>(lower));
    return PLATEN_DONE;
}

template <class S>
int32_t EqualVert(platen_zoom_bilinear* zoom, S* out, const uint32_t* line) {
    if (!Ready(zoom, out, line)) {
        return PLATEN_BAD_ARGUMENT;
    }
    Object(zoom).Equal_Vert(out, const_cast<uint32_t*>(line));
    return PLATEN_DONE;
}

}  // namespace

int32_t platen_zoom_new(platen_zoom** out) {
    return New<PX_Zoom>(out);
}

int32_t platen_zoom_bilinear_new(platen_zoom_bilinear** out) {
    return New<PX_ZoomBilinear>(out);
}

void platen_zoom_free(platen_zoom* zoom) {
    if (zoom != nullptr) {
        // Not `delete`, which would be the library's: the block came from this library's `new`.
        Object(zoom)->~PX_Zoom();
        ::operator delete(static_cast<void*>(zoom));
    }
}

int32_t platen_zoom_open(platen_zoom* zoom, int32_t dst_width, int32_t dst_height, int32_t src_width,
                         int32_t src_height, int32_t pixel_format, int32_t method) {
    return zoom != nullptr ? Object(zoom)->Open(dst_width, dst_height, src_width, src_height, pixel_format, method)
                           : PLATEN_BAD_ARGUMENT;
}

int32_t platen_zoom_close(platen_zoom* zoom) {
    if (zoom == nullptr) {
        return PLATEN_BAD_ARGUMENT;
    }
    Object(zoom)->Close();
    return PLATEN_DONE;
}

int32_t platen_zoom_send(platen_zoom* zoom, const void* line) {
    return zoom != nullptr ? Object(zoom)->Send(const_cast<void*>(line)) : PLATEN_BAD_ARGUMENT;
}

int32_t platen_zoom_read(platen_zoom* zoom, void* line) {
    return zoom != nullptr ? Object(zoom)->Read(line) : PLATEN_BAD_ARGUMENT;
}

int32_t platen_zoom_check_data(platen_zoom* zoom) {
    return zoom != nullptr ? Object(zoom)->CheckData() : 0;
}

int32_t platen_zoom_shift_coefficient(int32_t weight, int32_t range, int32_t* shaped) {
    if (shaped == nullptr || weight < 0 || weight > range) {
        return PLATEN_BAD_ARGUMENT;
    }
    *shaped = static_cast<int32_t>(PX_ZoomBilinear().Shift_Coefficient(weight, range));
    return PLATEN_DONE;
}

int32_t platen_zoom_calc_reduced_param(PX_Zoom2_Param* table, int32_t dst_count, int32_t src_count, int32_t* wide) {
    if (table == nullptr || wide == nullptr || dst_count < 1 || dst_count >= src_count) {
        return PLATEN_BAD_ARGUMENT;
    }
    *wide = PX_ZoomBilinear().Calc_ReducedParam(table, dst_count, src_count);
    return PLATEN_DONE;
}

int32_t platen_zoom_calc_expand_param(PX_Zoom2_Param* table, int32_t dst_count, int32_t src_count) {
    if (table == nullptr || src_count < 1 || dst_count < src_count) {
        return PLATEN_BAD_ARGUMENT;
    }
    return PX_ZoomBilinear().Calc_ExpandParam(table, dst_count, src_count);
}

int32_t platen_zoom_expand_horz_u32_u8(platen_zoom_bilinear* zoom, uint32_t* out, const uint8_t* src) {
    return ExpandHorz<uint32_t>(zoom, out, src);
}

int32_t platen_zoom_expand_horz_u32_u16(platen_zoom_bilinear* zoom, uint32_t* out, const uint16_t* src) {
    return ExpandHorz<uint32_t>(zoom, out, src);
}

int32_t platen_zoom_expand_horz_f64_u8(platen_zoom_bilinear* zoom, uint32_t* out, const uint8_t* src) {
    return ExpandHorz<double>(zoom, out, src);
}

int32_t platen_zoom_expand_horz_f64_u16(platen_zoom_bilinear* zoom, uint32_t* out, const uint16_t* src) {
    return ExpandHorz<double>(zoom, out, src);
}

int32_t platen_zoom_add_reduce_vert_u32(platen_zoom_bilinear* zoom, uint32_t* acc, const uint32_t* line,
                                        int32_t weight) {
    return AddReduceVert(zoom, acc, line, weight);
}

int32_t platen_zoom_add_reduce_vert_f64(platen_zoom_bilinear* zoom, double* acc, const uint32_t* line,
                                        int32_t weight) {
    return AddReduceVert(zoom, acc, line, weight);
}

int32_t platen_zoom_reduce_vert_u8_u32(platen_zoom_bilinear* zoom, uint8_t* out, const uint32_t* acc) {
    return ReduceVert(zoom, out, acc);
}

int32_t platen_zoom_reduce_vert_u16_u32(platen_zoom_bilinear* zoom, uint16_t* out, const uint32_t* acc) {
    return ReduceVert(zoom, out, acc);
}

int32_t platen_zoom_reduce_vert_u8_f64(platen_zoom_bilinear* zoom, uint8_t* out, const double* acc) {
    return ReduceVert(zoom, out, acc);
}

int32_t platen_zoom_reduce_vert_u16_f64(platen_zoom_bilinear* zoom, uint16_t* out, const double* acc) {
    return ReduceVert(zoom, out, acc);
}

int32_t platen_zoom_expand_vert_u8_u32(platen_zoom_bilinear* zoom, uint8_t* out, const uint32_t* upper,
                                       const uint32_t* lower) {
    return ExpandVert<uint32_t>(zoom, out, upper, lower);
}

int32_t platen_zoom_expand_vert_u16_u32(platen_zoom_bilinear* zoom, uint16_t* out, const uint32_t* upper,
                                        const uint32_t* lower) {
    return ExpandVert<uint32_t>(zoom, out, upper, lower);
}

int32_t platen_zoom_expand_vert_u8_f64(platen_zoom_bilinear* zoom, uint8_t* out, const uint32_t* upper,
                                       const uint32_t* lower) {
    return ExpandVert<double>(zoom, out, upper, lower);
}

int32_t platen_zoom_expand_vert_u16_f64(platen_zoom_bilinear* zoom, uint16_t* out, const uint32_t* upper,
                                        const uint32_t* lower) {
    return ExpandVert<double>(zoom, out, upper, lower);
}

int32_t platen_zoom_equal_vert_u8(platen_zoom_bilinear* zoom, uint8_t* out, const uint32_t* line) {
    return EqualVert(zoom, out, line);
}

int32_t platen_zoom_equal_vert_u16(platen_zoom_bilinear* zoom, uint16_t* out, const uint32_t* line) {
    return EqualVert(zoom, out, line);
}
