// Below the page: the command line, the preset, and the lines of code that give the same result.

import { h, newId } from './dom.mjs';

export class Recipe {
    constructor(element) {
        this.names = ['Command line', 'Preset', 'C++', 'Python'];
        this.texts = this.names.map(() => '');
        this.selected = 0;
        const panelId = newId('recipe');
        this.code = h('code');
        this.panel = h('pre', { role: 'tabpanel', id: panelId, tabindex: 0, 'aria-live': 'off' }, this.code);
        this.tabs = this.names.map((name, i) => h('button', {
            type: 'button', role: 'tab', id: newId('tab'), 'aria-controls': panelId, onclick: () => this.select(i),
        }, name));
        const list = h('div.tabs', {
            role: 'tablist', 'aria-label': 'Form',
            onkeydown: (event) => {
                const by = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
                if (by) {
                    this.select((this.selected + by + this.names.length) % this.names.length);
                    this.tabs[this.selected].focus();
                    event.preventDefault();
                }
            },
        }, ...this.tabs);
        this.copy = h('button', { type: 'button', id: 'copy', onclick: () => this.copyText(this.texts[this.selected], this.copy) }, 'Copy');
        this.link = h('button', { type: 'button', id: 'copy-link', onclick: () => this.copyText(location.href, this.link) }, 'Copy link');
        element.append(h('div.recipe-head', {}, list, this.copy, this.link), this.panel);
        this.select(0);
    }

    select(i) {
        this.selected = i;
        this.tabs.forEach((tab, at) => {
            tab.setAttribute('aria-selected', String(at === i));
            tab.tabIndex = at === i ? 0 : -1;
        });
        this.panel.setAttribute('aria-labelledby', this.tabs[i].id);
        this.show(this.texts);
    }

    show(texts) {
        this.texts = texts;
        this.code.textContent = texts[this.selected];
    }

    async copyText(text, button) {
        const label = button.textContent;
        try {
            await navigator.clipboard.writeText(text);
        } catch {  // not every browser lets a page from disk do that
            const area = h('textarea', { 'aria-hidden': 'true' });
            area.value = text;
            document.body.append(area);
            area.select();
            document.execCommand('copy');
            area.remove();
            button.focus();
        }
        button.textContent = 'Copied';
        setTimeout(() => { button.textContent = label; }, 1200);
    }
}
