// SPDX-License-Identifier: Apache-2.0
// Shows a document as a tree. A branch that the user has opened stays open while the document changes, even if the
// branch is absent for a while.
import {arrange, escapeInvisible, h, setText} from '../dom.js';

const isBranch = (value) => value !== null && typeof value === 'object';
const format = (value) => typeof value === 'string' ? `“${escapeInvisible(value)}”` : String(value);

function sizeOf(value) {
  const count = Object.keys(value).length;
  if (count === 0)
    return 'empty';
  return Array.isArray(value) ? String(count) : '';
}

export class Tree {
  #branches = new Map(); // {element, size, tree} by name
  #leaves = new Map();   // {element, value} by name

  constructor(element) {
    this.element = element;
  }

  show(document) {
    arrange(this.element, Object.entries(document).map(([name, value]) =>
      isBranch(value) ? this.#showBranch(name, value) : this.#showLeaf(name, value)));
  }

  #showBranch(name, value) {
    if (!this.#branches.has(name)) {
      const size = h('span', {class: 'size'});
      const list = h('ul', {});
      const element = h('li', {}, h('details', {}, h('summary', {}, h('span', {class: 'name'}, escapeInvisible(name)), size), list));
      this.#branches.set(name, {element, size, tree: new Tree(list)});
    }
    const {element, size, tree} = this.#branches.get(name);
    setText(size, sizeOf(value));
    tree.show(value);
    return element;
  }

  #showLeaf(name, value) {
    if (!this.#leaves.has(name)) {
      const shown = h('span', {});
      this.#leaves.set(name, {element: h('li', {class: 'leaf'}, h('span', {class: 'name'}, escapeInvisible(name)), shown), shown});
    }
    const {element, shown} = this.#leaves.get(name);
    setText(shown, format(value));
    shown.className = `value ${value === null ? 'null' : typeof value}`;
    return element;
  }
}
