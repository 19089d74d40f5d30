// Damaged and unusual files, large pages, links, no network, and the accessibility checker.

import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { spawnSync } from 'node:child_process';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { cppLines } from '../src/code.mjs';
import { fromAddress } from '../src/options.mjs';
import { planPage } from '../src/plan.mjs';
import { PAGE, ROOT, WORK, load, openBrowser, openPage, platen, png, read, samplesOf, saveResult } from './support.mjs';

const AXE = readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');

let browser;
let page;

before(async () => {
    png('robust.png', { width: 120, height: 90, samples: 3, bits: 8, seed: 31 });
    browser = await openBrowser();
    page = await openPage(browser);
});

after(async () => {
    await browser?.close();
});

const message = () => page.evaluate(() => {
    const box = document.getElementById('message');
    return box.hidden ? '' : box.textContent;
});

test('damaged and foreign files are refused with a message, and the page that was open stays', { timeout: 120000 }, async () => {
    const good = read('robust.png');
    const flip = (at) => {
        const bytes = Buffer.from(good);
        bytes[at] ^= 0xFF;
        return bytes;
    };
    const idat = good.indexOf('IDAT');
    const files = {
        'truncated.png': [good.subarray(0, good.length - 400), /the PNG is damaged: the file ends too early/],
        'no-end.png': [good.subarray(0, good.length - 12), /the PNG is damaged: the file ends too early/],
        'flipped.png': [flip(idat + 60), /the PNG is damaged: the checksum of IDAT is wrong/],
        'header.png': [flip(18), /the PNG is damaged/],
        'short.png': [good.subarray(0, 20), /the PNG is damaged: the file ends too early/],
        'empty.png': [Buffer.alloc(0), /the file is empty/],
        'noise.jpg': [Buffer.from('FFD8FFE0001000', 'hex'), /the browser cannot read this file/],
        'text.txt': [Buffer.from('not a page\n'), /the browser cannot read this file/],
        'page.tif': [Buffer.from('49492A0008000000', 'hex'), /browsers cannot read TIFF; .*platen page\.tif -o page\.png/],
        'short.pgm': [Buffer.from('P5 10 10 255\nabc'), /the PNM is damaged: the file ends in line 1 of 10/],
        'huge.pgm': [Buffer.from('P5 60000 60000 255\n'), /60000 x 60000 pixels/],
        'zero.pgm': [Buffer.from('P5 0 10 255\n'), /the PNM is damaged/],
    };
    await load(page, 'robust.png');
    for (const [name, [bytes, expected]] of Object.entries(files)) {
        writeFileSync(join(WORK, name), bytes);
        await load(page, name);
        assert.match(await message(), expected, name);
        assert.ok((await message()).startsWith(`${name}: `), name);
        assert.equal(await page.evaluate(() => window.platen.page.name), 'robust.png');
    }
    // A PNG whose chunks are whole, but whose data ends halfway.
    const half = await page.evaluate(async () => {
        const stream = new Blob([new Uint8Array(50)]).stream().pipeThrough(new CompressionStream('deflate'));
        return [...new Uint8Array(await new Response(stream).arrayBuffer())];
    });
    const crcOf = (bytes) => {
        let c = 0xFFFFFFFF;
        for (const byte of bytes) {
            c ^= byte;
            for (let k = 0; k < 8; ++k) {
                c = c & 1 ? (c >>> 1) ^ 0xEDB88320 : c >>> 1;
            }
        }
        return (c ^ 0xFFFFFFFF) >>> 0;
    };
    const body = Buffer.concat([Buffer.from('IDAT'), Buffer.from(half)]);
    const frame = Buffer.alloc(8);
    frame.writeUInt32BE(half.length, 0);
    frame.writeUInt32BE(crcOf(body), 4);
    writeFileSync(join(WORK, 'half.png'), Buffer.concat([good.subarray(0, 33), frame.subarray(0, 4), body, frame.subarray(4), good.subarray(good.length - 12)]));
    await load(page, 'half.png');
    assert.match(await message(), /half\.png: the PNG is damaged: not enough image data/);
    await load(page, 'robust.png');
    assert.equal(await message(), '', 'a good page clears the message');
    assert.ok(samplesOf(await saveResult(page, 'page-result.png')).length > 0);
    assert.deepEqual(page.problems, []);
});

test('every byte of a small PNG damaged in turn: a message or a page, and nothing breaks', { timeout: 120000 }, async () => {
    png('tiny.png', { width: 9, height: 7, samples: 3, bits: 8, seed: 32 });
    const good = read('tiny.png');
    const outcomes = await page.evaluate(async (bytes) => {
        const counts = { refused: 0, opened: 0 };
        for (let at = 0; at < bytes.length; ++at) {
            const bad = Uint8Array.from(bytes);
            bad[at] ^= 1 << (at % 8);
            document.getElementById('message').textContent = '';
            await window.platen.openBlob(new Blob([bad]), 'bad.png');
            ++counts[document.getElementById('message').textContent.startsWith('bad.png') ? 'refused' : 'opened'];
        }
        return counts;
    }, [...good]);
    assert.equal(outcomes.refused, good.length, `${JSON.stringify(outcomes)}: checksums see every flipped bit`);
    await load(page, 'robust.png');
    assert.deepEqual(page.problems, []);
});

test('PNM pages have the tool\'s samples; JPEG and WebP are opened', { timeout: 120000 }, async () => {
    const pages = {
        'plain.pgm': 'P2\n# a comment\n3 2 15\n0 1 2 13 14 15\n', 'plain.ppm': 'P3 2 1 1000\n0 500 1000 1 2 3\n',
        'plain.pbm': 'P1\n10 2\n1010101010 0101010101\n',
    };
    for (const [name, text] of Object.entries(pages)) {
        writeFileSync(join(WORK, name), text);
    }
    platen('--force', '--mode=gray', 'robust.png', '-o', 'binary.pgm');
    platen('--force', 'robust.png', '-o', 'binary.ppm');
    platen('--force', '--depth=16', 'robust.png', '-o', 'wide.ppm');
    platen('--force', '--mode=lineart', 'robust.png', '-o', 'binary.pbm');
    for (const name of [...Object.keys(pages), 'binary.pgm', 'binary.ppm', 'wide.ppm', 'binary.pbm']) {
        await load(page, name);
        assert.equal(await message(), '', name);
        assert.ok(samplesOf(name).equals(samplesOf(await saveResult(page, 'page-result.png'))), name);
    }
    platen('--force', '--set-resolution=150', '--quality=90', 'robust.png', '-o', 'colour.jpg');
    platen('--force', '--mode=gray', '--set-resolution=72', 'robust.png', '-o', 'grey.jpg');
    await load(page, 'colour.jpg');
    assert.match(await page.textContent('#file-info'), /colour\.jpg · 120 x 90, 8-bit RGB, 150 dpi/);
    await load(page, 'grey.jpg');
    assert.match(await page.textContent('#file-info'), /grey\.jpg · 120 x 90, 8-bit grey, 72 dpi/);
    const webp = await page.evaluate(async () => {
        const canvas = new OffscreenCanvas(40, 30);
        canvas.getContext('2d').fillRect(0, 0, 20, 30);
        return [...new Uint8Array(await (await canvas.convertToBlob({ type: 'image/webp' })).arrayBuffer())];
    });
    writeFileSync(join(WORK, 'page.webp'), Buffer.from(webp));
    await load(page, 'page.webp');
    assert.match(await page.textContent('#file-info'), /page\.webp · 40 x 30, 8-bit RGB/);
    assert.deepEqual(page.problems, []);
});

test('a dropped file is opened', { timeout: 60000 }, async () => {
    await page.evaluate((bytes) => {
        const transfer = new DataTransfer();
        transfer.items.add(new File([Uint8Array.from(bytes)], 'dropped.png', { type: 'image/png' }));
        for (const type of ['dragenter', 'dragover', 'drop']) {
            document.getElementById('canvas-box').dispatchEvent(new DragEvent(type, { dataTransfer: transfer, bubbles: true, cancelable: true }));
        }
    }, [...read('robust.png')]);
    await page.waitForFunction(() => window.platen.page.name === 'dropped.png');
    assert.ok(!(await page.evaluate(() => document.body.classList.contains('dropping'))));
});

test('a link brings the settings back; a wrong one says what it can\'t read', { timeout: 120000 }, async () => {
    const address = '#levels=20,230,1.5&!curve=0,0:50,80:128,128:192,192:255,255&curve-kind=polyline&balance-shadows=1,2,3&saturation=30&sharpness=-1&scale=33.5pc&mode=color&negative';
    const linked = await openPage(browser, { address });
    const line = 'platen --levels=20,230,1.5 --balance-shadows=1,2,3 --saturation=30 --sharpness=-1 --mode=color --negative --scale=33.5% page.jpg -o page-adjusted.png';
    assert.equal(await linked.textContent('#recipe code'), line);
    assert.equal(await linked.evaluate(() => window.platen.settings.tone[1].kind), 'polyline');
    assert.equal(await linked.evaluate(() => window.platen.settings.tone[1].on), false);
    const again = await openPage(browser, { address: await linked.evaluate(() => location.hash) });
    assert.equal(await again.textContent('#recipe code'), line);
    const wrong = await openPage(browser, { address: '#levels=a,b&sharpness=2&unknown=1&curve=1,2&<script>' });
    assert.match(await wrong.textContent('#message'), /--levels: 'a' is not a number; --curve: /);
    assert.match(await wrong.textContent('#recipe code'), /^platen --sharpness=2 page/);
    for (const one of [linked, again, wrong]) {
        assert.deepEqual(one.problems, []);
        await one.context().close();
    }
});

test('nothing is asked of any network', { timeout: 120000 }, async () => {
    const context = await browser.newContext({ offline: true });
    const alone = await context.newPage();
    const asked = [];
    alone.on('request', (request) => asked.push(request.url().slice(0, 40)));
    await alone.goto(PAGE);
    await alone.waitForFunction(() => document.documentElement.dataset.ready === 'true');
    await load(alone, 'robust.png');
    await alone.evaluate(() => window.platen.takeSettings(window.platen.parse('levels=30,220&saturation=20&scale=50pc&sharpness=1')));
    assert.ok(samplesOf(await saveResult(alone, 'page-result.png')).length > 100);
    const outside = asked.filter((url) => !/^(file|data|blob):/.test(url));
    assert.deepEqual(outside, []);
    const blocked = await alone.evaluate(() => fetch('https://example.org/').then(() => 'sent', () => 'refused'));
    assert.equal(blocked, 'refused', 'the page forbids itself to send');
    await context.close();
});

test('a page of 35 megapixels: read, adjusted, cancelled, saved', { timeout: 240000 }, async () => {
    // Rows of a cheap pattern, so that the tests' own work stays small.
    const width = 5000;
    const height = 7000;
    const body = Buffer.alloc(width * height * 3);
    const row = Buffer.alloc(width * 3);
    for (let i = 0; i < row.length; ++i) {
        row[i] = (i * 7) % 211 + 20;
    }
    for (let y = 0; y < height; ++y) {
        row.copy(body, y * row.length);
        body.fill((y * 13) & 255, y * row.length, y * row.length + 3000);
    }
    writeFileSync(join(WORK, 'large.ppm'), Buffer.concat([Buffer.from(`P6\n${width} ${height}\n255\n`), body]));
    platen('--force', 'large.ppm', '-o', 'large.png');
    const seen = [];
    const begun = Date.now();
    await load(page, 'large.png');
    seen.push(`read in ${Date.now() - begun} ms`);
    assert.match(await page.textContent('#file-info'), /5000 x 7000/);
    // Cancelled on its way, by the button.
    await page.evaluate(() => window.platen.takeSettings(window.platen.parse('levels=30,220&saturation=20&hue=15&sharpness=1')));
    await page.evaluate(() => new Promise((done) => {
        const look = () => {
            const cancel = document.getElementById('cancel');
            if (cancel.hidden || document.getElementById('progress').hidden) {
                setTimeout(look, 1);
            } else {
                cancel.click();
                done();
            }
        };
        look();
    }));
    await page.waitForFunction(() => document.getElementById('status').textContent.startsWith('Cancelled'));
    assert.equal(await page.evaluate(() => window.platen.wholeVersion === window.platen.version), false);
    // And again to its end.
    await page.evaluate(() => window.platen.takeSettings(window.platen.parse('levels=30,220&saturation=20&sharpness=1&scale=50pc')));
    const saved = await saveResult(page, 'page-result.png');
    seen.push(await page.textContent('#status'));
    platen('--force', '--levels=30,220', '--saturation=20', '--sharpness=1', '--scale=50%', 'large.png', '-o', 'large-adjusted.png');
    assert.ok(samplesOf(saved).equals(samplesOf('large-adjusted.png')));
    assert.deepEqual(page.problems, []);
    console.log(seen.join('; '));
    await load(page, 'robust.png');
});

test('a 2-megapixel page answers while a handle is dragged', { timeout: 120000 }, async () => {
    png('two.png', { width: 1640, height: 1220, samples: 3, bits: 8, seed: 33 });
    await load(page, 'two.png');
    const times = await page.evaluate(async () => {
        const { platen: app } = window;
        app.takeSettings(app.parse('levels=10,240'));
        await app.computeWhole();
        const previews = [];
        const frames = [];
        for (let i = 0; i < 12; ++i) {
            app.settings.tone[0].black = 10 + i;
            const begun = performance.now();
            app.changed(true);
            frames.push(performance.now() - begun);
            await new Promise((done) => {
                const look = () => (app.previewBusy ? setTimeout(look, 1) : done());
                look();
            });
            previews.push(performance.now() - begun);
        }
        const median = (list) => list.sort((a, b) => a - b)[list.length >> 1];
        return { blocking: median(frames), preview: median(previews) };
    });
    console.log(`a change keeps the page busy for ${times.blocking.toFixed(1)} ms; its preview is there after ${times.preview.toFixed(1)} ms (medians)`);
    assert.ok(times.preview > 0);
});

test('axe-core finds nothing', { timeout: 240000 }, async () => {
    const everything = '#brightness=5&contrast=1&levels=20,230&curve=0,0:50,80:128,128:192,192:255,255&curve-gamma=5&balance-shadows=1,2,3&scale=50pc&mode=color';
    for (const colorScheme of ['dark', 'light']) {
        for (const viewport of [{ width: 1440, height: 900 }, { width: 390, height: 844 }]) {
            const tested = await openPage(browser, { colorScheme, viewport, address: everything });
            await tested.evaluate(AXE);
            const steps = colorScheme === 'dark' && viewport.width === 1440 ? [0, 1, 2, 3, 4] : [2];
            for (const step of steps) {
                await tested.evaluate((at) => {
                    window.platen.selected = at;
                    window.platen.panel.rebuild();
                    window.platen.showTone();
                    window.platen.recipe.select(at % 4);
                    if (at !== 1) {
                        window.platen.say('A message for the checker.');
                    }
                }, step);
                const { violations, passes } = await tested.evaluate(() => window.axe.run());
                assert.ok(passes.length > 20, `${passes.length} rules looked at the page`);
                assert.deepEqual(violations.map(({ id, nodes }) => `${id}: ${nodes.map((node) => `${node.html} ${node.failureSummary}`).join(' | ')}`), [],
                    `${colorScheme}, ${viewport.width}`);
            }
            await tested.context().close();
        }
    }
});

test('the C++ lines compile', { timeout: 120000 }, () => {
    const addresses = ['levels=30,220', 'brightness=1&contrast=2&curve=0,0:50,80:128,128:192,192:255,255&curve-kind=polyline&curve-gamma=5&balance-shadows=1,2,3&saturation=5&scale=50pc&sharpness=1',
        'sharpness=2&scale=30pc&order=sharpen,scale,tone,hsv&levels=1,200,1.5,3,250&hue=10', 'mode=gray&levels=1,200', ''];
    const source = { width: 640, height: 480, samples: 3, bits: 8, resolution: null };
    const parts = addresses.map((address, i) => {
        const settings = fromAddress(address);
        const lines = cppLines(settings, { ...planPage(settings, source), input: source }).replaceAll(/#include <.*>/g, "");
        return `void Case${i}() {\n${lines}\n}\n`;
    });
    const text = `#include <platen.hpp>\n#include <cstdint>\n#include <span>\n#include <vector>\nstd::span<std::uint8_t> read(int y);\nvoid write(std::span<const std::uint8_t> line);\n${parts.join('')}`;
    writeFileSync(join(WORK, 'lines.cpp'), text);
    const compiler = ['g++', 'clang++'].find((name) => spawnSync(name, ['--version']).status === 0);
    const done = spawnSync(compiler, ['-std=c++20', '-fsyntax-only', `-I${ROOT}`, `-I${join(ROOT, 'Sources')}`, `-I${join(ROOT, 'cpp')}`, 'lines.cpp'], { cwd: WORK, encoding: 'utf8' });
    assert.equal(done.status, 0, `${done.stderr}\n${text}`);
});

test('the page is made of what it should be', () => {
    const html = readFileSync(join(ROOT, 'live-out', 'index.html'));
    assert.ok(html.length < 900_000, `${html.length} bytes`);
    const data = JSON.parse(html.toString().match(/id="data">(.*?)<\/script>/s)[1]);
    const packed = Buffer.from(data.module, 'base64');
    console.log(`index.html ${html.length} bytes, the module ${packed.length} gzipped`);
    // Addresses are names of SVG's namespace and of no place that is asked.
    const addresses = [...html.toString().matchAll(/(?:https?:)?\/\/[a-z0-9.-]+\.[a-z]{2,}/g)].map(([address]) => address);
    assert.deepEqual(addresses.filter((address) => !address.endsWith('//www.w3.org')), []);
});
