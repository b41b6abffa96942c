#!/usr/bin/env python3
"""Checks who includes whom: every room of src/ may use the rooms below it and nothing else.

usage: check_includes.py [ROOT]     exit status 1 and one line per breach when a rule is broken
"""
import re
import sys
from pathlib import Path

PLATFORM = {"include", "include/services", "include/platform"}

# room -> rooms whose headers it may include (its own always)
MAY_INCLUDE = {
    "include": {"include"},
    "include/services": {"include", "include/services"},
    "include/platform": {"include", "include/platform"},
    "src/GlobalFun": PLATFORM,
    "src/SmsSrvPlugin": PLATFORM | {"src/GlobalFun"},
    "src/SmsAppPlugin": PLATFORM | {"src/GlobalFun", "src/SmsSrvPlugin"},
    "src/Platform": {"include", "include/platform"},
    "src/SmsPdu": {"include", "include/platform"},
    "src/ModemPlugin": PLATFORM | {"src/SmsPdu"},
    "src/ModemSim": PLATFORM | {"src/SmsPdu"},
    "src/Host": PLATFORM,
    # smsctl starts the host in its own process until the local API exists
    "src/SmsCtl": PLATFORM | {"src/Host"},
}

# outside header (regular expression) -> rooms that may include it; all others must not
OUTSIDE_ONLY_IN = {
    r"libudev\.h": {"src/ModemPlugin"},
    r"sqlite3\.h": {"src/Platform"},
    r"boost/.*": {"src/ModemSim"},
    r"CLI/.*": {"src/ModemSim", "src/Host", "src/SmsCtl"},
    r"dlfcn\.h": {"src/Host", "src/Platform"},
}

# room -> standard headers it must not include
FORBIDDEN_STANDARD = {"src/SmsAppPlugin": {"thread"}}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def room_of(path, root):
    parts = path.relative_to(root).parts
    if parts[0] == "src":
        return "/".join(parts[:2])
    if parts[0] == "include" and len(parts) > 2:
        return "/".join(parts[:2])
    return parts[0]


def project_headers(root):
    """Maps the text of an include directive to the header it reaches."""
    reachable = {}
    for header in sorted((root / "include").rglob("*.h")):
        reachable[str(header.relative_to(root / "include"))] = header
    for header in sorted((root / "src").rglob("*.h")):
        reachable.setdefault(header.name, header)
    return reachable


def breaches_of(path, root, reachable):
    room = room_of(path, root)
    allowed = MAY_INCLUDE.get(room)
    if allowed is None:
        yield f"{path.relative_to(root)}: the room {room} is not in the table of rooms"
        return
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        match = INCLUDE.match(line)
        if not match:
            continue
        quote, name = match.groups()
        where = f"{path.relative_to(root)}:{number}"
        if quote == '"':
            yield from quoted_breaches(where, name, path, room, allowed, root, reachable)
        else:
            yield from outside_breaches(where, name, room)


def quoted_breaches(where, name, path, room, allowed, root, reachable):
    if "../" in name:
        yield f'{where}: "{name}" climbs out of its folder; name the header from its own include folder'
        return
    target = reachable.get(name)
    if target is None and (path.parent / name).exists():
        target = path.parent / name
    if target is None:
        yield f'{where}: "{name}" is no header of this project; outside headers stand in angle brackets'
        return
    target_room = room_of(target, root)
    if target_room != room and target_room not in allowed:
        yield f'{where}: {room} must not include "{name}" of {target_room}'


def outside_breaches(where, name, room):
    if room.startswith("include") and not re.fullmatch(r"[a-z_]+(\.h)?", name):
        yield f"{where}: include/ uses standard headers only, not <{name}>"
    if name in FORBIDDEN_STANDARD.get(room, set()):
        yield f"{where}: {room} must not include <{name}>"
    for pattern, rooms in OUTSIDE_ONLY_IN.items():
        if re.fullmatch(pattern, name) and room not in rooms:
            yield f"{where}: <{name}> belongs to {', '.join(sorted(rooms))} only"


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).resolve().parent.parent)
    reachable = project_headers(root)
    files = [p for folder in ("include", "src") for p in sorted((root / folder).rglob("*")) if p.suffix in (".h", ".cpp")]
    found = [breach for path in files for breach in breaches_of(path, root, reachable)]
    for breach in found:
        print(breach)
    print(f"{len(files)} files, {len(found)} breaches of the include rules")
    return 1 if found or not files else 0


if __name__ == "__main__":
    sys.exit(main())
