#!/usr/bin/env python3
"""Writes an XML document of records, of exactly the size that is asked for; the same size gives the same bytes.

    make_records.py SIZE PATH

SIZE is in megabytes of 1,000,000 bytes and may have a fraction. 100 makes the largest document that MLDoc loads.
"""

import sys

HEAD = b'<?xml version="1.0" encoding="UTF-8"?>\n<records version="1">\n'
TAIL = b"</records>\n"

# Some of them need entities, and some more than one byte for a character.
NAMES = [
    "Ada",
    "Bernardo",
    "Çelik",
    "Dörte",
    "Émile &amp; sons",
    "Fiona",
    "Grzegorz",
    "Håkon &quot;H&quot;",
    "Ιωάννα",
    "Юлия",
]
TOWNS = ["Aalborg", "Bath", "Český Krumlov", "Dijon", "Évora", "Freiburg", "Gdańsk", "Hyères"]
GROUPS = ["customer", "supplier", "partner"]
NOTES = [
    "",
    "asks for a call back",
    "pays within 30 days &amp; without reminder",
    "orders &lt; 100 pieces only through the web shop, see the agreement on file",
]


def record(number):
    # A multiplicative hash spreads the choices without a generator whose results could change between versions.
    mix = number * 2654435761 % 4294967296
    name = NAMES[mix % 10]
    town = TOWNS[mix // 16 % 8]
    active = "true" if mix // 512 % 4 else "false"
    since = f"20{mix // 1024 % 24:02d}-{mix // 4096 % 12 + 1:02d}-{mix // 16384 % 28 + 1:02d}T08:30:00"
    lines = [
        f'  <record id="{number}" name="{name} {mix % 9973}" group="{GROUPS[mix // 128 % 3]}"'
        f' balance="{mix % 2000001 - 1000000}" rate="{mix // 7 % 1000 / 100:.2f}"'
        f' active="{active}" since="{since}">',
        f'    <address street="{town} road {mix // 32 % 200 + 1}" zip="{mix // 64 % 90000 + 10000}" town="{town}"/>',
    ]
    orders = mix // 65536 % 4
    if orders:
        lines.append("    <orders>")
        for i in range(orders):
            lines.append(f'      <order number="{number}-{i + 1}" pieces="{(mix >> i) % 500 + 1}"/>')
        lines.append("    </orders>")
    lines.append(f"    <note>{NOTES[mix // 262144 % 4]}</note>")
    lines.append("  </record>\n")
    return "\n".join(lines).encode()


def write(size, out):
    out.write(HEAD)
    left = size - len(HEAD) - len(TAIL)
    number = 0
    while True:
        number += 1
        data = record(number)
        if len(data) > left:
            break
        out.write(data)
        left -= len(data)
    # Blanks fill what no whole record fits into.
    if left:
        out.write(b" " * (left - 1) + b"\n")
    out.write(TAIL)


def main(arguments):
    try:
        megabytes, path = arguments
        size = round(float(megabytes) * 1000000)
    except (ValueError, OverflowError):
        print("usage: make_records.py SIZE PATH   (SIZE in megabytes)", file=sys.stderr)
        return 2
    if size < len(HEAD) + len(TAIL):
        print("make_records.py: the size is too small for a document", file=sys.stderr)
        return 2
    try:
        with open(path, "wb") as out:
            write(size, out)
    except OSError as error:
        print(f"make_records.py: {error}", file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
