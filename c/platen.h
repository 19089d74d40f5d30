/*
 * Platen for C: the tone world, the two line filters and the image scaler.
 *
 * The first half of this file declares what libplaten exports, with the names and records that every host knows.
 * The second half, whose names begin with platen_, is the companion library libplaten-c: what C can't do with the
 * first half alone. Link platen::c (CMake), or what `pkg-config --libs platen-c` says.
 *
 *   tone      platen_world_new; for each adjustment platen_operation_new, platen_set_..., platen_world_add;
 *             MakeToneCurve as often as settings change; DisposeToneWorld(world, 1)
 *   filters   SetupHsv; ApplyOneLineHsv for each line; Disposehsv
 *             SetupSharp; for each line ApplySharpFilterPutLine, then ApplySharpFilterGetLine while
 *             GetSharpDstLines is not 0; DisposeSharpness
 *   scaler    platen_zoom_new, platen_zoom_open; for each line platen_zoom_send, then platen_zoom_read while
 *             platen_zoom_check_data is not 0; platen_zoom_close, platen_zoom_free
 *
 * Exceptions. Six functions of the first half take list nodes from C++'s `new` and throw std::bad_alloc through C
 * frames where that fails; each is marked THROWS, with the function to call instead. Nothing else throws, and no
 * platen_ function does: they return PLATEN_OUT_OF_MEMORY, and what they had taken is given back.
 *
 * Pointers. The functions of the first half test pointers only where they say so. Every platen_ function refuses a
 * null pointer with PLATEN_BAD_ARGUMENT.
 *
 * Threads. Nothing is locked. A handle or record belongs to one thread at a time; distinct ones are independent,
 * with one exception: gStorage, see there.
 *
 * Static libraries: define PLATEN_STATIC.
 */
#ifndef PLATEN_H
#define PLATEN_H

#include <stddef.h>
#include <stdint.h>

#if defined(PLATEN_STATIC)
#define PLATEN_C_IMPORT
#define PLATEN_C_API
#elif defined(_WIN32)
#define PLATEN_C_IMPORT __declspec(dllimport)
#if defined(PLATEN_C_BUILD)
#define PLATEN_C_API __declspec(dllexport)
#else
#define PLATEN_C_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define PLATEN_C_IMPORT
#define PLATEN_C_API __attribute__((visibility("default")))
#else
#define PLATEN_C_IMPORT
#define PLATEN_C_API
#endif

/* Statuses. The tone functions and the platen_ ones return 3 for a value out of range (nothing has changed), the
 * line filters for an invalid parameter, the scaler for a call out of order. */
#define PLATEN_DONE 0
#define PLATEN_OUT_OF_MEMORY 1
#define PLATEN_BAD_ARGUMENT 2
#define PLATEN_OUT_OF_RANGE 3
#define PLATEN_OUT_OF_ORDER 3

/* Four-character codes, the first character in the most significant byte. */
#define PLATEN_CODE(a, b, c, d) ((uint32_t)(a) << 24 | (uint32_t)(b) << 16 | (uint32_t)(c) << 8 | (uint32_t)(d))

/* Operation types. */
#define PLATEN_TYPE_BRIGHTNESS_CONTRAST ((uint32_t)0x4272436E) /* "BrCn" */
#define PLATEN_TYPE_LEVEL ((uint32_t)0x4C655665)               /* "LeVe" */
#define PLATEN_TYPE_COLOR_BALANCE ((uint32_t)0x436F4261)       /* "CoBa" */
#define PLATEN_TYPE_CURVES ((uint32_t)0x43755276)              /* "CuRv" */

/* Properties of brightness and contrast: int32_t, -100 to 100, default 0. */
#define PLATEN_KEY_BRIGHTNESS ((uint32_t)0x62726954) /* "briT" */
#define PLATEN_KEY_CONTRAST ((uint32_t)0x636F6E54)   /* "conT" */

/* Of levels. The defaults are all 0, which is no valid setting: give all five. Each white lies at least 8 above its
 * black. */
#define PLATEN_KEY_INPUT_BLACK ((uint32_t)0x694D696E)  /* "iMin": uint32_t, 0 to 247 */
#define PLATEN_KEY_MID_TONE ((uint32_t)0x694D6964)     /* "iMid": double, 0.1 to 9.99; 1.0 is neutral */
#define PLATEN_KEY_INPUT_WHITE ((uint32_t)0x694D6178)  /* "iMax": uint32_t, 8 to 255 */
#define PLATEN_KEY_OUTPUT_BLACK ((uint32_t)0x6F4D696E) /* "oMin": uint32_t, 0 to 247 */
#define PLATEN_KEY_OUTPUT_WHITE ((uint32_t)0x6F4D6178) /* "oMax": uint32_t, 8 to 255 */

/* Of color balance: int32_t, -100 to 100, default 0. */
#define PLATEN_KEY_SHADOWS_RED ((uint32_t)0x63627352)      /* "cbsR" */
#define PLATEN_KEY_SHADOWS_GREEN ((uint32_t)0x63627347)    /* "cbsG" */
#define PLATEN_KEY_SHADOWS_BLUE ((uint32_t)0x63627342)     /* "cbsB" */
#define PLATEN_KEY_MIDTONES_RED ((uint32_t)0x63626D52)     /* "cbmR" */
#define PLATEN_KEY_MIDTONES_GREEN ((uint32_t)0x63626D47)   /* "cbmG" */
#define PLATEN_KEY_MIDTONES_BLUE ((uint32_t)0x63626D42)    /* "cbmB" */
#define PLATEN_KEY_HIGHLIGHTS_RED ((uint32_t)0x63626852)   /* "cbhR" */
#define PLATEN_KEY_HIGHLIGHTS_GREEN ((uint32_t)0x63626847) /* "cbhG" */
#define PLATEN_KEY_HIGHLIGHTS_BLUE ((uint32_t)0x63626842)  /* "cbhB" */
#define PLATEN_KEY_BALANCE_FLAG ((uint32_t)0x63627354)     /* "cbsT": any value, the host's own, without effect */

/* Of curves. */
#define PLATEN_KEY_CURVE_STRENGTH ((uint32_t)0x63757256) /* "curV": int32_t, -100 to 100, of the gamma curve */
#define PLATEN_KEY_CURVE_KIND ((uint32_t)0x63757253)     /* "curS": int32_t, PLATEN_CURVE_... */
#define PLATEN_KEY_CURVE_POINT_1 ((uint32_t)0x63755031)  /* "cuP1": two floats, x 0 to 239, y 0 to 255 */
#define PLATEN_KEY_CURVE_POINT_2 ((uint32_t)0x63755032)  /* "cuP2": x 4 to 243 */
#define PLATEN_KEY_CURVE_POINT_3 ((uint32_t)0x63755033)  /* "cuP3": x 8 to 247 */
#define PLATEN_KEY_CURVE_POINT_4 ((uint32_t)0x63755034)  /* "cuP4": x 12 to 251 */
#define PLATEN_KEY_CURVE_POINT_5 ((uint32_t)0x63755035)  /* "cuP5": x 16 to 255 */

#define PLATEN_CURVE_SPLINE_ONCE 0 /* a spline; becomes PLATEN_CURVE_SPLINE when it is applied */
#define PLATEN_CURVE_POLYLINE 1
#define PLATEN_CURVE_GAMMA 2
#define PLATEN_CURVE_SPLINE 3

/* Methods of the scaler: ask for this one. */
#define PLATEN_METHOD_BILINEAR 2

/* -------------------------------------------------------------------------------------------------------------------
 * What libplaten exports
 *
 * In C++ these are the library's own headers, so that both can be used in one file; for compilers of another make,
 * and with PLATEN_C_ONLY, the declarations for C serve C++ as well. */

#if defined(__cplusplus) && !defined(_MSC_VER) && !defined(PLATEN_C_ONLY)
#include "LineFilters/Hsv.h"
#include "LineFilters/Sharpness.h"
#include "Sources/PX_Zoom/PX_ZoomBilinear.h"
#include "ToneWorld/BrightnessContrast.h"
#include "ToneWorld/ColorBalance.h"
#include "ToneWorld/Curves.h"
#include "ToneWorld/Level.h"
#include "ToneWorld/ToneWorld.h"
#else

#ifdef __cplusplus
extern "C" {
#endif

/* A tone world's handle. */
typedef struct __OpaqeToneWorld __OpaqeToneWorld;
/* A C++ list of _SPropertyData; platen_operation_count and platen_operation_at walk it. */
typedef struct platen_property_list platen_property_list;

typedef struct _SToneOperation _SToneOperation;
typedef struct _SToneCurve _SToneCurve;

/* An operation's second half: checks its properties and replaces every entry t of every table by mapping[t].
 * Returns 0, or 3 with the tables untouched. */
typedef int32_t (*_SToneApplyFunction)(_SToneOperation* op, _SToneCurve* curve);

/* One setting of an operation; the value is a run of bytes in the host's byte order. */
typedef struct _SPropertyData {
    uint32_t key;  /* four-character code */
    uint32_t size; /* bytes of the value, fixed when the property is added */
    void* data;    /* malloc block of `size` bytes, owned by the operation */
} _SPropertyData;

/* One tone operation. */
struct _SToneOperation {
    uint32_t type;                    /* PLATEN_TYPE_..., 0 until set up */
    platen_property_list* properties; /* owned; null until set up */
    _SToneApplyFunction apply;        /* null until set up */
};

/* The result of MakeToneCurve. The host owns it, fills it in, and owns the buffers. */
struct _SToneCurve {
    int32_t reserved0; /* neither read nor written */
    int32_t reserved1; /* neither read nor written */
    int32_t depth;     /* bits per pixel the tables are for: 24 or 8; operations do less for other values */
    uint8_t* redTable; /* 256 entries each; they may be one and the same buffer */
    uint8_t* greenTable;
    uint8_t* blueTable;
    uint8_t copyCurve;  /* 1: the curves operation also writes its own curve to curveCopy */
    uint8_t* curveCopy; /* 256 entries, used only while copyCurve is 1 */
};

/* Makes an empty world; *out is written only on 0. Returns 0 or 1. THROWS: platen_world_new. */
PLATEN_C_IMPORT int32_t NewToneWorld(__OpaqeToneWorld** out);

/* Frees a world; null is ignored. With a flag that is not 0 every operation in the list is disposed of first. */
PLATEN_C_IMPORT void DisposeToneWorld(__OpaqeToneWorld* world, int32_t flag);

/* Makes a world with deep copies of the operations. On 1 *out holds those copied so far. THROWS: platen_world_copy.
 */
PLATEN_C_IMPORT int32_t DuplicateToneWorld(__OpaqeToneWorld* source, __OpaqeToneWorld** out);

/* Appends the pointer. THROWS: platen_world_add. */
PLATEN_C_IMPORT void AddOperation(__OpaqeToneWorld* world, _SToneOperation* op);

/* Removes every occurrence of the pointer; the operation itself stays as it is. */
PLATEN_C_IMPORT void RemoveOperation(__OpaqeToneWorld* world, _SToneOperation* op);

/* The first operation of the type; where there is none, the last one of the list; null for an empty world. */
PLATEN_C_IMPORT _SToneOperation* GetOperation(__OpaqeToneWorld* world, uint32_t type);

/* Sets the three tables to the identity and lets every operation act on them, in list order. An operation whose
 * values are out of range has no effect. Returns 0. */
PLATEN_C_IMPORT int32_t MakeToneCurve(__OpaqeToneWorld* world, _SToneCurve* curve);

/* Allocates an operation, all fields zero; *out is null on 1. Returns 0 or 1. platen_operation_new sets it up, too.
 */
PLATEN_C_IMPORT int32_t NewOperation(_SToneOperation** out);

/* Frees an operation, its properties and their values. Not null; not while a world that is still used has it. */
PLATEN_C_IMPORT void DisposeOperation(_SToneOperation* op);

/* Appends a property with a copy of `size` bytes; says nothing where memory runs out. THROWS:
 * platen_operation_add_property. */
PLATEN_C_IMPORT void AddOperationProperty(_SToneOperation* op, uint32_t key, uint32_t size, const void* value);

/* Copies the first matching property's value out, all bytes of it whatever `size` is; nothing where there is none.
 * platen_get_... check the size. */
PLATEN_C_IMPORT void GetOperationProperty(_SToneOperation* op, uint32_t key, uint32_t size, void* destination);

/* Copies `size` bytes over the first matching property's value, without a look at the value's own size; nothing
 * where there is none. platen_set_... check the size. */
PLATEN_C_IMPORT void SetOperationProperty(_SToneOperation* op, uint32_t key, uint32_t size, const void* value);

/* Set-up functions: stamp type and apply function and add the properties with their defaults. Return 0, or 2 for a
 * null operation. A property that memory was short for is missing. THROW: platen_operation_new. */
PLATEN_C_IMPORT int32_t SetupBrightnessContrastOperation(_SToneOperation* op);
PLATEN_C_IMPORT int32_t SetupLevelOperation(_SToneOperation* op);
PLATEN_C_IMPORT int32_t SetupColorBalanceOperation(_SToneOperation* op);
PLATEN_C_IMPORT int32_t SetupCurvesOperation(_SToneOperation* op);

/* Apply functions: act on the curve's three tables, which hold a mapping already. Return 0, or 3 where a value is
 * out of range. */
PLATEN_C_IMPORT int32_t ApplyBrightnessContrast(_SToneOperation* op, _SToneCurve* curve);
PLATEN_C_IMPORT int32_t ApplyLevel(_SToneOperation* op, _SToneCurve* curve);
PLATEN_C_IMPORT int32_t ApplyColorBalance(_SToneOperation* op, _SToneCurve* curve);
PLATEN_C_IMPORT int32_t ApplyCurves(_SToneOperation* op, _SToneCurve* curve);

/* Settings of the HSV filter. At least one of the first three is not 0. */
typedef struct _SHsvParam {
    int32_t hue;           /* degrees, -180 to 180 */
    int32_t saturation;    /* percent, -100 to 100 */
    int32_t lightness;     /* percent, -100 to 100 */
    uint32_t bitsPerPixel; /* 24 */
    int32_t width;         /* pixels of a line, not 0 */
    uint32_t height;       /* not 0, otherwise unused */
    uint32_t rowBytes;     /* not 0, otherwise unused: a line is always 3 x width bytes */
} _SHsvParam;

/* The lightness table of the HSV filter, one for the whole process: every SetupHsv rebuilds it, every
 * ApplyOneLineHsv reads it, so contexts with different lightness can't be used together. Hosts may write to it
 * between lines. */
PLATEN_C_IMPORT extern uint32_t gStorage[256];

/* Checks the settings, copies them and rebuilds gStorage. *handle, a malloc block with a copy of the seven fields,
 * is written only on 0. Returns 0, 1, or 3 for a field out of range or a null pointer. */
PLATEN_C_IMPORT int32_t SetupHsv(_SHsvParam* param, void** handle);

/* Changes one line of `width` pixels, red, green, blue, in place. Returns 0, or 3 for a field of the context out of
 * range or a null pointer. */
PLATEN_C_IMPORT int32_t ApplyOneLineHsv(void* handle, unsigned char* line);

/* Frees a context; null is ignored. */
PLATEN_C_IMPORT void Disposehsv(void* handle);

/* One channel of an HSL color from its intermediate values p and q and a hue in sixths of a turn. */
PLATEN_C_IMPORT double GetHSLValue(double p, double q, double h);

/* The sector, 0 to 5, of a hue angle in degrees before and after rotation. */
PLATEN_C_IMPORT int32_t nowDegreeState(long angle);
PLATEN_C_IMPORT int32_t afterDegreeState(long angle);

/* Settings of the sharpness filter. */
typedef struct _SSharpParam {
    int32_t level;         /* -2 and -1 soften, 1, 2 and 3 sharpen */
    uint32_t bitsPerPixel; /* 24 or 8 */
    uint32_t width;        /* pixels of a line, at least 3 */
    uint32_t height;       /* lines of the image, not 0; an image of one line never gives it back */
    uint32_t rowBytes;     /* bytes of a line, at least what the pixels need */
} _SSharpParam;

/* For each level: the 3x3 kernel, row by row, the divisor, the level. */
PLATEN_C_IMPORT extern const int32_t sfilterParamTable[5][11];

/* Checks and copies the settings and allocates all that the filter will need. *handle, a platen_sharp_context, is
 * written only on 0. Returns 0, 1 (blocks already taken stay allocated), or 3 for a field out of range or a null
 * pointer. */
PLATEN_C_IMPORT int32_t SetupSharp(_SSharpParam* param, void** handle);

/* Takes the image's next line. Returns 0, or 3 for settings of the context out of range or a null pointer. */
PLATEN_C_IMPORT int32_t ApplySharpFilterPutLine(void** handle, unsigned char* line);

/* Finished lines that wait: 0, 1 or 2; 0 for null. */
PLATEN_C_IMPORT uint32_t GetSharpDstLines(void* handle);

/* Fetches the next finished line, rowBytes bytes. Returns as ApplySharpFilterPutLine. */
PLATEN_C_IMPORT int32_t ApplySharpFilterGetLine(void** handle, unsigned char* line);

/* Frees a context; null is ignored. */
PLATEN_C_IMPORT void DisposeSharpness(void* handle);

/* `slot` points at a pointer variable, which receives a malloc block of `size` bytes, or null on 1. Returns 0 or 1.
 */
PLATEN_C_IMPORT int PX_Zoom_MemAlloc(void* slot, long size);

/* Frees the block that the variable at `slot` points to and sets the variable to null; nulls are ignored. */
PLATEN_C_IMPORT void PX_Zoom_MemFree(void* slot);

/* Samples of a pixel and bits of a sample of the formats 1, 8, 16, 24, 32, 48 and 64; 0 for any other value. */
PLATEN_C_IMPORT int PX_Zoom_SamplePerPixel(int pixelFormat);
PLATEN_C_IMPORT int PX_Zoom_BitsPerSample(int pixelFormat);

/* What one destination position takes from the source; PX_ZoomBilinear.h says what the fields mean for each
 * direction. */
typedef struct PX_Zoom2_Param {
    int32_t start;
    int32_t startWeight;
    int32_t wholeEnd;
    int32_t endWeight;
    int32_t endRemainder;
    int32_t weightSum;
    int32_t emit;
} PX_Zoom2_Param;

#ifdef __cplusplus
}
#endif

#endif /* declarations for C */

#ifdef __cplusplus
extern "C" {
#endif

/* -------------------------------------------------------------------------------------------------------------------
 * The companion library: tone */

/* A status in words: "done", "out of memory", "bad argument", "value out of range, or call out of order"; for any
 * other number "unknown status". */
PLATEN_C_API const char* platen_status_text(int32_t status);

/* Makes an empty world, to be freed by DisposeToneWorld. *out is null on failure.  Returns 0, 1 or 2. */
PLATEN_C_API int32_t platen_world_new(__OpaqeToneWorld** out);

/* Makes a world with deep copies of the operations of `source`. *out is null on failure.  Returns 0, 1 or 2. */
PLATEN_C_API int32_t platen_world_copy(__OpaqeToneWorld* source, __OpaqeToneWorld** out);

/* Appends the operation; the world stores the pointer only.  Returns 0, 1 or 2. */
PLATEN_C_API int32_t platen_world_add(__OpaqeToneWorld* world, _SToneOperation* op);

/* Operations in a world, and the one at an index from 0; 0 and null where there is none. */
PLATEN_C_API size_t platen_world_count(const __OpaqeToneWorld* world);
PLATEN_C_API _SToneOperation* platen_world_at(const __OpaqeToneWorld* world, size_t index);

/* Makes an operation of a type, set up with all of its properties at their defaults. DisposeOperation frees it.
 * *out is null on failure.  Returns 0, 1, or 2 for an unknown type or a null pointer. */
PLATEN_C_API int32_t platen_operation_new(uint32_t type, _SToneOperation** out);

/* Makes an operation of the host's own: any type, an apply function of the host, which may be null, and no
 * properties. Returns 0, 1 or 2. */
PLATEN_C_API int32_t platen_operation_new_custom(uint32_t type, _SToneApplyFunction apply, _SToneOperation** out);

/* Appends a property with a copy of `size` bytes of `value`.  Returns 0, 1, or 2 for an operation that was not set
 * up or a null pointer. */
PLATEN_C_API int32_t platen_operation_add_property(_SToneOperation* op, uint32_t key, uint32_t size,
                                                   const void* value);

/* Properties of an operation, and the one at an index from 0; 0 and null where there is none. The record is the
 * operation's own: a host may edit key and value, but changes `size` and `data` at its own risk. */
PLATEN_C_API size_t platen_operation_count(const _SToneOperation* op);
PLATEN_C_API _SPropertyData* platen_operation_at(const _SToneOperation* op, size_t index);

/* One property's value by its type. Ranges are not checked.  Returns 0, or 2 where the operation has no such
 * property, or one of another size: nothing has changed. */
PLATEN_C_API int32_t platen_set_int32(_SToneOperation* op, uint32_t key, int32_t value);
PLATEN_C_API int32_t platen_set_uint32(_SToneOperation* op, uint32_t key, uint32_t value);
PLATEN_C_API int32_t platen_set_double(_SToneOperation* op, uint32_t key, double value);
PLATEN_C_API int32_t platen_set_point(_SToneOperation* op, uint32_t key, float x, float y);
PLATEN_C_API int32_t platen_get_int32(const _SToneOperation* op, uint32_t key, int32_t* value);
PLATEN_C_API int32_t platen_get_uint32(const _SToneOperation* op, uint32_t key, uint32_t* value);
PLATEN_C_API int32_t platen_get_double(const _SToneOperation* op, uint32_t key, double* value);
PLATEN_C_API int32_t platen_get_point(const _SToneOperation* op, uint32_t key, float* x, float* y);

/* All values of an operation at once, with their ranges checked; the keys above say what is allowed.  Return 0, 2
 * for an operation of another type or with a property missing, or 3 for a value out of range: nothing has changed.
 */
PLATEN_C_API int32_t platen_set_brightness_contrast(_SToneOperation* op, int32_t brightness, int32_t contrast);
PLATEN_C_API int32_t platen_set_level(_SToneOperation* op, uint32_t input_black, double mid_tone,
                                      uint32_t input_white, uint32_t output_black, uint32_t output_white);
/* Nine amounts: shadows, midtones, highlights, each red, green, blue. */
PLATEN_C_API int32_t platen_set_color_balance(_SToneOperation* op, const int32_t amounts[9]);
/* The gamma curve of a strength. */
PLATEN_C_API int32_t platen_set_gamma(_SToneOperation* op, int32_t strength);
/* PLATEN_CURVE_SPLINE or PLATEN_CURVE_POLYLINE through five points, x and y of each; x must rise. */
PLATEN_C_API int32_t platen_set_curve(_SToneOperation* op, int32_t kind, const float points[10]);

/* -------------------------------------------------------------------------------------------------------------------
 * The companion library: splines */

/* Natural cubic splines through n knots (x[i], y[i]), x rising: fills the coefficients z[0] to z[n - 1] and the
 * table of the spline's values at 0 to 255, truncated and clipped to 0..255.  Returns 0, or 2 for a null pointer or
 * an n that is not 3 to 64: nothing is written. */
PLATEN_C_API int32_t platen_spline_creation(const double* x, const double* y, double* z, int32_t n,
                                            uint32_t table[256]);

/* The spline's value at t: *value is 0 to 2147483647, truncated, not clipped above. Two names of one function, as
 * the library has them.  Returns 0, or 2 for a null pointer or an n below 2. */
PLATEN_C_API int32_t platen_get_spline(int32_t n, double t, const double* x, const double* y, const double* z,
                                       int32_t* value);
PLATEN_C_API int32_t platen_get_spline_curves(int32_t n, double t, const double* x, const double* y,
                                              const double* z, int32_t* value);

/* -------------------------------------------------------------------------------------------------------------------
 * The companion library: what filter handles point to */

/* What SetupSharp's handle points to. A host may edit the settings and the kernel between lines; every call checks
 * the settings again and works from both as they then are. */
typedef struct platen_sharp_context {
    _SSharpParam* param; /* the filter's own copy */
    int32_t* kernel;     /* nine weights, row by row, and the divisor */
    uint8_t* newest_line;
    uint8_t* previous_line;
    uint8_t* oldest_line;
    uint8_t* out_line_1;
    uint8_t* out_line_2;
    uint32_t lines_in;
    uint32_t lines_ready;
} platen_sharp_context;

/* -------------------------------------------------------------------------------------------------------------------
 * The companion library: the scaler
 *
 * Statuses: 0 done | 1 out of memory | 2 a bad argument | 3 a call out of order, nothing has changed. */

struct platen_zoom_bilinear;

/* The face of the scaler, a PX_Zoom. The fields may be read; PX_Zoom.h says what edits mean. */
typedef struct platen_zoom {
    const void* vtable;                /* the C++ object's own: leave it alone */
    struct platen_zoom_bilinear* zoom; /* the implementation, owned; null while closed */
    int32_t lines_ready;
    int32_t active;
    int32_t method;
    int32_t dst_width;
    int32_t dst_height;
    int32_t src_width;
    int32_t src_height;
    int32_t pixel_format;
} platen_zoom;

/* The implementation, a PX_ZoomBilinear; PX_ZoomBilinear.h describes the fields. */
typedef struct platen_zoom_bilinear {
    platen_zoom base;
    int32_t bits_per_pixel;
    int32_t dst_line_bytes;
    int32_t src_line_bytes;
    uint32_t work_line_bytes;
    int32_t src_line_index;
    int32_t current_work;
    int32_t resend_line;
    int32_t horz_double;
    int32_t vert_double;
    void* work_line[2];
    uint8_t* bilevel_line;
    PX_Zoom2_Param* horz_param; /* a record for each destination column */
    PX_Zoom2_Param* vert_param; /* a record for each destination line */
    PX_Zoom2_Param* vert_cursor;
} platen_zoom_bilinear;

/* Makes a closed scaler: the face, which settles the method and makes the implementation in open, or the
 * implementation by itself, whose `base` the functions below take. *out is null on failure.  Returns 0, 1 or 2. */
PLATEN_C_API int32_t platen_zoom_new(platen_zoom** out);
PLATEN_C_API int32_t platen_zoom_bilinear_new(platen_zoom_bilinear** out);

/* Closes and frees either kind; null is ignored. */
PLATEN_C_API void platen_zoom_free(platen_zoom* zoom);

/* Settles the method and allocates all that the scaler will need.
 *   dst_width, dst_height   of the result, not 0
 *   src_width, src_height   of the source, not 0
 *   pixel_format            1, 8, 16, 24, 32, 48 or 64 bits a pixel; 16-bit samples are native unsigned integers
 *   method                  PLATEN_METHOD_BILINEAR. Where the library makes no other choice, 0 is
 *                           refused with 2, and any other request ends the process with an assertion, as
 *                           PX_Zoom.h tells
 *   returns                 0, 1, 2, or 3 for a scaler that is open. After 1 and 2 close it before the next try */
PLATEN_C_API int32_t platen_zoom_open(platen_zoom* zoom, int32_t dst_width, int32_t dst_height, int32_t src_width,
                                      int32_t src_height, int32_t pixel_format, int32_t method);

/* Releases the implementation and its buffers; the scaler may be opened again.  Returns 0 or 2. */
PLATEN_C_API int32_t platen_zoom_close(platen_zoom* zoom);

/* Takes the next source line, (src_width x pixel_format + 7) / 8 bytes.
 *   returns  0 | 2 null line | 3 not open, a finished line waits, or all of them have been read */
PLATEN_C_API int32_t platen_zoom_send(platen_zoom* zoom, const void* line);

/* Gives the next finished line, (dst_width x pixel_format + 7) / 8 bytes.
 *   returns  0 | 2 null line | 3 not open, or no line waits */
PLATEN_C_API int32_t platen_zoom_read(platen_zoom* zoom, void* line);

/* Finished lines that wait; 0 while closed and for null. */
PLATEN_C_API int32_t platen_zoom_check_data(platen_zoom* zoom);

/* The members that fill the records: the curve that shapes the far weight of a reduced position (0 to 0, `range` to
 * `range`); the records of a reduced axis, with 1 in *wide where a weight sum exceeds 65535, else 0; those of an
 * enlarged or kept axis. Return 0, or 2 for a null pointer or counts that don't fit (below 1, or an axis of the
 * other kind). */
PLATEN_C_API int32_t platen_zoom_shift_coefficient(int32_t weight, int32_t range, int32_t* shaped);
PLATEN_C_API int32_t platen_zoom_calc_reduced_param(PX_Zoom2_Param* table, int32_t dst_count, int32_t src_count,
                                                    int32_t* wide);
PLATEN_C_API int32_t platen_zoom_calc_expand_param(PX_Zoom2_Param* table, int32_t dst_count, int32_t src_count);

/* The passes as members, for hosts that fill records of their own. Names: arithmetic, then sample. They work from
 * the fields and records of `zoom` as they then are, the vertical ones from the record at vert_cursor. Work lines
 * hold 32-bit whole numbers, one for each destination sample, but for the accumulator of add_reduce_vert and
 * reduce_vert, which holds values of the arithmetic's type; sizes are those of the object's own buffers.  Return 0,
 * or 2 for a null pointer or a scaler that is not open. */
PLATEN_C_API int32_t platen_zoom_expand_horz_u32_u8(platen_zoom_bilinear* zoom, uint32_t* out, const uint8_t* src);
PLATEN_C_API int32_t platen_zoom_expand_horz_u32_u16(platen_zoom_bilinear* zoom, uint32_t* out,
                                                     const uint16_t* src);
PLATEN_C_API int32_t platen_zoom_expand_horz_f64_u8(platen_zoom_bilinear* zoom, uint32_t* out, const uint8_t* src);
PLATEN_C_API int32_t platen_zoom_expand_horz_f64_u16(platen_zoom_bilinear* zoom, uint32_t* out,
                                                     const uint16_t* src);
PLATEN_C_API int32_t platen_zoom_add_reduce_vert_u32(platen_zoom_bilinear* zoom, uint32_t* acc,
                                                     const uint32_t* line, int32_t weight);
PLATEN_C_API int32_t platen_zoom_add_reduce_vert_f64(platen_zoom_bilinear* zoom, double* acc, const uint32_t* line,
                                                     int32_t weight);
PLATEN_C_API int32_t platen_zoom_reduce_vert_u8_u32(platen_zoom_bilinear* zoom, uint8_t* out, const uint32_t* acc);
PLATEN_C_API int32_t platen_zoom_reduce_vert_u16_u32(platen_zoom_bilinear* zoom, uint16_t* out,
                                                     const uint32_t* acc);
PLATEN_C_API int32_t platen_zoom_reduce_vert_u8_f64(platen_zoom_bilinear* zoom, uint8_t* out, const double* acc);
PLATEN_C_API int32_t platen_zoom_reduce_vert_u16_f64(platen_zoom_bilinear* zoom, uint16_t* out, const double* acc);
PLATEN_C_API int32_t platen_zoom_expand_vert_u8_u32(platen_zoom_bilinear* zoom, uint8_t* out, const uint32_t* upper,
                                                    const uint32_t* lower);
PLATEN_C_API int32_t platen_zoom_expand_vert_u16_u32(platen_zoom_bilinear* zoom, uint16_t* out,
                                                     const uint32_t* upper, const uint32_t* lower);
PLATEN_C_API int32_t platen_zoom_expand_vert_u8_f64(platen_zoom_bilinear* zoom, uint8_t* out, const uint32_t* upper,
                                                    const uint32_t* lower);
PLATEN_C_API int32_t platen_zoom_expand_vert_u16_f64(platen_zoom_bilinear* zoom, uint16_t* out,
                                                     const uint32_t* upper, const uint32_t* lower);
PLATEN_C_API int32_t platen_zoom_equal_vert_u8(platen_zoom_bilinear* zoom, uint8_t* out, const uint32_t* line);
PLATEN_C_API int32_t platen_zoom_equal_vert_u16(platen_zoom_bilinear* zoom, uint16_t* out, const uint32_t* line);

#ifdef __cplusplus
}
#endif

#endif /* PLATEN_H */
