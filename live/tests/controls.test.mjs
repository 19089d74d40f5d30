// Each control by mouse and by keyboard. What a control did is seen where a reader sees it: in the command line.

import assert from 'node:assert/strict';
import { after, before, beforeEach, test } from 'node:test';
import { load, openBrowser, openPage, png, samplesOf, saveResult, shell, WORK } from './support.mjs';
import { join } from 'node:path';

// A step of every kind, the last one of them in each test that opens one.
const EVERY_KIND = 'brightness=5&contrast=10&levels=20,230,1.2&curve=0,10:60,50:128,140:200,215:255,250&curve-gamma=8&balance-midtones=5,-5,10';

let browser;
let page;

const line = () => page.evaluate(() => {
    document.querySelectorAll('[role=tab]')[0].click();
    return document.querySelector('#recipe code').textContent;
});
const setAddress = async (address) => {
    await page.evaluate((text) => window.platen.takeSettings(window.platen.parse(text)), address);
};
const openStep = (i) => page.evaluate((at) => {
    window.platen.selected = at;
    window.platen.panel.rebuild();
    window.platen.showTone();
}, i);

// The line before and after something that must change it.
async function changes(what, act) {
    const old = await line();
    await act();
    const now = await line();
    assert.notEqual(now, old, `${what} changes nothing`);
    return now;
}

before(async () => {
    png('controls.png', { width: 320, height: 240, samples: 3, bits: 8, seed: 21 });
    browser = await openBrowser();
    page = await openPage(browser);
    await load(page, 'controls.png');
});

beforeEach(async () => {
    await setAddress('');
    await openStep(0);
});

after(async () => {
    assert.deepEqual(page.problems, []);
    await browser?.close();
});

test('sliders and their number fields', { timeout: 240000 }, async () => {
    await setAddress(`${EVERY_KIND}&scale=50pc`);
    let count = 0;
    for (let step = 0; step < 5; ++step) {
        await openStep(step);
        for (const range of await page.locator('.panel input[type=range]:visible').all()) {
            const label = await range.evaluate((element) => element.labels[0].textContent);
            const inStep = await range.evaluate((element) => element.closest('.step') !== null);
            if (!inStep && step > 0) {
                continue;
            }
            const { width, height } = await range.boundingBox();
            await changes(`${label}: mouse`, () => range.click({ position: { x: width * 0.3, y: height / 2 } }));
            await changes(`${label}: arrow key`, () => range.press('ArrowRight'));
            const number = page.getByLabel(`${label}, number`, { exact: true }).first();
            const other = label === 'Gamma' ? '1.5' : label === 'Percent' ? '75' : label.endsWith('hite') ? '200' : '9';
            await changes(`${label}: typed number`, async () => {
                await number.fill(other);
                await number.press('Enter');
            });
            ++count;
        }
    }
    assert.equal(count, 16, 'sliders seen: five kinds of steps, colour, percent, threshold');
});

test('choices, lists, boxes and text fields', { timeout: 240000 }, async () => {
    const radio = (name) => page.getByRole('radio', { name, exact: true });
    await setAddress('curve=0,10:60,50:128,140:200,215:255,250&balance-midtones=5,-5,10');
    await changes('Polyline: mouse', () => page.getByText('Polyline', { exact: true }).click());
    await changes('Spline: arrow key', () => radio('Polyline').press('ArrowLeft'));
    await openStep(1);
    await changes('Highlights: mouse', () => page.getByText('Highlights', { exact: true }).click());
    await changes('Midtones: arrow key', () => radio('Highlights').press('ArrowLeft'));
    await setAddress('');
    const sharp = page.getByRole('radiogroup', { name: 'Sharpness' });
    assert.match(await changes('Sharpness: mouse', () => sharp.getByText('2', { exact: true }).click()), /--sharpness=2/);
    assert.match(await changes('Sharpness: arrow key', () => radio('2').press('ArrowRight')), /--sharpness=3/);
    for (const [name, option] of [['Grey', 'gray'], ['Lineart', 'lineart'], ['Colour', 'color']]) {
        const mode = page.getByRole('radiogroup', { name: 'Mode' });
        assert.match(await changes(`Mode ${name}`, () => mode.getByText(name, { exact: true }).click()), new RegExp(`--mode=${option}`));
    }
    assert.match(await changes('Negative: mouse', () => page.getByLabel('Negative').click()), /--negative/);
    assert.doesNotMatch(await changes('Negative: space key', () => page.getByLabel('Negative').press('Space')), /--negative/);
    assert.match(await changes('Bit depth', () => page.getByLabel('Bit depth').selectOption('8')), /--depth=8/);
    for (const [kind, field, option, typed] of [['scale', null, '--scale='], ['width', 'Width', '--width=', '123'],
        ['height', 'Height', '--height=', '124'], ['resolution', 'Resolution', '--resolution=', '125'], ['size', 'Width', '--size=', '126']]) {
        assert.match(await changes(`Scale to ${kind}`, () => page.getByLabel('Scale to').selectOption(kind)), new RegExp(option));
        if (field !== null) {
            const input = page.getByLabel(field, { exact: true }).and(page.locator(':visible'));
            assert.match(await changes(`${field}: typed`, async () => {
                await input.fill(typed);
                await input.press('Enter');
            }), new RegExp(typed));
            await input.fill('-5');
            await input.press('Enter');
            assert.equal(await input.getAttribute('aria-invalid'), 'true', 'a number out of range is marked');
            assert.match(await line(), new RegExp(typed), 'and not taken');
        }
    }
    assert.match(await changes('Never enlarge', () => page.getByLabel('Never enlarge').click()), /--shrink-only/);
    for (const [name, option] of [['Input', 'input-resolution'], ['Output', 'set-resolution']]) {
        assert.match(await changes(`${name} resolution`, async () => {
            await page.getByLabel(name, { exact: true }).fill('200x100');
            await page.getByLabel(name, { exact: true }).press('Tab');
        }), new RegExp(`--${option}=200x100`));
    }
    assert.match(await changes('Order: mouse', () => page.getByRole('button', { name: 'Colour: earlier' }).click()), /--order=hsv,tone,scale,sharpen/);
    assert.match(await changes('Order: enter key', () => page.getByRole('button', { name: 'Sharpen: earlier' }).press('Enter')),
        /--order=hsv,tone,sharpen,scale/);
    assert.equal(await page.evaluate(() => document.activeElement.getAttribute('aria-label')), 'Sharpen: earlier', 'the focus stays with the stage');
});

test('tone steps: added, ordered, switched off, removed', { timeout: 120000 }, async () => {
    const add = page.getByLabel('Add a tone step');
    await changes('Add levels', () => add.selectOption('levels'));
    await changes('Add a curve', () => add.selectOption('curve'));
    assert.match(await line(), /--levels=0,255 --curve=/);
    assert.match(await changes('Curve: earlier', () => page.getByRole('button', { name: 'Curve: earlier' }).click()), /--curve=\S+ --levels=0,255/);
    assert.match(await changes('Curve: later, by key', () => page.getByRole('button', { name: 'Curve: later' }).press('Enter')), /--levels=0,255 --curve=/);
    assert.doesNotMatch(await changes('Levels: off', () => page.getByLabel('Levels: on').click()), /--levels/);
    assert.match(await page.evaluate(() => location.hash), /!levels=0,255/, 'the link keeps a step that is off');
    assert.match(await changes('Levels: on, by key', () => page.getByLabel('Levels: on').press('Space')), /--levels/);
    const head = page.getByRole('button', { name: /^Levels/ }).first();
    await head.press('Enter');
    assert.equal(await page.getByRole('button', { name: /^Levels/ }).first().getAttribute('aria-expanded'), 'true');
    assert.doesNotMatch(await changes('Levels: remove', () => page.getByRole('button', { name: 'Levels: remove' }).click()), /--levels/);
    await changes('Curve: remove, by key', () => page.getByRole('button', { name: 'Curve: remove' }).press('Enter'));
    assert.equal(await page.evaluate(() => document.activeElement.id), 'auto-levels', 'the focus goes on to something');
});

async function drag(locator, dx, dy) {
    await locator.scrollIntoViewIfNeeded();
    const { x, y, width, height } = await locator.boundingBox();
    await page.mouse.move(x + width / 2, y + height / 2);
    await page.mouse.down();
    await page.mouse.move(x + width / 2 + dx / 2, y + height / 2 + dy / 2);
    await page.mouse.move(x + width / 2 + dx, y + height / 2 + dy);
    await page.mouse.up();
}

test('handles of the graph', { timeout: 120000 }, async () => {
    await setAddress('curve=0,0:64,64:128,128:192,192:255,255');
    for (let i = 1; i <= 5; ++i) {
        const point = page.getByRole('slider', { name: `Curve point ${i} of 5` });
        await changes(`Point ${i}: mouse`, () => drag(point, i === 5 ? -12 : 12, i === 1 ? -20 : 20));
        const text = await point.getAttribute('aria-valuetext');
        await changes(`Point ${i}: arrow keys`, async () => {
            await point.press(i === 1 ? 'ArrowUp' : 'ArrowDown');
            await point.press('Shift+ArrowLeft');
        });
        assert.notEqual(await point.getAttribute('aria-valuetext'), text);
        await changes(`Point ${i}: field`, async () => {
            const field = page.getByLabel(`Point ${i}, output`);
            await field.fill('77');
            await field.press('Enter');
        });
    }
    const xs = (await line()).match(/--curve=(\S+)/)[1].split(':').map((point) => Number(point.split(',')[0]));
    assert.ok(xs.every((x, i) => i === 0 || x > xs[i - 1]), `the points stay in order: ${xs}`);
    await setAddress('levels=40,200');
    for (const [name, key] of [['Black point', 'ArrowRight'], ['Middle, gamma', 'ArrowUp'], ['White point', 'ArrowLeft']]) {
        const handle = page.getByRole('slider', { name });
        await changes(`${name}: mouse`, () => drag(handle, 15, 0));
        await changes(`${name}: key`, () => handle.press(key));
    }
    await page.getByRole('slider', { name: 'Black point' }).focus();
    for (let i = 0; i < 30; ++i) {
        await page.keyboard.press('Shift+ArrowRight');
    }
    const [black, white] = (await line()).match(/--levels=(\d+),(\d+)/).slice(1).map(Number);
    assert.ok(white - black >= 8, 'black stays eight below white');
});

test('divider, zoom, what is shown', { timeout: 120000 }, async () => {
    const divider = page.getByRole('slider', { name: 'Divider between before and after' });
    await setAddress('levels=40,200');
    await page.waitForFunction(() => window.platen.after !== null);
    await drag(divider, -150, 0);
    const place = Number(await divider.getAttribute('aria-valuenow'));
    assert.ok(place > 5 && place < 45, `dragged to ${place}`);
    const now = async () => Number(await divider.getAttribute('aria-valuenow'));
    const at = async (value, key) => {
        await divider.press(key);
        await page.waitForFunction(([wanted]) => Number(document.getElementById('divider').getAttribute('aria-valuenow')) === wanted, [value]);
    };
    await at(0, 'Home');
    await at(10, 'Shift+ArrowRight');
    await at(100, 'End');
    assert.equal(await now(), 100);
    const zoom = () => page.evaluate(() => window.platen.viewer.scale);
    await page.getByRole('button', { name: 'Fit' }).click();
    const fit = await zoom();
    await page.getByRole('button', { name: '100 %' }).click();
    assert.equal(await zoom(), 1);
    assert.equal(await page.textContent('#zoom-level'), '100 %');
    await page.getByRole('button', { name: 'Zoom in' }).click();
    assert.equal(await zoom(), 1.5);
    await page.getByRole('button', { name: 'Zoom out' }).press('Enter');
    assert.equal(await zoom(), 1);
    const view = page.locator('#view');
    await view.press('+');
    assert.equal(await zoom(), 1.5);
    await view.press('-');
    await view.press('1');
    assert.equal(await zoom(), 1);
    await view.press('0');
    assert.equal(await zoom(), fit);
    const box = await view.boundingBox();
    await page.mouse.move(box.x + 100, box.y + 100);
    await page.mouse.wheel(0, -240);
    await page.waitForFunction((old) => window.platen.viewer.scale > old, fit);
    await page.getByRole('button', { name: '100 %' }).click();
    await view.press('+');
    await view.press('+');
    await view.press('+');
    await view.press('+');
    const left = await page.evaluate(() => window.platen.viewer.left);
    await view.press('ArrowRight');
    assert.notEqual(await page.evaluate(() => window.platen.viewer.left), left, 'arrow keys move the page');
    const before = await page.evaluate(() => window.platen.viewer.left);
    await page.mouse.move(box.x + 200, box.y + 200);
    await page.mouse.down();
    await page.mouse.move(box.x + 260, box.y + 200);
    await page.mouse.up();
    assert.notEqual(await page.evaluate(() => window.platen.viewer.left), before, 'so does the mouse');
    for (const [name, mode] of [['Before', 'before'], ['After', 'after'], ['Split', 'split']]) {
        await page.locator('#compare').getByText(name, { exact: true }).click();
        assert.equal(await page.evaluate(() => window.platen.viewer.mode), mode);
    }
    await page.getByRole('radio', { name: 'Split' }).press('ArrowRight');
    assert.equal(await page.evaluate(() => window.platen.viewer.mode), 'before');
    await page.locator('#compare').getByText('Split', { exact: true }).click();
});

test('what the viewer draws at 100 % is the page before and after', { timeout: 120000 }, async () => {
    await setAddress('levels=60,190&negative');
    await page.evaluate(() => window.platen.computeWhole());
    await page.getByRole('button', { name: '100 %' }).click();
    const drawn = (mode) => page.evaluate((name) => {
        const { viewer } = window.platen;
        viewer.setMode(name);
        viewer.drawNow();
        const { data, width } = viewer.context.getImageData(viewer.left, viewer.top, 320, 240);
        const rgb = [];
        for (let i = 0; i < width * 240; ++i) {
            rgb.push(data[4 * i], data[4 * i + 1], data[4 * i + 2]);
        }
        return rgb;
    }, mode);
    const body = (file) => samplesOf(file).subarray(-320 * 240 * 3);
    assert.ok(Buffer.from(await drawn('before')).equals(body('controls.png')), 'before');
    assert.equal(shell(`${(await line()).replace('platen', 'platen --force')}`).status, 0);
    assert.ok(Buffer.from(await drawn('after')).equals(body('controls-adjusted.png')), 'after');
    await page.evaluate(() => window.platen.viewer.setMode('split'));
});

test('a reduced view shows the last settings, not those before', { timeout: 120000 }, async () => {
    for (const [address, file] of [['levels=60,190&negative', 'a'], ['curve-gamma=60', 'b'], ['levels=0,120&scale=50pc', 'c']]) {
        await page.evaluate((text) => {
            const { platen: app } = window;
            app.takeSettings(app.parse('negative&lightness=-90'));
            app.takeSettings(app.parse(text));
            return app.computeWhole();
        }, address);
        const mean = await page.evaluate(() => {
            const { viewer } = window.platen;
            viewer.setMode('after');
            viewer.zoomTo(0.5);
            viewer.drawNow();
            const { width, height } = viewer.page();
            const { data } = viewer.context.getImageData(viewer.left + 2, viewer.top + 2, width / 2 - 4, height / 2 - 4);
            let sum = 0;
            for (let i = 0; i < data.length; i += 4) {
                sum += data[i] + data[i + 1] + data[i + 2];
            }
            return sum / (data.length * 0.75);
        });
        const options = (await line()).replace(/^platen (.*) controls\.png -o .*$/, '$1');
        assert.equal(shell(`platen ${options} --force controls.png -o reduced-${file}.ppm`).status, 0);
        const whole = samplesOf(`reduced-${file}.ppm`);
        const body = whole.subarray(whole.indexOf('255\n') + 4);
        const native = body.reduce((sum, level) => sum + level, 0) / body.length;
        assert.ok(Math.abs(mean - native) < 4, `${address}: ${mean} is drawn, the tool's mean is ${native}`);
    }
    await page.evaluate(() => {
        window.platen.viewer.setMode('split');
        window.platen.viewer.fit();
    });
});

test('presets, reset, undo and redo, automatic settings', { timeout: 120000 }, async () => {
    const empty = await line();
    const preset = await changes('Preset', () => page.getByLabel('Presets').selectOption('photo-neutral'));
    assert.equal(shell(preset.replace('platen', 'platen --force')).status, 0);
    assert.equal(shell('platen --preset=photo-neutral --force controls.png -o preset.png').status, 0);
    assert.ok(samplesOf('preset.png').equals(samplesOf('controls-adjusted.png')), 'the preset is the tool\'s');
    await changes('Reset', () => page.getByRole('button', { name: 'Reset' }).click());
    assert.equal(await line(), empty);
    assert.match(await changes('Undo', () => page.getByRole('button', { name: 'Undo' }).click()), /--saturation=/);
    await changes('Redo', () => page.getByRole('button', { name: 'Redo' }).click());
    assert.match(await changes('Undo by key', () => page.keyboard.press('Control+z')), /--saturation=/);
    await changes('Redo by key', () => page.keyboard.press('Control+Shift+z'));
    const levels = await changes('Auto levels', () => page.getByRole('button', { name: 'Auto levels' }).click());
    const [black, white] = levels.match(/--levels=(\d+),(\d+)/).slice(1).map(Number);
    assert.match(await page.textContent('.notice'), new RegExp(`${black} to ${white}`));
    // The native tool finds the same percentiles, to within a level.
    const { stderr } = shell('platen --stats --force controls.png -o stats.png');
    const suggested = stderr.match(/--levels=(\d+),(\d+)/);
    assert.ok(suggested, stderr);
    assert.ok(Math.abs(black - suggested[1]) <= 1 && Math.abs(white - suggested[2]) <= 1, `${black},${white}; the tool says ${suggested[0]}`);
    await changes('Auto white, by key', () => page.getByRole('button', { name: 'Auto white' }).press('Enter'));
});

test('tabs, copying, download, colours of the page', { timeout: 120000 }, async () => {
    await setAddress('levels=30,220');
    const tabs = page.getByRole('tab');
    const starts = [/^platen --levels=30,220 controls\.png -o controls-adjusted\.png$/, /^\[\[tone\]\]\nlevels = \[30, 220\]\n$/,
        /#include <platen\.hpp>/, /import numpy, platen/];
    for (let i = 0; i < 4; ++i) {
        await tabs.nth(i).click();
        assert.match(await page.textContent('#recipe code'), starts[i]);
    }
    await tabs.nth(3).press('ArrowRight');
    assert.equal(await page.evaluate(() => document.activeElement.textContent), 'Command line');
    await page.context().grantPermissions(['clipboard-read', 'clipboard-write']);
    const clipboard = () => page.evaluate(() => navigator.clipboard.readText());
    await page.locator('#copy').click();
    await page.waitForFunction(() => document.getElementById('copy').textContent === 'Copied');
    assert.equal(await clipboard(), 'platen --levels=30,220 controls.png -o controls-adjusted.png');
    await page.locator('#copy-link').press('Enter');
    await page.waitForFunction(() => document.getElementById('copy-link').textContent === 'Copied');
    assert.match(await clipboard(), /#levels=30,220$/);
    const [download] = await Promise.all([page.waitForEvent('download'), page.getByRole('button', { name: 'Download PNG' }).click()]);
    assert.equal(download.suggestedFilename(), 'controls-adjusted.png');
    await download.saveAs(join(WORK, 'downloaded.png'));
    assert.equal(shell('platen --levels=30,220 --force controls.png -o controls-adjusted.png').status, 0);
    assert.ok(samplesOf('downloaded.png').equals(samplesOf('controls-adjusted.png')), 'the download has the tool\'s samples');
    const back = () => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
    const first = await back();
    await page.locator('#theme').click();
    assert.notEqual(await back(), first);
    await page.locator('#theme').press('Enter');
    assert.equal(await back(), first);
});

test('the Tab key reaches everything that can be used', { timeout: 120000 }, async () => {
    await setAddress(EVERY_KIND);
    await openStep(2);
    const all = await page.evaluate(() => {
        document.activeElement.blur();
        const usable = [...document.querySelectorAll('button, input, select, [tabindex="0"]')].filter((element) =>
            !element.disabled && element.tabIndex >= 0 && element.checkVisibility({ checkOpacity: false }) &&
            (element.type !== 'radio' || element.checked));
        usable.forEach((element, i) => { element.dataset.order = i; });
        return usable.map((element) => element.getAttribute('aria-label') ?? element.textContent ?? element.id);
    });
    const reached = new Set();
    for (let i = 0; i < all.length + 5; ++i) {
        await page.keyboard.press('Tab');
        reached.add(await page.evaluate(() => document.activeElement.dataset.order));
    }
    const missed = all.filter((_, i) => !reached.has(String(i)));
    assert.deepEqual(missed, []);
    assert.ok(all.length > 40, `${all.length} controls`);
});

test('a saved result is the page\'s own file name and size', { timeout: 120000 }, async () => {
    await setAddress('width=100');
    const saved = await saveResult(page, 'page-result.png');
    const { status } = shell('platen --width=100 --force controls.png -o controls-adjusted.png');
    assert.equal(status, 0);
    assert.ok(samplesOf(saved).equals(samplesOf('controls-adjusted.png')));
});
