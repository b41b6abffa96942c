"""gammu-smsd with its SQLite back end sends and receives through the simulated modem."""

import contextlib
import sqlite3

from peers import OTHER_NUMBER, UNICODE_TEXT, PeerTest, await_that, main

SCHEMA = "/usr/share/doc/gammu-smsd/examples/sqlite.sql"
COUNT = 50

CONFIG = """\
[gammu]
port = {port}
connection = at
model = at
[smsd]
service = sql
driver = sqlite3
dbdir = {folder}/
database = smsd.db
logfile = {folder}/smsd.log
debuglevel = 1
deliveryreport = sms
checksecurity = 0
loopsleep = 0
receivefrequency = 0
"""


class GammuSmsd(PeerTest):
    programs = ("gammu-smsd",)
    files = (SCHEMA,)

    def setUp(self):
        super().setUp()
        with open(SCHEMA, encoding="utf-8") as schema:
            self.execute("PRAGMA journal_mode=WAL;" + schema.read())  # readers do not lock the daemon out
        (self.folder / "smsdrc").write_text(CONFIG.format(port=self.modem.link, folder=self.folder))

    def execute(self, script):
        with contextlib.closing(self.connect()) as database:
            database.executescript(script)

    def rows(self, query):
        with contextlib.closing(self.connect()) as database:
            return database.execute(query).fetchall()

    def connect(self):
        return sqlite3.connect(self.folder / "smsd.db", timeout=30)

    def start_daemon(self):
        self.start_program("gammu-smsd", "-c", str(self.folder / "smsdrc"))

    def put_in_outbox(self, number, texts):
        with contextlib.closing(self.connect()) as database, database:
            database.executemany(
                "INSERT INTO outbox (DestinationNumber, TextDecoded, DeliveryReport, CreatorID)"
                " VALUES (?, ?, 'yes', '')", [(number, text) for text in texts])

    def await_row_count(self, table, count):
        await_that(lambda: self.rows(f"SELECT count(*) FROM {table}") == [(count,)], f"{count} rows in {table}")

    def test_SendsFiftyFromItsOutbox(self):
        texts = [f"Message {number}" for number in range(COUNT)]
        self.put_in_outbox(OTHER_NUMBER, texts)
        self.start_daemon()
        delivered = "SELECT TextDecoded FROM sentitems WHERE Status = 'DeliveryOK' ORDER BY ID"
        await_that(lambda: self.rows(delivered) == [(text,) for text in texts], f"{COUNT} reports")
        self.assertEqual([(message["number"], message["text"]) for message in self.modem.sent()],
                         [(OTHER_NUMBER, text) for text in texts])
        self.assertEqual(self.rows("SELECT * FROM outbox"), [])

    def test_ReceivesFifty(self):
        texts = [f"Message {number}" for number in range(COUNT)]
        for text in texts:
            self.modem.deliver(OTHER_NUMBER, text)  # more than the card holds: the rest waits in the network
        self.start_daemon()
        self.await_row_count("inbox", COUNT)
        self.assertEqual(self.rows("SELECT TextDecoded, SenderNumber FROM inbox ORDER BY ID"),
                         [(text, OTHER_NUMBER) for text in texts])
        await_that(lambda: self.modem.stored() == [], "an empty card")

    def test_ReceivesAMessageThatArrivesWhileItRuns(self):
        self.start_daemon()
        await_that(lambda: self.rows("SELECT * FROM phones"), "a modem in use")
        self.modem.deliver("SmsApp", UNICODE_TEXT)
        self.await_row_count("inbox", 1)
        self.assertEqual(self.rows("SELECT TextDecoded, SenderNumber FROM inbox"), [(UNICODE_TEXT, "SmsApp")])


if __name__ == "__main__":
    main()
