// Drawing files: reading a DXF file (ASCII or binary, R12 and R2000 to R2018) into a database
// and writing a database as a DXF file, atomically, keeping the previous file as NAME.bak.
//
// Versions are named as users type them ("R12", "2000", "2004", "2007", "2010", "2013",
// "2018") or by their $ACADVER codes ("AC1009" ... "AC1032"). A drawing keeps the version it
// was read in; new drawings and drawings read from R12 files are written as R2000 (AC1015).
// Text is written in the drawing's code page ($DWGCODEPAGE; ANSI_936 for new drawings) before
// R2007 and in UTF-8 from R2007 on.
//
// The database hooks (readDwgFile, the drawing writer) are installed when the host library
// loads.
#ifndef KWHOST_EMBEDDED_DXF_DRAWINGFILE_H_
#define KWHOST_EMBEDDED_DXF_DRAWINGFILE_H_

#include <string>
#include <string_view>

#include "host/api/dbmain.h"
#include "host/embedded/dxf/tagstream.h"

namespace kwhost::dxf {

// The $ACADVER code of a version name ("2018" -> "AC1032"); "" for a name it does not know.
std::string VersionCode(std::string_view name);

// Reads DXF bytes into `db`, which must be empty (built without defaults): eOk; eFilerError
// for bad input, with *message naming the line (ASCII) or byte (binary) and the fault. On
// failure the database holds whatever was read before the fault. ASCII input at least
// `read_ahead_from` bytes long is split into tags on a second thread while this one builds
// the drawing; the outcome is the same either way.
Acad::ErrorStatus ReadDrawingBytes(std::string_view bytes, AcDbDatabase& db, std::string* message,
                                   size_t read_ahead_from = kReadAheadFrom);
// The same from a file: eFileNotFound when it does not exist, eFileAccessErr when it cannot
// be read.
Acad::ErrorStatus ReadDrawing(const std::wstring& path, AcDbDatabase& db, std::string* message);

// The drawing as DXF bytes in `version` ("" keeps the drawing's own): eOk; eInvalidInput for
// a version name it does not know; eNotImplementedYet for R12, which is read but not written.
Acad::ErrorStatus WriteDrawingBytes(AcDbDatabase& db, std::string_view version, bool binary,
                                    std::string* bytes);
// Saves atomically; an existing file at `path` is first copied to NAME.bak (the extension
// replaced). eOk, after which the drawing's file name and version are those saved;
// eInvalidInput or eNotImplementedYet (version); eFileAccessErr when a write fails (the
// previous file is then unchanged).
Acad::ErrorStatus SaveDrawing(const std::wstring& path, AcDbDatabase& db,
                              std::string_view version = "", bool binary = false);

// The version the drawing was read in or last saved as ("AC1015" for a new drawing).
std::string DrawingVersion(const AcDbDatabase& db);

// Why the last ReadDrawing (and so the last readDwgFile) failed; "" after a successful one.
// The host is single-threaded: this is the one piece of state of the service.
const std::string& LastReadMessage();

}  // namespace kwhost::dxf

#endif  // KWHOST_EMBEDDED_DXF_DRAWINGFILE_H_
