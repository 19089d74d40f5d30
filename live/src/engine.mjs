// The WebAssembly module: the library and flat functions (live/module/module.h).

const TABLE_BYTES = 768;
const LAYOUT_BYTES = 16;

// The module names a few of WASI's functions; it calls them only on its way to an abort.
function imports() {
    const refuse = (name) => () => {
        if (name === 'proc_exit') {
            throw new Error('the module stopped');
        }
        return 52;  // there is no such thing
    };
    return { wasi_snapshot_preview1: new Proxy({}, { get: (_target, name) => refuse(name) }) };
}

export async function openEngine(module) {
    const instance = await WebAssembly.instantiate(module, imports());
    instance.exports._initialize();
    return new Engine(instance.exports);
}

export class Engine {
    constructor(exports) {
        this.x = exports;
    }

    bytes(at, length) {
        return new Uint8Array(this.x.memory.buffer, at, length);
    }

    // Memory of the module; a RangeError where there is none.
    alloc(bytes) {
        const at = this.x.live_alloc(bytes);
        if (at === 0) {
            throw new RangeError('out of memory');
        }
        return at;
    }

    kernels() {
        const at = this.x.live_kernels();
        const text = new Uint8Array(this.x.memory.buffer, at, 64);
        return String.fromCharCode(...text.subarray(0, text.indexOf(0)));
    }

    layout({ width, height, samples, bits }) {
        const at = this.alloc(LAYOUT_BYTES);
        const view = new DataView(this.x.memory.buffer, at, LAYOUT_BYTES);
        view.setUint32(0, width, true);
        view.setUint32(4, height, true);
        view.setInt32(8, samples, true);
        view.setInt32(12, bits, true);
        return at;
    }

    addToneStep(step) {
        const { x } = this;
        switch (step.type) {
            case 'bc':
                return x.tone_brightness_contrast(step.brightness, step.contrast);
            case 'levels':
                return x.tone_levels(step.black, step.white, step.gamma, step.outBlack, step.outWhite);
            case 'curve': {
                const at = this.alloc(40);
                new Float32Array(x.memory.buffer, at, 10).set(step.points.flat());
                const status = x.tone_curve(step.kind === 'spline' ? 3 : 1, at, 0);
                x.live_free(at);
                return status;
            }
            case 'curveGamma':
                return x.tone_curve(2, 0, step.strength);
            default:
                return x.tone_balance(['shadows', 'midtones', 'highlights'].indexOf(step.group), ...step.shift);
        }
    }

    // The three tables that tone steps fold into, 256 entries each in one array. Steps that are off are passed over.
    fold(steps, depth = 24) {
        let status = this.x.tone_begin();
        for (const step of steps.filter(({ on }) => on)) {
            status ||= this.addToneStep(step);
        }
        if (status !== 0) {
            throw new RangeError('out of memory');
        }
        const at = this.alloc(TABLE_BYTES);
        this.x.tone_fold(depth, at);
        const tables = this.bytes(at, TABLE_BYTES).slice();
        this.x.live_free(at);
        return tables;
    }

    // A page's lines from beginning to end: call `take` with whole lines, from the top; it gives the lines that are ready,
    // a view that is gone with the next call.
    start(plan, tables) {
        const { x } = this;
        x.page_begin();
        const freeLater = [];
        const keep = (at) => (freeLater.push(at), at);
        for (const step of plan.steps) {
            const settings = keep(this.alloc(24));
            new Float64Array(x.memory.buffer, settings, 3).set([0, 1, 2].map((i) => step.settings?.[i] ?? 0));
            const table = keep(this.alloc(TABLE_BYTES));
            this.bytes(table, TABLE_BYTES).set(tables);
            x.page_step(step.kind, keep(this.layout(step.in)), keep(this.layout(step.out)), settings, table);
        }
        x.page_start(keep(this.layout(plan.output)));
        freeLater.forEach((at) => x.live_free(at));
    }

    // Bytes of the buffer for lines that go in, which `take` reads.
    lineBuffer(bytes) {
        if ((this.bufferBytes ?? 0) < bytes) {
            this.x.live_free(this.buffer ?? 0);
            this.buffer = this.alloc(bytes);
            this.bufferBytes = bytes;
        }
        return this.buffer;
    }

    take(lines, lineBytes, outLineBytes) {
        const at = this.lineBuffer(lines.length);
        this.bytes(at, lines.length).set(lines);
        const count = this.x.page_take(at, lineBytes, lines.length / lineBytes);
        return this.bytes(this.x.page_lines(), count * outLineBytes);
    }

    end() {
        this.x.page_end();
    }

    // Lines of a layout as RGBA: a view that is gone with the next call.
    show(layout, lines, count) {
        const bytes = layout.width * count * 4;
        const at = this.lineBuffer(lines.length);
        this.bytes(at, lines.length).set(lines);
        if ((this.screenBytes ?? 0) < bytes) {
            this.x.live_free(this.screen ?? 0);
            this.screen = this.alloc(bytes);
            this.screenBytes = bytes;
        }
        const shape = this.layout(layout);
        this.x.show_lines(shape, at, count, this.screen);
        this.x.live_free(shape);
        return this.bytes(this.screen, bytes);
    }

    // Histograms of lines of 8 bits: red, green, blue and luminance, 256 counts each, added up over the calls.
    counter() {
        const counts = this.alloc(4096);
        this.bytes(counts, 4096).fill(0);
        return {
            add: (layout, lines, count) => {
                const at = this.lineBuffer(lines.length);
                this.bytes(at, lines.length).set(lines);
                const shape = this.layout(layout);
                this.x.count_lines(shape, at, count, counts);
                this.x.live_free(shape);
            },
            result: () => {
                const result = new Uint32Array(this.x.memory.buffer, counts, 1024).slice();
                this.x.live_free(counts);
                return result;
            },
        };
    }

    // Undoes the filters of a PNG's rows, one after the other: `next` takes a row with its filter byte and gives the row's
    // bytes (a view, gone with the next call), or null where the filter is unknown.
    makeUnfilter(rowBytes, pixelBytes) {
        const both = this.alloc(2 * rowBytes);
        let above = 0;
        let current = both;
        return {
            next: (raw) => {
                const row = this.bytes(current, rowBytes);
                row.set(raw.subarray(1));
                if (this.x.png_unfilter(raw[0], current, above, rowBytes, pixelBytes) !== 0) {
                    return null;
                }
                above = current;
                current = current === both ? both + rowBytes : both;
                return row;
            },
            free: () => this.x.live_free(both),
        };
    }
}
