"""gsm-utils sends, lists and deletes on the simulated modem, uses its phonebook and runs as a daemon."""

import os

from peers import OTHER_NUMBER, PeerTest, await_that, main

LONG_TEXT = "The quick brown fox jumps over the lazy dog. " * 5  # gsm-utils has no brackets


class GsmUtils(PeerTest):
    programs = ("gsmctl", "gsmsendsms", "gsmsmsstore", "gsmsmsd", "gsmpb")

    def environment(self):
        return {**super().environment(), "LD_PRELOAD": os.environ["MODEM_LINES"]}

    def list_card(self):
        return self.run_program("gsmsmsstore", "-s", self.modem.link, "-t", "SM", "-l")

    def test_IdentifiesModemAndNetwork(self):
        reply = self.run_program("gsmctl", "-d", self.modem.link, "me", "currop", "sig", "flstat")
        for words in ("Manufacturer: SmsApp", "Model: Simulated Modem", "Serial Number: 004999010640000",
                      "Long name: 'SmsApp Test Net'", "<SIG0>  20", "'SC'"):
            self.assertIn(words, reply)

    def test_SendsMessages(self):
        self.run_program("gsmsendsms", "-d", self.modem.link, OTHER_NUMBER, "Hello")
        self.run_program("gsmsendsms", "-d", self.modem.link, "-r", "-c", "5", OTHER_NUMBER, LONG_TEXT)
        short, *parts = self.modem.sent()
        self.assertEqual((short["number"], short["text"], short["report"]), (OTHER_NUMBER, "Hello", False))
        self.assertEqual([(part["part"], part["parts"], part["report"]) for part in parts],
                         [(1, 2, True), (2, 2, True)])
        self.assertEqual("".join(part["text"] for part in parts), LONG_TEXT)

    def test_ListsDeletesAndStores(self):
        for text in ("one", "two"):
            self.modem.deliver(OTHER_NUMBER, text)
        reply = self.list_card()
        self.assertIn("User data: 'one'", reply)
        self.assertIn("User data: 'two'", reply)
        self.run_program("gsmsmsstore", "-d", self.modem.link, "-t", "SM", "-x", "0")
        self.run_program("gsmsmsstore", "-d", self.modem.link, "-t", "SM", "-a", OTHER_NUMBER, "kept")
        self.assertCountEqual([(message["text"], message["status"]) for message in self.modem.stored()],
                              [("two", "read"), ("kept", "unsent")])

    def test_CopiesAPhonebookToTheCardAndBack(self):
        entries = f"|Anna|{OTHER_NUMBER}\n|Bob|0172123\n"
        (self.folder / "mine").write_text(entries)
        (self.folder / "copy").touch()
        self.run_program("gsmpb", "-p", "SM", "-y", "-s", "mine", "-d", self.modem.link)
        self.run_program("gsmpb", "-p", "SM", "-c", "-s", self.modem.link, "-d", "copy")
        self.assertEqual((self.folder / "copy").read_text(), entries)

    def test_SendsFromASpoolFolderAndReceivesReportAndMessage(self):
        for name in ("spool", "sent"):
            (self.folder / name).mkdir()
        (self.folder / "written").write_text(f"{OTHER_NUMBER}\nHello")
        (self.folder / "written").rename(self.folder / "spool" / "message")
        self.start_program("gsmsmsd", "-d", self.modem.link, "-t", "SM", "-s", "spool", "-S", "sent", "-r", "sms", "stat")
        await_that(lambda: (self.folder / "sent" / "message").exists(), "a message sent")
        self.modem.deliver(OTHER_NUMBER, "Good morning")
        printed = self.folder / "gsmsmsd.output"
        for words in ("User data: 'Good morning'", "Short message received by the SME"):
            await_that(lambda: words in printed.read_text("latin-1"), words)
        await_that(lambda: self.modem.stored() == [], "an empty card")


if __name__ == "__main__":
    main()
