// The sandbox's events (server-sent events), followed for as long as the page is in sight: browsers
// allow few connections to one server, and what happens in between is reported afterwards.

const retryMilliseconds = 1000;

export class Feed {
  #source = null;
  #lastId = '';
  #retry = 0;
  #topics = new Map();
  #onState;

  /** `onState('live' | 'lost' | 'paused')` */
  constructor(onState) {
    this.#onState = onState;
    document.addEventListener('visibilitychange', () => this.#followSight());
  }

  on(topic, handle) {
    this.#topics.set(topic, handle);
  }

  /** Continues after the event of that id. */
  startBehind(id) {
    this.#lastId = id;
    this.#followSight();
  }

  #followSight() {
    if (!this.#lastId) return;
    this.#close();
    if (document.visibilityState === 'visible') this.#open();
    else this.#onState('paused');
  }

  #open() {
    const source = new EventSource(`/sandbox/events/${encodeURIComponent(this.#lastId)}`);
    this.#source = source;
    source.onopen = () => this.#onState('live');
    source.onerror = () => {
      this.#onState('lost');
      // A refused connection is tried again by the browser, an odd answer is not.
      if (source.readyState === EventSource.CLOSED) {
        this.#close();
        this.#retry = setTimeout(() => this.#open(), retryMilliseconds);
      }
    };
    for (const [topic, handle] of this.#topics) {
      source.addEventListener(topic, (event) => {
        this.#lastId = event.lastEventId;
        handle(JSON.parse(event.data));
      });
    }
  }

  #close() {
    clearTimeout(this.#retry);
    this.#source?.close();
    this.#source = null;
  }
}
