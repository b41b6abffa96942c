"""ofono sends and receives through the simulated modem, which it reaches by TCP as it does the simulator of its own."""

import os
import pathlib
import shutil
import socket
import subprocess

from peers import BASIC_PLANE_TEXT, LONG_TEXT, OTHER_NUMBER, PeerTest, await_that, main

CARDS = pathlib.Path("/var/lib/ofono")  # where ofono keeps what it knows of a card

BUS_CONFIG = """\
<busconfig>
  <type>system</type>
  <listen>unix:path={folder}/bus</listen>
  <policy context="default">
    <allow own="*"/>
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
  </policy>
</busconfig>
"""


class Ofono(PeerTest):
    programs = ("ofonod", "dbus-daemon", "dbus-send", "dbus-monitor")
    modem_options = ("--tcp", "0")

    def setUp(self):
        super().setUp()
        if os.geteuid() != 0:
            self.skipTest(f"ofonod writes to {CARDS}, which only root may")
        self.forget_card()
        self.addCleanup(self.forget_card)
        self.switch_echo_off()
        (self.folder / "bus.conf").write_text(BUS_CONFIG.format(folder=self.folder))
        _, address, port = self.modem.port.split(":")
        (self.folder / "phonesim.conf").write_text(f"[phonesim]\nAddress={address}\nPort={port}\n")
        self.start_program("dbus-daemon", "--nofork", "--config-file", str(self.folder / "bus.conf"))
        await_that((self.folder / "bus").exists, "a bus")
        self.start_program("dbus-monitor", "--system", "type='signal'")
        self.start_program("ofonod", "-n")
        for name in ("Powered", "Online"):
            self.await_call("Modem.SetProperty", f"string:{name}", "variant:boolean:true")
        self.await_call("MessageManager.SetProperty", "string:UseDeliveryReports", "variant:boolean:true")

    def environment(self):
        return {**super().environment(), "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={self.folder}/bus",
                "OFONO_PHONESIM_CONFIG": str(self.folder / "phonesim.conf")}

    @staticmethod
    def forget_card():
        for folder in CARDS.glob("001010123456789*"):
            shutil.rmtree(folder)

    def switch_echo_off(self):
        """ofono takes the echo of a PDU for a line of its own; for other modems it says ATE0 itself."""
        _, address, port = self.modem.port.split(":")
        with socket.create_connection((address, int(port))) as line:
            line.sendall(b"ATE0\r")
            reply = b""
            while b"OK" not in reply:
                reply += line.recv(100)

    def call(self, method, *arguments):
        """What it answers; nothing when that is an error."""
        command = ("dbus-send", "--system", "--print-reply", "--dest=org.ofono", "/phonesim", f"org.ofono.{method}")
        done = subprocess.run([*command, *arguments], env=self.environment(), stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL)
        return done.stdout.decode("utf-8") if done.returncode == 0 else ""

    def await_call(self, method, *arguments):
        return await_that(lambda: self.call(method, *arguments), f"an answer to {method}")

    def signals(self):
        return (self.folder / "dbus-monitor.output").read_text("utf-8")

    def test_SendsAndReceives(self):
        for text in ("Hello", BASIC_PLANE_TEXT, LONG_TEXT):
            self.await_call("MessageManager.SendMessage", f"string:{OTHER_NUMBER}", f"string:{text}")
        await_that(lambda: self.signals().count('string "sent"') == 3, "three messages sent")
        sent = self.modem.sent()
        self.assertEqual([(message["text"], message["dcs"], message["report"]) for message in sent[:2]],
                         [("Hello", 0, True), (BASIC_PLANE_TEXT, 8, True)])
        self.assertEqual([(message["part"], message["parts"]) for message in sent[2:]], [(1, 3), (2, 3), (3, 3)])
        self.assertEqual("".join(message["text"] for message in sent[2:]), LONG_TEXT)

        for text in ("Hello {}", BASIC_PLANE_TEXT, LONG_TEXT):
            self.modem.deliver(OTHER_NUMBER, text)
        self.modem.deliver("SmsApp", "Now", **{"class": 0})
        await_that(lambda: "member=ImmediateMessage" in self.signals(), "a flash message")
        signals = self.signals()
        for text in ("Hello {}", BASIC_PLANE_TEXT, LONG_TEXT, "Now"):
            self.assertIn(f'   string "{text}"\n', signals)
        self.assertEqual(self.modem.control("state")["waiting"], 0)  # everything was acknowledged


if __name__ == "__main__":
    main()
