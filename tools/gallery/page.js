'use strict';

// Pictures: each is held once, as a data address, and shown wherever its number stands.
{
    const pictures = JSON.parse(document.getElementById('pictures').textContent);
    for (const image of document.querySelectorAll('img[data-picture]'))
        image.src = pictures[image.dataset.picture];
}

// Dividers: by pointer anywhere on the picture, by keys on the divider itself.
for (const compare of document.querySelectorAll('.compare')) {
    const divider = compare.querySelector('.divider');
    let at = 50;

    const moveTo = (percent) => {
        at = Math.min(100, Math.max(0, percent));
        compare.style.setProperty('--at', `${at}%`);
        divider.setAttribute('aria-valuenow', Math.round(at));
        divider.setAttribute('aria-valuetext', `${Math.round(at)} percent before`);
    };
    const follow = (event) => {
        const box = compare.getBoundingClientRect();
        moveTo(100 * (event.clientX - box.left) / box.width);
    };
    moveTo(at);

    compare.addEventListener('pointerdown', (event) => {
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
}

// Lines to copy.
{
    const said = document.querySelector('.said');
    const copy = async (text) => {
        try {
            await navigator.clipboard.writeText(text);
            return true;
        } catch {
            const area = document.createElement('textarea'); // where pages from files may not use the clipboard
            area.value = text;
            document.body.append(area);
            area.select();
            const done = document.execCommand('copy');
            area.remove();
            return done;
        }
    };
    document.addEventListener('click', async (event) => {
        const button = event.target.closest('button.copy');
        if (!button)
            return;
        const done = await copy(button.parentElement.querySelector('code').textContent);
        button.focus();
        button.textContent = done ? 'Copied' : 'Failed';
        said.textContent = done ? 'Copied to the clipboard.' : 'The clipboard is not to be had.';
        setTimeout(() => { button.textContent = 'Copy'; said.textContent = ''; }, 1500);
    });
}

// Contents: folded where the page is narrow, with the entry in view marked.
{
    const narrow = matchMedia('(max-width: 64rem)');
    const details = document.querySelector('nav details');
    const fold = () => { details.open = !narrow.matches; };
    fold();
    narrow.addEventListener('change', fold);
    const links = new Map();
    for (const link of details.querySelectorAll('a')) {
        links.set(link.hash.slice(1), link);
        link.addEventListener('click', fold);
    }
    let current = null;
    const observer = new IntersectionObserver((changes) => {
        for (const change of changes)
            if (change.isIntersecting) {
                current?.removeAttribute('aria-current');
                current = links.get(change.target.id);
                current.setAttribute('aria-current', 'location');
                if (!narrow.matches)
                    current.scrollIntoView({block: 'nearest'});
            }
    }, {rootMargin: '-15% 0px -75% 0px'});
    for (const entry of document.querySelectorAll('.entry'))
        observer.observe(entry);
}
