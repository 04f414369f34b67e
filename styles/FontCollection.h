// CFontCollection: the process-wide set of text style definitions of the current project, kept
// in "<project>/Styles/TextStyles.xml"; it takes styles over from the drawing, copies them to
// and from other such files, and creates (restores) them in the current drawing.
//
// Invariants:
//   1. Keys are upper-case style names; every key of the auto-restore set is also a key of the
//      definitions (RemoveFont drops both).
//   2. Definitions and the auto-restore set list in the platform's hash-map order (see
//      common/namemap.h); a file is written in that order.
//   3. The file is always written whole from the definitions (never patched), atomically: a
//      failed save leaves the previous file as it was.
// States: no instance; loaded (GetInstance created it and read the default file, or found none
// and started empty). Destroy goes back to "no instance"; the next GetInstance reads the file of
// the then-current project.
//
// Failure: results are int (1 / 0, -1 for a file that does not load) as each member says;
// nothing throws. Drawing errors of a restore are printed on the command line with a leading
// "\n" and the style name first.
#ifndef KW_STYLES_FONTCOLLECTION_H_
#define KW_STYLES_FONTCOLLECTION_H_

#include <string>
#include <vector>

#include "common/bucketmap.h"
#include "host/api/dbid.h"
#include "persist/KWXMLDOM.h"
#include "styles/FontInfo.h"

class CFontCollection {
 public:
  // The empty file that Save fills.
  static const wchar_t* const c_szTemplate;

  // The instance, created on first use, which then loads the default file
  // (KWRDPub::GetCurPrjPath() + "/Styles/TextStyles.xml"; a missing file gives an empty set).
  static CFontCollection* GetInstance();
  // Deletes the instance (if any); later GetInstance calls start afresh.
  static void Destroy();

  // Takes the working drawing's text style `name` into the set, marked for automatic restore;
  // with bSave the file is then written. 1 on success; 0 when the drawing has no such style
  // or the save fails.
  int AppendFont(const wchar_t* name, bool bSave);
  // Drops the style (ignoring case) from the set; with bSave the file is then written: the
  // save's result. An unknown name gives 1 and writes nothing.
  int RemoveFont(const wchar_t* name, bool bSave);
  // Copies the named styles (ignoring case, duplicates once) found in `file` into the set (with
  // their automatic-restore marks) and saves it: the save's result. Names the file lacks are
  // skipped, so a file that does not load copies nothing; an empty name list gives 1 and
  // writes nothing.
  int ImportFont(const std::vector<std::wstring>& names, const wchar_t* file);
  // Writes the named styles of the set (ignoring case, duplicates once) as a new text style
  // file `file`: 1; 0 when it cannot be written. Names the set lacks are skipped; an empty
  // name list gives 1 and writes nothing.
  int ExportFont(const std::vector<std::wstring>& names, const wchar_t* file);
  // Appends every key, in the set's order.
  void GetAllTextStyle(std::vector<std::wstring>& names) const;
  // Writes the whole set to the collection's file (its "Styles" folder is created when
  // missing): 1, or 0 when it cannot be written.
  int Save();

  // Creates or updates the drawing's text style info.szName from `info` and sets `id` to it: 1;
  // 0 (id null, the message printed) when the drawing refuses a step.
  static int RestoreFont(const FONTINFO& info, AcDbObjectId& id);
  // Restores the set's style `name` (ignoring case): the static restore's result; 0 (id
  // untouched) when the set lacks it.
  int RestoreFont(const wchar_t* name, AcDbObjectId& id);
  // Restores every style marked for automatic restore; the others are left alone. The number
  // of styles restored.
  int RestoreFont();

  // Lookups for commands that show the set: the definition of `name` (ignoring case) copied
  // into `info`: 1, or 0 when the set lacks it.
  int GetFontInfo(const wchar_t* name, FONTINFO& info) const;
  bool IsAutoRestore(const wchar_t* name) const;
  const std::wstring& GetFilePath() const { return m_strFile; }
  // The current project's library file: KWRDPub::GetCurPrjPath() + "/Styles/TextStyles.xml".
  static std::wstring GetDefaultFile();
  // Lists the styles of a text style file (as the file's set would list them): the count, or
  // -1 when it does not load.
  static int GetFileTextStyles(const wchar_t* file, std::vector<std::wstring>& names);

 private:
  CFontCollection() = default;
  ~CFontCollection() = default;
  CFontCollection(const CFontCollection&) = delete;
  CFontCollection& operator=(const CFontCollection&) = delete;

  // Empties the set and reads `path` ("": the default file): the number of definitions
  // stored, or -1 when the file is missing, does not load or its root is not "TextStyles".
  int Load(const wchar_t* path);
  // Reads one "TextStyle" element into the set; false (nothing stored) when it lacks a value
  // or holds a number the drawing cannot take.
  bool LoadElement(const IKWXMLDOMElement& element);
  // Adds info's "TextStyle" element under the root of m_doc and remembers it in info.
  void AddFont(CFontInfo& info, int autoRestore);
  // Stores a definition under its upper-case name (an existing one is replaced, keeping its
  // element) and marks or unmarks it for automatic restore.
  int AppendFont(const CFontInfo& info, int autoRestore);
  // Adds one child element holding `text` under `parent`.
  static void AppendChildNode(IKWXMLDOMNode& parent, const wchar_t* name, const wchar_t* text);
  // The text of the node that `path` selects under `node`: 1, or 0 when there is none.
  static int GetValue(const IKWXMLDOMNode& node, const wchar_t* path, std::wstring& value);
  // Copies the named definitions of `from` into this set (names upper-cased, each once).
  void CopyNamed(const CFontCollection& from, const std::vector<std::wstring>& names);

  // The keys of the definitions in the set's order.
  std::vector<std::wstring> Keys() const;

  static CFontCollection* m_sp;
  kw::BucketMap<CFontInfo> m_mapFont;
  kw::BucketMap<int> m_mapAutoRestore;
  std::wstring m_strFile;
  IKWXMLDOMDocument m_doc;
  IKWXMLDOMElement m_root;
};

#endif  // KW_STYLES_FONTCOLLECTION_H_
