// The tone graph: the histogram, the folded curve of all steps, and the handles of the step that is being edited.

import { arrowKeys, draggable, h, svg } from './dom.mjs';
import { keepPoints, keepSpan } from './options.mjs';

const SIDE = 256;   // a unit for each level
const FOOT = 30;    // below the graph, for the handles of levels
const MARGIN = 10;

const clamp = (value, low, high) => Math.min(Math.max(value, low), high);
const path = (points) => points.map(([x, y], i) => `${i === 0 ? 'M' : 'L'}${x} ${y}`).join('');
const up = (level) => 255 - level;

// The levels' middle handle stands where an input becomes the middle of the output: its place between black and white is
// 0.5 ^ gamma, near enough to what the library's mid-tone does.
const middlePlace = (gamma) => 0.5 ** gamma;
const gammaAt = (place) => Math.log(clamp(place, 0.001, 0.93)) / Math.log(0.5);

export class Graph {
    // changed(live) is called when a handle has moved.
    constructor({ changed }) {
        this.changed = changed;
        this.updaters = [];  // of the handles
        this.histogram = svg('g', { class: 'histogram' });
        this.curves = svg('g', { class: 'curves' });
        this.handles = svg('g', { class: 'handles' });
        this.graph = svg('svg', {
            viewBox: `${-MARGIN} ${-MARGIN} ${SIDE + 2 * MARGIN} ${SIDE + MARGIN + FOOT}`, class: 'graph', role: 'group',
            'aria-label': 'Histogram and tone curve',
        }, this.backdrop(), this.histogram, this.curves, this.handles);
        this.readout = h('p.readout', { 'aria-hidden': 'true' });
        this.element = h('div.graph-box', {}, this.graph, this.readout);
        this.graph.addEventListener('pointermove', (event) => this.readLevel(event));
        this.graph.addEventListener('pointerleave', () => this.showReadout(null));
    }

    backdrop() {
        const lines = [64, 128, 192].flatMap((at) => [
            svg('line', { x1: at, y1: 0, x2: at, y2: 255 }), svg('line', { x1: 0, y1: up(at), x2: 255, y2: up(at) })]);
        return svg('g', { class: 'backdrop' }, svg('rect', { x: 0, y: 0, width: 255, height: 255, rx: 2 }), ...lines,
            svg('line', { x1: 0, y1: 255, x2: 255, y2: 0, class: 'identity' }));
    }

    // counts: red, green, blue, luminance; colour: whether the channels differ.
    showHistogram(counts, colour) {
        this.histogram.replaceChildren();
        if (counts === null) {
            return;
        }
        const channels = colour ? [[0, 'red'], [1, 'green'], [2, 'blue']] : [[3, 'grey']];
        const inner = channels.flatMap(([c]) => [...counts.subarray(256 * c + 2, 256 * c + 254)]).sort((a, b) => a - b);
        const high = Math.max(inner[Math.floor(inner.length * 0.985)] * 1.15, 1);  // a paper's peak would flatten the rest
        for (const [c, name] of channels) {
            const top = (i) => up(Math.min((counts[256 * c + i] / high) ** 0.6, 1) * 235);
            const line = Array.from({ length: 256 }, (_, i) => [i, top(i).toFixed(1)]);
            this.histogram.append(svg('path', { d: `${path(line)}L255 255L0 255Z`, class: name }));
        }
    }

    // tables: what all steps fold into; own: of the step that is being edited alone, or null.
    showCurves(tables, colour, own) {
        this.tables = tables;
        this.colour = colour;
        const of = (array, c) => path(Array.from({ length: 256 }, (_, i) => [i, up(array[256 * c + i])]));
        const differ = colour && [0, 1, 2].some((c) => of(tables, c) !== of(tables, 0));
        const parts = [];
        if (own !== null && of(own, 0) !== of(tables, 0)) {
            parts.push(svg('path', { d: of(own, 0), class: 'own' }));
        }
        if (differ) {
            ['red', 'green', 'blue'].forEach((name, c) => parts.push(svg('path', { d: of(tables, c), class: `folded ${name}` })));
        } else {
            parts.push(svg('path', { d: of(tables, 0), class: 'folded' }));
        }
        this.curves.replaceChildren(...parts);
    }

    readLevel(event) {
        const { x } = this.toGraph(event);
        this.showReadout(x >= 0 && x <= 255 ? Math.round(x) : null);
    }

    showReadout(level) {
        if (level === null || !this.tables) {
            this.readout.textContent = '';
            return;
        }
        const values = [0, 1, 2].map((c) => this.tables[256 * c + level]);
        this.readout.textContent = `${level} → ${new Set(values).size === 1 ? values[0] : values.join(', ')}`;
    }

    toGraph(event) {
        const box = this.graph.getBoundingClientRect();
        const scale = (SIDE + 2 * MARGIN) / box.width;
        return { x: (event.clientX - box.left) * scale - MARGIN, y: up((event.clientY - box.top) * scale - MARGIN) };
    }

    // The handles of a step, or of none. They keep their elements, and so the focus, while the step's kind stays.
    showHandles(step) {
        if (step !== this.step || step?.type !== this.shownType) {
            this.step = step;
            this.shownType = step?.type;
            const foot = step?.type === 'levels' ? FOOT : MARGIN;
            this.graph.setAttribute('viewBox', `${-MARGIN} ${-MARGIN} ${SIDE + 2 * MARGIN} ${SIDE + MARGIN + foot}`);
            this.handles.replaceChildren();
            const make = { curve: () => this.makePoints(), levels: () => this.makeLevels() }[step?.type];
            this.updaters = make ? make() : [];
        }
        this.updaters.forEach((update) => update());
    }

    handle({ shape, label, text, at, get, range, put, move }) {
        const group = svg('g', { class: 'handle', role: 'slider', tabindex: 0, 'aria-label': label,
            'aria-valuemin': range[0], 'aria-valuemax': range[1] }, ...shape());
        draggable(group, (event) => {
            event.preventDefault();
            group.focus();
            const begin = this.toGraph(event);
            const from = at();
            return (next) => {
                const to = this.toGraph(next);
                put(from.x + to.x - begin.x, from.y + to.y - begin.y);
                this.changed(true);
            };
        }, () => this.changed(false));
        group.addEventListener('keydown', (event) => arrowKeys(event, (dx, dy) => {
            move(dx, dy);
            this.changed(false);
        }));
        this.handles.append(group);
        return () => {
            const { x, y } = at();
            group.setAttribute('transform', `translate(${x} ${up(y)})`);
            group.setAttribute('aria-valuenow', get());
            group.setAttribute('aria-valuetext', text());
        };
    }

    makePoints() {
        const { step } = this;
        const put = (i, x, y) => {
            const points = step.points.map((p) => [...p]);
            const low = Math.max(4 * i, i > 0 ? points[i - 1][0] + 1 : 0);
            const high = Math.min(4 * i + 239, i < 4 ? points[i + 1][0] - 1 : 255);
            points[i] = [clamp(Math.round(x), low, high), clamp(Math.round(y), 0, 255)];
            step.points = keepPoints(points);
        };
        return step.points.map((_, i) => this.handle({
            shape: () => [svg('circle', { r: 13, class: 'grip' }), svg('circle', { r: 5.5, class: 'dot' })],
            label: `Curve point ${i + 1} of 5`, range: [0, 255],
            text: () => `input ${step.points[i][0]}, output ${step.points[i][1]}`,
            get: () => step.points[i][1],
            at: () => ({ x: step.points[i][0], y: step.points[i][1] }),
            put: (x, y) => put(i, x, y),
            move: (dx, dy) => put(i, step.points[i][0] + dx, step.points[i][1] + dy),
        }));
    }

    makeLevels() {
        const { step } = this;
        const foot = () => [svg('rect', { x: -13, y: -4, width: 26, height: 26, class: 'grip' }),
            svg('path', { d: 'M0 2L8 16L-8 16Z', class: 'triangle' })];
        const ends = (black, white, moved) => { [step.black, step.white] = keepSpan(black, white, moved); };
        const below = -3;
        const middle = () => step.black + (step.white - step.black) * middlePlace(step.gamma);
        const setGamma = (gamma) => { step.gamma = clamp(Math.round(gamma * 100) / 100, 0.1, 9.99); };
        const parts = [
            this.handle({
                shape: foot, label: 'Black point', range: [0, 247], get: () => step.black, text: () => `black ${step.black}`,
                at: () => ({ x: step.black, y: below }), put: (x) => ends(x, step.white, 'black'),
                move: (dx, dy) => ends(step.black + dx + dy, step.white, 'black'),
            }),
            this.handle({
                shape: foot, label: 'Middle, gamma', range: [0.1, 9.99], get: () => step.gamma,
                text: () => `gamma ${step.gamma}`, at: () => ({ x: middle(), y: below }),
                put: (x) => setGamma(gammaAt((x - step.black) / (step.white - step.black))),
                move: (dx, dy) => setGamma(step.gamma + (dy - dx) * 0.05),
            }),
            this.handle({
                shape: foot, label: 'White point', range: [8, 255], get: () => step.white, text: () => `white ${step.white}`,
                at: () => ({ x: step.white, y: below }), put: (x) => ends(step.black, x, 'white'),
                move: (dx, dy) => ends(step.black, step.white + dx + dy, 'white'),
            }),
        ];
        ['black', 'middle', 'white'].forEach((name, i) => this.handles.children[i].classList.add(name));
        return parts;
    }
}
