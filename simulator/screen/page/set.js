import { el, show } from "./dom.js";

const CARDS = document.getElementById("cards");
const EMI = ["copying free", "no more copies", "one copy", "never copied"];

const hex = (number) => `0x${number.toString(16).toUpperCase().padStart(4, "0")}`;
const ofSlot = (list, slot) => (list ?? []).find((entry) => entry.slot === slot);
const short = (name, prefix) => String(name).replace(prefix, "");

function minutes(ms) {
  return ms < 0 ? "over" : ms < 120000 ? `${Math.ceil(ms / 1000)} s left` : `${Math.ceil(ms / 60000)} min left`;
}

function list(rows) {
  const entries = [];
  for (const [name, value] of rows) {
    if (value !== undefined && value !== null && value !== "") {
      entries.push(el("dt", {}, name), el("dd", {}, String(value)));
    }
  }
  return el("dl", {}, ...entries);
}

export class SetView {
  constructor(link) {
    this.link = link;
    this.cards = new Map();
  }

  draw({ set }) {
    for (const slot of set.slots) {
      this.card(`slot-${slot.slot}`, this.aboutSlot(set, slot), (about) => this.drawSlot(about));
    }
    const recordings = set.pvr.recordings.map((recording) => ({
      ...recording,
      left: recording.expiresAt === null ? null : minutes(recording.expiresAt - set.now),
    }));
    this.card("recordings", { recordings, playing: set.pvr.playing }, (about) => this.drawRecordings(about));
    this.card("host", this.aboutHost(set), ({ rows }) => [el("h3", {}, "Host"), list(rows)]);
  }

  card(id, about, make) {
    let card = this.cards.get(id);
    if (!card) {
      card = el("article", { class: "card", id });
      this.cards.set(id, card);
      CARDS.append(card);
    }
    show(card, about, () => make(about));
  }

  aboutSlot(set, slot) {
    const ca = ofSlot(set.ca.slots, slot.slot);
    const pin = ofSlot(set.pin, slot.slot);
    const upgrade = ofSlot(set.upgrade, slot.slot);
    const player = set.player && set.player.slot === slot.slot ? set.player : null;
    const mmi = ofSlot(set.mmi, slot.slot);
    const run = ofSlot(set.profiles.installations, slot.slot);
    const names = (profiles) => profiles.filter((each) => each.slot === slot.slot).map((each) => each.name).join(", ");
    const tries = pin && (pin.hasPin ? `${pin.triesLeft} tries left` : "none");
    const states = pin ? ["blocked", "asked", "verified"].filter((word) => pin[word]) : [];
    return {
      slot: slot.slot,
      phase: slot.phase,
      cardIn: ca?.cardIn,
      cams: slot.phase === "absent" ? set.cams : null,
      rows: [
        ["State", slot.phase],
        ["CAM", slot.cam],
        ["Application", slot.menuString],
        ["Manufacturer", slot.manufacturer],
        ["Mode", slot.mode && short(slot.mode, "CAM_MODE_")],
        ["Card", ca && (ca.cardIn ? "in" : "out")],
        ["CA systems", ca && (ca.caSystemIds.map(hex).join(", ") || "none")],
        ["Descrambles", ca && (ca.pipelines.map((each) => `${short(each.profile, "PROFILE_")} ${each.handle}`).join(", ") || "nothing")],
        ["PIN", pin && [tries, ...states].join(", ")],
        ["Dialogue", mmi && `${mmi.kind}, level ${mmi.depth}`],
        ["Upgrade", upgrade && `${upgrade.step}, ${upgrade.percent} %`],
        ["Player", player && `${player.location} at ${(player.positionMs / 1000).toFixed(0)} s, speed ${player.speed}`],
        ["Operator profile", slot.phase === "absent" ? null
          : [["installed", names(set.profiles.installed)], ["offered", names(set.profiles.offered)],
            ["running", run?.running ? "yes" : ""]].filter(([, value]) => value).map((pair) => pair.join(": ")).join("; ") || "none"],
      ],
    };
  }

  button(slot, label, verb, args = {}) {
    return el("button", { type: "button", "data-key": verb, on: { click: () => this.do(verb, { slot, ...args }) } }, label);
  }

  do(verb, args) {
    this.link.verb(verb, args).then(
      () => this.note(""),
      (error) => this.note(error.message),
    );
  }

  note(words) {
    document.getElementById("hand-note").textContent = words;
  }

  drawSlot({ slot, phase, cardIn, cams, rows }) {
    const tools = el("div", { class: "tools" });
    if (phase === "absent") {
      const choice = el("select", { "aria-label": `CAM for slot ${slot}`, "data-key": "cam" },
        ...cams.map((cam) => el("option", {}, cam)));
      tools.append(choice, el("button", { type: "button", "data-key": "InsertCam",
        on: { click: () => this.do("InsertCam", { slot, cam: choice.value }) } }, "Insert"));
    } else {
      tools.append(this.button(slot, "Pull", "RemoveCam"), this.button(slot, "Reset", "ResetCam"),
        cardIn ? this.button(slot, "Card out", "RemoveCard") : this.button(slot, "Card in", "InsertCard"));
      if (phase === "ready") {
        tools.append(this.button(slot, "Open menu", "OpenMenu"), this.button(slot, "Ask PIN", "AskPin"));
      }
    }
    return [el("h3", { class: phase }, `Slot ${slot}`), list(rows), tools];
  }

  drawRecordings({ recordings, playing }) {
    const rows = recordings.map((recording) => el("tr", { class: recording.exceeded || recording.blocked ? "bad" : "" },
      el("td", {}, recording.file + (recording.file === playing ? " (plays)" : "")),
      el("td", {}, EMI[recording.emi] ?? recording.emi),
      el("td", {}, [recording.exceeded ? "expired" : recording.left ?? "no limit",
        recording.expiredSections && !recording.exceeded ? `${recording.expiredSections} sections expired` : "",
        recording.blocked ? "blocked" : "",
        recording.playsLeft >= 0 ? `${recording.playsLeft} plays left` : ""].filter(Boolean).join(", "))));
    return [el("h3", {}, "Recordings"), el("table", {},
      el("thead", {}, el("tr", {}, ...["File", "Copy control", "Expiry"].map((name) => el("th", { scope: "col" }, name)))),
      el("tbody", {}, ...rows))];
  }

  aboutHost(set) {
    return {
      rows: [
        ["Tuner", set.host.hostControl === null ? "free" : `held by slot ${set.host.hostControl}`],
        ["Tuning", set.host.tuneBlocked ? "forbidden" : "allowed"],
        ["SAS sessions", set.sas.length || null],
        ["File systems", set.fileSystems.length || null],
        ["Sample decryptions", set.sampleDecryption.length || null],
        ["Faults", set.faults.map((fault) => `${fault.number ?? ""} ${fault.kind ?? fault.fault?.kind ?? ""}`.trim()).join(", ") || "none"],
        ["Bus names", set.daemon.names.length],
      ],
    };
  }
}
