"""gammu sends, lists and deletes on the simulated modem."""

import re

from peers import LONG_TEXT, OTHER_NUMBER, OWN_NUMBER, UNICODE_TEXT, PeerTest, main


class Gammu(PeerTest):
    programs = ("gammu",)

    def setUp(self):
        super().setUp()
        self.config = self.folder / "gammurc"
        # the model is named, because looking for it takes gammu three seconds on any modem
        self.config.write_text(f"[gammu]\nport = {self.modem.link}\nconnection = at115200\nmodel = at\n")

    def gammu(self, *commands):
        """Carries the commands out in one run, since each run waits three seconds before its first command."""
        batch = self.folder / "batch"
        batch.write_text("".join(command + "\n" for command in commands))
        return self.run_program("gammu", "-c", str(self.config), "batch", str(batch))

    def test_IdentifiesTheModem(self):
        reply = self.gammu("identify")
        for words in ("SmsApp", "Simulated Modem", "004999010640000", "001010123456789"):
            self.assertIn(words, reply)

    def test_FindsTheModelByItself(self):
        self.config.write_text(f"[gammu]\nport = {self.modem.link}\nconnection = at\n")
        self.assertIn("Simulated Modem", self.gammu("identify"))

    def test_SendsAShortMessage(self):
        reply = self.gammu(send(OTHER_NUMBER, "Hello"), send(OWN_NUMBER, "Hello"))
        self.assertEqual(re.findall(r"message reference=(\d+)", reply), ["0", "1"])
        pdu, = self.modem.messages()
        self.assertTrue(pdu.endswith("05C8329BFD06"), pdu)

    def test_SendsALongMessageAndReadsItBackJoined(self):
        reply = self.gammu(send(OWN_NUMBER, LONG_TEXT, f"-len {len(LONG_TEXT)}"), "geteachsms")
        self.assertIn("3 SMS parts in 1 SMS sequences", reply)
        self.assertIn(LONG_TEXT, reply)
        self.assertEqual(len(self.modem.messages()), 3)

    def test_SendsAFlashMessage(self):
        reply = self.gammu(send(OWN_NUMBER, "Now", "-flash"), "getallsms")
        self.assertRegex(reply, r"Class +: 0")
        pdu, = self.modem.messages()
        # coding F0: GSM 7-bit, class 0 (3GPP TS 23.038, 4)
        self.assertRegex(pdu, "00F0[0-9A-F]{14}03CEF71D$")

    def test_SendsUnicode(self):
        reply = self.gammu(send(OWN_NUMBER, UNICODE_TEXT, "-unicode"), "getallsms")
        self.assertIn(UNICODE_TEXT, reply)
        pdu, = self.modem.messages()
        self.assertTrue(pdu.endswith(UNICODE_TEXT.encode("utf-16-be").hex().upper()), pdu)

    def test_GetsAReport(self):
        self.modem.ask("AT+CNMI=2,1,0,2")
        self.assertIn("Delivered", self.gammu(send(OTHER_NUMBER, "Hello", "-report"), "getallsms"))

    def test_ListsAndDeletes(self):
        reply = self.gammu(send(OWN_NUMBER, "one"), send(OWN_NUMBER, "two"), send(OWN_NUMBER, "three"),
                           "deletesms 1 2", "getallsms", "deleteallsms 1")
        self.assertIn("2 SMS parts in 2 SMS sequences", reply)
        listing = reply[reply.index("getallsms"):]
        self.assertIn("one", listing)
        self.assertNotIn("two", listing)
        self.assertIn("three", listing)
        self.assertEqual(self.modem.messages(), [])

    def test_SavesAMessageAndFindsItInTheOutbox(self):
        reply = self.gammu('savesms TEXT -folder 2 -text "kept"', "getallsms")
        self.assertIn('folder "Outbox"', reply)
        self.assertIn("\nkept\n", reply)

    def test_ReadsServiceCentreAndNetwork(self):
        reply = self.gammu("getsmsc", "networkinfo")
        self.assertIn('"+491710760000"', reply)
        self.assertIn("home network", reply)
        self.assertIn("SmsApp Test Network", reply)


def send(number, text, *options):
    return " ".join(["sendsms TEXT", number, *options, f'-text "{text}"'])


if __name__ == "__main__":
    main()
