// Symbol table records: blocks with their entities, layers, linetypes with their dashes, text
// styles, views and viewports. Invariants:
//   1. A block's entity list holds each of its entities once, in the order appended; erased
//      entities stay in it. Entities appended before the block joined a database wait in its
//      pending list, owned by the block, and join (in order) when it does.
//   2. A linetype's dash list has exactly numDashes() entries.
#include <cmath>

#include "common/text.h"
#include "host/api/acutads.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/store.h"

using kwhost::db::ObjectAccess;

KW_DB_DEFINE_MEMBERS(AcDbBlockTableRecord, AcDbSymbolTableRecord)
KW_DB_DEFINE_MEMBERS(AcDbLayerTableRecord, AcDbSymbolTableRecord)
KW_DB_DEFINE_MEMBERS(AcDbLinetypeTableRecord, AcDbSymbolTableRecord)
KW_DB_DEFINE_MEMBERS(AcDbTextStyleTableRecord, AcDbSymbolTableRecord)
KW_DB_DEFINE_MEMBERS(AcDbAbstractViewTableRecord, AcDbSymbolTableRecord)
KW_DB_DEFINE_MEMBERS(AcDbViewTableRecord, AcDbAbstractViewTableRecord)
KW_DB_DEFINE_MEMBERS(AcDbViewportTableRecord, AcDbAbstractViewTableRecord)

namespace {

wchar_t* CopyOrNull(const std::wstring& text) {
  return text.empty() ? nullptr : acutNewString(text.c_str());
}

}  // namespace

// ---------------------------------------------------------------- blocks

AcDbBlockTableRecord::~AcDbBlockTableRecord() {
  for (AcDbEntity* e : m_pending) delete e;
}

Acad::ErrorStatus AcDbBlockTableRecord::appendAcDbEntity(AcDbEntity* entity) {
  AcDbObjectId id;
  return appendAcDbEntity(id, entity);
}

Acad::ErrorStatus AcDbBlockTableRecord::appendAcDbEntity(AcDbObjectId& id, AcDbEntity* entity) {
  id = AcDbObjectId();
  if (!entity) return Acad::eNullObjectPointer;
  if (!entity->objectId().isNull()) return Acad::eAlreadyInDb;
  if (!writable()) return Acad::eNotOpenForWrite;
  if (objectId().isNull()) {
    for (AcDbEntity* e : m_pending) {
      if (e == entity) return Acad::eAlreadyInDb;
    }
    m_pending.push_back(entity);
    return Acad::eOk;
  }
  Acad::ErrorStatus es =
      kwhost::db::AddObject(*database(), entity, objectId(), AcDbHandle(), true, id);
  if (es == Acad::eOk) m_entities.push_back(id);
  return es;
}

Acad::ErrorStatus AcDbBlockTableRecord::newIterator(AcDbBlockTableRecordIterator*& iterator,
                                                    bool atBeginning, bool skipDeleted) const {
  iterator = new AcDbBlockTableRecordIterator(this);
  iterator->start(atBeginning, skipDeleted);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockTableRecord::setOrigin(const AcGePoint3d& origin) {
  if (!writable()) return Acad::eNotOpenForWrite;
  m_origin = origin;
  return Acad::eOk;
}

bool AcDbBlockTableRecord::isLayout() const {
  return kw::EqualsNoCase(name(), L"*Model_Space") ||
         kw::CompareNoCase(name().substr(0, 12), L"*Paper_Space") == 0;
}

bool AcDbBlockTableRecord::isAnonymous() const {
  return !name().empty() && name()[0] == L'*' && !isLayout();
}

Acad::ErrorStatus AcDbBlockTableRecord::comments(const wchar_t*& text) const {
  text = m_comments.c_str();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockTableRecord::setComments(const wchar_t* text) {
  if (!text) return Acad::eNullObjectPointer;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_comments = text;
  return Acad::eOk;
}

int AcDbBlockTableRecord::entityCount() const {
  int count = static_cast<int>(m_pending.size());
  for (AcDbObjectId id : m_entities) {
    AcDbObject* o = kwhost::db::Peek(id);
    if (o && !o->isErased()) ++count;
  }
  return count;
}

AcDbObject* AcDbBlockTableRecord::clone() const {
  auto* copy = new AcDbBlockTableRecord(*this);
  copy->m_entities.clear();
  copy->m_pending.clear();
  auto add = [copy](const AcDbEntity* e) {
    if (!e || e->isErased()) return true;
    auto* c = AcDbEntity::cast(e->clone());
    if (!c) return false;
    copy->m_pending.push_back(c);
    return true;
  };
  bool ok = true;
  for (AcDbObjectId id : m_entities) ok = ok && add(AcDbEntity::cast(kwhost::db::Peek(id)));
  for (const AcDbEntity* e : m_pending) ok = ok && add(e);
  if (ok) return copy;
  delete copy;
  return nullptr;
}

void AcDbBlockTableRecordIterator::start(bool atBeginning, bool skipDeleted) {
  m_index = atBeginning ? 0 : static_cast<int>(ObjectAccess::Entities(*m_block).size()) - 1;
  if (skip(skipDeleted)) step(atBeginning, skipDeleted);
}

bool AcDbBlockTableRecordIterator::done() const {
  return m_index < 0 || m_index >= static_cast<int>(ObjectAccess::Entities(*m_block).size());
}

bool AcDbBlockTableRecordIterator::skip(bool skipDeleted) const {
  if (done() || !skipDeleted) return false;
  AcDbObject* o = kwhost::db::Peek(ObjectAccess::Entities(*m_block)[m_index]);
  return !o || o->isErased();
}

void AcDbBlockTableRecordIterator::step(bool forward, bool skipDeleted) {
  do {
    m_index += forward ? 1 : -1;
  } while (skip(skipDeleted));
}

Acad::ErrorStatus AcDbBlockTableRecordIterator::getEntityId(AcDbObjectId& id) const {
  if (done()) {
    id = AcDbObjectId();
    return Acad::eInvalidIndex;
  }
  id = ObjectAccess::Entities(*m_block)[m_index];
  return Acad::eOk;
}

Acad::ErrorStatus AcDbBlockTableRecordIterator::getEntity(AcDbEntity*& entity, AcDb::OpenMode mode,
                                                          bool openErased) const {
  entity = nullptr;
  AcDbObjectId id;
  Acad::ErrorStatus es = getEntityId(id);
  return es == Acad::eOk ? acdbOpenAcDbEntity(entity, id, mode, openErased) : es;
}

Acad::ErrorStatus AcDbBlockTableRecordIterator::seek(AcDbObjectId id) {
  const auto& ids = ObjectAccess::Entities(*m_block);
  for (size_t i = 0; i < ids.size(); ++i) {
    if (ids[i] == id) {
      m_index = static_cast<int>(i);
      return Acad::eOk;
    }
  }
  return Acad::eKeyNotFound;
}

// ---------------------------------------------------------------- layers

Acad::ErrorStatus AcDbLayerTableRecord::setIsFrozen(bool frozen) {
  if (!writable()) return Acad::eNotOpenForWrite;
  m_frozen = frozen;
  return Acad::eOk;
}

void AcDbLayerTableRecord::setIsOff(bool off) {
  if (writable()) m_off = off;
}

void AcDbLayerTableRecord::setIsLocked(bool locked) {
  if (writable()) m_locked = locked;
}

Acad::ErrorStatus AcDbLayerTableRecord::setIsPlottable(bool plottable) {
  if (!writable()) return Acad::eNotOpenForWrite;
  m_plottable = plottable;
  return Acad::eOk;
}

void AcDbLayerTableRecord::setColor(const AcCmColor& color) {
  if (writable()) m_color = color;
}

Acad::ErrorStatus AcDbLayerTableRecord::setLinetypeObjectId(AcDbObjectId id) {
  if (!writable()) return Acad::eNotOpenForWrite;
  m_linetype = id;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLayerTableRecord::setLineWeight(AcDb::LineWeight weight) {
  if (!acdbIsValidLineWeight(weight)) return Acad::eInvalidInput;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_lineWeight = weight;
  return Acad::eOk;
}

// ---------------------------------------------------------------- linetypes

Acad::ErrorStatus AcDbLinetypeTableRecord::comments(const wchar_t*& text) const {
  text = m_comments.c_str();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLinetypeTableRecord::comments(wchar_t*& text) const {
  text = acutNewString(m_comments.c_str());
  return text ? Acad::eOk : Acad::eOutOfMemory;
}

Acad::ErrorStatus AcDbLinetypeTableRecord::setComments(const wchar_t* text) {
  if (!text) return Acad::eNullObjectPointer;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_comments = text;
  return Acad::eOk;
}

void AcDbLinetypeTableRecord::setPatternLength(double length) {
  if (writable()) m_patternLength = length;
}

void AcDbLinetypeTableRecord::setIsScaledToFit(bool scaledToFit) {
  if (writable()) m_scaledToFit = scaledToFit;
}

void AcDbLinetypeTableRecord::setNumDashes(int count) {
  // The drawing format keeps a dash count in 16 bits; far fewer make sense.
  constexpr int kMaxDashes = 12000;
  if (writable() && count >= 0 && count <= kMaxDashes) m_dashes.resize(count);
}

AcDbLinetypeTableRecord::Dash* AcDbLinetypeTableRecord::dashAt(int index) {
  return index >= 0 && index < numDashes() && writable() ? &m_dashes[index] : nullptr;
}

const AcDbLinetypeTableRecord::Dash* AcDbLinetypeTableRecord::dashAt(int index) const {
  return index >= 0 && index < numDashes() ? &m_dashes[index] : nullptr;
}

#define KW_DASH_FIELD(GETTER, SETTER, TYPE, FIELD, NONE)                     \
  TYPE AcDbLinetypeTableRecord::GETTER(int index) const {                    \
    const Dash* d = dashAt(index);                                           \
    return d ? d->FIELD : NONE;                                              \
  }                                                                          \
  Acad::ErrorStatus AcDbLinetypeTableRecord::SETTER(int index, TYPE value) { \
    if (!writable()) return Acad::eNotOpenForWrite;                          \
    Dash* d = dashAt(index);                                                 \
    if (!d) return Acad::eInvalidIndex;                                      \
    d->FIELD = value;                                                        \
    return Acad::eOk;                                                        \
  }

KW_DASH_FIELD(dashLengthAt, setDashLengthAt, double, length, 0.0)
KW_DASH_FIELD(shapeStyleAt, setShapeStyleAt, AcDbObjectId, shapeStyle, AcDbObjectId())
KW_DASH_FIELD(shapeNumberAt, setShapeNumberAt, int, shapeNumber, 0)
KW_DASH_FIELD(shapeScaleAt, setShapeScaleAt, double, scale, 0.0)
KW_DASH_FIELD(shapeIsUcsOrientedAt, setShapeIsUcsOrientedAt, bool, ucsOriented, false)
KW_DASH_FIELD(shapeRotationAt, setShapeRotationAt, double, rotation, 0.0)

AcGeVector2d AcDbLinetypeTableRecord::shapeOffsetAt(int index) const {
  const Dash* d = dashAt(index);
  return d ? d->offset : AcGeVector2d();
}

Acad::ErrorStatus AcDbLinetypeTableRecord::setShapeOffsetAt(int index, const AcGeVector2d& offset) {
  if (!writable()) return Acad::eNotOpenForWrite;
  Dash* d = dashAt(index);
  if (!d) return Acad::eInvalidIndex;
  d->offset = offset;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLinetypeTableRecord::textAt(int index, const wchar_t*& text) const {
  const Dash* d = dashAt(index);
  text = nullptr;
  if (!d) return Acad::eInvalidIndex;
  if (!d->text.empty()) text = d->text.c_str();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLinetypeTableRecord::textAt(int index, wchar_t*& text) const {
  const Dash* d = dashAt(index);
  text = nullptr;
  if (!d) return Acad::eInvalidIndex;
  text = CopyOrNull(d->text);
  return Acad::eOk;
}

Acad::ErrorStatus AcDbLinetypeTableRecord::setTextAt(int index, const wchar_t* text) {
  if (!writable()) return Acad::eNotOpenForWrite;
  Dash* d = dashAt(index);
  if (!d) return Acad::eInvalidIndex;
  d->text = text ? text : L"";
  return Acad::eOk;
}

// ---------------------------------------------------------------- text styles

void AcDbTextStyleTableRecord::setIsShapeFile(bool shapeFile) {
  if (writable()) m_shapeFile = shapeFile;
}

void AcDbTextStyleTableRecord::setIsVertical(bool vertical) {
  if (writable()) m_vertical = vertical;
}

namespace {

Acad::ErrorStatus SetChecked(bool writable, bool valid, double value, double& field) {
  if (!valid || !std::isfinite(value)) return Acad::eInvalidInput;
  if (!writable) return Acad::eNotOpenForWrite;
  field = value;
  return Acad::eOk;
}

}  // namespace

Acad::ErrorStatus AcDbTextStyleTableRecord::setTextSize(double size) {
  return SetChecked(writable(), size >= 0, size, m_textSize);
}

Acad::ErrorStatus AcDbTextStyleTableRecord::setXScale(double scale) {
  return SetChecked(writable(), scale > 0, scale, m_xScale);
}

Acad::ErrorStatus AcDbTextStyleTableRecord::setObliquingAngle(double angle) {
  return SetChecked(writable(), true, angle, m_obliquingAngle);
}

Acad::ErrorStatus AcDbTextStyleTableRecord::setPriorSize(double size) {
  return SetChecked(writable(), size >= 0, size, m_priorSize);
}

void AcDbTextStyleTableRecord::setFlagBits(Adesk::UInt8 flags) {
  if (writable()) m_flagBits = flags;
}

Acad::ErrorStatus AcDbTextStyleTableRecord::fileName(const wchar_t*& name) const {
  name = m_fileName.c_str();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbTextStyleTableRecord::fileName(wchar_t*& name) const {
  name = acutNewString(m_fileName.c_str());
  return name ? Acad::eOk : Acad::eOutOfMemory;
}

Acad::ErrorStatus AcDbTextStyleTableRecord::setFileName(const wchar_t* name) {
  if (!name) return Acad::eNullObjectPointer;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_fileName = name;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbTextStyleTableRecord::bigFontFileName(const wchar_t*& name) const {
  name = m_bigFontFileName.c_str();
  return Acad::eOk;
}

Acad::ErrorStatus AcDbTextStyleTableRecord::bigFontFileName(wchar_t*& name) const {
  name = acutNewString(m_bigFontFileName.c_str());
  return name ? Acad::eOk : Acad::eOutOfMemory;
}

Acad::ErrorStatus AcDbTextStyleTableRecord::setBigFontFileName(const wchar_t* name) {
  if (!name) return Acad::eNullObjectPointer;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_bigFontFileName = name;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbTextStyleTableRecord::font(wchar_t*& typeface, bool& bold, bool& italic,
                                                 int& charset, int& pitchAndFamily) const {
  typeface = CopyOrNull(m_typeface);
  bold = m_bold;
  italic = m_italic;
  charset = m_charset;
  pitchAndFamily = m_pitchAndFamily;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbTextStyleTableRecord::setFont(const wchar_t* typeface, bool bold, bool italic,
                                                    int charset, int pitchAndFamily,
                                                    bool /*allowMissingFont*/) {
  if (!typeface) return Acad::eNullObjectPointer;
  if (!writable()) return Acad::eNotOpenForWrite;
  m_typeface = typeface;
  m_bold = bold;
  m_italic = italic;
  m_charset = charset;
  m_pitchAndFamily = pitchAndFamily;
  return Acad::eOk;
}

// ---------------------------------------------------------------- views and viewports

#define KW_VIEW_SETTER(CLASS, SETTER, TYPE, FIELD) \
  void CLASS::SETTER(TYPE value) {                 \
    if (writable()) FIELD = value;                 \
  }

KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setCenterPoint, const AcGePoint2d&, m_center)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setHeight, double, m_height)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setWidth, double, m_width)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setTarget, const AcGePoint3d&, m_target)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setViewDirection, const AcGeVector3d&, m_direction)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setViewTwist, double, m_twist)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setLensLength, double, m_lensLength)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setFrontClipDistance, double, m_frontClip)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setBackClipDistance, double, m_backClip)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setPerspectiveEnabled, bool, m_perspective)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setFrontClipEnabled, bool, m_frontClipOn)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setBackClipEnabled, bool, m_backClipOn)
KW_VIEW_SETTER(AcDbAbstractViewTableRecord, setFrontClipAtEye, bool, m_frontClipAtEye)
KW_VIEW_SETTER(AcDbViewTableRecord, setIsPaperspaceView, bool, m_paperspace)
KW_VIEW_SETTER(AcDbViewportTableRecord, setLowerLeftCorner, const AcGePoint2d&, m_lowerLeft)
KW_VIEW_SETTER(AcDbViewportTableRecord, setUpperRightCorner, const AcGePoint2d&, m_upperRight)
