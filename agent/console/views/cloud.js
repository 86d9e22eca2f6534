// SPDX-License-Identifier: Apache-2.0
// The cloud: the state of the device there, its devices, and the cloud's steps. The agent describes the steps; this file
// adds the condition under which some of them are available.
import {arrange, escapeInvisible, h, once, render, toLabel, toSentence} from '../dom.js';
import {fieldsOfStep, makeFields, makeForm, makeOutcome} from '../forms.js';

const conditions = {
  'sign-in': ({signed_in: signedIn, cloud}) => !signedIn && !cloud.session,
  'restore-session': ({signed_in: signedIn, signed_up: signedUp}) => signedUp && !signedIn,
  'sign-out': ({signed_in: signedIn}) => signedIn,
  'drop-session': ({signed_in: signedIn}) => signedIn,
  'own': ({owned}) => !owned,
  'disown': ({owned}) => owned,
};
const initial = {
  'next-sign-up': {outcome: 'fail', after_ms: 0}, 'keepalive': {result: 0}, 'diagnostics': {value: 0, text: {}},
};

function light(name, on, text, details) {
  return h('div', {class: `light ${on ? 'on' : 'off'}`, 'data-light': name, 'data-on': String(on)},
    h('span', {class: 'dot', 'aria-hidden': 'true'}), h('span', {}, text, h('small', {}, details ?? (on ? 'yes' : 'no'))));
}

export class Cloud {
  #steps = [];
  #outcome = makeOutcome(); // shared by the buttons, which have no room for a result of their own
  #step = once((step) => this.#makeStep(step));

  constructor({facts, devices, steps}, agent) {
    Object.assign(this, {facts, devices, agent});
    this.buttons = h('div', {class: 'buttons wrap'});
    this.forms = h('div', {});
    steps.append(this.buttons, this.#outcome.element, this.forms);
  }

  describe() {
    this.#steps = this.agent.description.cloud.map((step) => this.#step(step));
    arrange(this.buttons, this.#steps.filter(({form}) => !form).map(({element}) => element));
    arrange(this.forms, this.#steps.filter(({form}) => form).map(({element}) => element));
  }

  #makeStep({name, help, arguments: syntax}) {
    const fields = fieldsOfStep(syntax).map((field) => ({...field, initial: initial[name]?.[field.name]}));
    const run = (values) => this.agent.run('cloud', {step: name, with: values});
    if (fields.length === 0)
      return {name, element: h('button', {type: 'button', 'data-cloud': name, title: help, onclick: () => this.#press(run)}, toLabel(name))};
    const {rows, read} = makeFields(fields);
    const form = makeForm({label: toLabel(name), name, rows, run: async () => { await run(read()); }});
    return {name, form, element: h('details', {class: 'step', 'data-cloud': name},
      h('summary', {}, toLabel(name)), h('p', {class: 'help'}, toSentence(help)), form)};
  }

  async #press(run) {
    try {
      const {cloud} = await run({});
      this.#outcome.show(cloud?.certificate ?? (cloud?.group_id ? `Done: group ${escapeInvisible(cloud.group_id)}.` : 'Done.'), true);
    } catch (problem) {
      this.#outcome.show(problem.message, false);
    }
  }

  show(state) {
    // A step that is not available keeps its place. If it is used all the same, the agent explains its refusal.
    for (const {name, form, element} of this.#steps) {
      const available = conditions[name]?.(state) ?? true;
      element.classList.toggle('past', !available);
      (form?.button ?? element).setAttribute('aria-disabled', String(!available));
    }
    this.#showFacts(state);
    this.#showDevices(state);
  }

  #showFacts(state) {
    const {cloud} = state;
    render(this.facts, [state.owned, state.signed_up, state.signed_in, cloud], () => {
      const {keep_alive: keepAlive, session, next_sign_up: nextSignUp} = cloud;
      const facts = [
        ['Next sign-up', cloud.signing_up ? 'in progress' : `will ${nextSignUp.outcome}`
          + (nextSignUp.after_ms ? ` after ${nextSignUp.after_ms} ms` : '')],
        session && ['Session', `${session.local} → ${session.remote} · ${session.sent} bytes sent, ${session.received} received`],
        ['Keep-alive', `every ${keepAlive.interval_s} s · ${keepAlive.rounds} sent · result ${keepAlive.result}`],
        cloud.presence !== null && ['Presence', String(cloud.presence)],
        cloud.last_status && ['Last status', `${cloud.last_status.error_code} at ${cloud.last_status.timestamp}`],
        cloud.sign_in_disabled && ['Sign-in', 'disabled by the application'],
      ].filter(Boolean);
      return [
        h('div', {class: 'lights'}, light('owned', state.owned, 'Owned', state.owned && cloud.owner ? escapeInvisible(cloud.owner) : undefined),
          light('signed_up', state.signed_up, 'Signed up'), light('signed_in', state.signed_in, 'Signed in')),
        h('dl', {class: 'facts'}, facts.map(([name, value]) => [h('dt', {}, name), h('dd', {}, escapeInvisible(value))])),
      ];
    });
  }

  /// Device 0 is the device itself, the others are its sub-devices.
  #showDevices(state) {
    const {nicks, sub_devices: subDevices, device_types: types, cloud} = state;
    render(this.devices, [state.device_id, state.signed_in, nicks, subDevices, types, cloud.device_names], () => {
      const all = {0: {device_id: state.device_id, presence: state.signed_in}, ...subDevices};
      return Object.entries(all).map(([number, {device_id: id, presence}]) => h('li', {class: 'device', 'data-device': number},
        h('span', {class: `dot ${presence ? 'on' : 'off'}`, role: 'img', 'aria-label': presence ? 'present' : 'absent'}),
        h('span', {class: 'row-text'},
          h('strong', {}, escapeInvisible(nicks[number] ?? cloud.device_names[number] ?? (number === '0' ? 'The device' : `Device ${number}`))),
          h('small', {}, escapeInvisible([types[number], id].filter(Boolean).join(' · ')))),
        h('span', {class: 'number'}, `no. ${number}`)));
    });
  }
}
