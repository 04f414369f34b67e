#include "persist/RDDwgFiler.h"

#include <algorithm>
#include <climits>
#include <cwchar>
#include <new>
#include <string>
#include <string_view>

#include "common/encoding.h"
#include "host/api/editor.h"

namespace {

constexpr int64_t kMaxDataSize = INT_MAX;

// Narrow text in the system code page, cut at its first zero byte as a C string would be.
std::wstring DecodeAnsi(const unsigned char* in, size_t bytes) {
  std::string_view text(reinterpret_cast<const char*>(in), bytes);
  text = text.substr(0, text.find('\0'));
  return kw::FromGbk(text);
}

}  // namespace

AcRxClass* CRDDwgFiler::gpDesc = nullptr;

CRDDwgFiler::CRDDwgFiler()
    : m_status(Acad::eOk),
      m_data(0, kGrowLength),
      m_position(0),
      m_dwgVersion(AcDb::kDHL_Unknown),
      m_maintenanceRelease(AcDb::kMReleaseUnknown) {}

CRDDwgFiler::CRDDwgFiler(const CRDDwgFiler& other)
    : AcDbDwgFiler(),
      m_status(other.m_status),
      m_data(other.m_data),
      m_position(other.m_position),
      m_dwgVersion(other.m_dwgVersion),
      m_maintenanceRelease(other.m_maintenanceRelease) {}

CRDDwgFiler::~CRDDwgFiler() = default;

void CRDDwgFiler::SetData(const RDByteArray& data) {
  if (&data != &m_data) m_data = data;
  m_position = 0;
  m_status = Acad::eOk;
}

bool CRDDwgFiler::SetData(const void* bytes, int64_t size) {
  m_position = 0;
  m_status = Acad::eOk;
  m_data.setLogicalLength(0);
  if (size < 0 || size > kMaxDataSize) return false;
  try {
    if (size > m_data.physicalLength()) m_data.setPhysicalLength(static_cast<int>(size));
  } catch (const std::bad_alloc&) {
    return false;
  }
  m_data.setLogicalLength(static_cast<int>(size));
  if (size > 0) std::memcpy(m_data.asArrayPtr(), bytes, static_cast<size_t>(size));
  return true;
}

AcRxClass* CRDDwgFiler::desc() {
  if (gpDesc != nullptr) return gpDesc;
  AcRxDictionary* registry = acrxSysRegistry();
  if (registry == nullptr) return nullptr;
  auto* classes = AcRxDictionary::cast(registry->at(L"ClassDictionary"));
  if (classes == nullptr) return nullptr;
  gpDesc = AcRxClass::cast(classes->at(L"CRDDwgFiler"));
  return gpDesc;
}

CRDDwgFiler* CRDDwgFiler::cast(const AcRxObject* object) {
  if (object == nullptr) return nullptr;
  AcRxClass* cls = desc();
  // Without a registered class the language's own type information still answers.
  if (cls == nullptr) return dynamic_cast<CRDDwgFiler*>(const_cast<AcRxObject*>(object));
  return object->isKindOf(cls) ? static_cast<CRDDwgFiler*>(const_cast<AcRxObject*>(object))
                               : nullptr;
}

AcRxClass* CRDDwgFiler::isA() const {
  return desc();
}

Acad::ErrorStatus CRDDwgFiler::dwgVersion(AcDb::AcDbDwgVersion& version,
                                          AcDb::MaintenanceReleaseVersion& release) const {
  version = m_dwgVersion;
  release = m_maintenanceRelease;
  return Acad::eOk;
}

Acad::ErrorStatus CRDDwgFiler::setDwgVersion(AcDb::AcDbDwgVersion version,
                                             AcDb::MaintenanceReleaseVersion release) {
  m_dwgVersion = version;
  m_maintenanceRelease = release;
  return Acad::eOk;
}

Acad::ErrorStatus CRDDwgFiler::NotImplemented(const wchar_t* line) const {
  acutPrintf(line);
  return Acad::eNotImplementedYet;
}

Acad::ErrorStatus CRDDwgFiler::readHardOwnershipId(AcDbHardOwnershipId*) {
  return NotImplemented(L"\nCMyDwgFiler::readHardOwnershipId未实现.");
}
Acad::ErrorStatus CRDDwgFiler::writeHardOwnershipId(const AcDbHardOwnershipId&) {
  return NotImplemented(L"\nCMyDwgFiler::writeHardOwnershipId未实现.");
}
Acad::ErrorStatus CRDDwgFiler::readSoftOwnershipId(AcDbSoftOwnershipId*) {
  return NotImplemented(L"\nCMyDwgFiler::readSoftOwnershipId未实现.");
}
Acad::ErrorStatus CRDDwgFiler::writeSoftOwnershipId(const AcDbSoftOwnershipId&) {
  return NotImplemented(L"\nCMyDwgFiler::writeSoftOwnershipId未实现.");
}
Acad::ErrorStatus CRDDwgFiler::readHardPointerId(AcDbHardPointerId*) {
  return NotImplemented(L"\nCMyDwgFiler::readHardPointerId未实现.");
}
Acad::ErrorStatus CRDDwgFiler::writeHardPointerId(const AcDbHardPointerId&) {
  return NotImplemented(L"\nCMyDwgFiler::writeHardPointerId未实现.");
}
Acad::ErrorStatus CRDDwgFiler::readSoftPointerId(AcDbSoftPointerId*) {
  return NotImplemented(L"\nCMyDwgFiler::readSoftPointerId未实现.");
}
Acad::ErrorStatus CRDDwgFiler::writeSoftPointerId(const AcDbSoftPointerId&) {
  return NotImplemented(L"\nCMyDwgFiler::writeSoftPointerId未实现.");
}
// The handle operations have always printed the soft-pointer writer's line; scripts that watch
// the command line match it, so it stays.
Acad::ErrorStatus CRDDwgFiler::readAcDbHandle(AcDbHandle*) {
  return NotImplemented(L"\nCMyDwgFiler::writeSoftPointerId未实现.");
}
Acad::ErrorStatus CRDDwgFiler::writeAcDbHandle(const AcDbHandle&) {
  return NotImplemented(L"\nCMyDwgFiler::writeSoftPointerId未实现.");
}

Acad::ErrorStatus CRDDwgFiler::ReadStringHeader(const unsigned char** bytes, uint32_t* count,
                                                bool* wide) {
  if (Remaining() < 4) m_status = Acad::eEndOfFile;
  if (Acad::ErrorStatus es = ReadFixed(count, 4); es != Acad::eOk) return es;
  if (*count == 0) return Acad::eOk;
  uint8_t flag = 0;
  if (Acad::ErrorStatus es = ReadFixed(&flag, 1); es != Acad::eOk) return es;
  *wide = flag != 0;
  if (*count > Remaining()) {
    m_status = Acad::eEndOfFile;
    return m_status;
  }
  *bytes = m_data.asArrayPtr() + m_position;
  return Acad::eOk;
}

Acad::ErrorStatus CRDDwgFiler::readString(wchar_t** value) {
  if (value == nullptr) return Acad::eInvalidInput;
  *value = nullptr;
  const unsigned char* bytes = nullptr;
  uint32_t count = 0;
  bool wide = false;
  if (Acad::ErrorStatus es = ReadStringHeader(&bytes, &count, &wide); es != Acad::eOk) return es;
  if (count > 0 && wide) {
    const size_t units = count / 2;  // an odd last byte is ignored
    acutNewBuffer(*value, units + 1);
    if (*value != nullptr) (*value)[kw::FromUtf16LEInto(bytes, units, *value)] = L'\0';
  } else {
    try {
      const std::wstring text = DecodeAnsi(bytes, count);
      acutNewBuffer(*value, text.size() + 1);
      if (*value != nullptr) std::copy(text.begin(), text.end(), *value);
    } catch (const std::bad_alloc&) {
      *value = nullptr;
    }
  }
  if (*value == nullptr) return Acad::eOutOfMemory;
  m_position += count;
  return Acad::eOk;
}

// Decodes straight into the string instead of going through a temporary buffer; the result is
// the same text, cut at its first zero character as the buffer form would be. Memory running out
// leaves the string empty and the position before the record's text.
Acad::ErrorStatus CRDDwgFiler::readString(AcString& value) {
  std::wstring& text = value.setEmpty().str();
  const unsigned char* bytes = nullptr;
  uint32_t count = 0;
  bool wide = false;
  if (Acad::ErrorStatus es = ReadStringHeader(&bytes, &count, &wide); es != Acad::eOk) return es;
  try {
    DecodeInto(bytes, count, wide, &text);
  } catch (const std::bad_alloc&) {
    text.clear();
    return Acad::eOutOfMemory;
  }
  m_position += count;
  return Acad::eOk;
}

void CRDDwgFiler::DecodeInto(const unsigned char* bytes, uint32_t count, bool wide,
                             std::wstring* out) {
  std::wstring& text = *out;
  if (count == 0) return;
  if (wide) {
    const size_t units = count / 2;  // an odd last byte is ignored
    text.resize(units);
    // Plain text holds no zero, so it needs no cut below.
    if (kw::CopyPlainFromUtf16LE(bytes, units, text.data())) return;
    text.resize(kw::FromUtf16LEInto(bytes, units, text.data()));
  } else {
    text = DecodeAnsi(bytes, count);
  }
  text.resize(std::wcslen(text.c_str()));
}

Acad::ErrorStatus CRDDwgFiler::writeString(const wchar_t* value) {
  // One pass finds the length and whether every character is one plain UTF-16 unit (all of
  // the common scripts); filer strings are short, so a plain loop beats two library calls.
  size_t length = 0;
  uint32_t outside = 0;
  if (value != nullptr) {
    for (; value[length] != L'\0'; ++length) {
      outside |= static_cast<uint32_t>(value[length]) >= 0xD800u ? 1u : 0u;
    }
  }
  const std::wstring_view text(value, length);
  const size_t units = outside == 0 ? length : kw::Utf16Length(text);
  if (units > UINT32_MAX / 2) return Acad::eInvalidInput;
  const uint32_t count = static_cast<uint32_t>(units * 2);
  Acad::ErrorStatus es = Acad::eOk;
  unsigned char* out = Room(count > 0 ? 5 + uint64_t{count} : 4, &es);
  if (out == nullptr) return es;
  std::memcpy(out, &count, 4);
  if (count == 0) return Acad::eOk;
  out[4] = 1;  // UTF-16LE
  if (outside == 0) {
    kw::CopyPlainUtf16LE(text, out + 5);
  } else {
    kw::ToUtf16LEInto(text, out + 5, units);
  }
  return Acad::eOk;
}

Acad::ErrorStatus CRDDwgFiler::writeString(const AcString& value) {
  return writeString(value.kwszPtr());
}

Acad::ErrorStatus CRDDwgFiler::readBChunk(ads_binary* chunk) {
  if (chunk == nullptr) return Acad::eInvalidInput;
  chunk->clen = 0;
  chunk->buf = nullptr;
  if (Remaining() < 2) m_status = Acad::eEndOfFile;
  if (Acad::ErrorStatus es = readInt16(&chunk->clen); es != Acad::eOk) return es;
  if (chunk->clen < 1) return Acad::eOk;
  if (chunk->clen > Remaining()) {
    chunk->clen = 0;
    m_status = Acad::eEndOfFile;
    return m_status;
  }
  chunk->buf = static_cast<char*>(acdbAlloc(static_cast<size_t>(chunk->clen)));
  if (chunk->buf == nullptr) {
    chunk->clen = 0;
    return Acad::eOutOfMemory;
  }
  std::memcpy(chunk->buf, m_data.asArrayPtr() + m_position, static_cast<size_t>(chunk->clen));
  m_position += chunk->clen;
  return Acad::eOk;
}

Acad::ErrorStatus CRDDwgFiler::writeBChunk(const ads_binary& chunk) {
  if (chunk.clen >= 1 && chunk.buf == nullptr) return Acad::eInvalidInput;
  if (Acad::ErrorStatus es = writeInt16(chunk.clen); es != Acad::eOk) return es;
  if (chunk.clen < 1) return Acad::eOk;
  return WriteBlock(chunk.buf, static_cast<uint64_t>(chunk.clen));
}

Acad::ErrorStatus CRDDwgFiler::readBool(bool* value) {
  uint8_t byte = 0;
  const Acad::ErrorStatus es = ReadFixed(&byte, 1);
  if (es == Acad::eOk) *value = byte != 0;
  return es;
}

Acad::ErrorStatus CRDDwgFiler::writeBool(bool value) {
  const uint8_t byte = value ? 1 : 0;
  return WriteFixed(&byte, 1);
}

Acad::ErrorStatus CRDDwgFiler::ReadDoubles(double* const* components, int n) {
  if (m_status == Acad::eOk && Remaining() >= 8 * n) {
    const unsigned char* in = m_data.asArrayPtr() + m_position;
    for (int i = 0; i < n; ++i) std::memcpy(components[i], in + 8 * i, 8);
    m_position += 8 * n;
    return Acad::eOk;
  }
  for (int i = 0; i < n; ++i) {
    if (Acad::ErrorStatus es = ReadFixed(components[i], 8); es != Acad::eOk) return es;
  }
  return Acad::eOk;
}

Acad::ErrorStatus CRDDwgFiler::WriteDoubles(const double* values, int n) {
  Acad::ErrorStatus es = Acad::eOk;
  unsigned char* out = Room(8 * static_cast<uint64_t>(n), &es);
  if (out != nullptr) std::memcpy(out, values, 8 * static_cast<size_t>(n));
  return es;
}

Acad::ErrorStatus CRDDwgFiler::readPoint2d(AcGePoint2d* v) {
  double* c[] = {&v->x, &v->y};
  return ReadDoubles(c, 2);
}
Acad::ErrorStatus CRDDwgFiler::writePoint2d(const AcGePoint2d& v) {
  const double c[] = {v.x, v.y};
  return WriteDoubles(c, 2);
}
Acad::ErrorStatus CRDDwgFiler::readPoint3d(AcGePoint3d* v) {
  double* c[] = {&v->x, &v->y, &v->z};
  return ReadDoubles(c, 3);
}
Acad::ErrorStatus CRDDwgFiler::writePoint3d(const AcGePoint3d& v) {
  const double c[] = {v.x, v.y, v.z};
  return WriteDoubles(c, 3);
}
Acad::ErrorStatus CRDDwgFiler::readVector2d(AcGeVector2d* v) {
  double* c[] = {&v->x, &v->y};
  return ReadDoubles(c, 2);
}
Acad::ErrorStatus CRDDwgFiler::writeVector2d(const AcGeVector2d& v) {
  const double c[] = {v.x, v.y};
  return WriteDoubles(c, 2);
}
Acad::ErrorStatus CRDDwgFiler::readVector3d(AcGeVector3d* v) {
  double* c[] = {&v->x, &v->y, &v->z};
  return ReadDoubles(c, 3);
}
Acad::ErrorStatus CRDDwgFiler::writeVector3d(const AcGeVector3d& v) {
  const double c[] = {v.x, v.y, v.z};
  return WriteDoubles(c, 3);
}
Acad::ErrorStatus CRDDwgFiler::readScale3d(AcGeScale3d* v) {
  double* c[] = {&v->sx, &v->sy, &v->sz};
  return ReadDoubles(c, 3);
}
Acad::ErrorStatus CRDDwgFiler::writeScale3d(const AcGeScale3d& v) {
  const double c[] = {v.sx, v.sy, v.sz};
  return WriteDoubles(c, 3);
}

Acad::ErrorStatus CRDDwgFiler::readBytes(void* buffer, uint64_t count) {
  if (count > static_cast<uint64_t>(Remaining())) m_status = Acad::eEndOfFile;
  if (m_status != Acad::eOk) return m_status;
  if (count > 0) std::memcpy(buffer, m_data.asArrayPtr() + m_position, count);
  m_position += static_cast<int64_t>(count);
  return Acad::eOk;
}

Acad::ErrorStatus CRDDwgFiler::writeBytes(const void* buffer, uint64_t count) {
  return WriteBlock(buffer, count);
}

Acad::ErrorStatus CRDDwgFiler::seek(int64_t offset, int method) {
  int64_t base = 0;
  switch (method) {
    case 0:
      base = 0;
      break;
    case 1:
      base = m_position;
      break;
    case 2:
      base = m_data.length();
      break;
    default:
      m_status = Acad::eInvalidInput;
      return m_status;
  }
  int64_t target = 0;
  if (__builtin_add_overflow(base, offset, &target) || target < 0 || target > m_data.length()) {
    m_status = Acad::eInvalidInput;
    return m_status;
  }
  m_position = target;
  m_status = Acad::eOk;
  return Acad::eOk;
}

unsigned char* CRDDwgFiler::Reserve(uint64_t n, Acad::ErrorStatus* es) {
  if (m_status != Acad::eOk && m_status != Acad::eEndOfFile) {
    *es = m_status;
    return nullptr;
  }
  if (n > static_cast<uint64_t>(kMaxDataSize - m_position)) {
    *es = Acad::eOutOfMemory;
    return nullptr;
  }
  const int64_t end = m_position + static_cast<int64_t>(n);
  if (end > m_data.length()) {
    const int64_t capacity = m_data.physicalLength();
    try {
      if (end > capacity) {
        const int64_t step = m_data.growthStep(static_cast<int>(capacity));
        m_data.setPhysicalLength(
            static_cast<int>(std::min(std::max(end, capacity + step), kMaxDataSize)));
      }
    } catch (const std::bad_alloc&) {
      *es = Acad::eOutOfMemory;
      return nullptr;
    }
    // Every new byte is written by the caller at once: no need to clear them first.
    m_data.extendUninitialized(static_cast<int>(end - m_data.length()));
  }
  unsigned char* out = m_data.asArrayPtr() + m_position;
  m_position = end;
  m_status = Acad::eOk;
  *es = Acad::eOk;
  return out;
}

Acad::ErrorStatus CRDDwgFiler::WriteBlock(const void* in, uint64_t n) {
  Acad::ErrorStatus es = Acad::eOk;
  unsigned char* out = Room(n, &es);
  if (out != nullptr && n > 0) std::memcpy(out, in, n);
  return es;
}
