#!/usr/bin/env bash
# A picture of a drawing from outside: ezdxf (Debian's python3-ezdxf) writes a drawing, rdpub
# opens it and draws its view with EXPORTSVG, and rsvg-convert (librsvg2-bin, an independent
# SVG renderer) renders the picture; the pixels where each entity lies carry its colour.
# Skipped (77) when rdpub, ezdxf or rsvg-convert is missing.
set -euo pipefail
python=/usr/bin/python3
[ -n "${KW_RDPUB:-}" ] && [ -x "$KW_RDPUB" ] || { echo "rdpub not built"; exit 77; }
"$python" -c "import ezdxf" 2>/dev/null || { echo "python3-ezdxf is not installed"; exit 77; }
command -v rsvg-convert >/dev/null || { echo "rsvg-convert is not installed"; exit 77; }
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
export KWRD_USER_DIR="$work/user" KWRD_WORK_DIR="$work/work"

"$python" - "$work/in.dxf" <<'PY'
import sys

import ezdxf

doc = ezdxf.new("R2010")
msp = doc.modelspace()
msp.add_line((-60, 30), (-20, 30), dxfattribs={"color": 1})
msp.add_circle((30, 20), 10, dxfattribs={"color": 5})
pline = msp.add_lwpolyline([(-60, -30), (-20, -30)], dxfattribs={"color": 3})
pline.dxf.const_width = 4
block = doc.blocks.new("TICK")
block.add_line((0, 0), (0, 10), dxfattribs={"color": 0})
msp.add_blockref("TICK", (40, -40), dxfattribs={"color": 6, "xscale": 2, "yscale": 2})
msp.add_text("KW", dxfattribs={"height": 8, "color": 1, "insert": (-80, 5)})
doc.saveas(sys.argv[1])
PY

printf 'EXPORTSVG %s\nQUIT\n' "$work/view" | "$KW_RDPUB" "$work/in.dxf" > "$work/rdpub.log"
grep -q "已输出图片 $work/view.svg。" "$work/rdpub.log" || { cat "$work/rdpub.log"; exit 1; }
rsvg-convert -o "$work/view.png" "$work/view.svg"

"$python" - "$work/view.png" <<'PY'
import struct
import sys
import zlib

data = open(sys.argv[1], "rb").read()
at, idat = 8, b""
while at < len(data):
    length, kind = struct.unpack(">I4s", data[at:at + 8])
    body = data[at + 8:at + 8 + length]
    if kind == b"IHDR":
        width, height, depth, ctype = struct.unpack(">IIBB", body[:10])
    elif kind == b"IDAT":
        idat += body
    at += 12 + length
bpp = {6: 4, 2: 3}[ctype]
raw, stride, rows, prev = zlib.decompress(idat), width * bpp, [], bytearray(width * bpp)
for y in range(height):
    kind, row = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
    for i in range(stride):
        a = row[i - bpp] if i >= bpp else 0
        b, c = prev[i], prev[i - bpp] if i >= bpp else 0
        if kind == 1: row[i] = (row[i] + a) & 255
        elif kind == 2: row[i] = (row[i] + b) & 255
        elif kind == 3: row[i] = (row[i] + (a + b) // 2) & 255
        elif kind == 4:
            p = a + b - c
            pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
            row[i] = (row[i] + (a if pa <= pb and pa <= pc else b if pb <= pc else c)) & 255
    rows.append(row)
    prev = row
if (width, height) != (1280, 720):
    sys.exit(f"picture is {width} x {height}")


def pixel(x, y):
    """The colour at a world point of the default view: 100 units high about the origin."""
    px, py = int((x + 50 * width / height) * height / 100), int((50 - y) * height / 100)
    return tuple(rows[py][px * bpp:px * bpp + 3])


def near(got, want):
    return all(abs(g - w) < 80 for g, w in zip(got, want))


checks = {
    "red line": ((-40, 30), (255, 0, 0)),
    "blue circle": ((40, 20), (0, 0, 255)),
    "wide green polyline, off its axis": ((-40, -31.5), (0, 255, 0)),
    "magenta block line, scaled": ((40, -25), (255, 0, 255)),
    "empty ground": ((0, 0), (255, 255, 255)),
    "inside the circle": ((30, 20), (255, 255, 255)),
}
for name, ((x, y), want) in checks.items():
    got = pixel(x, y)
    if not near(got, want):
        sys.exit(f"{name}: {got} at ({x}, {y}), want {want}")
red = sum(near(pixel(-80 + i * 0.25, 5 + j * 0.25), (255, 0, 0)) for i in range(40) for j in range(32))
if red < 20:
    sys.exit(f"text: {red} red pixels")
PY
