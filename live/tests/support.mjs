// What the tests share: the native tool, pages made for them, the browser.

import { execFileSync, spawnSync } from 'node:child_process';
import { mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';

export const ROOT = resolve(dirname(fileURLToPath(import.meta.url)), '..', '..');
export const PAGE = `file://${join(ROOT, 'live-out', 'index.html')}`;
export const WORK = join(ROOT, 'build', 'live-tests');
const TOOL_FOLDER = process.env.PLATEN_TOOL_FOLDER ?? join(ROOT, 'build', 'release', 'programs');
const FLAGS = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
    '--disable-background-networking', '--disable-component-update', '--disable-sync'];

mkdirSync(WORK, { recursive: true });

// Deterministic: xorshift of 32 bits.
export class Random {
    constructor(seed) {
        this.state = (seed * 2654435761 + 1) >>> 0;
    }

    next() {
        let x = this.state;
        x ^= x << 13;
        x ^= x >>> 17;
        x ^= x << 5;
        this.state = x >>> 0;
        return this.state / 4294967296;
    }

    whole(low, high) {
        return low + Math.floor(this.next() * (high - low + 1));
    }

    oneOf(list) {
        return list[this.whole(0, list.length - 1)];
    }
}

export function platen(...args) {
    return execFileSync(join(TOOL_FOLDER, 'platen'), args, { cwd: WORK, stdio: ['ignore', 'pipe', 'pipe'], maxBuffer: 1 << 28 });
}

// A command line as one pastes it into a shell; { status, stderr }.
export function shell(line) {
    const done = spawnSync('bash', ['-c', line], {
        cwd: WORK, encoding: 'utf8', env: { ...process.env, PATH: `${TOOL_FOLDER}:${process.env.PATH}` },
    });
    return { status: done.status, stderr: done.stderr };
}

// A file's samples with its size and layout, by the native tool: a PAM's bytes.
export function samplesOf(file) {
    return platen(file, '--format=pnm', '-o', '-');
}

// A page of soft shapes and noise; levels from 20 to 235, so that settings have something to do.
export function pam(name, { width, height, samples, bits, seed }) {
    const random = new Random(seed);
    const most = bits === 1 ? 1 : bits === 16 ? 65535 : 255;
    const types = { 1: 'GRAYSCALE', 2: 'GRAYSCALE_ALPHA', 3: 'RGB', 4: 'RGB_ALPHA' };
    const type = bits === 1 ? 'BLACKANDWHITE' : types[samples];
    const head = Buffer.from(`P7\nWIDTH ${width}\nHEIGHT ${height}\nDEPTH ${samples}\nMAXVAL ${most}\nTUPLTYPE ${type}\nENDHDR\n`);
    const bytes = bits === 16 ? 2 : 1;
    const body = Buffer.alloc(width * height * samples * bytes);
    let at = 0;
    for (let y = 0; y < height; ++y) {
        for (let x = 0; x < width; ++x) {
            for (let s = 0; s < samples; ++s) {
                const soft = Math.sin((x * (s + 1)) / 23 + y / 31) * 0.35 + 0.5 + (random.next() - 0.5) * 0.3;
                const level = Math.min(Math.max(soft * 0.9 + 0.05, 0), 1);
                if (bits === 16) {
                    body.writeUInt16BE(Math.round(level * most), at);
                } else {
                    body[at] = bits === 1 ? Number(level > 0.5) : Math.round(level * most);
                }
                at += bytes;
            }
        }
    }
    writeFileSync(join(WORK, name), Buffer.concat([head, body]));
    return name;
}

// The same as a PNG by the native tool, with a resolution.
export function png(name, layout) {
    const source = pam(name.replace(/\.png$/, '.pam'), layout);
    platen('--force', `--set-resolution=${layout.dpi ?? 300}`, source, '-o', name);
    return name;
}

export async function openBrowser() {
    return chromium.launch({ executablePath: process.env.PLATEN_CHROMIUM ?? '/usr/bin/chromium', args: FLAGS, timeout: 120000 });
}

// A page that is ready. Whatever it prints as an error fails the test that asks `errors`.
export async function openPage(browser, { address = '', ...options } = {}) {
    const context = await browser.newContext({ viewport: { width: 1440, height: 900 }, acceptDownloads: true, ...options });
    const page = await context.newPage();
    page.setDefaultTimeout(120000);
    page.problems = [];
    page.on('pageerror', (error) => page.problems.push(error.message));
    page.on('console', (message) => message.type() === 'error' && page.problems.push(message.text()));
    await page.goto(PAGE + address);
    await page.waitForFunction(() => document.documentElement.dataset.ready === 'true');
    return page;
}

// Opens a file in the page and waits until it is there, or refused. A page of the same name may be open already.
export async function load(page, name) {
    const before = await page.evaluateHandle(() => window.platen.page ?? null);
    await page.setInputFiles('#file', join(WORK, name));
    await page.waitForFunction(([wanted, old]) => {
        const message = document.getElementById('message').textContent;
        const { page } = window.platen;
        return (page?.name === wanted && page !== old) || message.startsWith(`${wanted}:`);
    }, [name.split('/').pop(), before]);
    await before.dispose();
}

// What the page's download would be, as a file of the tests' folder; null where the page refuses.
export async function saveResult(page, name) {
    const text = await page.evaluate(async () => {
        const blob = await window.platen.result();
        if (blob === null) {
            return null;
        }
        return new Promise((done) => {
            const reader = new FileReader();
            reader.onload = () => done(reader.result.split(',')[1]);
            reader.readAsDataURL(blob);
        });
    });
    if (text === null) {
        return null;
    }
    writeFileSync(join(WORK, name), Buffer.from(text, 'base64'));
    return name;
}

export const read = (name) => readFileSync(join(WORK, name));
