"""A headless browser, driven by the W3C WebDriver protocol."""
import base64
import json
import os
import select
import signal
import subprocess
import sys
import tempfile
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
PATIENCE = 40.0


class Browser:
    """Ends with its block, and also with this process, however that ends."""

    def __init__(self, chromium, driver):
        self.chromium, self.driver = chromium, driver

    def __enter__(self):
        folder = tempfile.mkdtemp(prefix="ciapi-browser-")
        guard = os.path.join(os.path.dirname(os.path.abspath(__file__)), "browser_guard.py")
        self.guard = subprocess.Popen([sys.executable, guard, self.driver, folder], stdin=subprocess.PIPE,
                                      stdout=subprocess.PIPE, text=True, start_new_session=True)
        try:
            if not select.select([self.guard.stdout], [], [], PATIENCE)[0]:
                raise TimeoutError("the driver does not start")
            self.root = f"http://127.0.0.1:{int(self.guard.stdout.readline())}/session"
            arguments = ["--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu", "--no-first-run",
                         "--disable-extensions", "--disable-background-networking", "--disable-component-update",
                         "--disable-sync", "--window-size=1280,1000", f"--user-data-dir={folder}/profile"]
            options = {"binary": self.chromium, "args": arguments}
            self.root += "/" + self.ask("POST", "", {"capabilities": {"alwaysMatch": {
                "goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}}}, 2 * PATIENCE)["sessionId"]
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        self.guard.stdin.close()
        try:
            status = self.guard.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            os.killpg(self.guard.pid, signal.SIGKILL)  # it leads a session of its own
            self.guard.wait()
            raise
        finally:
            self.guard.stdout.close()
        if status != 0:
            raise RuntimeError(f"the browser's guard has ended with status {status}")

    def ask(self, method, path, content=None, seconds=PATIENCE):
        data = None if method == "GET" else json.dumps(content or {}).encode()
        request = urllib.request.Request(self.root + path, data, {"Content-Type": "application/json"}, method=method)
        try:
            with urllib.request.urlopen(request, timeout=seconds) as reply:
                return json.load(reply)["value"]
        except urllib.error.HTTPError as error:
            value = json.load(error)["value"]
            raise RuntimeError(f"{value['error']}: {value['message'].splitlines()[0]}") from None

    def open(self, address):
        self.ask("POST", "/url", {"url": address})

    def run(self, script, *arguments):
        return self.ask("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def tool(self, command, **parameters):
        return self.ask("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def find(self, selector):
        return self.ask("POST", "/element", {"using": "css selector", "value": selector})[ELEMENT]

    def click(self, selector, words=None):
        """The first that has the words; once it is there and can be clicked."""
        def is_clicked():
            if words is None:
                return self.ask("POST", f"/element/{self.find(selector)}/click") is None
            found = self.run("return [...document.querySelectorAll(arguments[0])]"
                             ".find(each => each.textContent.includes(arguments[1])) ?? null", selector, words)
            return found is not None and self.ask("POST", f"/element/{found[ELEMENT]}/click") is None
        self.until(is_clicked, f"{selector} {words or ''} to click")

    def type(self, selector, text):
        """Once it can be typed in; what is refused has typed nothing."""
        self.until(lambda: self.ask("POST", f"/element/{self.find(selector)}/value", {"text": text}) is None,
                   f"{selector} to type in")

    def choose(self, selector, value):
        self.run("const [input] = document.querySelectorAll(arguments[0]); input.value = arguments[1];"
                 "input.dispatchEvent(new Event('change', {bubbles: true}))", selector, value)

    def text(self, selector):
        return self.run("return document.querySelector(arguments[0])?.innerText ?? ''", selector)

    def words(self, selector):
        """Also those that are out of sight, and so not drawn."""
        return self.run("const found = document.querySelector(arguments[0]);"
                        "return found ? found.innerText + '\\n' + found.textContent : ''", selector)

    def until(self, condition, what, seconds=PATIENCE):
        end = time.monotonic() + seconds
        while True:
            reason = ""
            try:
                if condition():
                    return
            except RuntimeError as error:  # not there yet, or gone between two looks
                reason = f" ({error})"
            if time.monotonic() > end:
                raise AssertionError(f"waited for: {what}{reason}")
            time.sleep(0.03)

    def until_text(self, selector, words, seconds=PATIENCE):
        try:
            self.until(lambda: words in self.words(selector), f"{selector} with {words!r}", seconds)
        except AssertionError as error:
            raise AssertionError(f"{error}, not {self.text(selector)!r}") from None

    def size(self, width, height, scheme="light"):
        self.tool("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.tool("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])

    def tabs(self):
        return self.ask("GET", "/window/handles")

    def new_tab(self):
        return self.ask("POST", "/window/new", {"type": "tab"})["handle"]

    def go_to(self, tab):
        self.ask("POST", "/window", {"handle": tab})

    def close_tab(self):
        self.ask("DELETE", "/window")

    def complaints(self):
        return [entry["message"] for entry in self.ask("POST", "/se/log", {"type": "browser"})
                if entry["level"] == "SEVERE"]

    def picture(self, width, height, scale):
        clip = {"x": 0, "y": 0, "width": width, "height": height, "scale": scale}
        return base64.b64decode(self.tool("Page.captureScreenshot", format="png", clip=clip)["data"])
