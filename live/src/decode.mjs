// A file's page in one of the tool's layouts: PNG and PNM by readers of our own, JPEG and WebP (and whatever else it knows)
// by the browser, colour conversion off.

import { MOST_SIDE } from './plan.mjs';
import { isPng, readPng } from './png.mjs';
import { isPnm, readPnm } from './pnm.mjs';

const MOST_PAGE_PIXELS = 120_000_000;  // what a tab's memory is sure to take

function checkSize(width, height) {
    if (width > MOST_SIDE || height > MOST_SIDE || width * height > MOST_PAGE_PIXELS) {
        throw new Error(`the page has ${width} x ${height} pixels; this program takes up to ${MOST_SIDE} a side and ` +
            `${MOST_PAGE_PIXELS / 1e6} million in all, the command-line tool more`);
    }
}

// What a JPEG says of itself and the browser doesn't tell: its components and its resolution.
function jpegFacts(bytes) {
    const facts = { components: 3, resolution: null };
    const view = new DataView(bytes.buffer, bytes.byteOffset, bytes.byteLength);
    for (let at = 2; at + 4 <= bytes.length && bytes[at] === 0xFF;) {
        const marker = bytes[at + 1];
        const length = view.getUint16(at + 2);
        if (marker === 0xE0 && length >= 14 && bytes[at + 4] === 0x4A && bytes[at + 6] === 0x49) {  // JFIF
            const unit = bytes[at + 11];
            const x = view.getUint16(at + 12);
            const y = view.getUint16(at + 14);
            if ((unit === 1 || unit === 2) && x !== 0 && y !== 0) {
                const scale = unit === 1 ? [1, 1] : [127, 50];
                facts.resolution = { x: [x * scale[0], scale[1]], y: [y * scale[0], scale[1]] };
            }
        }
        if (marker >= 0xC0 && marker <= 0xCF && ![0xC4, 0xC8, 0xCC].includes(marker)) {
            facts.components = bytes[at + 9];
            return facts;
        }
        if (marker === 0xDA) {
            return facts;
        }
        at += 2 + length;
    }
    return facts;
}

const STRIP = 512;

async function readByBrowser(blob, bytes) {
    let bitmap;
    try {
        bitmap = await createImageBitmap(blob, {
            colorSpaceConversion: 'none', premultiplyAlpha: 'none', imageOrientation: 'none',
        });
    } catch {
        throw new Error('the browser cannot read this file: it is damaged, or not in an image format that the browser supports');
    }
    const { width, height } = bitmap;
    checkSize(width, height);
    const isJpeg = bytes[0] === 0xFF && bytes[1] === 0xD8;
    const facts = isJpeg ? jpegFacts(bytes) : { components: 3, resolution: null };
    const samples = facts.components === 1 ? 1 : 3;
    const data = new Uint8Array(width * height * samples);
    const canvas = new OffscreenCanvas(width, Math.min(STRIP, height));
    const context = canvas.getContext('2d', { willReadFrequently: true });
    let opaque = true;
    for (let y = 0, to = 0; y < height; y += STRIP) {
        const count = Math.min(STRIP, height - y);
        context.clearRect(0, 0, width, count);
        context.drawImage(bitmap, 0, -y);
        const rgba = context.getImageData(0, 0, width, count).data;
        for (let i = 0; i < rgba.length; i += 4) {
            for (let s = 0; s < samples; ++s) {
                data[to++] = rgba[i + s];
            }
            opaque &&= rgba[i + 3] === 255;
        }
    }
    bitmap.close();
    const notice = opaque ? '' : 'The picture is partly transparent; it was blended with black.';
    return { width, height, samples, bits: 8, data, resolution: facts.resolution, icc: null, notice };
}

const starts = (bytes, ...text) => text.some((t) => [...t].every((letter, i) => bytes[i] === letter.charCodeAt(0)));

export async function decode(blob, engine, progress) {
    const bytes = new Uint8Array(await blob.arrayBuffer());
    if (bytes.length === 0) {
        throw new Error('the file is empty');
    }
    if (isPng(bytes)) {
        const makeUnfilter = (rowBytes, pixelBytes) => engine.makeUnfilter(rowBytes, pixelBytes);
        return readPng(bytes, { makeUnfilter, checkSize, progress });
    }
    if (isPnm(bytes)) {
        return readPnm(bytes, { checkSize });
    }
    if (starts(bytes, 'II*\0', 'MM\0*', 'II+\0', 'MM\0+')) {
        throw new Error('browsers cannot read TIFF; convert it to PNG first: platen page.tif -o page.png');
    }
    if (starts(bytes, 'P7')) {
        throw new Error('PAM files are not supported here; convert it to PNG first: platen page.pam -o page.png');
    }
    return readByBrowser(blob, bytes);
}
