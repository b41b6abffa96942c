#!/usr/bin/env python3
"""Writes a seed of every fuzz target for each row of tests/pdu/data, and for each dialogue, record and request below.

usage: seeds.py FOLDER     makes FOLDER/TARGET/ROW; "fuzz_TARGET -merge=1 corpus/TARGET FOLDER/TARGET" takes over
                           those that reach something new
"""
import json
import sys
from pathlib import Path

DATA = Path(__file__).resolve().parent.parent / "tests" / "pdu" / "data"
ROOM = b"\xb0"  # a buffer that is large enough


def rows(name):
    with open(DATA / name, encoding="utf-8") as lines:
        yield from map(json.loads, lines)


def octets_of(digits):
    try:
        return bytes.fromhex(digits)
    except ValueError:  # rows that are not hexadecimal on purpose
        return digits.encode()


def seeds_of_message(row):
    octets = octets_of(row["hex"])
    target = {"deliver": "deliver", "submit": "submit", "report": "status_report"}[row["as"]]
    front = octets[0] + 1 if row["centre"] and octets else 0
    tpdu = octets[front:]
    yield target, ROOM + tpdu
    yield "first_octet", ROOM + tpdu
    yield "pdu_line", bytes([2 if target == "submit" else 0, 0]) + (octets if row["centre"] else b"\0" + octets)
    yield "address", ROOM + octets[:front]
    yield "address", ROOM + tpdu[1:14] if target == "deliver" else ROOM + tpdu[2:15]
    dcs = row["want"].get("dcs", 0)
    header = 1 if tpdu and tpdu[0] & 0x40 else 0
    for start in range(8, min(len(tpdu), 24)):  # somewhere there TP-UDL stands
        if tpdu[start] >= len(tpdu) - start - 1:
            yield "user_data", ROOM + bytes([dcs, header]) + tpdu[start:]
            yield "septets", ROOM + bytes([start % 7, start % 4, start % 5]) + tpdu[start + 1:]
            break
    text = row["want"].get("text", "") + row["want"].get("number", "")
    yield "phonebook", text[:40].encode("utf-16-be")
    yield "address", ROOM + text[:22].encode("utf-16-be")


LIST, SEND, NAME, FIELD = range(4)  # the commands of the target, and how its modem behaves
NO_ECHO, HANGS_UP, WEDGES, BEGINS_ANEW = 1, 2, 4, 8
OK = "\r\nOK\r\n"
DIALOGUES = [
    ("send", [SEND], 0, ["", "\r\n> ", "\r\n+CMGS: 7\r\n" + OK]),
    ("send-refused", [SEND, NAME], 0, ["", "\r\n> ", "\r\n+CMS ERROR: 38\r\n", "modem\r\n" + OK]),
    ("send-interrupted", [SEND], 0, ["+CREG: 5\r\n", "+CMTI: \"SM\",3\r\n> ", "+CREG: 2\r\n+CMGS: 8\r\nOK\r\n"]),
    ("send-silence", [SEND, NAME], 0, ["", "", "", "+CMGF: 0\r\nOK\r\n", "modem\r\nOK\r\n"]),
    ("send-hang-up", [SEND, NAME], HANGS_UP, ["", "\r\n> "]),
    ("send-wedged", [SEND, NAME], WEDGES, ["", "\r\n> "]),
    ("list", [LIST], 0, ["", "AT+CMGL=4\r+CMGL: 1,1,,24\r\n07912180958729F6040B911000000000F0\r\nOK\r\n"]),
    ("list-interrupted", [LIST], 0,
     ["", "+CMGL: 1,1,,24\r\n+CMT: ,24\r\n0791AA\r\n07912180958729F6\r\n+CDS: 25\r\n0006\r\nOK\r\n"]),
    ("name-bare-and-tagged", [NAME, NAME], 0, ["", "E220\r\nOK\r\n", "+CGMM: E220\r\n0\r"]),
    ("restart", [NAME, LIST], NO_ECHO | BEGINS_ANEW, ["^SYSSTART\r\n", "AT+CGMM\r\nE220\r\nOK\r\n"]),
    ("prompt-unasked", [NAME, SEND], 0, ["\r\n> ", "", "OK\r\n", "> ", "E220\r\nOK\r\n"]),
    ("late-reply", [NAME, NAME], 0, ["", "", "OK\r\n+CMGF: 0\r\nOK\r\n", "E220\r\nOK\r\n"]),
    ("field", [FIELD, FIELD], 0, ["+4912345", "\r\nOK\r\n", "+CREG: 1,5\r\nERROR\r\n"]),
    ("field-with-a-command", [FIELD], 0, ["x\"\rATD112;\r", "OK\r\n"]),
    ("pages", [NAME], 0, ["+CBM: 88\r\n00101234\r\n+CDSI: \"SM\",1\r\n+CUSD: 0,\"12 EUR\",15\r\n", "OK\r\n"]),
]


PLAIN, MASKED = 0, 1
TIME = b"\xff\xff\xff\xff"
RECORDS = [  # the computer and the modem in turns
    ("send-text", MASKED, ['AT+CMGS="+4917391"\r', "\r\n> ", "Hello 123\x1a", "\r\n+CMGS: 7\r\n\r\nOK\r\n"]),
    ("send-octets", MASKED, ["AT+CMGS=18\r", "\r\n> ", "0001000C91947102000020000005E8329BFD06\x1a", "\r\nOK\r\n"]),
    ("send-octets-plain", PLAIN, ["AT+CMGS=18\r", "> ", "0001000C91947102000020000005E8329BFD06\x1a", "OK\r\n"]),
    ("deliver", MASKED, ["AT\r", "OK\r\n+CMT: ,20\r\n0791947101670000040C919471020000200000425060708090800161\r\n"]),
    ("list-text", MASKED,
     ['AT+CMGL="ALL"\r',
      '+CMGL: 1,"REC READ","+4917391",,"24/05/06,07:08:09+08"\r\nHello 123\r\n+CREG: 1\r\nOK\r\n']),
    ("secrets", MASKED, ['AT+CPIN="7391"\r', "OK\r\n", "AT+CGSN\r", "490154203237518\r\n\r\nOK\r\n"]),
    ("page", MASKED, ["", "+CBM: 88\r\n00101234\r\n", "AT\r", "OK\r\n"]),
    ("echo-mixed", PLAIN, ["A", "A", "T\r", "T\r\r\nOK\r\n"]),
    ("send-two-lines", MASKED,
     ["AT+CMGS=\"1\"\r", "\r\n> ", "Hello \"12\" 1234\r", "\r\n> ", "world 56\x1a", "\r\nOK\r\n"]),
    ("send-given-up", PLAIN, ["AT+CMGS=18\r", "\r\n> ", "00\x1bAT\r", "\r\nOK\r\n"]),
    ("half-a-line", PLAIN, ["AT+CMGS=18\r", "> ", "00\x1b", "\r\n+CMT"]),
]
RECORD_LINES = ["1.250 > AT+CSQ<0D>", "1.251 < +CSQ: 20,99<0D><0A>", "0001.000 < <41><3c>", "4294967.295 > ",
                "4294967.296 > ", "1.25 > AT", "1.250 > AT<0", "1.250 > A\tT"]
REQUESTS = [
    ("deliver", '{"do":"deliver","from":"+49172000002","text":"Hello"}'),
    ("deliver-parts",
     '{"do":"deliver","from":"Bank","text":"' + 200 * "a" + '","parts":[2,1,2],"reference":300,"wide":true}'),
    ("deliver-no-such-part", '{"do":"deliver","from":"1","text":"a","parts":[2]}'),
    ("deliver-data", '{"do":"deliver","from":"1","data":"00FF","port":2948,"class":1,"protocol":65}'),
    ("deliver-time",
     '{"do":"deliver","from":"1","text":"\u20ac","time":"2024-05-06T07:08:09-03:30","alphabet":"ucs2"}'),
    ("deliver-both", '{"do":"deliver","from":"1","text":"a","data":"00"}'),
    ("push-mms", '{"do":"push","from":"1","mms":{"url":"http://mms.example/1","subject":"s","size":9}}'),
    ("push-mms-without-place", '{"do":"push","from":"1","mms":{"subject":"s"}}'),
    ("pdu", '{"do":"pdu","hex":"040C919471020000200000425060708090800161"}'),
    ("pdu-half", '{"do":"pdu","hex":"040C9"}'),
    ("report", '{"do":"report","to":"+4917391","reference":7,"status":70,"discharged":"2024-05-06 07:08:09Z"}'),
    ("page", '{"do":"page","text":"Storm","channel":50,"page":1,"pages":2,"dcs":1}'),
    ("page-too-long", '{"do":"page","text":"' + 120 * "a" + '","page":1}'),
    ("network", '{"do":"network","state":"roaming"}'),
    ("signal", '{"do":"signal","value":32}'),
    ("sim", '{"do":"sim","state":"pin","pin":"4711"}'),
    ("restart", '{"do":"restart","ms":100}'),
    ("unplug", '{"do":"unplug"}'),
    ("plug", '{"do":"plug"}'),
    ("call", '{"do":"call","state":"ringing","from":"+4917391"}'),
    ("sent", '{"do":"sent","from":0,"forget":true}'),
    ("memory", '{"do":"memory","name":"SM"}'),
    ("fill", '{"do":"fill","name":"ME"}'),
    ("state-foreign-field", '{"do":"state","name":"SM"}'),
    ("line", '{"do":"line","baud":9600}'),
    ("fault", '{"do":"fault","kind":"hangup","at":"after-octets","ms":50,"every":2,"times":1}'),
    ("fault-none", '{"do":"fault","kind":"none"}'),
    ("report-wrong-number", '{"do":"report","to":7}'),
    ("signal-wrong-type", '{"do":"signal","value":"9"}'),
    ("no-request", '{"do":"dance"}'),
    ("no-name", '{"do":""}'),
    ("no-object", '["do"]'),
    ("no-json", '{"do":'),
    ("rule-drop", "drop,command=+cmgl,times=1"),
    ("rule-garbage", "garbage,octets=00FF7E0D0A"),
    ("rule-hang-up", "hangup,at=before-verdict,ms=100"),
    ("rule-refuse", "refuse,every=3,code=500"),
    ("rule-bare-word", "refuse,often"),
    ("rule-number-for-text", "late,command=12"),
]


def seed_of_dialogue(commands, options, answers):
    packed = sum(command << 2 * place for place, command in enumerate(commands))
    return bytes([packed, options]) + "\0".join(answers).encode()


def seeds_of(row):
    if row["as"] in ("page", "message"):
        yield "cell_broadcast", ROOM + octets_of(row["hex"])
        yield "pdu_line", b"\0\1" + row["hex"].encode()
    else:
        yield from seeds_of_message(row)


def main():
    folder = Path(sys.argv[1])
    (folder / "dialogue").mkdir(parents=True, exist_ok=True)
    for name, *dialogue in DIALOGUES:
        (folder / "dialogue" / name).write_bytes(seed_of_dialogue(*dialogue))
    for target in ("dialogue_record", "control_request"):
        (folder / target).mkdir(parents=True, exist_ok=True)
    for name, options, pieces in RECORDS:
        (folder / "dialogue_record" / name).write_bytes(bytes([options]) + TIME + "\0".join(pieces).encode())
    for number, line in enumerate(RECORD_LINES):
        (folder / "dialogue_record" / f"line-{number}").write_bytes(bytes([PLAIN]) + TIME + line.encode())
    for name, line in REQUESTS:
        (folder / "control_request" / name).write_bytes(line.encode())
    for row in [*rows("tpdus.jsonl"), *rows("pages.jsonl")]:
        for number, (target, seed) in enumerate(seeds_of(row)):
            (folder / target).mkdir(parents=True, exist_ok=True)
            (folder / target / f"{row['id']}-{number}").write_bytes(seed)


if __name__ == "__main__":
    main()
