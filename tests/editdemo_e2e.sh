#!/usr/bin/env bash
# The editor example module in a scripted rdpub session: a block is inserted from a drawing
# that ezdxf (Debian's python3-ezdxf, an independent DXF reader) wrote, defined once more under
# another name, cloned, a polyline is drawn and closed in a linetype the drawing loads on the
# way, the view is widened to two points, every entity and then an outline blink until their
# time runs out, and the drawing is saved; ezdxf audits the saved drawing and finds exactly the
# expected entities and blocks, none of them left red and no outline left behind. Skipped (77)
# when ezdxf, rdpub or the module is missing.
set -euo pipefail
python=/usr/bin/python3
[ -n "${KW_RDPUB:-}" ] && [ -x "$KW_RDPUB" ] || { echo "rdpub not built"; exit 77; }
[ -n "${KW_EDITDEMO:-}" ] && [ -f "$KW_EDITDEMO" ] || { echo "editdemo not built"; exit 77; }
"$python" -c "import ezdxf" 2>/dev/null || { echo "python3-ezdxf is not installed"; exit 77; }
work="$(mktemp -d)"
trap '[ -n "${KEEP:-}" ] || rm -rf "$work"' EXIT
export KWRD_USER_DIR="$work/user" KWRD_WORK_DIR="$work/work" ASAN_OPTIONS=detect_leaks=0
fail() { echo "FAIL: $*" >&2; exit 1; }

"$python" - "$work/manhole.v1.dxf" <<'PY'
import sys

import ezdxf

doc = ezdxf.new("R2010")
doc.layers.add("Pipes", color=5)
msp = doc.modelspace()
msp.add_line((0, 0), (2, 0), dxfattribs={"layer": "Pipes"})
msp.add_circle((1, 1), 0.5)
msp.add_lwpolyline([(0, 0), (2, 0), (2, 2)], dxfattribs={"const_width": 0.1})
doc.saveas(sys.argv[1])
PY

# The drawing the session starts from: two lines and a circle; their handles go to site.handles.
"$python" - "$work/site.dxf" "$work/site.handles" <<'PY'
import sys

import ezdxf

doc = ezdxf.new("R2010")
msp = doc.modelspace()
low = msp.add_line((0, 0), (10, 0))
high = msp.add_line((0, 5), (10, 5))
ring = msp.add_circle((20, 0), 2)
doc.saveas(sys.argv[1])
with open(sys.argv[2], "w") as out:
    out.write(f"{low.dxf.handle} {high.dxf.handle} {ring.dxf.handle}\n")
PY
read -r low high ring < "$work/site.handles"

# One answer per line; an empty line is Enter.
session=(
  "APPLOAD $KW_EDITDEMO"
  # Lines by a window, the Circle mode by its keyword, the circle by a crossing, every type
  # again by a prefix, then the upper line taken out with Shift.
  EDITPICK "W -1,-1 11,6" circle "C 17,-3 23,3" a "-5,5" ""
  EDITINSERT "$work/manhole.v1.dxf" "10,20" 2 90
  EDITINSERT "$work/manhole.v1.dxf" "" "" ""
  EDITDEFINE "$work/manhole.v1.dxf" "Cover"
  EDITCLONE manhole "manhole red" B
  EDITCLONE nosuch other K
  EDITPLINE "0,0" "30,0" "30,30" "" Y DASHED 0.5 1
  EDITINSERT "$work/missing.dxf" "" "" ""
  EDITZOOM "1,1" "2,2"
  EDITZOOM "0,0" "5000,100"
  # Every entity blinks in red as one group (Enter at the selection's first prompt), then a
  # temporary outline; LIST shows the outline while it blinks, WAIT lets both blinks run out,
  # and the second LIST finds the outline erased.
  EDITFLASH 400 "" ""
  EDITFLASH 400 O "40,40" "60,40" "60,55" ""
  LIST
  WAIT 2500
  LIST
  "SAVEAS $work/out.dxf"
  QUIT
)
printf '%s\n' "${session[@]}" | "$KW_RDPUB" "$work/site.dxf" > "$work/rdpub.log" 2>&1 || fail "rdpub: $(cat "$work/rdpub.log")"
log=$(cat "$work/rdpub.log")
for expected in "已插入块参照" "块定义" "已将块 manhole 复制为 manhole red。" "复制块失败，代码 -2。" \
  "已创建多段线" "插入失败，代码 -7。" "已保存。"; do
  grep -qF "$expected" <<<"$log" || fail "'$expected' missing from: $log"
done
[[ $(grep -o "已插入块参照" <<<"$log" | wc -l) == 2 ]] || fail "two references expected: $log"
picked="选择Line对象 [Line/Circle/All]: 发现 2 个,共 2 个

选择Line对象 [Line/Circle/All]: 
模式: Circle
选择Circle对象 [Line/Circle/All]: 发现 1 个,共 3 个

选择Circle对象 [Line/Circle/All]: 
模式: All
选择All对象 [Line/Circle/All]: 发现 1 个,删除 1 个,共 2 个

选择All对象 [Line/Circle/All]: 
已选择 2 个: $low $ring
"
[[ $log == *"$picked"* ]] || fail "selection with keywords and Shift: $log"
# The first zoom's points are in the start view; the second widens it to 10 beyond the far point.
grep -qF "两点都在视图中: (-88.8889,-50) - (88.8889,50)" <<<"$log" || fail "first zoom: $log"
grep -qE "视图已调整: \(-98\.8889,[-0-9.]+\) - \(5010," <<<"$log" || fail "second zoom: $log"
# The group takes the first id and its six members the next ones, so the outline gets id 8.
grep -qF "闪烁 1。" <<<"$log" || fail "selection flash: $log"
grep -qF "闪烁轮廓 8。" <<<"$log" || fail "outline flash: $log"
# Two polylines listed while the outline blinks, one after it ended.
[[ $(grep -o " LWPOLYLINE " <<<"$log" | wc -l) == 3 ]] || fail "outline not listed, or not erased: $log"

"$python" - "$work/out.dxf" <<'PY'
import math
import sys

import ezdxf

doc = ezdxf.readfile(sys.argv[1])
errors = doc.audit().errors
if errors:
    sys.exit(f"audit errors: {[e.message for e in errors]}")


def fail(what):
    sys.exit(what)


msp = doc.modelspace()
kinds = sorted(e.dxftype() for e in msp)
if kinds != ["CIRCLE", "INSERT", "INSERT", "LINE", "LINE", "LWPOLYLINE"]:
    fail(f"model space holds {kinds}")
inserts = list(msp.query("INSERT"))
if {i.dxf.name for i in inserts} != {"manhole"}:
    fail(f"references name {[i.dxf.name for i in inserts]}")
first = inserts[0]
if (tuple(first.dxf.insert)[:2] != (10, 20) or first.dxf.xscale != 2 or first.dxf.yscale != 2
        or not math.isclose(first.dxf.rotation, 90)):
    fail(f"first reference at {first.dxf.insert} scale {first.dxf.xscale} rot {first.dxf.rotation}")
if tuple(inserts[1].dxf.insert)[:2] != (0, 0) or inserts[1].dxf.xscale != 1:
    fail("second reference does not take the defaults")

pline = msp.query("LWPOLYLINE")[0]
points = [tuple(p[:2]) for p in pline.get_points("xy")]
if points != [(0, 0), (30, 0), (30, 30), (0, 0)] or pline.closed:
    fail(f"polyline {points} closed={pline.closed}")
if pline.dxf.color != 1 or pline.dxf.get("const_width") != 0.5:
    fail(f"polyline colour {pline.dxf.color} width {pline.dxf.get('const_width')}")
if pline.dxf.linetype != "DASHED" or "DASHED" not in doc.linetypes:
    fail(f"polyline linetype {pline.dxf.linetype}")
# The blinks put every entity's own colour back, and the outline through (60,55) is gone.
colours = [(e.dxftype(), e.dxf.get("color", 256)) for e in msp if e.dxftype() != "LWPOLYLINE"]
if any(colour != 256 for _, colour in colours):
    fail(f"colours after blinking: {colours}")
if len(msp.query("LWPOLYLINE")) != 1:
    fail("the outline was saved")


def contents(name):
    return [(e.dxftype(), e.dxf.layer, e.dxf.get("color", 256)) for e in doc.blocks.get(name)]


expected = [("LINE", "Pipes", 256), ("CIRCLE", "0", 256), ("LWPOLYLINE", "0", 256)]
for name in ("manhole", "Cover"):
    if name not in doc.blocks or contents(name) != expected:
        fail(f"block {name}: {contents(name) if name in doc.blocks else 'missing'}")
red = doc.blocks.get("manhole red")
if red is None or [(e.dxftype(), e.dxf.color) for e in red] != [
        ("LINE", 0), ("CIRCLE", 0), ("LWPOLYLINE", 0)]:
    fail("the ByBlock copy")
if "other" in doc.blocks or "Pipes" not in doc.layers:
    fail("blocks or layers")
PY
echo "editdemo_e2e: ok"
