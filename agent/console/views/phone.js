// SPDX-License-Identifier: Apache-2.0
// The setup wizard, which simulates the phone. The agent describes the steps and their arguments. The wizard adds their
// order and the condition under which each is offered. A step that it does not know is offered at the end.
import {arrange, escapeInvisible, h, render, setText, toLabel, toSentence} from '../dom.js';
import {fieldsOfStep, makeFields, makeForm} from '../forms.js';
import {isInUse} from '../layout.js';
import {makeNetworkForm} from './networks.js';

const isConnected = ({setup}) => setup.stage !== 'waiting';
const inProgress = (state) => isConnected(state) && state.setup.stage !== 'done';
const pinRequested = ({setup}) => setup.pin.tries_left > 0;
const languageOf = ({setup}) => setup.languages[0] ?? 'en-GB';

function localDateTime() {
  const now = new Date();
  const offset = -now.getTimezoneOffset();
  const two = (number) => String(Math.abs(number)).padStart(2, '0');
  const local = new Date(now.getTime() + offset * 60000).toISOString().slice(0, 19);
  return `${local}${offset < 0 ? '-' : '+'}${two(Math.trunc(offset / 60))}:${two(offset % 60)}`;
}

const randomPin = () => Array.from(crypto.getRandomValues(new Uint8Array(8)), (byte) => byte % 10).join('');

/// The groups of steps. `when` is the condition under which a step is offered, `initial` gives the first values of its
/// fields, and a step with a `panel` title is shown as a panel that opens and closes.
const wizard = [
  {
    title: 'Connect', done: isConnected,
    steps: [{name: 'connect', label: 'Connect', when: (state) => !isConnected(state)}],
  },
  {
    title: 'Verify the user', done: ({setup}) => setup.pin.verified || setup.confirmed === true,
    steps: [
      {name: 'confirm', label: 'Request confirmation', when: (state) => inProgress(state) && state.setup.confirmed !== true},
      {name: 'pin', label: 'Request PIN', panel: 'PIN', initial: () => ({kind: 'display'}),
       when: (state) => inProgress(state) && !pinRequested(state)},
      {name: 'enter-pin', label: 'Verify PIN', when: pinRequested},
    ],
  },
  {
    title: 'Choose a network', done: ({setup}) => ['joined', 'done'].includes(setup.stage),
    steps: [
      {name: 'scan', label: 'Scan for networks', when: (state) => inProgress(state) && state.setup.stage !== 'joined'},
      {name: 'choose', label: 'Use this network', make: makeNetworkForm,
       when: (state) => inProgress(state) && state.setup.stage !== 'joined'},
      {name: 'join', label: 'Connect over this network', when: ({setup}) => setup.stage === 'joining'},
    ],
  },
  {
    title: 'Configure the device', done: () => false,
    steps: [
      {name: 'provision', label: 'Send', when: inProgress, panel: 'Region and account', initial: (state) => (
        {language: languageOf(state), country: 'GB', datetime: localDateTime(), rmd: 'phone', account: 'user@example.org'})},
      {name: 'language', label: 'Send', when: inProgress, panel: 'Language',
       initial: (state) => ({type: 'language', value: languageOf(state)})},
      {name: 'vendor-info', label: 'Send', when: inProgress, panel: 'Vendor data', initial: () => ({value: 0, text: {}})},
      {name: 'features', label: 'Send', when: inProgress, panel: 'Onboarding features', initial: () => ({feature: 1})},
      {name: 'get-provisioning', label: 'Request', when: inProgress, panel: 'Request provisioning data',
       initial: () => ({text: 'model', value: 0})},
      {name: 'accept-terms', label: 'Send', when: inProgress, panel: 'Terms'},
    ],
  },
  {
    title: 'Finish', done: ({setup}) => setup.stage === 'done',
    steps: [
      {name: 'stop-soft-ap', label: 'Stop its access point',
       when: (state) => state.setup.stage === 'joined' && !state.setup.soft_ap_stopped},
      {name: 'finish', label: 'Finish', when: ({setup}) => setup.stage === 'joined'},
    ],
  },
  {
    title: 'After the setup', done: () => false,
    steps: [
      {name: 'rename', label: 'Rename', when: ({set_up}) => set_up, panel: 'Rename the device',
       initial: ({nicks}) => ({nick: nicks[0] ?? '', device_no: 0})},
      {name: 'remove', label: 'Remove', when: ({set_up, owned}) => set_up || owned, panel: 'Remove the device'},
      {name: 'leave', label: 'Disconnect', when: isConnected, panel: 'Disconnect'},
    ],
  },
];

/// The step that leads towards a device that is set up.
function nextStep({setup, running}) {
  switch (setup.stage) {
  case 'waiting': return running ? 'connect' : '';
  case 'joining': return 'join';
  case 'joined': return 'finish';
  case 'done': return '';
  }
  if (setup.confirmed !== true)
    return 'confirm';
  if (pinRequested({setup}))
    return 'enter-pin';
  if (!setup.pin.verified)
    return 'pin';
  return setup.networks.length > 0 ? 'choose' : 'scan';
}

/// The elements that a step shows in addition to the agent's help text.
const notes = {
  'connect': ({running}) => running ? '' : 'The application has not started its service yet, so the phone cannot find the device.',
  'confirm': ({setup}) => setup.confirmed === false ? 'The user of the device has refused.' : '',
  'pin': ({setup}) => setup.pin.verified ? 'The PIN was correct.' : '',
  'enter-pin': ({setup}) => setup.pin.tries_left === 0 ? '' : ({
    display: 'The device shows its PIN.', ultrasound: 'The phone has received the PIN.', label: 'The PIN is on the label of the device.',
  }[setup.pin.kind] + ` ${setup.pin.tries_left} ${setup.pin.tries_left === 1 ? 'try' : 'tries'} left.`),
  'scan': ({setup}) => setup.scan === null ? '' : 'The device is scanning for networks …',
  'join': ({setup}) => `The device is joining ${escapeInvisible(setup.chosen?.ssid ?? '')}. It reports only failures.`,
  'language': ({setup}) => setup.language_requests > 0 ? 'The device has not replied yet.'
    : Object.entries(setup.settings).map(([type, value]) => `${escapeInvisible(type)}: ${escapeInvisible(value)}`).join(', '),
};

/// Turn the agent's reply to a step into the result below its button.
const outcomes = {
  'scan': () => '', // the list shows the result
  'enter-pin': ({verified, tries_left: left}) => {
    if (!verified)
      throw new Error(left > 0 ? `Wrong PIN. ${left} ${left === 1 ? 'try' : 'tries'} left.` : 'Wrong PIN. No tries left.');
    return 'The PIN is correct.';
  },
};

export class Phone {
  #groups = [];
  #steps = new Map(); // by name; a step is never removed, so that its form keeps its contents
  #next = '';
  #ultrasoundPin = ''; // only the phone receives it

  constructor(root, agent) {
    this.root = root;
    this.agent = agent;
    for (const group of [...wizard, {title: 'More', done: () => false, steps: []}])
      this.#addGroup(group);
    root.append(...this.#groups.map(({element}) => element));
  }

  /// Follows the agent's description, which changes with the agent's version.
  describe() {
    const {phone: described} = this.agent.description;
    for (const step of this.#steps.values())
      step.described = false;
    for (const description of described) {
      const more = this.#groups.at(-1);
      const step = this.#steps.get(description.name)
        ?? this.#addStep(more, {name: description.name, label: toLabel(description.name), when: () => true});
      if (step.form && step.arguments !== description.arguments && !step.form.edited)
        step.form = null;
      Object.assign(step, description, {described: true});
      setText(step.helpLine, toSentence(step.help));
    }
    // A step that no agent has described so far is not part of the page.
    for (const group of this.#groups)
      arrange(group.list, group.steps.filter((step) => step.described || step.element.isConnected).map(({element}) => element));
  }

  #addGroup({steps, ...group}) {
    const mark = h('span', {class: 'mark', 'aria-hidden': 'true'});
    const status = h('span', {class: 'visually-hidden'});
    const list = h('div', {});
    const added = {...group, steps: [], list, status, element: h('section', {class: 'group'}, h('h3', {}, mark, group.title, status), list)};
    this.#groups.push(added);
    steps.forEach((step) => this.#addStep(added, step));
  }

  #addStep(group, step) {
    const helpLine = h('p', {class: 'help'});
    const note = h('p', {class: 'note', 'aria-live': 'polite'});
    const body = h('div', {});
    const content = [helpLine, note, body];
    const added = {...step, helpLine, note, body, offered: false, form: null, opened: undefined};
    // `opened` is what the user has decided; the wizard opens a panel only if the user has not decided.
    const summary = step.panel && h('summary', {onclick: () => { added.opened = !added.element.open; }}, step.panel);
    added.element = step.panel ? h('details', {class: 'step', 'data-step': step.name, hidden: true}, summary, content)
      : h('div', {class: 'step', 'data-step': step.name, hidden: true}, content);
    group.steps.push(added);
    this.#steps.set(step.name, added);
    return added;
  }

  #makeForm(step, state) {
    if (step.make)
      return step.make(step, this.agent);
    const initial = step.initial?.(state) ?? {};
    const fields = makeFields(fieldsOfStep(step.arguments).map((field) => ({...field, initial: initial[field.name]})));
    const form = makeForm({
      label: step.label, name: step.name, rows: fields.rows,
      run: async () => {
        const values = fields.read();
        if (step.name === 'pin')
          this.#chooseUltrasoundPin(values);
        const {phone} = await this.agent.run('phone', {step: step.name, with: values});
        return outcomes[step.name]?.(phone ?? {});
      },
    });
    if (step.name === 'enter-pin' && this.#ultrasoundPin && state.setup.pin.kind === 'ultrasound')
      fields.input('pin').value = this.#ultrasoundPin;
    return form;
  }

  /// A PIN that the device plays reaches only the phone, so the phone chooses it and fills it in.
  #chooseUltrasoundPin(values) {
    this.#ultrasoundPin = '';
    if (values.kind === 'ultrasound')
      this.#ultrasoundPin = values.pin ??= randomPin();
  }

  show(state) {
    const next = nextStep(state);
    const wizardInUse = isInUse(this.root.closest('.view'));
    for (const step of this.#steps.values()) {
      const offered = step.described === true && step.when(state);
      if (offered)
        this.#offer(step, state, next);
      else if (!wizardInUse)
        step.element.hidden = true;
      step.offered = offered;
      // A step that has ended keeps its place until the user has left the wizard, so that nothing moves up.
      const past = !offered && !step.element.hidden;
      step.element.classList.toggle('past', past);
      if (past)
        step.element.setAttribute('aria-description', 'Not available now');
      else
        step.element.removeAttribute('aria-description');
      step.form?.button.classList.toggle('primary', offered && step.name === next);
    }
    this.#next = next;
    for (const group of this.#groups) {
      const done = group.done(state);
      group.element.hidden = !done && group.steps.every((step) => step.element.hidden || !step.element.isConnected);
      group.element.classList.toggle('done', done);
      group.element.classList.toggle('now', group.steps.some((step) => step.name === next));
      setText(group.status, done ? ' (done)' : '');
    }
  }

  #offer(step, state, next) {
    const wasHidden = step.element.hidden;
    // An earlier setup leaves nothing behind, except what the user has typed and not sent.
    if (!step.form || (!step.offered && !step.form.edited && !isInUse(step.element))) {
      step.form = this.#makeForm(step, state);
      step.body.replaceChildren(step.form);
    }
    if (step.panel && !step.opened) {
      if (wasHidden)
        step.element.open = step.name === next;
      else if (step.name === next && this.#next !== next && step.opened === undefined)
        step.element.open = true;
      if (wasHidden)
        step.opened = undefined;
    }
    step.element.hidden = false;
    setText(step.note, notes[step.name]?.(state) ?? '');
    step.form.show?.(state);
  }
}

/// Shows the device as the phone's home screen does.
export function showDevice(root, state) {
  const {setup, nicks} = state;
  const name = nicks[0] ?? setup.property?.name ?? 'Unknown device';
  const stages = {
    waiting: state.set_up ? 'Set up' : 'Not set up', connected: 'Connected', joining: 'Joining the network',
    joined: 'On the network', done: 'Set up', failed: 'Failed',
  };
  render(root, [name, setup.stage, setup.chosen?.ssid, state.set_up], () => [
    h('strong', {}, escapeInvisible(name)),
    h('span', {class: `stage ${setup.stage}`, 'data-stage': setup.stage}, stages[setup.stage] ?? setup.stage,
      setup.chosen && ['joined', 'done'].includes(setup.stage) && ` · ${escapeInvisible(setup.chosen.ssid)}`),
  ]);
}
