// SPDX-License-Identifier: Apache-2.0
// Emits any event with any values, and shows which applications receive it.
import {escapeInvisible, h, once, options, setOptions, setText} from '../dom.js';
import {fieldsOfEvent, makeFields, makeForm} from '../forms.js';

export class Events {
  #receivers = h('p', {class: 'note'});
  #form = once((event) => this.#makeForm(event));

  constructor({select, form}, agent) {
    Object.assign(this, {select, root: form, agent});
    select.addEventListener('change', () => this.#showForm());
  }

  describe() {
    setOptions(this.select, options(this.agent.description.events.map(({name}) => name)));
    this.#showForm();
  }

  #showForm() {
    const form = this.#form(this.agent.description.events.find(({name}) => name === this.select.value));
    if (!form.isConnected)
      this.root.replaceChildren(this.#receivers, form);
    if (this.agent.state)
      this.show(this.agent.state);
  }

  #makeForm(event) {
    const fields = makeFields(fieldsOfEvent(event));
    return makeForm({
      label: 'Emit', name: 'emit', primary: true, rows: fields.rows,
      run: async () => {
        const values = fields.read();
        const {peers} = await this.agent.run('emit', {event: event.name, values: event.values.map(({name}) => values[name])});
        if (peers === 0)
          throw new Error('No application has registered for this event, so none has received it.');
        return peers === 1 ? '1 application has received it.' : `${peers} applications have received it.`;
      },
    });
  }

  show({peers}) {
    const receivers = peers.filter(({delegates}) => delegates.includes(this.select.value));
    setText(this.#receivers, receivers.length > 0 ? `Receivers: ${receivers.map(({name}) => escapeInvisible(name)).join(', ')}`
      : 'No application has registered for this event.');
  }
}
