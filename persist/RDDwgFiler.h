// CRDDwgFiler: a drawing filer whose "file" is a growable byte array in memory.
//
// Anything that writes itself through the filer interface can be serialised into it; the bytes
// (GetData) are then stored by the caller and later handed back (SetData) and read with the
// matching read calls. The road object files and the model data files are these bytes, so the
// layout is a file format: every value little-endian at the current position, no alignment, no
// tags (doc/filer.md describes it byte by byte).
#ifndef KW_PERSIST_RDDWGFILER_H_
#define KW_PERSIST_RDDWGFILER_H_

#include <cstdint>
#include <cstring>
#include <string>

#include "host/api/array.h"
#include "host/api/dbfiler.h"

using RDByteArray = AcArray<unsigned char, AcArrayMemCopyReallocator<unsigned char>>;

// Invariants:
//   1. 0 <= m_position <= m_data.length(); the logical length of m_data is the data size.
//   2. The status is sticky for reads: once a read fails (41 at the end of the data, or any
//      status set from outside), every read fails with that status, without moving the position
//      or touching its output, until resetFilerStatus, setFilerStatus(eOk), a successful seek or
//      SetData.
//   3. Writes refuse to run under any status but 0 and 41; a successful write sets status 0.
//      Writing at the end appends; writing after a seek back overwrites in place and extends the
//      data when it runs past the end.
//   4. The capacity grows in steps of at least the grow length (102,400 bytes).
// Outputs of failed string and chunk reads are cleared (null buffer); other failed reads leave
// their output unchanged. Buffers handed out belong to the caller (acutDelBuffer for strings,
// acdbFree for chunks). The id and handle operations are not supported: they print a line on
// the command line and return eNotImplementedYet (1) without touching status or position.
//
// A filer serves one direction at a time: construct, write, GetData; or SetData, read.
class CRDDwgFiler : public AcDbDwgFiler {
 public:
  static constexpr int kGrowLength = 102400;

  CRDDwgFiler();
  CRDDwgFiler(const CRDDwgFiler& other);
  CRDDwgFiler& operator=(const CRDDwgFiler& other) = default;
  ~CRDDwgFiler() override;

  // Copies the bytes in (the caller keeps its array); position and status become 0.
  void SetData(const RDByteArray& data);
  // The same from a plain buffer; false (and the filer emptied) when size is negative or the
  // bytes cannot be allocated.
  bool SetData(const void* bytes, int64_t size);
  // The filer's own array, valid while the filer lives; its length is the bytes written.
  RDByteArray& GetData() { return m_data; }
  const RDByteArray& GetData() const { return m_data; }

  // The class as registered under "CRDDwgFiler" in the host's class dictionary (looked up once
  // and kept in gpDesc); null while the class is not registered.
  static AcRxClass* gpDesc;
  static AcRxClass* desc();
  // The object as a CRDDwgFiler when it is one (or derived), else null.
  static CRDDwgFiler* cast(const AcRxObject* object);
  AcRxClass* isA() const override;

  Acad::ErrorStatus filerStatus() const override { return m_status; }
  AcDb::FilerType filerType() const override { return AcDb::kFileFiler; }
  void setFilerStatus(Acad::ErrorStatus status) override { m_status = status; }
  void resetFilerStatus() override { m_status = Acad::eOk; }
  Acad::ErrorStatus dwgVersion(AcDb::AcDbDwgVersion& version,
                               AcDb::MaintenanceReleaseVersion& release) const override;

  Acad::ErrorStatus readHardOwnershipId(AcDbHardOwnershipId* id) override;
  Acad::ErrorStatus writeHardOwnershipId(const AcDbHardOwnershipId& id) override;
  Acad::ErrorStatus readSoftOwnershipId(AcDbSoftOwnershipId* id) override;
  Acad::ErrorStatus writeSoftOwnershipId(const AcDbSoftOwnershipId& id) override;
  Acad::ErrorStatus readHardPointerId(AcDbHardPointerId* id) override;
  Acad::ErrorStatus writeHardPointerId(const AcDbHardPointerId& id) override;
  Acad::ErrorStatus readSoftPointerId(AcDbSoftPointerId* id) override;
  Acad::ErrorStatus writeSoftPointerId(const AcDbSoftPointerId& id) override;

  Acad::ErrorStatus readInt8(char* value) override { return ReadFixed(value, 1); }
  Acad::ErrorStatus writeInt8(char value) override { return WriteFixed(&value, 1); }

  // String record: UInt32 byte count n (twice the UTF-16 units); when n > 0 a flag byte (1 =
  // UTF-16LE, 0 = GBK) and the n bytes. A null text is written as the empty string.
  Acad::ErrorStatus readString(wchar_t** value) override;
  Acad::ErrorStatus writeString(const wchar_t* value) override;
  Acad::ErrorStatus readString(AcString& value) override;
  Acad::ErrorStatus writeString(const AcString& value) override;

  // Chunk record: Int16 length n, then n bytes when n >= 1.
  Acad::ErrorStatus readBChunk(ads_binary* chunk) override;
  Acad::ErrorStatus writeBChunk(const ads_binary& chunk) override;

  Acad::ErrorStatus readAcDbHandle(AcDbHandle* handle) override;
  Acad::ErrorStatus writeAcDbHandle(const AcDbHandle& handle) override;

  Acad::ErrorStatus readInt64(int64_t* value) override { return ReadFixed(value, 8); }
  Acad::ErrorStatus writeInt64(int64_t value) override { return WriteFixed(&value, 8); }
  Acad::ErrorStatus readInt32(int32_t* value) override { return ReadFixed(value, 4); }
  Acad::ErrorStatus writeInt32(int32_t value) override { return WriteFixed(&value, 4); }
  Acad::ErrorStatus readInt16(int16_t* value) override { return ReadFixed(value, 2); }
  Acad::ErrorStatus writeInt16(int16_t value) override { return WriteFixed(&value, 2); }
  Acad::ErrorStatus readUInt64(uint64_t* value) override { return ReadFixed(value, 8); }
  Acad::ErrorStatus writeUInt64(uint64_t value) override { return WriteFixed(&value, 8); }
  Acad::ErrorStatus readUInt32(uint32_t* value) override { return ReadFixed(value, 4); }
  Acad::ErrorStatus writeUInt32(uint32_t value) override { return WriteFixed(&value, 4); }
  Acad::ErrorStatus readUInt16(uint16_t* value) override { return ReadFixed(value, 2); }
  Acad::ErrorStatus writeUInt16(uint16_t value) override { return WriteFixed(&value, 2); }
  Acad::ErrorStatus readUInt8(uint8_t* value) override { return ReadFixed(value, 1); }
  Acad::ErrorStatus writeUInt8(uint8_t value) override { return WriteFixed(&value, 1); }

  Acad::ErrorStatus readBoolean(Adesk::Boolean* value) override { return ReadFixed(value, 4); }
  Acad::ErrorStatus writeBoolean(Adesk::Boolean value) override { return WriteFixed(&value, 4); }
  // One byte; any non-zero byte reads as true.
  Acad::ErrorStatus readBool(bool* value) override;
  Acad::ErrorStatus writeBool(bool value) override;

  Acad::ErrorStatus readDouble(double* value) override { return ReadFixed(value, 8); }
  Acad::ErrorStatus writeDouble(double value) override { return WriteFixed(&value, 8); }

  // Two or three doubles; a failed read stops at the failing component (earlier ones are set).
  Acad::ErrorStatus readPoint2d(AcGePoint2d* value) override;
  Acad::ErrorStatus writePoint2d(const AcGePoint2d& value) override;
  Acad::ErrorStatus readPoint3d(AcGePoint3d* value) override;
  Acad::ErrorStatus writePoint3d(const AcGePoint3d& value) override;
  Acad::ErrorStatus readVector2d(AcGeVector2d* value) override;
  Acad::ErrorStatus writeVector2d(const AcGeVector2d& value) override;
  Acad::ErrorStatus readVector3d(AcGeVector3d* value) override;
  Acad::ErrorStatus writeVector3d(const AcGeVector3d& value) override;
  Acad::ErrorStatus readScale3d(AcGeScale3d* value) override;
  Acad::ErrorStatus writeScale3d(const AcGeScale3d& value) override;

  // Raw bytes. A write that would take the data beyond 2 GiB, or that cannot get its memory,
  // returns eOutOfMemory and changes nothing.
  Acad::ErrorStatus readBytes(void* buffer, uint64_t count) override;
  Acad::ErrorStatus writeBytes(const void* buffer, uint64_t count) override;

  Acad::ErrorStatus readAddress(void** value) override { return ReadFixed(value, 8); }
  Acad::ErrorStatus writeAddress(const void* value) override { return WriteFixed(&value, 8); }

  // A target outside 0..length, or an unknown method, sets and returns eInvalidInput (3) and
  // keeps the position; a good seek clears the status.
  Acad::ErrorStatus seek(int64_t offset, int method) override;
  int64_t tell() const override { return m_position; }

  Acad::ErrorStatus setDwgVersion(AcDb::AcDbDwgVersion version,
                                  AcDb::MaintenanceReleaseVersion release) override;

 private:
  int64_t Remaining() const { return m_data.length() - m_position; }

  Acad::ErrorStatus ReadFixed(void* out, int64_t n) {
    if (n > Remaining()) m_status = Acad::eEndOfFile;
    if (m_status != Acad::eOk) return m_status;
    std::memcpy(out, m_data.asArrayPtr() + m_position, static_cast<size_t>(n));
    m_position += n;
    return Acad::eOk;
  }
  // Appending within the capacity under status 0 is the common case and stays inline: room for
  // n more bytes at the end (the position moves past them), or null when the write needs
  // Reserve's full path (overwrite, growth, refusals).
  unsigned char* AppendInPlace(int64_t n) {
    const int length = m_data.length();
    if (m_status != Acad::eOk || m_position != length || n > m_data.physicalLength() - length) {
      return nullptr;
    }
    m_position += n;
    return m_data.extendUninitialized(static_cast<int>(n));
  }
  unsigned char* Room(uint64_t n, Acad::ErrorStatus* es) {
    if (n <= 0x7FFFFFFF) {
      if (unsigned char* out = AppendInPlace(static_cast<int64_t>(n))) {
        *es = Acad::eOk;
        return out;
      }
    }
    return Reserve(n, es);
  }
  Acad::ErrorStatus WriteFixed(const void* in, int64_t n) {
    if (unsigned char* out = AppendInPlace(n)) {
      std::memcpy(out, in, static_cast<size_t>(n));
      return Acad::eOk;
    }
    return WriteBlock(in, static_cast<uint64_t>(n));
  }
  Acad::ErrorStatus WriteBlock(const void* in, uint64_t n);
  // Makes room for n bytes at the position and returns where they go (the position moves past
  // them and the status becomes 0), or null with *es set when the write is refused.
  unsigned char* Reserve(uint64_t n, Acad::ErrorStatus* es);
  // Checks a string record's count and flag and moves past them: *bytes then points at the
  // *count text bytes, which the caller decodes before moving past them.
  Acad::ErrorStatus ReadStringHeader(const unsigned char** bytes, uint32_t* count, bool* wide);
  // The record's text into *out (which is empty), cut at its first zero character.
  static void DecodeInto(const unsigned char* bytes, uint32_t count, bool wide, std::wstring* out);
  Acad::ErrorStatus ReadDoubles(double* const* components, int n);
  Acad::ErrorStatus WriteDoubles(const double* values, int n);
  Acad::ErrorStatus NotImplemented(const wchar_t* line) const;

  Acad::ErrorStatus m_status;
  RDByteArray m_data;
  int64_t m_position;
  AcDb::AcDbDwgVersion m_dwgVersion;
  AcDb::MaintenanceReleaseVersion m_maintenanceRelease;
};

#endif  // KW_PERSIST_RDDWGFILER_H_
