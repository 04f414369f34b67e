#include "styles/internal/StylesTestWorld.h"

#include "common/fileio.h"
#include "kwhost/embedded.h"
#include "services/paths.h"
#include "styles/FontCollection.h"

void StylesWorld::SetUp() {
  KWRDPub::SetCurPrjPath(kw::WidePath(dir_).c_str());
  kwhost::ResetSession();
  CFontCollection::Destroy();
}

void StylesWorld::TearDown() {
  CFontCollection::Destroy();
}

AcDbDatabase* StylesWorld::Db() {
  return kwhost::CurrentDatabase();
}

AcDbObjectId StylesWorld::AddTextStyle(const wchar_t* name, const wchar_t* file,
                                       const wchar_t* bigFont, const wchar_t* typeface) {
  AcDbTextStyleTable* table = nullptr;
  EXPECT_EQ(Db()->getTextStyleTable(table, AcDb::kForWrite), Acad::eOk);
  auto* record = new AcDbTextStyleTableRecord();
  record->setName(name);
  record->setFileName(file);
  record->setBigFontFileName(bigFont);
  if (typeface) record->setFont(typeface, true, false, 134, 2);
  AcDbObjectId id;
  EXPECT_EQ(table->add(id, record), Acad::eOk);
  record->close();
  table->close();
  return id;
}
