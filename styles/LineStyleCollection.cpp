#include "styles/LineStyleCollection.h"

#include <memory>
#include <unordered_set>

#include "common/fileio.h"
#include "common/text.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "persist/XTPPropExchange.h"
#include "services/paths.h"
#include "styles/internal/StandardLinFiles.h"

CLineStyleCollection* CLineStyleCollection::m_sp = nullptr;

namespace {

constexpr wchar_t kRoot[] = L"LineTypeInfo";
constexpr wchar_t kSection[] = L"LineTypes";
constexpr wchar_t kItem[] = L"LineType";

std::wstring DefaultFile() {
  return KWRDPub::GetCurPrjPath() + L"/Styles/LineTypes.xml";
}

std::wstring ReadText(CXTPPropExchange* px, const wchar_t* name) {
  std::wstring text;
  PX_String(px, name, text, L"");
  return text;
}

// One "LineType" entry as a definition; every value is read as text and converted here.
CLineStyle ReadEntry(CXTPPropExchange* px) {
  CLineStyle style;
  style.SetStyle(ReadText(px, L"Style").c_str());
  style.SetDes(ReadText(px, L"Des").c_str());
  style.SetComments(ReadText(px, L"Comments").c_str());
  style.SetIsScaleToFit(kw::WToI(ReadText(px, L"IsScaleToFit")) == 1 ? 1 : 0);
  style.SetPatternLen(kw::WToF(ReadText(px, L"PatternLen")));
  style.SetDashLen(ReadText(px, L"DashLen").c_str());
  style.SetNumDashes(kw::WToI(ReadText(px, L"NumDashes")));
  style.SetShapeIsUcsOriented(ReadText(px, L"ShapeIsUcsOriented").c_str());
  style.SetShapeNumber(ReadText(px, L"ShapeNumber").c_str());
  style.SetOffset(ReadText(px, L"Offset").c_str());
  style.SetRotation(ReadText(px, L"Rotation").c_str());
  style.SetShapeScale(ReadText(px, L"ShapeScale").c_str());
  style.SetShapeStyle(ReadText(px, L"ShapeStyle").c_str());
  style.SetText(ReadText(px, L"Text").c_str());
  return style;
}

void WriteText(CXTPPropExchange* px, const wchar_t* name, std::wstring text) {
  PX_String(px, name, text);
}

void WriteEntry(CXTPPropExchange* px, const CLineStyle& style) {
  WriteText(px, L"Style", style.GetStyle());
  WriteText(px, L"Des", style.GetDes());
  WriteText(px, L"Comments", style.GetComments());
  bool scaleToFit = style.GetIsScaleToFit() != 0;
  PX_Bool(px, L"IsScaleToFit", scaleToFit);
  double patternLen = style.GetPatternLen();
  PX_Double(px, L"PatternLen", patternLen);
  WriteText(px, L"DashLen", style.GetDashLen());
  int numDashes = style.GetNumDashes();
  PX_Int(px, L"NumDashes", numDashes);
  WriteText(px, L"ShapeIsUcsOriented", style.GetShapeIsUcsOriented());
  WriteText(px, L"ShapeNumber", style.GetShapeNumber());
  WriteText(px, L"Offset", style.GetOffset());
  WriteText(px, L"Rotation", style.GetRotation());
  WriteText(px, L"ShapeScale", style.GetShapeScale());
  WriteText(px, L"ShapeStyle", style.GetShapeStyle());
  WriteText(px, L"Text", style.GetText());
}

// The distinct upper-case names, first occurrence first.
std::vector<std::wstring> DistinctUpper(const std::vector<std::wstring>& names) {
  std::vector<std::wstring> result;
  std::unordered_set<std::wstring> seen;
  for (const std::wstring& name : names) {
    std::wstring key = kw::ToUpper(name);
    if (seen.insert(key).second) result.push_back(std::move(key));
  }
  return result;
}

bool IsByLayerOrByBlock(const std::wstring& name) {
  return kw::EqualsNoCase(name, L"ByLayer") || kw::EqualsNoCase(name, L"ByBlock");
}

// Appends the collection's names that `names` lacks (ignoring case).
void AppendCollectionNames(std::vector<std::wstring>& names) {
  std::unordered_set<std::wstring> listed;
  for (const std::wstring& name : names) listed.insert(kw::ToUpper(name));
  std::vector<std::wstring> own;
  CLineStyleCollection::GetInstance()->GetAllLineType(own);
  for (std::wstring& name : own) {
    if (listed.insert(kw::ToUpper(name)).second) names.push_back(std::move(name));
  }
}

}  // namespace

CLineStyleCollection* CLineStyleCollection::GetInstance() {
  if (m_sp == nullptr) {
    m_sp = new CLineStyleCollection();
    m_sp->Load(L"");
  }
  return m_sp;
}

void CLineStyleCollection::Destroy() {
  delete m_sp;
  m_sp = nullptr;
}

bool CLineStyleCollection::Load(const wchar_t* path) {
  m_map.Clear();
  m_strFile = kw::SafeLength(path) ? std::wstring(path) : DefaultFile();
  if (!kw::FileExists(m_strFile)) return false;
  CXTPPropExchangeXMLNode root(true, kRoot);
  if (!root.LoadFromFile(m_strFile.c_str())) return false;
  std::unique_ptr<CXTPPropExchangeXMLNode> section = root.GetSection(kSection);
  if (section) {
    std::unique_ptr<CXTPPropExchangeEnumerator> items = section->GetEnumerator(kItem);
    POSITION pos = items->GetPosition();
    while (pos) {
      std::unique_ptr<CXTPPropExchangeXMLNode> item = items->GetNext(pos);
      if (!item) break;
      CLineStyle style = ReadEntry(item.get());
      const std::wstring key = style.GetStyle();
      m_map.Set(key, std::move(style));
    }
  }
  return !m_map.Empty();
}

bool CLineStyleCollection::Save() {
  const std::wstring folder = kw::ParentOf(m_strFile);
  if (!folder.empty() && !kw::CreateDirectories(folder)) return false;
  CXTPPropExchangeXMLNode root(false, kRoot);
  if (kw::FileExists(m_strFile) && !root.LoadFromFile(m_strFile.c_str())) return false;
  std::unique_ptr<CXTPPropExchangeXMLNode> section = root.GetSection(kSection);
  if (!section) return false;
  section->EmptySection();
  std::unique_ptr<CXTPPropExchangeEnumerator> items = section->GetEnumerator(kItem);
  POSITION pos = items->GetPosition(static_cast<uint32_t>(m_map.Size()), true);
  bool written = true;
  m_map.ForEach([&](const std::wstring&, const CLineStyle& style) {
    std::unique_ptr<CXTPPropExchangeXMLNode> item = items->GetNext(pos);
    if (item) {
      WriteEntry(item.get(), style);
    } else {
      written = false;
    }
  });
  return written && root.SaveToFile(m_strFile.c_str(), true);
}

int CLineStyleCollection::AppendLineType(const wchar_t* name, bool bSave) {
  const std::wstring key = kw::ToUpper(kw::View(name));
  CLineStyle style;
  if (!CLineStyle::GetLineStyleDef(key.c_str(), style)) return 0;
  m_map.Set(key, std::move(style));
  return bSave ? (Save() ? 1 : 0) : 1;
}

int CLineStyleCollection::RemoveLineType(const wchar_t* name, bool bSave) {
  if (!m_map.Remove(kw::ToUpper(kw::View(name)))) return 1;
  return bSave ? (Save() ? 1 : 0) : 1;
}

void CLineStyleCollection::GetAllLineType(std::vector<std::wstring>& names) const {
  m_map.ForEach([&](const std::wstring& key, const CLineStyle&) { names.push_back(key); });
}

const CLineStyle* CLineStyleCollection::GetLineStyle(const wchar_t* name) const {
  return m_map.Find(kw::ToUpper(kw::View(name)));
}

void CLineStyleCollection::CopyNamed(const std::vector<std::wstring>& names,
                                     const CLineStyleCollection& from) {
  for (const std::wstring& name : names) {
    if (const CLineStyle* style = from.m_map.Find(name)) m_map.Set(name, *style);
  }
}

bool CLineStyleCollection::ImportLineType(const std::vector<std::wstring>& names,
                                          const wchar_t* file) {
  const std::vector<std::wstring> keys = DistinctUpper(names);
  if (keys.empty()) return true;
  CLineStyleCollection source;
  source.Load(file);
  CopyNamed(keys, source);
  return Save();
}

bool CLineStyleCollection::ExportLineType(const std::vector<std::wstring>& names,
                                          const wchar_t* file) {
  const std::vector<std::wstring> keys = DistinctUpper(names);
  if (keys.empty()) return true;
  CLineStyleCollection target;
  target.m_strFile = kw::SafeLength(file) ? std::wstring(file) : DefaultFile();
  target.CopyNamed(keys, *this);
  return target.Save();
}

int CLineStyleCollection::RestoreLinetype(const wchar_t* name, AcDbObjectId& id) {
  if (const CLineStyle* style = GetLineStyle(name)) return RestoreLinetype(*style, id);
  return kw::styles::ProcessLinFiles().Restore(std::wstring(kw::View(name)), nullptr, id);
}

void CLineStyleCollection::RestoreLinetype() {
  kw::styles::StandardLinFiles::Batch batch(kw::styles::ProcessLinFiles());
  m_map.ForEach([](const std::wstring&, const CLineStyle& style) {
    AcDbObjectId scratch;
    RestoreLinetype(style, scratch);
  });
}

namespace KWRDPub {

namespace {

// The id of the linetype `name` in `db`: true when the table could be read (id null when the
// name is not there).
bool FindLinetype(AcDbDatabase* db, const wchar_t* name, AcDbObjectId& id) {
  AcDbLinetypeTable* table = nullptr;
  if (!db || db->getLinetypeTable(table, AcDb::kForRead) != Acad::eOk) return false;
  if (table->getAt(name, id) != Acad::eOk) id = AcDbObjectId();
  table->close();
  return true;
}

}  // namespace

AcDbObjectId GetLineTypeId(const wchar_t* name) {
  AcDbDatabase* db = acdbHostApplicationServices()->workingDatabase();
  AcDbObjectId id;
  if (!FindLinetype(db, name, id)) return AcDbObjectId();
  if (!id.isNull()) return id;
  CLineStyleCollection::GetInstance()->RestoreLinetype(name, id);
  if (id.isValid()) return id;
  AcDbObjectId continuous;
  FindLinetype(db, L"Continuous", continuous);
  return continuous;
}

Acad::ErrorStatus GetAllLineType(std::vector<std::wstring>& names, bool bByLayerBlock,
                                 bool bCollection, AcDbDatabase* db) {
  names.clear();
  if (!db) db = acdbHostApplicationServices()->workingDatabase();
  if (!db) return Acad::eNoDatabase;
  AcDbLinetypeTable* table = nullptr;
  if (Acad::ErrorStatus es = db->getLinetypeTable(table, AcDb::kForRead); es != Acad::eOk) {
    return es;
  }
  AcDbLinetypeTableIterator* it = nullptr;
  if (table->newIterator(it) == Acad::eOk) {
    for (; !it->done(); it->step()) {
      AcDbLinetypeTableRecord* record = nullptr;
      if (it->getRecord(record, AcDb::kForRead) != Acad::eOk) continue;
      const std::wstring name = record->name();
      record->close();
      if (!name.empty() && (bByLayerBlock || !IsByLayerOrByBlock(name))) names.push_back(name);
    }
    delete it;
  }
  table->close();
  if (bCollection) AppendCollectionNames(names);
  return Acad::eOk;
}

}  // namespace KWRDPub
