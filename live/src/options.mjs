// The settings, and their three written forms: the options of the command line, the page's address, a preset in TOML.
// An option is a pair [name, value]; a flag's value is null. Names, ranges and their order are the tool's.

export const RANGES = {
    brightness: [-100, 100], contrast: [-100, 100], gamma: [0.1, 9.99], strength: [-100, 100], shift: [-100, 100],
    saturation: [-100, 100], hue: [-180, 180], lightness: [-100, 100], sharpness: [-2, 3], threshold: [0, 100],
    percent: [0.01, 100000], side: [1, 65535],
};
export const STAGES = ['tone', 'hsv', 'scale', 'sharpen'];
export const GROUPS = ['shadows', 'midtones', 'highlights'];
const FIRST_POINTS = [[0, 0], [64, 64], [128, 128], [192, 192], [255, 255]];

// A step of each kind that changes nothing.
export const NEW_STEP = {
    bc: () => ({ type: 'bc', on: true, brightness: 0, contrast: 0 }),
    levels: () => ({ type: 'levels', on: true, black: 0, white: 255, gamma: 1, outBlack: 0, outWhite: 255 }),
    curve: () => ({ type: 'curve', on: true, kind: 'spline', points: FIRST_POINTS.map((p) => [...p]) }),
    curveGamma: () => ({ type: 'curveGamma', on: true, strength: 0 }),
    balance: () => ({ type: 'balance', on: true, group: 'midtones', shift: [0, 0, 0] }),
};
export const STEP_NAMES = {
    bc: 'Brightness and contrast', levels: 'Levels', curve: 'Curve', curveGamma: 'Gamma curve',
    balance: 'Colour balance',
};

export function newSettings() {
    return {
        tone: [], saturation: 0, hue: 0, lightness: 0, sharpness: 0, order: [...STAGES],
        mode: '', depth: '', threshold: 50, negative: false,
        size: { kind: 'none', percent: 50, width: 1000, height: 1000, resolution: '150' },
        inputResolution: '', setResolution: '', shrinkOnly: false,
    };
}

const number = (value) => String(value);

function stepOptions(step) {
    switch (step.type) {
        case 'bc':
            return [['brightness', number(step.brightness)], ['contrast', number(step.contrast)]];
        case 'levels': {
            const parts = [step.black, step.white];
            const outer = step.outBlack !== 0 || step.outWhite !== 255;
            if (outer || step.gamma !== 1) {
                parts.push(step.gamma);
            }
            if (outer) {
                parts.push(step.outBlack, step.outWhite);
            }
            return [['levels', parts.map(number).join(',')]];
        }
        case 'curve': {
            const points = ['curve', step.points.map((p) => p.map(number).join(',')).join(':')];
            return step.kind === 'spline' ? [points] : [points, ['curve-kind', step.kind]];
        }
        case 'curveGamma':
            return [['curve-gamma', number(step.strength)]];
        default:
            return [[`balance-${step.group}`, step.shift.map(number).join(',')]];
    }
}

// The stages that are in use.
export function usedStages(s) {
    return {
        tone: s.tone.some((step) => step.on), hsv: s.saturation !== 0 || s.hue !== 0 || s.lightness !== 0,
        scale: s.size.kind !== 'none', sharpen: s.sharpness !== 0,
    };
}

// Everything but the tone steps, in the order of the tool's table.
function plainOptions(s) {
    const list = [];
    for (const name of ['saturation', 'hue', 'lightness', 'sharpness']) {
        if (s[name] !== 0) {
            list.push([name, number(s[name])]);
        }
    }
    if (s.order.join() !== STAGES.join()) {
        list.push(['order', s.order.join()]);
    }
    if (s.mode !== '') {
        list.push(['mode', s.mode]);
    }
    if (s.depth !== '') {
        list.push(['depth', s.depth]);
    }
    if (s.threshold !== 50) {
        list.push(['threshold', number(s.threshold)]);
    }
    if (s.negative) {
        list.push(['negative', null]);
    }
    const { size } = s;
    const sizes = {
        none: [], scale: [['scale', `${number(size.percent)}%`]], size: [['size', `${size.width}x${size.height}`]],
        width: [['width', number(size.width)]], height: [['height', number(size.height)]],
        resolution: [['resolution', size.resolution]],
    };
    list.push(...sizes[size.kind]);
    if (s.inputResolution !== '') {
        list.push(['input-resolution', s.inputResolution]);
    }
    if (s.setResolution !== '') {
        list.push(['set-resolution', s.setResolution]);
    }
    if (s.shrinkOnly && size.kind !== 'none') {
        list.push(['shrink-only', null]);
    }
    return list;
}

export function optionsOf(settings) {
    return [...settings.tone.filter((step) => step.on).flatMap(stepOptions), ...plainOptions(settings)];
}

// --- the command line ---

const SAFE = /^[A-Za-z0-9_@%+=:,./-]+$/;
const quoted = (word) => (SAFE.test(word) && word !== '' ? word : `'${word.replaceAll("'", "'\\''")}'`);

export function outputName(inputName) {
    return `${inputName.replace(/\.[^.]*$/, '')}-adjusted.png`;
}

const fileWord = (name) => quoted(name.startsWith('-') ? `./${name}` : name);

export function commandLine(settings, inputName) {
    const words = optionsOf(settings).map(([name, value]) => quoted(value === null ? `--${name}` : `--${name}=${value}`));
    return ['platen', ...words, fileWord(inputName), '-o', fileWord(outputName(inputName))].join(' ');
}

// --- TOML ---

const NUMERIC = /^[+-]?(\d+\.?\d*|\.\d+)$/;

function tomlScalar(text) {
    return NUMERIC.test(text) ? number(Number(text)) : `"${text.replaceAll(/["\\]/g, '\\$&')}"`;
}

function tomlLine([name, value]) {
    let text = value === null ? 'true' : tomlScalar(value);
    const list = (part) => `[${part.split(',').map(tomlScalar).join(', ')}]`;
    if (name === 'curve') {
        text = `[${value.split(':').map(list).join(', ')}]`;
    } else if (name === 'levels' || name.startsWith('balance-')) {
        text = list(value);
    }
    return `${name} = ${text}\n`;
}

export function presetText(settings) {
    const plain = plainOptions(settings).map(tomlLine).join('');
    const steps = settings.tone.filter((step) => step.on)
        .map((step) => `[[tone]]\n${stepOptions(step).map(tomlLine).join('')}`);
    return [plain, ...steps].filter((part) => part !== '').join('\n');
}

// The options of a preset in the simple form in which presets are written: keys, lists, [[tone]]. Each [[tone]] begins a
// new step, which an option ['', null] says.
export function presetOptions(text) {
    const list = [];
    for (const raw of text.split('\n')) {
        const line = raw.trim();
        if (line === '[[tone]]') {
            list.push(['', null]);
            continue;
        }
        const match = /^([a-z-]+)\s*=\s*(.*)$/.exec(line);
        if (match === null || match[1] === 'description') {
            continue;
        }
        const [, name, value] = match;
        if (value === 'true') {
            list.push([name, null]);
        } else if (value.startsWith('[')) {
            const inner = value.slice(1, value.lastIndexOf(']')).replaceAll(' ', '');
            list.push([name, name === 'curve' ? inner.slice(1, -1).replaceAll('],[', ':') : inner]);
        } else {
            list.push([name, value.replace(/^"(.*)"$/, '$1')]);
        }
    }
    return list;
}

export function presetDescription(text) {
    return /^description\s*=\s*"(.*)"/m.exec(text)?.[1] ?? '';
}

// --- reading options ---

const clamp = (value, [low, high]) => Math.min(Math.max(value, low), high);

function read(text, range, whole = true) {
    const value = NUMERIC.test(text) ? Number(text) : NaN;
    if (Number.isNaN(value)) {
        throw new Error(`'${text}' is not a number`);
    }
    return clamp(whole ? Math.round(value) : value, range);
}

function readResolution(text) {
    const parts = text.split('x');
    if (parts.length > 2 || !parts.every((part) => /^(?=.*[1-9])\d{0,9}\.?\d{0,9}$/.test(part))) {
        throw new Error(`'${text}' is not DPI or XxY`);
    }
    return text;
}

function oneOf(text, choices) {
    if (!choices.includes(text)) {
        throw new Error(`'${text}' is not one of ${choices.join(', ')}`);
    }
    return text;
}

// Keeps the two at least 8 apart and within the tool's ranges.
export function keepSpan(black, white, moved) {
    let low = clamp(Math.round(black), [0, 247]);
    let high = clamp(Math.round(white), [8, 255]);
    if (high - low < 8) {
        if (moved === 'black') {
            low = high - 8;
        } else {
            high = low + 8;
        }
    }
    return [low, high];
}

// Points in the tool's ranges, each x above the one before.
export function keepPoints(points) {
    const kept = points.map(([x, y], i) => [clamp(x, [4 * i, 4 * i + 239]), clamp(y, [0, 255])]);
    for (let i = 1; i < kept.length; ++i) {
        if (!(kept[i][0] > kept[i - 1][0])) {
            throw new Error('the points of a curve must go from left to right');
        }
    }
    return kept;
}

const READERS = {
    brightness: (s, v, on) => joinBc(s, 'brightness', v, on),
    contrast: (s, v, on) => joinBc(s, 'contrast', v, on),
    levels(s, v, on) {
        const parts = v.split(',');
        if (![2, 3, 5].includes(parts.length)) {
            throw new Error(`'${v}' is not BLACK,WHITE[,GAMMA[,OUTBLACK,OUTWHITE]]`);
        }
        const at = (i, otherwise, range, whole) => (i < parts.length ? read(parts[i], range, whole) : otherwise);
        const [black, white] = keepSpan(at(0, 0, [0, 247]), at(1, 255, [8, 255]), 'white');
        const [outBlack, outWhite] = keepSpan(at(3, 0, [0, 247]), at(4, 255, [8, 255]), 'white');
        s.tone.push({ type: 'levels', on, black, white, gamma: at(2, 1, RANGES.gamma, false), outBlack, outWhite });
    },
    gamma: (s, v, on) => READERS.levels(s, `0,255,${v}`, on),
    curve(s, v, on) {
        const points = v.split(':').map((p) => p.split(',').map((n) => read(n, [0, 255], false)));
        if (points.length !== 5 || points.some((p) => p.length !== 2)) {
            throw new Error(`'${v}' is not five points x,y:x,y:x,y:x,y:x,y`);
        }
        s.tone.push({ type: 'curve', on, kind: 'spline', points: keepPoints(points) });
    },
    'curve-kind'(s, v) {
        const last = s.tone.at(-1);
        if (last?.type !== 'curve') {
            throw new Error('it needs a curve before it');
        }
        last.kind = oneOf(v, ['spline', 'polyline']);
    },
    'curve-gamma': (s, v, on) => s.tone.push({ type: 'curveGamma', on, strength: read(v, RANGES.strength) }),
    saturation: (s, v) => { s.saturation = read(v, RANGES.saturation); },
    hue: (s, v) => { s.hue = read(v, RANGES.hue); },
    lightness: (s, v) => { s.lightness = read(v, RANGES.lightness); },
    sharpness: (s, v) => { s.sharpness = read(v, RANGES.sharpness); },
    order(s, v) {
        const list = [...new Set(v.split(',').map((stage) => oneOf(stage, STAGES)))];
        s.order = [...list, ...STAGES.filter((stage) => !list.includes(stage))];
    },
    mode: (s, v) => { s.mode = oneOf(v, ['lineart', 'gray', 'color']); },
    depth: (s, v) => { s.depth = oneOf(v, ['1', '8', '16']); },
    threshold: (s, v) => { s.threshold = read(v, RANGES.threshold, false); },
    negative: (s) => { s.negative = true; },
    scale(s, v) {
        const percent = v.endsWith('%') ? read(v.slice(0, -1), RANGES.percent, false)
            : read(v, [0.0001, 1000], false) * 100;
        Object.assign(s.size, { kind: 'scale', percent });
    },
    size(s, v) {
        const [width, height] = v.split('x').map((side) => read(side, RANGES.side));
        Object.assign(s.size, { kind: 'size', width, height: height ?? width });
    },
    width(s, v) {
        const both = s.size.kind === 'height';
        Object.assign(s.size, { kind: both ? 'size' : 'width', width: read(v, RANGES.side) });
    },
    height(s, v) {
        const both = s.size.kind === 'width';
        Object.assign(s.size, { kind: both ? 'size' : 'height', height: read(v, RANGES.side) });
    },
    resolution: (s, v) => Object.assign(s.size, { kind: 'resolution', resolution: readResolution(v) }),
    'input-resolution': (s, v) => { s.inputResolution = readResolution(v); },
    'set-resolution': (s, v) => { s.setResolution = readResolution(v); },
    'shrink-only': (s) => { s.shrinkOnly = true; },
};
for (const group of GROUPS) {
    READERS[`balance-${group}`] = (s, v, on) => {
        const shift = v.split(',').map((part) => read(part, RANGES.shift));
        if (shift.length !== 3) {
            throw new Error(`'${v}' is not R,G,B`);
        }
        s.tone.push({ type: 'balance', on, group, shift });
    };
}

function joinBc(s, name, value, on) {
    let last = s.tone.at(-1);
    if (last?.type !== 'bc' || last.on !== on || last.given?.has(name) !== false) {
        last = { ...NEW_STEP.bc(), on, given: new Set() };
        s.tone.push(last);
    }
    last[name] = read(value, RANGES[name]);
    last.given.add(name);
}

// Settings from options; an option that can't be read is left out and named in `problems`. Options that are no setting of
// the page (quality, format) are passed over.
export function settingsFrom(options, problems = []) {
    const settings = newSettings();
    for (const [name, value] of options) {
        const on = !name.startsWith('!');
        const bare = on ? name : name.slice(1);
        if (bare === '') {
            settings.tone.forEach((step) => { delete step.given; });
            continue;
        }
        try {
            READERS[bare]?.(settings, value ?? '', on);
        } catch (error) {
            problems.push(`--${bare}: ${error.message}`);
        }
    }
    settings.tone.forEach((step) => { delete step.given; });
    return settings;
}

// --- the address ---

export function addressOf(settings) {
    const tone = settings.tone.flatMap((step) =>
        stepOptions(step).map(([name, value]) => [step.on ? name : `!${name}`, value]));
    return [...tone, ...plainOptions(settings)]
        .map(([name, value]) => (value === null ? name : `${name}=${value.replaceAll('%', 'pc')}`)).join('&');
}

export function fromAddress(hash, problems = []) {
    const options = hash.replace(/^#/, '').split('&').filter((part) => part !== '').map((part) => {
        const [name, ...rest] = part.split('=');
        return [name, rest.length === 0 ? null : rest.join('=').replaceAll('pc', '%')];
    });
    return settingsFrom(options, problems);
}
