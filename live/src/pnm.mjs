// PNM files (P1 to P6), the first page of them, in the tool's layouts. A maxval up to 255 gives 8 bits, a larger one 16;
// a maxval other than 255 and 65535 is scaled to it, rounded to the nearest.

const isSpace = (byte) => byte === 32 || (byte >= 9 && byte <= 13);

export function isPnm(bytes) {
    return bytes[0] === 0x50 && bytes[1] >= 0x31 && bytes[1] <= 0x36 && (isSpace(bytes[2]) || bytes[2] === 0x23);
}

class Text {
    constructor(bytes) {
        this.bytes = bytes;
        this.at = 2;
    }

    fail(what) {
        throw new Error(`the PNM is damaged: ${what}`);
    }

    skipSpace() {
        while (isSpace(this.bytes[this.at]) || this.bytes[this.at] === 0x23) {
            if (this.bytes[this.at] === 0x23) {
                while (this.at < this.bytes.length && this.bytes[this.at] !== 10 && this.bytes[this.at] !== 13) {
                    ++this.at;
                }
            } else {
                ++this.at;
            }
        }
        if (this.at >= this.bytes.length) {
            this.fail('the file ends too early');
        }
    }

    number(what, most) {
        this.skipSpace();
        let value = -1;
        for (; this.bytes[this.at] >= 48 && this.bytes[this.at] <= 57; ++this.at) {
            value = Math.max(value, 0) * 10 + this.bytes[this.at] - 48;
            if (value > most) {
                this.fail(`${what} is larger than ${most}`);
            }
        }
        return value < 0 ? this.fail(`${what} is not a number`) : value;
    }

    digit() {
        this.skipSpace();
        const value = this.bytes[this.at++] - 48;
        return value === 0 || value === 1 ? value : this.fail('a pixel is neither 0 nor 1');
    }
}

export function readPnm(bytes, { checkSize }) {
    const kind = bytes[1] - 48;
    const text = new Text(bytes);
    const width = text.number('the width', 0xFFFFFFFF);
    const height = text.number('the height', 0xFFFFFFFF);
    if (width === 0 || height === 0) {
        text.fail('a side is 0');
    }
    checkSize(width, height);
    const bilevel = kind === 1 || kind === 4;
    const maxval = bilevel ? 1 : text.number('the maxval', 65535);
    if (maxval === 0) {
        text.fail('the maxval is 0');
    }
    const samples = kind === 3 || kind === 6 ? 3 : 1;
    const page = { width, height, samples, bits: bilevel ? 1 : maxval > 255 ? 16 : 8, resolution: null, icc: null };
    const lineBytes = (width * samples * page.bits + 7) >> 3;
    const data = new Uint8Array(lineBytes * height);
    const binary = kind > 3;
    if (binary) {
        ++text.at;
        if (bytes.length - text.at < data.length) {
            const line = Math.floor(Math.max(bytes.length - text.at, 0) / lineBytes) + 1;
            text.fail(`the file ends in line ${line} of ${height}`);
        }
    }
    if (kind === 4) {
        data.set(bytes.subarray(text.at, text.at + data.length));
        for (let y = 0; width & 7 && y < height; ++y) {
            data[(y + 1) * lineBytes - 1] &= 0xFF00 >> (width & 7);
        }
        return { ...page, data };
    }
    if (kind === 1) {
        for (let y = 0; y < height; ++y) {
            for (let x = 0; x < width; ++x) {
                data[y * lineBytes + (x >> 3)] |= text.digit() << (7 - (x & 7));
            }
        }
        return { ...page, data };
    }
    const wide = page.bits === 16;
    const most = wide ? 65535 : 255;
    for (let i = 0; i < width * height * samples; ++i) {
        let value;
        if (!binary) {
            value = text.number('a sample', maxval);
        } else if (wide) {
            value = bytes[text.at + 2 * i] * 256 + bytes[text.at + 2 * i + 1];
        } else {
            value = bytes[text.at + i];
        }
        if (value > maxval) {
            text.fail(`sample ${value} is larger than the maxval ${maxval}`);
        }
        if (maxval !== most) {
            value = Math.floor((value * most + Math.floor(maxval / 2)) / maxval);
        }
        if (wide) {
            data[2 * i] = value & 0xFF;
            data[2 * i + 1] = value >> 8;
        } else {
            data[i] = value;
        }
    }
    return { ...page, data };
}
