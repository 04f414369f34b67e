#include "host/embedded/dxf/drawingfile.h"

#include "common/encoding.h"
#include "common/fileio.h"
#include "host/embedded/db/kept.h"
#include "host/embedded/dxf/internal/reader.h"
#include "host/embedded/dxf/internal/writer.h"

namespace kwhost::dxf {
namespace {

// Drawing files larger than this are refused before anything is read.
constexpr uint64_t kMaxDrawingBytes = uint64_t{2} << 30;

struct Version {
  const char* name;
  const char* code;
};
constexpr Version kVersions[] = {
    {"R12", "AC1009"},  {"2000", "AC1015"}, {"2004", "AC1018"}, {"2007", "AC1021"},
    {"2010", "AC1024"}, {"2013", "AC1027"}, {"2018", "AC1032"},
};

std::string HeaderText(const AcDbDatabase& db, const char* name) {
  const db::Tags* tags = db::Extras(db).findHeader(name);
  return tags && !tags->empty() ? tags->front().value : std::string();
}

std::wstring BackupName(const std::wstring& path) {
  const size_t slash = path.find_last_of(L"/\\");
  const size_t dot = path.find_last_of(L'.');
  const bool has_ext = dot != std::wstring::npos && (slash == std::wstring::npos || dot > slash);
  return (has_ext ? path.substr(0, dot) : path) + L".bak";
}

std::string& LastMessage() {
  static std::string message;
  return message;
}

// Installs the database's drawing-file hooks when the host library loads.
const bool kHooksInstalled = [] {
  db::SetDrawingReader([](const std::wstring& path, AcDbDatabase& db) {
    std::string message;
    return ReadDrawing(path, db, &message);
  });
  db::SetDrawingWriter([](const std::wstring& path, AcDbDatabase& db, const std::string& version) {
    return SaveDrawing(path, db, version, false);
  });
  return true;
}();

}  // namespace

std::string VersionCode(std::string_view name) {
  for (const Version& v : kVersions) {
    if (name == v.name || name == v.code) return v.code;
  }
  if (name == "R2000" || name == "R2004" || name == "R2007" || name == "R2010" || name == "R2013" ||
      name == "R2018") {
    return VersionCode(name.substr(1));
  }
  return std::string();
}

std::string DrawingVersion(const AcDbDatabase& db) {
  const std::string code = VersionCode(HeaderText(db, "$ACADVER"));
  return code.empty() ? "AC1015" : code;
}

Acad::ErrorStatus ReadDrawingBytes(std::string_view bytes, AcDbDatabase& db, std::string* message,
                                   size_t read_ahead_from) {
  (void)kHooksInstalled;
  Reader reader(bytes, db, read_ahead_from);
  const Acad::ErrorStatus es = reader.Run();
  if (message) *message = reader.message();
  return es;
}

const std::string& LastReadMessage() {
  return LastMessage();
}

Acad::ErrorStatus ReadDrawing(const std::wstring& path, AcDbDatabase& db, std::string* message) {
  std::string& last = LastMessage();
  Acad::ErrorStatus es = Acad::eOk;
  std::string bytes;
  if (!kw::Fs().IsFile(path)) {
    last = "the file does not exist";
    es = Acad::eFileNotFound;
  } else if (!kw::Fs().ReadFile(path, &bytes, kMaxDrawingBytes)) {
    last = "the file cannot be read";
    es = Acad::eFileAccessErr;
  } else {
    es = ReadDrawingBytes(bytes, db, &last);
  }
  if (message) *message = last;
  return es;
}

Acad::ErrorStatus WriteDrawingBytes(AcDbDatabase& db, std::string_view version, bool binary,
                                    std::string* bytes) {
  std::string code = version.empty() ? DrawingVersion(db) : VersionCode(version);
  if (code.empty()) return Acad::eInvalidInput;
  if (code == "AC1009") {
    if (!version.empty()) return Acad::eNotImplementedYet;  // R12 output is not written
    code = "AC1015";  // drawings read from R12 files are written as R2000
  }
  std::string codepage = HeaderText(db, "$DWGCODEPAGE");
  if (codepage.empty()) codepage = "ANSI_936";
  *bytes = Writer(db, code, codepage, binary).Run();
  return Acad::eOk;
}

Acad::ErrorStatus SaveDrawing(const std::wstring& path, AcDbDatabase& db, std::string_view version,
                              bool binary) {
  std::string bytes;
  const Acad::ErrorStatus es = WriteDrawingBytes(db, version, binary, &bytes);
  if (es != Acad::eOk) return es;
  if (kw::Fs().IsFile(path) && !kw::Fs().CopyFileAtomic(path, BackupName(path))) {
    return Acad::eFileAccessErr;
  }
  if (!kw::Fs().WriteFileAtomic(path, bytes)) return Acad::eFileAccessErr;
  db::Extras(db).fileName = path;
  const std::string code = version.empty() ? DrawingVersion(db) : VersionCode(version);
  db::Extras(db).setHeader("$ACADVER", db::Tags{{1, code}});
  return Acad::eOk;
}

}  // namespace kwhost::dxf
