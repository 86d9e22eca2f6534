// SPDX-License-Identifier: Apache-2.0
// The page as a whole: which part is shown, how the agent is, and who is told when something has changed.
import {Agent} from './api.js';
import {Cloud} from './cloud.js';
import {byId, h, plain, renew} from './dom.js';
import {makeForm} from './forms.js';
import {Phone, showDevice} from './phone.js';
import {Events, Faults, Management} from './steering.js';
import {Timeline} from './timeline.js';
import {Tree} from './tree.js';

const agent = new Agent();
const timeline = new Timeline({
  list: byId('entries'), text: byId('filter-text'), kind: byId('filter-kind'), method: byId('filter-method'),
  pause: byId('pause'), clear: byId('clear'), count: byId('entry-count'), live: byId('live'), newest: byId('newest'),
});
const tree = new Tree(byId('state-tree'));
const parts = [
  new Phone(byId('wizard'), agent),
  new Cloud({facts: byId('cloud-facts'), devices: byId('cloud-devices'), steps: byId('cloud-steps')}, agent),
  new Faults({form: byId('fault-set'), coming: byId('faults-coming')}, agent),
  new Events({choice: byId('event-choice'), form: byId('event-values')}, agent),
  new Management({updates: byId('updates'), personalities: byId('personalities'), files: byId('files'),
    commands: byId('commands')}, agent),
];

// ---- the agent -------------------------------------------------------------------------------------------------------

let described = null;

agent.addEventListener('state', () => {
  const {state, description} = agent;
  if (described !== description) {
    described = description;
    parts.forEach((part) => part.describe());
    timeline.describe(description);
  }
  parts.forEach((part) => part.show(state));
  tree.show(state);
  showDevice(byId('device'), state);
  byId('version').textContent = state.version;
  renew(byId('peers'), state.peers.map(({name}) => name), () =>
    state.peers.length === 0 ? 'No application is connected' : state.peers.map(({name}) => h('span', {class: 'peer'}, plain(name))));
  document.title = `Agent ${state.version} · ${state.peers.map(({name}) => name).join(', ') || 'no application'}`;
});

agent.addEventListener('entry', ({detail}) => {
  if (detail.update)
    timeline.mark(`The agent's update: ${detail.update}`);
  timeline.add(detail);
});
agent.addEventListener('another', () => timeline.mark('Another agent answers; its journal begins here'));

const statuses = {
  connecting: ['Connecting', ''],
  connected: ['Connected', ''],
  away: ['Not connected', 'The agent does not answer. This page goes on trying, and shows what it is told as soon as it is back.'],
  locked: ['No entry', ''],
};

agent.addEventListener('status', () => {
  const [words, told] = statuses[agent.status];
  document.body.dataset.status = agent.status;
  byId('status').textContent = words;
  byId('banner').hidden = told === '';
  byId('banner').textContent = told && agent.problem ? `${told} (${agent.problem})` : told;
  byId('locked').hidden = agent.status !== 'locked';
  byId('main').inert = agent.status === 'locked';
  if (agent.status === 'locked')
    byId('token').focus();
});

byId('unlock').append(makeForm({label: 'Use this token', name: 'unlock', primary: true, run: async () => {
  agent.unlock(byId('token').value.trim().replace(/^.*#/, ''));
  byId('token').value = '';
  return 'Trying …';
}}));
byId('unlock').querySelector('form').prepend(byId('token-field'));

// ---- views and theme -------------------------------------------------------------------------------------------------

// On a wide screen the phone and the timeline are always there, and one of the others between them.
const views = [...document.querySelectorAll('nav button')];

function choose(view) {
  document.body.dataset.view = view;
  if (!['phone', 'timeline'].includes(view))
    document.body.dataset.tool = view;
  for (const button of views)
    if (button.dataset.view === view)
      button.setAttribute('aria-current', 'true');
    else
      button.removeAttribute('aria-current');
  views.forEach((button) => button.classList.toggle('tool-shown', button.dataset.view === document.body.dataset.tool));
}
views.forEach((button) => button.addEventListener('click', () => choose(button.dataset.view)));
choose('phone');

const theme = byId('theme');
theme.value = localStorage.getItem('korvane-theme') ?? 'auto';
const follow = () => { document.documentElement.dataset.theme = theme.value; };
theme.addEventListener('change', () => {
  localStorage.setItem('korvane-theme', theme.value);
  follow();
});
follow();

agent.start();
