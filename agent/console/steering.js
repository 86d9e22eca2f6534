// SPDX-License-Identifier: Apache-2.0
// What no phone and no cloud does: faults, events at will, updates, snapshots, and every command of the agent as a form.
import {h, inWords, plain, renew} from './dom.js';
import {fieldsOfCommand, fieldsOfEvent, makeFields, makeForm} from './forms.js';
import {sentence} from './phone.js';

const options = (names, words = (name) => name) => names.map((name) => h('option', {value: name}, words(name)));

function chooser(label, id, content) {
  const select = h('select', {id}, content);
  return {select, row: h('div', {class: 'field'}, h('label', {for: id}, label), select)};
}

// ---- faults ----------------------------------------------------------------------------------------------------------

export class Faults {
  constructor({form, coming}, agent) {
    Object.assign(this, {root: form, coming, agent});
  }

  describe() {
    const {methods, faults} = this.agent.description;
    const method = chooser('Requests of', 'fault-method', [h('option', {value: 'all'}, 'every method'), options(methods.map(({name}) => name))]);
    const fault = chooser('Go wrong so', 'fault-form', options(faults.map(({name}) => name), inWords));
    const help = h('p', {class: 'help', id: 'fault-help'});
    fault.select.setAttribute('aria-describedby', 'fault-help');
    const numbers = makeFields([{name: 'value', kind: 'number', initial: 0}, {name: 'times', label: 'How often', kind: 'number', initial: 1}]);
    const known = () => faults.find(({name}) => name === fault.select.value);
    const follow = () => {
      help.textContent = sentence(known().help);
      numbers.rows[0].hidden = !known().value;
      numbers.rows[0].querySelector('label').textContent = {MS: 'Milliseconds', CODE: 'Result', N: 'Number'}[known().value] ?? 'Number';
    };
    fault.select.addEventListener('change', follow);
    follow();
    this.root.replaceChildren(makeForm({
      label: 'Set', name: 'fault', primary: true, rows: [method.row, fault.row, help, h('div', {class: 'pair'}, numbers.rows)],
      run: async () => {
        const {value, times} = numbers.read();
        await this.agent.run('fault', {method: method.select.value, form: known().name, times, ...known().value && {value}});
      },
    }));
  }

  show({faults}) {
    renew(this.coming, faults, () => Object.entries(faults).map(([method, {fault, value, times}]) => {
      const form = this.agent.description.faults.find(({name}) => name === fault);
      const back = () => this.agent.run('fault', {method, form: fault, times: 0, ...form?.value && {value}}).catch(() => {});
      return h('li', {class: 'coming', 'data-fault': method},
        h('span', {}, h('b', {}, method === 'all' ? 'every method' : plain(method)), ` ${inWords(fault)}`,
          form?.value ? ` ${value}` : '', h('small', {}, times === 1 ? ' once' : ` ${times} times`)),
        h('button', {type: 'button', 'data-key': method, onclick: back, 'aria-label': `Take back the fault of ${method}`}, 'Take back'));
    }));
  }
}

// ---- events ----------------------------------------------------------------------------------------------------------

export class Events {
  constructor({choice, form}, agent) {
    Object.assign(this, {choice, root: form, agent});
    choice.addEventListener('change', () => this.#make());
  }

  describe() {
    const before = this.choice.value;
    this.choice.replaceChildren(...options(this.agent.description.events.map(({name}) => name)));
    if (before)
      this.choice.value = before;
    this.#make();
  }

  #make() {
    const event = this.agent.description.events.find(({name}) => name === this.choice.value);
    if (!event)
      return this.root.replaceChildren();
    const fields = makeFields(fieldsOfEvent(event));
    this.heard = h('p', {class: 'note'});
    this.root.replaceChildren(this.heard, makeForm({
      label: 'Emit', name: 'emit', primary: true, rows: fields.rows,
      run: async () => {
        const values = fields.read();
        const {peers} = await this.agent.run('emit', {event: event.name, values: event.values.map(({name}) => values[name])});
        if (peers === 0)
          throw new Error('Nobody has registered for it, so nobody heard it.');
        return peers === 1 ? 'One application heard it.' : `${peers} applications heard it.`;
      },
    }));
    if (this.agent.state)
      this.show(this.agent.state);
  }

  show({peers}) {
    if (!this.heard)
      return;
    const listening = peers.filter(({delegates}) => delegates.includes(this.choice.value));
    this.heard.textContent = listening.length > 0 ? `Listening: ${listening.map(({name}) => plain(name)).join(', ')}`
      : 'No application has registered for it.';
  }
}

// ---- the agent itself ------------------------------------------------------------------------------------------------

/// What follows a step of an update, where something does.
const valueOfUpdate = {
  complete: ({versions}, now) => ({name: 'value', label: 'As version', kind: 'choice', choices: versions, initial: now}),
  fail: () => ({name: 'value', label: 'With code', kind: 'number', initial: -1}),
  ready: () => ({name: 'value', label: 'Ready', kind: 'choice', choices: ['on', 'off'], initial: 'on'}),
};

export class Management {
  constructor(parts, agent) {
    Object.assign(this, parts); // updates, personalities, files, commands
    this.agent = agent;
  }

  describe() {
    this.#updates();
    this.#personalities();
    this.#files();
    this.commands.replaceChildren(...this.agent.commands.map((command) => this.#command(command)));
  }

  #choicesOf(command, parameter) {
    return this.agent.command(command)?.parameters.find(({name}) => name === parameter)?.choices ?? [];
  }

  #updates() {
    const {description} = this.agent;
    this.updates.replaceChildren(...this.#choicesOf('update', 'step').map((step) => {
      const fields = makeFields([valueOfUpdate[step]?.(description, description.version)].filter(Boolean));
      return makeForm({label: inWords(step), name: `update-${step}`, rows: fields.rows, run: async () => {
        const {value} = fields.read();
        const {announced} = await this.agent.run('update', {step, ...value !== undefined && {value: String(value)}});
        return announced === false ? 'Done, but not announced: there is no message bus.' : 'Done.';
      }});
    }));
  }

  #personalities() {
    const said = h('p', {class: 'outcome', 'aria-live': 'polite'});
    const tell = (text, good) => {
      said.className = `outcome ${good ? 'good' : 'refusal'}`;
      said.textContent = text;
    };
    const button = (personality) => {
      const name = personality.name ?? personality;
      return h('button', {type: 'button', title: personality.help, 'data-personality': name, onclick: () =>
        this.agent.run('personality', {name}).then(() => tell(`The agent is ${inWords(name).toLowerCase()} now.`, true),
          (problem) => tell(problem.message, false))}, inWords(name));
    };
    this.personalities.replaceChildren(h('div', {class: 'buttons wrap'}, (this.agent.description.personalities ?? []).map(button)), said);
  }

  #files() {
    const save = async () => {
      const {snapshot} = await this.agent.ask('snapshot');
      const url = URL.createObjectURL(new Blob([JSON.stringify(snapshot, null, 2)], {type: 'application/json'}));
      h('a', {href: url, download: `korvane-agent-${this.agent.description.version}.json`}).click();
      setTimeout(() => URL.revokeObjectURL(url), 60000);
      return 'Saved. It holds what the state holds, secrets too.';
    };
    this.files.replaceChildren(makeForm({label: 'Save a snapshot', name: 'snapshot', run: save}),
      this.#upload('Restore a snapshot', 'restore', 'snapshot'), this.#upload('Play a scenario', 'play', 'scenario'));
  }

  /// A file of JSON becomes the one parameter of a command.
  #upload(label, command, parameter) {
    const file = h('input', {type: 'file', accept: '.json,application/json', id: `file-${command}`, required: true});
    const row = h('div', {class: 'field'}, h('label', {for: file.id}, label), file);
    return makeForm({label: inWords(command), name: command, rows: [row], run: async () => {
      let document;
      try {
        document = JSON.parse(await file.files[0].text());
      } catch (problem) {
        throw new Error(`That file is no JSON: ${problem.message}`);
      }
      await this.agent.run(command, {[parameter]: document});
    }});
  }

  #command(command) {
    const fields = makeFields(fieldsOfCommand(command));
    const answer = h('pre', {hidden: true, tabindex: '0', 'aria-label': `Answer of ${command.name}`});
    const form = makeForm({label: 'Run', name: `command-${command.name}`, rows: fields.rows, run: async () => {
      answer.hidden = true;
      const {ok, ...rest} = await this.agent.run(command.name, fields.read());
      answer.hidden = Object.keys(rest).length === 0;
      answer.textContent = JSON.stringify(rest, null, 2).split('\n').map(plain).join('\n');
    }});
    return h('details', {class: 'step', 'data-command': command.name},
      h('summary', {}, h('code', {}, command.name), ' ', h('small', {}, command.form)), h('p', {class: 'help'}, sentence(command.help)), form, answer);
  }

  show() {}
}
