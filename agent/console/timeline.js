// SPDX-License-Identifier: Apache-2.0
// What was said between applications and agent, as it happens.
import {compact, h, inWords, plain} from './dom.js';

const mostKept = 3000;
const batchMs = 40;
const announceMs = 2500; // a screen reader cannot follow each of a hundred calls a second
const nearEnd = 48;

/// The kinds of entries: how to know one, its sign, its title, and what it says in one line.
const kinds = [
  {name: 'call', sign: '→', is: ({method}) => method !== undefined,
    title: ({method, id}) => method || `method ${id}`,
    words: ({arguments: given = {}}) => compact(given).slice(1, -1),
    end: ({answer: {result, ...out} = {}, duration_us: us}) => [compact({result, ...out}).slice(1, -1), `${us} µs`]},
  {name: 'event', sign: '←', is: ({event}) => event !== undefined, title: ({event}) => event,
    words: ({values = {}}) => compact(values).slice(1, -1)},
  {name: 'connection', sign: '·', is: ({connection}) => connection !== undefined, title: ({connection}) => connection,
    words: ({peer}) => peer},
  {name: 'update', sign: '↻', is: ({update}) => update !== undefined, title: ({update}) => `update ${update}`,
    words: ({announced}) => announced ? 'announced' : 'could not be announced: there is no message bus'},
  {name: 'scenario', sign: '▸', is: ({scenario}) => scenario !== undefined, title: ({scenario}) => scenario,
    words: ({line, step}) => `line ${line}: ${typeof step === 'string' ? step : compact(step)}`},
  {name: 'steering', sign: '⌘', is: ({command}) => command !== undefined, title: ({command}) => command,
    words: ({with: given = {}}) => Object.values(given).join(' ')},
  {name: 'agent', sign: '•', is: () => true, title: ({agent}) => `agent ${agent ?? ''}`,
    words: ({seq, time_us: time, agent, ...more}) => compact(more).slice(1, -1)},
];

const kindOf = (entry) => kinds.find((kind) => kind.is(entry));

const went = ({problem, fault, ok, answer}) =>
  problem || ok === false ? 'bad' : fault ? 'faulty' : answer && answer.result !== undefined && answer.result !== 0 ? 'bad' : '';

function timeOf(us) {
  const time = new Date(us / 1000);
  const two = (number) => String(number).padStart(2, '0');
  return `${two(time.getHours())}:${two(time.getMinutes())}:${two(time.getSeconds())}.${String(time.getMilliseconds()).padStart(3, '0')}`;
}

export class Timeline {
  #kept = [];    // {entry, kind, text, row}
  #waiting = []; // not shown yet: for the next batch, or while paused
  #timer = 0;
  #announced = 0;
  #unsaid = [];
  paused = false;

  constructor(parts) {
    Object.assign(this, parts); // list, text, kind, method, pause, clear, count, live, newest
    this.kind.append(h('option', {value: ''}, 'Every kind'), ...kinds.map(({name}) => h('option', {value: name}, inWords(name))));
    for (const input of [this.text, this.kind, this.method])
      input.addEventListener('input', () => this.#filter());
    this.pause.addEventListener('click', () => this.#setPaused(!this.paused));
    this.clear.addEventListener('click', () => this.#clear());
    this.newest.addEventListener('click', () => this.#toEnd());
    this.list.addEventListener('keydown', (event) => this.#move(event));
    this.list.addEventListener('click', (event) => this.#open(event.target.closest('.entry')));
    this.list.addEventListener('scroll', () => { this.newest.hidden = this.#atEnd(); });
    this.#count();
  }

  describe({methods, events}) {
    const chosen = this.method.value;
    const group = (label, names) => h('optgroup', {label}, names.map(({name}) => h('option', {value: name}, name)));
    this.method.replaceChildren(h('option', {value: ''}, 'Every name'), group('Methods', methods), group('Events', events));
    this.method.value = chosen;
    if (this.method.selectedIndex < 0)
      this.method.value = '';
  }

  add(entry) {
    this.#waiting.push(entry);
    if (this.#waiting.length > mostKept)
      this.#waiting.shift();
    // A timer, not an animation frame: a page in the background keeps up as well.
    this.#timer ||= setTimeout(() => this.#batch(), batchMs);
  }

  /// A line of the page's own, between the agent's.
  mark(text) {
    this.#batch();
    this.list.append(h('li', {class: 'mark-line'}, text));
    this.#toEnd();
  }

  #batch() {
    clearTimeout(this.#timer);
    this.#timer = 0;
    if (this.paused)
      return this.#count();
    const atEnd = this.#atEnd();
    const fresh = this.#waiting.splice(0).map((entry) => this.#make(entry));
    this.list.append(...fresh.map(({row}) => row));
    this.#kept.push(...fresh);
    for (const {row} of this.#kept.splice(0, Math.max(0, this.#kept.length - mostKept)))
      row.remove();
    this.list.querySelector('[tabindex="0"]') ?? this.#makeReachable();
    if (atEnd)
      this.#toEnd();
    this.newest.hidden = this.#atEnd();
    this.#announce(fresh);
    this.#count();
  }

  #make(entry) {
    const kind = kindOf(entry);
    const made = {entry, kind, text: plain(JSON.stringify(entry)).toLowerCase()};
    const [answer, duration] = kind.end?.(entry) ?? [];
    const trouble = [entry.fault && `fault: ${entry.fault}`, entry.problem ?? entry.error].filter(Boolean).map(plain).join('; ');
    made.row = h('li', {class: `kind-${kind.name} ${went(entry)}`},
      h('button', {class: 'entry', type: 'button', tabindex: '-1', 'aria-expanded': 'false', 'data-seq': entry.seq},
        h('time', {}, timeOf(entry.time_us)),
        h('span', {class: 'sign', role: 'img', 'aria-label': kind.name, title: kind.name}, kind.sign),
        h('span', {class: 'said'}, h('b', {}, plain(kind.title(entry))), ' ', h('span', {class: 'words'}, plain(kind.words(entry) ?? ''))),
        h('span', {class: 'end'}, trouble && h('span', {class: 'trouble'}, trouble), answer && h('span', {class: 'answer'}, answer),
          duration && h('span', {class: 'duration'}, duration))));
    made.row.made = made;
    made.row.hidden = !this.#wanted(made);
    return made;
  }

  // ---- filter, pause, clear ------------------------------------------------------------------------------------------

  #wanted({entry, kind, text}) {
    return (!this.kind.value || kind.name === this.kind.value)
      && (!this.method.value || entry.method === this.method.value || entry.event === this.method.value)
      && this.text.value.toLowerCase().split(/\s+/).every((word) => text.includes(word));
  }

  #filter() {
    const atEnd = this.#atEnd();
    for (const made of this.#kept)
      made.row.hidden = !this.#wanted(made);
    this.#makeReachable();
    if (atEnd)
      this.#toEnd();
    this.#count();
  }

  #setPaused(paused) {
    this.paused = paused;
    this.pause.setAttribute('aria-pressed', String(paused));
    this.pause.textContent = paused ? 'Go on' : 'Pause';
    this.#batch();
  }

  #clear() {
    this.#kept = [];
    this.#waiting = [];
    this.list.replaceChildren();
    this.#count();
  }

  #count() {
    const shown = this.#kept.filter(({row}) => !row.hidden).length;
    const all = this.#kept.length;
    this.count.textContent = (shown === all ? `${all} entries` : `${shown} of ${all} entries`)
      + (this.paused ? `, ${this.#waiting.length} waiting` : '');
    this.list.classList.toggle('empty', shown === 0);
  }

  #announce(fresh) {
    this.#unsaid.push(...fresh.filter(({row}) => !row.hidden));
    if (this.#unsaid.length === 0 || this.#announced)
      return;
    this.#announced = setTimeout(() => {
      this.#announced = 0;
      const last = this.#unsaid.at(-1);
      const more = this.#unsaid.length > 1 ? `${this.#unsaid.length} entries, the last: ` : '';
      this.live.textContent = `${more}${last.kind.name} ${plain(last.kind.title(last.entry))}`;
      this.#unsaid = [];
    }, announceMs);
  }

  // ---- moving about --------------------------------------------------------------------------------------------------

  #atEnd() {
    return this.list.scrollHeight - this.list.scrollTop - this.list.clientHeight < nearEnd;
  }

  #toEnd() {
    this.list.scrollTop = this.list.scrollHeight;
    this.newest.hidden = true;
  }

  #visible() {
    return this.#kept.filter(({row}) => !row.hidden).map(({row}) => row.querySelector('.entry'));
  }

  /// One entry is reached by Tab, the others from it by arrows.
  #makeReachable(button = this.#visible().at(-1)) {
    this.list.querySelectorAll('[tabindex="0"]').forEach((one) => { one.tabIndex = -1; });
    if (button)
      button.tabIndex = 0;
  }

  #move(event) {
    const here = event.target.closest('.entry');
    const step = {ArrowDown: 1, ArrowUp: -1, PageDown: 10, PageUp: -10, Home: -Infinity, End: Infinity}[event.key];
    if (!here || step === undefined)
      return;
    event.preventDefault();
    const all = this.#visible();
    const to = all[Math.max(0, Math.min(all.length - 1, all.indexOf(here) + step))];
    this.#makeReachable(to);
    to.focus();
  }

  #open(button) {
    if (!button)
      return;
    this.#makeReachable(button);
    const row = button.parentElement;
    const open = button.getAttribute('aria-expanded') === 'true';
    button.setAttribute('aria-expanded', String(!open));
    row.querySelector('pre')?.remove();
    if (!open)
      row.append(h('pre', {tabindex: '-1'}, JSON.stringify(row.made.entry, null, 2).split('\n').map(plain).join('\n')));
    row.scrollIntoView({block: 'nearest'});
  }
}
