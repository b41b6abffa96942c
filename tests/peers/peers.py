"""A modem-sim of one's own for a program that other people wrote, and what its tests share."""

import contextlib
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

DEADLINE_S = 150
OWN_NUMBER = "+491710000001"
OTHER_NUMBER = "+491720000002"
LONG_TEXT = "The quick brown fox jumps over the lazy dog {again}. " * 8  # braces: two septets each
UNICODE_TEXT = "Grüße, 日本語 😀"
BASIC_PLANE_TEXT = "Grüße, 日本語"  # for programs that leave out what takes a surrogate pair


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


def free_ports(count):
    """Ports of 127.0.0.1 that nobody uses, below those that the system gives away by itself."""
    with contextlib.ExitStack() as sockets:
        ports = []
        for port in range(10000 + os.getpid() * 7 % 20000, 32000):
            candidate = sockets.enter_context(socket.socket())
            try:
                candidate.bind(("127.0.0.1", port))
            except OSError:
                continue
            ports.append(port)
            if len(ports) == count:
                return ports
    raise AssertionError(f"no {count} free ports")


class Modem:
    """A running modem-sim: a port behind a symbolic link, or with --tcp an address, and its control socket."""

    def __init__(self, folder, *options):
        self.link = str(folder / "modem")
        control = str(folder / "control")
        port = () if "--tcp" in options else ("--link", self.link)
        self._program = subprocess.Popen(
            [os.environ["MODEM_SIM"], "--control", control, "--number", OWN_NUMBER, *port, *options],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        self.port = self._program.stdout.readline().decode().strip()  # when it is told, everything is there
        with socket.socket(socket.AF_UNIX) as connection:
            connection.settimeout(DEADLINE_S)
            connection.connect(control)
            self._control = connection.makefile("rw", encoding="utf-8")

    def close(self):
        self._control.close()
        self._program.kill()
        self._program.wait()
        self._program.stdout.close()

    def control(self, request, **fields):
        """The answer to a request of the control socket."""
        self._control.write(json.dumps({"do": request, **fields}) + "\n")
        self._control.flush()
        answer = json.loads(self._control.readline())
        if not answer["ok"]:
            raise AssertionError(f"{request} {fields}: {answer['error']}")
        return answer

    def sent(self):
        """What the network has accepted, in order."""
        return self.control("sent")["messages"]

    def deliver(self, number, text, **fields):
        """A message, in as many parts as it takes, arrives at the network."""
        self.control("deliver", **{"from": number, "text": text, **fields})

    def stored(self):
        """What the card holds."""
        return self.control("memory", name="SM")["messages"]


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

    def run_program(self, *command, typed=""):
        """What the program prints; it has to succeed."""
        done = subprocess.run(command, env=self.environment(), cwd=self.folder, input=typed.encode("utf-8"),
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=DEADLINE_S)
        text = done.stdout.decode("utf-8", "replace")
        self.assertEqual(done.returncode, 0, f"{' '.join(command)}:\n{text}")
        return text

    def start_program(self, *command):
        """Runs until the end of the test; what it prints goes to a file of its name in the test's folder."""
        with open(self.folder / f"{command[0]}.output", "wb") as output:
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


def search_path():
    return os.environ.get("PATH", "") + ":/usr/sbin:/usr/local/sbin"


def main():
    """Runs the test that is named; status 77 when it skipped, with the reason in the output."""
    program = unittest.main(exit=False, verbosity=2)
    if not program.result.wasSuccessful():
        sys.exit(1)
    sys.exit(77 if program.result.skipped else 0)
