// SPDX-License-Identifier: Apache-2.0
// Elements without markup in texts: whatever comes from outside becomes a text node or an attribute, never HTML.

/// h('p', {class: 'note', onclick: run}, 'text', node, null, [nodes])
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

/// Puts children in the place of what is there, but leaves everything alone when nothing has changed: whoever is
/// typing or has the focus there is not disturbed.
export function renew(element, seen, make) {
  const key = JSON.stringify(seen);
  if (element.seen === key)
    return;
  element.seen = key;
  const focused = element.contains(document.activeElement) ? document.activeElement.dataset.key : undefined;
  element.replaceChildren(...[make()].flat(Infinity).filter(Boolean));
  if (focused)
    [...element.querySelectorAll('[data-key]')].find((one) => one.dataset.key === focused)?.focus();
}

let ids = 0;
export const freshId = (stem) => `${stem}-${++ids}`;

/// 'drop-session' reads as 'Drop session'.
export function inWords(name) {
  const words = name.replaceAll(/[-_]/g, ' ');
  return words.charAt(0).toUpperCase() + words.slice(1);
}

/// A name or a text whatever it holds; invisible and direction-changing characters are made visible, so that a
/// network cannot show itself as another.
export function plain(text) {
  return String(text).replaceAll(/[\p{Cc}\p{Cf}\p{Zl}\p{Zp}]/gu,
    (character) => `\\u{${character.codePointAt(0).toString(16)}}`);
}

export function compact(value) {
  if (typeof value === 'string')
    return plain(JSON.stringify(value));
  if (Array.isArray(value))
    return `[${value.map(compact).join(', ')}]`;
  if (value !== null && typeof value === 'object')
    return `{${Object.entries(value).map(([name, one]) => `${plain(name)} ${compact(one)}`).join(', ')}}`;
  return String(value);
}
