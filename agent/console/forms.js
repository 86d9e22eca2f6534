// SPDX-License-Identifier: Apache-2.0
// Forms made from what the agent says of its commands, steps and events.
import {freshId, h, inWords} from './dom.js';

/// A field: {name, kind, choices, optional, initial}. Kinds: text, number, flag, json, textOrJson, list.
const kindOf = {TEXT: 'text', N: 'number', BOOL: 'flag', OBJECT: 'json', '[ID,...]': 'list', 'TEXT|OBJECT': 'textOrJson'};
const oneType = String.raw`(?:TEXT|N|BOOL|OBJECT|\[ID,\.\.\.\]|"[^"]*"(?!:))`;
const member = new RegExp(String.raw`"([\w-]+)":(${oneType}(?:\|${oneType})*)`, 'g');

/// The fields of a step from its form, {"kind":"display"|"label"[,"pin":TEXT]}.
export function fieldsOfStep(form) {
  const fields = [];
  for (const [whole, name, type] of form.matchAll(member)) {
    const choices = [...type.matchAll(/"([^"]*)"/g)].map(([, choice]) => choice);
    const before = form.slice(0, form.indexOf(whole));
    const optional = (before.match(/\[/g)?.length ?? 0) > (before.match(/\]/g)?.length ?? 0);
    fields.push({name, kind: choices.length > 0 ? 'choice' : kindOf[type] ?? 'json', choices, optional});
  }
  return fields;
}

const kindOfParameter = {word: 'text', number: 'number', json: 'json'};
export function fieldsOfCommand({parameters}) {
  return parameters.map(({name, kind, required, choices}) => (
    {name, kind: choices ? 'choice' : kindOfParameter[kind] ?? 'json', choices, optional: !required}));
}

const kindOfValue = {int32: 'number', bool: 'flag', string: 'textOrJson'};
export function fieldsOfEvent(event) {
  return event.values.map(({name, type}, index) => (
    {name, kind: kindOfValue[type] ?? 'json', optional: false, initial: event.default?.[index]}));
}

function shownInitial(initial) {
  if (initial === undefined || initial === null)
    return '';
  return typeof initial === 'object' ? JSON.stringify(initial, null, 1) : String(initial);
}

function inputOf(field, id) {
  const {kind, initial} = field;
  const common = {id, name: field.name, autocomplete: 'off', spellcheck: 'false'};
  if (kind === 'flag')
    return h('input', {...common, type: 'checkbox', checked: initial !== false});
  if (kind === 'choice')
    return h('select', common, field.optional && initial === undefined ? h('option', {value: ''}, '') : null,
      field.choices.map((choice) => h('option', {value: choice, selected: choice === initial}, inWords(choice))));
  if (kind === 'number')
    return h('input', {...common, type: 'number', step: 1, required: !field.optional, value: shownInitial(initial)});
  if (kind === 'json' || typeof initial === 'object')
    return h('textarea', {...common, rows: Math.min(6, shownInitial(initial).split('\n').length), required: !field.optional,
      value: shownInitial(initial)});
  // What cannot be missing can be empty all the same.
  return h('input', {...common, type: field.secret ? 'password' : 'text', value: shownInitial(initial)});
}

function readJson(text, name) {
  try {
    return JSON.parse(text);
  } catch (problem) {
    throw new Error(`“${inWords(name)}” is no JSON: ${problem.message}`);
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
  case 'json': return readJson(text, field.name);
  case 'textOrJson': return /^\s*[{[]/.test(text) ? readJson(text, field.name) : text;
  case 'list': return text.split(/[\s,]+/).filter(Boolean);
  default: return text;
  }
}

/// Labelled inputs, and a function that reads them; it throws with a sentence.
export function makeFields(fields) {
  const inputs = fields.map((field) => {
    const id = freshId(field.name);
    return {field, id, input: inputOf(field, id)};
  });
  const rows = inputs.map(({field, id, input}) => h('div', {class: `field ${field.kind}`},
    h('label', {for: id}, field.label ?? inWords(field.name), field.optional && h('span', {class: 'optional'}, ' optional')),
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

/// A form that does something when it is sent, and tells below its button how that went, in the agent's words.
export function makeForm({label, rows = [], run, name, primary = false, beside = [], described}) {
  const outcome = h('p', {class: 'outcome', 'aria-live': 'polite'});
  const button = h('button', {type: 'submit', class: primary ? 'primary' : '', title: described}, label);
  const form = h('form', {'data-form': name, novalidate: true}, rows, h('div', {class: 'buttons'}, button, beside), outcome);
  form.tell = (text, good) => {
    outcome.className = `outcome ${good ? 'good' : 'refusal'}`;
    outcome.textContent = text;
  };
  form.quiet = () => form.tell('', true);
  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    if (!form.checkValidity())
      return form.tell('Fill in what is marked first.', false);
    form.setAttribute('aria-busy', 'true');
    try {
      form.tell(await run() ?? 'Done.', true);
    } catch (problem) {
      form.tell(problem.message, false);
    } finally {
      form.removeAttribute('aria-busy');
    }
  });
  form.button = button;
  return form;
}
