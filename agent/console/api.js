// SPDX-License-Identifier: Apache-2.0
// The connection to the agent: commands over HTTP, the journal over a WebSocket; it comes back by itself.

const tokenKey = 'korvane-token';
const firstPause = 500;
const longestPause = 5000;
const stateAfter = 60;   // a hundred entries a second are no reason to ask for the state as often
const stateEvery = 3000; // what changes by the agent's clock alone stands in no journal
const history = 2000;    // how much of what was before the page is shown
const pastAll = 2147483647;

/// The agent's own sentence.
export class Refused extends Error {}
class WrongToken extends Error {}

export class Agent extends EventTarget {
  #token = '';
  #socket = null;
  #pause = firstPause;
  #retry = 0;
  #refreshing = null;
  #again = false;
  commands = [];      // GET /v1
  description = null; // GET /v1/describe
  state = null;       // GET /v1/state
  status = 'connecting';
  #last = null;       // the journal's entry that came last
  #next = 1;          // where the stream begins

  start() {
    this.#takeToken();
    addEventListener('hashchange', () => this.#takeToken() && this.#connect());
    setInterval(() => this.status === 'connected' && !document.hidden && this.refresh(), stateEvery);
    document.addEventListener('visibilitychange', () => this.status === 'connected' && this.refresh());
    this.#connect();
  }

  /// The token comes in the address and does not stay there, where it could be read or shared.
  #takeToken() {
    const given = decodeURIComponent(location.hash.slice(1));
    if (!given)
      this.#token = sessionStorage.getItem(tokenKey) ?? '';
    else
      this.#keepToken(given);
    return given !== '';
  }

  #keepToken(token) {
    this.#token = token;
    sessionStorage.setItem(tokenKey, token);
    window.history.replaceState(null, '', location.pathname);
  }

  unlock(token) {
    this.#keepToken(token);
    this.#connect();
  }

  async #fetch(path, options = {}) {
    const answer = await fetch(path, {...options, headers: {...options.headers, Authorization: `Bearer ${this.#token}`}});
    if (answer.status === 401)
      throw new WrongToken();
    const body = await answer.json().catch(() => ({ok: false, error: `the agent answered ${answer.status}`}));
    if (!answer.ok || body.ok === false)
      throw new Refused(body.error ?? `the agent answered ${answer.status}`);
    return body;
  }

  /// Throws Refused with the agent's sentence.
  async run(name, values = {}) {
    try {
      return await this.#fetch(`/v1/${name}`, {
        method: 'POST', headers: {'Content-Type': 'application/json'}, body: JSON.stringify(values)});
    } catch (problem) {
      if (problem instanceof Refused)
        throw problem;
      this.#lost(problem);
      throw new Refused('the agent cannot be reached; nothing can be said of whether it was done');
    } finally {
      this.refresh();
    }
  }

  ask(name, values = {}) {
    const query = new URLSearchParams(values).toString();
    return this.#fetch(`/v1/${name}${query && '?'}${query}`);
  }

  command(name) {
    return this.commands.find((command) => command.name === name);
  }

  /// Fetches the state; calls that come meanwhile share one more fetch.
  refresh() {
    if (this.#refreshing) {
      this.#again = true;
      return;
    }
    const pause = () => new Promise((resolve) => { setTimeout(resolve, stateAfter); });
    this.#refreshing = this.#refresh().catch((problem) => this.#lost(problem)).then(pause).finally(() => {
      this.#refreshing = null;
      if (this.#again) {
        this.#again = false;
        this.refresh();
      }
    });
  }

  /// The same agent's description stays the same object, so that no form is made anew below somebody's hands.
  async #describe() {
    const description = await this.ask('describe');
    if (JSON.stringify(description) !== JSON.stringify(this.description))
      this.description = description;
  }

  async #refresh() {
    if (this.status === 'locked' || this.status === 'away')
      return;
    const {state} = await this.ask('state');
    if (state.version !== this.description?.version)
      await this.#describe();
    this.state = state;
    this.dispatchEvent(new Event('state'));
  }

  // ---- the journal ---------------------------------------------------------------------------------------------------

  async #connect() {
    clearTimeout(this.#retry);
    this.#close();
    try {
      const {commands, agent, version} = await this.#fetch('/v1');
      this.commands = commands;
      this.name = agent;
      this.version = version;
      await this.#describe();
      await this.#whereToBegin();
      this.#listen();
    } catch (problem) {
      this.#lost(problem);
    }
  }

  /// Goes on where the stream ended, unless that was another agent's, whose entries are counted anew.
  async #whereToBegin() {
    const {next} = await this.ask('journal', {since: pastAll, limit: 0});
    if (this.#last && !await this.#isKnown(this.#last)) {
      this.#last = null;
      this.dispatchEvent(new Event('another'));
    }
    this.#next = Math.max(this.#last ? this.#last.seq + 1 : 1, next - history);
  }

  /// Whether the journal has the entry, or had it and has forgotten it.
  async #isKnown({seq, time_us: time}) {
    const {entries: [first], next} = await this.ask('journal', {since: seq, limit: 1});
    return first ? first.seq > seq || first.time_us === time : next > seq;
  }

  #listen() {
    const query = new URLSearchParams({token: this.#token, since: this.#next});
    const socket = new WebSocket(`ws://${location.host}/v1/stream?${query}`);
    this.#socket = socket;
    socket.onopen = () => {
      this.#pause = firstPause;
      this.#setStatus('connected');
      this.refresh();
    };
    socket.onmessage = ({data}) => {
      const entry = JSON.parse(data);
      this.#last = entry;
      this.dispatchEvent(new CustomEvent('entry', {detail: entry}));
      this.refresh();
    };
    socket.onclose = ({reason, code}) => this.#socket === socket
      && this.#lost(new Error(reason || `the stream ended with code ${code}`));
  }

  #close() {
    const socket = this.#socket;
    this.#socket = null;
    socket?.close();
  }

  #lost(problem) {
    if (problem instanceof Refused) {
      this.#setStatus('away', problem.message);
    } else if (problem instanceof WrongToken) {
      this.#close();
      this.#setStatus('locked');
      return;
    } else {
      this.#setStatus('away', problem.message);
    }
    this.#close();
    clearTimeout(this.#retry);
    this.#retry = setTimeout(() => this.#connect(), this.#pause);
    this.#pause = Math.min(this.#pause * 2, longestPause);
  }

  #setStatus(status, problem = '') {
    const changed = this.status !== status;
    this.status = status;
    this.problem = problem;
    if (changed)
      this.dispatchEvent(new Event('status'));
  }
}
