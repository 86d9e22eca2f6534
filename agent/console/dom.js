// SPDX-License-Identifier: Apache-2.0
// Creates and updates elements. Text from outside becomes a text node or an attribute, never HTML.

/// Creates an element: h('p', {class: 'note', onclick: run}, 'text', node, null, [nodes])
export function h(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value === undefined || value === null || value === false)
      continue;
    if (name.startsWith('on'))
      element.addEventListener(name.slice(2), value);
    else if (name === 'value')
      element.value = value;
    else
      element.setAttribute(name, value === true ? '' : value);
  }
  element.append(...children.flat(Infinity).filter((child) => child !== null && child !== undefined && child !== false));
  return element;
}

export const byId = (id) => document.getElementById(id);

const renderedInputs = new WeakMap();

/// Replaces the children of `element` with those that `make` returns, if `input` differs from the previous call.
export function render(element, input, make) {
  const key = JSON.stringify(input);
  if (renderedInputs.get(element) === key)
    return;
  renderedInputs.set(element, key);
  element.replaceChildren(...[make()].flat(Infinity).filter(Boolean));
}

/// Makes `children` the children of `parent`. Those that are in their place are not touched, so they keep the focus.
export function arrange(parent, children) {
  for (const child of [...parent.children])
    if (!children.includes(child))
      child.remove();
  children.forEach((child, index) => {
    if (parent.children[index] !== child)
      parent.insertBefore(child, parent.children[index] ?? null);
  });
}

/// Returns a function that calls `make` once for each different argument and returns the same result again later.
/// A form that is not needed for a while therefore keeps its contents.
export function once(make) {
  const results = new Map();
  return (argument) => {
    const key = JSON.stringify(argument);
    if (!results.has(key))
      results.set(key, make(argument));
    return results.get(key);
  };
}

export function setText(element, text) {
  if (element.textContent !== text)
    element.textContent = text;
}

export const options = (names, toText = (name) => name) => names.map((name) => h('option', {value: name}, toText(name)));

/// Replaces the options of `select` and keeps what is selected, if it is among the new ones.
export function setOptions(select, ...children) {
  const {value} = select;
  select.replaceChildren(...children.flat());
  select.value = value;
  if (select.selectedIndex < 0)
    select.selectedIndex = 0;
}

let ids = 0;
export const uniqueId = (stem) => `${stem}-${++ids}`;

// ---- texts -----------------------------------------------------------------------------------------------------------

/// Turns a name into a label: 'drop-session' becomes 'Drop session'.
export function toLabel(name) {
  const words = name.replaceAll(/[-_]/g, ' ');
  return words.charAt(0).toUpperCase() + words.slice(1);
}

export function toSentence(help) {
  return help ? help.charAt(0).toUpperCase() + help.slice(1) + (/[.?!]$/.test(help) ? '' : '.') : '';
}

/// Escapes invisible and direction-changing characters, so that a network cannot imitate the name of another.
export function escapeInvisible(text) {
  return String(text).replaceAll(/[\p{Cc}\p{Cf}\p{Zl}\p{Zp}]/gu,
    (character) => `\\u{${character.codePointAt(0).toString(16)}}`);
}

/// Formats a value on one line.
export function formatValue(value) {
  if (typeof value === 'string')
    return escapeInvisible(JSON.stringify(value));
  if (Array.isArray(value))
    return `[${value.map(formatValue).join(', ')}]`;
  if (value !== null && typeof value === 'object')
    return `{${formatMembers(value)}}`;
  return String(value);
}

/// Formats the members of an object. `nameOf` returns the name of a number by member and value, or nothing.
export function formatMembers(object, nameOf = () => undefined) {
  return Object.entries(object).map(([name, value]) => {
    const meaning = nameOf(name, value);
    return `${escapeInvisible(name)} ${formatValue(value)}${meaning === undefined ? '' : ` (${meaning})`}`;
  }).join(', ');
}

/// Formats a value as indented JSON.
export function formatJson(value) {
  return JSON.stringify(value, null, 2).split('\n').map(escapeInvisible).join('\n');
}
