#include "persist/RDDwgFiler.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kwhost/embedded.h"

namespace {

std::vector<unsigned char> Bytes(const CRDDwgFiler& filer) {
  const RDByteArray& data = filer.GetData();
  return std::vector<unsigned char>(data.begin(), data.end());
}

CRDDwgFiler FilerWith(const std::vector<unsigned char>& bytes) {
  CRDDwgFiler filer;
  filer.SetData(bytes.data(), static_cast<int64_t>(bytes.size()));
  return filer;
}

TEST(RDDwgFilerTest, StartsEmptyWithTheUnknownVersion) {
  CRDDwgFiler filer;
  AcDb::AcDbDwgVersion version{};
  AcDb::MaintenanceReleaseVersion release{};
  EXPECT_EQ(filer.dwgVersion(version, release), Acad::eOk);
  EXPECT_EQ(version, 32766);
  EXPECT_EQ(release, 126);
  EXPECT_EQ(filer.filerStatus(), Acad::eOk);
  EXPECT_EQ(filer.filerType(), AcDb::kFileFiler);
  EXPECT_EQ(filer.tell(), 0);
  EXPECT_EQ(filer.GetData().growLength(), 102400);
  filer.setDwgVersion(AcDb::kDHL_Max, AcDb::kMRelease0);
  filer.dwgVersion(version, release);
  EXPECT_EQ(version, 32767);
  EXPECT_EQ(release, 0);
}

TEST(RDDwgFilerTest, FixedWidthValuesAreLittleEndianWithoutPadding) {
  CRDDwgFiler filer;
  filer.writeInt8('A');
  filer.writeInt16(-2);
  filer.writeUInt32(0x01020304);
  filer.writeBoolean(1);
  filer.writeBool(true);
  filer.writeInt64(-1);
  filer.writeDouble(1.0);
  EXPECT_EQ(Bytes(filer), (std::vector<unsigned char>{
                              'A',  0xFE, 0xFF, 4,    3,    2,    1, 1, 0, 0, 0, 1, 0xFF, 0xFF,
                              0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F}));
  filer.seek(0, 0);
  char c = 0;
  int16_t s = 0;
  uint32_t u = 0;
  Adesk::Boolean b = 0;
  bool flag = false;
  int64_t i64 = 0;
  double d = 0;
  EXPECT_EQ(filer.readInt8(&c) | filer.readInt16(&s) | filer.readUInt32(&u) |
                filer.readBoolean(&b) | filer.readBool(&flag) | filer.readInt64(&i64) |
                filer.readDouble(&d),
            Acad::eOk);
  EXPECT_EQ(c, 'A');
  EXPECT_EQ(s, -2);
  EXPECT_EQ(u, 0x01020304u);
  EXPECT_EQ(b, 1);
  EXPECT_TRUE(flag);
  EXPECT_EQ(i64, -1);
  EXPECT_EQ(d, 1.0);
}

TEST(RDDwgFilerTest, AnyNonZeroByteReadsAsTrue) {
  CRDDwgFiler filer = FilerWith({7});
  bool value = false;
  EXPECT_EQ(filer.readBool(&value), Acad::eOk);
  EXPECT_TRUE(value);
}

TEST(RDDwgFilerTest, ReadPastTheEndIsStickyUntilReset) {
  CRDDwgFiler filer = FilerWith({1, 2, 3, 4, 5, 6, 7});
  double d = 42;
  EXPECT_EQ(filer.readDouble(&d), Acad::eEndOfFile);
  EXPECT_EQ(d, 42);
  EXPECT_EQ(filer.tell(), 0);
  char c = 0;
  EXPECT_EQ(filer.readInt8(&c), Acad::eEndOfFile);
  EXPECT_EQ(c, 0);
  filer.resetFilerStatus();
  EXPECT_EQ(filer.readInt8(&c), Acad::eOk);
  EXPECT_EQ(c, 1);

  filer.setFilerStatus(Acad::eInvalidInput);
  EXPECT_EQ(filer.readInt8(&c), Acad::eInvalidInput);
  EXPECT_EQ(filer.seek(0, 0), Acad::eOk);  // a good seek clears it
  EXPECT_EQ(filer.readInt8(&c), Acad::eOk);
}

TEST(RDDwgFilerTest, WritesClearEndOfFileButNotOtherFailures) {
  CRDDwgFiler filer;
  int32_t v = 0;
  EXPECT_EQ(filer.readInt32(&v), Acad::eEndOfFile);
  EXPECT_EQ(filer.writeInt32(5), Acad::eOk);
  EXPECT_EQ(filer.filerStatus(), Acad::eOk);
  filer.setFilerStatus(Acad::eInvalidInput);
  EXPECT_EQ(filer.writeInt32(6), Acad::eInvalidInput);
  EXPECT_EQ(filer.writeBytes("ab", 2), Acad::eInvalidInput);
  EXPECT_EQ(filer.writeString(L"x"), Acad::eInvalidInput);
  EXPECT_EQ(filer.writePoint3d(AcGePoint3d(1, 2, 3)), Acad::eInvalidInput);
  EXPECT_EQ(filer.GetData().length(), 4);
}

TEST(RDDwgFilerTest, SeekRules) {
  CRDDwgFiler filer = FilerWith({1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_EQ(filer.seek(0, 2), Acad::eOk);
  EXPECT_EQ(filer.tell(), 8);
  EXPECT_EQ(filer.seek(1, 2), Acad::eInvalidInput);
  EXPECT_EQ(filer.tell(), 8);
  EXPECT_EQ(filer.seek(-1, 0), Acad::eInvalidInput);
  EXPECT_EQ(filer.seek(-3, 1), Acad::eOk);
  EXPECT_EQ(filer.tell(), 5);
  EXPECT_EQ(filer.seek(0, 7), Acad::eInvalidInput);
  EXPECT_EQ(filer.seek(INT64_MAX, 1), Acad::eInvalidInput);
  EXPECT_EQ(filer.filerStatus(), Acad::eInvalidInput);
}

TEST(RDDwgFilerTest, WritesOverwriteInPlaceAndExtendPastTheEnd) {
  CRDDwgFiler filer = FilerWith({1, 2, 3, 4, 5, 6, 7, 8});
  filer.seek(0, 0);
  filer.writeInt32(0);
  EXPECT_EQ(Bytes(filer), (std::vector<unsigned char>{0, 0, 0, 0, 5, 6, 7, 8}));
  filer.seek(6, 0);
  filer.writeBytes("abcdef", 6);
  EXPECT_EQ(Bytes(filer),
            (std::vector<unsigned char>{0, 0, 0, 0, 5, 6, 'a', 'b', 'c', 'd', 'e', 'f'}));
  EXPECT_EQ(filer.tell(), 12);
}

TEST(RDDwgFilerTest, CapacityGrowsInStepsOfTheGrowLength) {
  CRDDwgFiler filer;
  filer.writeInt8(1);
  EXPECT_EQ(filer.GetData().physicalLength(), 102400);
  for (int i = 1; i < 102400; ++i) filer.writeInt8(0);
  EXPECT_EQ(filer.GetData().physicalLength(), 102400);
  filer.writeInt8(0);
  EXPECT_EQ(filer.GetData().physicalLength(), 204800);
  std::vector<char> big(300000);
  filer.writeBytes(big.data(), big.size());
  EXPECT_EQ(filer.GetData().physicalLength(), 102401 + 300000);
  CRDDwgFiler copy(filer);
  EXPECT_EQ(copy.GetData().physicalLength(), filer.GetData().physicalLength());
  EXPECT_EQ(Bytes(copy), Bytes(filer));
  EXPECT_EQ(copy.tell(), filer.tell());
}

TEST(RDDwgFilerTest, StringRecords) {
  CRDDwgFiler filer;
  filer.writeString(L"");
  filer.writeString(L"abc");
  filer.writeString(AcString(L"路\U0001F600"));
  EXPECT_EQ(Bytes(filer),
            (std::vector<unsigned char>{0, 0, 0, 0, 6, 0, 0,    0,    1,    'a',  0,    'b', 0, 'c',
                                        0, 6, 0, 0, 0, 1, 0xEF, 0x8D, 0x3D, 0xD8, 0x00, 0xDE}));
  filer.seek(0, 0);
  wchar_t* text = nullptr;
  ASSERT_EQ(filer.readString(&text), Acad::eOk);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(std::wstring(text), L"");
  acutDelBuffer(text);
  ASSERT_EQ(filer.readString(&text), Acad::eOk);
  EXPECT_EQ(std::wstring(text), L"abc");
  acutDelBuffer(text);
  AcString wide(L"stale");
  ASSERT_EQ(filer.readString(wide), Acad::eOk);
  EXPECT_EQ(wide.str(), L"路\U0001F600");
}

TEST(RDDwgFilerTest, NarrowStringRecordIsReadAsGbk) {
  // "道路" in GBK: B5 C0 C2 B7, flag 0.
  CRDDwgFiler filer = FilerWith({4, 0, 0, 0, 0, 0xB5, 0xC0, 0xC2, 0xB7});
  AcString text;
  ASSERT_EQ(filer.readString(text), Acad::eOk);
  EXPECT_EQ(text.str(), L"道路");
  EXPECT_EQ(filer.tell(), 9);
}

TEST(RDDwgFilerTest, StringCountBeyondTheDataFailsAndClearsTheOutput) {
  CRDDwgFiler filer = FilerWith({0xFF, 0xFF, 0xFF, 0xFF, 1, 'a', 0});
  wchar_t* text = reinterpret_cast<wchar_t*>(1);
  EXPECT_EQ(filer.readString(&text), Acad::eEndOfFile);
  EXPECT_EQ(text, nullptr);
  CRDDwgFiler shortCount = FilerWith({6, 0});
  AcString value(L"x");
  EXPECT_EQ(shortCount.readString(value), Acad::eEndOfFile);
  EXPECT_TRUE(value.isEmpty());
  CRDDwgFiler noFlag = FilerWith({2, 0, 0, 0});
  EXPECT_EQ(noFlag.readString(&text), Acad::eEndOfFile);
  EXPECT_EQ(text, nullptr);
}

TEST(RDDwgFilerTest, ChunkRecords) {
  CRDDwgFiler filer;
  char data[] = {'x', 'y', 'z'};
  filer.writeBChunk(ads_binary{3, data});
  filer.writeBChunk(ads_binary{0, nullptr});
  EXPECT_EQ(Bytes(filer), (std::vector<unsigned char>{3, 0, 'x', 'y', 'z', 0, 0}));
  filer.seek(0, 0);
  ads_binary chunk{};
  ASSERT_EQ(filer.readBChunk(&chunk), Acad::eOk);
  EXPECT_EQ(chunk.clen, 3);
  EXPECT_EQ(std::string(chunk.buf, 3), "xyz");
  acdbFree(chunk.buf);
  ASSERT_EQ(filer.readBChunk(&chunk), Acad::eOk);
  EXPECT_EQ(chunk.clen, 0);
  EXPECT_EQ(chunk.buf, nullptr);

  CRDDwgFiler truncated = FilerWith({0x10, 0x00, 'a'});
  EXPECT_EQ(truncated.readBChunk(&chunk), Acad::eEndOfFile);
  EXPECT_EQ(chunk.clen, 0);
  EXPECT_EQ(chunk.buf, nullptr);
}

TEST(RDDwgFilerTest, PointsVectorsAndScalesAreDoubles) {
  CRDDwgFiler filer;
  filer.writePoint2d(AcGePoint2d(1, 2));
  filer.writeVector3d(AcGeVector3d(3, 4, 5));
  filer.writeScale3d(AcGeScale3d(6, 7, 8));
  filer.writeAddress(&filer);
  EXPECT_EQ(filer.GetData().length(), 16 + 24 + 24 + 8);
  filer.seek(0, 0);
  AcGePoint2d p;
  AcGeVector3d v;
  AcGeScale3d s;
  void* address = nullptr;
  filer.readPoint2d(&p);
  filer.readVector3d(&v);
  filer.readScale3d(&s);
  filer.readAddress(&address);
  EXPECT_EQ(p, AcGePoint2d(1, 2));
  EXPECT_EQ(v, AcGeVector3d(3, 4, 5));
  EXPECT_EQ(s, AcGeScale3d(6, 7, 8));
  EXPECT_EQ(address, &filer);

  CRDDwgFiler partial = FilerWith({0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 1});
  AcGePoint3d q(9, 9, 9);
  EXPECT_EQ(partial.readPoint3d(&q), Acad::eEndOfFile);
  EXPECT_EQ(q, AcGePoint3d(1, 9, 9));
}

TEST(RDDwgFilerTest, IdAndHandleOperationsPrintTheirLineAndChangeNothing) {
  kwhost::ResetSession();
  CRDDwgFiler filer = FilerWith({1, 2});
  filer.setFilerStatus(Acad::eEndOfFile);
  AcDbHardOwnershipId ho;
  AcDbSoftOwnershipId so;
  AcDbHardPointerId hp;
  AcDbSoftPointerId sp;
  AcDbHandle handle;
  const Acad::ErrorStatus results[] = {
      filer.readHardOwnershipId(&ho), filer.writeHardOwnershipId(ho),
      filer.readSoftOwnershipId(&so), filer.writeSoftOwnershipId(so),
      filer.readHardPointerId(&hp),   filer.writeHardPointerId(hp),
      filer.readSoftPointerId(&sp),   filer.writeSoftPointerId(sp),
      filer.readAcDbHandle(&handle),  filer.writeAcDbHandle(handle)};
  for (Acad::ErrorStatus es : results) EXPECT_EQ(es, Acad::eNotImplementedYet);
  EXPECT_EQ(filer.filerStatus(), Acad::eEndOfFile);
  EXPECT_EQ(filer.tell(), 0);
  EXPECT_EQ(kwhost::TakeOutput(),
            L"\nCMyDwgFiler::readHardOwnershipId未实现."
            L"\nCMyDwgFiler::writeHardOwnershipId未实现."
            L"\nCMyDwgFiler::readSoftOwnershipId未实现."
            L"\nCMyDwgFiler::writeSoftOwnershipId未实现."
            L"\nCMyDwgFiler::readHardPointerId未实现."
            L"\nCMyDwgFiler::writeHardPointerId未实现."
            L"\nCMyDwgFiler::readSoftPointerId未实现."
            L"\nCMyDwgFiler::writeSoftPointerId未实现."
            L"\nCMyDwgFiler::writeSoftPointerId未实现."
            L"\nCMyDwgFiler::writeSoftPointerId未实现.");
}

TEST(RDDwgFilerTest, RunTimeClassIsFoundInTheClassDictionary) {
  AcRxClass* cls = newAcRxClass(L"CRDDwgFiler", L"AcDbDwgFiler");
  ASSERT_NE(cls, nullptr);
  CRDDwgFiler filer;
  EXPECT_EQ(CRDDwgFiler::desc(), cls);
  EXPECT_EQ(filer.isA(), cls);
  EXPECT_EQ(CRDDwgFiler::gpDesc, cls);
  EXPECT_EQ(CRDDwgFiler::cast(&filer), &filer);
  EXPECT_EQ(std::wstring(filer.isA()->name()), L"CRDDwgFiler");
  AcRxDictionary other;
  EXPECT_EQ(CRDDwgFiler::cast(&other), nullptr);
  EXPECT_EQ(CRDDwgFiler::cast(nullptr), nullptr);
}

}  // namespace
