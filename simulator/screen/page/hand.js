import { el, show } from "./dom.js";

const FORMS = document.getElementById("forms");
const NOTE = document.getElementById("hand-note");
const FAULT_MEMBERS = { // what a fault's members are, beside texts
  ms: "number", status: "number", length: "number", bytes: "number", version: "number", stepMs: "number",
  count: "number", rate: "number", handle: "number", toSubscribers: "bool", data: "json",
};

// A field of a form, and how its value is read: undefined when it is left out.
function field(parameter, id) {
  const about = [parameter.type, parameter.help].filter(Boolean).join(": ");
  let input;
  if (parameter.words?.length) {
    input = el("select", { id }, ...(parameter.needed ? [] : [el("option", { value: "" }, "")]),
      ...parameter.words.map((word) => el("option", { value: word }, word)));
  } else if (parameter.kind === "json") {
    input = el("textarea", { id, rows: 3, spellcheck: "false" });
  } else {
    input = el("input", {
      id, type: parameter.secret ? "password" : parameter.kind === "number" ? "number" : "text", step: "any",
      autocomplete: "off", spellcheck: "false", list: parameter.list ?? null,
      placeholder: parameter.initial === null || parameter.initial === undefined || parameter.initial === "" ? null : String(parameter.initial),
    });
  }
  const read = () => {
    const value = input.value;
    if (value === "") {
      if (!parameter.needed || ["text", "bytes"].includes(parameter.kind)) {
        return parameter.needed ? "" : undefined;
      }
      throw new Error(`${parameter.name} is needed`);
    }
    switch (parameter.kind) {
      case "number":
        if (Number.isNaN(Number(value))) {
          throw new Error(`${parameter.name}: a number is needed`);
        }
        return Number.isSafeInteger(Number(value)) || /[.e]/i.test(value) ? Number(value) : value;
      case "bool":
        return value === "true";
      case "json":
        try {
          return JSON.parse(value);
        } catch {
          if (/^\s*[{["]/.test(value)) {
            throw new Error(`${parameter.name}: this is no JSON`);
          }
          return value;
        }
      default:
        return value;
    }
  };
  const label = el("label", { for: id }, `${parameter.name}${parameter.needed ? "" : " (may be left out)"}`);
  const help = el("small", { id: `${id}-help` }, about);
  input.setAttribute("aria-describedby", help.id);
  return { name: parameter.name, read, clear: () => { input.value = parameter.secret ? "" : input.value; }, row: el("div", { class: "field" }, label, input, help) };
}

// A form with a choice of what it does.
class Form {
  constructor(id, title, rows, submit, run) {
    this.fields = [];
    this.choice = el("select", { id: `${id}-choice`, on: { change: () => this.choose() } },
      ...rows.map((row) => el("option", { value: row.name }, row.name)));
    this.rows = new Map(rows.map((row) => [row.name, row]));
    this.id = id;
    this.help = el("p", { class: "help" });
    this.body = el("div", { class: "fields" });
    this.result = el("output", { class: "result" });
    this.element = el("details", { id, name: "hand" }, el("summary", {}, title),
      el("form", { on: { submit: (event) => { event.preventDefault(); this.submit(run); } } },
        el("div", { class: "field" }, el("label", { for: `${id}-choice` }, "what"), this.choice),
        this.help, this.body, el("button", { type: "submit" }, submit), this.result));
    this.choose();
  }

  choose() {
    const row = this.rows.get(this.choice.value);
    this.help.textContent = row.help;
    this.fields = row.parameters.map((parameter, index) => field(parameter, `${this.id}-${index}`));
    this.body.replaceChildren(...this.fields.map((each) => each.row));
    this.result.textContent = "";
  }

  async submit(run) {
    this.result.className = "result";
    try {
      const args = {};
      for (const each of this.fields) {
        const value = each.read();
        if (value !== undefined) {
          args[each.name] = value;
        }
      }
      this.fields.forEach((each) => each.clear());
      this.result.textContent = "…";
      this.result.textContent = (await run(this.choice.value, args)) || "done";
    } catch (error) {
      this.result.className = "result bad";
      this.result.textContent = error.message;
    }
  }
}

function faultRows(kinds) {
  const about = [
    { name: "operation", kind: "text", type: "INTERFACE.NAME, NAME, INTERFACE.* or *", help: "empty, for what happens at once", list: "operations" },
    { name: "slot", kind: "number", type: "uint8", help: "only calls about this slot" },
    { name: "nth", kind: "number", type: "uint32", help: "only this one of the calls, counted from 1" },
    { name: "times", kind: "number", type: "uint32", help: "it falls away after so often" },
    { name: "probability", kind: "number", type: "0 to 1", help: "" },
  ];
  return kinds.map((kind) => ({
    name: kind.kind, help: kind.help,
    parameters: [...kind.members.map((name) => ({
      name, kind: FAULT_MEMBERS[name] ?? "text", type: FAULT_MEMBERS[name] ?? "text", help: "",
      words: name === "shape" ? kind.shapes : name === "toSubscribers" ? ["true", "false"] : [],
    })), ...about],
  }));
}

export class Hand {
  constructor(link) {
    this.link = link;
    this.begin();
  }

  async begin() {
    try {
      const tables = await (await fetch("tables.json")).json();
      const verb = (name, args) => this.link.verb(name, args).then((answer) => answer.result);
      const clock = tables.verbs.filter((row) => row.name === "AdvanceClock");
      this.calls = new Form("form-call", "Call an operation, as the application", tables.operations, "Call",
        (name, args) => this.link.call(name, args).then((answer) => JSON.stringify(
          { result: answer.result, outputs: answer.outputs, error: answer.error }, null, 1)));
      FORMS.replaceChildren(
        el("datalist", { id: "operations" }, ...tables.operations.map((row) => el("option", { value: row.name }))),
        new Form("form-verb", "Do something to the set", tables.verbs.filter((row) => !["AddFault", "AdvanceClock"].includes(row.name)), "Do", verb).element,
        new Form("form-clock", "Move the clock on", clock, "Move", verb).element,
        new Form("form-fault", "Switch a fault on", faultRows(tables.faults), "Switch on",
          (kind, args) => verb("AddFault", { fault: { kind, ...args } }).then((number) => number === "0" ? "it has happened" : `fault ${number}`)).element,
        this.calls.element,
        this.story = el("p", {}),
      );
      if (this.link.state) {
        this.draw(this.link.state);
      }
    } catch (error) {
      NOTE.textContent = `there are no forms: ${error.message}`;
    }
  }

  draw(state) {
    if (!this.story) {
      return;
    }
    this.calls.element.hidden = state.tv.role === "onlooker";
    show(this.story, state.deeds, () => [
      el("a", { href: "story.json", download: "story.json", class: "button", "data-key": "story" }, "Save what I did as a story"),
      ` ${state.deeds} ${state.deeds === 1 ? "deed" : "deeds"} so far`,
    ]);
  }
}
