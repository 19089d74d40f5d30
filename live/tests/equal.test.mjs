// The page's pixels are the native tool's, for random settings on PNG pages of every layout; and the command line that the
// page shows, run in a shell, is what they are compared with.

import assert from 'node:assert/strict';
import { copyFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { Random, ROOT, WORK, load, openBrowser, openPage, platen, png, read, samplesOf, saveResult, shell } from './support.mjs';
import { GROUPS, NEW_STEP, STAGES, addressOf, keepSpan, newSettings, presetText } from '../src/options.mjs';

let browser;
let page;
const pages = [];

before(async () => {
    const size = (width, height) => ({ width, height });
    pages.push(
        png('rgb8.png', { ...size(331, 257), samples: 3, bits: 8, seed: 1 }),
        png('rgb8-wide.png', { ...size(900, 64), samples: 3, bits: 8, seed: 2, dpi: '300x200' }),
        png('grey8.png', { ...size(257, 301), samples: 1, bits: 8, seed: 3 }),
        png('rgba8.png', { ...size(200, 150), samples: 4, bits: 8, seed: 4 }),
        png('greya8.png', { ...size(151, 90), samples: 2, bits: 8, seed: 5 }),
        png('rgb16.png', { ...size(180, 140), samples: 3, bits: 16, seed: 6 }),
        png('rgba16.png', { ...size(60, 45), samples: 4, bits: 16, seed: 10 }),
        png('grey16.png', { ...size(133, 77), samples: 1, bits: 16, seed: 7 }),
        png('bilevel.png', { ...size(333, 203), samples: 1, bits: 1, seed: 8 }),
        png('column.png', { ...size(1, 40), samples: 3, bits: 8, seed: 9 }),
    );
    for (const name of ['palette.png', 'interlaced.png']) {
        copyFileSync(join(ROOT, 'fuzz', 'corpus', 'png_reader_fuzz', name), join(WORK, name));
        pages.push(name);
    }
    browser = await openBrowser();
    page = await openPage(browser);
});

after(async () => {
    await browser?.close();
});

function randomStep(random) {
    const step = NEW_STEP[random.oneOf(Object.keys(NEW_STEP))]();
    const amount = () => random.whole(-100, 100);
    if (step.type === 'bc') {
        Object.assign(step, { brightness: amount(), contrast: amount() });
    } else if (step.type === 'levels') {
        [step.black, step.white] = keepSpan(random.whole(0, 150), random.whole(80, 255), 'white');
        step.gamma = random.oneOf([1, 0.1, 9.99, random.whole(20, 300) / 100]);
        if (random.next() < 0.4) {
            [step.outBlack, step.outWhite] = keepSpan(random.whole(0, 80), random.whole(120, 255), 'white');
        }
    } else if (step.type === 'curve') {
        step.kind = random.oneOf(['spline', 'polyline']);
        let x = random.whole(0, 30);
        step.points = step.points.map((_, i) => {
            const point = [Math.max(x, 4 * i), random.whole(0, 255)];
            x = point[0] + random.whole(5, 50);
            return point;
        });
    } else if (step.type === 'curveGamma') {
        step.strength = amount();
    } else {
        Object.assign(step, { group: random.oneOf(GROUPS), shift: [amount(), amount(), amount()] });
    }
    step.on = random.next() < 0.9;
    return step;
}

function randomSettings(random) {
    const s = newSettings();
    const sometimes = (part, value) => (random.next() < part ? value() : undefined);
    for (let i = random.whole(0, 3); i > 0; --i) {
        s.tone.push(randomStep(random));
    }
    for (const [name, most] of [['saturation', 100], ['hue', 180], ['lightness', 100]]) {
        s[name] = sometimes(0.25, () => random.whole(-most, most)) ?? 0;
    }
    s.sharpness = sometimes(0.5, () => random.whole(-2, 3)) ?? 0;
    s.order = sometimes(0.3, () => [...STAGES].sort(() => random.next() - 0.5)) ?? s.order;
    s.mode = sometimes(0.4, () => random.oneOf(['gray', 'color', 'lineart'])) ?? '';
    s.depth = sometimes(0.15, () => random.oneOf(['1', '8', '16'])) ?? '';
    s.threshold = sometimes(0.3, () => random.whole(0, 200) / 2) ?? 50;
    s.negative = random.next() < 0.15;
    s.size.kind = random.oneOf(['none', 'scale', 'size', 'width', 'height', 'resolution']);
    s.size.percent = random.oneOf([50, 25, 33.3, 100, 150, random.whole(10, 250) / 2]);
    s.size.width = random.whole(1, 500);
    s.size.height = random.whole(1, 400);
    s.size.resolution = random.oneOf(['150', '100x200', '72.5', '600']);
    s.shrinkOnly = random.next() < 0.2;
    s.inputResolution = sometimes(0.2, () => random.oneOf(['200', '96x150'])) ?? '';
    s.setResolution = sometimes(0.1, () => '72') ?? '';
    return s;
}

// Every page gets settings that fit it at least twice, and the random ones go on until 36 have been compared.
test('36 random settings give the native tool\'s samples', { timeout: 240000 }, async () => {
    let compared = 0;
    let refused = 0;
    for (let seed = 1; compared < 36; ++seed) {
        assert.ok(seed < 400, 'too few settings were accepted');
        const random = new Random(seed);
        const name = pages[seed % pages.length];
        const settings = randomSettings(random);
        await load(page, name);
        await page.evaluate((address) => { location.hash = address; }, addressOf(settings) || 'sharpness=0');
        await page.waitForFunction((address) => decodeURIComponent(location.hash.slice(1)) === address || location.hash === '', addressOf(settings));
        await page.evaluate(() => new Promise((done) => { setTimeout(done, 0); }));
        await page.evaluate(() => document.querySelectorAll('[role=tab]')[0].click());
        const line = await page.textContent('#recipe code');
        assert.ok(line.startsWith('platen '), line);
        const { status, stderr } = shell(`${line.replace('platen', 'platen --force')}`);
        const saved = await saveResult(page, 'page-result.png');
        const what = `seed ${seed}: ${line}`;
        if (saved === null) {
            ++refused;
            assert.notEqual(status, 0, `${what}: the page refuses (${await page.textContent('#message')}), the tool doesn't`);
            continue;
        }
        assert.equal(status, 0, `${what}: the tool refuses: ${stderr}`);
        const native = samplesOf(name.replace('.png', '-adjusted.png'));
        assert.ok(native.equals(samplesOf(saved)), `${what}: samples differ`);
        ++compared;
    }
    console.log(`${compared} settings compared, ${refused} refused by both`);
    assert.deepEqual(page.problems, []);
});

test('every layout passes through unchanged, and its resolution with it', { timeout: 120000 }, async () => {
    for (const name of pages) {
        await load(page, name);
        await page.evaluate(() => window.platen.takeSettings(window.platen.parse('')));
        const saved = await saveResult(page, 'page-result.png');
        assert.ok(samplesOf(name).equals(samplesOf(saved)), name);
        const info = (file) => JSON.parse(platen('info', '--json', file));
        // The file's own name, and how it is stored: the page saves no interlaced files.
        const own = ['file', 'name', 'storage', 'compression'];
        const [mine, native] = [info(saved), info(name)].map((one) => JSON.stringify(one, (key, value) => (own.includes(key) ? undefined : value)));
        assert.equal(mine, native, name);
    }
});

test('the preset that the page shows is what --save-preset writes, and the tool takes it', { timeout: 120000 }, async () => {
    for (let seed = 1000; seed < 1060; ++seed) {
        const settings = randomSettings(new Random(seed));
        settings.tone = settings.tone.filter((step) => step.on);
        const text = presetText(settings);
        if (text === '') {
            continue;
        }
        const words = await page.evaluate((address) => {
            window.platen.takeSettings(window.platen.parse(address));
            return document.querySelector('#recipe code').textContent;
        }, addressOf(settings));
        const options = words.split(' ').filter((word) => word.startsWith('--')).join(' ');
        const { status, stderr } = shell(`platen ${options} --force --save-preset=native.toml`);
        if (status !== 0) {
            assert.match(stderr, /--depth|--mode/, words);  // what the tool refuses as a whole
            continue;
        }
        assert.equal(text, read('native.toml').toString(), words);
    }
});
