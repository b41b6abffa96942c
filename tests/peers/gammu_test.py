"""gammu sends, lists and deletes on the simulated modem."""

import re

from peers import LONG_TEXT, OTHER_NUMBER, OWN_NUMBER, UNICODE_TEXT, PeerTest, await_that, main


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
        reply = self.gammu(send(OTHER_NUMBER, "Hello"), send(OTHER_NUMBER, "Bye"))
        self.assertEqual(re.findall(r"message reference=(\d+)", reply), ["0", "1"])
        self.assertEqual([(message["number"], message["text"], message["dcs"]) for message in self.modem.sent()],
                         [(OTHER_NUMBER, "Hello", 0), (OTHER_NUMBER, "Bye", 0)])

    def test_SendsALongMessage(self):
        self.gammu(send(OTHER_NUMBER, LONG_TEXT, f"-len {len(LONG_TEXT)}"))
        sent = self.modem.sent()
        self.assertEqual([(message["part"], message["parts"]) for message in sent], [(1, 3), (2, 3), (3, 3)])
        self.assertEqual("".join(message["text"] for message in sent), LONG_TEXT)

    def test_SendsAFlashMessage(self):
        self.gammu(send(OTHER_NUMBER, "Now", "-flash"))
        message, = self.modem.sent()
        self.assertEqual((message["text"], message["class"]), ("Now", 0))

    def test_SendsUnicode(self):
        self.gammu(send(OTHER_NUMBER, UNICODE_TEXT, "-unicode"))
        message, = self.modem.sent()
        self.assertEqual((message["text"], message["dcs"]), (UNICODE_TEXT, 8))

    def test_ReadsMessagesOfEveryKind(self):
        self.modem.deliver(OTHER_NUMBER, LONG_TEXT)
        self.modem.deliver("SmsApp", UNICODE_TEXT)
        self.modem.deliver(OTHER_NUMBER, "Now", **{"class": 0})
        reply = self.gammu("geteachsms")
        self.assertIn("5 SMS parts in 3 SMS sequences", reply)
        for words in (LONG_TEXT, UNICODE_TEXT, '"SmsApp"', "Class                : 0\n"):
            self.assertIn(words, reply)

    def test_ListsAndDeletes(self):
        for text in ("one", "two", "three"):
            self.modem.deliver(OTHER_NUMBER, text)
        reply = self.gammu("deletesms 1 2", "getallsms")
        self.assertIn("2 SMS parts in 2 SMS sequences", reply)
        self.assertIn("\none\n", reply)
        self.assertNotIn("\ntwo\n", reply)
        self.assertIn("\nthree\n", reply)
        self.assertEqual([message["text"] for message in self.modem.stored()], ["one", "three"])
        self.gammu("deleteallsms 1")
        self.assertEqual(self.modem.stored(), [])

    def test_SavesAMessageAndFindsItInTheOutbox(self):
        reply = self.gammu('savesms TEXT -folder 2 -text "kept"', "getallsms")
        self.assertIn('folder "Outbox"', reply)
        self.assertIn("\nkept\n", reply)

    def test_AsksForTheBalance(self):
        self.assertIn("Balance: 12.34 EUR", self.gammu("getussd *100#"))

    def test_ReadsTheOwnNumber(self):
        self.assertIn(f'"{OWN_NUMBER}"', self.gammu("getallmemory ON"))

    def test_ShowsWhatArrivesWhileItWatches(self):
        printed = self.folder / "gammu.output"
        self.start_program("gammu", "-c", str(self.config), "monitor")
        await_that(lambda: "USSD    " in printed.read_text(), "gammu watching")
        self.modem.deliver(OTHER_NUMBER, "Hello")
        await_that(lambda: "\nHello\n" in printed.read_text(), "the message shown")
        self.modem.control("call", **{"from": OTHER_NUMBER})
        await_that(lambda: f'incoming call from "{OTHER_NUMBER}"' in printed.read_text(), "the call shown")

    def test_ReadsServiceCentreAndNetwork(self):
        reply = self.gammu("getsmsc", "networkinfo")
        self.assertIn('"+491710760000"', reply)
        self.assertIn("home network", reply)
        self.assertIn("SmsApp Test Net", reply)


def send(number, text, *options):
    return " ".join(["sendsms TEXT", number, *options, f'-text "{text}"'])


if __name__ == "__main__":
    main()
