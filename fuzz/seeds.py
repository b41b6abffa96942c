#!/usr/bin/env python3
"""Writes a seed of every fuzz target for each row of tests/pdu/data.

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


def seeds_of(row):
    if row["as"] in ("page", "message"):
        yield "cell_broadcast", ROOM + octets_of(row["hex"])
    else:
        yield from seeds_of_message(row)


def main():
    folder = Path(sys.argv[1])
    for row in [*rows("tpdus.jsonl"), *rows("pages.jsonl")]:
        for number, (target, seed) in enumerate(seeds_of(row)):
            (folder / target).mkdir(parents=True, exist_ok=True)
            (folder / target / f"{row['id']}-{number}").write_bytes(seed)


if __name__ == "__main__":
    main()
