#!/usr/bin/env bash
# The shipped linetypes in a saved drawing: rdpub loads every linetype of acadiso.lin with the
# LINETYPE command and saves the drawing; ezdxf (Debian's python3-ezdxf, an independent DXF
# reader) audits it without errors and finds the text and shape elements. Skipped (77) when
# ezdxf or rdpub is missing.
set -euo pipefail
python=/usr/bin/python3
[ -n "${KW_RDPUB:-}" ] && [ -x "$KW_RDPUB" ] || { echo "rdpub not built"; exit 77; }
"$python" -c "import ezdxf" 2>/dev/null || { echo "python3-ezdxf is not installed"; exit 77; }
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
export KWRD_USER_DIR="$work/user" KWRD_WORK_DIR="$work/work"

printf 'LINETYPE L *\n\n\nSAVEAS %s\nQUIT\n' "$work/lines.dxf" | "$KW_RDPUB" > "$work/rdpub.log"
grep -q '已加载线型 "ARROW_LINE"' "$work/rdpub.log" || { cat "$work/rdpub.log"; exit 1; }
"$python" - "$work/lines.dxf" <<'PY'
import sys

import ezdxf

doc = ezdxf.readfile(sys.argv[1])
errors = doc.audit().errors
if errors:
    sys.exit(f"audit errors: {[e.message for e in errors]}")
names = {lt.dxf.name for lt in doc.linetypes}
for name in ("DASHED", "HIDDENX2", "ACAD_ISO15W100", "GAS_LINE", "FENCELINE1", "ARROW_LINE"):
    if name not in names:
        sys.exit(f"{name} missing from {sorted(names)}")
if len(names) != 48:
    sys.exit(f"{len(names)} linetypes")


def tags(name):
    return [(t.code, t.value) for t in doc.linetypes.get(name).pattern_tags.tags]


def style_of(handle):
    return doc.entitydb[handle]


gas = tags("GAS_LINE")
if (9, "GAS") not in gas or (74, 2) not in gas:
    sys.exit(f"GAS_LINE: {gas}")
style = style_of(dict(gas)[340])
if style.dxf.name.upper() != "STANDARD":
    sys.exit(f"GAS_LINE text style {style.dxf.name}")
fence = tags("FENCELINE1")
if (75, 130) not in fence or (74, 4) not in fence:
    sys.exit(f"FENCELINE1: {fence}")
shapes = style_of(dict(fence)[340])
if shapes.dxf.font.lower() != "ltypeshp.shx" or not shapes.dxf.flags & 1:
    sys.exit(f"FENCELINE1 shape file {shapes.dxf.font} flags {shapes.dxf.flags}")
arrow = tags("ARROW_LINE")
if (74, 5) not in arrow or (75, 134) not in arrow:
    sys.exit(f"ARROW_LINE: {arrow}")
PY
