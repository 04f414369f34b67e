"""Drawings written by ezdxf open in rdpub, are saved, and ezdxf reads and audits the result.

  interop.py write FOLDER     writes the drawings ezdxf makes into FOLDER
  interop.py check FOLDER     compares each FOLDER/NAME.dxf with FOLDER/NAME.out.dxf (and the
                              new drawings FOLDER/new*.dxf) and exits 1 on the first difference
"""
import sys

import ezdxf

UNKNOWN = "100\nKwFutureData\n  1\nkept as it is\n"
# A section the host does not model, placed last as drawing files hold their preview picture.
PICTURE = "  0\nSECTION\n  2\nTHUMBNAILIMAGE\n 90\n4\n310\nDEADBEEF\n  0\nENDSEC\n"


def fill(doc, text):
    doc.layers.add("Road", color=3, linetype="GAS")
    doc.layers.add("图层", color=1)
    doc.linetypes.new("GAS", dxfattribs={
        "description": "Gas ----GAS----", "length": 1.0,
        "pattern": 'A,.5,-.2,["GAS",STANDARD,S=.1,U=0.0,X=-0.1,Y=-.05],-.25'})
    doc.linetypes.new("TREE", dxfattribs={
        "description": "Tree", "length": 1.0,
        "pattern": "A,.25,-.1,[132,ltypeshp.shx,x=-.1,s=.1],-.1,1"})
    doc.styles.new("HZ", dxfattribs={"font": "txt.shx", "bigfont": "gbcbig.shx", "width": 0.8})
    block = doc.blocks.new("MARK")
    block.add_line((0, 0), (1, 1))
    block.add_circle((0, 0), 0.5)
    msp = doc.modelspace()
    line = msp.add_line((0, 0), (10, 5), dxfattribs={"layer": "Road", "color": 5})
    line.set_xdata("KWRD", [(1000, "road line"), (1070, 7)])
    msp.add_circle((1, 1), 2, dxfattribs={"layer": "图层"})
    msp.add_arc((0, 0), 3, 10, 80)
    msp.add_lwpolyline([(0, 0, 0, 0, 0.5), (5, 0, 0, 0, 0), (5, 5, 0, 0, 0)], format="xyseb",
                       close=True)
    msp.add_polyline2d([(0, 0), (1, 1), (2, 0)])
    msp.add_text(text, dxfattribs={"height": 2.5, "style": "HZ", "layer": "图层"})
    msp.add_blockref("MARK", (4, 4), dxfattribs={"xscale": 2, "rotation": 30})
    msp.add_mtext("multi line")


def write(folder):
    gbk = ezdxf.new("R2000")
    gbk.encoding = "gbk"
    fill(gbk, "道路中心线 abc")
    gbk.saveas(f"{folder}/r2000_gbk.dxf")
    utf8 = ezdxf.new("R2018")
    fill(utf8, "道路中心线 abc")
    utf8.saveas(f"{folder}/r2018.dxf")
    binary = ezdxf.new("R2013")
    fill(binary, "道路")
    binary.saveas(f"{folder}/r2013_binary.dxf", fmt="bin")
    # An unknown subclass with a tag the host does not model, inside the first LINE.
    with open(f"{folder}/r2018.dxf", encoding="utf-8") as f:
        text = f.read()
    at = text.index("AcDbLine\n")
    text = text[:at] + "AcDbLine\n" + UNKNOWN + text[at + len("AcDbLine\n"):]
    at = text.rindex("  0\nEOF\n")
    text = text[:at] + PICTURE + text[at:]
    with open(f"{folder}/r2018.dxf", "w", encoding="utf-8") as f:
        f.write(text)


def fail(why):
    print("FAIL:", why)
    sys.exit(1)


def audited(path):
    doc = ezdxf.readfile(path)
    auditor = doc.audit()
    if auditor.errors:
        fail(f"{path}: audit errors {[e.message for e in auditor.errors]}")
    return doc


def linetypes(doc):
    """Name, description and pattern; a shape's or text's style by its name, not its handle."""
    out = []
    for lt in doc.linetypes:
        pattern = []
        for tag in lt.pattern_tags.tags:
            value = tag.value
            if tag.code == 340:
                value = doc.entitydb[value].dxf.name if value in doc.entitydb else value
            pattern.append((tag.code, round(value, 9) if isinstance(value, float) else value))
        out.append((lt.dxf.name, lt.dxf.description, pattern))
    return sorted(out)


def summary(doc):
    msp = doc.modelspace()
    return {
        "layers": sorted((l.dxf.name, l.dxf.color, l.dxf.linetype) for l in doc.layers),
        "linetypes": linetypes(doc),
        "styles": sorted((s.dxf.name, s.dxf.font, s.dxf.bigfont) for s in doc.styles),
        "blocks": sorted((b.name, sorted(e.dxftype() for e in b)) for b in doc.blocks
                         if not b.name.lower().startswith("*")),
        "entities": [(e.dxftype(), e.dxf.layer) for e in msp],
        "texts": [e.dxf.text for e in msp.query("TEXT MTEXT")],
        "xdata": [str(e.get_xdata("KWRD")) for e in msp.query("LINE") if e.has_xdata("KWRD")],
    }


def check(folder):
    for name in ("r2000_gbk", "r2018", "r2013_binary"):
        before = summary(audited(f"{folder}/{name}.dxf"))
        after_doc = audited(f"{folder}/{name}.out.dxf")
        after = summary(after_doc)
        for key in before:
            if before[key] != after[key]:
                fail(f"{name}: {key} differ:\n  {before[key]}\n  {after[key]}")
        print(f"{name}: {after_doc.dxfversion} {after_doc.encoding}, "
              f"{len(after['entities'])} entities, same tables and entities, no audit errors")
    with open(f"{folder}/r2018.out.dxf", encoding="utf-8") as f:
        out = f.read()
    if UNKNOWN not in out:
        fail("the unknown tag was lost")
    if not out.endswith(PICTURE + "  0\nEOF\n"):
        fail("the preview picture section was lost")
    for name in ("new", "new_binary", "new_2018"):
        doc = audited(f"{folder}/{name}.dxf")
        print(f"{name}: {doc.dxfversion} {doc.encoding}, no audit errors")


if __name__ == "__main__":
    {"write": write, "check": check}[sys.argv[1]](sys.argv[2])
