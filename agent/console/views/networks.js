// SPDX-License-Identifier: Apache-2.0
// The list of networks that the device has found, and the form that chooses one. Network names come from strangers, so
// they are only ever shown as text.
import {arrange, escapeInvisible, h, once, render, setText, uniqueId} from '../dom.js';
import {makeFields, makeForm} from '../forms.js';

const hiddenNetwork = 'hidden';

function signalBars(level) {
  // The usual thresholds of a display, in dBm. A device reports 0 if it does not know the level.
  const strength = level === 0 ? 0 : level >= -55 ? 4 : level >= -65 ? 3 : level >= -75 ? 2 : 1;
  return h('span', {class: `bars of-${strength}`, role: 'img',
    'aria-label': level === 0 ? 'signal unknown' : `signal ${strength} of 4, ${level} dBm`, title: `${level} dBm`},
    [1, 2, 3, 4].map(() => h('i')));
}

function lockIcon(network) {
  const locked = network.authtype !== 0 || network.enctype !== 0;
  return h('span', {class: `lock ${locked ? 'closed' : 'open'}`, role: 'img', 'aria-label': locked ? 'secured' : 'open',
    title: `authentication ${network.authtype}, encryption ${network.enctype}`});
}

/// The usual name of the band of a frequency in MHz.
function bandOf(frequency) {
  return frequency < 3000 ? '2.4 GHz' : frequency < 5925 ? '5 GHz' : '6 GHz';
}

function bandAndChannel({channel, frequency}) {
  return [frequency ? bandOf(frequency) : null, channel ? `channel ${channel}` : null]
    .filter(Boolean).join(' · ');
}

/// Identifies each network in a list, so that a new scan keeps the user's choice. Its index changes with each scan.
function keysOf(networks) {
  const seen = new Map();
  return networks.map(({ssid, bssid}) => {
    const name = JSON.stringify([ssid, bssid]);
    seen.set(name, (seen.get(name) ?? 0) + 1);
    return `${name}#${seen.get(name)}`;
  });
}

export function makeNetworkForm(step, agent) {
  const group = uniqueId('network');
  const rows = h('div', {});
  const list = h('fieldset', {class: 'networks'}, h('legend', {}, 'Networks'), rows);
  const name = makeFields([{name: 'ssid', label: 'Network name', kind: 'text', optional: false}]);
  const password = makeFields([{name: 'password', kind: 'text', secret: true, optional: true}]);
  const showPassword = h('button', {type: 'button', 'aria-pressed': 'false', onclick: () => {
    const field = password.input('password');
    field.type = field.type === 'password' ? 'text' : 'password';
    showPassword.setAttribute('aria-pressed', String(field.type === 'text'));
    showPassword.textContent = field.type === 'text' ? 'Hide' : 'Show';
  }}, 'Show');
  const error = h('p', {class: 'refusal', role: 'alert'});
  let chosen = null; // the key of a network

  const updateNameField = () => {
    for (const row of name.rows)
      row.hidden = chosen !== hiddenNetwork;
    name.input('ssid').required = chosen === hiddenNetwork;
  };
  list.addEventListener('change', ({target}) => {
    chosen = target.value;
    updateNameField();
  });

  const rowOf = once((key) => {
    const id = uniqueId('network');
    const input = h('input', {type: 'radio', name: group, id, value: key});
    const label = h('label', {for: id});
    return {input, label, element: h('div', {class: 'network'}, input, label)};
  });

  const form = makeForm({
    label: step.label, name: step.name, rows: [list, name.rows, password.rows, error], beside: showPassword,
    run: async () => {
      if (chosen === null)
        throw new Error('Choose a network first.');
      const index = keysOf(agent.state.setup.networks).indexOf(chosen);
      if (index < 0 && chosen !== hiddenNetwork)
        throw new Error('The device does not report this network any more. Choose another one.');
      const network = chosen === hiddenNetwork ? {...name.read(), hidden: true} : {index};
      await agent.run('phone', {step: step.name, with: {...network, password: password.input('password').value}});
      return 'Sent to the device.';
    },
  });

  form.show = ({setup}) => {
    // The list is empty during a scan. It is shown when the scan has ended.
    if (setup.scan === null || !rows.hasChildNodes()) {
      const keys = [...keysOf(setup.networks), hiddenNetwork];
      arrange(rows, keys.map((key) => rowOf(key).element));
      setup.networks.forEach((network, index) => render(rowOf(keys[index]).label, network, () => [
        h('span', {class: 'ssid', title: escapeInvisible(network.bssid)}, h('bdi', {}, escapeInvisible(network.ssid)),
          h('small', {}, bandAndChannel(network))),
        lockIcon(network), signalBars(network.signal_level)]));
      render(rowOf(hiddenNetwork).label, hiddenNetwork, () => h('span', {class: 'ssid'}, 'Hidden network'));
      for (const key of keys)
        rowOf(key).input.checked = key === chosen;
    }
    setText(error, setup.wifi_error === null ? ''
      : `The device could not join ${escapeInvisible(setup.chosen?.ssid ?? 'the network')}: error code ${setup.wifi_error}. Choose again.`);
    updateNameField();
  };
  return form;
}
