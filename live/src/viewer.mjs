// The page in the middle: before and after with a divider, zoom to single pixels. Sizes are of the result's page; the source
// is drawn over the same rectangle.

import { arrowKeys, draggable } from './dom.mjs';

const MOST_ZOOM = 32;

export class Viewer {
    // zoomChanged is called when the zoom has changed.
    constructor({ box, canvas, divider, tags, zoomChanged }) {
        Object.assign(this, { box, canvas, divider, tags, zoomChanged });
        this.context = canvas.getContext('2d');
        this.before = null;  // { width, height, tiles, proxy }
        this.after = null;
        this.mode = 'split';
        this.split = 0.5;    // of the box's width
        this.fitting = true;
        this.scale = 1;      // screen pixels for one pixel of the result
        this.left = 0;       // of the page, in screen pixels
        this.top = 0;
        this.pending = false;
        new ResizeObserver(() => this.resize()).observe(box);
        this.listen();
    }

    get density() {
        return window.devicePixelRatio || 1;
    }

    resize() {
        const { clientWidth, clientHeight } = this.box;
        this.canvas.width = Math.max(1, Math.round(clientWidth * this.density));
        this.canvas.height = Math.max(1, Math.round(clientHeight * this.density));
        if (this.fitting) {
            this.fit();
        }
        this.clampPlace();
        this.draw();
    }

    page() {
        return this.after ?? this.before;
    }

    show(before, after) {
        const old = this.page();
        const scale = old ? (after ?? before).width / old.width : 1;
        this.before = before;
        this.after = after;
        if (this.fitting) {
            this.fit();
        } else if (scale !== 1) {  // the same part of the page stays in sight
            this.scale /= scale;
            this.zoomChanged();
        }
        this.clampPlace();
        this.draw();
    }

    fit() {
        this.fitting = true;
        const page = this.page();
        if (page) {
            const margin = 24 * this.density;
            this.scale = Math.min((this.canvas.width - margin) / page.width, (this.canvas.height - margin) / page.height, 8);
        }
        this.clampPlace();
        this.zoomChanged();
        this.draw();
    }

    // Zooms about a point of the canvas, its middle if none is given.
    zoomTo(scale, x = this.canvas.width / 2, y = this.canvas.height / 2) {
        const page = this.page();
        if (!page) {
            return;
        }
        const least = Math.min(16 / Math.max(page.width, page.height), 1);
        const next = Math.min(Math.max(scale, least), MOST_ZOOM);
        this.left = x - ((x - this.left) * next) / this.scale;
        this.top = y - ((y - this.top) * next) / this.scale;
        this.scale = next;
        this.fitting = false;
        this.clampPlace();
        this.zoomChanged();
        this.draw();
    }

    pan(dx, dy) {
        this.left += dx;
        this.top += dy;
        this.fitting = false;
        this.clampPlace();
        this.draw();
    }

    // A page that is smaller than the box stays in its middle; of a larger one a part stays in sight.
    clampPlace() {
        const page = this.page();
        if (!page) {
            return;
        }
        const keep = (place, length, room) => {  // on whole pixels of the screen
            const edge = Math.min(80 * this.density, room / 4);
            return Math.round(length <= room ? (room - length) / 2 : Math.min(Math.max(place, room - length - edge), edge));
        };
        this.left = keep(this.left, page.width * this.scale, this.canvas.width);
        this.top = keep(this.top, page.height * this.scale, this.canvas.height);
    }

    setSplit(part) {
        this.split = Math.min(Math.max(part, 0), 1);
        this.draw();
    }

    setMode(mode) {
        this.mode = mode;
        this.draw();
    }

    draw() {
        if (!this.pending) {
            this.pending = true;
            requestAnimationFrame(() => {
                this.pending = false;
                this.drawNow();
            });
        }
    }

    drawNow() {
        const { context, canvas } = this;
        context.clearRect(0, 0, canvas.width, canvas.height);
        const page = this.page();
        const shows = page !== null && this.mode === 'split' && this.after !== null;
        this.divider.hidden = !shows;
        this.tags.before.hidden = !(page !== null && (shows || this.mode === 'before'));
        this.tags.after.hidden = !(page !== null && (shows || this.mode === 'after'));
        if (page === null) {
            return;
        }
        const width = page.width * this.scale;
        const height = page.height * this.scale;
        context.save();
        context.shadowColor = 'rgba(0, 0, 0, 0.45)';
        context.shadowBlur = 18 * this.density;
        context.shadowOffsetY = 3 * this.density;
        context.fillStyle = '#fff';
        context.fillRect(this.left, this.top, width, height);
        context.restore();
        const at = Math.round(this.split * canvas.width);
        if (this.mode === 'before' || this.after === null) {
            this.drawPage(this.before, width, height, 0, canvas.width);
        } else if (this.mode === 'after') {
            this.drawPage(this.after, width, height, 0, canvas.width);
        } else {
            this.drawPage(this.before, width, height, 0, at);
            this.drawPage(this.after, width, height, at, canvas.width);
            this.divider.style.left = `${this.split * 100}%`;
            this.divider.setAttribute('aria-valuenow', Math.round(this.split * 100));
            this.divider.setAttribute('aria-valuetext', `${Math.round(this.split * 100)} % before`);
        }
    }

    // A page over the rectangle at left, top; only what lies between two columns of the canvas.
    drawPage(shown, width, height, from, to) {
        const { context, canvas } = this;
        const scaleX = width / shown.width;
        const reduced = shown.proxy && (shown.tiles === null || scaleX * shown.width <= shown.proxy.width * 1.05);
        const tiles = reduced ? shown.proxy.tiles : shown.tiles;
        const pageWidth = reduced ? shown.proxy.width : shown.width;
        const pageHeight = reduced ? shown.proxy.height : shown.height;
        const sx = width / pageWidth;
        const sy = height / pageHeight;
        context.save();
        context.beginPath();
        context.rect(from, 0, to - from, canvas.height);
        context.clip();
        context.imageSmoothingEnabled = sx < 1 || sy < 1 || (reduced && shown.proxy.width !== shown.width);
        context.imageSmoothingQuality = 'high';
        for (const tile of tiles) {
            const x = this.left + tile.x * sx;
            const y = this.top + tile.y * sy;
            if (x < to && x + tile.width * sx > from && y < canvas.height && y + tile.height * sy > 0) {
                // On whole pixels of the screen, so that tiles leave no seams.
                const x0 = Math.round(x);
                const y0 = Math.round(y);
                const x1 = Math.round(x + tile.width * sx);
                const y1 = Math.round(y + tile.height * sy);
                context.drawImage(tile.bitmap, x0, y0, Math.max(x1 - x0, 1), Math.max(y1 - y0, 1));
            }
        }
        context.restore();
    }

    listen() {
        const { canvas, divider, box } = this;
        const place = (event) => {
            const bounds = canvas.getBoundingClientRect();
            return [(event.clientX - bounds.left) * this.density, (event.clientY - bounds.top) * this.density];
        };
        canvas.addEventListener('wheel', (event) => {
            event.preventDefault();
            const [x, y] = place(event);
            if (event.ctrlKey || !event.shiftKey) {
                this.zoomTo(this.scale * Math.exp(-Math.sign(event.deltaY) * Math.min(Math.abs(event.deltaY), 120) / 400), x, y);
            } else {
                this.pan(-event.deltaX - event.deltaY, 0);
            }
        }, { passive: false });
        const touches = new Map();
        canvas.addEventListener('pointerdown', (event) => touches.set(event.pointerId, place(event)));
        const forget = (event) => touches.delete(event.pointerId);
        canvas.addEventListener('pointerup', forget);
        canvas.addEventListener('pointercancel', forget);
        draggable(canvas, (event) => {
            let [x, y] = place(event);
            return (next) => {
                const [nx, ny] = place(next);
                if (touches.size === 2) {
                    this.pinch(touches, next.pointerId, [nx, ny]);
                } else {
                    touches.set(next.pointerId, [nx, ny]);
                    this.pan(nx - x, ny - y);
                }
                [x, y] = [nx, ny];
            };
        });
        canvas.addEventListener('dblclick', (event) => {
            const [x, y] = place(event);
            if (this.fitting) {
                this.zoomTo(1, x, y);
            } else {
                this.fit();
            }
        });
        canvas.addEventListener('keydown', (event) => {
            const keys = { '+': () => this.step(1), '=': () => this.step(1), '-': () => this.step(-1), 0: () => this.fit(),
                1: () => this.zoomTo(1) };
            if (event.ctrlKey || event.metaKey || event.altKey) {
                return;
            }
            if (event.key in keys) {
                keys[event.key]();
                event.preventDefault();
                return;
            }
            arrowKeys(event, (dx, dy) => this.pan(-40 * dx * this.density, 40 * dy * this.density));
        });
        const dividerAt = (event) => {
            const bounds = box.getBoundingClientRect();
            this.setSplit((event.clientX - bounds.left) / bounds.width);
        };
        draggable(divider, (event) => {
            event.preventDefault();
            divider.focus();
            return dividerAt;
        });
        divider.addEventListener('keydown', (event) => arrowKeys(event, (dx, dy) => this.setSplit(this.split + (dx + dy) * 0.01),
            (end) => this.setSplit(end ? 1 : 0)));
    }

    pinch(touches, id, to) {
        const [otherId] = [...touches.keys()].filter((key) => key !== id);
        const from = touches.get(id);
        const other = touches.get(otherId);
        const distance = (a, b) => Math.max(Math.hypot(a[0] - b[0], a[1] - b[1]), 1);
        this.zoomTo((this.scale * distance(to, other)) / distance(from, other), (to[0] + other[0]) / 2, (to[1] + other[1]) / 2);
        touches.set(id, to);
    }

    // The next zoom of a row of useful ones.
    step(direction) {
        const row = [0.05, 0.1, 0.167, 0.25, 0.333, 0.5, 0.667, 1, 1.5, 2, 3, 4, 6, 8, 12, 16, 24, 32];
        const next = direction > 0 ? row.find((z) => z > this.scale * 1.01) : row.findLast((z) => z < this.scale / 1.01);
        this.zoomTo(next ?? (direction > 0 ? MOST_ZOOM : row[0]));
    }
}
