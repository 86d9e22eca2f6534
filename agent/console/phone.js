// SPDX-License-Identifier: Apache-2.0
// The phone: a wizard through the setup. Which steps there are, and what they take, tells the agent; here stands only
// in which order and at which moment they are offered. A step that is not known here is offered at the end.
import {h, inWords, plain, renew} from './dom.js';
import {fieldsOfStep, makeFields, makeForm} from './forms.js';
import {makeNetworkForm} from './networks.js';

const connected = ({setup}) => setup.stage !== 'waiting';
const underWay = (state) => connected(state) && state.setup.stage !== 'done';
const pinIsAsked = ({setup}) => setup.pin.tries_left > 0;
const languageOf = ({setup}) => setup.languages[0] ?? 'en-GB';

function nowHere() {
  const now = new Date();
  const offset = -now.getTimezoneOffset();
  const two = (number) => String(Math.abs(number)).padStart(2, '0');
  const local = new Date(now.getTime() + offset * 60000).toISOString().slice(0, 19);
  return `${local}${offset < 0 ? '-' : '+'}${two(Math.trunc(offset / 60))}:${two(offset % 60)}`;
}

const eightDigits = () => Array.from(crypto.getRandomValues(new Uint8Array(8)), (byte) => byte % 10).join('');

/// Groups of steps. `when` says at which moment a step is offered, `initial` what stands in its fields at first.
const wizard = [
  {
    title: 'Find the device', done: connected,
    steps: [{name: 'connect', label: 'Connect', when: (state) => !connected(state)}],
  },
  {
    title: 'Show that you are there', done: ({setup}) => setup.pin.verified || setup.confirmed === true,
    steps: [
      {name: 'confirm', label: 'Ask to confirm', when: (state) => underWay(state) && state.setup.confirmed !== true},
      {name: 'pin', label: 'Ask for the PIN', folded: 'PIN', initial: () => ({kind: 'display'}),
       when: (state) => underWay(state) && !pinIsAsked(state)},
      {name: 'enter-pin', label: 'Check', when: pinIsAsked},
    ],
  },
  {
    title: 'Choose a network', done: ({setup}) => ['joined', 'done'].includes(setup.stage),
    steps: [
      {name: 'scan', label: 'Look for networks', when: (state) => underWay(state) && state.setup.stage !== 'joined'},
      {name: 'choose', label: 'Use this network', make: makeNetworkForm,
       when: (state) => underWay(state) && state.setup.stage !== 'joined'},
      {name: 'join', label: 'Meet on the network', when: ({setup}) => setup.stage === 'joining'},
    ],
  },
  {
    title: 'Tell the device', done: () => false,
    steps: [
      {name: 'provision', label: 'Send', when: underWay, folded: 'Where and whose it is', initial: (state) => (
        {language: languageOf(state), country: 'GB', datetime: nowHere(), rmd: 'phone', account: 'user@example.org'})},
      {name: 'language', label: 'Set', when: underWay, folded: 'Language',
       initial: (state) => ({type: 'language', value: languageOf(state)})},
      {name: 'vendor-info', label: 'Send', when: underWay, folded: 'Vendor data', initial: () => ({value: 0, text: {}})},
      {name: 'features', label: 'Send', when: underWay, folded: 'Ways of on-boarding', initial: () => ({feature: 1})},
      {name: 'get-provisioning', label: 'Ask', when: underWay, folded: 'Ask for provisioning data',
       initial: () => ({text: 'model', value: 0})},
      {name: 'accept-terms', label: 'Send', when: underWay, folded: 'Terms'},
    ],
  },
  {
    title: 'Finish', done: ({setup}) => setup.stage === 'done',
    steps: [
      {name: 'stop-soft-ap', label: 'Take down its access point',
       when: (state) => state.setup.stage === 'joined' && !state.setup.soft_ap_stopped},
      {name: 'finish', label: 'Finish', when: ({setup}) => setup.stage === 'joined'},
    ],
  },
  {
    title: 'Afterwards', done: () => false,
    steps: [
      {name: 'rename', label: 'Rename', when: ({set_up}) => set_up, folded: 'Another name',
       initial: ({nicks}) => ({nick: nicks[0] ?? '', device_no: 0})},
      {name: 'remove', label: 'Remove the device', when: ({set_up, owned}) => set_up || owned, folded: 'Remove'},
      {name: 'leave', label: 'Leave', when: connected, folded: 'Leave'},
    ],
  },
];

/// What somebody who only wants the device to be set up does next.
function nextStep({setup, running}) {
  switch (setup.stage) {
  case 'waiting': return running ? 'connect' : '';
  case 'joining': return 'join';
  case 'joined': return 'finish';
  case 'done': return '';
  }
  if (setup.confirmed !== true)
    return 'confirm';
  if (pinIsAsked({setup}))
    return 'enter-pin';
  if (!setup.pin.verified)
    return 'pin';
  return setup.networks.length > 0 ? 'choose' : 'scan';
}

/// What is to be known at a step, besides its own help.
const notes = {
  'connect': ({running}) => running ? '' : 'The device’s application has not started its service; the phone finds it then.',
  'confirm': ({setup}) => setup.confirmed === false ? 'The user at the device has refused.' : '',
  'pin': ({setup}) => setup.pin.verified ? 'The PIN was right.' : '',
  'enter-pin': ({setup}) => ({
    display: 'The device shows its PIN.', ultrasound: 'The phone has heard the PIN.', label: 'The PIN is on the device’s label.',
  }[setup.pin.kind] + ` ${setup.pin.tries_left} ${setup.pin.tries_left === 1 ? 'try is' : 'tries are'} left.`),
  'scan': ({setup}) => setup.scan === null ? '' : 'The device is looking for networks …',
  'join': ({setup}) => `The device is joining ${plain(setup.chosen?.ssid ?? '')}. It tells only failures.`,
  'language': ({setup}) => setup.language_requests > 0 ? 'The device has not answered yet.'
    : Object.entries(setup.settings).map(([type, value]) => `${plain(type)}: ${plain(value)}`).join(', '),
};

const outcomes = {
  'scan': () => '', // the list says it
  'enter-pin': ({verified, tries_left: left}) => {
    if (!verified)
      throw new Error(left > 0 ? `That is not the PIN; ${left} more.` : 'That is not the PIN, and it was the last try.');
    return 'The PIN is right.';
  },
};

export class Phone {
  #steps = [];
  #next = '';
  #heard = ''; // an ultrasound PIN, which only the phone hears

  constructor(root, agent) {
    this.root = root;
    this.agent = agent;
  }

  /// For each version of the agent anew.
  describe() {
    const left = new Map(this.agent.description.phone.map((step) => [step.name, step]));
    const take = (step) => {
      const told = left.get(step.name);
      left.delete(step.name);
      return told && this.#make({...step, ...told});
    };
    this.#steps = [];
    const groups = wizard.map((group) => this.#group(group, group.steps.map(take).filter(Boolean)));
    const more = [...left.values()].map((told) => this.#make({...told, label: inWords(told.name), when: () => true}));
    if (more.length > 0)
      groups.push(this.#group({title: 'More', done: () => false}, more));
    this.groups = groups;
    this.root.replaceChildren(...groups.map(({element}) => element));
  }

  #group(group, steps) {
    const mark = h('span', {class: 'mark', 'aria-hidden': 'true'});
    const told = h('span', {class: 'visually-hidden'});
    const element = h('section', {class: 'group'}, h('h3', {}, mark, group.title, told), steps.map((step) => step.element));
    return {...group, steps, element, mark, told};
  }

  #make(step) {
    this.#steps.push(step);
    step.note = h('p', {class: 'note', 'aria-live': 'polite'});
    step.body = h('div', {class: 'body'});
    const parts = [step.note, step.body];
    step.element = step.folded
      ? h('details', {class: 'step', 'data-step': step.name}, h('summary', {}, step.folded), h('p', {class: 'help'}, sentence(step.help)), parts)
      : h('div', {class: 'step', 'data-step': step.name}, h('p', {class: 'help'}, sentence(step.help)), parts);
    return step;
  }

  #form(step, state) {
    if (step.make)
      return step.make(step, this.agent);
    const initial = step.initial?.(state) ?? {};
    const fields = makeFields(fieldsOfStep(step.arguments).map((field) => ({...field, initial: initial[field.name]})));
    const form = makeForm({
      label: step.label, name: step.name, rows: fields.rows,
      run: async () => {
        const values = fields.read();
        if (step.name === 'pin')
          this.#hear(values);
        const {phone} = await this.agent.run('phone', {step: step.name, with: values});
        return outcomes[step.name]?.(phone ?? {});
      },
    });
    if (step.name === 'enter-pin' && this.#heard && state.setup.pin.kind === 'ultrasound')
      fields.input('pin').value = this.#heard;
    return form;
  }

  /// Nobody but the phone hears a PIN that is played, so it is the phone that knows it.
  #hear(values) {
    this.#heard = '';
    if (values.kind === 'ultrasound')
      this.#heard = values.pin ??= eightDigits();
  }

  show(state) {
    const next = nextStep(state);
    for (const step of this.#steps) {
      const offered = step.when(state);
      if (offered && (step.element.hidden || !step.form)) {
        step.form = this.#form(step, state); // afresh, with nothing of an earlier setup in it
        step.body.replaceChildren(step.form);
        if (step.folded)
          step.element.open = step.name === next;
      }
      step.element.hidden = !offered;
      if (!offered)
        continue;
      step.note.textContent = notes[step.name]?.(state) ?? '';
      step.form.show?.(state);
      step.form.button.classList.toggle('primary', step.name === next);
      if (step.folded && next !== this.#next && [next, this.#next].includes(step.name))
        step.element.open = step.name === next;
    }
    this.#keepFocus(next);
    this.#next = next;
    for (const group of this.groups) {
      const done = group.done(state);
      group.element.hidden = !done && group.steps.every((step) => step.element.hidden);
      group.element.classList.toggle('done', done);
      group.element.classList.toggle('now', group.steps.some((step) => step.name === next));
      group.told.textContent = done ? ' (done)' : '';
    }
  }

  /// Whoever is at the keyboard goes on with the next step when the one that was sent is over.
  #keepFocus(next) {
    const left = document.activeElement?.closest('.step');
    if (!left || !this.root.contains(left) || !left.hidden)
      return;
    const step = this.#steps.find(({name}) => name === next) ?? this.#steps.find(({element}) => !element.hidden);
    step?.form.querySelector('input:not([hidden]), select, button')?.focus();
  }
}

export function sentence(help) {
  return help ? help.charAt(0).toUpperCase() + help.slice(1) + (/[.?!]$/.test(help) ? '' : '.') : '';
}

/// The device as the phone's home screen has it.
export function showDevice(root, state) {
  const {setup, nicks} = state;
  const name = nicks[0] ?? setup.property?.name ?? 'Unknown device';
  const stages = {
    waiting: state.set_up ? 'Set up' : 'Not set up', connected: 'Connected', joining: 'Joining the network',
    joined: 'On the network', done: 'Set up', failed: 'That did not work',
  };
  renew(root, [name, setup.stage, setup.chosen?.ssid, state.set_up], () => [
    h('strong', {}, plain(name)),
    h('span', {class: `stage ${setup.stage}`, 'data-stage': setup.stage}, stages[setup.stage] ?? setup.stage,
      setup.chosen && ['joined', 'done'].includes(setup.stage) && ` · ${plain(setup.chosen.ssid)}`),
  ]);
}
