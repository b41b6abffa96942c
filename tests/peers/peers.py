"""A modem-sim of one's own for a program that other people wrote, and what its tests share."""

import os
import pathlib
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import termios
import time
import tty
import unittest

DEADLINE_S = 150
OWN_NUMBER = "+491710000001"
OTHER_NUMBER = "+491720000002"
LONG_TEXT = "The quick brown fox jumps over the lazy dog {again}. " * 8  # braces: two septets each
UNICODE_TEXT = "Grüße, 日本語 😀"


def await_that(holds, what):
    """Asks again and again until it holds; a spool folder and a database tell nobody when they change."""
    end = time.monotonic() + DEADLINE_S
    while True:
        answer = holds()
        if answer:
            return answer
        if time.monotonic() > end:
            raise AssertionError(f"not within {DEADLINE_S} s: {what}")
        time.sleep(0.05)


class Modem:
    """A running modem-sim behind a symbolic link."""

    def __init__(self, folder, *options):
        self.link = str(folder / "modem")
        self._program = subprocess.Popen(
            [os.environ["MODEM_SIM"], "--link", self.link, "--number", OWN_NUMBER, *options],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        self._program.stdout.readline()  # the path of the port: it is there

    def close(self):
        self._program.kill()
        self._program.wait()
        self._program.stdout.close()

    def ask(self, *commands):
        """The information lines of the commands' replies. Nobody else may have the port open."""
        port = os.open(self.link, os.O_RDWR | os.O_NOCTTY)
        try:
            tty.setraw(port)
            termios.tcflush(port, termios.TCIOFLUSH)
            self._reply(port, "ATE0V1")
            return [line for command in commands for line in self._reply(port, command)]
        finally:
            os.close(port)

    def messages(self, memory="SM"):
        """Transfer PDUs of a memory, in its order."""
        lines = self.ask("AT+CMGF=0", f'AT+CPMS="{memory}"', "AT+CMGL=4")
        return [pdu for head, pdu in zip(lines, lines[1:]) if head.startswith("+CMGL:")]

    def send(self, number, text):
        """Sends a message as a computer would. Nobody else may have the port open."""
        pdu = submit_pdu(number, text)
        self.ask("AT+CMGF=0", f"AT+CMGS={len(pdu) // 2 - 1}\r{pdu}\x1a")

    @staticmethod
    def _reply(port, command):
        os.write(port, command.encode("ascii") + b"\r")
        text = b""
        end = time.monotonic() + DEADLINE_S
        while b"OK\r\n" not in text and b"ERROR" not in text:
            if not select.select([port], [], [], max(0, end - time.monotonic()))[0]:
                raise AssertionError(f"no reply to {command}: {text!r}")
            text += os.read(port, 4096)
        lines = [line for line in text.decode("ascii").replace("\r", "\n").split("\n") if line]
        if lines[-1] != "OK":
            raise AssertionError(f"{command}: {lines}")
        return [line for line in lines[:-1] if line != command]


class PeerTest(unittest.TestCase):
    """A test with a folder, which is also the home of what it runs, and a modem. Skips where a program is missing."""

    programs = ()
    files = ()
    modem_options = ()

    def setUp(self):
        missing = [name for name in self.programs if not shutil.which(name, path=search_path())]
        missing += [name for name in self.files if not os.path.exists(name)]
        if missing:
            self.skipTest(f"{', '.join(missing)} not installed; tests/peers/install.sh does that")
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="peers-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.modem = Modem(self.folder, *self.modem_options)
        self.addCleanup(self.modem.close)

    def environment(self):
        return {"HOME": str(self.folder), "PATH": search_path(), "LC_ALL": "C.UTF-8"}

    def run_program(self, *command):
        """What the program prints; it has to succeed."""
        done = subprocess.run(command, env=self.environment(), cwd=self.folder, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=DEADLINE_S)
        text = done.stdout.decode("utf-8", "replace")
        self.assertEqual(done.returncode, 0, f"{' '.join(command)}:\n{text}")
        return text

    def start_program(self, *command):
        """Runs until the end of the test; its output goes to the test's folder."""
        with open(self.folder / "output", "wb") as output:
            program = subprocess.Popen(command, env=self.environment(), cwd=self.folder, stdin=subprocess.DEVNULL,
                                       stdout=output, stderr=subprocess.STDOUT, start_new_session=True)
        self.addCleanup(self._end, program)
        return program

    @staticmethod
    def _end(program):
        try:
            os.killpg(program.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        program.wait()


def submit_pdu(number, text):
    """An SMS-SUBMIT in UCS-2 behind an empty service centre (3GPP TS 23.040, 9.2.2.2)."""
    digits = number[1:] + "F" * (len(number) % 2 == 0)
    swapped = "".join(digits[i + 1] + digits[i] for i in range(0, len(digits), 2))
    content = text.encode("utf-16-be").hex().upper()
    return f"000100{len(number) - 1:02X}91{swapped}0008{len(content) // 2:02X}{content}"


def search_path():
    return os.environ.get("PATH", "") + ":/usr/sbin:/usr/local/sbin"


def main():
    """Runs the test that is named; status 77 when it skipped, with the reason in the output."""
    program = unittest.main(exit=False, verbosity=2)
    if not program.result.wasSuccessful():
        sys.exit(1)
    sys.exit(77 if program.result.skipped else 0)
