#!/usr/bin/env python3
"""An on-screen display that shares nothing with the library but docs/protocol.md. Runs until SIGTERM.

Usage: foreign_viewer.py [WORD ...]     words as of example-osd: an entry, an answer, "." to look on
"""
import os
import signal
import struct
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "foreign"))

import dbus
import dbus.lowlevel
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

from foreign_daemon import LEAF, children, node, read_tree, text, tree

PREFIX = "com.kelvora.ciapi."
PATH = "/com/kelvora/ciapi/SignalObject"
IFACE = PREFIX + "SignalIFace"
MMI, READY = 17, 20
CLOSED, ENQUIRY, TEXT, MENU, LIST = range(5)
THINKING_MS = 150


def leaf(tag, form, value):
    return node(LEAF, tag, struct.pack("=" + form, value))


class Viewer:
    def __init__(self, bus, words):
        self.bus, self.words, self.page, self.timer = bus, words, CLOSED, 0
        self.known = False  # whether the daemon has answered our hello

    def call(self, interface, method, *arguments):
        """The result and the outputs by number; None when the call fails."""
        payload = tree(method, *arguments)
        flags = 0 if self.known else 2
        message = dbus.lowlevel.MethodCallMessage(PREFIX + interface, "/com/kelvora/Object", PREFIX + interface,
                                                  "MethodCall")
        head = [dbus.Int32(flags << 16 | method), dbus.Int32(len(payload)), dbus.Int32(os.getpid())]
        message.append(*head, *([] if self.known else ["viewer"]), dbus.ByteArray(payload),
                       signature="iii" + ("" if self.known else "s") + "ay")
        try:
            reply = self.bus.send_message_with_reply_and_block(message, 5)
        except dbus.DBusException as error:
            print("failed:", error, flush=True)
            return None
        status, _, answer = reply.get_args_list(byte_arrays=True)
        self.known = bool(status & 1) and not status & 0x80
        if not status & 1:
            return None
        outputs = read_tree(bytes(answer))[1]
        outputs["result"] = struct.unpack("=i", outputs[0])[0]
        return outputs

    def general(self, method, *arguments):
        answer = self.call("ICIGeneral", method, leaf(1, "B", 0), *arguments)
        return answer if answer and answer["result"] == 1 else None

    def begin(self):
        for signal_type in (MMI, READY):
            self.bus.add_match_string(f"path='{PATH}',type='signal',interface='{IFACE}',member='Signal',"
                                      f"arg0='{signal_type}',arg1='0'")
            self.call("ICISignalSubscriber", 0, leaf(1, "i", signal_type), leaf(2, "i", 0), leaf(3, "H", 0),
                      leaf(4, "q", os.getpid()))
        answer = self.call("ICIGeneral", 0, leaf(2, "I", 0))
        statuses = [struct.unpack("=i" if len(value) == 4 else "=B", value)[0]
                    for _, _, value in children(answer[1])] if answer else []
        if dict(zip(statuses[::2], statuses[1::2])).get(0) == 1:
            self.later(self.open)

    def on_signal(self, _, message):
        if message.get_interface() != IFACE or message.get_member() != "Signal":
            return dbus.lowlevel.HANDLER_RESULT_NOT_YET_HANDLED
        arguments = message.get_args_list(byte_arrays=True)
        code = bytes(arguments[3])[1]
        if int(arguments[0]) == READY:
            if code == 1 and self.page == CLOSED:
                self.later(self.open)
        else:
            self.page = code
            self.forget()
            if code != CLOSED:
                self.timer = GLib.timeout_add(1, self.show)  # not from within a message
        return dbus.lowlevel.HANDLER_RESULT_HANDLED

    def later(self, deed):
        self.forget()

        def run():
            self.timer = 0
            deed()
            return False

        self.timer = GLib.timeout_add(THINKING_MS, run)

    def forget(self):
        if self.timer:
            GLib.source_remove(self.timer)
            self.timer = 0

    def open(self):
        self.general(11)

    def show(self):
        self.timer = 0
        content = self.general({ENQUIRY: 14, TEXT: 13, MENU: 16, LIST: 18}[self.page])
        if content is not None:
            print("page", self.page, {tag: len(value) for tag, value in content.items() if tag != "result"}, flush=True)
            self.later(self.answer)
        return False

    def answer(self):
        word = self.words.pop(0) if self.words else ""
        if word == ".":
            return
        if self.page == ENQUIRY:
            self.general(15, leaf(2, "i", 1 if word else 0), text(3, word), leaf(4, "B", 0))
        elif self.page == MENU and not word:
            self.general(19, leaf(2, "B", 0))
        else:
            self.general(17, leaf(2, "B", int(word) if self.page == MENU else 0), leaf(3, "B", 0))


def main():
    DBusGMainLoop(set_as_default=True)
    bus = dbus.bus.BusConnection(os.environ["DBUS_SYSTEM_BUS_ADDRESS"])
    viewer = Viewer(bus, sys.argv[1:])
    bus.add_message_filter(viewer.on_signal)
    loop = GLib.MainLoop()
    GLib.unix_signal_add(GLib.PRIORITY_HIGH, signal.SIGTERM, loop.quit)
    viewer.begin()
    loop.run()
    return 0


if __name__ == "__main__":
    sys.exit(main())
