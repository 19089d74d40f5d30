// The work that takes longer than a frame. One source, two workers: one holds the whole page, the other a reduced copy of
// it, which it adjusts while settings change.
//
// Messages are { id, command, ... }; each is answered by { id, ... } or { id, error }, after any number of
// { id, progress }.

import { decode } from './decode.mjs';
import { openEngine } from './engine.mjs';
import { KIND } from './plan.mjs';
import { writePng } from './png.mjs';

const PROXY_PIXELS = 2_000_000;
const TILE = 2048;
const AT_ONCE = 1 << 20;  // bytes of lines that go to the module in one call

let engine = null;
let page = null;    // the whole page, or the reduced one
let small = null;   // of the reduced page a quarter, for settings that take longer than a frame
let result = null;  // what the last finished run made of it
let running = 0;    // the run that may go on

class Cancelled extends Error {}

const lineBytesOf = (layout) => (layout.width * layout.samples * layout.bits + 7) >> 3;

// Lets messages in, a cancelling one among them.
const pause = () => new Promise((resolve) => {
    const { port1, port2 } = new MessageChannel();
    port1.onmessage = () => { port1.close(); resolve(); };
    port2.postMessage(0);
});

// Runs a plan on the page. The run ends with Cancelled when another one has started.
async function run(source, plan, tables, progress) {
    const mine = ++running;
    const { output } = plan;
    const inBytes = lineBytesOf(source);
    const outBytes = lineBytesOf(output);
    const data = new Uint8Array(outBytes * output.height);
    const lines = Math.max(1, Math.floor(AT_ONCE / inBytes));
    engine.start(plan, tables);
    let written = 0;
    let paused = performance.now();
    for (let y = 0; y < source.height; y += lines) {
        const count = Math.min(lines, source.height - y);
        const ready = engine.take(source.data.subarray(y * inBytes, (y + count) * inBytes), inBytes, outBytes);
        data.set(ready, written);
        written += ready.length;
        if (performance.now() - paused > 24) {
            progress?.(y / source.height);
            await pause();
            if (mine !== running) {
                throw new Cancelled();
            }
            paused = performance.now();
        }
    }
    engine.end();
    if (written !== data.length) {
        throw new Error(`the module gave ${written} bytes instead of ${data.length}`);
    }
    return { ...output, data };
}

// Pictures of a page for the screen: [{ x, y, bitmap }].
async function tilesOf(whole) {
    const tiles = [];
    const bytes = lineBytesOf(whole);
    for (let y = 0; y < whole.height; y += TILE) {
        const height = Math.min(TILE, whole.height - y);
        const strip = new ImageData(whole.width, height);
        const step = Math.max(1, Math.floor(AT_ONCE / bytes));
        for (let at = 0; at < height; at += step) {
            const count = Math.min(step, height - at);
            const lines = whole.data.subarray((y + at) * bytes, (y + at + count) * bytes);
            strip.data.set(engine.show(whole, lines, count), at * whole.width * 4);
        }
        for (let x = 0; x < whole.width; x += TILE) {
            const width = Math.min(TILE, whole.width - x);
            tiles.push({ x, y, width, height, bitmap: await createImageBitmap(strip, x, 0, width, height) });
        }
    }
    return tiles;
}

// The page with 8 bits a sample and at most that many pixels.
async function proxyOf(whole, most) {
    const layout = ({ width, height, samples, bits }) => ({ width, height, samples, bits });
    const plan = { steps: [], output: layout(whole) };
    const add = (kind, changes) => {
        const next = { ...plan.output, ...changes };
        plan.steps.push({ kind, in: plan.output, out: next });
        plan.output = next;
    };
    if (whole.bits === 1) {
        add(KIND.bilevelToGrey, { bits: 8 });
    } else if (whole.bits === 16) {
        add(KIND.depth16To8, { bits: 8 });
    }
    const factor = Math.min(1, Math.sqrt(most / (whole.width * whole.height)));
    if (factor < 1) {
        const side = (length) => Math.max(1, Math.floor(length * factor));
        add(KIND.scale, { width: side(whole.width), height: side(whole.height) });
    }
    return plan.steps.length === 0 ? layoutAndData(whole) : run(whole, plan, new Uint8Array(768));
}

const layoutAndData = ({ width, height, samples, bits, data }) => ({ width, height, samples, bits, data });

// Counted on the reduced page for bilevel and 16-bit pages, on the page itself for others.
function histogramOf(whole, proxy) {
    const counted = whole.bits === 8 ? whole : proxy;
    const counter = engine.counter();
    const bytes = lineBytesOf(counted);
    const step = Math.max(1, Math.floor(AT_ONCE / bytes));
    for (let y = 0; y < counted.height; y += step) {
        const count = Math.min(step, counted.height - y);
        counter.add(counted, counted.data.subarray(y * bytes, (y + count) * bytes), count);
    }
    return counter.result();
}

const COMMANDS = {
    async open({ module }) {
        engine = await openEngine(module);
        return [{ kernels: engine.kernels() }];
    },

    // Reads a file and keeps its page.
    async load({ blob }, progress) {
        ++running;
        const next = await decode(blob, engine, progress);
        page = next;
        result = null;
        const proxy = await proxyOf(page, PROXY_PIXELS);
        const tiles = await tilesOf(page);
        const { data, ...info } = page;
        const proxyCopy = { ...proxy, data: proxy.data.slice() };
        return [{ info: { ...info, bytes: blob.size }, histogram: histogramOf(page, proxy), proxy: proxyCopy, tiles },
            [proxyCopy.data.buffer, ...tiles.map((tile) => tile.bitmap)]];
    },

    // Takes a reduced page to work on, and reduces it once more.
    async keep({ proxy }) {
        page = proxy;
        small = await proxyOf(page, PROXY_PIXELS / 4);
        const tiles = await tilesOf(page);
        return [{ tiles, small: { width: small.width, height: small.height, samples: small.samples, bits: small.bits } },
            tiles.map((tile) => tile.bitmap)];
    },

    async run({ plan, tables, keepResult, fast }, progress) {
        const begun = performance.now();
        const done = await run(fast ? small : page, plan, tables, progress);
        const computed = performance.now() - begun;
        result = keepResult ? { ...done, icc: plan.output.coloursChanged ? null : page.icc } : null;
        const tiles = await tilesOf(done);
        // A large result is drawn from a reduced copy of it where it is shown reduced.
        let reduced = null;
        if (keepResult && done.width * done.height > PROXY_PIXELS) {
            const copy = await proxyOf(done, PROXY_PIXELS);
            reduced = { width: copy.width, height: copy.height, tiles: await tilesOf(copy) };
        }
        const bitmaps = [...tiles, ...(reduced?.tiles ?? [])].map((tile) => tile.bitmap);
        return [{ tiles, reduced, milliseconds: computed }, bitmaps];
    },

    async cancel() {
        ++running;
        return [{}];
    },

    // The last result as a PNG file.
    async encode(_message, progress) {
        if (result === null) {
            throw new Error('there is no result yet');
        }
        return [{ blob: await writePng(result, progress) }];
    },
};

self.onmessage = async ({ data: message }) => {
    const { id } = message;
    try {
        const [answer, transfer] = await COMMANDS[message.command](message, (progress) => self.postMessage({ id, progress }));
        self.postMessage({ id, ...answer }, transfer ?? []);
    } catch (error) {
        const cancelled = error instanceof Cancelled;
        const short = error instanceof RangeError || error instanceof WebAssembly.RuntimeError ? 'out of memory: close other tabs, or use a smaller page' : error.message;
        self.postMessage({ id, error: short, cancelled });
    }
};
