// SPDX-License-Identifier: Apache-2.0
// The networks as the device has found them, and the choice of one. Their names are anybody's: only ever text.
import {freshId, h, plain, renew} from './dom.js';
import {makeFields, makeForm} from './forms.js';

const hidden = 'hidden';

function bars(level) {
  // The usual steps of a display, in dBm; 0 is what a device tells that does not know.
  const strength = level === 0 ? 0 : level >= -55 ? 4 : level >= -65 ? 3 : level >= -75 ? 2 : 1;
  return h('span', {class: `bars of-${strength}`, role: 'img',
    'aria-label': level === 0 ? 'signal unknown' : `signal ${strength} of 4, ${level} dBm`, title: `${level} dBm`},
    [1, 2, 3, 4].map(() => h('i')));
}

function lock(network) {
  const locked = network.authtype !== 0 || network.enctype !== 0;
  return h('span', {class: `lock ${locked ? 'closed' : 'open'}`, role: 'img', 'aria-label': locked ? 'secured' : 'open',
    title: `authentication ${network.authtype}, encryption ${network.enctype}`});
}

function facts({channel, frequency}) {
  return [frequency ? `${(frequency / 1000).toFixed(1)} GHz` : null, channel ? `channel ${channel}` : null]
    .filter(Boolean).join(' · ');
}

export function makeNetworkForm(step, agent) {
  const group = freshId('network');
  const list = h('fieldset', {class: 'networks'}, h('legend', {}, 'Networks'));
  const items = h('div', {});
  list.append(items);
  const name = makeFields([{name: 'ssid', label: 'Its name', kind: 'text', optional: false}]);
  const password = makeFields([{name: 'password', kind: 'text', secret: true, optional: true}]);
  const showing = h('button', {type: 'button', class: 'quiet', 'aria-pressed': 'false', onclick: () => {
    const field = password.input('password');
    field.type = field.type === 'password' ? 'text' : 'password';
    showing.setAttribute('aria-pressed', String(field.type === 'text'));
    showing.textContent = field.type === 'text' ? 'Hide' : 'Show';
  }}, 'Show');
  const error = h('p', {class: 'refusal', role: 'alert'});

  const choice = () => list.querySelector('input:checked')?.value;
  const follow = () => {
    for (const row of name.rows)
      row.hidden = choice() !== hidden;
    name.input('ssid').required = choice() === hidden;
  };
  list.addEventListener('change', follow);

  const option = (value, ...content) => {
    const id = freshId('network');
    return h('div', {class: 'network'},
      h('input', {type: 'radio', name: group, id, value, 'data-key': value}), h('label', {for: id}, content));
  };
  const form = makeForm({
    label: step.label, name: step.name, rows: [list, name.rows, password.rows, error], beside: showing,
    run: async () => {
      const chosen = choice();
      if (chosen === undefined)
        throw new Error('Choose one of the networks first.');
      const which = chosen === hidden ? {...name.read(), hidden: true} : {index: Number(chosen)};
      await agent.run('phone', {step: step.name, with: {...which, password: password.input('password').value}});
      return 'The device has been told.';
    },
  });
  form.show = ({setup}) => {
    const kept = choice();
    renew(items, setup.networks, () => [
      setup.networks.map((network, index) => option(String(index),
        h('span', {class: 'ssid', title: plain(network.bssid)}, h('bdi', {}, plain(network.ssid)), h('small', {}, facts(network))),
        lock(network), bars(network.signal_level))),
      option(hidden, h('span', {class: 'ssid'}, 'A hidden network')),
    ]);
    if (choice() === undefined && kept !== undefined)
      list.querySelectorAll('input').forEach((input) => { input.checked = input.value === kept; });
    const problem = setup.wifi_error === null ? ''
      : `The device could not join ${plain(setup.chosen?.ssid ?? 'the network')}: its error code is ${setup.wifi_error}. Choose again.`;
    if (error.textContent !== problem)
      error.textContent = problem;
    follow();
  };
  return form;
}
