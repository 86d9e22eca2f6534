// SPDX-License-Identifier: Apache-2.0
// The cloud: how the device stands with it, its devices, and what can happen there. The steps are the agent's; here
// stands only at which moment some of them are left out.
import {h, inWords, plain, renew} from './dom.js';
import {fieldsOfStep, makeFields, makeForm} from './forms.js';
import {sentence} from './phone.js';

const when = {
  'sign-in': ({signed_in: inside, cloud}) => !inside && !cloud.session,
  'restore-session': ({signed_in: inside, signed_up: up}) => up && !inside,
  'sign-out': ({signed_in: inside}) => inside,
  'drop-session': ({signed_in: inside}) => inside,
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

  constructor({facts, devices, steps}, agent) {
    Object.assign(this, {facts, devices, steps, agent});
  }

  describe() {
    this.#steps = this.agent.description.cloud.map((step) => this.#make(step));
    const simple = this.#steps.filter(({fields}) => fields.length === 0);
    const other = this.#steps.filter(({fields}) => fields.length > 0);
    this.outcome = h('p', {class: 'outcome', 'aria-live': 'polite'});
    this.steps.replaceChildren(h('div', {class: 'buttons wrap'}, simple.map(({element}) => element)), this.outcome,
      ...other.map(({element}) => element));
  }

  #make(step) {
    const fields = fieldsOfStep(step.arguments).map((field) => ({...field, initial: initial[step.name]?.[field.name]}));
    const run = (values) => this.agent.run('cloud', {step: step.name, with: values});
    if (fields.length === 0)
      return {...step, fields, element: h('button', {type: 'button', 'data-cloud': step.name, title: step.help,
        onclick: () => this.#press(step, run)}, inWords(step.name))};
    const made = makeFields(fields);
    const form = makeForm({label: inWords(step.name), name: step.name, rows: made.rows,
      run: async () => { await run(made.read()); }});
    return {...step, fields, element: h('details', {class: 'step', 'data-cloud': step.name},
      h('summary', {}, inWords(step.name)), h('p', {class: 'help'}, sentence(step.help)), form)};
  }

  /// A button has no room for what came of it; all share one line below them.
  async #press(step, run) {
    const tell = (text, good) => {
      this.outcome.className = `outcome ${good ? 'good' : 'refusal'}`;
      this.outcome.textContent = text;
    };
    try {
      const {cloud} = await run({});
      tell(cloud?.certificate ?? (cloud?.group_id ? `Done: group ${plain(cloud.group_id)}.` : 'Done.'), true);
    } catch (problem) {
      tell(problem.message, false);
    }
  }

  show(state) {
    for (const step of this.#steps)
      step.element.hidden = when[step.name] ? !when[step.name](state) : false;
    this.#showFacts(state);
    this.#showDevices(state);
  }

  #showFacts(state) {
    const {cloud} = state;
    renew(this.facts, [state.owned, state.signed_up, state.signed_in, cloud], () => {
      const alive = cloud.keep_alive;
      const facts = [
        ['Next sign-up', cloud.signing_up ? 'under way' : `will ${cloud.next_sign_up.outcome}`
          + (cloud.next_sign_up.after_ms ? ` after ${cloud.next_sign_up.after_ms} ms` : '')],
        cloud.session && ['Session', `${cloud.session.local} → ${cloud.session.remote} · ${cloud.session.sent} bytes out, ${cloud.session.received} in`],
        ['Keep-alive', `every ${alive.interval_s} s · ${alive.rounds} sent · result ${alive.result}`],
        cloud.presence !== null && ['Presence', String(cloud.presence)],
        cloud.last_status && ['Last status', `${cloud.last_status.error_code} at ${cloud.last_status.timestamp}`],
        cloud.sign_in_disabled && ['Signing in', 'disabled by the application'],
      ].filter(Boolean);
      return [
        h('div', {class: 'lights'}, light('owned', state.owned, 'Owned', state.owned && cloud.owner ? plain(cloud.owner) : undefined),
          light('signed_up', state.signed_up, 'Signed up'), light('signed_in', state.signed_in, 'Signed in')),
        h('dl', {class: 'facts'}, facts.map(([name, value]) => [h('dt', {}, name), h('dd', {}, plain(value))])),
      ];
    });
  }

  /// The device itself is number 0; the others are those that it represents.
  #showDevices(state) {
    const {nicks, sub_devices: others, device_types: types, cloud} = state;
    renew(this.devices, [state.device_id, state.signed_in, nicks, others, types, cloud.device_names], () => {
      const all = {0: {device_id: state.device_id, presence: state.signed_in}, ...others};
      return Object.entries(all).map(([number, {device_id: id, presence}]) => h('li', {class: 'device', 'data-device': number},
        h('span', {class: `dot ${presence ? 'on' : 'off'}`, role: 'img', 'aria-label': presence ? 'present' : 'absent'}),
        h('span', {class: 'who'},
          h('strong', {}, plain(nicks[number] ?? cloud.device_names[number] ?? (number === '0' ? 'The device' : `Device ${number}`))),
          h('small', {}, plain([types[number], id].filter(Boolean).join(' · ')))),
        h('span', {class: 'number'}, `no. ${number}`)));
    });
  }
}
