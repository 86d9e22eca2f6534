// SPDX-License-Identifier: Apache-2.0
// The page: connects the agent's state and journal with the parts of the page, and switches between the views.
import {Agent} from './api.js';
import {Cloud} from './views/cloud.js';
import {byId, escapeInvisible, h, render, setText} from './dom.js';
import {Events} from './views/events.js';
import {Faults} from './views/faults.js';
import {makeForm} from './forms.js';
import {change, onMove} from './layout.js';
import {Management} from './views/management.js';
import {Phone, showDevice} from './views/phone.js';
import {Timeline} from './views/timeline.js';
import {Tree} from './views/tree.js';

const agent = new Agent();
const timeline = new Timeline({
  list: byId('entries'), text: byId('filter-text'), kind: byId('filter-kind'), name: byId('filter-name'),
  pause: byId('pause'), clear: byId('clear'), count: byId('entry-count'), live: byId('live'), latest: byId('latest'),
  legend: byId('legend'),
});
const tree = new Tree(byId('state-tree'));
const parts = [
  new Phone(byId('wizard'), agent),
  new Cloud({facts: byId('cloud-facts'), devices: byId('cloud-devices'), steps: byId('cloud-steps')}, agent),
  new Faults({form: byId('fault-form'), list: byId('pending-faults')}, agent),
  new Events({select: byId('event-name'), form: byId('event-form')}, agent),
  new Management({updates: byId('updates'), personalities: byId('personalities'), files: byId('files'),
    commands: byId('commands')}, agent),
];

// ---- the agent -------------------------------------------------------------------------------------------------------

let shownDescription = null;

function showState() {
  const {state, description} = agent;
  if (!state)
    return;
  if (shownDescription !== description) {
    shownDescription = description;
    parts.forEach((part) => part.describe());
    timeline.describe(description);
  }
  parts.forEach((part) => part.show(state));
  tree.show(state);
  showDevice(byId('device'), state);
  setText(byId('version'), state.version);
  render(byId('peers'), state.peers.map(({name}) => name), () =>
    state.peers.length === 0 ? 'No application is connected' : state.peers.map(({name}) => h('span', {class: 'peer'}, escapeInvisible(name))));
  document.title = `Agent ${state.version} · ${state.peers.map(({name}) => name).join(', ') || 'no application'}`;
}

agent.addEventListener('state', () => change('state', showState));
onMove(() => {
  showState();
  timeline.followIfUnused();
});

agent.addEventListener('entry', ({detail}) => {
  if (detail.update)
    timeline.addMark(`Update of the agent: ${detail.update}`);
  timeline.add(detail);
});
agent.addEventListener('replaced', () => timeline.addMark('Another agent has replaced the previous one. Its journal begins here.'));

const statuses = {
  connecting: ['Connecting', ''],
  connected: ['Connected', ''],
  disconnected: ['Not connected', 'The agent does not reply. The page keeps trying to reconnect.'],
  locked: ['Token required', ''],
};

agent.addEventListener('status', () => change('status', () => {
  const [name, message] = statuses[agent.status];
  const isLocked = agent.status === 'locked';
  document.body.dataset.status = agent.status;
  byId('status').textContent = name;
  byId('banner').hidden = message === '';
  byId('banner').textContent = message && agent.problem ? `${message} (${agent.problem})` : message;
  byId('locked').hidden = !isLocked;
  byId('main').inert = isLocked;
  if (isLocked)
    byId('token').focus();
}));

byId('unlock').append(makeForm({label: 'Use this token', name: 'unlock', primary: true, rows: byId('token-field'), run: async () => {
  agent.unlock(byId('token').value.trim().replace(/^.*#/, ''));
  byId('token').value = '';
  return 'Connecting …';
}}));

// ---- views and theme -------------------------------------------------------------------------------------------------

// A wide page shows the phone and the timeline all the time, and one of the other views between them.
const viewButtons = [...document.querySelectorAll('nav button')];

function showView(view) {
  document.body.dataset.view = view;
  if (!['phone', 'timeline'].includes(view))
    document.body.dataset.middle = view;
  for (const button of viewButtons) {
    button.classList.toggle('shown-in-middle', button.dataset.view === document.body.dataset.middle);
    if (button.dataset.view === view)
      button.setAttribute('aria-current', 'true');
    else
      button.removeAttribute('aria-current');
  }
}
viewButtons.forEach((button) => button.addEventListener('click', () => showView(button.dataset.view)));
showView('phone');

const theme = byId('theme');
theme.value = localStorage.getItem('korvane-theme') ?? 'auto';
const applyTheme = () => { document.documentElement.dataset.theme = theme.value; };
theme.addEventListener('change', () => {
  localStorage.setItem('korvane-theme', theme.value);
  applyTheme();
});
applyTheme();

agent.start();
