// SPDX-License-Identifier: Apache-2.0
// Builds forms from the agent's description of its commands, steps and events.
import {h, toLabel, uniqueId} from './dom.js';
import {change} from './layout.js';

/// A field is {name, kind, choices, optional, initial}. The kinds are text, number, flag, choice, json, textOrJson and
/// list.
const kindOfType = {TEXT: 'text', N: 'number', BOOL: 'flag', OBJECT: 'json', '[ID,...]': 'list', 'TEXT|OBJECT': 'textOrJson'};
const oneType = String.raw`(?:TEXT|N|BOOL|OBJECT|\[ID,\.\.\.\]|"[^"]*"(?!:))`;
const member = new RegExp(String.raw`"([\w-]+)":(${oneType}(?:\|${oneType})*)`, 'g');

/// Parses the fields of a step from its syntax: {"kind":"display"|"label"[,"pin":TEXT]}.
export function fieldsOfStep(syntax) {
  const fields = [];
  for (const [whole, name, type] of syntax.matchAll(member)) {
    const choices = [...type.matchAll(/"([^"]*)"/g)].map(([, choice]) => choice);
    const before = syntax.slice(0, syntax.indexOf(whole));
    const optional = (before.match(/\[/g)?.length ?? 0) > (before.match(/\]/g)?.length ?? 0);
    fields.push({name, kind: choices.length > 0 ? 'choice' : kindOfType[type] ?? 'json', choices, optional});
  }
  return fields;
}

const kindOfParameter = {word: 'text', number: 'number', json: 'json'};
export function fieldsOfCommand({parameters}) {
  return parameters.map(({name, kind, required, choices}) => (
    {name, kind: choices ? 'choice' : kindOfParameter[kind] ?? 'json', choices, optional: !required}));
}

const kindOfEventValue = {int32: 'number', bool: 'flag', string: 'textOrJson'};
export function fieldsOfEvent(event) {
  return event.values.map(({name, type}, index) => (
    {name, kind: kindOfEventValue[type] ?? 'json', optional: false, initial: event.default?.[index]}));
}

function toInputText(initial) {
  if (initial === undefined || initial === null)
    return '';
  return typeof initial === 'object' ? JSON.stringify(initial, null, 1) : String(initial);
}

function makeInput(field, id) {
  const {kind, initial} = field;
  const common = {id, name: field.name, autocomplete: 'off', spellcheck: 'false'};
  if (kind === 'flag')
    return h('input', {...common, type: 'checkbox', checked: initial !== false});
  if (kind === 'choice')
    return h('select', common, field.optional && initial === undefined ? h('option', {value: ''}, '') : null,
      field.choices.map((choice) => h('option', {value: choice, selected: choice === initial}, toLabel(choice))));
  if (kind === 'number')
    return h('input', {...common, type: 'number', step: 1, required: !field.optional, value: toInputText(initial)});
  if (kind === 'json' || typeof initial === 'object')
    return h('textarea', {...common, rows: Math.min(6, toInputText(initial).split('\n').length), required: !field.optional,
      value: toInputText(initial)});
  // Not marked as required: an empty text is a valid value.
  return h('input', {...common, type: field.secret ? 'password' : 'text', value: toInputText(initial)});
}

function parseJson(text, name) {
  try {
    return JSON.parse(text);
  } catch (problem) {
    throw new Error(`“${toLabel(name)}” is not valid JSON: ${problem.message}`);
  }
}

function readInput(field, input) {
  if (field.kind === 'flag')
    return input.checked;
  const text = input.value;
  if (text === '' && (field.optional || field.kind === 'choice'))
    return undefined;
  switch (field.kind) {
  case 'number': return Number(text);
  case 'json': return parseJson(text, field.name);
  case 'textOrJson': return /^\s*[{[]/.test(text) ? parseJson(text, field.name) : text;
  case 'list': return text.split(/[\s,]+/).filter(Boolean);
  default: return text;
  }
}

/// Creates labelled inputs. `read` returns their values and throws an Error for an invalid one.
export function makeFields(fields) {
  const inputs = fields.map((field) => {
    const id = uniqueId(field.name);
    return {field, id, input: makeInput(field, id)};
  });
  const rows = inputs.map(({field, id, input}) => h('div', {class: `field ${field.kind}`},
    h('label', {for: id}, field.label ?? toLabel(field.name), field.optional && h('span', {class: 'optional'}, ' optional')),
    input));
  const read = () => {
    const values = {};
    for (const {field, input} of inputs) {
      const value = readInput(field, input);
      if (value !== undefined)
        values[field.name] = value;
    }
    return values;
  };
  return {rows, read, input: (name) => inputs.find(({field}) => field.name === name)?.input};
}

/// Creates a line that shows the result of an action.
export function makeOutcome() {
  const element = h('p', {class: 'outcome', 'aria-live': 'polite'});
  const show = (text, succeeded) => change(element, () => {
    element.className = `outcome ${succeeded ? 'good' : 'refusal'}`;
    element.textContent = text;
  });
  return {element, show};
}

/// Creates a form that calls `run` on submit and shows its result, or its Error, below the button.
/// `form.edited` is true while the form has input that was not submitted.
export function makeForm({label, rows = [], run, name, primary = false, beside = []}) {
  const outcome = makeOutcome();
  const button = h('button', {type: 'submit', class: primary ? 'primary' : ''}, label);
  const form = h('form', {'data-form': name, novalidate: true}, rows, h('div', {class: 'buttons'}, button, beside), outcome.element);
  form.button = button;
  form.edited = false;
  form.addEventListener('input', () => { form.edited = true; });
  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    if (!form.checkValidity())
      return outcome.show('Fill in the marked fields first.', false);
    form.edited = false;
    form.setAttribute('aria-busy', 'true');
    try {
      outcome.show(await run() ?? 'Done.', true);
    } catch (problem) {
      outcome.show(problem.message, false);
    } finally {
      form.removeAttribute('aria-busy');
    }
  });
  return form;
}
