// SPDX-License-Identifier: Apache-2.0
// The agent itself: updates, personalities, snapshot and scenario files, and a form for every command.
import {arrange, formatJson, h, once, toLabel, toSentence} from '../dom.js';
import {fieldsOfCommand, makeFields, makeForm, makeOutcome} from '../forms.js';
import {change} from '../layout.js';

/// The value that a step of an update takes, for the steps that take one.
const updateValues = {
  complete: ({versions, version}) => ({name: 'value', label: 'To version', kind: 'choice', choices: versions, initial: version}),
  fail: () => ({name: 'value', label: 'Result code', kind: 'number', initial: -1}),
  ready: () => ({name: 'value', label: 'Ready', kind: 'choice', choices: ['on', 'off'], initial: 'on'}),
};

export class Management {
  #outcome = makeOutcome(); // of the personality buttons
  #update = once((step) => this.#makeUpdate(step));
  #personality = once((personality) => this.#makePersonality(personality));
  #command = once((command) => this.#makeCommand(command));

  constructor({updates, personalities, files, commands}, agent) {
    Object.assign(this, {updates, commands, agent});
    this.personalities = h('div', {class: 'buttons wrap'});
    personalities.append(this.personalities, this.#outcome.element);
    files.append(makeForm({label: 'Save a snapshot', name: 'snapshot', run: () => this.#save()}),
      this.#makeUpload('Restore a snapshot', 'restore', 'snapshot'), this.#makeUpload('Play a scenario', 'play', 'scenario'));
  }

  describe() {
    const steps = this.agent.command('update')?.parameters.find(({name}) => name === 'step')?.choices ?? [];
    arrange(this.updates, steps.map((step) => this.#update(step)));
    arrange(this.personalities, (this.agent.description.personalities ?? []).map((personality) => this.#personality(personality)));
    arrange(this.commands, this.agent.commands.map((command) => this.#command(command)));
  }

  #makeUpdate(step) {
    const fields = makeFields([updateValues[step]?.(this.agent.description)].filter(Boolean));
    return makeForm({label: toLabel(step), name: `update-${step}`, rows: fields.rows, run: async () => {
      const {value} = fields.read();
      const {announced} = await this.agent.run('update', {step, ...value !== undefined && {value: String(value)}});
      return announced === false ? 'Done, but not announced: there is no message bus.' : 'Done.';
    }});
  }

  #makePersonality({name, help}) {
    const run = () => this.agent.run('personality', {name}).then(
      () => this.#outcome.show(`The agent now has the personality ${toLabel(name).toLowerCase()}.`, true),
      (problem) => this.#outcome.show(problem.message, false));
    return h('button', {type: 'button', title: help, 'data-personality': name, onclick: run}, toLabel(name));
  }

  async #save() {
    const {snapshot} = await this.agent.get('snapshot');
    const url = URL.createObjectURL(new Blob([JSON.stringify(snapshot, null, 2)], {type: 'application/json'}));
    h('a', {href: url, download: `korvane-agent-${this.agent.description.version}.json`}).click();
    setTimeout(() => URL.revokeObjectURL(url), 60000);
    return 'Saved. The file contains the whole state, including secrets.';
  }

  /// A form that sends a JSON file as the only parameter of a command.
  #makeUpload(label, command, parameter) {
    const file = h('input', {type: 'file', accept: '.json,application/json', id: `file-${command}`, required: true});
    const row = h('div', {class: 'field'}, h('label', {for: file.id}, label), file);
    return makeForm({label: toLabel(command), name: command, rows: [row], run: async () => {
      let document;
      try {
        document = JSON.parse(await file.files[0].text());
      } catch (problem) {
        throw new Error(`The file is not valid JSON: ${problem.message}`);
      }
      await this.agent.run(command, {[parameter]: document});
    }});
  }

  #makeCommand(command) {
    const fields = makeFields(fieldsOfCommand(command));
    const result = h('pre', {hidden: true, tabindex: '0', 'aria-label': `Result of ${command.name}`});
    const form = makeForm({label: 'Run', name: `command-${command.name}`, rows: fields.rows, run: async () => {
      result.hidden = true;
      const {ok, ...rest} = await this.agent.run(command.name, fields.read());
      change(result, () => {
        result.hidden = Object.keys(rest).length === 0;
        result.textContent = formatJson(rest);
      });
    }});
    return h('details', {class: 'step', 'data-command': command.name},
      h('summary', {}, h('code', {}, command.name), ' ', h('small', {}, command.form)),
      h('p', {class: 'help'}, toSentence(command.help)), form, result);
  }

  show() {}
}
