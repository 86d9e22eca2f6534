// SPDX-License-Identifier: Apache-2.0
// The connection to the agent: commands over HTTP, the journal over a WebSocket. It reconnects by itself.

const tokenKey = 'korvane-token';
const minRetryMs = 500;
const maxRetryMs = 5000;
const minRefreshMs = 60;     // the state is not fetched for each of a hundred entries a second
const pollMs = 3000;         // what changes only because time passes is in no journal entry
const maxHistory = 2000;     // entries from before the page was opened
const afterLastEntry = 2147483647;

/// The agent has refused a command. The message is the agent's own.
export class CommandError extends Error {}
class TokenError extends Error {}

/// Events: 'state' after each fetch of the state, 'entry' for each journal entry, 'status' when `status` has changed,
/// 'replaced' when another agent has been found at the same address.
export class Agent extends EventTarget {
  #token = '';
  #socket = null;
  #retryMs = minRetryMs;
  #retryTimer = 0;
  #refreshing = null;
  #refreshAgain = false;
  #lastEntry = null;
  #nextSeq = 1;
  commands = [];         // of GET /v1
  description = null;    // of GET /v1/describe
  state = null;          // of GET /v1/state
  status = 'connecting'; // connecting, connected, disconnected or locked

  start() {
    this.#readToken();
    addEventListener('hashchange', () => this.#readToken() && this.#connect());
    setInterval(() => this.status === 'connected' && !document.hidden && this.refresh(), pollMs);
    document.addEventListener('visibilitychange', () => this.status === 'connected' && this.refresh());
    this.#connect();
  }

  /// Takes the token out of the address, where others could read it.
  #readToken() {
    const token = decodeURIComponent(location.hash.slice(1));
    if (token)
      this.#storeToken(token);
    else
      this.#token = sessionStorage.getItem(tokenKey) ?? '';
    return token !== '';
  }

  #storeToken(token) {
    this.#token = token;
    sessionStorage.setItem(tokenKey, token);
    window.history.replaceState(null, '', location.pathname);
  }

  unlock(token) {
    this.#storeToken(token);
    this.#connect();
  }

  async #fetch(path, options = {}) {
    const response = await fetch(path, {...options, headers: {...options.headers, Authorization: `Bearer ${this.#token}`}});
    if (response.status === 401)
      throw new TokenError();
    const body = await response.json().catch(() => ({ok: false, error: `the agent returned HTTP status ${response.status}`}));
    if (!response.ok || body.ok === false)
      throw new CommandError(body.error ?? `the agent returned HTTP status ${response.status}`);
    return body;
  }

  /// Runs a command. Throws CommandError if the agent refuses it or cannot be reached.
  async run(name, values = {}) {
    try {
      return await this.#fetch(`/v1/${name}`, {
        method: 'POST', headers: {'Content-Type': 'application/json'}, body: JSON.stringify(values)});
    } catch (problem) {
      if (problem instanceof CommandError)
        throw problem;
      this.#handleLoss(problem);
      throw new CommandError('The agent cannot be reached. It may have run the command or not.');
    } finally {
      this.refresh();
    }
  }

  /// Runs a command that changes nothing.
  get(name, values = {}) {
    const query = new URLSearchParams(values).toString();
    return this.#fetch(`/v1/${name}${query && '?'}${query}`);
  }

  command(name) {
    return this.commands.find((command) => command.name === name);
  }

  /// Fetches the state. Calls during a fetch share one more fetch.
  refresh() {
    if (this.#refreshing) {
      this.#refreshAgain = true;
      return;
    }
    const pause = () => new Promise((resolve) => { setTimeout(resolve, minRefreshMs); });
    this.#refreshing = this.#refresh().catch((problem) => this.#handleLoss(problem)).then(pause).finally(() => {
      this.#refreshing = null;
      if (this.#refreshAgain) {
        this.#refreshAgain = false;
        this.refresh();
      }
    });
  }

  /// Keeps the same object if the description has not changed.
  async #describe() {
    const description = await this.get('describe');
    if (JSON.stringify(description) !== JSON.stringify(this.description))
      this.description = description;
  }

  async #refresh() {
    if (this.status === 'locked' || this.status === 'disconnected')
      return;
    const {state} = await this.get('state');
    if (state.version !== this.description?.version)
      await this.#describe();
    this.state = state;
    this.dispatchEvent(new Event('state'));
  }

  // ---- the journal ---------------------------------------------------------------------------------------------------

  async #connect() {
    clearTimeout(this.#retryTimer);
    this.#close();
    try {
      const {commands} = await this.#fetch('/v1');
      this.commands = commands;
      await this.#describe();
      await this.#findNextEntry();
      this.#openStream();
    } catch (problem) {
      this.#handleLoss(problem);
    }
  }

  /// Continues after the last entry, unless another agent with a journal of its own has taken the address.
  async #findNextEntry() {
    const {next} = await this.get('journal', {since: afterLastEntry, limit: 0});
    if (this.#lastEntry && !await this.#journalHas(this.#lastEntry)) {
      this.#lastEntry = null;
      this.dispatchEvent(new Event('replaced'));
    }
    this.#nextSeq = Math.max(this.#lastEntry ? this.#lastEntry.seq + 1 : 1, next - maxHistory);
  }

  /// Whether the agent's journal has the entry, or had it and has discarded it.
  async #journalHas({seq, time_us: time}) {
    const {entries: [first], next} = await this.get('journal', {since: seq, limit: 1});
    return first ? first.seq > seq || first.time_us === time : next > seq;
  }

  #openStream() {
    const query = new URLSearchParams({token: this.#token, since: this.#nextSeq});
    const socket = new WebSocket(`ws://${location.host}/v1/stream?${query}`);
    this.#socket = socket;
    socket.onopen = () => {
      this.#retryMs = minRetryMs;
      this.#setStatus('connected');
      this.refresh();
    };
    socket.onmessage = ({data}) => {
      const entry = JSON.parse(data);
      this.#lastEntry = entry;
      this.dispatchEvent(new CustomEvent('entry', {detail: entry}));
      this.refresh();
    };
    socket.onclose = ({reason, code}) => this.#socket === socket
      && this.#handleLoss(new Error(reason || `the stream ended with code ${code}`));
  }

  #close() {
    const socket = this.#socket;
    this.#socket = null;
    socket?.close();
  }

  #handleLoss(problem) {
    this.#close();
    if (problem instanceof TokenError)
      return this.#setStatus('locked');
    this.#setStatus('disconnected', problem.message);
    clearTimeout(this.#retryTimer);
    this.#retryTimer = setTimeout(() => this.#connect(), this.#retryMs);
    this.#retryMs = Math.min(this.#retryMs * 2, maxRetryMs);
  }

  #setStatus(status, problem = '') {
    const changed = this.status !== status;
    this.status = status;
    this.problem = problem;
    if (changed)
      this.dispatchEvent(new Event('status'));
  }
}
