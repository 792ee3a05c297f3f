#!/usr/bin/env python3
"""The simulator's page: who is served, and what a person does in a browser.

Usage: screen_test.py SIMULATOR [CHROMIUM CHROMEDRIVER] CASES     CASES: WhoIsServed, InABrowser, or one of their cases
       screen_test.py SIMULATOR CHROMIUM CHROMEDRIVER FILE.png    takes the picture that the documentation shows
"""
import base64
import functools
import http.client
import json
import os
import select
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request

from browser import PATIENCE, Browser

SIMULATOR, *BROWSER, CASES = sys.argv[1:]
MENU = "#remote [data-remote=menu]"
PAGE = "#tv-screen"


class PortTaken(Exception):
    """Between two simulators on one port somebody else has taken it."""


def with_a_port_for_two(test):
    """Begins again, with another port, when it has been taken in between."""
    @functools.wraps(test)
    def tried(self):
        for _ in range(4):
            try:
                return test(self)
            except PortTaken:
                continue
        return test(self)
    return tried


class Simulator:
    """`ci-daemon-sim screen`, until the end of the block."""

    def __init__(self, *words):
        self.words = words

    def __enter__(self):
        def end_with_parent():
            import ctypes
            ctypes.CDLL(None).prctl(1, signal.SIGTERM, 0, 0, 0)  # PR_SET_PDEATHSIG
        self.errors = tempfile.TemporaryFile("w+")
        self.process = subprocess.Popen([SIMULATOR, "screen", *self.words], stdout=subprocess.PIPE, text=True,
                                        stderr=self.errors, preexec_fn=end_with_parent)
        if not select.select([self.process.stdout], [], [], PATIENCE)[0]:
            self.__exit__()
            raise TimeoutError("no address")
        self.address = self.process.stdout.readline().strip()
        if not self.address:
            self.__exit__()
            raise PortTaken() if "in use" in self.said else RuntimeError(f"no address, status {self.status}")
        self.port = int(self.address.split(":")[2].split("/")[0])
        return self

    def __exit__(self, *_):
        self.process.terminate()
        try:
            self.status = self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise
        finally:
            self.process.stdout.close()
            self.errors.seek(0)
            self.said = self.errors.read()
            self.errors.close()
            sys.stderr.write(self.said)

    def get(self, name):
        with urllib.request.urlopen(self.address + name, timeout=PATIENCE) as reply:
            return reply.read()


def status_of(simulator, path, method="GET", **headers):
    connection = http.client.HTTPConnection("127.0.0.1", simulator.port, timeout=PATIENCE)
    try:
        connection.putrequest(method, path, skip_host=True)
        for name, value in {"Host": f"127.0.0.1:{simulator.port}", **headers}.items():
            connection.putheader(name.replace("_", "-"), value)
        connection.endheaders()
        return connection.getresponse().status
    finally:
        connection.close()


class WhoIsServed(unittest.TestCase):
    def test_only_who_knows_the_address_and_is_no_other_page(self):
        with Simulator() as simulator:
            token = "/" + simulator.address.split("/")[3] + "/"
            own = f"http://127.0.0.1:{simulator.port}"
            upgrade = {"Connection": "Upgrade", "Upgrade": "websocket", "Sec_WebSocket_Version": "13",
                       "Sec_WebSocket_Key": base64.b64encode(b"0123456789abcdef").decode()}
            wrong = "/" + "0" * 32 + "/"
            cases = [
                (200, token, {}),
                (200, token + "main.js", {}),
                (200, token + "main.js", {"Origin": own}),
                (200, token, {"Host": f"localhost:{simulator.port}"}),
                (404, token + "secret.txt", {}),
                (403, "/", {}),
                (403, wrong, {}),
                (301, token[:-1], {}),
                (403, token[:-2], {}),
                (403, token[:-2] + "/", {}),
                (403, token + "tables.json", {"Origin": "http://elsewhere.example"}),
                (403, token, {"Host": "elsewhere.example"}),
                (403, token, {"Host": f"elsewhere.example:{simulator.port}"}),
                (403, token, {"method": "POST"}),
                (101, token + "socket", {"Origin": own, **upgrade}),
                (403, token + "socket", {"Origin": "http://elsewhere.example", **upgrade}),
                (403, token + "socket", {"Origin": "null", **upgrade}),
                (403, token + "socket", {"Origin": f"http://127.0.0.1:{simulator.port + 1}", **upgrade}),
                (403, token + "socket", upgrade),
                (403, wrong + "socket", {"Origin": own, **upgrade}),
                (403, token + "socket", {"Origin": f"http://elsewhere.example:{simulator.port}",
                                         "Host": f"elsewhere.example:{simulator.port}", **upgrade}),
            ]
            for expected, path, headers in cases:
                with self.subTest(path=path, headers=headers):
                    self.assertEqual(status_of(simulator, path, **headers), expected)
            with open("/proc/net/tcp", encoding="ascii") as sockets:
                fields = [line.split() for line in sockets]
            listening = [field[1] for field in fields
                         if field[3] == "0A" and field[1].endswith(f":{simulator.port:04X}")]
            self.assertEqual(listening, [f"0100007F:{simulator.port:04X}"])
            with urllib.request.urlopen(simulator.address, timeout=PATIENCE) as reply:
                policy = reply.headers["Content-Security-Policy"]
                page = reply.read().decode()
            self.assertIn("default-src 'none'", policy)
            self.assertNotIn("unsafe", policy)
            self.assertNotIn("http", page.replace("http-equiv", ""), "nothing is fetched from elsewhere")
        self.assertEqual(simulator.status, 0)

    @with_a_port_for_two
    def test_the_token_file_keeps_the_address_and_is_its_users_alone(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "token")
            with Simulator("--token-file", path) as first:
                pass
            self.assertEqual(os.stat(path).st_mode & 0o777, 0o600)
            with Simulator("--token-file", path, "--port", str(first.port)) as second:
                self.assertEqual(second.address, first.address)
            os.chmod(path, 0o644)
            refused = subprocess.run([SIMULATOR, "screen", "--token-file", path], capture_output=True, text=True,
                                     timeout=PATIENCE)
            self.assertEqual(refused.returncode, 1)
            self.assertIn("chmod 600", refused.stderr)

    def test_a_port_that_is_taken_is_said(self):
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            port = str(taken.getsockname()[1])
            refused = subprocess.run([SIMULATOR, "screen", "--port", port], capture_output=True, text=True,
                                     timeout=PATIENCE)
        self.assertEqual(refused.returncode, 1)
        self.assertIn(f"port {port}", refused.stderr)


class InABrowser(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = cls.enterClassContext(Browser(*BROWSER))

    def setUp(self):
        self.browser.size(1280, 1000)

    def show(self, simulator):
        self.browser.open(simulator.address)
        self.browser.until_text("#connection", "connected")

    def open_menu(self):
        """The seconds that it takes."""
        begin = time.monotonic()
        self.browser.click(MENU)
        self.browser.until(lambda: self.browser.run("return !!document.querySelector('.tv-choices')"), "a menu")
        return time.monotonic() - begin

    def close_menu(self):
        self.browser.click("#remote [data-remote=exit]")
        self.browser.until(lambda: not self.browser.run("return !!document.querySelector('.tv-choices')"), "no menu")

    def leave(self):
        self.assertEqual(self.browser.complaints(), [])
        self.browser.open("about:blank")

    def test_a_story_is_played_by_clicking_and_no_pin_is_shown(self):
        browser = self.browser
        with Simulator("enquiry-pin") as simulator:
            self.show(simulator)
            browser.until_text("#slot-0", "State\nready")
            browser.click(MENU)
            browser.until_text(PAGE, "Enter your PIN")
            self.assertEqual(browser.run("return document.querySelector('.tv-entry').type"), "password")
            for digit in "0042":
                browser.click(f"#remote [data-remote='{digit}']")
            browser.click("#remote [data-remote=ok]")
            browser.until_text("#chart", "AnswerMmiEnquiry")
            browser.click("#chart .call", "AnswerMmiEnquiry")
            browser.until_text("#details", '"***"')
            browser.until_text("#details", "reply ICIGeneral.AnswerMmiEnquiry")
            self.assertNotIn("0042", browser.run("return document.documentElement.outerHTML"))
            self.assertNotIn(b"0042", simulator.get("traffic.pcapng").replace(b"\0", b""))
            self.leave()

    def test_the_set_asks_by_itself(self):
        browser = self.browser
        with Simulator("pin-content-control") as simulator:
            self.show(simulator)
            browser.until_text(PAGE, "needs the CAM's PIN")
            for digits, state in (("9999", "2 tries left"), ("0042", "verified")):
                browser.until(lambda: browser.run("return document.querySelector('.tv-entry').value") == "", "no digits")
                browser.type(".tv-entry", digits + "\ue007")
                browser.until_text("#slot-0", state)
            browser.until(lambda: "needs the CAM's PIN" not in browser.words(PAGE), "no question any more")
            self.leave()
        with Simulator("upgrade-delayed") as simulator:
            self.show(simulator)
            browser.until_text(PAGE, "firmware upgrade")
            browser.click("#remote [data-remote=ok]")
            browser.click(f"{PAGE} .tv-choices button")
            browser.until_text("#story", "reads the new name")
            self.leave()

    def test_a_cam_that_is_pulled_takes_its_dialogue_along(self):
        browser = self.browser
        with Simulator("cam-pulled") as simulator:
            self.show(simulator)
            browser.until_text("#slot-0", "State\nready")
            browser.until_text("#story", "cam-pulled")
            browser.click(MENU)
            browser.until(lambda: browser.run("return !!document.querySelector('.tv-choices')"), "a menu")
            browser.click("#slot-0 button", "Pull")
            browser.until_text("#slot-0", "State\nabsent")
            browser.until(lambda: not browser.run("return !!document.querySelector('.tv-choices')"), "no menu")
            browser.until_text("#tv-screen", "absent")
            browser.click("#slot-0 button", "Insert")
            browser.until_text("#slot-0", "State\ninit")
            self.leave()

    def test_a_story_of_two_pages_over_to_its_end(self):
        browser = self.browser
        with Simulator("menu-walk") as simulator:
            self.show(simulator)
            browser.until_text("#slot-0", "State\nready")
            first = browser.tabs()[0]
            second = browser.new_tab()
            browser.go_to(second)
            browser.size(1280, 1000)
            self.show(simulator)
            browser.click(MENU)
            browser.until_text(PAGE, "Kelvora")
            browser.until(lambda: browser.run("return !!document.querySelector('.tv-choices')"), "a menu")
            shown = browser.text(".tv-choices")
            browser.go_to(first)
            browser.until(lambda: browser.text(".tv-choices") == shown, "the same menu in the other tab")
            browser.run("document.querySelector('#tv-screen').focus()")
            browser.type(PAGE, "\ue015\ue007")  # arrow down, enter
            browser.until(lambda: browser.text(".tv-choices") != shown, "the page behind the second entry")
            browser.type(PAGE, "\ue00c")  # escape
            browser.until_text("#story", "played")
            browser.go_to(second)
            browser.until_text("#story", "played")
            self.assertEqual(browser.complaints(), [])
            browser.close_tab()
            browser.go_to(first)
            self.leave()

    @with_a_port_for_two
    def test_a_page_comes_back_with_its_simulator(self):
        browser = self.browser
        with tempfile.TemporaryDirectory() as folder:
            token = os.path.join(folder, "token")
            with Simulator("--token-file", token) as simulator:
                self.show(simulator)
                browser.until_text("#slot-0", "plus")
            browser.until_text("#connection", "no connection")
            with Simulator("--token-file", token, "--port", str(simulator.port), "--insert", "0="):
                browser.until_text("#connection", "connected")
                browser.until_text("#slot-0", "absent")
                browser.complaints()  # of the time without a simulator
                self.leave()

    def test_the_hand_makes_faults_and_a_story(self):
        browser = self.browser
        with Simulator() as simulator:
            self.show(simulator)
            browser.click("summary", "Switch a fault on")
            browser.type("#form-fault-0", "300")  # ms
            browser.type("#form-fault-1", "EnterMenu")
            browser.click("#form-fault button[type=submit]")
            browser.until_text("#form-fault output", "fault 1")
            browser.until_text("#slot-0", "State\nready")
            browser.click(MENU)
            browser.until_text("#chart .late", "EnterMenu")
            browser.click("summary", "Do something")
            browser.choose("#form-verb-choice", "RemoveCard")
            browser.click("#form-verb button[type=submit]")
            browser.until_text("#slot-0", "Card\nout")
            browser.click("#form-verb button[type=submit]")
            browser.choose("#form-verb-choice", "InsertCam")
            browser.type("#form-verb-0", "9")
            browser.type("#form-verb-1", "plus")
            browser.click("#form-verb button[type=submit]")
            browser.until_text("#form-verb .bad", "9")
            browser.click("summary", "Move the clock")
            browser.type("#form-clock-0", "3600000")
            browser.click("#form-clock button[type=submit]")
            browser.until_text("#clock", "01:00")
            browser.click("summary", "Call an operation")
            browser.choose("#form-call-choice", "ICIGeneral.GetApplicationInfo")
            browser.type("#form-call-0", "0")
            browser.click("#form-call button[type=submit]")
            browser.until_text("#form-call output", "Kelvora CAM")
            self.assertTrue(browser.run("const chart = document.querySelector('#chart');"
                                        "return chart.scrollTop === 0 && chart.scrollHeight > chart.clientHeight"))
            story = simulator.get("story.json").decode()
            self.leave()
        with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
            file.write(story)
            file.flush()
            checked = subprocess.run([SIMULATOR, "check", file.name], capture_output=True, text=True, timeout=PATIENCE)
        self.assertEqual(checked.returncode, 0, checked.stderr + story)
        deeds = [next(iter(deed)) for event in json.loads(story)["story"] for deed in event.get("do", [])]
        self.assertEqual(deeds, ["advance", "fault", "card-out", "advance"])
        called = [event["when"]["called"]["operation"] for event in json.loads(story)["story"]
                  if "called" in event.get("when", {})]
        self.assertEqual(called, ["ICIGeneral.EnterMenu"])

    def test_a_storm_leaves_the_page_responsive(self):
        browser = self.browser
        with Simulator() as simulator:
            self.show(simulator)
            browser.until_text("#slot-0", "State\nready")
            quiet = self.open_menu()
            self.close_menu()
            browser.click("summary", "Switch a fault on")
            browser.choose("#form-fault-choice", "storm")
            for index, value in enumerate(["6000", "2000", "SIGNAL_CI_CAM_MODE_CHANGED"]):
                browser.type(f"#form-fault-{index}", value)
            browser.click("#form-fault button[type=submit]")
            browser.until_text("#form-fault output", "it has happened")
            browser.until_text("#chart", "CAM_MODE_CHANGED")
            self.assertLess(self.open_menu(), 3 + 20 * quiet)
            browser.click("#pause")
            browser.until(lambda: int(browser.text("#traffic-count").split()[0]) >= 4500, "many messages")
            self.assertLessEqual(browser.run("return document.querySelectorAll('#chart .message').length"), 250)
            browser.click("#pause")
            self.close_menu()
            self.open_menu()  # the call before may be too old by now: 5,000 messages are kept
            browser.type("#filter", "entermenu")
            browser.until(lambda: browser.run("const names = [...document.querySelectorAll('#chart .name')];"
                                              "return names.length > 0"
                                              " && names.every(each => each.textContent.includes('EnterMenu'))"),
                          "a filter")
            recording = simulator.get("traffic.pcapng")
            self.leave()
        with tempfile.NamedTemporaryFile(suffix=".pcapng") as file:
            file.write(recording)
            file.flush()
            told = subprocess.run([SIMULATOR, "scenario", file.name], capture_output=True, text=True,
                                  timeout=2 * PATIENCE)
        self.assertEqual(told.returncode, 0, told.stderr)
        self.assertIn("EnterMenu", told.stdout)

    def test_a_call_without_an_answer_is_told_and_holds_nothing_up(self):
        browser = self.browser
        with Simulator("--fault", '{"kind": "never", "operation": "EnterMenu"}') as simulator:
            self.show(simulator)
            browser.until_text("#slot-0", "State\nready")
            browser.click(MENU)
            browser.until_text("#chart .open", "no reply for")
            browser.click("#slot-0 button", "Pull")
            browser.until_text("#slot-0", "State\nabsent")
            self.leave()
        self.assertEqual(simulator.status, 0)

    def test_another_application_is_looked_on(self):
        browser = self.browser
        script = "import time; time.sleep(300)"
        with Simulator("--", sys.executable, "-c", script) as simulator:
            self.show(simulator)
            browser.until_text(PAGE, "looks on")
            browser.until_text("#slot-0", "State\nready")
            browser.click("#slot-0 button", "Open menu")
            browser.until(lambda: browser.run("return !!document.querySelector('.tv-choices')"), "a menu")
            self.assertTrue(browser.run("return document.querySelector(arguments[0]).disabled", MENU))
            self.leave()

    def test_nothing_scrolls_sideways_on_a_narrow_page(self):
        browser = self.browser
        with Simulator("menu-250-entries") as simulator:
            self.show(simulator)
            browser.until_text("#slot-0", "State\nready")
            browser.click(MENU)
            browser.until(lambda: browser.run("return document.querySelectorAll('.tv-choices li').length") == 250, "250")
            browser.click("summary", "Switch a fault on")
            browser.click("#chart .call", "EnterMenu")
            browser.until_text("#details", "EnterMenu")
            papers = set()
            for width in (1280, 400):
                for scheme in ("light", "dark"):
                    browser.size(width, 900, scheme)
                    scroll, client, paper = browser.run(
                        "const root = document.documentElement;"
                        "return [root.scrollWidth, root.clientWidth, getComputedStyle(document.body).backgroundColor]")
                    self.assertLessEqual(scroll, client, f"{width} pixels, {scheme}")
                    papers.add(paper)
            self.assertEqual(len(papers), 2)
            self.leave()


def take_picture(path):
    with Browser(*BROWSER) as browser, Simulator("menu-walk") as simulator:
        browser.size(1200, 1345)
        browser.tool("Emulation.setScrollbarsHidden", hidden=True)
        browser.open(simulator.address)
        browser.until_text("#slot-0", "State\nready")
        browser.click("#filter-signal")
        browser.type("#filter", "mmi")
        browser.click(MENU)
        browser.until(lambda: browser.run("return !!document.querySelector('.tv-choices')"), "a menu")
        browser.click(f"{PAGE} .tv-choices button")
        browser.until_text("#chart", "AnswerMmiMenu")
        browser.click("#filter-signal")
        browser.run("document.activeElement.blur()")
        with open(path, "wb") as file:
            file.write(browser.picture(1200, 1345, 0.8))


if __name__ == "__main__":
    if CASES.endswith(".png"):
        take_picture(CASES)
    else:
        unittest.main(argv=[sys.argv[0], "-v", *CASES.split(",")])
