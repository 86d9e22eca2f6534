// SPDX-License-Identifier: Apache-2.0
// The timeline: the entries of the agent's journal, in the order in which they began.
//
// The journal receives a command when it has ended, after the events that it sent. The timeline shows the command above
// them and indents them.
import {escapeInvisible, formatJson, formatMembers, formatValue, h, setOptions, setText, toLabel} from '../dom.js';
import {change, isInUse} from '../layout.js';

const maxRows = 3000;
const batchMs = 40;
const announceMs = 2500; // a screen reader cannot follow a hundred entries a second
const endTolerancePx = 48;

/// The names of numbers by method or event and by value, as the agent describes them.
let codings = [];

/// The members of a method or event with the names of their numbers: status 4 (done).
const formatCoded = (values, owner) => formatMembers(values, (name, number) =>
  codings.find((coding) => coding.owner === owner && coding.value === name)?.names[number]);

/// The kinds of entries. The first whose `is` matches applies.
const kinds = [
  {name: 'call', sign: '→', help: 'call to the agent', is: ({method}) => method !== undefined,
    title: ({method, id}) => method || `method ${id}`,
    text: ({method, arguments: values = {}}) => formatCoded(values, method),
    end: ({method, answer = {}, duration_us: us}) => [formatCoded(answer, method), `${us} µs`]},
  {name: 'event', sign: '←', help: 'event to the application', is: ({event}) => event !== undefined, title: ({event}) => event,
    text: ({event, values = {}}) => formatCoded(values, event)},
  {name: 'connection', sign: '·', is: ({connection}) => connection !== undefined, title: ({connection}) => connection,
    text: ({peer}) => peer},
  {name: 'update', sign: '↻', is: ({update}) => update !== undefined, title: ({update}) => `update ${update}`,
    text: ({announced}) => announced ? 'announced' : 'not announced: there is no message bus'},
  {name: 'scenario', sign: '◆', help: 'step of a scenario', is: ({scenario}) => scenario !== undefined, title: ({scenario}) => scenario,
    text: ({line, step}) => `line ${line}: ${typeof step === 'string' ? step : formatValue(step)}`},
  {name: 'command', sign: '⌘', is: ({command}) => command !== undefined, title: ({command}) => command,
    text: ({with: values = {}}) => Object.values(values).join(' ')},
  {name: 'agent', sign: '•', is: () => true, title: ({agent}) => `agent ${agent ?? ''}`,
    text: ({seq, time_us: time, agent, ...rest}) => formatMembers(rest)},
];

const kindOf = (entry) => kinds.find((kind) => kind.is(entry));

function severityOf({problem, fault, ok, answer}) {
  if (problem || ok === false)
    return 'bad';
  if (fault)
    return 'faulty';
  return answer?.result ? 'bad' : '';
}

function formatTime(us) {
  const time = new Date(us / 1000);
  const two = (number) => String(number).padStart(2, '0');
  return `${two(time.getHours())}:${two(time.getMinutes())}:${two(time.getSeconds())}.${String(time.getMilliseconds()).padStart(3, '0')}`;
}

export class Timeline {
  #shown = [];   // {entry, kind, text, row}; a mark has only a row
  #waiting = []; // entries and marks for the next batch, or for the end of a pause
  #batchTimer = 0;
  #announceTimer = 0;
  #unannounced = [];
  #following = true; // scrolls to new entries, except while the user is in the list

  constructor(parts) {
    Object.assign(this, parts); // list, text, kind, name, pause, clear, count, live, latest, legend
    this.paused = false;
    this.kind.append(h('option', {value: ''}, 'All kinds'), ...kinds.map(({name, sign}) => h('option', {value: name}, `${sign} ${toLabel(name)}`)));
    const signs = [...kinds.map(({name, sign, help}) => [sign, help ?? name]), ['↳', 'caused by the command above'],
      ['▸', 'opens an entry, with all that is cut off here']];
    this.legend.append(...signs.map(([sign, help]) => h('span', {}, h('b', {'aria-hidden': 'true'}, sign), ` ${help}`)));
    for (const input of [this.text, this.kind, this.name])
      input.addEventListener('input', () => this.#filter());
    this.pause.addEventListener('click', () => this.#setPaused(!this.paused));
    this.clear.addEventListener('click', () => this.#clear());
    this.latest.addEventListener('click', () => this.#follow());
    this.list.addEventListener('keydown', (event) => this.#moveFocus(event));
    this.list.addEventListener('click', (event) => this.#toggle(event.target.closest('.entry')));
    this.list.addEventListener('scroll', () => this.#updateLatest());
    // The user reads the list: new entries no longer scroll it, unless the user scrolls to its end again.
    for (const type of ['wheel', 'pointerdown', 'touchmove'])
      this.list.addEventListener(type, () => { this.#following = false; }, {passive: true});
    this.list.addEventListener('scrollend', () => { this.#following ||= this.#isAtEnd(); });
    this.#updateCount();
  }

  describe({methods, events, codings: names}) {
    codings = names ?? [];
    const group = (label, named) => h('optgroup', {label}, named.map(({name}) => h('option', {value: name}, name)));
    setOptions(this.name, h('option', {value: ''}, 'All names'), group('Methods', methods), group('Events', events));
  }

  add(entry) {
    this.#queue({entry});
  }

  /// Adds a line that is not an entry.
  addMark(text) {
    this.#queue({mark: text});
  }

  #queue(item) {
    this.#waiting.push(item);
    if (this.#waiting.length > maxRows)
      this.#waiting.shift();
    // A timer, not an animation frame: a page in the background receives entries as well.
    this.#batchTimer ||= setTimeout(() => change('timeline', () => this.#showBatch()), batchMs);
  }

  #showBatch() {
    clearTimeout(this.#batchTimer);
    this.#batchTimer = 0;
    if (this.paused)
      return this.#updateCount();
    const added = this.#waiting.splice(0).map((item) => item.entry ? this.#makeEntry(item.entry) : {row: h('li', {class: 'mark-line'}, item.mark)});
    added.forEach((item) => this.#place(item));
    for (const {row} of this.#shown.splice(0, Math.max(0, this.#shown.length - maxRows)))
      row.remove();
    if (!this.list.querySelector('[tabindex="0"]'))
      this.#makeReachable();
    this.#announce(added.filter(({entry, row}) => entry && !row.hidden));
    this.#updateCount();
    this.followIfUnused();
  }

  /// Adds an item to the list: a command above the entries that have been written since it began, others at the end.
  #place(item) {
    const caused = [];
    for (let i = this.#shown.length - 1; item.entry?.command && this.#shown[i]?.entry?.time_us >= item.entry.time_us; --i)
      caused.unshift(this.#shown[i]);
    this.list.insertBefore(item.row, caused[0]?.row ?? null);
    this.#shown.splice(this.#shown.length - caused.length, 0, item);
    for (const {row} of caused)
      this.#markCaused(row, item);
  }

  #markCaused(row, {entry, kind}) {
    row.classList.add('caused');
    row.querySelector('.what').prepend(
      h('span', {class: 'visually-hidden'}, `caused by ${escapeInvisible(kind.title(entry))} ${escapeInvisible(kind.text(entry))}: `));
  }

  #makeEntry(entry) {
    const kind = kindOf(entry);
    const item = {entry, kind, text: escapeInvisible(JSON.stringify(entry)).toLowerCase()};
    const [reply, duration] = kind.end?.(entry) ?? [];
    const trouble = [entry.fault && `fault: ${entry.fault}`, entry.problem ?? entry.error].filter(Boolean).map(escapeInvisible).join('; ');
    item.row = h('li', {class: `kind-${kind.name} ${severityOf(entry)}`},
      h('button', {class: 'entry', type: 'button', tabindex: '-1', 'aria-expanded': 'false', 'data-seq': entry.seq},
        h('time', {}, formatTime(entry.time_us)),
        h('span', {class: 'sign', role: 'img', 'aria-label': kind.name, title: kind.name}, kind.sign),
        h('span', {class: 'what'}, h('b', {}, escapeInvisible(kind.title(entry))), ' ', h('span', {class: 'values'}, escapeInvisible(kind.text(entry) ?? ''))),
        h('span', {class: 'end'}, trouble && h('span', {class: 'trouble'}, trouble), reply && h('span', {class: 'reply'}, reply),
          duration && h('span', {class: 'duration'}, duration))));
    item.row.item = item;
    item.row.hidden = !this.#matches(item);
    return item;
  }

  // ---- filter, pause, clear ------------------------------------------------------------------------------------------

  #matches({entry, kind, text}) {
    return (!this.kind.value || kind.name === this.kind.value)
      && (!this.name.value || entry.method === this.name.value || entry.event === this.name.value)
      && this.text.value.toLowerCase().split(/\s+/).every((word) => text.includes(word));
  }

  #filter() {
    for (const item of this.#entries())
      item.row.hidden = !this.#matches(item);
    this.#makeReachable();
    this.followIfUnused();
    this.#updateCount();
  }

  #setPaused(paused) {
    this.paused = paused;
    this.pause.setAttribute('aria-pressed', String(paused));
    this.pause.textContent = paused ? 'Resume' : 'Pause';
    this.#showBatch();
  }

  #clear() {
    this.#shown = [];
    this.#waiting = [];
    this.list.replaceChildren();
    this.#updateCount();
  }

  #entries() {
    return this.#shown.filter(({entry}) => entry);
  }

  #updateCount() {
    const all = this.#entries().length;
    const visible = this.#entries().filter(({row}) => !row.hidden).length;
    setText(this.count, (visible === all ? `${all} entries` : `${visible} of ${all} entries`)
      + (this.paused ? `, ${this.#waiting.length} waiting` : ''));
    this.list.classList.toggle('empty', visible === 0);
  }

  #announce(added) {
    this.#unannounced.push(...added);
    if (this.#unannounced.length === 0 || this.#announceTimer)
      return;
    this.#announceTimer = setTimeout(() => {
      this.#announceTimer = 0;
      const last = this.#unannounced.at(-1);
      const count = this.#unannounced.length > 1 ? `${this.#unannounced.length} entries, the last: ` : '';
      this.live.textContent = `${count}${last.kind.name} ${escapeInvisible(last.kind.title(last.entry))}`;
      this.#unannounced = [];
    }, announceMs);
  }

  // ---- scrolling, focus, details -------------------------------------------------------------------------------------

  #isAtEnd() {
    return this.list.scrollHeight - this.list.scrollTop - this.list.clientHeight < endTolerancePx;
  }

  #updateLatest() {
    this.latest.classList.toggle('unneeded', this.#isAtEnd()); // it keeps its place, so that nothing moves
  }

  #follow() {
    this.#following = true;
    this.list.scrollTop = this.list.scrollHeight;
    this.#updateLatest();
  }

  /// Scrolls to the latest entry, unless the user reads an earlier one, points at one or has the focus there.
  followIfUnused() {
    if (this.#following && !isInUse(this.list))
      this.#follow();
    this.#updateLatest();
  }

  #visibleButtons() {
    return this.#entries().filter(({row}) => !row.hidden).map(({row}) => row.querySelector('.entry'));
  }

  /// Makes one entry reachable with Tab. The arrow keys lead from it to the others.
  #makeReachable(button = this.#visibleButtons().at(-1)) {
    this.list.querySelectorAll('[tabindex="0"]').forEach((one) => { one.tabIndex = -1; });
    if (button)
      button.tabIndex = 0;
  }

  #moveFocus(event) {
    const button = event.target.closest('.entry');
    const distance = {ArrowDown: 1, ArrowUp: -1, PageDown: 10, PageUp: -10, Home: -Infinity, End: Infinity}[event.key];
    if (!button || distance === undefined)
      return;
    event.preventDefault();
    this.#following = false;
    const all = this.#visibleButtons();
    const target = all[Math.max(0, Math.min(all.length - 1, all.indexOf(button) + distance))];
    this.#makeReachable(target);
    target.focus();
  }

  /// Opens an entry, or closes it.
  #toggle(button) {
    if (!button)
      return;
    this.#makeReachable(button);
    const row = button.parentElement;
    const open = button.getAttribute('aria-expanded') === 'true';
    button.setAttribute('aria-expanded', String(!open));
    if (open)
      return row.querySelector('pre').remove();
    row.append(h('pre', {tabindex: '-1'}, formatJson(row.item.entry)));
    row.scrollIntoView({block: 'nearest'});
  }
}
