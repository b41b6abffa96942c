"""smsd of smstools sends and receives through the simulated modem by its spool folders."""

import getpass

from peers import BASIC_PLANE_TEXT, LONG_TEXT, OTHER_NUMBER, UNICODE_TEXT, PeerTest, await_that, main

REFUSED_NUMBER = "+491720000028"
FOLDERS = ("outgoing", "checked", "incoming", "report", "sent", "failed")

CONFIG = """\
devices = SIM
user = {user}
logfile = {folder}/smsd.log
loglevel = 7
pidfile = {folder}/smsd.pid
infofile = {folder}/smsd.working
delaytime = 1
errorsleeptime = 1
incoming_utf8 = yes
{folders}
[SIM]
device = {port}
init = AT+CNMI=2,1,0,2
incoming = yes
report = yes
"""


class Smstools(PeerTest):
    programs = ("smsd",)
    modem_options = ("--refuse", REFUSED_NUMBER + "=28")

    def setUp(self):
        super().setUp()
        for name in FOLDERS:
            (self.folder / name).mkdir()
        folders = "\n".join(f"{name} = {self.folder / name}" for name in FOLDERS)
        (self.folder / "smsd.conf").write_text(CONFIG.format(
            user=getpass.getuser(), folder=self.folder, folders=folders, port=self.modem.link))
        self.start_program("smsd", "-t", "-c", str(self.folder / "smsd.conf"))

    def spool(self, number, text, *headers):
        message = "\n".join([f"To: {number.lstrip('+')}", *headers, "", text])
        written = self.folder / "written"
        written.write_bytes(message.encode("utf-8"))
        written.rename(self.folder / "outgoing" / "message")  # whole at once, or smsd takes half of it

    def await_message(self, folder):
        """Headers and text of the one message there; smsd also keeps files without an end of headers for itself."""
        def messages():
            contents = [path.read_bytes() for path in (self.folder / folder).iterdir()]
            return [content.split(b"\n\n", 1) for content in contents if b"\n\n" in content]
        (headers, text), = await_that(messages, f"a message in {folder}")
        return headers.decode("utf-8"), text.decode("utf-16-be" if b"Alphabet: UCS2" in headers else "utf-8")

    def test_SendsAMessageAndGetsTheReport(self):
        self.spool(OTHER_NUMBER, "Hello", "Report: yes")
        sent, _ = self.await_message("sent")
        self.assertIn("Message_id: 0", sent)
        report, text = self.await_message("report")
        self.assertIn(f"From: {OTHER_NUMBER[1:]}", report)
        self.assertIn("Message_id: 0", text)
        self.assertIn("Status: 0", text)
        message, = self.modem.sent()
        self.assertEqual((message["number"], message["text"], message["report"]), (OTHER_NUMBER, "Hello", True))

    def test_ReceivesAMessage(self):
        self.modem.deliver(OTHER_NUMBER, "Hello")
        headers, text = self.await_message("incoming")
        self.assertIn(f"From: {OTHER_NUMBER[1:]}", headers)
        self.assertEqual(text, "Hello")
        await_that(lambda: self.modem.stored() == [], "an empty card")

    def test_SendsALongMessage(self):
        self.spool(OTHER_NUMBER, LONG_TEXT.strip())
        self.await_message("sent")
        sent = self.modem.sent()
        self.assertEqual([(message["part"], message["parts"]) for message in sent], [(1, 3), (2, 3), (3, 3)])
        self.assertEqual("".join(message["text"] for message in sent), LONG_TEXT.strip())

    def test_JoinsALongMessage(self):
        self.modem.deliver(OTHER_NUMBER, LONG_TEXT.strip(), parts=[3, 1, 2])
        _, text = self.await_message("incoming")
        self.assertEqual(text, LONG_TEXT.strip())

    def test_SendsUnicode(self):
        self.spool(OTHER_NUMBER, BASIC_PLANE_TEXT, "Alphabet: UTF-8")
        self.await_message("sent")
        message, = self.modem.sent()
        self.assertEqual(message["text"], BASIC_PLANE_TEXT)

    def test_ReceivesUnicode(self):
        self.modem.deliver(OTHER_NUMBER, UNICODE_TEXT)
        _, text = self.await_message("incoming")
        self.assertEqual(text, UNICODE_TEXT)

    def test_SaysWhyAMessageWasRefused(self):
        self.spool(REFUSED_NUMBER, "Hello")
        headers, _ = self.await_message("failed")
        self.assertIn("+CMS ERROR: 28", headers)


if __name__ == "__main__":
    main()
