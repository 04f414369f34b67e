#!/usr/bin/env bash
# A project's line style library carried into a new drawing: rdpub loads the styles module,
# points it at a project whose "Styles/LineTypes.xml" holds complex linetypes (a text dash on a
# named style, a shape dash whose shape file the drawing lacks, a dash with both a text and a
# shape number), restores them all, takes a standard linetype over into the library, exports
# it and saves the drawing. ezdxf (Debian's python3-ezdxf, an independent DXF reader) audits the
# drawing without errors and finds every dash as the library says. Skipped (77) when ezdxf,
# rdpub or the styles module is missing.
set -euo pipefail
python=/usr/bin/python3
[ -n "${KW_RDPUB:-}" ] && [ -x "$KW_RDPUB" ] || { echo "rdpub not built"; exit 77; }
[ -n "${KW_STYLES:-}" ] && [ -f "$KW_STYLES" ] || { echo "styles module not built"; exit 77; }
"$python" -c "import ezdxf" 2>/dev/null || { echo "python3-ezdxf is not installed"; exit 77; }
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
export KWRD_USER_DIR="$work/user" KWRD_WORK_DIR="$work/work"
mkdir -p "$work/project/Styles"
cat > "$work/project/Styles/LineTypes.xml" <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<LineTypeInfo>
  <LineTypes>
    <LineType Style="KW_GAS" Des="Gas ---- 燃气 ----" Comments="Gas ---- 燃气 ----"
              IsScaleToFit="0" PatternLen="28" DashLen="15,-4,-9" NumDashes="3"
              ShapeIsUcsOriented="0,0,0" ShapeNumber="0,0,0" Offset="0,0;-2.5,-1.25;0,0"
              Rotation="0,0,0" ShapeScale="1,2.5,1" ShapeStyle="|Standard|"
              Text="&quot;燃气&quot;"/>
    <LineType Style="KW_FENCE" Des="Fence ---0---" Comments="" IsScaleToFit="0"
              PatternLen="19.05" DashLen="12.7,-3.175,-3.175" NumDashes="3"
              ShapeIsUcsOriented="0,0,0" ShapeNumber="0,130,0" Offset="0,0;-2.54,0;0,0"
              Rotation="0,0,0" ShapeScale="1,2.54,1" ShapeStyle="|ltypeshp.shx|"
              Text="&quot;&quot;"/>
    <LineType Style="KW_MARK" Des="Mark" Comments="Mark" IsScaleToFit="0" PatternLen="10"
              DashLen="5,-5" NumDashes="2" ShapeIsUcsOriented="0,0" ShapeNumber="0,5"
              Offset="0,0;-1,-0.5" Rotation="0,0" ShapeScale="1,1" ShapeStyle="|RoadMarks"
              Text="&quot;M"/>
  </LineTypes>
</LineTypeInfo>
XML

script="$work/session.txt"
{
  printf 'KWPROJECT %s\n' "$work/project"
  printf 'LTLIST\n'
  printf 'LTRESTORE *\n'
  printf 'LINETYPE L DASHDOT\n\n\n'
  printf 'LTAPPEND DASHDOT\n'
  printf 'LTEXPORT %s\nKW_GAS,DASHDOT\n' "$work/export.xml"
  printf 'SAVEAS %s\nQUIT\n' "$work/styles.dxf"
} > "$script"
"$KW_RDPUB" --module "$KW_LIBRARY" --module "$KW_STYLES" --script "$script" > "$work/rdpub.log"
for line in '已恢复线型 KW_GAS.' '已恢复线型 KW_FENCE.' '已恢复线型 KW_MARK.' '已加入线型 DASHDOT.' \
            '线型库已保存.' "已导出线型到 $work/export.xml." '已保存。'; do
  grep -qF "$line" "$work/rdpub.log" || { echo "missing: $line"; cat "$work/rdpub.log"; exit 1; }
done
grep -q 'Style="DASHDOT"' "$work/project/Styles/LineTypes.xml"
grep -q 'Style="KW_GAS"' "$work/export.xml"
grep -q 'Style="DASHDOT"' "$work/export.xml"

"$python" - "$work/styles.dxf" <<'PY'
import sys

import ezdxf

doc = ezdxf.readfile(sys.argv[1])
errors = doc.audit().errors
if errors:
    sys.exit(f"audit errors: {[e.message for e in errors]}")
names = {lt.dxf.name.upper() for lt in doc.linetypes}
for name in ("KW_GAS", "KW_FENCE", "KW_MARK", "DASHDOT"):
    if name not in names:
        sys.exit(f"{name} missing from {sorted(names)}")


def tags(name):
    return [(t.code, t.value) for t in doc.linetypes.get(name).pattern_tags.tags]


def style_of(handle):
    return doc.entitydb[handle]


gas = tags("KW_GAS")
if (9, "燃气") not in gas or (74, 2) not in gas or (75, 0) not in gas:
    sys.exit(f"KW_GAS: {gas}")
if style_of(dict(gas)[340]).dxf.name.upper() != "STANDARD":
    sys.exit(f"KW_GAS text style {style_of(dict(gas)[340]).dxf.name}")
if doc.linetypes.get("KW_GAS").dxf.description != "Gas ---- 燃气 ----":
    sys.exit(f"KW_GAS description {doc.linetypes.get('KW_GAS').dxf.description}")
fence = tags("KW_FENCE")
if (75, 130) not in fence or (74, 4) not in fence or (46, 2.54) not in fence:
    sys.exit(f"KW_FENCE: {fence}")
shapes = style_of(dict(fence)[340])
if shapes.dxf.font.lower() != "ltypeshp.shx" or not shapes.dxf.flags & 1:
    sys.exit(f"KW_FENCE shape file {shapes.dxf.font} flags {shapes.dxf.flags}")
mark = tags("KW_MARK")
if (9, "M") not in mark or (74, 2) not in mark or (75, 0) not in mark:
    sys.exit(f"KW_MARK: {mark}")
if style_of(dict(mark)[340]).dxf.name.upper() != "STANDARD":
    sys.exit(f"KW_MARK text style {style_of(dict(mark)[340]).dxf.name}")
PY
