// Builds the page from `gallery`, what kvt found when it made the calls, and `reference`, the text of the reference.
'use strict';
const find = (selector, root = document) => root.querySelector(selector);
const all = (selector, root = document) => [...root.querySelectorAll(selector)];

/** An element, of SVG when its name says so, with attributes and children; those that are null are left out. */
function make(name, attributes = {}, ...children) {
    const svg = /^(svg|path|rect)$/.test(name);
    const element = svg ? document.createElementNS('http://www.w3.org/2000/svg', name) : document.createElement(name);
    for (const [key, value] of Object.entries(attributes))
        if (value !== null && value !== false)
            element.setAttribute(key, value === true ? '' : value);
    element.append(...children.flat(Infinity).filter((child) => child !== null && child !== undefined));
    return element;
}

/** A name that may be broken where a new word starts in it. */
const breakable = (name) => name.split(/(?<=[a-z])(?=[A-Z])/).flatMap((part, i) => i ? [make('wbr'), part] : [part]);
const slug = (heading) => heading.toLowerCase().replace(/[^a-z0-9 -]/g, '').replace(/ /g, '-');

// Charts.
const channels = ['red', 'green', 'blue'];
const points = (values, height) => 'M' + values.map((value, at) => `${at} ${+(height - value).toFixed(1)}`).join('L');

function chart(kind, caption, width, height, paths) {
    return make('figure', {}, make('svg', {class: `chart ${kind}`, viewBox: `-1 -1 ${width + 2} ${height + 2}`,
                                           preserveAspectRatio: 'none', role: 'img', 'aria-label': caption},
                                   paths.map(([name, d]) => make('path', {class: name, d}))),
                make('figcaption', {}, caption));
}

function curveChart(curve) {
    const alike = curve.every((levels) => String(levels) === String(curve[0]));
    return chart('curve', 'gray levels before and after', 255, 255, [
        ['grid', 'M0 0H255V255H0ZM0 127.5H255M127.5 0V255'], ['unchanged', 'M0 255L255 0'],
        ...(alike ? [['all', points(curve[0], 255)]] : curve.map((levels, i) => [channels[i], points(levels, 255)]))]);
}

function histogramChart([caption, counts]) { // by square roots, so that one tall level leaves room for the others
    const most = Math.max(1, ...counts.flat());
    return chart('histogram', caption, 255, 100, [
        ['grid', 'M0 0H255V100H0ZM127.5 0V100'],
        ...counts.map((levels, i) => [`area ${channels[i]}`,
                                      points(levels.map((count) => 100 * Math.sqrt(count / most)), 100) + 'V100H0Z'])]);
}

function soundChart({file, samples}) { // the lowest and highest of the samples under each column
    const all = gallery.sounds[file];
    const count = samples > 0 ? Math.min(samples, all.length) : all.length;
    let line = '';
    for (let column = 0; column < 800; ++column) {
        const under = all.slice(Math.floor(column * count / 800), Math.ceil((column + 1) * count / 800));
        const y = (sample) => (50 - sample / 655.36).toFixed(1);
        line += `M${column} ${y(Math.max(...under) + 200)}V${y(Math.min(...under) - 200)}`;
    }
    return chart('samples', file, 800, 100, [['grid', 'M0 50H800'], ['all', line]]);
}

// Pictures.
function picture(number, description) {
    const {width, height, alpha, address} = gallery.pictures[number];
    return make('img', {src: address, width, height, alt: description, class: alpha ? 'checkered' : null});
}

function frames({frames = [], before}) { // a wide bright one below a narrow one: seen on any ground
    const size = gallery.pictures[before];
    return !frames.length ? null : make(
        'svg', {class: 'frames', viewBox: `0 0 ${size.width} ${size.height}`, preserveAspectRatio: 'none',
                'aria-hidden': 'true'},
        frames.flatMap(([x, y, width, height]) => [0, 1].map(() => make('rect', {
            x, y, width: Math.min(width, size.width - x), height: Math.min(height, size.height - y)}))));
}

function compared(name, shot) {
    const side = (which) => make('div', {class: `layer ${which}`}, picture(shot[which], `${which} ${name}`),
                                 make('span', {class: 'tag'}, which));
    const divider = make('div', {class: 'divider', role: 'slider', tabindex: 0, 'aria-valuemin': 0, 'aria-valuemax': 100,
                                 'aria-label': `${name}: divider between before and after`});
    const box = make('div', {class: 'compare'}, side('after'), side('before'), frames(shot), divider);
    let at = 50;
    const moveTo = (percent) => {
        at = Math.min(100, Math.max(0, percent));
        box.style.setProperty('--at', `${at}%`);
        divider.setAttribute('aria-valuenow', Math.round(at));
        divider.setAttribute('aria-valuetext', `${Math.round(at)} percent before`);
    };
    const follow = (event) => {
        const {left, width} = box.getBoundingClientRect();
        moveTo(100 * (event.clientX - left) / width);
    };
    moveTo(at);
    box.addEventListener('pointerdown', (event) => {
        if (event.button !== 0)
            return;
        event.preventDefault();
        divider.focus({preventScroll: true});
        if (event.pointerType !== 'touch') // a finger may be about to scroll the page
            follow(event);
        const drag = new AbortController();
        const listen = (type, handler) => document.addEventListener(type, handler, {signal: drag.signal});
        listen('pointermove', follow);
        listen('pointerup', (up) => { follow(up); drag.abort(); });
        listen('pointercancel', () => drag.abort());
    });
    divider.addEventListener('keydown', (event) => {
        const step = {ArrowLeft: -2, ArrowDown: -2, ArrowRight: 2, ArrowUp: 2, PageDown: -10, PageUp: 10,
                      Home: -100, End: 100}[event.key];
        if (step === undefined || event.ctrlKey || event.metaKey || event.altKey)
            return;
        event.preventDefault();
        moveTo(at + step);
    });
    return box;
}

/** The pictures of a call; no taller than the window, as the style sees to by their form. */
function shown(name, shot) {
    const {before, after} = shot;
    const number = after ?? before;
    if (number === undefined)
        return null;
    const size = gallery.pictures[number];
    const both = before !== undefined && after !== undefined && gallery.pictures[before].width === size.width &&
                 gallery.pictures[before].height === size.height;
    const box = both ? compared(name, shot)
                     : make('div', {class: 'single'}, picture(number, `${after === undefined ? 'seen by' : 'after'} ${name}`),
                            before === undefined ? null : frames(shot));
    box.style.setProperty('--form', size.width / size.height);
    return box;
}

// Calls.
function dump(bytes) { // "50 50 49 43 ...  PPIC", eight a line
    let text = '';
    for (let at = 0; at < bytes.length; at += 8) {
        const line = bytes.slice(at, at + 8);
        text += line.map((byte) => byte.toString(16).padStart(2, '0')).join(' ').padEnd(25) +
                line.map((byte) => byte > 31 && byte < 127 ? String.fromCharCode(byte) : '.').join('') + '\n';
    }
    return text;
}

/** The variable that stands for a file in a script. */
const variable = (file) => file.replace(/\..*/, '');

/** A call as a script has it, of a class the lines that make an instance and run it. */
function script({call, on = 'photo.png', form}) {
    const [, name, list, member, assigned] = call.match(/^(\w+)(?:\((.*)\))?(?:\.(\w+))?(?: = (.*))?$/);
    const values = list ? list.split(', ') : [];
    const current = on && variable(on);
    if (member)
        return [`dim tool as new ${name}`, `tool.SourcePicture = ${current}`,
                ...values.map((value) => value.includes('=') ? `tool.${value.replace('=', ' = ')}` :
                    `// and what ${value.slice(1, -1)} holds into tool.Table(r, g, b, channel)`),
                `if tool.${member} then result = tool.DestinationPicture`].join('\n');
    const written = values.map((value, i) => form.byref[i] ?? (value === 'me' ? current :
        value.startsWith('@') ? `${variable(value.slice(1))}Bytes` : /^[a-z]/.test(value) ? variable(value) : value));
    return (form.hasResult ? 'result = ' : '') + (form.onPicture ? `${current}.` : '') + name +
        (list ? `(${written.join(', ')})` : '') + (assigned ? ` = ${variable(assigned)}` : '');
}

/** The same for the shell, to be run where the materials lie; empty when no file can hold such a picture. */
function command({call, on = 'photo.png', as, output}) {
    return as === 'masked' || as === 'graphics world' ? '' :
        `kvt ${on ? `apply ${on}` : 'make'} ${/\W/.test(call) ? `'${call}'` : call}` +
        (as === 'with alpha' ? ' --alpha' : '') + (output ? ` -o ${output}` : '') + gallery.options;
}

function line(kind, text) { // breaks between words and before arguments, but not inside what looks like an option
    return make('div', {class: 'line'}, !text ? null : [
        make('span', {class: 'kind'}, kind),
        make('button', {type: 'button', class: 'copy', 'aria-label': `Copy for the ${kind}`}, 'Copy'),
        make('pre', {}, make('code', {}, text.split(/(?<= )(-[^ \n]*)/).map(
            (part, i) => i % 2 ? make('span', {class: 'option'}, part)
                               : part.split(/(?<=[.(])/).flatMap((piece) => [piece, make('wbr')]))))]);
}

function article(name, shot) { // always the same parts, which stand in rows with those of the calls beside it
    return make('article', {class: 'shot'},
        make('div', {class: 'shown'}, shot.sound ? soundChart(shot.sound) : null, shown(name, shot)),
        make('p', {class: 'note'}, shot.shows),
        make('div', {class: 'beside'},
             shot.failure ? make('p', {class: 'failure', role: 'alert'}, shot.failure) : null,
             shot.facts ? make('dl', {class: 'facts'}, shot.facts.map(
                 ([fact, value]) => make('div', {}, make('dt', {}, fact), make('dd', {}, value)))) : null,
             shot.bytes ? make('pre', {class: 'bytes', tabindex: 0, 'aria-label': 'the first bytes'}, dump(shot.bytes)) : null,
             shot.curve ? curveChart(shot.curve) : null, (shot.histograms ?? []).map(histogramChart),
             (shot.others ?? []).map((other) => make('figure', {}, picture(other.picture, other.name),
                                                     make('figcaption', {}, other.name)))),
        line('script', shot.form && script(shot)), line('shell', command(shot)));
}

function section(method) {
    const {name, meaning, promise, calls} = method;
    return make('section', {class: 'entry', id: name, 'aria-labelledby': `${name}-heading`},
        make('header', {}, make('h3', {id: `${name}-heading`}, meaning),
             make('p', {class: 'name'}, make('code', {}, breakable(name)), make('a', {class: 'more'}, 'Reference')),
             make('p', {}, promise)),
        make('div', {class: 'shots', 'data-calls': calls.some(({sound}) => sound) ? 'wide' : calls.length},
             calls.map((shot) => article(name, shot))));
}

// The reference, in as much of Markdown as it is written in.
function inline(text) {
    const nodes = [];
    let last = 0;
    for (const match of text.matchAll(/`([^`]+)`|\*\*(.+?)\*\*|\*(.+?)\*|\[([^\]]+)\]\(([^)]+)\)|<a id="([^"]+)"><\/a>/g)) {
        const [whole, code, strong, emphasis, link, target, anchor] = match;
        nodes.push(text.slice(last, match.index),
                   code ? make('code', {}, code) : strong ? make('strong', {}, inline(strong)) :
                   emphasis ? make('em', {}, inline(emphasis)) : anchor ? make('span', {id: `reference-${anchor}`}) :
                   target.startsWith('#') ? make('a', {href: `#reference-${target.slice(1)}`}, inline(link)) : inline(link));
        last = match.index + whole.length;
    }
    return [...nodes, text.slice(last)];
}

function blocks(text) {
    return [...text.matchAll(/^```.*\n([^]*?)^```$|^(#+) (.*)|((?:^[^#\n].*\n?)+)/gm)].map(([, code, level, heading, run]) => {
        if (code !== undefined)
            return make('pre', {}, make('code', {}, code));
        if (heading)
            return make(`h${level.length + 2}`, {id: `reference-${slug(heading)}`}, inline(heading));
        if (/^ {4}/.test(run))
            return make('pre', {}, make('code', {}, run));
        if (run.startsWith('|'))
            return make('table', {}, run.trim().split('\n').filter((row) => !/^[|: -]+$/.test(row)).map((row, i) => make(
                'tr', {}, row.slice(1, -1).split('|').map((cell) => make(i ? 'td' : 'th', {}, inline(cell.trim()))))));
        if (run.startsWith('- '))
            return make('ul', {}, run.split(/^(?= *- )/m).map((item) => make(
                'li', {class: item.startsWith(' ') ? 'inner' : null}, inline(item.replace(/^ *- /, '')))));
        return make('p', {}, inline(run));
    });
}

// All together.
for (const [name, value] of Object.entries(gallery.facts))
    find('.summary').append(make('div', {}, make('dt', {}, name), make('dd', {}, value)));
find('.memcpy').append(`, which takes ${gallery.memcpy.ms.toFixed(3)} ms for the photo, ` +
                       `${(gallery.memcpy.bytes / gallery.memcpy.ms / 1e6).toFixed(1)} GB/s`);
const contents = find('nav ul');
const entries = []; // those of a chapter stand behind it
for (const {heading, methods} of gallery.chapters) {
    const id = `chapter-${slug(heading)}`;
    const chapter = {head: make('h2', {id}, heading), methods: [],
                     link: make('li', {class: 'chapter'}, make('a', {href: `#${id}`}, heading))};
    find('#times').before(chapter.head);
    contents.append(chapter.link);
    for (const method of methods) {
        const entry = {section: section(method), link: make('li', {}, make('a', {href: `#${method.name}`}, breakable(method.name))),
                       words: [method.name, method.meaning, method.promise, ...method.calls.map(({shows}) => shows)]
                           .join('\n').toLowerCase()};
        find('#times').before(entry.section);
        contents.append(entry.link);
        chapter.methods.push(entry);
        for (const {call, ms, ratio} of method.calls.filter(({ms}) => ms > 0))
            find('#times tbody').append(make('tr', {}, make('td', {}, make('code', {}, call)),
                                             make('td', {}, ms.toFixed(3)), make('td', {}, ratio.toFixed(2))));
    }
    entries.push(chapter);
}
find('#reference').append(...blocks(reference));
for (const {id} of all('.entry')) {
    const target = [slug(id), `class-${slug(id)}`].map((name) => document.getElementById(`reference-${name}`)).find(Boolean) ??
        all('#reference h4').find((heading) => heading.textContent.split(', ').includes(id)); // of several at once
    find(`#${id} .more`).href = `#${target.id}`;
}
if (location.hash) // whose target was not there yet
    find(`[id="${decodeURIComponent(location.hash.slice(1))}"]`)?.scrollIntoView();

// What is folded away opens for a link into it.
document.addEventListener('click', ({target}) => {
    const goal = document.getElementById(target.closest('a[href^="#"]')?.hash.slice(1) ?? '');
    const fold = goal?.closest('main details');
    if (fold)
        fold.open = true;
});

// The search: all words, anywhere in what is said of a method.
find('#search').addEventListener('input', ({target}) => {
    const words = target.value.toLowerCase().split(/\s+/);
    let found = 0;
    for (const {head, link, methods} of entries) {
        for (const entry of methods) {
            entry.section.hidden = entry.link.hidden = !words.every((word) => entry.words.includes(word));
            found += !entry.section.hidden;
        }
        head.hidden = link.hidden = methods.every((entry) => entry.section.hidden);
    }
    find('.found').textContent = target.value.trim() && `${found || 'no'} method${found === 1 ? '' : 's'} found`;
});

// Lines to copy.
async function copy(text) {
    try {
        await navigator.clipboard.writeText(text);
        return true;
    } catch {
        const area = make('textarea'); // where pages from files may not use the clipboard
        area.value = text;
        document.body.append(area);
        area.select();
        const done = document.execCommand('copy');
        area.remove();
        return done;
    }
}
document.addEventListener('click', async ({target}) => {
    const button = target.closest('button.copy');
    if (!button)
        return;
    const done = await copy(find('code', button.parentElement).textContent);
    button.focus();
    button.textContent = done ? 'Copied' : 'Failed';
    find('.said').textContent = done ? 'Copied to the clipboard.' : 'The clipboard is not to be had.';
    setTimeout(() => { button.textContent = 'Copy'; find('.said').textContent = ''; }, 1500);
});

// Contents: folded where the page is narrow, with the entry in view marked.
const narrow = matchMedia('(max-width: 64rem)');
const fold = () => { find('nav details').open = !narrow.matches; };
fold();
narrow.addEventListener('change', fold);
contents.addEventListener('click', fold);
let current = null;
const observer = new IntersectionObserver((changes) => {
    for (const {isIntersecting, target} of changes)
        if (isIntersecting) {
            current?.removeAttribute('aria-current');
            current = find(`a[href="#${target.id}"]`, contents);
            current.setAttribute('aria-current', 'location');
            if (!narrow.matches)
                current.scrollIntoView({block: 'nearest'});
        }
}, {rootMargin: '-15% 0px -75% 0px'});
all('.entry').forEach((entry) => observer.observe(entry));
