// SPDX-License-Identifier: Apache-2.0
// A document as a tree that keeps open what is open when the document changes.
import {h, plain} from './dom.js';

const isBranch = (value) => value !== null && typeof value === 'object';
const shown = (value) => typeof value === 'string' ? `“${plain(value)}”` : String(value);

function sizeOf(value) {
  const count = Object.keys(value).length;
  if (count === 0)
    return 'none';
  return Array.isArray(value) ? String(count) : '';
}

export class Tree {
  #nodes = new Map(); // by name: {element, value, tree, leaf, size}

  constructor(element) {
    this.element = element;
  }

  show(document) {
    for (const name of [...this.#nodes.keys()].filter((known) => !(known in document)))
      this.#remove(name);
    for (const [name, value] of Object.entries(document))
      this.#showOne(name, value);
  }

  #remove(name) {
    this.#nodes.get(name).element.remove();
    this.#nodes.delete(name);
  }

  #showOne(name, value) {
    let node = this.#nodes.get(name);
    if (node && Boolean(node.tree) !== isBranch(value)) {
      this.#remove(name);
      node = undefined;
    }
    if (!node) {
      node = isBranch(value) ? this.#branch(name) : this.#leaf(name);
      this.#nodes.set(name, node);
      this.element.append(node.element);
    }
    if (node.tree) {
      node.size.textContent = sizeOf(value);
      node.tree.show(value);
    } else if (node.value.textContent !== shown(value)) {
      node.value.textContent = shown(value);
      node.value.className = `value ${value === null ? 'null' : typeof value}`;
    }
  }

  #branch(name) {
    const size = h('span', {class: 'size'});
    const inner = h('ul', {});
    const element = h('li', {}, h('details', {}, h('summary', {}, h('span', {class: 'name'}, plain(name)), size), inner));
    return {element, size, tree: new Tree(inner)};
  }

  #leaf(name) {
    const value = h('span', {class: 'value'});
    return {element: h('li', {class: 'leaf'}, h('span', {class: 'name'}, plain(name)), value), value};
  }
}
