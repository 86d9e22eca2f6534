// SPDX-License-Identifier: Apache-2.0
// Applies changes to the page without moving what the user is about to use.
//
// The agent reports changes at any moment. A step that vanishes between the press and the release of a mouse button
// moves the page, and the browser drops the click. A step that vanishes just before the press puts something else under
// the pointer. Therefore every change that the user did not make goes through change(), which keeps two rules:
//
// - While a pointer or the space bar is pressed, changes wait. They are applied after the click.
// - Otherwise they are applied at once, and each scroll area is scrolled so that the element under the pointer, or the
//   element with the focus, keeps its position on the screen. Where there is not enough to scroll, the area is padded.

const scrollAreas = '.view:not(#view-timeline), #entries';
const pressedBySpace = 'button, summary, input:is([type="checkbox"], [type="radio"], [type="file"])'; // on key-up
const clickDelayMs = 350; // a browser sends the click of a touch this long after the finger has left the screen

const pending = new Map(); // changes that wait, by key
const pressed = new Set(); // pointer ids, and 'Space'
const moveListeners = [];
let applying = false;
let pointer = null;        // {x, y} of a mouse or a pen
let keyboardUsed = false;  // whether the latest input came from the keyboard
let areasInUse = [];

/// Runs `apply` as soon as nothing is pressed. A later change with the same key replaces one that still waits.
export function change(key, apply) {
  if (applying)
    return apply();
  pending.set(key, apply);
  if (pressed.size === 0)
    applyPending();
}

/// Whether the user points into `element`, or has the keyboard focus there.
export function isInUse(element) {
  return elementsInUse().some((used) => element.contains(used));
}

/// Calls `listener`, inside a change, after the pointer or the focus has entered or left a scroll area.
export function onMove(listener) {
  moveListeners.push(listener);
}

function applyPending() {
  const used = elementsInUse();
  const restore = [...document.querySelectorAll(scrollAreas)].map((area) => holdPosition(area, used));
  const changes = [...pending.values()];
  pending.clear();
  applying = true;
  try {
    changes.forEach((apply) => apply());
  } finally {
    applying = false;
    restore.forEach((one) => one());
  }
}

// ---- positions -------------------------------------------------------------------------------------------------------

/// The elements that must not move, the more important one first. A button that was clicked keeps the focus without
/// showing it; it does not count.
function elementsInUse() {
  const pointed = pointer && document.elementFromPoint(pointer.x, pointer.y);
  const focused = document.activeElement?.matches(':focus-visible') ? document.activeElement : null;
  return (keyboardUsed ? [focused, pointed] : [pointed, focused]).filter(Boolean);
}

/// Returns a function that scrolls `area` so that its anchor is where it was. If the anchor has vanished, the innermost
/// element around it that is still shown takes its place.
function holdPosition(area, used) {
  const anchors = [];
  for (let element = used.find((one) => area.contains(one)); element && element !== area; element = element.parentElement)
    anchors.push({element, top: element.getBoundingClientRect().top});
  area.style.overflowAnchor = anchors.length > 0 ? 'none' : ''; // the browser keeps other areas in place by itself
  return () => {
    area.style.paddingTop = area.style.paddingBottom = '';
    const anchor = anchors.find(({element}) => element.isConnected && element.checkVisibility());
    if (anchor)
      scrollBy(area, anchor.element.getBoundingClientRect().top - anchor.top);
  };
}

/// Moves the contents up by `distance`, where necessary with more padding above or below them.
function scrollBy(area, distance) {
  if (Math.abs(distance) < 0.01)
    return;
  const wanted = area.scrollTop + distance;
  const scrollTop = Math.max(0, Math.ceil(wanted)); // browsers may round it
  const {paddingTop, paddingBottom} = getComputedStyle(area);
  area.style.paddingTop = `${parseFloat(paddingTop) + scrollTop - wanted}px`;
  const end = scrollTop + area.clientHeight;
  area.style.paddingBottom = `${parseFloat(paddingBottom) + end}px`; // so that the contents overflow and can be measured
  const missing = end - (area.scrollHeight - end);
  area.style.paddingBottom = missing < 0 ? '' : `${parseFloat(paddingBottom) + missing + 1}px`;
  area.scrollTop = scrollTop;
}

// ---- input -----------------------------------------------------------------------------------------------------------

function release(key) {
  if (pressed.delete(key) && pressed.size === 0 && pending.size > 0)
    applyPending();
}

function notifyMove() {
  const now = elementsInUse().map((used) => used.closest(scrollAreas)).filter(Boolean);
  const same = now.every((area) => areasInUse.includes(area)) && areasInUse.every((area) => now.includes(area));
  areasInUse = now;
  if (same)
    return;
  change('move', () => moveListeners.forEach((listener) => listener()));
}

function trackPointer({clientX: x, clientY: y, pointerType}) {
  if (pointerType === 'touch')
    pointer = null;
  else if (pointer?.x !== x || pointer?.y !== y) {
    pointer = {x, y};
    keyboardUsed = false;
  }
}

const listen = (type, handle) => addEventListener(type, handle, {capture: true, passive: true});

listen('pointerdown', (event) => {
  trackPointer(event);
  pressed.add(event.pointerId);
});
listen('pointermove', (event) => {
  trackPointer(event);
  if (event.buttons === 0)
    release(event.pointerId); // its release happened outside the window
  notifyMove();
});
// The browser sends the click of a mouse before any timer runs.
for (const type of ['pointerup', 'pointercancel'])
  listen(type, ({pointerId, pointerType}) => setTimeout(() => release(pointerId), pointerType === 'mouse' ? 0 : clickDelayMs));
document.documentElement.addEventListener('pointerleave', () => {
  pointer = null;
  notifyMove();
});
listen('keydown', ({code, target}) => {
  keyboardUsed = true;
  if (code === 'Space' && target.matches(pressedBySpace))
    pressed.add(code);
});
listen('keyup', ({code}) => setTimeout(() => release(code), 0));
listen('focusin', notifyMove);
listen('focusout', () => setTimeout(notifyMove, 0));
listen('blur', ({target}) => target === window && [...pressed].forEach(release));
