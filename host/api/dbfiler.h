// The host's drawing filer interface and the small types and allocators that go with it.
//
// AcDbDwgFiler is the interface through which objects write their fields ("dwgOutFields") and
// read them back; concrete filers decide where the bytes go. The virtual operations are
// declared in the host's slot order, so that a filer built here and one built against the
// platform's own headers agree on the interface.
//
// Buffers handed out by filers:
//   - strings from readString(wchar_t**) come from acutNewBuffer and are freed with
//     acutDelBuffer by the caller;
//   - chunk data from readBChunk comes from acdbAlloc and is freed with acdbFree by the caller.
// Both allocators return null on exhaustion instead of throwing.
#ifndef KW_HOST_API_DBFILER_H_
#define KW_HOST_API_DBFILER_H_

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>

#include "host/api/adesk.h"
#include "host/api/dbid.h"
#include "host/api/ge.h"
#include "host/api/rx.h"

namespace AcDb {
// Which kind of filer is at work; 0 is the plain file filer.
enum FilerType {
  kFileFiler = 0,
  kCopyFiler = 1,
  kUndoFiler = 2,
  kBagFiler = 3,
  kIdXlateFiler = 4,
  kPageFiler = 5,
  kDeepCloneFiler = 6,
  kIdFiler = 7,
  kPurgeFiler = 8,
  kWblockCloneFiler = 9,
};
// Drawing format versions; a filer that does not belong to a drawing reports kDHL_Unknown.
enum AcDbDwgVersion : int32_t {
  kDHL_MC0_0 = 0,
  kDHL_Unknown = 32766,
  kDHL_Max = 32767,
};
enum MaintenanceReleaseVersion : int32_t {
  kMRelease0 = 0,
  kMReleaseUnknown = 126,
  kMReleaseMax = 127,
};
}  // namespace AcDb

// The id flavours a filer distinguishes when it translates references.
class AcDbHardOwnershipId : public AcDbObjectId {};
class AcDbSoftOwnershipId : public AcDbObjectId {};
class AcDbHardPointerId : public AcDbObjectId {};
class AcDbSoftPointerId : public AcDbObjectId {};

// A length-counted binary chunk (the platform's resbuf binary value). clen is the number of
// bytes at buf.
struct ads_binary {
  short clen;
  char* buf;
};

// The platform's wide string value, as far as filers and their callers use it.
class AcString {
 public:
  AcString() = default;
  AcString(const wchar_t* text) : m_text(text ? text : L"") {}  // NOLINT: implicit like the host
  explicit AcString(std::wstring text) : m_text(std::move(text)) {}

  const wchar_t* kwszPtr() const { return m_text.c_str(); }
  const wchar_t* constPtr() const { return m_text.c_str(); }
  operator const wchar_t*() const { return m_text.c_str(); }  // NOLINT: as the host has it
  unsigned length() const { return static_cast<unsigned>(m_text.size()); }
  bool isEmpty() const { return m_text.empty(); }
  AcString& setEmpty() {
    m_text.clear();
    return *this;
  }
  AcString& operator+=(const wchar_t* text) {
    if (text) m_text += text;
    return *this;
  }
  bool operator==(const AcString&) const = default;
  const std::wstring& str() const { return m_text; }

 private:
  std::wstring m_text;
};

// A buffer of `count` elements of T (value-initialised), or null when memory is exhausted.
template <class T>
void acutNewBuffer(T*& out, size_t count) {
  out = new (std::nothrow) T[count]();
}
// Frees a buffer from acutNewBuffer and clears the pointer; null is ignored.
template <class T>
void acutDelBuffer(T*& buffer) {
  delete[] buffer;
  buffer = nullptr;
}

// The drawing database's allocator (chunk data of filers); null when memory is exhausted.
inline void* acdbAlloc(size_t bytes) {
  return std::malloc(bytes > 0 ? bytes : 1);
}
inline void acdbFree(void* p) {
  std::free(p);
}

// The filer interface. Every operation returns the filer's status for the call (eOk on
// success); what a failed read leaves in its output and how the status carries over from one
// call to the next is up to each filer and stated by it.
class AcDbDwgFiler : public AcRxObject {
 public:
  ACRX_DECLARE_MEMBERS(AcDbDwgFiler);

  AcDbDwgFiler() = default;
  ~AcDbDwgFiler() override = default;

  virtual Acad::ErrorStatus filerStatus() const = 0;
  virtual AcDb::FilerType filerType() const = 0;
  virtual void setFilerStatus(Acad::ErrorStatus status) = 0;
  virtual void resetFilerStatus() = 0;

  // The drawing version the filer writes for; the base reports the unknown version.
  virtual Acad::ErrorStatus dwgVersion(AcDb::AcDbDwgVersion& version,
                                       AcDb::MaintenanceReleaseVersion& release) const;

  virtual Acad::ErrorStatus readHardOwnershipId(AcDbHardOwnershipId* id) = 0;
  virtual Acad::ErrorStatus writeHardOwnershipId(const AcDbHardOwnershipId& id) = 0;
  virtual Acad::ErrorStatus readSoftOwnershipId(AcDbSoftOwnershipId* id) = 0;
  virtual Acad::ErrorStatus writeSoftOwnershipId(const AcDbSoftOwnershipId& id) = 0;
  virtual Acad::ErrorStatus readHardPointerId(AcDbHardPointerId* id) = 0;
  virtual Acad::ErrorStatus writeHardPointerId(const AcDbHardPointerId& id) = 0;
  virtual Acad::ErrorStatus readSoftPointerId(AcDbSoftPointerId* id) = 0;
  virtual Acad::ErrorStatus writeSoftPointerId(const AcDbSoftPointerId& id) = 0;

  virtual Acad::ErrorStatus readInt8(char* value) = 0;
  virtual Acad::ErrorStatus writeInt8(char value) = 0;

  virtual Acad::ErrorStatus readString(wchar_t** value) = 0;
  virtual Acad::ErrorStatus writeString(const wchar_t* value) = 0;
  virtual Acad::ErrorStatus readString(AcString& value) = 0;
  virtual Acad::ErrorStatus writeString(const AcString& value) = 0;

  virtual Acad::ErrorStatus readBChunk(ads_binary* chunk) = 0;
  virtual Acad::ErrorStatus writeBChunk(const ads_binary& chunk) = 0;

  virtual Acad::ErrorStatus readAcDbHandle(AcDbHandle* handle) = 0;
  virtual Acad::ErrorStatus writeAcDbHandle(const AcDbHandle& handle) = 0;

  virtual Acad::ErrorStatus readInt64(int64_t* value) = 0;
  virtual Acad::ErrorStatus writeInt64(int64_t value) = 0;
  virtual Acad::ErrorStatus readInt32(int32_t* value) = 0;
  virtual Acad::ErrorStatus writeInt32(int32_t value) = 0;
  virtual Acad::ErrorStatus readInt16(int16_t* value) = 0;
  virtual Acad::ErrorStatus writeInt16(int16_t value) = 0;
  virtual Acad::ErrorStatus readUInt64(uint64_t* value) = 0;
  virtual Acad::ErrorStatus writeUInt64(uint64_t value) = 0;
  virtual Acad::ErrorStatus readUInt32(uint32_t* value) = 0;
  virtual Acad::ErrorStatus writeUInt32(uint32_t value) = 0;
  virtual Acad::ErrorStatus readUInt16(uint16_t* value) = 0;
  virtual Acad::ErrorStatus writeUInt16(uint16_t value) = 0;
  virtual Acad::ErrorStatus readUInt8(uint8_t* value) = 0;
  virtual Acad::ErrorStatus writeUInt8(uint8_t value) = 0;

  virtual Acad::ErrorStatus readBoolean(Adesk::Boolean* value) = 0;
  virtual Acad::ErrorStatus writeBoolean(Adesk::Boolean value) = 0;
  virtual Acad::ErrorStatus readBool(bool* value) = 0;
  virtual Acad::ErrorStatus writeBool(bool value) = 0;

  virtual Acad::ErrorStatus readDouble(double* value) = 0;
  virtual Acad::ErrorStatus writeDouble(double value) = 0;

  virtual Acad::ErrorStatus readPoint2d(AcGePoint2d* value) = 0;
  virtual Acad::ErrorStatus writePoint2d(const AcGePoint2d& value) = 0;
  virtual Acad::ErrorStatus readPoint3d(AcGePoint3d* value) = 0;
  virtual Acad::ErrorStatus writePoint3d(const AcGePoint3d& value) = 0;
  virtual Acad::ErrorStatus readVector2d(AcGeVector2d* value) = 0;
  virtual Acad::ErrorStatus writeVector2d(const AcGeVector2d& value) = 0;
  virtual Acad::ErrorStatus readVector3d(AcGeVector3d* value) = 0;
  virtual Acad::ErrorStatus writeVector3d(const AcGeVector3d& value) = 0;
  virtual Acad::ErrorStatus readScale3d(AcGeScale3d* value) = 0;
  virtual Acad::ErrorStatus writeScale3d(const AcGeScale3d& value) = 0;

  // Raw bytes without a length prefix.
  virtual Acad::ErrorStatus readBytes(void* buffer, uint64_t count) = 0;
  virtual Acad::ErrorStatus writeBytes(const void* buffer, uint64_t count) = 0;

  // The pointer value itself (8 bytes); it means nothing outside the writing process.
  virtual Acad::ErrorStatus readAddress(void** value) = 0;
  virtual Acad::ErrorStatus writeAddress(const void* value) = 0;

  // method 0 from the start, 1 from the current position, 2 from the end.
  virtual Acad::ErrorStatus seek(int64_t offset, int method) = 0;
  virtual int64_t tell() const = 0;

  // Sets the version reported by dwgVersion; the base ignores it.
  virtual Acad::ErrorStatus setDwgVersion(AcDb::AcDbDwgVersion version,
                                          AcDb::MaintenanceReleaseVersion release);

  // Whether the filer collects references of the objects it files; plain filers do not.
  virtual bool usesReferences() const;
};

#endif  // KW_HOST_API_DBFILER_H_
