// SPDX-License-Identifier: Apache-2.0
// Faults: a form that injects one, and the list of pending faults.
import {arrange, escapeInvisible, h, once, options, render, setOptions, toLabel, toSentence} from '../dom.js';
import {makeFields, makeForm} from '../forms.js';

function makeSelect(label, id) {
  const select = h('select', {id});
  return {select, row: h('div', {class: 'field'}, h('label', {for: id}, label), select)};
}

export class Faults {
  #method = makeSelect('Method', 'fault-method');
  #fault = makeSelect('Fault', 'fault-kind');
  #help = h('p', {class: 'help', id: 'fault-help'});
  #numbers = makeFields([{name: 'value', kind: 'number', initial: 0}, {name: 'times', label: 'Requests', kind: 'number', initial: 1}]);
  #row = once((method) => this.#makeRow(method));

  constructor({form, list}, agent) {
    Object.assign(this, {list, agent});
    this.#fault.select.setAttribute('aria-describedby', 'fault-help');
    this.#fault.select.addEventListener('change', () => this.#follow());
    form.append(makeForm({
      label: 'Inject', name: 'fault', primary: true,
      rows: [this.#method.row, this.#fault.row, this.#help, h('div', {class: 'pair'}, this.#numbers.rows)],
      run: () => this.#inject(),
    }));
  }

  describe() {
    const {methods, faults} = this.agent.description;
    setOptions(this.#method.select, h('option', {value: 'all'}, 'All methods'), options(methods.map(({name}) => name)));
    setOptions(this.#fault.select, options(faults.map(({name}) => name), toLabel));
    this.#follow();
  }

  #described(name = this.#fault.select.value) {
    return this.agent.description.faults.find((fault) => fault.name === name);
  }

  /// Explains the selected fault and shows the field that it needs.
  #follow() {
    const {help, value} = this.#described();
    this.#help.textContent = toSentence(help);
    this.#numbers.rows[0].hidden = !value;
    this.#numbers.rows[0].querySelector('label').textContent = {MS: 'Milliseconds', CODE: 'Result', N: 'Number'}[value] ?? 'Number';
  }

  async #inject() {
    const {value, times} = this.#numbers.read();
    const {name, value: needed} = this.#described();
    await this.agent.run('fault', {method: this.#method.select.value, form: name, times, ...needed && {value}});
  }

  show({faults}) {
    const methods = Object.keys(faults);
    arrange(this.list, methods.map((method) => this.#row(method).element));
    for (const method of methods) {
      const {fault, value, times} = faults[method];
      const row = this.#row(method);
      row.fault = faults[method];
      render(row.text, faults[method], () => [h('b', {}, method === 'all' ? 'All methods' : escapeInvisible(method)),
        ` ${toLabel(fault)}${this.#described(fault)?.value ? ` ${value}` : ''} `, h('small', {}, times === 1 ? '1 request' : `${times} requests`)]);
    }
  }

  #makeRow(method) {
    const row = {text: h('span', {})};
    const remove = () => this.agent.run('fault', {method, form: row.fault.fault, times: 0,
      ...this.#described(row.fault.fault)?.value && {value: row.fault.value}}).catch(() => {}); // the row stays
    row.element = h('li', {class: 'pending-fault', 'data-fault': method}, row.text,
      h('button', {type: 'button', onclick: remove, 'aria-label': `Remove the fault of ${method}`}, 'Remove'));
    return row;
  }
}
