// Runs inside the gallery's page and says what it found in the root element's data-outcome.
'use strict';
addEventListener('load', () => (async () => {
    const failures = window.problems; // what went wrong while the page loaded
    let checks = 0;
    const check = (holds, what) => {
        ++checks;
        if (!holds && failures.length < 20)
            failures.push(what);
    };
    const all = (selector, root = document) => [...root.querySelectorAll(selector)];

    const images = all('img');
    check(images.length > 100, `only ${images.length} pictures`);
    for (const image of images) {
        const box = image.getBoundingClientRect();
        check(image.naturalWidth === Number(image.getAttribute('width')) &&
              image.naturalHeight === Number(image.getAttribute('height')) && image.naturalWidth > 0,
              `${image.alt}: is ${image.naturalWidth} x ${image.naturalHeight}`);
        check(box.height <= innerHeight, `${image.alt}: taller than the window`);
        check(box.width > 60 && Math.abs(box.height - box.width * image.naturalHeight / image.naturalWidth) < 2,
              `${image.alt}: is shown in ${box.width} x ${box.height}`);
        check(image.alt !== '', 'a picture says nothing to those who do not see it');
    }
    for (const chart of all('svg.chart')) {
        check(chart.getBoundingClientRect().height > 20, `${chart.getAttribute('aria-label')}: has no height`);
        for (const path of all('path', chart))
            check(path.getTotalLength() > 0, `${chart.getAttribute('aria-label')}: an empty line`);
    }

    const pointer = (type, target, x, y) =>
        target.dispatchEvent(new PointerEvent(type, {clientX: x, clientY: y, bubbles: true, pointerType: 'mouse'}));
    const compares = all('.compare');
    check(compares.length > 50, `only ${compares.length} dividers`);
    for (const compare of compares) {
        const divider = compare.querySelector('[role=slider]');
        const name = divider.getAttribute('aria-label');
        const expectAt = (percent, after) => {
            const box = compare.getBoundingClientRect();
            const line = divider.getBoundingClientRect();
            const clip = getComputedStyle(compare.querySelector('.before')).clipPath;
            check(divider.getAttribute('aria-valuenow') === String(percent), `${name}: value after ${after}`);
            check(Math.abs(line.left + line.width / 2 - box.left - box.width * percent / 100) < 1,
                  `${name}: stands elsewhere after ${after}`);
            const covered = 100 - percent;
            check(clip.includes(`(100% - ${percent}%)`) || clip === `inset(0px ${covered}% 0px 0px)` ||
                  (covered === 0 && clip === 'inset(0px)'), `${name}: shows ${clip} after ${after}`);
        };
        const press = (key) => divider.dispatchEvent(new KeyboardEvent('keydown', {key, bubbles: true, cancelable: true}));
        divider.focus();
        check(document.activeElement === divider, `${name}: takes no focus`);
        expectAt(50, 'nothing');
        for (const [key, percent] of [['ArrowRight', 52], ['End', 100], ['ArrowRight', 100], ['PageDown', 90],
                                      ['ArrowLeft', 88], ['Home', 0], ['ArrowUp', 2], ['Tab', 2]]) {
            press(key);
            expectAt(percent, key);
        }
        const box = compare.getBoundingClientRect();
        const middle = box.top + box.height / 2;
        pointer('pointerdown', compare, box.left + box.width / 4, middle);
        expectAt(25, 'a press');
        pointer('pointermove', document, box.left + box.width * 3 / 5, middle);
        expectAt(60, 'a move');
        pointer('pointerup', document, box.left + box.width * 3 / 4, middle);
        expectAt(75, 'a drag');
        pointer('pointermove', document, box.left, middle);
        expectAt(75, 'a move without a button');
    }

    let copied = null;
    Object.defineProperty(navigator, 'clipboard', {value: {writeText: async (text) => { copied = text; }}});
    for (const line of all('div.line:not(:empty)')) {
        const code = line.querySelector('code').textContent;
        line.querySelector('button').click();
        await null;
        check(copied === code && code.length > 5, `copied ${copied} in place of ${code}`);
    }
    const lines = (kind) => all('.line').filter((one) => one.firstChild?.textContent === kind)
        .map((one) => one.querySelector('code').textContent);
    document.documentElement.dataset.commands = lines('shell').join('\n');
    for (const [kind, ...expected] of [
        ['script', 'result = MergePictureKVT(photo, lights)', 'result = photo.TransformColorsKVT(steps, steps, same)',
         'result = photo.FindPicture(stamp, x, y)', 'photo.CountColorsKVT(red, blue, green, count)',
         'result = BinaryStringtoPictureKVT(photoBytes)', 'photo.EmbeddedMaskKVT(false) = oval', 'result = page.isWhiteKVT',
         'dim tool as new PictureSepiaKVT\ntool.SourcePicture = photo\ntool.SepiaRed = 40\ntool.SepiaGreen = 20\n' +
         'tool.SepiaBlue = -20\nif tool.Run then result = tool.DestinationPicture'],
        ['shell', 'kvt apply photo.png InvertKVT -o out.png', 'kvt apply photo.png \'MergePictureKVT(me, lights.png)\' -o out.png',
         'kvt make \'BinaryStringtoPictureKVT(@photo.ppic)\' -o out.png', 'kvt apply page.png isWhiteKVT',
         'kvt apply photo.png \'EmbeddedMaskKVT(false) = oval.png\' --alpha -o out.png']])
        for (const line of expected)
            check(lines(kind).includes(line), `no ${kind} line ${line}`);
    check(all('pre').every((pre) => pre.textContent.trim() !== ''), 'an empty line');

    for (const link of all('nav a, a.skip, a[href^="#"]'))
        check(document.getElementById(link.hash.slice(1)), `${link.hash} leads nowhere`);
    for (const entry of all('.entry')) { // whose link opens the reference at the entry that names it
        all('#reference')[0].open = false;
        const link = entry.querySelector('.more');
        link.click();
        const target = document.getElementById(link.hash.slice(1));
        check(target.checkVisibility(), `${link.hash}: stays folded`);
        const place = target.textContent ? target : target.closest('p').nextElementSibling; // an anchor before a heading
        check(place.textContent.includes(entry.id), `${link.hash}: not of ${entry.id}`);
    }
    check(all('#times tbody tr').length === all('.shot').length, 'times are missing');
    for (const fold of all('main > details'))
        fold.open = true;

    // Calls that stand side by side have their parts in rows.
    for (const shots of all('.shots')) {
        const tops = new Map();
        for (const shot of all('.shot', shots)) {
            const row = Math.round(shot.getBoundingClientRect().top);
            tops.set(row, [...(tops.get(row) ?? []), shot]);
        }
        const sizes = [...tops.values()].map((row) => row.length);
        check(new Set(sizes).size === 1, `rows of ${sizes} calls`);
        for (const row of tops.values())
            for (const part of ['.note', '.line'])
                check(new Set(row.map((shot) => Math.round(shot.querySelector(part).getBoundingClientRect().top))).size === 1,
                      `${part} of ${shots.closest('.entry').id} stand unevenly`);
    }

    const search = document.querySelector('#search');
    const visible = () => all('.entry').filter((entry) => entry.checkVisibility()).map((entry) => entry.id);
    const type = (text) => {
        search.value = text;
        search.dispatchEvent(new InputEvent('input', {bubbles: true}));
    };
    const everything = visible().length;
    type('PHOTOGRAPHIC negative');
    check(String(visible()) === 'InvertKVT', `the search finds ${visible()}`);
    check(all('h2, nav li').filter((one) => one.checkVisibility() && !one.closest('details:not([open])')).length ===
          (innerWidth > 1024 ? 3 : 1), 'chapters or links without methods stay');
    type('nothing like it');
    check(visible().length === 0 && document.querySelector('.found').textContent === 'no methods found', 'finds nothing');
    type('');
    check(visible().length === everything && everything > 30, 'an empty search hides methods');
    check(all('.entry').length === all('nav li:not(.chapter)').length, 'entries without a link');
    check(all('.failure').length === 0, 'a call failed');

    // Form: room, contrast, the wanted color scheme.
    check(document.documentElement.scrollWidth <= document.documentElement.clientWidth, `${document.documentElement.scrollWidth} pixels wide`);
    const light = (color) => {
        const channels = color.match(/[\d.]+/g).slice(0, 3).map((channel) => channel / 255);
        const [red, green, blue] = channels.map((c) => c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4);
        return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
    };
    const groundOf = (element) => {
        const color = getComputedStyle(element).backgroundColor;
        return color === 'rgba(0, 0, 0, 0)' ? groundOf(element.parentElement) : color;
    };
    for (const element of all('h1, h2, h3, .lead, .name, .note, .kind, code, .copy, figcaption, dt, dd, nav a, label, td, details p')) {
        const [low, high] = [light(getComputedStyle(element).color), light(groundOf(element))].sort((a, b) => a - b);
        check((high + 0.05) / (low + 0.05) >= 4.5, `${element.className || element.tagName}: too little contrast`);
    }
    const dark = matchMedia('(prefers-color-scheme: dark)').matches;
    check(dark === light(getComputedStyle(document.body).backgroundColor) < 0.2, 'the wrong color scheme');

    for (const entry of performance.getEntriesByType('resource'))
        check(entry.name.startsWith('data:'), `asks for ${entry.name}`);
    document.documentElement.dataset.outcome =
        `${failures.length} failed of ${checks} checks at ${innerWidth} pixels, ${dark ? 'dark' : 'light'}: ` +
        failures.join('; ');
})().catch((error) => { document.documentElement.dataset.outcome = `broke off: ${error.stack.replace(/\n\s*/g, ' ')}`; }));
