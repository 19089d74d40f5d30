// The page: holds the settings, the open page and its result, and tells the parts when they change.

import { autoLevels, autoWhite, mapHistogram } from './auto.mjs';
import { cppLines, pythonLines } from './code.mjs';
import { byId, h, segmented } from './dom.mjs';
import { openEngine } from './engine.mjs';
import { Cancelled, Jobs } from './jobs.mjs';
import { addressOf, commandLine, fromAddress, newSettings, outputName, presetDescription, presetOptions, presetText, settingsFrom } from './options.mjs';
import { Panel } from './panel.mjs';
import { planPage, previewPlan } from './plan.mjs';
import { Recipe } from './recipe.mjs';
import { Viewer } from './viewer.mjs';

const WAIT_FOR_WHOLE_PAGE = 120;  // ms after the last change
const FRAME = 13;                 // ms that a preview may take, the rest of a frame is the browser's

const fromBase64 = async (text) => new Uint8Array(await (await fetch(`data:application/octet-stream;base64,${text}`)).arrayBuffer());

async function unpacked(text) {
    const stream = new Blob([await fromBase64(text)]).stream().pipeThrough(new DecompressionStream('gzip'));
    return new Uint8Array(await new Response(stream).arrayBuffer());
}

const LAYOUTS = ['grey', 'grey with alpha', 'RGB', 'RGB with alpha'];
const layoutText = ({ samples, bits }) => (bits === 1 ? 'bilevel' : `${bits}-bit ${LAYOUTS[samples - 1]}`);
const resolutionText = (resolution) => {
    if (resolution === null) {
        return 'no resolution';
    }
    const [x, y] = [resolution.x, resolution.y].map(([n, d]) => String(Math.round((n / d) * 1000) / 1000));
    return `${x === y ? x : `${x} x ${y}`} dpi`;
};

class App {
    constructor(data) {
        this.data = data;
        this.presets = data.presets;
        this.settings = newSettings();
        this.selected = 0;
        this.page = null;         // { info, histogram, proxy, tiles, name }
        this.plan = null;
        this.after = null;        // what the viewer shows
        this.version = 0;         // counts the changes
        this.wholeVersion = -1;   // the change that the whole page's result belongs to
        this.past = [];
        this.future = [];
        this.recorded = '';
        this.actions = {
            preset: (name) => this.takePreset(name), reset: () => this.takeSettings(newSettings()),
            autoLevels: () => this.autoLevels(), autoWhite: () => this.autoWhite(),
        };
    }

    async start() {
        const module = await WebAssembly.compile(await unpacked(this.data.module));
        this.engine = await openEngine(module);
        const source = byId('worker-source').textContent;
        this.whole = new Jobs(source);
        this.reduced = new Jobs(source);
        await Promise.all([this.whole, this.reduced].map((jobs) => jobs.send({ command: 'open', module })));
        this.panel = new Panel(byId('panel'), this);
        this.recipe = new Recipe(byId('recipe'));
        this.viewer = new Viewer({
            box: byId('canvas-box'), canvas: byId('view'), divider: byId('divider'),
            tags: { before: byId('tag-before'), after: byId('tag-after') }, zoomChanged: () => this.showZoom(),
        });
        this.listen();
        const fromLink = location.hash.length > 1;
        await this.openSample(this.data.samples[0].name, !fromLink);
        if (fromLink) {
            this.readAddress();
        }
        document.documentElement.dataset.ready = 'true';
    }

    // --- settings ---

    // A control has changed this.settings; `live` while it is being dragged.
    changed(live = false) {
        ++this.version;
        this.dragging = live;
        this.makePlan();
        this.showTone();
        this.showRecipe();
        this.requestPreview();
        clearTimeout(this.wholeTimer);
        this.cancelWhole();
        this.wholeTimer = setTimeout(() => this.computeWhole(), WAIT_FOR_WHOLE_PAGE);
        if (!live) {
            this.record();
        }
    }

    record() {
        const address = addressOf(this.settings);
        if (address !== this.recorded) {
            this.past.push(this.recorded);
            this.future = [];
            this.recorded = address;
            this.writeAddress();
        }
        this.showHistory();
    }

    writeAddress() {
        try {
            history.replaceState(null, '', this.recorded === '' ? location.pathname + location.search : `#${this.recorded}`);
        } catch {
            // some browsers refuse it for pages from disk; the link button still has it
        }
    }

    readAddress() {
        const problems = [];
        this.takeSettings(fromAddress(decodeURIComponent(location.hash), problems));
        if (problems.length > 0) {
            this.say(`The link has settings that can't be read: ${problems.join('; ')}`);
        }
    }

    takeSettings(settings) {
        this.settings = settings;
        const drawn = settings.tone.findIndex(({ type }) => type === 'levels' || type === 'curve');  // they have handles
        this.selected = drawn >= 0 ? drawn : 0;
        this.panel.rebuild();
        this.panel.notice.textContent = '';
        this.changed(false);
    }

    timeTravel(from, to) {
        if (from.length > 0) {
            to.push(this.recorded);
            this.recorded = from.pop();
            this.settings = fromAddress(this.recorded);
            this.selected = Math.min(Math.max(this.selected, 0), this.settings.tone.length - 1);
            this.panel.rebuild();
            this.writeAddress();
            const kept = this.recorded;
            this.changed(true);
            this.recorded = kept;
            this.showHistory();
        }
    }

    showHistory() {
        byId('undo').disabled = this.past.length === 0;
        byId('redo').disabled = this.future.length === 0;
    }

    takePreset(name) {
        if (name !== '') {
            this.takeSettings(settingsFrom(presetOptions(this.presets[name])));
            this.panel.notice.textContent = presetDescription(this.presets[name]);
        }
    }

    isColour() {
        return this.page === null || (this.page.info.samples > 2 && this.settings.mode !== 'gray' && this.settings.mode !== 'lineart');
    }

    // The histogram of what the tone steps take: in grey where the mode is, inverted for negatives.
    toneHistogram() {
        const { histogram } = this.page;
        const counts = histogram.slice();
        if (!this.isColour()) {
            for (let c = 0; c < 3; ++c) {
                counts.set(histogram.subarray(768), 256 * c);
            }
        }
        if (this.settings.negative) {
            for (let c = 0; c < 4; ++c) {
                counts.subarray(256 * c, 256 * (c + 1)).reverse();
            }
        }
        return counts;
    }

    autoLevels() {
        if (this.page !== null) {
            const { step, notice } = autoLevels(this.toneHistogram(), this.isColour());
            this.addAuto(step === null ? [] : [step], notice);
        }
    }

    autoWhite() {
        if (this.page !== null) {
            const { steps, notice } = autoWhite(this.toneHistogram(), this.isColour(), (list) => this.engine.fold(list));
            this.addAuto(steps, notice);
        }
    }

    // Automatic steps stand alone: they are computed from the page as it is.
    addAuto(steps, notice) {
        if (steps.length > 0) {
            const others = this.settings.tone.length;
            this.settings.tone = steps;
            this.selected = steps.length - 1;
            this.panel.rebuild();
            this.changed(false);
            if (others > 0) {
                notice += ' The steps that were there have gone (undo brings them back).';
            }
        }
        this.panel.notice.textContent = notice;
    }

    // --- what follows from the settings ---

    makePlan() {
        this.plan = null;
        this.refusal = '';
        if (this.page !== null) {
            try {
                this.plan = { ...planPage(this.settings, this.page.info), input: this.page.info };
            } catch (error) {
                this.refusal = error.message;
            }
        }
        const output = this.plan?.output;
        this.panel.sizeResult.textContent = output ? `${output.width} x ${output.height}, ${layoutText(output)}, ${resolutionText(output.resolution)}` : '';
        this.showMessage(this.refusal !== '' ? this.refusal : this.plan?.notices.join('; ') ?? '', this.refusal !== '');
        this.panel.hsv.forEach((row) => row.classList.toggle('useless', !this.isColour()));
    }

    showTone() {
        const colour = this.isColour();
        const depth = colour ? 24 : 8;
        const step = this.settings.tone[this.selected];
        this.tables = this.engine.fold(this.settings.tone, this.plan?.depth ?? depth);
        const own = step ? this.engine.fold([{ ...step, on: true }], depth) : null;
        this.panel.graph.showCurves(this.tables, colour, own);
        this.panel.graph.showHandles(step);
        if (this.page !== null) {
            const before = this.settings.tone.slice(0, Math.max(this.selected, 0));
            const counts = before.length === 0 ? this.toneHistogram() : mapHistogram(this.toneHistogram(), this.engine.fold(before, depth));
            this.panel.graph.showHistogram(counts, colour);
        }
    }

    showRecipe() {
        const name = this.page?.name ?? 'page.png';
        this.recipe.show([
            commandLine(this.settings, name), presetText(this.settings) || '# nothing is changed\n', cppLines(this.settings, this.plan),
            pythonLines(this.settings, this.plan, name),
        ]);
    }

    // --- computing ---

    // The reduced page, as often as the worker can.
    requestPreview() {
        if (this.page === null || this.previewBusy) {
            this.previewWanted = this.page !== null;
            return;
        }
        this.previewWanted = false;
        if (this.plan === null) {
            this.after = null;
            this.viewer.show(this.before(), null);
            return;
        }
        const { plan, version } = this;
        this.previewBusy = true;
        const fast = this.dragging && this.previewTime > FRAME;
        const reduced = fast ? this.page.small : this.page.proxy;
        const begun = performance.now();
        this.reduced.send({ command: 'run', plan: previewPlan(plan, reduced), tables: this.tables, fast }).then(({ tiles }) => {
            if (!fast) {
                this.previewTime = performance.now() - begun;
            }
            if (this.wholeVersion < version) {  // else there is better already
                const { width, height } = plan.output;
                this.after = { width, height, tiles: null, proxy: { width: reduced.width, height: reduced.height, tiles } };
                this.viewer.show(this.before(), this.after);
            }
        }).catch((error) => error instanceof Cancelled || this.showMessage(error.message, true)).finally(() => {
            this.previewBusy = false;
            if (this.previewWanted) {
                this.requestPreview();
            }
        });
    }

    before() {
        const { info, tiles, proxy } = this.page;
        return { width: info.width, height: info.height, tiles, proxy };
    }

    cancelWhole() {
        if (this.wholeBusy) {
            this.whole.send({ command: 'cancel' });
        }
    }

    // The whole page. Resolves when its result is there; a later change or Cancel ends it.
    computeWhole() {
        clearTimeout(this.wholeTimer);
        if (this.plan === null || this.wholeVersion === this.version) {
            return this.wholeRun;
        }
        if (this.wholeBusy && this.wholeStarted === this.version) {
            return this.wholeRun;
        }
        const { plan, version } = this;
        this.wholeBusy = true;
        this.wholeStarted = version;
        this.showProgress('Computing', 0);
        this.wholeRun = this.whole.send({ command: 'run', plan, tables: this.tables, keepResult: true }, (part) => this.showProgress('Computing', part))
            .then(({ tiles, reduced, milliseconds }) => {
                if (version !== this.version) {
                    return;
                }
                this.wholeVersion = version;
                const { width, height } = plan.output;
                this.after = { width, height, tiles, proxy: reduced };
                this.viewer.show(this.before(), this.after);
                this.hideProgress(`${width} x ${height}, ${Math.round(milliseconds)} ms`);
            }).catch((error) => {
                if (version !== this.version) {
                    return;
                }
                if (error instanceof Cancelled) {
                    this.hideProgress('Cancelled; the picture is a preview');
                } else {
                    this.hideProgress('');
                    this.showMessage(error.message, true);
                }
            }).finally(() => {
                if (this.wholeStarted === version) {
                    this.wholeBusy = false;
                }
            });
        return this.wholeRun;
    }

    // The result as a PNG file; null where there is none.
    async result() {
        await this.computeWhole();
        if (this.plan === null || this.wholeVersion !== this.version) {
            return null;
        }
        const { blob } = await this.whole.send({ command: 'encode' }, (part) => this.showProgress('Writing', part));
        this.hideProgress('Saved');
        return blob;
    }

    async download() {
        const blob = await this.result();
        if (blob === null) {
            this.say(this.refusal || 'There is no result to save.');
            return;
        }
        const link = h('a', { href: URL.createObjectURL(blob), download: outputName(this.page.name) });
        document.body.append(link);
        link.click();
        link.remove();
        setTimeout(() => URL.revokeObjectURL(link.href), 10000);
    }

    // --- pages ---

    async openFile(file) {
        await this.openBlob(file, file.name || 'page.png');
    }

    async openSample(name, withSettings) {
        const sample = this.data.samples.find((one) => one.name === name);
        byId('samples').value = name;
        const blob = new Blob([await fromBase64(sample.data)], { type: sample.type });
        const untouched = this.suggested === undefined || this.recorded === this.suggested;
        await this.openBlob(blob, sample.name);
        if (withSettings && untouched) {
            this.takeSettings(fromAddress(sample.settings));
            this.suggested = this.recorded;
        }
    }

    async openBlob(blob, name) {
        this.showMessage('', false);
        this.showProgress(`Reading ${name}`, 0);
        this.cancelWhole();
        try {
            const loaded = await this.whole.send({ command: 'load', blob }, (part) => this.showProgress(`Reading ${name}`, part));
            ++this.version;
            const { tiles, small } = await this.reduced.send({ command: 'keep', proxy: loaded.proxy });
            const { width, height, samples, bits } = loaded.proxy;
            if (this.suggested !== undefined && this.recorded === this.suggested && !this.data.samples.some((one) => one.name === name)) {
                this.settings = newSettings();  // what the sample was shown with is not for other pages
                this.panel.rebuild();
            }
            this.page = { ...loaded, proxy: { width, height, samples, bits, tiles }, small, name };
            this.after = null;
            this.wholeVersion = -1;
            this.viewer.show(this.before(), null);
            this.viewer.fit();
            const { info } = this.page;
            byId('file-info').textContent = `${name} · ${info.width} x ${info.height}, ${layoutText(info)}, ${resolutionText(info.resolution)}`;
            byId('view').setAttribute('aria-label', `The page ${name}, ${info.width} by ${info.height} pixels. Arrow keys move it, plus and minus zoom, 0 fits it, 1 shows every pixel.`);
            if (!this.data.samples.some((one) => one.name === name)) {
                byId('samples').value = '';
            }
            this.hideProgress('');
            this.changed(false);
            if (info.notice) {
                this.say(info.notice);
            }
        } catch (error) {
            this.hideProgress('');
            this.say(`${name}: ${error.message}`);
        }
    }

    // --- the page's own face ---

    showMessage(text, refused) {
        const box = byId('message');
        box.textContent = text;
        box.hidden = text === '';
        box.classList.toggle('refused', refused);
    }

    say(text) {
        this.showMessage(text, true);
    }

    showProgress(text, part) {
        byId('status').textContent = `${text}${part > 0 ? ` ${Math.round(part * 100)} %` : ''}`;
        byId('progress').value = part;
        byId('progress').hidden = part === 0;
        byId('cancel').hidden = !text.startsWith('Computing') || part === 0;
    }

    hideProgress(text) {
        byId('status').textContent = text;
        byId('progress').hidden = true;
        byId('cancel').hidden = true;
    }

    showZoom() {
        const percent = this.viewer.scale * 100;
        byId('zoom-level').textContent = `${percent < 10 ? percent.toFixed(1) : Math.round(percent)} %`;
    }

    listen() {
        byId('open').onclick = () => byId('file').click();
        byId('file').onchange = ({ target }) => {
            if (target.files.length > 0) {
                this.openFile(target.files[0]);
                target.value = '';
            }
        };
        const samples = byId('samples');
        samples.append(h('option', { value: '' }, 'Samples'), ...this.data.samples.map(({ name, title }) => h('option', { value: name }, title)));
        samples.onchange = () => samples.value !== '' && this.openSample(samples.value, true);
        byId('download').onclick = () => this.download();
        byId('cancel').onclick = () => this.cancelWhole();
        byId('undo').onclick = () => this.timeTravel(this.past, this.future);
        byId('redo').onclick = () => this.timeTravel(this.future, this.past);
        byId('theme').onclick = () => this.switchTheme();
        segmented({
            label: 'Show', element: byId('compare'), get: () => this.viewer.mode, set: (mode) => this.viewer.setMode(mode),
            choices: [['split', 'Split'], ['before', 'Before'], ['after', 'After']],
        });
        byId('zoom-in').onclick = () => this.viewer.step(1);
        byId('zoom-out').onclick = () => this.viewer.step(-1);
        byId('zoom-fit').onclick = () => this.viewer.fit();
        byId('zoom-100').onclick = () => this.viewer.zoomTo(1);
        window.addEventListener('hashchange', () => this.readAddress());
        this.listenForDrops();
        document.addEventListener('keydown', (event) => {
            if ((event.ctrlKey || event.metaKey) && event.key.toLowerCase() === 'z' && !/^(text|number)$/.test(event.target.type ?? '')) {
                this.timeTravel(...(event.shiftKey ? [this.future, this.past] : [this.past, this.future]));
                event.preventDefault();
            }
        });
        document.addEventListener('paste', (event) => {
            const file = [...event.clipboardData.files][0];
            if (file) {
                this.openFile(file);
            }
        });
    }

    listenForDrops() {
        const { body } = document;
        let depth = 0;
        const over = (by) => {
            depth = Math.max(depth + by, 0);
            body.classList.toggle('dropping', depth > 0);
        };
        body.addEventListener('dragenter', () => over(1));
        body.addEventListener('dragleave', () => over(-1));
        body.addEventListener('dragover', (event) => event.preventDefault());
        body.addEventListener('drop', (event) => {
            event.preventDefault();
            over(-depth);
            const file = [...event.dataTransfer.files][0];
            if (file) {
                this.openFile(file);
            }
        });
    }

    switchTheme() {
        const root = document.documentElement;
        const dark = root.dataset.theme ? root.dataset.theme === 'dark' : matchMedia('(prefers-color-scheme: dark)').matches;
        root.dataset.theme = dark ? 'light' : 'dark';
        this.viewer.draw();
    }
}

const app = new App(JSON.parse(byId('data').textContent));
window.platen = app;  // for those who look into it, and for its tests
app.parse = fromAddress;
app.start().catch((error) => {
    byId('message').hidden = false;
    byId('message').textContent = `This browser cannot run the page: ${error.message}`;
});
