// The common properties of entities and colours.
#include <cmath>

#include "host/api/acutads.h"
#include "host/api/dbcolor.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/store.h"

using kwhost::db::ObjectAccess;

// ---------------------------------------------------------------- colours

Acad::ErrorStatus AcCmColor::setColorMethod(AcCmEntityColor::ColorMethod method) {
  if (method < AcCmEntityColor::kByLayer || method > AcCmEntityColor::kNone) {
    return Acad::eInvalidInput;
  }
  m_rgbm = (m_rgbm & 0xFFFFFF) | (static_cast<Adesk::UInt32>(method) << 24);
  return Acad::eOk;
}

bool AcCmColor::isByLayer() const {
  return colorMethod() == AcCmEntityColor::kByLayer ||
         (isByACI() && (m_rgbm & 0xFFFF) == AcCmEntityColor::kACIbyLayer);
}

bool AcCmColor::isByBlock() const {
  return colorMethod() == AcCmEntityColor::kByBlock ||
         (isByACI() && (m_rgbm & 0xFFFF) == AcCmEntityColor::kACIbyBlock);
}

Adesk::UInt16 AcCmColor::colorIndex() const {
  switch (colorMethod()) {
    case AcCmEntityColor::kByLayer:
      return AcCmEntityColor::kACIbyLayer;
    case AcCmEntityColor::kByBlock:
      return AcCmEntityColor::kACIbyBlock;
    case AcCmEntityColor::kByACI:
      return static_cast<Adesk::UInt16>(m_rgbm & 0xFFFF);
    default:
      return AcCmEntityColor::kACIforeground;
  }
}

Acad::ErrorStatus AcCmColor::setColorIndex(Adesk::UInt16 index) {
  if (index == AcCmEntityColor::kACIbyLayer) {
    setByLayer();
  } else if (index == AcCmEntityColor::kACIbyBlock) {
    setByBlock();
  } else if (index < 256) {
    m_rgbm = Pack(AcCmEntityColor::kByACI, index);
  } else {
    return Acad::eInvalidInput;
  }
  return Acad::eOk;
}

Acad::ErrorStatus AcCmColor::setRGB(Adesk::UInt8 red, Adesk::UInt8 green, Adesk::UInt8 blue) {
  m_rgbm = Pack(AcCmEntityColor::kByColor,
                (Adesk::UInt32{red} << 16) | (Adesk::UInt32{green} << 8) | blue);
  return Acad::eOk;
}

Adesk::UInt8 AcCmColor::red() const {
  return isByColor() ? static_cast<Adesk::UInt8>(m_rgbm >> 16) : 0;
}
Adesk::UInt8 AcCmColor::green() const {
  return isByColor() ? static_cast<Adesk::UInt8>(m_rgbm >> 8) : 0;
}
Adesk::UInt8 AcCmColor::blue() const {
  return isByColor() ? static_cast<Adesk::UInt8>(m_rgbm) : 0;
}

// ---------------------------------------------------------------- entities

KW_DB_DEFINE_MEMBERS(AcDbEntity, AcDbObject)

namespace {

void ApplyColor(AcDbEntity* e, const void* arg) {
  e->setColor(*static_cast<const AcCmColor*>(arg), false);
}
void ApplyLayer(AcDbEntity* e, const void* arg) {
  e->setLayer(*static_cast<const AcDbObjectId*>(arg), false);
}
void ApplyLinetype(AcDbEntity* e, const void* arg) {
  e->setLinetype(*static_cast<const AcDbObjectId*>(arg), false);
}
void ApplyScale(AcDbEntity* e, const void* arg) {
  e->setLinetypeScale(*static_cast<const double*>(arg), false);
}
void ApplyWeight(AcDbEntity* e, const void* arg) {
  e->setLineWeight(*static_cast<const AcDb::LineWeight*>(arg), false);
}
void ApplyVisibility(AcDbEntity* e, const void* arg) {
  e->setVisibility(*static_cast<const AcDb::Visibility*>(arg), false);
}

AcDbObjectId FindIn(const AcDbEntity& e, kwhost::db::TableKind kind, const wchar_t* name) {
  AcDbSymbolTable* table = kwhost::db::TableOf(kwhost::db::DatabaseFor(e), kind);
  return table ? kwhost::db::FindRecord(*table, name) : AcDbObjectId();
}

wchar_t* NameCopy(AcDbObjectId id) {
  auto* record = AcDbSymbolTableRecord::cast(kwhost::db::Peek(id));
  return record ? acutNewString(record->name().c_str()) : nullptr;
}

}  // namespace

void AcDbEntity::forEachSubentity(void (*)(AcDbEntity*, const void*), const void*) {}

Acad::ErrorStatus AcDbEntity::setColor(const AcCmColor& color, bool doSubents) {
  if (!writable()) return Acad::eNotOpenForWrite;
  m_color = color;
  if (doSubents) forEachSubentity(ApplyColor, &color);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbEntity::setColorIndex(Adesk::UInt16 index, bool doSubents) {
  AcCmColor color;
  if (color.setColorIndex(index) != Acad::eOk) return Acad::eInvalidInput;
  return setColor(color, doSubents);
}

wchar_t* AcDbEntity::layer() const {
  return NameCopy(m_layer);
}

Acad::ErrorStatus AcDbEntity::setLayer(const wchar_t* layerName, bool doSubents) {
  if (!layerName) return Acad::eNullObjectPointer;
  AcDbObjectId id = FindIn(*this, kwhost::db::kLayers, layerName);
  return id.isNull() ? Acad::eKeyNotFound : setLayer(id, doSubents);
}

Acad::ErrorStatus AcDbEntity::setLayer(AcDbObjectId layerId, bool doSubents) {
  if (!AcDbLayerTableRecord::cast(kwhost::db::Peek(layerId))) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_layer = layerId;
  if (doSubents) forEachSubentity(ApplyLayer, &layerId);
  return Acad::eOk;
}

wchar_t* AcDbEntity::linetype() const {
  return NameCopy(m_linetype);
}

Acad::ErrorStatus AcDbEntity::setLinetype(const wchar_t* linetypeName, bool doSubents) {
  if (!linetypeName) return Acad::eNullObjectPointer;
  AcDbObjectId id = FindIn(*this, kwhost::db::kLinetypes, linetypeName);
  return id.isNull() ? Acad::eKeyNotFound : setLinetype(id, doSubents);
}

Acad::ErrorStatus AcDbEntity::setLinetype(AcDbObjectId linetypeId, bool doSubents) {
  if (!AcDbLinetypeTableRecord::cast(kwhost::db::Peek(linetypeId))) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_linetype = linetypeId;
  if (doSubents) forEachSubentity(ApplyLinetype, &linetypeId);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbEntity::setLinetypeScale(double scale, bool doSubents) {
  if (!(scale > 0) || !std::isfinite(scale)) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_linetypeScale = scale;
  if (doSubents) forEachSubentity(ApplyScale, &scale);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbEntity::setLineWeight(AcDb::LineWeight weight, bool doSubents) {
  if (!acdbIsValidLineWeight(weight)) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_lineWeight = static_cast<Adesk::Int16>(weight);
  if (doSubents) forEachSubentity(ApplyWeight, &weight);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbEntity::setVisibility(AcDb::Visibility visibility, bool doSubents) {
  if (!writable()) return Acad::eNotOpenForWrite;
  m_invisible = visibility == AcDb::kInvisible;
  if (doSubents) forEachSubentity(ApplyVisibility, &visibility);
  return Acad::eOk;
}

void AcDbEntity::setDatabaseDefaults(AcDbDatabase* db) {
  if (!db) db = acdbHostApplicationServices()->workingDatabase();
  if (!db || !writable()) return;
  m_layer = db->clayer();
  m_linetype = db->celtype();
  m_color = AcCmColor();
  m_linetypeScale = 1.0;
  m_lineWeight = AcDb::kLnWtByLayer;
}

Acad::ErrorStatus AcDbEntity::getGeomExtents(AcDbExtents& /*extents*/) const {
  return Acad::eInvalidExtents;
}
