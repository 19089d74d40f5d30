// The same adjustment as lines of C++ and of Python.

import { outputName, usedStages } from './options.mjs';

const balanceOf = (step) => `{.red = ${step.shift[0]}, .green = ${step.shift[1]}, .blue = ${step.shift[2]}}`;

function cppStep(step) {
    switch (step.type) {
        case 'bc':
            return `platen::BrightnessContrast{.brightness = ${step.brightness}, .contrast = ${step.contrast}}`;
        case 'levels': {
            const outer = step.outBlack !== 0 || step.outWhite !== 255
                ? `, .outputBlack = ${step.outBlack}, .outputWhite = ${step.outWhite}` : '';
            const middle = step.gamma === 1 ? '' : `.midTone = ${step.gamma}, `;
            return `platen::Level{.inputBlack = ${step.black}, ${middle}.inputWhite = ${step.white}${outer}}`;
        }
        case 'curve': {
            const kind = step.kind === 'spline' ? '' : '.kind = platen::Curves::Kind::polyline, ';
            return `platen::Curves{${kind}.points = {{${step.points.map(([x, y]) => `{${x}, ${y}}`).join(', ')}}}}`;
        }
        case 'curveGamma':
            return `platen::Curves{.kind = platen::Curves::Kind::gamma, .strength = ${step.strength}}`;
        default:
            return `platen::ColorBalance{.${step.group} = ${balanceOf(step)}}`;
    }
}

// plan: of the page that is open, or null; its sizes and layout go into the lines.
export function cppLines(settings, plan) {
    const used = usedStages(settings);
    const tone = settings.tone.filter((step) => step.on);
    const before = ['#include <platen.hpp>', ''];
    const perLine = [];
    const page = plan?.input ?? { width: 2480, height: 3508, samples: 3 };
    const grey = page.samples < 3 || ['gray', 'lineart'].includes(settings.mode) || settings.depth === '1';
    const to = plan?.output ?? page;
    let size = page;
    for (const stage of settings.order.filter((name) => used[name])) {
        if (stage === 'tone') {
            before.push('const platen::ToneTables tables = platen::ToneWorld(',
                `${tone.map((step) => `    ${cppStep(step)}`).join(',\n')}).tables();`);
            perLine.push(grey ? 'tables.mapGray(line);' : 'tables.mapRgb(line);');
        } else if (stage === 'hsv') {
            before.push(`platen::HsvFilter hsv({.hue = ${settings.hue}, .saturation = ${settings.saturation}, ` +
                `.lightness = ${settings.lightness}, .width = ${size.width}});`);
            perLine.push('hsv.apply(line);');
        } else if (stage === 'scale') {
            before.push(`platen::Scaler scaler({.from = {${size.width}, ${size.height}}, .to = {${to.width}, ${to.height}}});`);
            size = to;
            perLine.push('for (auto line : scaler.push(line))');
        } else {
            before.push(`platen::Sharpener sharpener({.level = ${settings.sharpness}, .size = {${size.width}, ${size.height}}});`);
            perLine.push('for (auto line : sharpener.push(line))');
        }
    }
    // What stands after a loop's head is the loop's body. Lines that a stage gives are its own: what changes a line in place
    // gets a copy.
    const body = [];
    let indent = '    ';
    let name = 'line';
    let own = true;
    let loops = 0;
    for (const text of perLine) {
        if (text.startsWith('for')) {
            const [inner, maker] = text.includes('scaler') ? ['scaled', 'scaler'] : ['sharpened', 'sharpener'];
            body.push(`${indent}for (auto ${inner} : ${maker}.push(${name})) {`);
            indent += '    ';
            name = inner;
            own = false;
            ++loops;
        } else {
            if (!own) {
                body.push(`${indent}std::vector<std::uint8_t> copy(${name}.begin(), ${name}.end());`);
                name = 'copy';
                own = true;
            }
            body.push(indent + text.replace('line', name));
        }
    }
    body.push(`${indent}write(${name});`);
    for (; loops > 0; --loops) {
        indent = indent.slice(4);
        body.push(`${indent}}`);
    }
    const loop = [`for (int y = 0; y < ${page.height}; ++y) {`, '    std::span<std::uint8_t> line = read(y);', ...body, '}'];
    const vector = body.some((text) => text.includes('std::vector')) ? ['#include <vector>'] : [];
    return [before[0], ...vector, ...before.slice(1), '', ...loop, ...modeNotes(settings, '//')].join('\n');
}

// What is no business of the library.
function modeNotes(settings, comment) {
    const notes = [];
    if (settings.mode !== '' || settings.depth !== '' || settings.negative) {
        notes.push(`${comment} mode, depth and negative are the tool's: convert the lines before the first stage`);
    }
    return notes;
}

function pythonStep(step) {
    switch (step.type) {
        case 'bc':
            return `platen.BrightnessContrast(${step.brightness}, ${step.contrast})`;
        case 'levels': {
            const outer = step.outBlack !== 0 || step.outWhite !== 255 ? `, ${step.outBlack}, ${step.outWhite}` : '';
            const middle = step.gamma === 1 && outer === '' ? '' : `, ${step.gamma}`;
            return `platen.Level(${step.black}, ${step.white}${middle}${outer})`;
        }
        case 'curve': {
            const points = step.points.map(([x, y]) => `(${x}, ${y})`).join(', ');
            return `platen.Curves([${points}]${step.kind === 'spline' ? '' : ', kind="polyline"'})`;
        }
        case 'curveGamma':
            return `platen.Curves(kind="gamma", gamma=${step.strength})`;
        default:
            return `platen.ColorBalance(${step.group}=(${step.shift.join(', ')}))`;
    }
}

export function pythonLines(settings, plan, inputName) {
    const used = usedStages(settings);
    const tone = settings.tone.filter((step) => step.on);
    const given = [];
    if (used.tone) {
        given.push(`tone=[${tone.map(pythonStep).join(',\n          ')}]`);
    }
    for (const name of ['saturation', 'hue', 'lightness', 'sharpness']) {
        if (settings[name] !== 0) {
            given.push(`${name}=${settings[name]}`);
        }
    }
    const { size } = settings;
    const sizes = {
        none: [], scale: [`scale=${size.percent / 100}`], size: [`size=(${size.width}, ${size.height})`],
        width: [`width=${size.width}`], height: [`height=${size.height}`],
        resolution: plan === null ? [] : [`size=(${plan.output.width}, ${plan.output.height})`],
    };
    given.push(...sizes[size.kind]);
    if (settings.shrinkOnly && size.kind !== 'none') {
        given.push('shrink_only=True');
    }
    if (settings.order.join() !== 'tone,hsv,scale,sharpen') {
        given.push(`order="${settings.order.join()}"`);
    }
    const name = (text) => JSON.stringify(text);
    const mode = settings.mode === 'gray' ? '.convert("L")' : '';
    return ['import numpy, platen', 'from PIL import Image', '', `page = numpy.asarray(Image.open(${name(inputName)})${mode})`,
        given.length === 0 ? null : `page = platen.adjust(\n    page,\n    ${given.join(',\n    ')},\n)`,
        `Image.fromarray(page).save(${name(outputName(inputName))})`, ...modeNotes({ ...settings, mode: '' }, '#')]
        .filter((line) => line !== null).join('\n');
}
