// The controls of <kwhost/embedded.h> that open, save and list drawings: they span the
// document service (which document is current, its database) and the drawing-file service.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/text.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/api/docman.h"
#include "host/embedded/db/kept.h"
#include "host/embedded/docs/docs.h"
#include "host/embedded/dxf/drawingfile.h"
#include "kwhost/embedded.h"

namespace kwhost {
namespace {

std::wstring Num(double v) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.6g", std::fabs(v) < 5e-7 ? 0.0 : v);
  return kw::FromUtf8(text);
}

std::wstring Pt(const AcGePoint3d& p) {
  return L"(" + Num(p.x) + L"," + Num(p.y) + L"," + Num(p.z) + L")";
}

std::wstring NameOf(AcDbObjectId id) {
  const auto* r = AcDbSymbolTableRecord::cast(db::Peek(id));
  return r ? r->name() : std::wstring();
}

std::wstring Degrees(double radians) {
  return Num(radians * 180.0 / M_PI);
}

// The DXF type and the key geometry of an entity.
std::wstring Describe(const AcDbEntity& e) {
  if (const auto* p = db::ProxyEntity::cast(&e)) return kw::FromUtf8(p->dxfName);
  if (const auto* l = AcDbLine::cast(&e)) {
    return L"LINE " + Pt(l->startPoint()) + L" " + Pt(l->endPoint());
  }
  if (const auto* a = AcDbArc::cast(&e)) {
    return L"ARC " + Pt(a->center()) + L" r=" + Num(a->radius()) + L" " + Degrees(a->startAngle()) +
           L"-" + Degrees(a->endAngle());
  }
  if (const auto* c = AcDbCircle::cast(&e)) {
    return L"CIRCLE " + Pt(c->center()) + L" r=" + Num(c->radius());
  }
  if (const auto* p = AcDbPolyline::cast(&e)) {
    return L"LWPOLYLINE " + std::to_wstring(p->numVerts()) + L" vertices" +
           (p->isClosed() ? L" closed" : L"");
  }
  if (const auto* p = AcDb2dPolyline::cast(&e)) {
    return L"POLYLINE " + std::to_wstring(p->numVerts()) + L" vertices" +
           (p->isClosed() ? L" closed" : L"");
  }
  if (const auto* t = AcDbText::cast(&e)) {
    return L"TEXT " + Pt(t->position()) + L" \"" + t->textStringConst() + L"\"";
  }
  if (const auto* r = AcDbBlockReference::cast(&e)) {
    return L"INSERT " + NameOf(r->blockTableRecord()) + L" " + Pt(r->position());
  }
  if (const auto* p = AcDbPoint::cast(&e)) return L"POINT " + Pt(p->position());
  return e.isA() ? e.isA()->name() : L"?";
}

std::wstring Hex(uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof(text), "%llX", static_cast<unsigned long long>(value));
  return kw::FromUtf8(text);
}

}  // namespace

AcDbDatabase* CurrentDatabase() {
  AcApDocument* doc = docs::Docs().current;
  return doc ? doc->database() : nullptr;
}

bool OpenDrawing(const std::wstring& path, std::wstring* why) {
  OpenDocument(path);
  AcDbDatabase* db = CurrentDatabase();
  if (!db || !kw::Fs().IsFile(path)) return true;
  if (db->readDwgFile(path.c_str()) == Acad::eOk) return true;
  if (why) *why = kw::FromUtf8(dxf::LastReadMessage());
  return false;
}

void NewDrawing() {
  OpenDocument(L"Drawing" + std::to_wstring(docs::Docs().documents.size() + 1) + L".dwg");
}

bool SaveDrawing(const std::wstring& path, const std::wstring& version, bool binary,
                 std::wstring* why) {
  AcDbDatabase* db = CurrentDatabase();
  if (!db) return why && (*why = L"no current drawing", false);
  std::wstring target = path;
  if (target.empty()) target = db::Extras(*db).fileName;
  if (target.empty()) {
    target = docs::Docs().current->fileName();
    const std::wstring ext =
        target.size() > 4 ? kw::ToLower(target.substr(target.size() - 4)) : L"";
    if (ext == L".dwg") target.resize(target.size() - 4);
    if (ext != L".dxf") target += L".dxf";
  }
  const Acad::ErrorStatus es = dxf::SaveDrawing(target, *db, kw::ToUtf8(version), binary);
  if (es == Acad::eOk) return true;
  if (why) {
    *why = es == Acad::eNotImplementedYet ? L"R12 格式只能读取, 不能写入; 请另存为 2000 或更高版本"
           : es == Acad::eInvalidInput ? L"unknown version " + version
                                       : L"cannot write " + target;
  }
  return false;
}

std::vector<std::wstring> ListModelSpace() {
  std::vector<std::wstring> lines;
  AcDbDatabase* db = CurrentDatabase();
  AcDbBlockTable* table = nullptr;
  if (!db || db->getBlockTable(table) != Acad::eOk) return lines;
  AcDbObjectId model;
  table->getAt(L"*Model_Space", model);
  table->close();
  const auto* block = AcDbBlockTableRecord::cast(db::Peek(model));
  if (!block) return lines;
  for (AcDbObjectId id : db::BlockEntities(*block)) {
    const auto* e = AcDbEntity::cast(db::Peek(id));
    if (!e || e->isErased()) continue;
    const std::wstring d = Describe(*e);
    const size_t blank = d.find(L' ');
    lines.push_back(Hex(e->objectHandle().value()) + L" " + d.substr(0, blank) + L" " +
                    NameOf(e->layerId()) + (blank == std::wstring::npos ? L"" : d.substr(blank)));
  }
  return lines;
}

}  // namespace kwhost
