import { el } from "./dom.js";

const TOOLS = document.getElementById("traffic-tools");
const CHART = document.getElementById("chart");
const ROWS = CHART.appendChild(el("div"));
const DETAILS = document.getElementById("details");
const MOST_KEPT = 5000;
const MOST_SHOWN = 250;
const DRAW_MS = 100; // drawing costs more than anything else here
const LATE_MS = 100;
const OPEN_MS = 1000; // a call that waits for longer is told

export class Traffic {
  constructor(link) {
    this.link = link;
    this.kept = [];
    this.fresh = []; // what is not drawn yet
    this.rows = new Map(); // by number
    this.open = new Map(); // calls without a reply
    this.other = new Map(); // of a call its reply, and the other way round
    this.lost = 0;
    this.isPaused = false;
    this.filter = el("input", { type: "search", id: "filter", placeholder: "a part of a name", autocomplete: "off", on: { input: () => this.rebuild() } });
    this.kinds = [["call", "calls"], ["reply", "replies"], ["signal", "signals"]].map(([kind, words]) => this.box(kind, words, true));
    this.bad = this.box("bad", "only late and failed", false);
    this.pause = el("button", { type: "button", id: "pause", "aria-pressed": "false", on: { click: () => this.toggle() } }, "Pause");
    this.count = el("span", { id: "traffic-count" });
    TOOLS.append(el("label", { for: "filter" }, "Filter"), this.filter, ...this.kinds.map((each) => each.label), this.bad.label,
      this.pause, el("button", { type: "button", on: { click: () => this.clear() } }, "Clear"),
      el("a", { href: "traffic.pcapng", download: "traffic.pcapng", class: "button" }, "Save as a recording"), this.count);
    setInterval(() => this.look(), OPEN_MS / 2);
  }

  box(name, words, isOn) {
    const input = el("input", { type: "checkbox", id: `filter-${name}`, checked: isOn, on: { change: () => this.rebuild() } });
    return { name, input, label: el("label", {}, input, words) };
  }

  clear() {
    this.kept = [];
    this.fresh = [];
    this.rows.clear();
    this.open.clear();
    this.other.clear();
    this.lost = 0;
    ROWS.replaceChildren();
    DETAILS.replaceChildren();
    this.tell();
  }

  toggle() {
    this.isPaused = !this.isPaused;
    this.pause.setAttribute("aria-pressed", String(this.isPaused));
    this.pause.textContent = this.isPaused ? "Go on" : "Pause";
    if (!this.isPaused) {
      this.rebuild();
    }
  }

  draw(entries, lost) {
    if (entries.length === 0 && lost === 0) {
      return;
    }
    this.lost += lost;
    const seen = performance.now();
    for (const entry of entries) {
      entry.seen = seen;
      if (entry.kind === "call" && !entry.oneWay) {
        this.open.set(entry.n, entry);
      } else if (entry.kind === "reply") {
        const call = this.open.get(entry.call);
        this.open.delete(entry.call);
        this.other.set(entry.n, entry.call);
        this.other.set(entry.call, entry.n);
        if (call) {
          call.isOpen = false;
          this.mark(call);
        }
      }
    }
    this.kept.push(...entries);
    for (const old of this.kept.splice(0, Math.max(0, this.kept.length - MOST_KEPT))) {
      this.other.delete(old.n);
      this.open.delete(old.n);
    }
    if (!this.isPaused) {
      this.fresh.push(...entries);
      this.fresh.splice(0, Math.max(0, this.fresh.length - MOST_KEPT));
      this.drawing ??= setTimeout(() => {
        this.drawing = undefined;
        this.append(this.fresh.splice(0));
        this.tell();
      }, DRAW_MS);
    } else {
      this.tell();
    }
  }

  tell() {
    this.count.textContent = `${this.kept.length} messages${this.lost ? `, ${this.lost} passed over` : ""}`;
  }

  isBad(entry) {
    return entry.error !== undefined || (entry.ms ?? 0) >= LATE_MS || entry.isOpen === true;
  }

  isWanted(entry) {
    const word = this.filter.value.trim().toLowerCase();
    return this.kinds.some(({ name, input }) => name === entry.kind && input.checked)
      && (!this.bad.input.checked || this.isBad(entry))
      && (word === "" || `${entry.name} ${entry.words ?? ""} ${entry.from ?? ""}`.toLowerCase().includes(word));
  }

  append(entries) {
    const wanted = entries.filter((entry) => this.isWanted(entry)).slice(-MOST_SHOWN);
    if (wanted.length === 0) {
      return;
    }
    ROWS.append(...wanted.map((entry) => this.row(entry)));
    while (ROWS.childElementCount > MOST_SHOWN) {
      this.rows.delete(Number(ROWS.firstElementChild.dataset.number));
      ROWS.firstElementChild.remove();
    }
  }

  rebuild() {
    this.fresh = [];
    this.rows.clear();
    ROWS.replaceChildren();
    this.append(this.kept);
    CHART.scrollTop = 0; // the end, as it is laid out
  }

  row(entry) {
    const note = entry.error ?? (entry.ms !== undefined ? `${entry.ms} ms` : entry.words ?? "");
    const row = el("button", {
      type: "button", class: `message ${entry.kind}`, "data-number": entry.n, "data-key": `n${entry.n}`,
      on: { click: () => this.details(entry.n) },
    },
    el("span", { class: "time" }, (entry.t / 1000).toFixed(3)),
    el("span", { class: "lane" }, entry.kind === "signal" ? "all" : entry.from ?? ""),
    el("span", { class: "arrow", "aria-label": `${entry.kind} ${entry.name}` }, el("span", { class: "name" }, entry.name.replace(/^SIGNAL_CI_/, ""))),
    el("span", { class: "lane daemon" }, "CI daemon"),
    el("span", { class: "note" }, note));
    this.rows.set(entry.n, row);
    this.mark(entry);
    return row;
  }

  mark(entry) {
    const row = this.rows.get(entry.n);
    if (row) {
      row.classList.toggle("late", entry.error === undefined && (entry.ms ?? 0) >= LATE_MS);
      row.classList.toggle("failed", entry.error !== undefined);
      row.classList.toggle("open", entry.isOpen === true);
      if (entry.kind === "call" && entry.error === undefined) {
        row.lastElementChild.textContent = entry.isOpen ? `no reply for ${((performance.now() - entry.seen) / 1000).toFixed(0)} s` : "";
      }
    }
  }

  // Calls that nobody has answered yet.
  look() {
    const now = performance.now();
    for (const entry of this.open.values()) {
      if (now - entry.seen >= OPEN_MS) {
        entry.isOpen = true;
        this.mark(entry);
      }
    }
  }

  // A message, and what belongs to it: a call and its reply are told together.
  async details(number) {
    const pair = [number, this.other.get(number)].filter((each) => each !== undefined).sort((left, right) => left - right);
    const told = await Promise.all(pair.map((each) => this.link.request({ do: "details", number: each }).then(
      ({ result }) => [el("h3", {}, `${result.kind} ${result.name}`), el("pre", { tabindex: 0 }, JSON.stringify(result, null, 2))],
      (error) => [el("p", { class: "bad" }, error.message)],
    )));
    DETAILS.replaceChildren(...told.flat(),
      el("button", { type: "button", on: { click: () => DETAILS.replaceChildren() } }, "Close"));
  }
}
