#!/usr/bin/env bash
# A project's text styles and layers carried into a new drawing with the styles module: ezdxf
# (Debian's python3-ezdxf, an independent DXF reader) writes a drawing with text styles (a
# shape font with a big font, a TrueType font, a shape file); rdpub opens it, takes every text
# style into the project's library (TSADD *), starts a new drawing, restores them (TSRESTORE),
# creates layers from typed descriptors (LAYERSET; their linetype HIDDEN, which the drawing
# lacks, comes from the host's standard linetype file) and saves the drawing. ezdxf then audits
# the saved drawing without errors and finds the text styles exactly as the library file
# "TextStyles.xml" holds them and the layers as they were typed. Skipped (77) when ezdxf,
# rdpub or the module is missing.
set -euo pipefail
python=/usr/bin/python3
[ -n "${KW_RDPUB:-}" ] && [ -x "$KW_RDPUB" ] || { echo "rdpub not built"; exit 77; }
[ -n "${KW_STYLES:-}" ] && [ -f "$KW_STYLES" ] || { echo "kwstyles not built"; exit 77; }
"$python" -c "import ezdxf" 2>/dev/null || { echo "python3-ezdxf is not installed"; exit 77; }
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
export KWRD_USER_DIR="$work/user" KWRD_WORK_DIR="$work/work"

"$python" - "$work/source.dxf" <<'PY'
import math
import sys

import ezdxf

doc = ezdxf.new("R2000")
doc.styles.new("HZ", dxfattribs={"font": "txt.shx", "bigfont": "gbcbig.shx", "width": 0.7,
                                 "oblique": 15.0, "last_height": 3.5})
doc.styles.new("Song", dxfattribs={"font": "simsun.ttf", "height": 5.0, "flags": 4})
doc.styles.new("Shapes", dxfattribs={"font": "ltypeshp.shx", "flags": 1})
doc.saveas(sys.argv[1])
PY

cat > "$work/script.txt" <<SCRIPT
APPLOAD $KW_STYLES
KWPROJECT $work/project
TSADD *
NEW
TSRESTORE *
LAYERSET
Road|Continuous|红色|0.35|L
Hidden|HIDDEN|12,34,56|0.5|FO
Marks||9|默认|-

LAYERLIST
SAVEAS $work/restored.dxf
QUIT
SCRIPT
"$KW_RDPUB" --script "$work/script.txt" "$work/source.dxf" > "$work/rdpub.log"
for expected in "已加入 4 个文字样式." "已恢复 4 个文字样式." "已保存。"; do
  grep -qF "$expected" "$work/rdpub.log" || { cat "$work/rdpub.log"; exit 1; }
done

"$python" - "$work/restored.dxf" "$work/project/Styles/TextStyles.xml" <<'PY'
import math
import sys
import xml.etree.ElementTree as ET

import ezdxf

doc = ezdxf.readfile(sys.argv[1])
errors = doc.audit().errors
if errors:
    sys.exit(f"audit errors: {[e.message for e in errors]}")

raw = open(sys.argv[2], "rb").read()
if not raw.startswith(b'<?xml version="1.0" encoding="GB2312"?>'):
    sys.exit(f"library file starts {raw[:60]!r}")
library = ET.fromstring(raw.decode("gb2312").split("?>", 1)[1])
styles = {s.get("Name").upper(): s for s in library.findall("TextStyle")}
if set(styles) != {"STANDARD", "HZ", "SONG", "SHAPES"}:
    sys.exit(f"library holds {sorted(styles)}")


def close(a, b):
    return math.isclose(a, b, rel_tol=1e-6, abs_tol=1e-6)


for name, s in styles.items():
    v = {child.tag: (child.text or "") for child in s}
    d = doc.styles.get(name)
    if d is None:
        sys.exit(f"{name} was not restored")
    if d.dxf.font != v["FileName"] or d.dxf.get("bigfont", "") != v["BigFontFileName"]:
        sys.exit(f"{name}: font {d.dxf.font!r} / {d.dxf.get('bigfont', '')!r}, library {v}")
    if not close(d.dxf.width, float(v["XScale"])) or not close(d.dxf.height, float(v["TextSize"])):
        sys.exit(f"{name}: width {d.dxf.width} height {d.dxf.height}, library {v}")
    if not close(math.radians(d.dxf.oblique), float(v["ObliquingAngle"])):
        sys.exit(f"{name}: oblique {d.dxf.oblique}, library {v}")
    if not close(d.dxf.last_height, float(v["PriorSize"])):
        sys.exit(f"{name}: prior size {d.dxf.last_height}, library {v}")
    vertical = 4 if v["IsVerTical"] == "1" else 0
    if d.dxf.flags != vertical or d.dxf.generation_flags != int(v["FlagBit"]):
        sys.exit(f"{name}: flags {d.dxf.flags}/{d.dxf.generation_flags}, library {v}")
    if s.get("AutoRestore") != "1":
        sys.exit(f"{name} is not marked for automatic restore")

hz = {child.tag: child.text for child in styles["HZ"]}
if hz["BigFontFileName"] != "gbcbig.shx" or hz["XScale"] != "0.700000":
    sys.exit(f"HZ taken over as {hz}")
if {child.tag: child.text for child in styles["SHAPES"]}["FileName"] != "ltypeshp.shx":
    sys.exit("the shape file style lost its file")

expected = {
    # name: (colour index, true colour, linetype, lineweight, frozen, locked, off)
    "Road": (1, None, "Continuous", 35, False, True, False),
    "Hidden": (7, 0x0C2238, "HIDDEN", 50, True, False, True),
    "Marks": (9, None, "Continuous", -3, False, False, False),
}
for name, (color, true_color, linetype, weight, frozen, locked, off) in expected.items():
    layer = doc.layers.get(name)
    got = (layer.color, layer.dxf.get("true_color"), layer.dxf.linetype, layer.dxf.lineweight,
           layer.is_frozen(), layer.is_locked(), layer.is_off())
    if got != (color, true_color, linetype, weight, frozen, locked, off):
        sys.exit(f"layer {name}: {got}")
PY
