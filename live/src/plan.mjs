// What happens to a page, step by step, before its first line: the tool's order, sizes and refusals.
//
// A page's layout is { width, height, samples, bits }; a page also has resolution: null or { x: [n, d], y: [n, d] } in
// pixels per inch. A step is { kind, in, out, settings }.

import { usedStages } from './options.mjs';

// As the tool's StageKind.
export const KIND = {
    bilevelToGrey: 0, depth16To8: 1, depth8To16: 2, colourToGrey: 3, greyToColour: 4, negative: 5, flatten: 6,
    threshold: 7, tone: 8, hsv: 9, scale: 10, sharpen: 11,
};

export const MOST_SIDE = 65535;
export const MOST_PIXELS = 268435456;

const hasAlpha = (layout) => layout.samples % 2 === 0;
const colours = (layout) => (layout.samples > 2 ? 3 : 1);

const roundSide = (side) => Math.min(Math.max(Math.floor(side + 0.5), 1), 4294967295);

// "150" or "300x150", decimal numbers, as ratios.
export function parseResolution(text) {
    const ratio = (part) => {
        const point = part.indexOf('.');
        const digits = point < 0 ? 0 : part.length - point - 1;
        return [Number(part.replace('.', '')), 10 ** digits];
    };
    const parts = text.split('x').map(ratio);
    return { x: parts[0], y: parts[1] ?? parts[0] };
}

function wantedSize(page, size) {
    switch (size.kind) {
        case 'scale': {
            const scale = size.percent / 100;
            return [roundSide(page.width * scale), roundSide(page.height * scale)];
        }
        case 'resolution': {
            if (page.resolution === null) {
                throw new Error('--resolution: the file does not say what resolution it has; give its resolution');
            }
            const wanted = parseResolution(size.resolution);
            const side = (count, to, from) => roundSide((count * (to[0] * from[1])) / (to[1] * from[0]));
            return [side(page.width, wanted.x, page.resolution.x), side(page.height, wanted.y, page.resolution.y)];
        }
        case 'size':
            return [size.width, size.height];
        case 'width':
            return [size.width, roundSide((page.height * size.width) / page.width)];
        default:
            return [roundSide((page.width * size.height) / page.height), size.height];
    }
}

function scaledResolution(page, settings, from, to, unclamped) {
    if (page.resolution === null) {
        return null;
    }
    const wanted = settings.size.kind === 'resolution' ? parseResolution(settings.size.resolution) : null;
    const axis = (name, i) => {
        if (wanted !== null && to[i] === unclamped[i]) {
            return wanted[name];
        }
        const [n, d] = page.resolution[name];
        return [n * to[i], d * from[i]];
    };
    return { x: axis('x', 0), y: axis('y', 1) };
}

// The plan: { steps, output (with its resolution), notices }. An Error where the tool refuses too.
export function planPage(settings, source) {
    const used = usedStages(settings);
    const page = { ...source };
    if (settings.inputResolution !== '') {
        page.resolution = parseResolution(settings.inputResolution);
    }
    const layout = ({ width, height, samples, bits }) => ({ width, height, samples, bits });
    const steps = [];
    const notices = [];
    const info = { ...page };
    const add = (kind, stepSettings = []) => {
        steps.push({ kind, in: steps.length === 0 ? layout(page) : steps.at(-1).out, out: layout(info), settings: stepSettings });
    };
    const toLineart = settings.mode === 'lineart' || settings.depth === '1';
    const needsEight = used.tone || used.hsv || used.sharpen;

    if (settings.depth === '16' && needsEight) {
        throw new Error('--depth=16: tone, colour and sharpness options work on 8 bits');
    }
    if (settings.depth === '16' && settings.mode === 'lineart') {
        throw new Error('--depth=16: lineart has 1 bit');
    }
    if (settings.depth === '8' && settings.mode === 'lineart') {
        throw new Error('--depth=8: lineart has 1 bit');
    }
    if (settings.depth === '1' && settings.mode === 'color') {
        throw new Error('--depth=1: colour at 1 bit is not supported');
    }

    if (info.bits === 1) {
        const expand = !toLineart && (settings.mode !== '' || settings.depth !== '');
        if (!expand && needsEight) {
            throw new Error('a bilevel page has no tones to work on; choose the mode Grey');
        }
        if (expand) {
            info.bits = 8;
            add(KIND.bilevelToGrey);
        }
    }
    if (info.bits === 16 && (needsEight || settings.depth === '8' || toLineart)) {
        if (settings.depth !== '8' && !toLineart) {
            notices.push('16-bit samples are reduced to 8 bits');
        }
        info.bits = 8;
        add(KIND.depth16To8);
    }
    if (info.bits === 8 && settings.depth === '16') {
        info.bits = 16;
        add(KIND.depth8To16);
    }
    if (colours(info) === 3 && (settings.mode === 'gray' || toLineart)) {
        info.samples -= 2;
        info.coloursChanged = true;
        add(KIND.colourToGrey);
    } else if (colours(info) === 1 && info.bits !== 1 && settings.mode === 'color') {
        info.samples += 2;
        info.coloursChanged = true;
        add(KIND.greyToColour);
    }
    if (settings.negative) {
        add(KIND.negative);
    }
    if (toLineart && hasAlpha(info)) {
        info.samples -= 1;
        add(KIND.flatten);
    }

    const stages = {
        tone() {
            if (!used.tone) {
                return;
            }
            if (colours(info) === 1 && settings.tone.some((step) => step.on && step.type === 'balance')) {
                throw new Error('colour balance needs a colour page; this one is grey');
            }
            add(KIND.tone);
        },
        hsv() {
            if (!used.hsv) {
                return;
            }
            if (colours(info) === 1) {
                throw new Error('saturation, hue and lightness need a colour page; this one is grey');
            }
            add(KIND.hsv, [settings.saturation, settings.hue, settings.lightness]);
        },
        scale() {
            if (!used.scale) {
                return;
            }
            const from = [info.width, info.height];
            const wanted = wantedSize(info, settings.size);
            const to = settings.shrinkOnly ? wanted.map((side, i) => Math.min(side, from[i])) : wanted;
            if (Math.max(...to) > MOST_SIDE || to[0] * to[1] > MOST_PIXELS) {
                throw new Error(`the result would have ${to[0]} x ${to[1]} pixels; allowed: ${MOST_SIDE} a side and ` +
                    `${MOST_PIXELS} in all`);
            }
            info.resolution = scaledResolution(info, settings, from, to, wanted);
            if (to[0] === from[0] && to[1] === from[1]) {
                notices.push('the page already has this size; it is not scaled');
                return;
            }
            [info.width, info.height] = to;
            add(KIND.scale);
        },
        sharpen() {
            if (!used.sharpen) {
                return;
            }
            if (info.width < 3 || info.height < 2) {
                notices.push('the page is narrower than three pixels or shorter than two lines; it is not sharpened or softened');
                return;
            }
            add(KIND.sharpen, [settings.sharpness]);
        },
    };
    for (const stage of settings.order) {
        stages[stage]();
    }
    if (toLineart && info.bits === 8) {
        info.bits = 1;
        add(KIND.threshold, [settings.threshold]);
    }
    if (settings.setResolution !== '') {
        info.resolution = parseResolution(settings.setResolution);
    }
    return { steps, output: info, notices, depth: toneDepth(steps) };
}

// Bits per pixel of what the tone tables act on.
function toneDepth(steps) {
    const tone = steps.find((step) => step.kind === KIND.tone);
    return tone === undefined || colours(tone.in) === 3 ? 24 : 8;
}

// The plan for the reduced page that is shown while the whole one is being computed: what changes depths was done when it
// was reduced, and it is not scaled.
export function previewPlan(plan, proxy) {
    const skipped = [KIND.bilevelToGrey, KIND.depth16To8, KIND.depth8To16, KIND.scale];
    const size = { width: proxy.width, height: proxy.height };
    let last = { ...size, samples: proxy.samples, bits: 8 };
    const steps = [];
    for (const step of plan.steps.filter(({ kind }) => !skipped.includes(kind))) {
        if (step.kind === KIND.sharpen && (proxy.width < 3 || proxy.height < 2)) {
            continue;
        }
        const bits = step.kind === KIND.threshold ? 1 : 8;
        const out = { ...size, samples: step.out.samples, bits };
        steps.push({ ...step, in: last, out });
        last = out;
    }
    return { steps, output: last };
}
