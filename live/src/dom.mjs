// Elements, and the few controls that the page is made of. Every control has a label and works by keys.

export function h(name, properties = {}, ...children) {
    const [tag, ...classes] = name.split('.');
    const element = document.createElement(tag);
    element.className = classes.join(' ');
    for (const [key, value] of Object.entries(properties)) {
        if (key.startsWith('on')) {
            element.addEventListener(key.slice(2), value);
        } else if (value === true) {
            element.setAttribute(key, '');
        } else if (value !== false && value !== undefined) {
            element.setAttribute(key, value);
        }
    }
    element.append(...children.filter((child) => child !== null));
    return element;
}

export function svg(name, attributes = {}, ...children) {
    const element = document.createElementNS('http://www.w3.org/2000/svg', name);
    for (const [key, value] of Object.entries(attributes)) {
        element.setAttribute(key, value);
    }
    element.append(...children);
    return element;
}

let lastId = 0;
export const newId = (prefix) => `${prefix}-${++lastId}`;

export const byId = (id) => document.getElementById(id);

const decimals = (step) => (String(step).split('.')[1] ?? '').length;

// A slider with a number field beside it.
//   get, set   the value; set is told whether the change goes on (`live`) or is done
//   log        equal distances on the slider are equal factors
export function slider({ label, min, max, step = 1, get, set, neutral = 0, track = '', log = false }) {
    const id = newId('slider');
    const format = (value) => String(Number(value.toFixed(decimals(step))));
    const ROOM = 1000;  // the steps of a logarithmic slider
    const toRange = (value) => (log ? (Math.log(value / min) / Math.log(max / min)) * ROOM : value);
    const fromRange = (place) => (log ? min * (max / min) ** (place / ROOM) : place);
    const ends = log ? { min: 0, max: ROOM, step: 1 } : { min, max, step };
    const part = (value) => `${((toRange(value) - ends.min) / (ends.max - ends.min)) * 100}%`;
    let shownAt = 0;
    const show = () => {
        range.value = toRange(get());
        shownAt = range.value;
        if (log) {
            range.setAttribute('aria-valuetext', format(get()));
        }
        number.value = format(get());
        row.classList.toggle('changed', get() !== neutral);
        const [low, high] = [get(), neutral].sort((a, b) => a - b);
        range.style.setProperty('--from', part(low));
        range.style.setProperty('--to', part(high));
    };
    const put = (value, live) => {
        if (!Number.isFinite(value)) {
            show();
            return;
        }
        const whole = Math.round(value / step) * step;
        set(Number(Math.min(Math.max(whole, min), max).toFixed(decimals(step))), live);
        show();
    };
    // A logarithmic slider's steps can be smaller than the value's: then it is the value's step that is taken.
    const slide = (live) => {
        const moved = Number(range.value) - Number(shownAt);
        const value = fromRange(Number(range.value));
        const same = Math.round(value / step) === Math.round(get() / step);
        put(log && same && live ? get() + Math.sign(moved) * step : log && same ? get() : value, live);
    };
    const range = h(`input.range${track === '' ? '' : `.${track}`}`, {
        type: 'range', id, ...ends,
        oninput: () => slide(true), onchange: () => slide(false),
        ondblclick: () => put(neutral, false),
    });
    const number = h('input.number', {
        type: 'number', min, max, step, 'aria-label': `${label}, number`,
        onchange: () => put(number.value === '' ? NaN : Number(number.value), false),
    });
    const row = h('div.slider', {}, h('label', { for: id }, label), range, number);
    row.show = show;
    show();
    return row;
}

// One of a few choices, as buttons in a row.
export function segmented({ label, choices, get, set, element = h('div.segmented', { role: 'radiogroup', 'aria-label': label }) }) {
    const name = newId('choice');
    const inputs = choices.map(([value, text]) => {
        const id = newId('option');
        const input = h('input', { type: 'radio', name, id, value, onchange: () => set(value) });
        element.append(input, h('label', { for: id }, text));
        return input;
    });
    element.show = () => inputs.forEach((input) => { input.checked = input.value === String(get()); });
    element.show();
    return element;
}

export function dropdown({ label, choices, get, set, hideLabel = false }) {
    const id = newId('select');
    const select = h('select', { id, onchange: () => set(select.value) },
        ...choices.map(([value, text]) => h('option', { value }, text)));
    const row = h('div.field', {}, h(`label${hideLabel ? '.visually-hidden' : ''}`, { for: id }, label), select);
    row.show = () => { select.value = get(); };
    row.show();
    return row;
}

export function checkbox({ label, get, set }) {
    const id = newId('check');
    const input = h('input', { type: 'checkbox', id, onchange: () => set(input.checked) });
    const row = h('div.check', {}, input, h('label', { for: id }, label));
    row.show = () => { input.checked = get(); };
    row.show();
    return row;
}

// A line of text that is checked before it is taken.
export function textField({ label, get, set, valid, placeholder = '', hint = '' }) {
    const id = newId('text');
    const input = h('input', {
        type: 'text', id, placeholder, autocomplete: 'off', spellcheck: 'false', 'aria-describedby': `${id}-hint`,
        onchange: () => {
            const good = valid(input.value.trim());
            input.setAttribute('aria-invalid', String(!good));
            if (good) {
                set(input.value.trim());
            }
        },
    });
    const row = h('div.field', {}, h('label', { for: id }, label), input, h('small', { id: `${id}-hint` }, hint));
    row.show = () => { input.value = get(); input.removeAttribute('aria-invalid'); };
    row.show();
    return row;
}

// Arrow keys for things that are dragged: calls move(dx, dy) in steps; Shift takes ten at once.
export function arrowKeys(event, move, ends = null) {
    const steps = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] };
    if (ends !== null && (event.key === 'Home' || event.key === 'End')) {
        ends(event.key === 'End');
    } else if (event.key in steps) {
        const [dx, dy] = steps[event.key];
        const by = event.shiftKey ? 10 : 1;
        move(dx * by, dy * by);
    } else {
        return;
    }
    event.preventDefault();
    event.stopPropagation();
}

// Pointer drags: `start` gets the event and returns what is called at each move, or null; `end` comes after the last.
export function draggable(element, start, end = () => {}) {
    element.addEventListener('pointerdown', (event) => {
        if (event.button !== 0) {
            return;
        }
        const move = start(event);
        if (!move) {
            return;
        }
        element.setPointerCapture(event.pointerId);
        const stop = () => {
            element.removeEventListener('pointermove', move);
            element.removeEventListener('pointerup', stop);
            element.removeEventListener('pointercancel', stop);
            end();
        };
        element.addEventListener('pointermove', move);
        element.addEventListener('pointerup', stop);
        element.addEventListener('pointercancel', stop);
    });
}
