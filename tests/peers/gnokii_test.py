"""gnokii sends, lists and deletes on the simulated modem, and uses its phonebook."""

from peers import BASIC_PLANE_TEXT, LONG_TEXT, OTHER_NUMBER, PeerTest, main


class Gnokii(PeerTest):
    programs = ("gnokii",)

    def setUp(self):
        super().setUp()
        self.config = self.folder / "gnokiirc"
        self.config.write_text(f"[global]\nport = {self.modem.link}\nmodel = AT\nconnection = serial\n"
                               "use_locking = no\n")

    def gnokii(self, *words, typed=""):
        return self.run_program("gnokii", "--config", str(self.config), *words, typed=typed)

    def send(self, text, *options):
        self.gnokii("--sendsms", OTHER_NUMBER, *options, typed=text)

    def test_IdentifiesTheModem(self):
        reply = self.gnokii("--identify")
        for words in ("SmsApp", "Simulated Modem", "004999010640000"):
            self.assertIn(words, reply)

    def test_SendsAShortMessage(self):
        self.send("Hello")
        message, = self.modem.sent()
        self.assertEqual((message["number"], message["text"]), (OTHER_NUMBER, "Hello"))

    def test_SendsALongMessage(self):
        self.send(LONG_TEXT, "--long", str(len(LONG_TEXT)))
        sent = self.modem.sent()
        self.assertEqual([(message["part"], message["parts"]) for message in sent], [(1, 3), (2, 3), (3, 3)])
        self.assertEqual("".join(message["text"] for message in sent), LONG_TEXT)

    def test_SendsAFlashMessage(self):
        self.send("Now", "-C", "0")
        message, = self.modem.sent()
        self.assertEqual((message["text"], message["class"]), ("Now", 0))

    def test_SendsUnicode(self):
        self.send(BASIC_PLANE_TEXT)
        message, = self.modem.sent()
        self.assertEqual((message["text"], message["dcs"]), (BASIC_PLANE_TEXT, 8))

    def test_ListsAndDeletes(self):
        self.modem.deliver(OTHER_NUMBER, "one")
        self.modem.deliver("SmsApp", BASIC_PLANE_TEXT)
        reply = self.gnokii("--getsms", "SM", "1", "end")
        for words in ("\none\n", "Sender: SmsApp", BASIC_PLANE_TEXT):
            self.assertIn(words, reply)
        self.gnokii("--deletesms", "SM", "1")
        self.assertEqual([message["text"] for message in self.modem.stored()], [BASIC_PLANE_TEXT])

    def test_ReadsServiceCentreAndNetwork(self):
        self.assertIn("+491710760000", self.gnokii("--getsmsc", "1", "1"))
        self.assertIn("001 01", self.gnokii("--getnetworkinfo"))

    def test_WritesAndReadsThePhonebook(self):
        self.gnokii("--writephonebook", "-o", typed=f"Anna;{OTHER_NUMBER};SM;3;5\n")
        reply = self.gnokii("--getphonebook", "SM", "3")
        self.assertIn("3. Name: Anna\n", reply)
        self.assertIn(f"Number: {OTHER_NUMBER}\n", reply)


if __name__ == "__main__":
    main()
