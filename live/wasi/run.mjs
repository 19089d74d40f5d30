// node run.mjs PROGRAM.wasm [ARGUMENT...]: runs a WebAssembly program as this process: its arguments, environment,
// standard streams, and files by absolute names. The exit code is the program's, 134 where it traps.

import { readFileSync } from 'node:fs';

process.removeAllListeners('warning');  // that WASI is experimental
const { WASI } = await import('node:wasi');

const args = process.argv.slice(2);
if (args.length === 0) {
    console.error('usage: node run.mjs PROGRAM.wasm [ARGUMENT...]');
    process.exit(2);
}

const wasi = new WASI({ version: 'preview1', args, env: process.env, preopens: { '/': '/' }, returnOnExit: true });
const module = await WebAssembly.compile(readFileSync(args[0]));
const instance = await WebAssembly.instantiate(module, { wasi_snapshot_preview1: wasi.wasiImport });
try {
    process.exitCode = wasi.start(instance);
} catch (error) {
    console.error(`${args[0]}: ${error.stack}`);
    process.exitCode = 134;
}
