// Symbol tables and their records: blocks, layers, linetypes, text styles, views, viewports.
//
// A table keeps its records in the order they were added; iterators walk that order. Names are
// compared ignoring case; two live records of one table never share a name (an erased record's
// name may be taken again). Records are owned by the database like every object; see dbmain.h
// for opening, closing and ownership.
//
// Name-returning getters come in two forms, as on the platform: getName(const wchar_t*&) points
// into the record (valid while it is open and unchanged); getName(wchar_t*&) hands out a
// malloc'd copy that the caller frees with free().
#ifndef KW_HOST_API_DBSYMTB_H_
#define KW_HOST_API_DBSYMTB_H_

#include <memory>
#include <string>
#include <vector>

#include "host/api/dbmain.h"

class AcDbSymbolTableRecord;
class AcDbSymbolTableIterator;
class AcDbBlockTableRecordIterator;

// Base of the six tables.
class AcDbSymbolTable : public AcDbObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbSymbolTable);
  ~AcDbSymbolTable() override;

  // The live record of that name: eOk; eKeyNotFound; eInvalidInput for a null name; the open
  // statuses. getErased also finds an erased record when no live one has the name.
  Acad::ErrorStatus getAt(const wchar_t* name, AcDbSymbolTableRecord*& record, AcDb::OpenMode mode,
                          bool openErased = false) const;
  Acad::ErrorStatus getAt(const wchar_t* name, AcDbObjectId& id, bool getErased = false) const;
  bool has(const wchar_t* name) const;
  bool has(AcDbObjectId id) const;
  // Adds a new record (the table open for write): eOk, the record then open for write;
  // eNotOpenForWrite; eNullObjectPointer; eAlreadyInDb; eInvalidInput for a record without
  // a name (a shape file's text style may have none, and is then found by no name) or of
  // another table's kind; eDuplicateRecordName.
  Acad::ErrorStatus add(AcDbSymbolTableRecord* record);
  Acad::ErrorStatus add(AcDbObjectId& id, AcDbSymbolTableRecord* record);
  // A new iterator (owned by the caller, `delete` it) at the first (or past the last) record.
  Acad::ErrorStatus newIterator(AcDbSymbolTableIterator*& iterator, bool atBeginning = true,
                                bool skipDeleted = true) const;

  // The host's name lookup, opaque outside it.
  struct NameIndex;

 protected:
  AcDbSymbolTable() = default;
  // True when `record` is of this table's record class.
  virtual bool acceptsRecord(const AcDbSymbolTableRecord* record) const = 0;

 private:
  friend struct kwhost::db::ObjectAccess;
  std::vector<AcDbObjectId> m_records;
  // Live records by folded name; rebuilt on demand after a record's name or state changed.
  mutable std::unique_ptr<NameIndex> m_index;
};

// Base of the records: a name.
class AcDbSymbolTableRecord : public AcDbObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbSymbolTableRecord);

  Acad::ErrorStatus getName(const wchar_t*& name) const;
  Acad::ErrorStatus getName(wchar_t*& name) const;
  const std::wstring& name() const { return m_name; }
  // eOk; eNullObjectPointer for null; eInvalidSymbolTableName for an empty name or one holding
  // one of the characters the platform refuses (<>/\":;?*|,=`); eDuplicateRecordName when a
  // live record of the same table has that name; eNotOpenForWrite.
  Acad::ErrorStatus setName(const wchar_t* name);
  // Erasing updates the table's name lookup (an erased name can be added again).
  Acad::ErrorStatus erase(bool erasing = true) override;

 protected:
  AcDbSymbolTableRecord() = default;
  AcDbSymbolTableRecord(const AcDbSymbolTableRecord&) = default;
  AcDbSymbolTableRecord& operator=(const AcDbSymbolTableRecord&) = default;

 private:
  friend struct kwhost::db::ObjectAccess;
  std::wstring m_name;
};

// Walks a table's records in table order. Owned by its caller; it must not outlive the table.
class AcDbSymbolTableIterator {
 public:
  virtual ~AcDbSymbolTableIterator() = default;
  void start(bool atBeginning = true, bool skipDeleted = true);
  bool done() const;
  void step(bool forward = true, bool skipDeleted = true);
  // eOk, or eIteratorDone-like eInvalidIndex when done().
  Acad::ErrorStatus getRecordId(AcDbObjectId& id) const;
  Acad::ErrorStatus getRecord(AcDbSymbolTableRecord*& record, AcDb::OpenMode mode,
                              bool openErased = false) const;
  // Moves to the record with that id: eOk, or eKeyNotFound.
  Acad::ErrorStatus seek(AcDbObjectId id);

 protected:
  friend class AcDbSymbolTable;
  explicit AcDbSymbolTableIterator(const AcDbSymbolTable* table) : m_table(table) {}
  template <class R>
  Acad::ErrorStatus getTyped(R*& record, AcDb::OpenMode mode, bool openErased) const {
    record = nullptr;
    AcDbObjectId id;
    Acad::ErrorStatus es = getRecordId(id);
    return es == Acad::eOk ? acdbOpenObject(record, id, mode, openErased) : es;
  }

 private:
  bool skip(bool skipDeleted) const;
  const AcDbSymbolTable* m_table;
  int m_index = 0;
};

// Declares a table with typed getAt/newIterator and its iterator.
#define KW_DECLARE_SYMBOL_TABLE(TABLE, RECORD, ITERATOR)                                \
  class RECORD;                                                                         \
  class ITERATOR : public AcDbSymbolTableIterator {                                     \
   public:                                                                              \
    using AcDbSymbolTableIterator::getRecord;                                           \
    Acad::ErrorStatus getRecord(RECORD*& record, AcDb::OpenMode mode = AcDb::kForRead,  \
                                bool openErased = false) const {                        \
      return getTyped(record, mode, openErased);                                        \
    }                                                                                   \
                                                                                        \
   private:                                                                             \
    friend class TABLE;                                                                 \
    explicit ITERATOR(const AcDbSymbolTable* table) : AcDbSymbolTableIterator(table) {} \
  };                                                                                    \
  class TABLE : public AcDbSymbolTable {                                                \
   public:                                                                              \
    ACRX_DECLARE_MEMBERS(TABLE);                                                        \
    TABLE() = default;                                                                  \
    using AcDbSymbolTable::getAt;                                                       \
    using AcDbSymbolTable::newIterator;                                                 \
    Acad::ErrorStatus getAt(const wchar_t* name, RECORD*& record, AcDb::OpenMode mode,  \
                            bool openErased = false) const;                             \
    Acad::ErrorStatus newIterator(ITERATOR*& iterator, bool atBeginning = true,         \
                                  bool skipDeleted = true) const;                       \
                                                                                        \
   protected:                                                                           \
    bool acceptsRecord(const AcDbSymbolTableRecord* record) const override;             \
  }

KW_DECLARE_SYMBOL_TABLE(AcDbBlockTable, AcDbBlockTableRecord, AcDbBlockTableIterator);
KW_DECLARE_SYMBOL_TABLE(AcDbLayerTable, AcDbLayerTableRecord, AcDbLayerTableIterator);
KW_DECLARE_SYMBOL_TABLE(AcDbLinetypeTable, AcDbLinetypeTableRecord, AcDbLinetypeTableIterator);
KW_DECLARE_SYMBOL_TABLE(AcDbTextStyleTable, AcDbTextStyleTableRecord, AcDbTextStyleTableIterator);
KW_DECLARE_SYMBOL_TABLE(AcDbViewTable, AcDbViewTableRecord, AcDbViewTableIterator);
KW_DECLARE_SYMBOL_TABLE(AcDbViewportTable, AcDbViewportTableRecord, AcDbViewportTableIterator);

// A block: its entities in order, an origin. "*Model_Space" and "*Paper_Space" are layouts.
class AcDbBlockTableRecord : public AcDbSymbolTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbBlockTableRecord);
  AcDbBlockTableRecord() = default;
  ~AcDbBlockTableRecord() override;

  // Appends an entity (the record open for write, or not yet resident: then the entity joins
  // the database when the record does). eOk, the entity then open for write when the record is
  // resident; eNullObjectPointer; eAlreadyInDb; eNotOpenForWrite.
  Acad::ErrorStatus appendAcDbEntity(AcDbEntity* entity);
  Acad::ErrorStatus appendAcDbEntity(AcDbObjectId& id, AcDbEntity* entity);
  // A new iterator over the entities in order (owned by the caller).
  Acad::ErrorStatus newIterator(AcDbBlockTableRecordIterator*& iterator, bool atBeginning = true,
                                bool skipDeleted = true) const;

  AcGePoint3d origin() const { return m_origin; }
  Acad::ErrorStatus setOrigin(const AcGePoint3d& origin);
  // "*Model_Space" and the paper spaces.
  bool isLayout() const;
  // Names starting with "*" other than the layouts ("*U1", "*D3", ...).
  bool isAnonymous() const;
  Acad::ErrorStatus comments(const wchar_t*& text) const;
  Acad::ErrorStatus setComments(const wchar_t* text);
  // Number of live entities.
  int entityCount() const;
  // A non-resident copy of the record and of all its entities (which the copy owns until it
  // joins a database); null when an entity cannot be copied.
  AcDbObject* clone() const override;

 private:
  friend struct kwhost::db::ObjectAccess;
  AcDbBlockTableRecord(const AcDbBlockTableRecord&) = default;
  std::vector<AcDbObjectId> m_entities;
  std::vector<AcDbEntity*> m_pending;  // appended before the record joined a database
  AcGePoint3d m_origin;
  std::wstring m_comments;
};

// Walks a block's entities in order. Owned by its caller; it must not outlive the block.
class AcDbBlockTableRecordIterator {
 public:
  void start(bool atBeginning = true, bool skipDeleted = true);
  bool done() const;
  void step(bool forward = true, bool skipDeleted = true);
  Acad::ErrorStatus getEntityId(AcDbObjectId& id) const;
  Acad::ErrorStatus getEntity(AcDbEntity*& entity, AcDb::OpenMode mode = AcDb::kForRead,
                              bool openErased = false) const;
  Acad::ErrorStatus seek(AcDbObjectId id);

 private:
  friend class AcDbBlockTableRecord;
  explicit AcDbBlockTableRecordIterator(const AcDbBlockTableRecord* block) : m_block(block) {}
  bool skip(bool skipDeleted) const;
  const AcDbBlockTableRecord* m_block;
  int m_index = 0;
};

// A layer: colour, linetype, lineweight, and the frozen, off and locked states.
class AcDbLayerTableRecord : public AcDbSymbolTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbLayerTableRecord);
  AcDbLayerTableRecord() = default;
  AcDbObject* clone() const override { return new AcDbLayerTableRecord(*this); }

  bool isFrozen() const { return m_frozen; }
  Acad::ErrorStatus setIsFrozen(bool frozen);
  bool isOff() const { return m_off; }
  void setIsOff(bool off);
  bool isLocked() const { return m_locked; }
  void setIsLocked(bool locked);
  bool isPlottable() const { return m_plottable; }
  Acad::ErrorStatus setIsPlottable(bool plottable);
  // Colour by index or true colour (ByLayer/ByBlock are not layer colours); default 7.
  AcCmColor color() const { return m_color; }
  void setColor(const AcCmColor& color);
  AcDbObjectId linetypeObjectId() const { return m_linetype; }
  Acad::ErrorStatus setLinetypeObjectId(AcDbObjectId id);
  AcDb::LineWeight lineWeight() const { return m_lineWeight; }
  // eInvalidInput for a value that is not a lineweight.
  Acad::ErrorStatus setLineWeight(AcDb::LineWeight weight);

 private:
  AcDbLayerTableRecord(const AcDbLayerTableRecord&) = default;
  AcCmColor m_color = DefaultColor();
  AcDbObjectId m_linetype;
  AcDb::LineWeight m_lineWeight = AcDb::kLnWtByLwDefault;
  bool m_frozen = false;
  bool m_off = false;
  bool m_locked = false;
  bool m_plottable = true;
  static AcCmColor DefaultColor() {
    AcCmColor c;
    c.setColorIndex(7);
    return c;
  }
};

// A linetype: comments, pattern length, scaled-to-fit, and its dashes with their shapes and
// texts. Per-dash accessors take an index below numDashes(); an index out of range reads 0 /
// null and writes nothing (setters then give eInvalidIndex).
class AcDbLinetypeTableRecord : public AcDbSymbolTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbLinetypeTableRecord);
  AcDbLinetypeTableRecord() = default;
  AcDbObject* clone() const override { return new AcDbLinetypeTableRecord(*this); }

  Acad::ErrorStatus comments(const wchar_t*& text) const;
  Acad::ErrorStatus comments(wchar_t*& text) const;
  Acad::ErrorStatus setComments(const wchar_t* text);
  double patternLength() const { return m_patternLength; }
  void setPatternLength(double length);
  bool isScaledToFit() const { return m_scaledToFit; }
  void setIsScaledToFit(bool scaledToFit);
  int numDashes() const { return static_cast<int>(m_dashes.size()); }
  // Sets the dash count (new dashes are zero); negative counts and counts above 12,000 are
  // refused.
  void setNumDashes(int count);

  double dashLengthAt(int index) const;
  Acad::ErrorStatus setDashLengthAt(int index, double length);
  AcDbObjectId shapeStyleAt(int index) const;
  Acad::ErrorStatus setShapeStyleAt(int index, AcDbObjectId textStyle);
  int shapeNumberAt(int index) const;
  Acad::ErrorStatus setShapeNumberAt(int index, int shapeNumber);
  AcGeVector2d shapeOffsetAt(int index) const;
  Acad::ErrorStatus setShapeOffsetAt(int index, const AcGeVector2d& offset);
  double shapeScaleAt(int index) const;
  Acad::ErrorStatus setShapeScaleAt(int index, double scale);
  bool shapeIsUcsOrientedAt(int index) const;
  Acad::ErrorStatus setShapeIsUcsOrientedAt(int index, bool isUcsOriented);
  double shapeRotationAt(int index) const;
  Acad::ErrorStatus setShapeRotationAt(int index, double rotation);
  // The dash's text: eOk with a pointer into the record (null when the dash has no text), or
  // eInvalidIndex. The copying form hands out a malloc'd copy (null for no text).
  Acad::ErrorStatus textAt(int index, const wchar_t*& text) const;
  Acad::ErrorStatus textAt(int index, wchar_t*& text) const;
  Acad::ErrorStatus setTextAt(int index, const wchar_t* text);

  struct Dash {
    double length = 0;
    AcDbObjectId shapeStyle;
    int shapeNumber = 0;
    AcGeVector2d offset;
    double scale = 1.0;
    double rotation = 0;
    bool ucsOriented = false;
    std::wstring text;
  };

 private:
  AcDbLinetypeTableRecord(const AcDbLinetypeTableRecord&) = default;
  Dash* dashAt(int index);
  const Dash* dashAt(int index) const;
  std::wstring m_comments;
  std::vector<Dash> m_dashes;
  double m_patternLength = 0;
  bool m_scaledToFit = false;
};

// A text style: font file, big font file, shape-file flag, TrueType font description, and the
// text settings.
class AcDbTextStyleTableRecord : public AcDbSymbolTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbTextStyleTableRecord);
  AcDbTextStyleTableRecord() = default;
  AcDbObject* clone() const override { return new AcDbTextStyleTableRecord(*this); }

  bool isShapeFile() const { return m_shapeFile; }
  void setIsShapeFile(bool shapeFile);
  bool isVertical() const { return m_vertical; }
  void setIsVertical(bool vertical);
  double textSize() const { return m_textSize; }
  // eInvalidInput for a negative size.
  Acad::ErrorStatus setTextSize(double size);
  double xScale() const { return m_xScale; }
  // eInvalidInput for a scale that is not positive.
  Acad::ErrorStatus setXScale(double scale);
  double obliquingAngle() const { return m_obliquingAngle; }
  Acad::ErrorStatus setObliquingAngle(double angle);
  double priorSize() const { return m_priorSize; }
  Acad::ErrorStatus setPriorSize(double size);
  // Generation flags (2 backwards, 4 upside down).
  Adesk::UInt8 flagBits() const { return m_flagBits; }
  void setFlagBits(Adesk::UInt8 flags);
  // File names: eOk with a pointer into the record; the copying forms as getName.
  Acad::ErrorStatus fileName(const wchar_t*& name) const;
  Acad::ErrorStatus fileName(wchar_t*& name) const;
  // eNullObjectPointer for null; eOk otherwise (an empty name clears it).
  Acad::ErrorStatus setFileName(const wchar_t* name);
  Acad::ErrorStatus bigFontFileName(const wchar_t*& name) const;
  Acad::ErrorStatus bigFontFileName(wchar_t*& name) const;
  Acad::ErrorStatus setBigFontFileName(const wchar_t* name);
  // The TrueType font: typeface as a malloc'd copy (null when the style names none), bold,
  // italic, charset, pitch and family. eOk.
  Acad::ErrorStatus font(wchar_t*& typeface, bool& bold, bool& italic, int& charset,
                         int& pitchAndFamily) const;
  // eOk; eNullObjectPointer for a null typeface.
  Acad::ErrorStatus setFont(const wchar_t* typeface, bool bold, bool italic, int charset,
                            int pitchAndFamily, bool allowMissingFont = false);

 private:
  AcDbTextStyleTableRecord(const AcDbTextStyleTableRecord&) = default;
  std::wstring m_fileName;
  std::wstring m_bigFontFileName;
  std::wstring m_typeface;
  double m_textSize = 0;
  double m_xScale = 1.0;
  double m_obliquingAngle = 0;
  double m_priorSize = 2.5;
  int m_charset = 0;
  int m_pitchAndFamily = 0;
  Adesk::UInt8 m_flagBits = 0;
  bool m_shapeFile = false;
  bool m_vertical = false;
  bool m_bold = false;
  bool m_italic = false;
};

// The view settings that named views and viewports share.
class AcDbAbstractViewTableRecord : public AcDbSymbolTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbAbstractViewTableRecord);

  AcGePoint2d centerPoint() const { return m_center; }
  void setCenterPoint(const AcGePoint2d& center);
  double height() const { return m_height; }
  void setHeight(double height);
  double width() const { return m_width; }
  void setWidth(double width);
  AcGePoint3d target() const { return m_target; }
  void setTarget(const AcGePoint3d& target);
  AcGeVector3d viewDirection() const { return m_direction; }
  void setViewDirection(const AcGeVector3d& direction);
  double viewTwist() const { return m_twist; }
  void setViewTwist(double angle);
  double lensLength() const { return m_lensLength; }
  void setLensLength(double length);
  double frontClipDistance() const { return m_frontClip; }
  void setFrontClipDistance(double distance);
  double backClipDistance() const { return m_backClip; }
  void setBackClipDistance(double distance);
  bool perspectiveEnabled() const { return m_perspective; }
  void setPerspectiveEnabled(bool enabled);
  bool frontClipEnabled() const { return m_frontClipOn; }
  void setFrontClipEnabled(bool enabled);
  bool backClipEnabled() const { return m_backClipOn; }
  void setBackClipEnabled(bool enabled);
  bool frontClipAtEye() const { return m_frontClipAtEye; }
  void setFrontClipAtEye(bool atEye);

 protected:
  AcDbAbstractViewTableRecord() = default;
  AcDbAbstractViewTableRecord(const AcDbAbstractViewTableRecord&) = default;
  AcDbAbstractViewTableRecord& operator=(const AcDbAbstractViewTableRecord&) = default;

 private:
  AcGePoint2d m_center;
  AcGePoint3d m_target;
  AcGeVector3d m_direction{0, 0, 1};
  double m_height = 1.0;
  double m_width = 1.0;
  double m_twist = 0;
  double m_lensLength = 50.0;
  double m_frontClip = 0;
  double m_backClip = 0;
  bool m_perspective = false;
  bool m_frontClipOn = false;
  bool m_backClipOn = false;
  bool m_frontClipAtEye = true;
};

// A named view. Copyable, so that a view can be remembered and shown again.
class AcDbViewTableRecord : public AcDbAbstractViewTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbViewTableRecord);
  AcDbViewTableRecord() = default;
  AcDbViewTableRecord(const AcDbViewTableRecord&) = default;
  AcDbViewTableRecord& operator=(const AcDbViewTableRecord&) = default;
  AcDbObject* clone() const override { return new AcDbViewTableRecord(*this); }

  bool isPaperspaceView() const { return m_paperspace; }
  void setIsPaperspaceView(bool paperspace);

 private:
  bool m_paperspace = false;
};

// A viewport configuration entry ("*Active"): the view plus its place on the screen.
class AcDbViewportTableRecord : public AcDbAbstractViewTableRecord {
 public:
  ACRX_DECLARE_MEMBERS(AcDbViewportTableRecord);
  AcDbViewportTableRecord() = default;
  AcDbObject* clone() const override { return new AcDbViewportTableRecord(*this); }

  AcGePoint2d lowerLeftCorner() const { return m_lowerLeft; }
  void setLowerLeftCorner(const AcGePoint2d& point);
  AcGePoint2d upperRightCorner() const { return m_upperRight; }
  void setUpperRightCorner(const AcGePoint2d& point);

 private:
  AcDbViewportTableRecord(const AcDbViewportTableRecord&) = default;
  AcGePoint2d m_lowerLeft{0, 0};
  AcGePoint2d m_upperRight{1, 1};
};

#endif  // KW_HOST_API_DBSYMTB_H_
