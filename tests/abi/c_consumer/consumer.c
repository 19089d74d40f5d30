/* A small host in C. It calls all three services through platen.h and answers 0 where the results are what the
 * header promises. Built with FAIL_MALLOC it stands between the libraries and malloc, lets every request fail once,
 * and expects a status from each call. */
#include <platen.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifdef FAIL_MALLOC
static long requests_left = -1; /* before the one that fails; negative: none does */

void* __libc_malloc(size_t size);
void* malloc(size_t size);
void* malloc(size_t size) {
    if (requests_left >= 0 && requests_left-- == 0) {
        return NULL;
    }
    return __libc_malloc(size);
}
#endif

/* Four operations, a copy of their world, its tables. */
static int32_t tone(void) {
    static const uint32_t types[] = {PLATEN_TYPE_BRIGHTNESS_CONTRAST, PLATEN_TYPE_LEVEL, PLATEN_TYPE_COLOR_BALANCE,
                                     PLATEN_TYPE_CURVES};
    uint8_t tables[3][256];
    _SToneCurve curve;
    __OpaqeToneWorld* world = NULL;
    __OpaqeToneWorld* copy = NULL;
    size_t i;
    int32_t status = platen_world_new(&world);
    for (i = 0; i < 4 && status == PLATEN_DONE; ++i) {
        _SToneOperation* op = NULL;
        status = platen_operation_new(types[i], &op);
        if (status == PLATEN_DONE) {
            status = platen_world_add(world, op);
            if (status != PLATEN_DONE) {
                DisposeOperation(op);
            }
        }
    }
    if (status == PLATEN_DONE) {
        status = platen_set_int32(platen_world_at(world, 0), PLATEN_KEY_CONTRAST, 30);
    }
    if (status == PLATEN_DONE) {
        status = platen_world_copy(world, &copy);
    }
    if (status == PLATEN_DONE) {
        memset(&curve, 0, sizeof curve);
        curve.depth = 24;
        curve.redTable = tables[0];
        curve.greenTable = tables[1];
        curve.blueTable = tables[2];
        MakeToneCurve(copy, &curve);
        if (tables[0][64] != 37 || platen_world_count(copy) != 4) {
            status = -1;
        }
    }
    DisposeToneWorld(copy, 1);
    DisposeToneWorld(world, 1);
    return status;
}

/* A flat page stays flat through both filters; the HSV filter turns it gray. */
static int32_t filters(void) {
    _SHsvParam hsv = {0, -100, 0, 24, 4, 3, 12};
    _SSharpParam sharp = {1, 24, 4, 3, 12};
    void* hsv_handle = NULL;
    void* sharp_handle = NULL;
    unsigned char line[12];
    int lines = 0;
    int y;
    int32_t status = SetupHsv(&hsv, &hsv_handle);
    if (status == PLATEN_DONE) {
        status = SetupSharp(&sharp, &sharp_handle);
    }
    for (y = 0; y < 3 && status == PLATEN_DONE; ++y) {
        memcpy(line, "\0\100\200\0\100\200\0\100\200\0\100\200", 12);
        status = ApplyOneLineHsv(hsv_handle, line);
        if (status == PLATEN_DONE) {
            status = ApplySharpFilterPutLine(&sharp_handle, line);
        }
        while (status == PLATEN_DONE && GetSharpDstLines(sharp_handle) != 0) {
            status = ApplySharpFilterGetLine(&sharp_handle, line);
            ++lines;
            if (line[0] != 64 || line[5] != 64 || line[11] != 64) {
                status = -1;
            }
        }
    }
    if (status == PLATEN_DONE && (lines != 3 || gStorage[200] != 200 || sfilterParamTable[0][9] != 9)) {
        status = -1;
    }
    DisposeSharpness(sharp_handle);
    Disposehsv(hsv_handle);
    return status;
}

/* A bilevel page of all ones is enlarged; so is a spline's table. */
static int32_t scaler(void) {
    static const unsigned char ones[2] = {0xFF, 0xC0};
    static const double x[3] = {0, 127, 255};
    unsigned char line[3];
    double z[3];
    uint32_t table[256];
    platen_zoom* zoom = NULL;
    int lines = 0;
    int y;
    int32_t status = platen_zoom_new(&zoom);
    if (status == PLATEN_DONE) {
        status = platen_zoom_open(zoom, 20, 7, 10, 3, 1, PLATEN_METHOD_BILINEAR);
    }
    for (y = 0; y < 3 && status == PLATEN_DONE; ++y) {
        status = platen_zoom_send(zoom, ones);
        while (status == PLATEN_DONE && platen_zoom_check_data(zoom) > 0) {
            status = platen_zoom_read(zoom, line);
            ++lines;
            if (line[0] != 0xFF || line[2] != 0xF0) {
                status = -1;
            }
        }
    }
    if (status == PLATEN_DONE &&
        (lines != 7 || zoom->dst_width != 20 || zoom->zoom->horz_param[0].weightSum != 19)) {
        status = -1;
    }
    platen_zoom_free(zoom);
    if (status == PLATEN_DONE) {
        status = platen_spline_creation(x, x, z, 3, table);
    }
    if (status == PLATEN_DONE && table[100] != 100) {
        status = -1;
    }
    return status;
}

/* `tolerated` is what a call may answer instead of 1: where the scaler can't make its implementation it says 2. */
static int check(const char* name, int32_t (*service)(void), int32_t tolerated) {
    long failures = 0;
    int32_t status = service();
    if (status != PLATEN_DONE) {
        printf("%s: status %ld (%s)\n", name, (long)status, platen_status_text(status));
        return 1;
    }
#ifdef FAIL_MALLOC
    for (;;) {
        requests_left = failures;
        status = service();
        if (requests_left >= 0) { /* fewer requests than that: none failed */
            requests_left = -1;
            break;
        }
        if (status != PLATEN_OUT_OF_MEMORY && status != tolerated) {
            printf("%s: request %ld fails, and the status is %ld\n", name, failures, (long)status);
            return 1;
        }
        ++failures;
    }
    if (failures == 0) {
        printf("%s: no request for memory was seen\n", name);
        return 1;
    }
#else
    (void)tolerated;
#endif
    printf("%s: as promised, %ld requests failed one by one\n", name, failures);
    return 0;
}

int main(void) {
    int failed = check("tone", tone, PLATEN_OUT_OF_MEMORY);
    failed += check("filters", filters, PLATEN_OUT_OF_MEMORY);
    failed += check("scaler", scaler, PLATEN_BAD_ARGUMENT);
    return failed != 0;
}
