#!/usr/bin/env python3
"""A raw log read without the program's code: the text part as INI in the Windows code page, the binary
block as little-endian 4-byte floats, and the 4-byte trailer giving the text part's length. The end-to-end
tests read the logs the program writes (pushes, cuts, joins, imported positions) with it, so a fault shared
by the program's writer and its reader cannot hide.

Prints one JSON object: the sections, the comma lists of DATA, the point and sample counts, and a digest of
each point's waveform bytes. Exits 1 with the reason on stderr when the file breaks the layout.
"""
import hashlib
import json
import struct
import sys

MARKER = b"DATA=Binary Appended\r\n"


def fail(why):
    sys.stderr.write(f"{sys.argv[1]}: {why}\n")
    sys.exit(1)


def main():
    data = open(sys.argv[1], "rb").read()
    end = data.find(MARKER)
    if end < 0:
        fail("no DATA=Binary Appended line")
    text_len = end + len(MARKER)
    sections, current = {}, None
    for line in data[:text_len].decode("cp1252").split("\r\n"):
        if line.startswith("[") and line.endswith("]"):
            current = sections.setdefault(line[1:-1], {})
        elif "=" in line and current is not None:
            key, value = line.split("=", 1)
            current[key] = value
    info = sections.get("DATA_INFO", {})
    points = int(info["Data_Points"]) + 1
    samples = int(info["Wave_Points"]) + 1
    binary = data[text_len:]
    if len(binary) != points * samples * 4 + 4:
        fail(f"binary block of {len(binary)} bytes for {points} points of {samples} samples")
    (trailer,) = struct.unpack("<I", binary[-4:])
    if trailer != text_len:
        fail(f"trailer {trailer} but the text part is {text_len} bytes")
    lists = {k: [float(v) for v in val.split(",") if v != ""]
             for k, val in sections.get("DATA", {}).items() if k != "DATA"}
    step = samples * 4
    waves = [hashlib.sha1(binary[i * step:(i + 1) * step]).hexdigest()[:16] for i in range(points)]
    json.dump({"sections": sections, "lists": lists, "points": points, "samples": samples,
               "text_length": text_len, "wave_digests": waves}, sys.stdout)


if __name__ == "__main__":
    main()
