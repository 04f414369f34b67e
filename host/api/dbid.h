// Identifiers and extents of drawing-database objects.
//
// AcDbObjectId is an opaque value handed out by the host's drawing database; the null id is
// the default. The library only copies, compares and passes ids back to the host.
#ifndef KW_HOST_API_DBID_H_
#define KW_HOST_API_DBID_H_

#include <cstdint>
#include <functional>

#include "host/api/adesk.h"
#include "host/api/array.h"
#include "host/api/ge.h"

class AcDbDatabase;
class AcDbHandle;
class AcRxClass;

class AcDbObjectId {
 public:
  AcDbObjectId() = default;
  bool isNull() const { return m_id == 0; }
  // True when the id names an object of a live database (erased objects included).
  bool isValid() const;
  // True when the object is erased (false for an invalid id).
  bool isErased() const;
  // The object's database, handle and class; null, a null handle and null for an invalid id.
  AcDbDatabase* database() const;
  AcDbHandle handle() const;
  AcRxClass* objectClass() const;
  void setNull() { m_id = 0; }
  Adesk::IntDbId asOldId() const { return m_id; }
  AcDbObjectId& setFromOldId(Adesk::IntDbId id) {
    m_id = id;
    return *this;
  }
  friend bool operator==(const AcDbObjectId&, const AcDbObjectId&) = default;
  friend auto operator<=>(const AcDbObjectId&, const AcDbObjectId&) = default;

  static const AcDbObjectId kNull;

 private:
  Adesk::IntDbId m_id = 0;
};
inline const AcDbObjectId AcDbObjectId::kNull{};

template <>
struct std::hash<AcDbObjectId> {
  size_t operator()(const AcDbObjectId& id) const noexcept {
    return std::hash<int64_t>()(id.asOldId());
  }
};

using AcDbObjectIdArray = AcArray<AcDbObjectId>;

namespace AcDb {
enum SubentType {
  kNullSubentType = 0,
  kFaceSubentType = 1,
  kEdgeSubentType = 2,
  kVertexSubentType = 3,
  kMlineSubentCache = 4,
  kClassSubentType = 5,
  kAxisSubentType = 6,
};
}  // namespace AcDb

// A sub-entity of an entity: its kind and its index within the entity.
class AcDbSubentId {
 public:
  AcDbSubentId() = default;
  AcDbSubentId(AcDb::SubentType type, Adesk::GsMarker index) : m_type(type), m_index(index) {}
  AcDb::SubentType type() const { return m_type; }
  void setType(AcDb::SubentType type) { m_type = type; }
  Adesk::GsMarker index() const { return m_index; }
  void setIndex(Adesk::GsMarker index) { m_index = index; }
  bool operator==(const AcDbSubentId&) const = default;

 private:
  AcDb::SubentType m_type = AcDb::kNullSubentType;
  Adesk::GsMarker m_index = 0;
};

// A 64-bit database handle.
class AcDbHandle {
 public:
  AcDbHandle() = default;
  explicit AcDbHandle(uint64_t value) : m_value(value) {}
  bool isNull() const { return m_value == 0; }
  uint64_t value() const { return m_value; }
  friend bool operator==(const AcDbHandle&, const AcDbHandle&) = default;

 private:
  uint64_t m_value = 0;
};

// An axis-aligned box given by its minimum and maximum corner.
class AcDbExtents {
 public:
  AcDbExtents() = default;
  AcDbExtents(const AcGePoint3d& min, const AcGePoint3d& max) : m_min(min), m_max(max) {}
  const AcGePoint3d& minPoint() const { return m_min; }
  const AcGePoint3d& maxPoint() const { return m_max; }
  void set(const AcGePoint3d& min, const AcGePoint3d& max) {
    m_min = min;
    m_max = max;
  }
  bool operator==(const AcDbExtents&) const = default;

 private:
  AcGePoint3d m_min;
  AcGePoint3d m_max;
};

#endif  // KW_HOST_API_DBID_H_
