#include "persist/RoadObjectBin.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/guid.h"
#include "common/testing/TempDir.h"

namespace KWCommonUtils {
namespace {

// How a module uses the framework: an object with fields of its own, written after the base
// fields, and a manager that names the folder, the extension and the factory.
class CLaneObject : public CRoadObjectBin {
 public:
  using CRoadObjectBin::FileTitle;
  using CRoadObjectBin::SetFileTitle;
  double m_dWidth = 3.5;
  int32_t m_nLanes = 2;

 protected:
  bool SaveFiler(CRDDwgFiler& filer) const override {
    CRoadObjectBin::SaveFiler(filer);
    filer.writeDouble(m_dWidth);
    filer.writeInt32(m_nLanes);
    return true;
  }
  bool LoadFiler(CRDDwgFiler& filer, std::wstring& error) override {
    CRoadObjectBin::LoadFiler(filer, error);
    filer.readDouble(&m_dWidth);
    filer.readInt32(&m_nLanes);
    if (filer.filerStatus() != Acad::eOk) {
      error = L"lane data damaged";
      return false;
    }
    return true;
  }
  bool OnAfterLoad(std::wstring& error) override {
    if (m_nLanes >= 0) return true;
    error = L"negative lanes";
    return false;
  }
};

class CLaneManager : public CRoadObjectBinManager {
 public:
  explicit CLaneManager(std::wstring folder) : m_folder(std::move(folder)) {}
  CLaneObject* Lane(int i) const { return static_cast<CLaneObject*>(Item(i)); }

 protected:
  std::wstring FilePath() const override { return m_folder; }
  std::wstring FileExt() const override { return L".lan"; }
  CRoadObjectBin* LoadRoadObjectData(void* data, int size, std::wstring& error) override {
    auto* lane = new CLaneObject;
    if (lane->Load(data, size, error)) return lane;
    delete lane;
    return nullptr;
  }

 private:
  std::wstring m_folder;
};

constexpr GUID kId = {0x12345678, 0x9ABC, 0xDEF0, {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0}};
constexpr GUID kOtherId = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

class RoadObjectBinTest : public ::testing::Test {
 protected:
  void SetUp() override { m_folder = kw::WidePath(m_dir) + L"/lanes"; }

  CLaneObject* AddLane(CLaneManager& manager, const wchar_t* name, GUID id) {
    auto* lane = new CLaneObject;
    lane->SetName(name);
    lane->SetID(id);
    manager.Add(lane);
    return lane;
  }
  std::vector<std::wstring> Files() const {
    std::vector<std::wstring> names;
    kw::Fs().ListFiles(m_folder, &names);
    return names;
  }
  std::string Read(const std::wstring& name) const {
    std::string bytes;
    kw::Fs().ReadFile(m_folder + L"/" + name, &bytes);
    return bytes;
  }
  void Write(const std::wstring& name, const std::string& bytes) const {
    kw::Fs().CreateDirectories(m_folder);
    ASSERT_TRUE(kw::Fs().WriteFileAtomic(m_folder + L"/" + name, bytes));
  }

  kwtest::TempDir m_temp{"kw_roadbin"};
  std::string m_dir = m_temp.path();
  std::wstring m_folder;
};

TEST_F(RoadObjectBinTest, FileHoldsNameIdDescThenDerivedFields) {
  CLaneManager manager(m_folder);
  CLaneObject* lane = AddLane(manager, L"Bridge", kId);
  lane->SetDesc(L"d");
  ASSERT_TRUE(manager.Save(0));
  const std::wstring name = L"Bridge{12345678-9ABC-DEF0-1234-56789ABCDEF0}.lan";
  EXPECT_EQ(Files(), std::vector<std::wstring>{name});
  std::string expected("\x0C\0\0\0\x01", 5);
  expected += kw::ToUtf16LEBytes(L"Bridge");
  expected += std::string("\x78\x56\x34\x12\xBC\x9A\xF0\xDE\x12\x34\x56\x78\x9A\xBC\xDE\xF0", 16);
  expected += std::string("\x02\0\0\0\x01", 5) + kw::ToUtf16LEBytes(L"d");
  expected += std::string("\0\0\0\0\0\0\x0C\x40", 8) + std::string("\x02\0\0\0", 4);
  EXPECT_EQ(Read(name), expected);
  EXPECT_EQ(lane->FileTitle(), L"Bridge{12345678-9ABC-DEF0-1234-56789ABCDEF0}");
}

TEST_F(RoadObjectBinTest, RoundTripThroughLoadAllKeepsEveryField) {
  std::map<std::wstring, double> reference;
  {
    CLaneManager manager(m_folder);
    for (int i = 0; i < 5; ++i) {
      CLaneObject* lane = AddLane(manager, (L"L" + std::to_wstring(i)).c_str(), GUID_NULL);
      lane->CreateGUID();
      lane->m_dWidth = 3.0 + i;
      lane->SetDesc(L"说明" + std::to_wstring(i));
      reference[lane->Name()] = lane->m_dWidth;
    }
    ASSERT_TRUE(manager.SaveAll());
  }
  CLaneManager loaded(m_folder);
  std::vector<std::wstring> errors;
  ASSERT_TRUE(loaded.LoadAll(errors));
  EXPECT_TRUE(errors.empty());
  ASSERT_EQ(loaded.Count(), 5);
  std::map<std::wstring, double> actual;
  for (int i = 0; i < loaded.Count(); ++i)
    actual[loaded.Lane(i)->Name()] = loaded.Lane(i)->m_dWidth;
  EXPECT_EQ(actual, reference);
  EXPECT_EQ(loaded.Lane(2)->Desc(), L"说明2");
}

TEST_F(RoadObjectBinTest, RenameAndSaveLeavesOnlyTheNewFile) {
  CLaneManager manager(m_folder);
  CLaneObject* lane = AddLane(manager, L"A", kId);
  ASSERT_TRUE(manager.Save(kId));
  lane->SetName(L"B");
  ASSERT_TRUE(manager.Save(kId));
  EXPECT_EQ(Files(), std::vector<std::wstring>{L"B{12345678-9ABC-DEF0-1234-56789ABCDEF0}.lan"});
}

// The folder of a case-blind file system: a name in any case is the one file listed.
class CaseBlindFs : public kw::FaultyFileSystem {
 public:
  CaseBlindFs() : kw::FaultyFileSystem(kw::PosixFs()) {}
  bool ListFiles(const std::wstring& dir, std::vector<std::wstring>* names) override {
    kw::FaultyFileSystem::ListFiles(dir, names);
    names->resize(std::min<size_t>(names->size(), 1));
    return true;
  }
  bool RemoveFile(const std::wstring& path) override {
    removed.push_back(kw::FileNameOf(path));
    return kw::FaultyFileSystem::RemoveFile(path);
  }
  std::vector<std::wstring> removed;
};

TEST_F(RoadObjectBinTest, RenamingOnlyTheCaseLeavesOnlyTheNewFile) {
  {
    CLaneManager manager(m_folder);
    CLaneObject* lane = AddLane(manager, L"Bridge", kId);
    ASSERT_TRUE(manager.Save(0));
    lane->SetName(L"BRIDGE");
    lane->m_dWidth = 7;
    ASSERT_TRUE(manager.Save(0));
  }
  EXPECT_EQ(Files(),
            std::vector<std::wstring>{L"BRIDGE{12345678-9ABC-DEF0-1234-56789ABCDEF0}.lan"});
  CLaneManager loaded(m_folder);
  std::vector<std::wstring> errors;
  ASSERT_TRUE(loaded.LoadAll(errors));
  ASSERT_EQ(loaded.Count(), 1);
  EXPECT_EQ(loaded.Lane(0)->Name(), L"BRIDGE");
  EXPECT_EQ(loaded.Lane(0)->m_dWidth, 7);
}

TEST_F(RoadObjectBinTest, ACaseBlindFolderKeepsTheFileWhenOnlyTheCaseChanged) {
  CLaneManager manager(m_folder);
  CLaneObject* lane = AddLane(manager, L"A", kId);
  const std::wstring lower = L"a{12345678-9abc-def0-1234-56789abcdef0}";
  Write(lower + L".lan", "old");
  lane->SetFileTitle(lower.c_str());
  CaseBlindFs fs;
  kw::ScopedFileSystem scope(&fs);
  ASSERT_TRUE(manager.Save(0));
  EXPECT_TRUE(fs.removed.empty());
}

TEST_F(RoadObjectBinTest, ACopyLoadedBesideItsOriginalNeverTouchesTheOriginalsFile) {
  CLaneManager writer(m_folder);
  AddLane(writer, L"Bridge", kId)->m_dWidth = 5;
  ASSERT_TRUE(writer.Save(0));
  const std::wstring name = L"Bridge{12345678-9ABC-DEF0-1234-56789ABCDEF0}.lan";
  const std::string original = Read(name);

  CLaneManager manager(m_folder);
  std::wstring error;
  const std::wstring path = m_folder + L"/" + name;
  ASSERT_NE(manager.Load(path.c_str(), error, false), nullptr);
  auto* copy = static_cast<CLaneObject*>(manager.Load(path.c_str(), error, false));
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->FileTitle(), L"");
  copy->m_dWidth = 9;
  ASSERT_TRUE(manager.Save(1));
  EXPECT_EQ(Files().size(), 2u);
  EXPECT_EQ(Read(name), original);
  manager.Remove(1, true, true);
  EXPECT_EQ(Files(), std::vector<std::wstring>{name});
  EXPECT_EQ(Read(name), original);
}

// A file loaded from elsewhere has no file in the folder: saving it never removes the folder's
// file that happens to bear the same title.
TEST_F(RoadObjectBinTest, AnObjectLoadedFromOutsideTheFolderHasNoFileInIt) {
  CLaneManager writer(m_folder);
  AddLane(writer, L"Other", kOtherId);
  ASSERT_TRUE(writer.Save(0));
  const std::wstring title = L"Other{00000001-0002-0003-0405-060708090A0B}";
  const std::wstring outside = kw::WidePath(m_dir) + L"/" + title + L".lan";
  CLaneObject stranger;
  stranger.SetName(L"Stranger");
  stranger.SetID(kId);
  void* data = nullptr;
  int size = 0;
  ASSERT_TRUE(stranger.Save(data, size));
  ASSERT_TRUE(kw::Fs().WriteFileAtomic(outside, std::string(static_cast<char*>(data), size)));
  delete[] static_cast<unsigned char*>(data);

  CLaneManager manager(m_folder);
  std::wstring error;
  CRoadObjectBin* loaded = manager.Load(outside.c_str(), error, true);
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(static_cast<CLaneObject*>(loaded)->FileTitle(), L"");
  ASSERT_TRUE(manager.Save(0));
  EXPECT_EQ(Files(), (std::vector<std::wstring>{
                         title + L".lan", L"Stranger{12345678-9ABC-DEF0-1234-56789ABCDEF0}.lan"}));
}

// Objects whose own fields run out of memory while they load or save.
class CStarvingLane : public CLaneObject {
 protected:
  bool SaveFiler(CRDDwgFiler&) const override { throw std::bad_alloc(); }
  bool LoadFiler(CRDDwgFiler&, std::wstring&) override { throw std::bad_alloc(); }
};

class CStarvingManager : public CLaneManager {
 public:
  using CLaneManager::CLaneManager;

 protected:
  CRoadObjectBin* LoadRoadObjectData(void* data, int size, std::wstring& error) override {
    auto* lane = new CStarvingLane;
    if (lane->Load(data, size, error)) return lane;
    delete lane;
    throw std::bad_alloc();
  }
};

TEST_F(RoadObjectBinTest, RunningOutOfMemoryIsAFailedLoadOrSave) {
  CLaneManager writer(m_folder);
  AddLane(writer, L"A", kId);
  ASSERT_TRUE(writer.Save(0));
  CStarvingManager manager(m_folder);
  std::vector<std::wstring> errors;
  EXPECT_FALSE(manager.LoadAll(errors));
  std::wstring error;
  EXPECT_EQ(manager.Load((m_folder + L"/" + Files()[0]).c_str(), error, true), nullptr);
  EXPECT_EQ(manager.Count(), 0);
  auto* lane = new CStarvingLane;
  lane->SetName(L"B");
  manager.Add(lane);
  EXPECT_FALSE(manager.Save(0));
  EXPECT_EQ(Files().size(), 1u);
}

TEST_F(RoadObjectBinTest, UnsafeNamesAreRefusedAndWriteNothing) {
  CLaneManager manager(m_folder);
  for (const wchar_t* name : {L"../x", L"a\\b", L".", L".."}) AddLane(manager, name, kId);
  EXPECT_FALSE(manager.SaveAll());
  for (int i = 0; i < 4; ++i) EXPECT_FALSE(manager.Save(i));
  EXPECT_TRUE(Files().empty());
  EXPECT_FALSE(std::filesystem::exists(m_dir + "/x{12345678-9ABC-DEF0-1234-56789ABCDEF0}.lan"));
  EXPECT_FALSE(manager.Save(7));
}

TEST_F(RoadObjectBinTest, FailedSaveKeepsThePreviousFileAndTheOldName) {
  CLaneManager manager(m_folder);
  CLaneObject* lane = AddLane(manager, L"A", kId);
  ASSERT_TRUE(manager.Save(0));
  const std::wstring oldName = Files()[0];
  const std::string before = Read(oldName);
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  faulty.FailWrites();
  lane->m_dWidth = 99;
  EXPECT_FALSE(manager.Save(0));
  lane->SetName(L"B");
  EXPECT_FALSE(manager.Save(0));
  EXPECT_EQ(Files(), std::vector<std::wstring>{oldName});
  EXPECT_EQ(Read(oldName), before);
  EXPECT_EQ(lane->FileTitle() + L".lan", oldName);
}

TEST_F(RoadObjectBinTest, SameIdTwiceReplacesUnderLoadAllAndCopiesUnderLoad) {
  CLaneManager writer(m_folder);
  AddLane(writer, L"First", kId);
  AddLane(writer, L"Second", kId);
  AddLane(writer, L"Other", kOtherId);
  ASSERT_TRUE(writer.SaveAll());

  CLaneManager all(m_folder);
  std::vector<std::wstring> errors;
  ASSERT_TRUE(all.LoadAll(errors));
  // Name order: First..., Other..., Second...: the later file takes the earlier one's place.
  ASSERT_EQ(all.Count(), 2);
  EXPECT_EQ(all.Item(0)->Name(), L"Second");
  EXPECT_EQ(all.Item(1)->Name(), L"Other");

  CLaneManager copies(m_folder);
  std::wstring error;
  const std::wstring first = m_folder + L"/First{12345678-9ABC-DEF0-1234-56789ABCDEF0}.lan";
  const std::wstring second = m_folder + L"/Second{12345678-9ABC-DEF0-1234-56789ABCDEF0}.lan";
  ASSERT_NE(copies.Load(first.c_str(), error, false), nullptr);
  CRoadObjectBin* copy = copies.Load(second.c_str(), error, false);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copies.Count(), 2);
  EXPECT_EQ(copies.Item(0)->ID(), kId);
  EXPECT_NE(copy->ID(), kId);
  EXPECT_NE(copy->ID(), GUID_NULL);
  EXPECT_EQ(copies.Load((m_folder + L"/missing.lan").c_str(), error, false), nullptr);
}

TEST_F(RoadObjectBinTest, LoadAllReportsEachBadFileAndKeepsObjectsWhoseCheckFailed) {
  CLaneManager writer(m_folder);
  AddLane(writer, L"Good", kId)->m_nLanes = 3;
  AddLane(writer, L"Negative", kOtherId)->m_nLanes = -1;
  ASSERT_TRUE(writer.SaveAll());
  Write(L"Short.lan", std::string("\x02\0\0\0", 4));
  Write(L"ignored.txt", "x");

  CLaneManager manager(m_folder);
  AddLane(manager, L"Stale", GUID_NULL);
  std::vector<std::wstring> errors;
  EXPECT_FALSE(manager.LoadAll(errors));
  const std::wstring negative = m_folder + L"/Negative{00000001-0002-0003-0405-060708090A0B}.lan";
  EXPECT_EQ(errors, (std::vector<std::wstring>{
                        L"negative lanes", L"文件\"" + negative + L"\"读取失败!",
                        L"lane data damaged", L"文件\"" + m_folder + L"/Short.lan\"读取失败!"}));
  ASSERT_EQ(manager.Count(), 2);
  EXPECT_EQ(manager.Item(0)->Name(), L"Good");
  EXPECT_EQ(manager.Item(1)->Name(), L"Negative");
}

TEST_F(RoadObjectBinTest, BaseFactoryRejectsEveryFileAndEmptyFolderEmptiesTheList) {
  CLaneManager writer(m_folder);
  AddLane(writer, L"A", kId);
  ASSERT_TRUE(writer.SaveAll());
  struct Plain : CRoadObjectBinManager {
    explicit Plain(std::wstring f) : m_f(std::move(f)) {}
    std::wstring FilePath() const override { return m_f; }
    std::wstring FileExt() const override { return L".lan"; }
    std::wstring m_f;
  } plain(m_folder);
  std::vector<std::wstring> errors;
  EXPECT_FALSE(plain.LoadAll(errors));
  EXPECT_EQ(plain.Count(), 0);
  ASSERT_EQ(errors.size(), 1u);

  CLaneManager empty(kw::WidePath(m_dir) + L"/none");
  AddLane(empty, L"X", kId);
  errors.clear();
  EXPECT_TRUE(empty.LoadAll(errors));
  EXPECT_EQ(empty.Count(), 0);
  EXPECT_TRUE(errors.empty());
}

TEST_F(RoadObjectBinTest, RemoveDeletesFileAndObjectIndependently) {
  CLaneManager manager(m_folder);
  CLaneObject* a = AddLane(manager, L"A", kId);
  AddLane(manager, L"B", kOtherId);
  ASSERT_TRUE(manager.SaveAll());
  manager.Remove(0, false, true);  // file gone, object alive and now ours
  EXPECT_EQ(a->Name(), L"A");
  delete a;
  EXPECT_EQ(Files().size(), 1u);
  manager.Remove(kOtherId, true, false);
  EXPECT_EQ(manager.Count(), 0);
  EXPECT_EQ(Files().size(), 1u);
  manager.Remove(3, true, true);
}

TEST_F(RoadObjectBinTest, TruncatedBytesLeaveLaterFieldsEmpty) {
  CLaneObject lane;
  lane.SetID(kOtherId);
  std::string bytes("\x02\0\0\0\x01x\0", 7);
  std::wstring error;
  lane.Load(bytes.data(), static_cast<int>(bytes.size()), error);
  EXPECT_EQ(lane.Name(), L"x");
  EXPECT_EQ(lane.ID(), kOtherId);
  EXPECT_EQ(lane.Desc(), L"");
  EXPECT_EQ(error, L"lane data damaged");

  void* data = nullptr;
  int size = 0;
  ASSERT_TRUE(lane.Save(data, size));
  EXPECT_EQ(size, 7 + 16 + 4 + 8 + 4);
  delete[] static_cast<unsigned char*>(data);
}

}  // namespace
}  // namespace KWCommonUtils
