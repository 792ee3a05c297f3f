// The way to the simulator: the state, which comes as differences, and requests.

const AGAIN_MS = 500;
const SELDOM_MS = 3000;
const HIDDEN_MS = 250;

function place(root, path) {
  const steps = path.split("/").slice(1).map((step) => step.replaceAll("~1", "/").replaceAll("~0", "~"));
  const last = steps.pop();
  let parent = root;
  for (const step of steps) {
    parent = parent[step];
  }
  return [parent, last];
}

// RFC 6902, as far as differences need it.
export function patched(state, operations) {
  for (const { op, path, value } of operations) {
    if (path === "") {
      state = value;
      continue;
    }
    const [parent, name] = place(state, path);
    if (op === "remove") {
      Array.isArray(parent) ? parent.splice(Number(name), 1) : delete parent[name];
    } else if (op === "add" && Array.isArray(parent)) {
      parent.splice(name === "-" ? parent.length : Number(name), 0, value);
    } else {
      parent[name] = value;
    }
  }
  return state;
}

export class Link {
  constructor(onChange, onConnection) {
    this.onChange = onChange;
    this.onConnection = onConnection;
    this.wait = AGAIN_MS;
    this.lastId = 0;
    this.connect();
  }

  connect() {
    this.state = null;
    this.frames = [];
    this.isDue = false;
    this.asked = new Map();
    this.socket = new WebSocket(new URL("socket", location.href).href.replace(/^http/, "ws"));
    this.socket.onmessage = (event) => this.hear(JSON.parse(event.data));
    this.socket.onclose = () => this.lose();
  }

  lose() {
    for (const { reject } of this.asked.values()) {
      reject(new Error("the connection is lost"));
    }
    this.asked.clear();
    this.onConnection(false);
    setTimeout(() => this.connect(), this.wait);
    this.wait = Math.min(this.wait * 2, SELDOM_MS);
  }

  hear(message) {
    if (message.reply !== undefined) {
      const asked = this.asked.get(message.reply);
      this.asked.delete(message.reply);
      if (message.error !== undefined) {
        asked?.reject(new Error(message.error));
      } else {
        asked?.resolve(message);
      }
      return;
    }
    this.frames.push(message);
    if (!this.isDue) {
      this.isDue = true;
      const socket = this.socket;
      const draw = () => socket === this.socket && this.draw();
      document.hidden ? setTimeout(draw, HIDDEN_MS) : requestAnimationFrame(draw);
    }
  }

  // All that has come is drawn at once; only then the simulator sends more.
  draw() {
    this.isDue = false;
    const isFirst = this.state === null;
    const traffic = [];
    let lost = 0;
    let last = 0;
    for (const frame of this.frames.splice(0)) {
      this.state = patched(this.state, frame.patch);
      traffic.push(...(frame.traffic ?? []));
      lost += frame.lost ?? 0;
      last = frame.frame;
    }
    if (isFirst) {
      this.wait = AGAIN_MS;
      this.onConnection(true);
    }
    this.onChange(this.state, traffic, lost);
    this.send({ taken: last });
  }

  send(message) {
    if (this.socket.readyState === WebSocket.OPEN) {
      this.socket.send(JSON.stringify(message));
    }
  }

  // Resolves with the answer; rejects with what is wrong.
  request(message) {
    return new Promise((resolve, reject) => {
      if (this.socket.readyState !== WebSocket.OPEN) {
        reject(new Error("there is no connection"));
        return;
      }
      const id = ++this.lastId;
      this.asked.set(id, { resolve, reject });
      this.send({ ...message, id });
    });
  }

  verb(name, args = {}) {
    return this.request({ do: "verb", name, arguments: args });
  }

  call(operation, args) {
    return this.request({ do: "call", operation, arguments: args });
  }
}
