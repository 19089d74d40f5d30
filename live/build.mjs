// node build.mjs MODULE.wasm PRESETS SAMPLES OUTPUT.html: makes the page, one file with everything in it.
//
// The scripts are plain modules. Each becomes a function that gives what it exports, in the order of their imports.

import { mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { basename, dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';
import vm from 'node:vm';

const here = dirname(fileURLToPath(import.meta.url));

const IMPORT = /^import\s+(\{[^}]*\})\s+from\s+'([^']+)';\n/gm;
const EXPORT = /^export (?=(?:async )?(?:const|class|function\*?) (\w+))/gm;
const variable = (file) => `module_${basename(file, '.mjs')}`;

// A module's text after those of all that it imports; each once.
function joined(file, seen = new Set()) {
    if (seen.has(file)) {
        return '';
    }
    seen.add(file);
    const text = readFileSync(file, 'utf8');
    const imported = [...text.matchAll(IMPORT)].map(([, , name]) => joined(resolve(dirname(file), name), seen)).join('');
    const exported = [...text.matchAll(EXPORT)].map(([, name]) => name);
    const own = text.replace(IMPORT, (_all, names, name) => `const ${names} = ${variable(name)};\n`).replace(EXPORT, '');
    if (/^(import|export)\b/m.test(own)) {
        throw new Error(`${file}: an import or export that build.mjs doesn't know`);
    }
    return `${imported}const ${variable(file)} = (() => {\n${own}return { ${exported.join(', ')} };\n})();\n`;
}

function script(name) {
    const text = `'use strict';\n(() => {\n${joined(join(here, 'src', name))}})();\n`;
    new vm.Script(text, { filename: name });  // its syntax
    if (/<\/script|<!--/i.test(text)) {
        throw new Error(`${name}: would end its script element`);
    }
    return text;
}

const [modulePath, presetsPath, samplesPath, output] = process.argv.slice(2);
if (output === undefined) {
    console.error('usage: node build.mjs MODULE.wasm PRESETS SAMPLES OUTPUT.html');
    process.exit(2);
}

const presets = {};
for (const file of readdirSync(presetsPath).filter((name) => name.endsWith('.toml')).sort()) {
    const text = readFileSync(join(presetsPath, file), 'utf8');
    // Automatic steps are the tool's; the page has buttons of its own for them.
    if (!/^auto-/m.test(text)) {
        presets[file.replace('.toml', '')] = text;
    }
}

const samples = JSON.parse(readFileSync(join(here, 'samples.json'), 'utf8')).map((sample) => ({
    ...sample, data: readFileSync(join(samplesPath, sample.name)).toString('base64'),
}));

const packed = gzipSync(readFileSync(modulePath), { level: 9 });
packed[9] = 255;  // no operating system: the same bytes everywhere
const data = { module: packed.toString('base64'), presets, samples };

const parts = {
    'page.css': readFileSync(join(here, 'page', 'page.css'), 'utf8'),
    data: JSON.stringify(data).replaceAll('<', '\\u003c'),
    'worker.js': script('worker.mjs'),
    'page.js': script('page.mjs'),
};
let page = readFileSync(join(here, 'page', 'index.html'), 'utf8');
for (const [name, text] of Object.entries(parts)) {
    const place = `/*{${name}}*/`;
    if (page.split(place).length !== 2) {
        throw new Error(`index.html: ${place} must stand there once`);
    }
    page = page.replace(place, () => text);
}
mkdirSync(dirname(output), { recursive: true });
writeFileSync(output, page);
console.log(`${output}: ${Math.ceil(page.length / 1024)} KiB, of which the module ${Math.ceil(packed.length / 1024)} KiB gzipped`);
