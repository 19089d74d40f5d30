// PNG files, read and written with their samples untouched: the browser's own decoder would convert colours, expand grey
// pages and multiply by alpha. The result has the tool's layouts (programs/base/ImageInfo.h); palettes are expanded, 2 and 4
// bits become 8, transparency by colour becomes alpha.

const SIGNATURE = [137, 80, 78, 71, 13, 10, 26, 10];
const MOST_CHUNK = 0x7FFFFFFF;

let crcTable = null;

function makeCrcTable() {
    const table = new Uint32Array(256);
    for (let n = 0; n < 256; ++n) {
        let c = n;
        for (let k = 0; k < 8; ++k) {
            c = c & 1 ? 0xEDB88320 ^ (c >>> 1) : c >>> 1;
        }
        table[n] = c >>> 0;
    }
    return table;
}

function crc(bytes, start, end, seed = 0xFFFFFFFF) {
    crcTable ??= makeCrcTable();
    let c = seed;
    for (let i = start; i < end; ++i) {
        c = crcTable[(c ^ bytes[i]) & 0xFF] ^ (c >>> 8);
    }
    return c;
}

class DamagedPng extends Error {
    constructor(what) {
        super(`the PNG is damaged: ${what}`);
    }
}

export function isPng(bytes) {
    return SIGNATURE.every((byte, i) => bytes[i] === byte);
}

// The chunks' places in the file, their checksums compared.
function* chunks(bytes) {
    const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    let at = SIGNATURE.length;
    for (;;) {
        if (at + 12 > bytes.length) {
            throw new DamagedPng('the file ends too early');
        }
        const length = view.getUint32(at);
        const type = String.fromCharCode(...bytes.subarray(at + 4, at + 8));
        if (length > MOST_CHUNK || at + 12 + length > bytes.length) {
            throw new DamagedPng('the file ends too early');
        }
        const start = at + 8;
        if (((crc(bytes, at + 4, start + length) ^ 0xFFFFFFFF) >>> 0) !== view.getUint32(start + length)) {
            throw new DamagedPng(`the checksum of ${/^[A-Za-z]{4}$/.test(type) ? type : 'a chunk'} is wrong`);
        }
        yield { type, start, length };
        if (type === 'IEND') {
            return;
        }
        at = start + length + 4;
    }
}

const SAMPLES_OF_TYPE = { 0: 1, 2: 3, 3: 1, 4: 2, 6: 4 };
const BITS_OF_TYPE = { 0: [1, 2, 4, 8, 16], 2: [8, 16], 3: [1, 2, 4, 8], 4: [8, 16], 6: [8, 16] };

function readHeader(bytes, { type, start, length }) {
    if (type !== 'IHDR' || length !== 13) {
        throw new DamagedPng('it does not begin with a header');
    }
    const view = new DataView(bytes.buffer, bytes.byteOffset + start, length);
    const header = {
        width: view.getUint32(0), height: view.getUint32(4), bits: view.getUint8(8), type: view.getUint8(9),
        interlaced: view.getUint8(12) === 1,
    };
    if (header.width === 0 || header.height === 0 || !BITS_OF_TYPE[header.type]?.includes(header.bits) ||
        view.getUint8(10) !== 0 || view.getUint8(11) !== 0 || view.getUint8(12) > 1) {
        throw new DamagedPng('its header is invalid');
    }
    return header;
}

const ADAM7 = [[0, 0, 8, 8], [4, 0, 8, 8], [0, 4, 4, 8], [2, 0, 4, 4], [0, 2, 2, 4], [1, 0, 2, 2], [0, 1, 1, 2]];

// The passes of a page: first column and line, steps, and size. Passes without pixels are left out.
function passes({ width, height, interlaced }) {
    const all = interlaced ? ADAM7 : [[0, 0, 1, 1]];
    return all.map(([x, y, dx, dy]) => ({
        x, y, dx, dy, width: Math.ceil((width - x) / dx), height: Math.ceil((height - y) / dy),
    })).filter((pass) => pass.width > 0 && pass.height > 0);
}

// Takes a stream of bytes into pieces of a wanted length.
class Pieces {
    constructor(stream) {
        this.reader = stream.getReader();
        this.piece = new Uint8Array(0);
        this.at = 0;
    }

    async fill(target) {
        let filled = 0;
        while (filled < target.length) {
            if (this.at === this.piece.length) {
                const { done, value } = await this.reader.read();
                if (done) {
                    throw new DamagedPng('not enough image data');
                }
                this.piece = value;
                this.at = 0;
            }
            const count = Math.min(target.length - filled, this.piece.length - this.at);
            target.set(this.piece.subarray(this.at, this.at + count), filled);
            filled += count;
            this.at += count;
        }
    }
}

function inflated(bytes, parts) {
    const compressed = new ReadableStream({
        start(controller) {
            parts.forEach(({ start, length }) => controller.enqueue(bytes.subarray(start, start + length)));
            controller.close();
        },
    });
    return compressed.pipeThrough(new DecompressionStream('deflate'));
}

// How a row of the file becomes a line of the page's layout.
function rowConverter(header, palette, transparent) {
    const { bits, type } = header;
    const sampleAt = (row, i) => (bits === 8 ? row[i] : (row[(i * bits) >> 3] >> (8 - bits - ((i * bits) & 7))) & ((1 << bits) - 1));
    if (type === 3) {
        const samples = transparent === null ? 3 : 4;
        const entries = palette.length / 3;
        return {
            samples, bits: 8,
            convert(row, width, out, at, step) {
                for (let x = 0; x < width; ++x, at += step * samples) {
                    const index = sampleAt(row, x);
                    for (let s = 0; s < 3; ++s) {
                        out[at + s] = index < entries ? palette[3 * index + s] : 0;
                    }
                    if (samples === 4) {
                        out[at + 3] = index < transparent.length ? transparent[index] : 255;
                    }
                }
            },
        };
    }
    const inSamples = SAMPLES_OF_TYPE[type];
    const alpha = transparent !== null;
    const samples = inSamples + (alpha ? 1 : 0);
    if (type === 0 && bits === 1 && !alpha) {
        return { samples: 1, bits: 1, convert: null };
    }
    if (bits < 8) {
        const factor = 255 / ((1 << bits) - 1);
        const key = alpha ? ((transparent[0] << 8) | transparent[1]) & ((1 << bits) - 1) : -1;
        return {
            samples, bits: 8,
            convert(row, width, out, at, step) {
                for (let x = 0; x < width; ++x, at += step * samples) {
                    const level = sampleAt(row, x);
                    out[at] = level * factor;
                    if (alpha) {
                        out[at + 1] = level === key ? 0 : 255;
                    }
                }
            },
        };
    }
    const bytes = bits / 8;
    const key = [];
    for (let s = 0; alpha && s < inSamples; ++s) {
        key.push(bits === 16 ? [transparent[2 * s], transparent[2 * s + 1]] : [transparent[2 * s + 1]]);
    }
    return {
        samples, bits,
        convert(row, width, out, at, step) {
            for (let x = 0; x < width; ++x, at += step * samples * bytes) {
                let matches = alpha;
                for (let s = 0; s < inSamples; ++s) {
                    const from = (x * inSamples + s) * bytes;
                    for (let b = 0; b < bytes; ++b) {
                        out[at + s * bytes + b] = row[from + (bytes === 2 ? 1 - b : b)];  // to little endian
                        matches &&= row[from + b] === key[s][b];
                    }
                }
                for (let b = 0; alpha && b < bytes; ++b) {
                    out[at + inSamples * bytes + b] = matches ? 0 : 255;
                }
            }
        },
    };
}

function bitsIntoPage(row, pass, header, out) {
    const lineBytes = (header.width + 7) >> 3;
    const first = pass.line * lineBytes;
    if (pass.dx === 1 && pass.x === 0) {
        for (let i = 0; i < lineBytes; ++i) {
            out[first + i] = ~row[i];
        }
        if (header.width & 7) {
            out[first + lineBytes - 1] &= 0xFF00 >> (header.width & 7);
        }
        return;
    }
    for (let i = 0; i < pass.width; ++i) {
        const x = pass.x + i * pass.dx;
        if (((row[i >> 3] >> (7 - (i & 7))) & 1) === 0) {
            out[first + (x >> 3)] |= 0x80 >> (x & 7);
        }
    }
}

// The page of a PNG file: { width, height, samples, bits, data, resolution, icc }. A damaged file is an Error.
//   unfilter   engine.unfilter of live/src/engine.mjs
//   checkSize  throws where a page is too large
//   progress   called with 0 to 1; may be asynchronous
export async function readPng(bytes, { makeUnfilter, checkSize, progress = () => {} }) {
    const parts = [];
    let header = null;
    let palette = null;
    let transparent = null;
    let resolution = null;
    let icc = null;
    for (const chunk of chunks(bytes)) {
        const data = () => bytes.slice(chunk.start, chunk.start + chunk.length);
        if (header === null) {
            header = readHeader(bytes, chunk);
            checkSize(header.width, header.height);
        } else if (chunk.type === 'IDAT') {
            parts.push(chunk);
        } else if (chunk.type === 'PLTE') {
            palette = data();
        } else if (chunk.type === 'tRNS' && header.type < 4) {
            transparent = data();
        } else if (chunk.type === 'iCCP') {
            icc = data();
        } else if (chunk.type === 'pHYs' && chunk.length === 9) {
            const view = new DataView(bytes.buffer, bytes.byteOffset + chunk.start, 9);
            if (view.getUint8(8) === 1 && view.getUint32(0) !== 0 && view.getUint32(4) !== 0) {
                resolution = { x: [view.getUint32(0) * 127, 5000], y: [view.getUint32(4) * 127, 5000] };
            }
        }
    }
    if (header.type === 3 && (palette === null || palette.length === 0 || palette.length % 3 !== 0)) {
        throw new DamagedPng('it has no palette');
    }
    if (parts.length === 0) {
        throw new DamagedPng('it has no image data');
    }
    const { samples, bits, convert } = rowConverter(header, palette, transparent);
    const lineBytes = (header.width * samples * bits + 7) >> 3;
    const data = new Uint8Array(lineBytes * header.height);
    const pixelBits = SAMPLES_OF_TYPE[header.type] * header.bits;
    const stream = new Pieces(inflated(bytes, parts));
    try {
        for (const pass of passes(header)) {
            const rowBytes = (pass.width * pixelBits + 7) >> 3;
            const unfilter = makeUnfilter(rowBytes, Math.max(pixelBits >> 3, 1));
            try {
                const raw = new Uint8Array(1 + rowBytes);
                for (let y = 0; y < pass.height; ++y) {
                    await stream.fill(raw);
                    const row = unfilter.next(raw);
                    if (row === null) {
                        throw new DamagedPng('a row has an unknown filter');
                    }
                    const line = pass.y + y * pass.dy;
                    if (convert === null) {
                        bitsIntoPage(row, { ...pass, line }, header, data);
                    } else {
                        convert(row, pass.width, data, line * lineBytes + (pass.x * samples * bits) / 8, pass.dx);
                    }
                    if ((y & 255) === 0) {
                        await progress(y / pass.height);
                    }
                }
            } finally {
                unfilter.free();
            }
        }
    } catch (error) {
        throw error instanceof TypeError ? new DamagedPng('its data cannot be decompressed') : error;
    }
    return { width: header.width, height: header.height, samples, bits, data, resolution, icc };
}

function chunkBytes(type, data) {
    const bytes = new Uint8Array(12 + data.length);
    const view = new DataView(bytes.buffer);
    view.setUint32(0, data.length);
    [...type].forEach((letter, i) => { bytes[4 + i] = letter.charCodeAt(0); });
    bytes.set(data, 8);
    view.setUint32(8 + data.length, (crc(bytes, 4, 8 + data.length) ^ 0xFFFFFFFF) >>> 0);
    return bytes;
}

const TYPE_OF_SAMPLES = { 1: 0, 2: 4, 3: 2, 4: 6 };

function headerBytes({ width, height, samples, bits }) {
    const bytes = new Uint8Array(13);
    const view = new DataView(bytes.buffer);
    view.setUint32(0, width);
    view.setUint32(4, height);
    bytes[8] = bits;
    bytes[9] = TYPE_OF_SAMPLES[samples];
    return bytes;
}

function resolutionBytes(resolution) {
    const bytes = new Uint8Array(9);
    const view = new DataView(bytes.buffer);
    const perMetre = ([n, d]) => Math.min(Math.max(Math.floor((n * 5000) / (127 * d) + 0.5), 1), 0x7FFFFFFF);
    view.setUint32(0, perMetre(resolution.x));
    view.setUint32(4, perMetre(resolution.y));
    bytes[8] = 1;
    return bytes;
}

// A line as a PNG row: one filter byte, then the samples, big endian; PNG's 1 bits are white.
function pngRow({ width, samples, bits }, line, above, row) {
    if (bits === 1) {
        row[0] = 0;
        for (let i = 0; i < line.length; ++i) {
            row[i + 1] = ~line[i];
        }
        if (width & 7) {
            row[line.length] &= 0xFF00 >> (width & 7);
        }
        return;
    }
    const wide = bits === 16 ? 1 : 0;
    row[0] = above === null ? 0 : 2;  // up: the scans' best cheap one
    for (let i = 0; i < line.length; ++i) {
        row[i + 1] = line[i ^ wide] - (above === null ? 0 : above[i ^ wide]);
    }
}

// A page as a PNG file, a Blob.
export async function writePng(page, progress = () => {}) {
    const { width, height, samples, bits, data } = page;
    const lineBytes = (width * samples * bits + 7) >> 3;
    const compressor = new CompressionStream('deflate');
    const writer = compressor.writable.getWriter();
    const parts = [];
    const reading = (async () => {
        const reader = compressor.readable.getReader();
        for (let piece = await reader.read(); !piece.done; piece = await reader.read()) {
            parts.push(chunkBytes('IDAT', piece.value));
        }
    })();
    const linesAtOnce = Math.max(1, Math.floor(262144 / lineBytes));
    for (let y = 0; y < height; y += linesAtOnce) {
        const count = Math.min(linesAtOnce, height - y);
        const rows = new Uint8Array(count * (lineBytes + 1));
        for (let i = 0; i < count; ++i) {
            const at = (y + i) * lineBytes;
            const above = y + i === 0 ? null : data.subarray(at - lineBytes, at);
            pngRow(page, data.subarray(at, at + lineBytes), above, rows.subarray(i * (lineBytes + 1), (i + 1) * (lineBytes + 1)));
        }
        await writer.write(rows);
        await progress(y / height);
    }
    await writer.close();
    await reading;
    const head = [Uint8Array.from(SIGNATURE), chunkBytes('IHDR', headerBytes(page))];
    if (page.icc) {
        head.push(chunkBytes('iCCP', page.icc));
    }
    if (page.resolution) {
        head.push(chunkBytes('pHYs', resolutionBytes(page.resolution)));
    }
    return new Blob([...head, ...parts, chunkBytes('IEND', new Uint8Array(0))], { type: 'image/png' });
}
