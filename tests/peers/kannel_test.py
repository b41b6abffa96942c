"""Kannel sends and receives through the simulated modem, by HTTP on its other side."""

import http.server
import threading
import urllib.error
import urllib.parse
import urllib.request

from peers import (BASIC_PLANE_TEXT, LONG_TEXT, OTHER_NUMBER, OWN_NUMBER, UNICODE_TEXT, PeerTest, await_that, free_ports,
                   main)

CONFIG = """\
group = core
admin-port = {admin}
admin-interface = 127.0.0.1
admin-password = secret
smsbox-port = {boxes}
box-allow-ip = 127.0.0.1
dlr-storage = internal

group = smsc
smsc = at
smsc-id = sim
modemtype = auto
device = {device}
speed = 115200
my-number = {number}
sim-buffering = true

group = modems
id = generic
name = "Generic"
init-string = "AT+CNMI=2,1,0,1,0"

group = smsbox
bearerbox-host = 127.0.0.1
sendsms-interface = 127.0.0.1
sendsms-port = {sending}
mo-recode = true

group = sendsms-user
username = test
password = secret
concatenation = true
max-messages = 10

group = sms-service
keyword = default
get-url = "http://127.0.0.1:{answering}/received?from=%p&to=%P&text=%a"
max-messages = 0
concatenation = true
"""


class Kannel(PeerTest):
    programs = ("bearerbox", "smsbox")

    def setUp(self):
        super().setUp()
        self.requests = []
        answering = self.start_server()
        self.admin, boxes, self.sending = free_ports(3)
        config = self.folder / "kannel.conf"
        config.write_text(CONFIG.format(admin=self.admin, boxes=boxes, sending=self.sending, answering=answering,
                                        device=self.modem.link, number=OWN_NUMBER))
        self.start_program("bearerbox", str(config))
        await_that(lambda: "(online" in self.ask(self.admin, "/status.txt", password="secret"), "a modem in use")
        self.start_program("smsbox", str(config))
        await_that(lambda: "smsbox:" in self.ask(self.admin, "/status.txt", password="secret"), "a box for messages")

    def start_server(self):
        """Takes down what Kannel asks for; the port."""
        requests = self.requests

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                path, _, query = self.path.partition("?")
                requests.append((path, dict(urllib.parse.parse_qsl(query))))
                self.send_response(200)
                self.send_header("Content-Length", "0")
                self.end_headers()

            def log_message(self, *_):
                pass

        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.answering = server.server_port
        return server.server_port

    @staticmethod
    def ask(port, path, **fields):
        """What Kannel answers; nothing as long as it does not listen."""
        try:
            with urllib.request.urlopen(f"http://127.0.0.1:{port}{path}?{urllib.parse.urlencode(fields)}") as reply:
                return reply.read().decode("utf-8")
        except urllib.error.URLError:
            return ""

    def send(self, text, **fields):
        wanted = {"username": "test", "password": "secret", "from": "1", "to": OTHER_NUMBER, "text": text, **fields}
        await_that(lambda: "Accepted" in self.ask(self.sending, "/cgi-bin/sendsms", **wanted), "a message accepted")

    def await_requests(self, path, count):
        return await_that(lambda: [fields for asked, fields in self.requests if asked == path][count - 1:] and
                          [fields for asked, fields in self.requests if asked == path], f"{count} requests of {path}")

    def test_SendsMessagesAndGetsTheReport(self):
        # dlr-mask: 1 delivered, 8 accepted by the network
        self.send("Hello", **{"dlr-mask": 9, "dlr-url": f"http://127.0.0.1:{self.answering}/report?kind=%d"})
        self.send(BASIC_PLANE_TEXT * 10, charset="UTF-8", coding=2)
        self.assertEqual(self.await_requests("/report", 2), [{"kind": "8"}, {"kind": "1"}])
        short, *parts = await_that(lambda: self.modem.sent()[2:] and self.modem.sent(), "three messages sent")
        self.assertEqual((short["number"], short["text"], short["report"]), (OTHER_NUMBER, "Hello", True))
        self.assertEqual([(part["part"], part["parts"], part["dcs"]) for part in parts], [(1, 2, 8), (2, 2, 8)])
        self.assertEqual("".join(part["text"] for part in parts), BASIC_PLANE_TEXT * 10)

    def test_ReceivesMessages(self):
        texts = ["Hello {}", UNICODE_TEXT, LONG_TEXT.strip()]
        for text in texts:
            self.modem.deliver(OTHER_NUMBER, text)
        received = self.await_requests("/received", len(texts))
        self.assertCountEqual(received, [{"from": OTHER_NUMBER, "to": OWN_NUMBER, "text": text} for text in texts])
        await_that(lambda: self.modem.stored() == [], "an empty card")


if __name__ == "__main__":
    main()
