/* A scanned page, adjusted line by line: pipeline IN.ppm OUT.ppm
 *
 * Reads a binary PPM (P6, 255, no comments) of at least 3 x 2 pixels and writes one. Each line passes, in this
 * order:
 *   1. tone: levels with black 20, mid-tone 1.2 and white 235, then contrast 10, folded into three tables
 *   2. saturation 15 percent up
 *   3. sharpness, level 1, which holds one line back
 *   4. half the width and half the height, both rounded up
 * No more than a few lines are in memory. pipeline.cpp and pipeline.py do the same and give the same bytes.
 */
#include <platen.h>
#include <stdio.h>
#include <stdlib.h>

struct page {
    FILE* in;
    FILE* out;
    int width, height, out_width, out_height;
    unsigned char* line;     /* the line in hand */
    unsigned char* finished; /* the scaler's */
    uint8_t tables[3][256];
    void* hsv;
    void* sharp;
    platen_zoom* zoom;
};

/* Ends the program where a call failed. */
static void check(int32_t status, const char* what) {
    if (status != PLATEN_DONE) {
        fprintf(stderr, "pipeline: %s: %s\n", what, platen_status_text(status));
        exit(1);
    }
}

static _SToneOperation* add_operation(__OpaqeToneWorld* world, uint32_t type) {
    _SToneOperation* op = NULL;
    check(platen_operation_new(type, &op), "operation");
    check(platen_world_add(world, op), "operation");
    return op;
}

static void make_tables(struct page* page) {
    __OpaqeToneWorld* world = NULL;
    _SToneCurve curve = {0, 0, 24, page->tables[0], page->tables[1], page->tables[2], 0, NULL};
    check(platen_world_new(&world), "tone world");
    check(platen_set_level(add_operation(world, PLATEN_TYPE_LEVEL), 20, 1.2, 235, 0, 255), "levels");
    check(platen_set_brightness_contrast(add_operation(world, PLATEN_TYPE_BRIGHTNESS_CONTRAST), 0, 10), "contrast");
    MakeToneCurve(world, &curve);
    DisposeToneWorld(world, 1);
}

static void open_page(struct page* page, const char* in, const char* out) {
    int highest = 0;
    page->in = fopen(in, "rb");
    page->out = fopen(out, "wb");
    if (page->in == NULL || page->out == NULL ||
        fscanf(page->in, "P6 %d %d %d", &page->width, &page->height, &highest) != 3 || highest != 255 ||
        fgetc(page->in) == EOF || page->width < 3 || page->height < 2) {
        fprintf(stderr, "pipeline: %s: not a binary PPM of at least 3 x 2 pixels, or %s can't be written\n", in,
                out);
        exit(1);
    }
    page->out_width = (page->width + 1) / 2;
    page->out_height = (page->height + 1) / 2;
    page->line = malloc((size_t)page->width * 3);
    page->finished = malloc((size_t)page->out_width * 3);
    check(page->line == NULL || page->finished == NULL ? PLATEN_OUT_OF_MEMORY : PLATEN_DONE, "lines");
}

static void open_stages(struct page* page) {
    const uint32_t row_bytes = (uint32_t)page->width * 3;
    _SHsvParam hsv = {0, 15, 0, 24, 0, 1, 1};
    _SSharpParam sharp = {1, 24, 0, 0, 0};
    hsv.width = page->width;
    sharp.width = (uint32_t)page->width;
    sharp.height = (uint32_t)page->height;
    sharp.rowBytes = row_bytes;
    make_tables(page);
    check(SetupHsv(&hsv, &page->hsv), "saturation");
    check(SetupSharp(&sharp, &page->sharp), "sharpness");
    check(platen_zoom_new(&page->zoom), "scaler");
    check(platen_zoom_open(page->zoom, page->out_width, page->out_height, page->width, page->height, 24,
                           PLATEN_METHOD_BILINEAR),
          "scaler");
}

/* The line in hand through all stages, and what they finish into the file. */
static void pass_line(struct page* page) {
    size_t i;
    for (i = 0; i < (size_t)page->width * 3; ++i) {
        page->line[i] = page->tables[i % 3][page->line[i]];
    }
    check(ApplyOneLineHsv(page->hsv, page->line), "saturation");
    check(ApplySharpFilterPutLine(&page->sharp, page->line), "sharpness");
    while (GetSharpDstLines(page->sharp) != 0) {
        check(ApplySharpFilterGetLine(&page->sharp, page->line), "sharpness");
        check(platen_zoom_send(page->zoom, page->line), "scaler");
        while (platen_zoom_check_data(page->zoom) > 0) {
            check(platen_zoom_read(page->zoom, page->finished), "scaler");
            fwrite(page->finished, 3, (size_t)page->out_width, page->out);
        }
    }
}

int main(int argc, char** argv) {
    struct page page = {0};
    int y;
    if (argc != 3) {
        fprintf(stderr, "usage: pipeline IN.ppm OUT.ppm\n");
        return 2;
    }
    open_page(&page, argv[1], argv[2]);
    open_stages(&page);
    fprintf(page.out, "P6\n%d %d\n255\n", page.out_width, page.out_height);
    for (y = 0; y < page.height; ++y) {
        if (fread(page.line, 3, (size_t)page.width, page.in) != (size_t)page.width) {
            fprintf(stderr, "pipeline: %s ends at line %d of %d\n", argv[1], y, page.height);
            return 1;
        }
        pass_line(&page);
    }
    platen_zoom_free(page.zoom);
    DisposeSharpness(page.sharp);
    Disposehsv(page.hsv);
    free(page.finished);
    free(page.line);
    fclose(page.in);
    if (ferror(page.out) != 0 || fclose(page.out) != 0) {
        fprintf(stderr, "pipeline: %s: write error\n", argv[2]);
        return 1;
    }
    return 0;
}
