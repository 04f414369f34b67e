// CLineStyleCollection: the process-wide set of linetype definitions (CLineStyle) that the
// road-design tools use, kept in the current project's "Styles/LineTypes.xml", and the two
// entry points KWRDPub::GetLineTypeId and KWRDPub::GetAllLineType.
//
// The collection maps upper-case linetype names to definitions and walks them in the order of
// the platform's 17-bucket hash map (common/bucketmap.h), the order in which it saves, lists and
// restores them. Lookups upper-case the name first.
//
// The file:
//   <LineTypeInfo>
//     <LineTypes>
//       <LineType Style=".." Des=".." Comments=".." IsScaleToFit="1" PatternLen=".."
//                 DashLen=".." NumDashes=".." ShapeIsUcsOriented=".." ShapeNumber=".."
//                 Offset=".." Rotation=".." ShapeScale=".." ShapeStyle=".." Text=".."/>
// Lists are in CLineStyle's text forms. Every value is read as text and converted as the
// platform's _wtof/_wtoi would; "IsScaleToFit" is set exactly when its text reads as 1. A
// later entry of the same name replaces an earlier one; nothing is checked on loading (a
// definition that disagrees with itself is refused when it is restored).
//
// States: the instance exists from the first GetInstance (or KWRDPub::GetAllLineType) until
// Destroy. Invariants:
//   1. every key of the map is upper case and is the name of its definition;
//   2. the map changes only through Load (at creation), AppendLineType, RemoveLineType and
//      ImportLineType; the file changes only through Save (direct or by a save flag) and
//      ExportLineType, and a failed save leaves both the map and the previous file as they were.
//
// Restoring creates linetype records in the working drawing, loading the shape files and
// finding the text styles that shape and text dashes need; a name the collection lacks comes
// from the host's standard linetype files ("acadiso.lin", "acad.lin", then every ".lin" file
// in the folder of "acadiso.lin", that folder being searched once per run). Problems are
// printed on the command line; results are 1/0 as each member says. Nothing throws.
#ifndef KW_STYLES_LINESTYLECOLLECTION_H_
#define KW_STYLES_LINESTYLECOLLECTION_H_

#include <string>
#include <vector>

#include "common/bucketmap.h"
#include "host/api/adesk.h"
#include "host/api/dbid.h"
#include "styles/LineStyle.h"

class AcDbDatabase;

class CLineStyleCollection {
 public:
  // The instance, created on first use and loaded then from the default file (the current
  // project's folder + "/Styles/LineTypes.xml"; an empty collection when that file is missing
  // or unreadable). Never null.
  static CLineStyleCollection* GetInstance();
  // Deletes the instance; the next GetInstance loads the file again.
  static void Destroy();

  // Writes the collection into its file: the folder is created, an existing document is kept
  // except for its "LineTypes" section, which is written afresh (atomically). False, with the
  // file unchanged, when the folder cannot be made, an existing file does not load, or the
  // write fails.
  bool Save();

  // Takes the linetype `name` over from the working drawing (replacing a definition of that
  // name). 0 when the drawing has no such linetype; else 1, or with bSave the result of Save.
  int AppendLineType(const wchar_t* name, bool bSave);
  // Removes one definition; with bSave and a known name, the result of Save. An unknown name is
  // no error (1) and saves nothing.
  int RemoveLineType(const wchar_t* name, bool bSave);
  // Appends every name (upper case) in the collection's order.
  void GetAllLineType(std::vector<std::wstring>& names) const;
  // Copies the named definitions (distinct names, any case) found in another collection file
  // into this one, then saves this one: the result of Save. No names: true, nothing read or
  // written. Names the file lacks are skipped.
  bool ImportLineType(const std::vector<std::wstring>& names, const wchar_t* file);
  // Writes the named definitions that this collection holds into the file `file` as a
  // collection file of its own (the rest of an existing document kept): the result of that
  // save. No names: true, nothing written.
  bool ExportLineType(const std::vector<std::wstring>& names, const wchar_t* file);

  // Creates the linetype `style` in the working drawing:
  //   - "Continuous", "ByLayer", "ByBlock" (any case): 1, nothing done;
  //   - a definition that disagrees with itself or holds a number that is not finite: 0, after
  //     "\n创建或恢复线形 %s 失败(无效的线形定义).";
  //   - a linetype the standard files give (or the drawing has): 1;
  //   - otherwise the record is made, its shape files loaded and text styles found (every
  //     problem printed, see the .cpp), and 1 returned; 0 when the linetype table cannot be
  //     opened for writing or the drawing refuses the record.
  // `id`: set to an existing record of that name, to the linetype loaded from a ".lin" file
  // found by the folder search, and, when a record is made, to the text style of its last dash
  // (null when that dash has none); otherwise untouched. Callers that need the linetype's id
  // look it up by name.
  static int RestoreLinetype(const CLineStyle& style, AcDbObjectId& id);
  // The definition of that name (any case), or else the standard linetype files.
  int RestoreLinetype(const wchar_t* name, AcDbObjectId& id);
  // Restores every definition, in the collection's order; results are not reported.
  void RestoreLinetype();

  // The definition of that name (any case), or null.
  const CLineStyle* GetLineStyle(const wchar_t* name) const;
  // The collection's file.
  const std::wstring& GetFilePath() const { return m_strFile; }

 private:
  CLineStyleCollection() = default;
  ~CLineStyleCollection() = default;
  CLineStyleCollection(const CLineStyleCollection&) = delete;
  CLineStyleCollection& operator=(const CLineStyleCollection&) = delete;

  // Empties the collection and reads `path` ("" or null: the default file). True when the
  // collection holds at least one definition afterwards.
  bool Load(const wchar_t* path);
  // Copies the named definitions of `from` into this collection.
  void CopyNamed(const std::vector<std::wstring>& names, const CLineStyleCollection& from);

  static CLineStyleCollection* m_sp;
  kw::BucketMap<CLineStyle> m_map{17};
  std::wstring m_strFile;
};

namespace KWRDPub {

// The working drawing's linetype `name`: its id when the drawing has it (null when the table
// cannot be read); otherwise the collection restores it and the id the restore left is
// returned when valid, else the id of "Continuous" (null if even that fails). So a linetype
// that only a standard file defines is loaded, yet this call answers "Continuous"; the next
// call finds it in the drawing.
AcDbObjectId GetLineTypeId(const wchar_t* name);

// Empties `names`, then lists the linetypes of `db` (null: the working drawing) in table order,
// without empty names and, unless bByLayerBlock, without "ByLayer" and "ByBlock"; with
// bCollection, then every name of the collection not already listed (ignoring case).
// eNoDatabase without a drawing, the table's status when it cannot be read, else eOk.
Acad::ErrorStatus GetAllLineType(std::vector<std::wstring>& names, bool bByLayerBlock,
                                 bool bCollection, AcDbDatabase* db = nullptr);

}  // namespace KWRDPub

#endif  // KW_STYLES_LINESTYLECOLLECTION_H_
