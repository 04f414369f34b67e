#include "styles/internal/LineStyleTestWorld.h"

#include <fstream>
#include <sstream>

#include "common/fileio.h"
#include "kwhost/embedded.h"
#include "services/paths.h"

namespace fs = std::filesystem;

void LineStyleWorld::SetUpTestSuite() {
  s_temp.emplace("kwlstyle");
}

void LineStyleWorld::TearDownTestSuite() {
  s_temp.reset();
}

void LineStyleWorld::SetUp() {
  kwhost::ResetSession();
  m_project =
      fs::path(s_temp->path()) / ::testing::UnitTest::GetInstance()->current_test_info()->name();
  fs::create_directories(m_project);
  KWRDPub::SetCurPrjPath(kw::WidePath(m_project.string()).c_str());
  CLineStyleCollection::Destroy();
}

void LineStyleWorld::TearDown() {
  CLineStyleCollection::Destroy();
}

void LineStyleWorld::WriteCollection(const std::string& items, const fs::path& path) {
  WriteBytes(path, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<LineTypeInfo><LineTypes>" + items +
                       "</LineTypes></LineTypeInfo>\n");
}

std::vector<std::wstring> LineStyleWorld::Names() {
  std::vector<std::wstring> names;
  Lines()->GetAllLineType(names);
  return names;
}

std::string LineStyleWorld::ReadBytes(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void LineStyleWorld::WriteBytes(const fs::path& path, const std::string& bytes) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << bytes;
}

AcDbObjectId LineStyleWorld::LinetypeId(const wchar_t* name) {
  AcDbLinetypeTable* table = nullptr;
  AcDbObjectId id;
  if (kwhost::CurrentDatabase()->getLinetypeTable(table, AcDb::kForRead) != Acad::eOk) return id;
  table->getAt(name, id);
  table->close();
  return id;
}

std::wstring LineStyleWorld::TextStyleName(AcDbObjectId id) {
  AcDbTextStyleTableRecord* record = nullptr;
  if (acdbOpenObject(record, id, AcDb::kForRead) != Acad::eOk) return L"<none>";
  std::wstring name = record->name();
  const wchar_t* file = nullptr;
  if (record->isShapeFile() && record->fileName(file) == Acad::eOk)
    name = L"shx:" + std::wstring(file);
  record->close();
  return name;
}

CLineStyle LineStyleWorld::Plain(const wchar_t* name, int n) {
  CLineStyle s;
  s.SetStyle(name);
  s.SetNumDashes(n);
  std::wstring nums, zeros, offsets, bars, quotes;
  for (int i = 0; i < n; ++i) {
    nums += i ? L",1" : L"1";
    zeros += i ? L",0" : L"0";
    offsets += i ? L";0,0" : L"0,0";
    if (i) bars += L'|', quotes += L'"';
  }
  s.SetDashLen(nums.c_str());
  s.SetShapeIsUcsOriented(zeros.c_str());
  s.SetShapeNumber(zeros.c_str());
  s.SetOffset(offsets.c_str());
  s.SetRotation(nums.c_str());
  s.SetShapeScale(nums.c_str());
  s.SetShapeStyle(bars.c_str());
  s.SetText(quotes.c_str());
  return s;
}
