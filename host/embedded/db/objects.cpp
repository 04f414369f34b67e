// Objects: the process-wide list of databases, resolving ids, open states, erasing, and the
// statuses' names. Invariants (beyond store.h):
//   1. An object's open state is one of: closed (readers 0, no writer); read (readers 1..256,
//      no writer); write (one writer, readers 0). A notifier may join any of them, once.
//   2. A non-resident object is always writable and never counts opens.
//   3. An erased object keeps its id, handle and data; only opens without openErased refuse it.
#include <array>

#include "common/text.h"
#include "host/api/dbads.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/store.h"

namespace kwhost::db {

namespace {

std::vector<AcDbDatabase*>& Databases() {
  static std::vector<AcDbDatabase*> list{nullptr};  // serial 0 is never used
  return list;
}

}  // namespace

AcDbDatabase* DatabaseOfSerial(uint32_t serial) {
  auto& list = Databases();
  return serial < list.size() ? list[serial] : nullptr;
}

AcDbDatabase* DatabaseOf(AcDbObjectId id) {
  return DatabaseOfSerial(static_cast<uint32_t>(static_cast<uint64_t>(id.asOldId()) >> 32));
}

AcDbObject* Peek(AcDbObjectId id) {
  AcDbDatabase* db = DatabaseOf(id);
  if (!db) return nullptr;
  auto& impl = ObjectAccess::Of(*db);
  uint64_t slot = static_cast<uint64_t>(id.asOldId()) & 0xFFFFFFFFu;
  return slot >= 1 && slot <= impl.slots.size() ? impl.slots[slot - 1] : nullptr;
}

uint32_t RegisterDatabase(AcDbDatabase* db) {
  Databases().push_back(db);
  return static_cast<uint32_t>(Databases().size() - 1);
}

void UnregisterDatabase(uint32_t serial) {
  if (serial < Databases().size()) Databases()[serial] = nullptr;
}

AcDbDatabase* DatabaseFor(const AcDbObject& object) {
  if (AcDbDatabase* db = object.database()) return db;
  return acdbHostApplicationServices()->workingDatabase();
}

}  // namespace kwhost::db

using kwhost::db::ObjectAccess;

bool AcDbObjectId::isValid() const {
  return kwhost::db::Peek(*this) != nullptr;
}

bool AcDbObjectId::isErased() const {
  AcDbObject* o = kwhost::db::Peek(*this);
  return o && o->isErased();
}

AcDbDatabase* AcDbObjectId::database() const {
  AcDbObject* o = kwhost::db::Peek(*this);
  return o ? o->database() : nullptr;
}

AcDbHandle AcDbObjectId::handle() const {
  AcDbObject* o = kwhost::db::Peek(*this);
  return o ? o->objectHandle() : AcDbHandle();
}

AcRxClass* AcDbObjectId::objectClass() const {
  AcDbObject* o = kwhost::db::Peek(*this);
  return o ? o->isA() : nullptr;
}

KW_DB_DEFINE_MEMBERS(AcDbObject, AcRxObject)

AcDbObject::AcDbObject(const AcDbObject& other) : AcRxObject(other) {
  if (other.m_kept) m_kept = new kwhost::db::KeptData(*other.m_kept);
}

AcDbObject& AcDbObject::operator=(const AcDbObject& other) {
  if (this == &other) return *this;
  delete m_kept;
  m_kept = other.m_kept ? new kwhost::db::KeptData(*other.m_kept) : nullptr;
  return *this;
}

AcDbObject::~AcDbObject() {
  delete m_kept;
}

AcDbDatabase* AcDbObject::database() const {
  return m_id.isNull() ? nullptr : kwhost::db::DatabaseOf(m_id);
}

Acad::ErrorStatus AcDbObject::setOwnerId(AcDbObjectId owner) {
  if (!writable()) return Acad::eNotOpenForWrite;
  m_ownerId = owner;
  return Acad::eOk;
}

bool AcDbObject::isReadEnabled() const {
  return m_id.isNull() || m_readers > 0 || m_writer;
}

bool AcDbObject::isWriteEnabled() const {
  return writable();
}

AcDbObject* AcDbObject::clone() const {
  return nullptr;
}

Acad::ErrorStatus AcDbObject::erase(bool erasing) {
  if (!writable()) return Acad::eNotOpenForWrite;
  if (erasing && m_erased) return Acad::eWasErased;
  if (!erasing && !m_erased) return Acad::eWasNotErased;
  if (erasing && (AcDbSymbolTable::cast(this) != nullptr) && !m_id.isNull()) {
    return Acad::eCannotBeErasedByCaller;
  }
  m_erased = erasing;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbObject::upgradeOpen() {
  if (m_writer) return Acad::eWasOpenForWrite;
  if (m_readers == 0) return Acad::eNotOpenForRead;
  if (m_readers > 1) return Acad::eHadMultipleReaders;
  if (m_notifier) return Acad::eWasOpenForNotify;
  m_readers = 0;
  m_writer = true;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbObject::downgradeOpen() {
  if (!m_writer || m_id.isNull()) return Acad::eNotOpenForWrite;
  m_writer = false;
  m_readers = 1;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbObject::close() {
  if (m_id.isNull()) return Acad::eOk;
  if (m_notifier) {
    m_notifier = false;
  } else if (m_writer) {
    m_writer = false;
  } else if (m_readers > 0) {
    --m_readers;
  } else {
    return Acad::eInvalidOpenState;
  }
  return Acad::eOk;
}

namespace {

constexpr Adesk::UInt16 kMaxReaders = 256;

Acad::ErrorStatus Open(AcDbObject& o, AcDb::OpenMode mode) {
  bool& writer = ObjectAccess::Writer(o);
  bool& notifier = ObjectAccess::Notifier(o);
  Adesk::UInt16& readers = ObjectAccess::Readers(o);
  switch (mode) {
    case AcDb::kForRead:
      if (writer) return Acad::eWasOpenForWrite;
      if (notifier) return Acad::eWasOpenForNotify;
      if (readers >= kMaxReaders) return Acad::eAtMaxReaders;
      ++readers;
      return Acad::eOk;
    case AcDb::kForWrite:
      if (writer) return Acad::eWasOpenForWrite;
      if (readers > 0) return Acad::eWasOpenForRead;
      if (notifier) return Acad::eWasOpenForNotify;
      writer = true;
      return Acad::eOk;
    case AcDb::kForNotify:
      if (notifier) return Acad::eWasOpenForNotify;
      notifier = true;
      return Acad::eOk;
    default:
      return Acad::eInvalidInput;
  }
}

}  // namespace

Acad::ErrorStatus acdbOpenAcDbObject(AcDbObject*& object, AcDbObjectId id, AcDb::OpenMode mode,
                                     bool openErased) {
  object = nullptr;
  if (id.isNull()) return Acad::eNullObjectId;
  AcDbObject* o = kwhost::db::Peek(id);
  if (!o) return Acad::eNotInDatabase;
  if (o->isErased() && !openErased) return Acad::eWasErased;
  Acad::ErrorStatus es = Open(*o, mode);
  if (es == Acad::eOk) object = o;
  return es;
}

Acad::ErrorStatus acdbOpenAcDbEntity(AcDbEntity*& entity, AcDbObjectId id, AcDb::OpenMode mode,
                                     bool openErased) {
  entity = nullptr;
  AcDbObject* o = nullptr;
  Acad::ErrorStatus es = acdbOpenAcDbObject(o, id, mode, openErased);
  if (es != Acad::eOk) return es;
  entity = AcDbEntity::cast(o);
  if (entity) return Acad::eOk;
  o->close();
  return Acad::eNotAnEntity;
}

bool AcDbIdMapping::lookup(AcDbObjectId source, AcDbObjectId& copy) const {
  for (const Pair& p : m_pairs) {
    if (p.key == source) {
      copy = p.value;
      return true;
    }
  }
  return false;
}

void AcDbIdMapping::assign(AcDbObjectId source, AcDbObjectId copy) {
  for (Pair& p : m_pairs) {
    if (p.key == source) {
      p.value = copy;
      return;
    }
  }
  m_pairs.append(Pair{source, copy});
}

bool acdbIsValidLineWeight(int weight) {
  static constexpr std::array<int, 27> kWeights = {-3, -2, -1,  0,   5,   9,   13,  15,  18,
                                                   20, 25, 30,  35,  40,  50,  53,  60,  70,
                                                   80, 90, 100, 106, 120, 140, 158, 200, 211};
  for (int w : kWeights) {
    if (w == weight) return true;
  }
  return false;
}

const wchar_t* acadErrorStatusText(Acad::ErrorStatus status) {
  struct Name {
    Acad::ErrorStatus status;
    const wchar_t* text;
  };
  static constexpr Name kNames[] = {
      {Acad::eOk, L"eOk"},
      {Acad::eNotImplementedYet, L"eNotImplementedYet"},
      {Acad::eNotApplicable, L"eNotApplicable"},
      {Acad::eInvalidInput, L"eInvalidInput"},
      {Acad::eOutOfMemory, L"eOutOfMemory"},
      {Acad::eInvalidOpenState, L"eInvalidOpenState"},
      {Acad::eHandleInUse, L"eHandleInUse"},
      {Acad::eNullObjectPointer, L"eNullObjectPointer"},
      {Acad::eNullObjectId, L"eNullObjectId"},
      {Acad::eNullBlockName, L"eNullBlockName"},
      {Acad::eKeyNotFound, L"eKeyNotFound"},
      {Acad::eDuplicateKey, L"eDuplicateKey"},
      {Acad::eInvalidIndex, L"eInvalidIndex"},
      {Acad::eAlreadyInDb, L"eAlreadyInDb"},
      {Acad::eInvalidExtents, L"eInvalidExtents"},
      {Acad::eInvalidAdsName, L"eInvalidAdsName"},
      {Acad::eInvalidSymbolTableName, L"eInvalidSymbolTableName"},
      {Acad::eWrongObjectType, L"eWrongObjectType"},
      {Acad::eWrongDatabase, L"eWrongDatabase"},
      {Acad::eEndOfFile, L"eEndOfFile"},
      {Acad::eNotOpenForRead, L"eNotOpenForRead"},
      {Acad::eNotOpenForWrite, L"eNotOpenForWrite"},
      {Acad::eNotThatKindOfClass, L"eNotThatKindOfClass"},
      {Acad::eInvalidBlockName, L"eInvalidBlockName"},
      {Acad::eFilerError, L"eFilerError"},
      {Acad::eFileAccessErr, L"eFileAccessErr"},
      {Acad::eFileNotFound, L"eFileNotFound"},
      {Acad::eWasErased, L"eWasErased"},
      {Acad::ePermanentlyErased, L"ePermanentlyErased"},
      {Acad::eWasOpenForRead, L"eWasOpenForRead"},
      {Acad::eWasOpenForWrite, L"eWasOpenForWrite"},
      {Acad::eWasOpenForNotify, L"eWasOpenForNotify"},
      {Acad::eOnLockedLayer, L"eOnLockedLayer"},
      {Acad::eAtMaxReaders, L"eAtMaxReaders"},
      {Acad::eNotAnEntity, L"eNotAnEntity"},
      {Acad::eHadMultipleReaders, L"eHadMultipleReaders"},
      {Acad::eDuplicateRecordName, L"eDuplicateRecordName"},
      {Acad::eSelfReference, L"eSelfReference"},
      {Acad::eCannotBeErasedByCaller, L"eCannotBeErasedByCaller"},
      {Acad::eWasNotErased, L"eWasNotErased"},
      {Acad::eNoDatabase, L"eNoDatabase"},
      {Acad::eNotInDatabase, L"eNotInDatabase"},
      {Acad::eUndefinedLineType, L"eUndefinedLineType"},
  };
  for (const Name& n : kNames) {
    if (n.status == status) return n.text;
  }
  return L"Unknown";
}
