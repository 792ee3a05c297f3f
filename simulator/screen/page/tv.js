import { el, show, text } from "./dom.js";

const SCREEN = document.getElementById("tv-screen");
const REMOTE = document.getElementById("remote");
const NOTE = document.getElementById("tv-note");
const NO_LIMIT = 255;

const PADS = [ // three keys a row
  [["menu", "Menu"], ["up", "Up"], ["exit", "Exit"], ["back", "Back"], ["ok", "OK"], ["slot", "Slot"], null, ["down", "Down"]],
  [..."123456789"].map((digit) => [digit, digit]).concat([["clear", "Clear"], ["0", "0"]]),
];
const KEYBOARD = { ArrowUp: "up", ArrowDown: "down", Enter: "ok", Escape: "exit", Backspace: "clear", m: "menu" };

// A CAM takes its PIN as characters.
const bytes = (digits) => Array.from(digits, (digit) => digit.charCodeAt(0).toString(16).padStart(2, "0")).join("");

export class Tv {
  constructor(link) {
    this.link = link;
    this.slot = 0;
    this.open = null; // what is shown: a dialogue, or a question of the set's own
    this.chosen = 1;
    this.typed = "";
    REMOTE.append(...PADS.map((keys) => el("div", { class: "pad" }, ...keys.map((key) => key === null ? el("span")
      : el("button", { type: "button", "data-remote": key[0], on: { click: () => this.press(key[0]) } }, key[1])))));
    SCREEN.tabIndex = 0;
    SCREEN.addEventListener("keydown", (event) => {
      const key = /^[0-9]$/.test(event.key) ? event.key : KEYBOARD[event.key];
      const isTyping = event.target instanceof HTMLInputElement;
      if (key && (!isTyping || ["ok", "exit"].includes(key)) && !event.ctrlKey && !event.metaKey && !event.altKey
        && !(event.target instanceof HTMLButtonElement && key === "ok")) {
        event.preventDefault();
        this.press(key);
      }
    });
  }

  draw(state) {
    const { tv, set } = state;
    this.isApplication = tv.role === "application";
    this.slots = set.slots.map((slot) => slot.slot);
    const dialogues = tv.dialogues;
    const latest = tv.latest ?? Object.keys(dialogues)[0];
    if (latest !== this.latest || (!dialogues[this.slot] && dialogues[latest])) {
      this.latest = latest;
      if (dialogues[latest]) {
        this.slot = Number(latest);
      }
    }
    const question = tv.questions?.[this.slot];
    const open = dialogues[this.slot] ?? (question ? { kind: question } : null);
    const key = JSON.stringify([this.slot, open, tv.pages]);
    if (key !== this.key) { // another page: what was typed was not for it
      this.key = key;
      this.open = open;
      this.chosen = 1;
      this.typed = "";
    }
    for (const key of REMOTE.querySelectorAll("button")) {
      key.disabled = !this.isApplication && key.dataset.remote !== "slot";
    }
    this.calling = tv.calling ?? "";
    this.about = {
      role: tv.role, trouble: tv.trouble ?? "", slot: this.slot, cam: set.slots[this.slot], open: this.open,
      news: tv.news.length ? tv.news[tv.news.length - 1] : null,
    };
    this.redraw();
  }

  redraw() {
    const hadFocus = SCREEN.contains(document.activeElement);
    show(SCREEN, [this.about, this.chosen, this.open?.kind === "enquiry" || this.open?.kind === "pin" ? this.typed.length : 0,
      this.calling !== ""], () => this.page());
    if (this.isApplication && this.open) {
      const input = SCREEN.querySelector("input");
      if (input && input.value !== this.typed) {
        input.value = this.typed;
      }
    }
    if (hadFocus && !SCREEN.contains(document.activeElement)) {
      (SCREEN.querySelector("input") ?? SCREEN).focus();
    }
  }

  page() {
    const { role, trouble, slot, cam, open, news } = this.about;
    const status = role === "onlooker" ? "the command is the application: this page looks on"
      : role === "gone" ? "the application has ended" : trouble !== "" ? trouble : this.calling ? "calling…" : "";
    const head = el("p", { class: "tv-head" }, el("span", {}, `CI slot ${slot}`), el("span", { class: "tv-status" }, status));
    const line = news ? el("p", { class: "tv-news" }, `${news.type.replace("SIGNAL_CI_", "")}: ${news.words}`) : null;
    if (!open) {
      const words = cam?.phase === "ready" ? `${text(cam.menuString)} — press Menu` : `CAM: ${cam?.phase ?? "no slot"}`;
      return [head, el("p", { class: "tv-idle" }, words), line];
    }
    return [head, ...this.dialogue(open), line];
  }

  dialogue(open) {
    switch (open.kind) {
      case "menu":
        return [
          el("h3", {}, text(open.title)), el("p", { class: "tv-subtitle" }, text(open.subtitle)),
          el("ol", { class: "tv-choices" }, ...open.choices.map((choice, index) => el("li", {},
            el("button", {
              type: "button", disabled: !this.isApplication, "data-key": `choice-${index + 1}`,
              "aria-current": this.chosen === index + 1 ? "true" : null, on: { click: () => this.choose(index + 1) },
            }, el("span", { class: "number" }, `${index + 1}`), el("span", {}, text(choice)))))),
          el("p", { class: "tv-bottom" }, text(open.bottomLine)),
        ];
      case "list":
        return [
          el("h3", {}, text(open.title)), el("p", { class: "tv-subtitle" }, text(open.subtitle)),
          el("ul", { class: "tv-lines" }, ...open.lines.map((each) => el("li", {}, text(each)))),
          el("p", { class: "tv-bottom" }, text(open.bottomLine)),
        ];
      case "text":
        return [el("p", { class: "tv-text" }, text(open.text))];
      case "enquiry":
        return [el("p", { class: "tv-text" }, text(open.text)), this.entry(open.blindAnswer, open.answerLength)];
      case "pin":
        return [el("p", { class: "tv-text" }, "This programme needs the CAM's PIN"), this.entry(true, NO_LIMIT)];
      case "upgrade":
        return [el("p", { class: "tv-text" }, "The CAM has a firmware upgrade: OK lets it ask, Back refuses")];
      default:
        return [];
    }
  }

  entry(isBlind, length) {
    return el("input", {
      class: "tv-entry", type: isBlind ? "password" : "text", "aria-label": isBlind ? "answer, not shown" : "answer",
      autocomplete: "off", spellcheck: "false", "data-key": "entry", disabled: !this.isApplication,
      maxlength: length === NO_LIMIT ? null : length,
      on: { input: (event) => { this.typed = event.target.value; } },
    });
  }

  press(key) {
    if (key === "slot") {
      this.slot = this.slots[(this.slots.indexOf(this.slot) + 1) % this.slots.length];
      this.key = "";
      this.draw(this.link.state);
      return;
    }
    if (!this.isApplication) {
      return;
    }
    const kind = this.open?.kind;
    const isEntry = kind === "enquiry" || kind === "pin";
    if (/^[0-9]$/.test(key)) {
      if (isEntry) {
        const limit = this.open.answerLength ?? NO_LIMIT;
        this.typed = limit === NO_LIMIT || this.typed.length < limit ? this.typed + key : this.typed;
        this.redraw();
      } else if (kind === "menu" && key !== "0" && Number(key) <= this.open.choices.length) {
        this.choose(Number(key));
      } else if (kind === "menu" && key === "0") {
        this.choose(0);
      }
      return;
    }
    switch (key) {
      case "menu":
        this.call("EnterMenu", { oneWay: false });
        break;
      case "up":
      case "down":
        if (kind === "menu" && this.open.choices.length > 0) {
          const count = this.open.choices.length;
          this.chosen = ((this.chosen - 1 + (key === "up" ? count - 1 : 1)) % count) + 1;
          this.redraw();
          SCREEN.querySelector("[aria-current]")?.scrollIntoView({ block: "nearest" });
        }
        break;
      case "clear":
        this.typed = this.typed.slice(0, -1);
        this.redraw();
        break;
      case "ok":
        this.confirm(kind);
        break;
      case "back":
        this.leave(kind);
        break;
      case "exit":
        if (kind && kind !== "pin" && kind !== "upgrade") {
          this.call("CloseMmi", { flag: false, oneWay: false });
        } else {
          this.leave(kind);
        }
        break;
    }
  }

  confirm(kind) {
    if (kind === "menu") {
      this.choose(this.open.choices.length > 0 ? this.chosen : 0);
    } else if (kind === "list" || kind === "text") {
      this.choose(0);
    } else if (kind === "enquiry") {
      this.call("AnswerMmiEnquiry", { answerId: "MMI_ANSWER_ID_ANSWER", answer: this.take(), flag: false, oneWay: false });
    } else if (kind === "pin") {
      this.call("VerifyCamPin", { pin: bytes(this.take()), oneWay: false });
    } else if (kind === "upgrade") {
      this.call("SendCamUpgradeReply", { answer: "CAM_UPGRADE_ANSWER_ASK", oneWay: false });
    }
  }

  leave(kind) {
    if (kind === "menu" || kind === "list" || kind === "text") {
      this.choose(0);
    } else if (kind === "enquiry") {
      this.take();
      this.call("AnswerMmiEnquiry", { answerId: "MMI_ANSWER_ID_CANCEL", answer: "", flag: false, oneWay: false });
    } else if (kind === "upgrade") {
      this.call("SendCamUpgradeReply", { answer: "CAM_UPGRADE_ANSWER_NO", oneWay: false });
    } else if (kind === "pin") {
      this.take();
      this.open = null;
      this.about.open = null;
      this.redraw();
    }
  }

  take() {
    const typed = this.typed;
    this.typed = "";
    const input = SCREEN.querySelector("input");
    if (input) {
      input.value = "";
    }
    return typed;
  }

  choose(choice) {
    this.call("AnswerMmiMenu", { choice, flag: false, oneWay: false });
  }

  call(operation, args) {
    NOTE.textContent = "";
    this.link.call(`ICIGeneral.${operation}`, { slot: this.slot, ...args }).then(
      (answer) => { NOTE.textContent = answer.result === 1 || answer.result === true ? "" : `${operation}: refused`; },
      (error) => { NOTE.textContent = `${operation}: ${error.message}`; },
    );
  }
}
