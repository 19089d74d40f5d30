// The settings at the side: the graph, the tone steps, and everything after them.

import { byId, checkbox, dropdown, h, newId, segmented, slider, textField } from './dom.mjs';
import { Graph } from './graph.mjs';
import { GROUPS, NEW_STEP, RANGES, STAGES, STEP_NAMES, keepPoints, keepSpan } from './options.mjs';

const STAGE_NAMES = { tone: 'Tone', hsv: 'Colour', scale: 'Scale', sharpen: 'Sharpen' };
const resolutionText = (text) => /^\d{1,5}(\.\d{1,3})?(x\d{1,5}(\.\d{1,3})?)?$/.test(text) && !/(^|x)0*(\.0*)?($|x)/.test(text);

function stepSummary(step) {
    switch (step.type) {
        case 'bc':
            return `${step.brightness}, ${step.contrast}`;
        case 'levels':
            return `${step.black} – ${step.white}${step.gamma === 1 ? '' : `, γ ${step.gamma}`}`;
        case 'curve':
            return step.kind;
        case 'curveGamma':
            return String(step.strength);
        default:
            return `${step.group} ${step.shift.join(', ')}`;
    }
}

export class Panel {
    // app: settings, selected (the step that is edited), changed(live), presets, actions.
    constructor(element, app) {
        this.app = app;
        this.element = element;
        this.graph = new Graph({ changed: (live) => { this.showStepValues(); app.changed(live); } });
        this.list = h('ol.steps', { 'aria-label': 'Tone steps, in their order' });
        this.shown = [];
        element.append(this.toneSection(), ...this.otherSections());
    }

    section(title, ...children) {
        const id = newId('section');
        return h('section.group', { 'aria-labelledby': id }, h('h2', { id }, title), ...children);
    }

    toneSection() {
        const { app } = this;
        const add = h('select.add', {
            'aria-label': 'Add a tone step',
            onchange: () => {
                if (add.value !== '') {
                    app.settings.tone.push(NEW_STEP[add.value]());
                    app.selected = app.settings.tone.length - 1;
                    add.value = '';
                    this.rebuild();
                    app.changed(false);
                    this.focusStep(app.selected);
                }
            },
        }, h('option', { value: '' }, 'Add a step…'), ...Object.entries(STEP_NAMES).map(([value, text]) => h('option', { value }, text)));
        const presets = h('select', {
            'aria-label': 'Presets', id: 'presets',
            onchange: () => {
                app.actions.preset(presets.value);
                presets.value = '';
            },
        }, h('option', { value: '' }, 'Presets'), ...Object.keys(app.presets).map((name) => h('option', { value: name }, name)));
        this.notice = h('p.notice', { role: 'status' });
        const title = newId('section');
        return h('section.group.tone', { 'aria-labelledby': title },
            h('div.group-head', {}, h('h2', { id: title }, 'Tone'), presets,
                h('button.quiet', { type: 'button', id: 'reset', onclick: () => app.actions.reset() }, 'Reset')),
            this.graph.element, this.list,
            h('div.row', {}, add,
                h('button', { type: 'button', id: 'auto-levels', onclick: () => app.actions.autoLevels() }, 'Auto levels'),
                h('button', { type: 'button', id: 'auto-white', onclick: () => app.actions.autoWhite() }, 'Auto white')),
            this.notice);
    }

    // A plain setting of a control: reads and writes settings[name].
    bind(name, extra = {}) {
        const { app } = this;
        return { get: () => app.settings[name], set: (value, live = false) => { app.settings[name] = value; app.changed(live); }, ...extra };
    }

    otherSections() {
        const { app } = this;
        const [low, high] = [0, 1];
        const range = (name) => ({ min: RANGES[name][low], max: RANGES[name][high] });
        const size = (name) => ({
            get: () => app.settings.size[name], set: (value, live = false) => { app.settings.size[name] = value; app.changed(live); },
        });
        const hsv = [
            slider({ label: 'Saturation', ...range('saturation'), track: 'saturation', ...this.bind('saturation') }),
            slider({ label: 'Hue', ...range('hue'), track: 'hue', ...this.bind('hue') }),
            slider({ label: 'Lightness', ...range('lightness'), ...this.bind('lightness') }),
        ];
        const sharpness = segmented({
            label: 'Sharpness', ...this.bind('sharpness'), set: (value) => this.bind('sharpness').set(Number(value)),
            choices: [['-2', 'Soft 2'], ['-1', 'Soft 1'], ['0', 'Off'], ['1', '1'], ['2', '2'], ['3', '3']],
        });
        const whole = (text) => /^\d{1,5}$/.test(text) && Number(text) >= 1 && Number(text) <= 65535;
        const number = (name) => ({ get: () => String(app.settings.size[name]), set: (text) => size(name).set(Number(text)), valid: whole });
        const sizeFields = {
            scale: [slider({ label: 'Percent', min: 1, max: 400, step: 0.5, neutral: 100, log: true, ...size('percent') })],
            size: [textField({ label: 'Width', hint: 'pixels', ...number('width') }), textField({ label: 'Height', hint: 'pixels', ...number('height') })],
            width: [textField({ label: 'Width', hint: 'pixels; keeps the proportions', ...number('width') })],
            height: [textField({ label: 'Height', hint: 'pixels; keeps the proportions', ...number('height') })],
            resolution: [textField({ label: 'Resolution', hint: 'dpi, or XxY', ...size('resolution'), valid: resolutionText })],
        };
        const shrinkOnly = checkbox({ label: 'Never enlarge', ...this.bind('shrinkOnly') });
        const kind = dropdown({
            label: 'Scale to', get: () => app.settings.size.kind, set: (value) => { size('kind').set(value); this.showSize(); },
            choices: [['none', 'as it is'], ['scale', 'percent'], ['width', 'a width'], ['height', 'a height'], ['size', 'width and height'],
                ['resolution', 'a resolution']],
        });
        this.sizeResult = h('p.hint', { id: 'size-result', 'aria-live': 'polite' });
        this.showSize = () => {
            for (const [name, fields] of Object.entries(sizeFields)) {
                fields.forEach((field) => { field.hidden = app.settings.size.kind !== name; });
            }
            shrinkOnly.hidden = app.settings.size.kind === 'none';
        };
        const optional = (text) => text === '' || resolutionText(text);
        const threshold = slider({ label: 'Threshold', ...range('threshold'), step: 0.5, neutral: 50, ...this.bind('threshold') });
        const mode = segmented({ label: 'Mode', ...this.bind('mode'),
            choices: [['', 'As it is'], ['color', 'Colour'], ['gray', 'Grey'], ['lineart', 'Lineart']] });
        const orderList = h('ol.order', { 'aria-label': 'Order of the stages' });
        this.showOrder = () => this.fillOrder(orderList);
        const controls = [
            mode, threshold, checkbox({ label: 'Negative', ...this.bind('negative') }),
            dropdown({ label: 'Bit depth', ...this.bind('depth'), choices: [['', 'as they are'], ['1', '1'], ['8', '8'], ['16', '16']] }),
            textField({ label: 'Input', hint: 'dpi; empty: from the file', ...this.bind('inputResolution'), valid: optional }),
            textField({ label: 'Output', hint: 'dpi; empty: follows the size', ...this.bind('setResolution'), valid: optional }),
        ];
        this.controls = [...hsv, sharpness, kind, ...Object.values(sizeFields).flat(), shrinkOnly, ...controls];
        this.hsv = hsv;
        return [
            this.section('Colour', ...hsv),
            this.section('Sharpness', sharpness),
            this.section('Size', kind, ...Object.values(sizeFields).flat(), shrinkOnly, this.sizeResult),
            this.section('Pixels', mode, threshold, controls[2], controls[3]),
            this.section('Resolution tag', controls[4], controls[5]),
            this.section('Order of the stages', orderList),
        ];
    }

    fillOrder(list) {
        const { app } = this;
        const move = (i, by) => {
            const { order } = app.settings;
            [order[i], order[i + by]] = [order[i + by], order[i]];
            app.changed(false);
            this.showOrder();
            list.children[i + by].querySelector(`button:nth-of-type(${by < 0 ? 1 : 2}):not(:disabled)`)?.focus();
        };
        list.replaceChildren(...app.settings.order.map((stage, i) => h('li', {}, h('span', {}, STAGE_NAMES[stage]),
            h('button.quiet', { type: 'button', 'aria-label': `${STAGE_NAMES[stage]}: earlier`, disabled: i === 0, onclick: () => move(i, -1) }, '←'),
            h('button.quiet', { type: 'button', 'aria-label': `${STAGE_NAMES[stage]}: later`, disabled: i === STAGES.length - 1, onclick: () => move(i, 1) }, '→'))));
    }

    // Everything anew, from settings that come from elsewhere.
    rebuild() {
        const { app } = this;
        app.selected = Math.min(Math.max(app.selected, 0), app.settings.tone.length - 1);
        this.list.replaceChildren();
        this.shown = app.settings.tone.map((step, i) => this.stepCard(step, i));
        this.list.append(...this.shown.map((card) => card.element));
        this.controls.forEach((control) => control.show());
        this.showSize();
        this.showOrder();
    }

    focusStep(i) {
        this.shown[i]?.element.querySelector('.step-name').focus();
    }

    stepCard(step, i) {
        const { app } = this;
        const name = STEP_NAMES[step.type];
        const open = i === app.selected;
        const bodyId = newId('step');
        const select = () => {
            app.selected = app.selected === i ? -1 : i;
            this.rebuildKeeping(i);
        };
        const move = (by) => {
            const { tone } = app.settings;
            [tone[i], tone[i + by]] = [tone[i + by], tone[i]];
            if (app.selected === i) {
                app.selected = i + by;
            } else if (app.selected === i + by) {
                app.selected = i;
            }
            app.changed(false);
            this.rebuildKeeping(i + by);
        };
        const remove = () => {
            app.settings.tone.splice(i, 1);
            app.selected = Math.min(app.selected >= i ? app.selected - 1 : app.selected, app.settings.tone.length - 1);
            app.selected = app.selected < 0 && app.settings.tone.length > 0 ? 0 : app.selected;
            app.changed(false);
            this.rebuild();
            (this.shown[Math.min(i, this.shown.length - 1)]?.element.querySelector('.step-name') ?? byId('auto-levels')).focus();
        };
        const on = h('input', {
            type: 'checkbox', 'aria-label': `${name}: on`,
            onchange: () => { step.on = on.checked; element.classList.toggle('off', !step.on); app.changed(false); },
        });
        on.checked = step.on;
        const summary = h('span.summary', {}, stepSummary(step));
        const controls = open ? this.stepControls(step) : [];
        const body = open ? h('div.step-body', { id: bodyId }, ...controls) : null;
        const element = h(`li.step${open ? '.open' : ''}${step.on ? '' : '.off'}`, {},
            h('div.step-head', {}, on,
                h('button.step-name', { type: 'button', 'aria-expanded': String(open), 'aria-controls': open ? bodyId : undefined, onclick: select },
                    h('span', {}, name), summary),
                h('button.quiet', { type: 'button', 'aria-label': `${name}: earlier`, disabled: i === 0, onclick: () => move(-1) }, '↑'),
                h('button.quiet', { type: 'button', 'aria-label': `${name}: later`, disabled: i === app.settings.tone.length - 1, onclick: () => move(1) }, '↓'),
                h('button.quiet', { type: 'button', 'aria-label': `${name}: remove`, onclick: remove }, '×')),
            body);
        return { element, show: () => { summary.textContent = stepSummary(step); controls.forEach((control) => control.show?.()); } };
    }

    rebuildKeeping(i) {
        this.rebuild();
        this.app.showTone();
        this.focusStep(i);
    }

    showStepValues() {
        this.shown.forEach((card) => card.show());
    }

    stepControls(step) {
        const { app } = this;
        const changed = (live) => { this.showStepValues(); app.changed(live); };
        const field = (name) => ({ get: () => step[name], set: (value, live = false) => { step[name] = value; changed(live); } });
        const amount = { min: -100, max: 100 };
        switch (step.type) {
            case 'bc':
                return [slider({ label: 'Brightness', ...amount, ...field('brightness') }), slider({ label: 'Contrast', ...amount, ...field('contrast') })];
            case 'levels': {
                const ends = (names, moved) => ({
                    get: () => step[names[moved]],
                    set: (value, live) => {
                        const pair = names.map((name) => step[name]);
                        pair[moved] = value;
                        [step[names[0]], step[names[1]]] = keepSpan(...pair, moved === 0 ? 'black' : 'white');
                        changed(live);
                    },
                });
                const input = ['black', 'white'];
                const output = ['outBlack', 'outWhite'];
                return [
                    slider({ label: 'Black', min: 0, max: 247, ...ends(input, 0) }),
                    slider({ label: 'Gamma', min: 0.1, max: 9.99, step: 0.01, neutral: 1, log: true, ...field('gamma') }),
                    slider({ label: 'White', min: 8, max: 255, neutral: 255, ...ends(input, 1) }),
                    slider({ label: 'Output black', min: 0, max: 247, ...ends(output, 0) }),
                    slider({ label: 'Output white', min: 8, max: 255, neutral: 255, ...ends(output, 1) }),
                ];
            }
            case 'curve':
                return [
                    segmented({ label: 'Kind of curve', ...field('kind'), choices: [['spline', 'Spline'], ['polyline', 'Polyline']] }),
                    this.pointFields(step, changed),
                ];
            case 'curveGamma':
                return [slider({ label: 'Strength', ...amount, ...field('strength') })];
            default: {
                const channel = (c) => ({ get: () => step.shift[c], set: (value, live) => { step.shift[c] = value; changed(live); } });
                return [
                    segmented({ label: 'Tones', ...field('group'), choices: GROUPS.map((group) => [group, group[0].toUpperCase() + group.slice(1)]) }),
                    slider({ label: 'Red', ...amount, track: 'cyan-red', ...channel(0) }),
                    slider({ label: 'Green', ...amount, track: 'magenta-green', ...channel(1) }),
                    slider({ label: 'Blue', ...amount, track: 'yellow-blue', ...channel(2) }),
                ];
            }
        }
    }

    pointFields(step, changed) {
        const inputs = [];
        const row = h('div.points', { role: 'group', 'aria-label': 'Points of the curve, input and output' });
        step.points.forEach((_, i) => ['input', 'output'].forEach((side, axis) => {
            const input = h('input.number', {
                type: 'number', 'aria-label': `Point ${i + 1}, ${side}`, min: 0, max: 255, step: 1,
                onchange: () => {
                    const points = step.points.map((p) => [...p]);
                    points[i][axis] = Math.round(Number(input.value));
                    try {
                        step.points = keepPoints(points);
                    } catch {
                        // stays as it was
                    }
                    changed(false);
                },
            });
            inputs.push([input, i, axis]);
            row.append(input);
        }));
        row.show = () => inputs.forEach(([input, i, axis]) => { input.value = step.points[i][axis]; });
        row.show();
        return row;
    }
}
