#include "persist/RDUserConfig.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <unordered_map>
#include <vector>

#include "common/format.h"
#include "common/text.h"
#include "persist/XMLPrivateProfile.h"
#include "services/paths.h"

namespace RDUserConfig {
namespace {

constexpr const wchar_t* kSection = L"Road";
constexpr const wchar_t* kRoot = L"config";

enum EState { kNotLoaded = 0, kAbsent = 1, kStored = 2, kChanged = 3 };

struct Record {
  std::wstring name;
  std::wstring upper;  // sort and lookup key
  EValueType type = kStrVar;
  bool registered = false;
  int state = kNotLoaded;
  int intValue = 0;
  double doubleValue = 0.0;
  std::wstring strValue;
};

// Invariants:
//   1. records is sorted by upper (ordinal), and no two records have the same upper name.
//   2. byUpper maps every record's upper name to that record and holds nothing else.
//   3. Until fileRead, fileTexts is empty. Afterwards fileTexts maps each key of section "Road"
//      to the non-empty text a read of it gives: the file's as read once, or the text a later
//      successful Save() wrote (a key saved empty is absent).
struct Table {
  std::vector<std::unique_ptr<Record>> records;
  std::unordered_map<std::wstring, Record*> byUpper;
  std::wstring key;  // reused lookup buffer: getters do not allocate
  bool fileRead = false;
  std::unordered_map<std::wstring, std::wstring> fileTexts;
};

Table& TheTable() {
  static Table table;
  return table;
}

Record* Lookup(const wchar_t* name) {
  Table& t = TheTable();
  t.key.assign(kw::View(name));
  for (wchar_t& c : t.key) c = kw::ToUpperChar(c);
  auto found = t.byUpper.find(t.key);
  return found == t.byUpper.end() ? nullptr : found->second;
}

// A new record, inserted before the first record whose upper name is greater.
Record* Insert(const wchar_t* name, EValueType type) {
  Table& t = TheTable();
  auto record = std::make_unique<Record>();
  record->name = kw::View(name);
  record->upper = kw::ToUpper(record->name);
  record->type = type;
  auto at = std::upper_bound(
      t.records.begin(), t.records.end(), record->upper,
      [](const std::wstring& key, const std::unique_ptr<Record>& r) { return key < r->upper; });
  Record* raw = record.get();
  t.byUpper.emplace(raw->upper, raw);
  t.records.insert(at, std::move(record));
  return raw;
}

// The settings file; "" (and the reason in *why) when there is no usable per-user folder.
std::wstring ProfilePath(std::wstring* why) {
  std::wstring folder = KWRDPub::GetCurUserKeldornPath();
  if (folder.empty()) {
    if (why != nullptr) *why = L"无法保存用户变量: " + KWRDPub::GetCurUserKeldornProblem();
    return {};
  }
  return folder + L"/SoftConfig.xml";
}

// Reads the file once: one parse, one pass over section "Road".
void ReadFile(Table& t) {
  t.fileRead = true;
  std::wstring path = ProfilePath(nullptr);
  if (path.empty()) return;
  CXMLPrivateProfile profile(path.c_str(), kRoot);
  profile.VisitValues(kSection, [&t](const std::wstring& key, const std::wstring& text) {
    t.fileTexts.emplace(key, text);  // the first of a repeated key counts
  });
}

void LoadRecord(const Table& t, Record& r) {
  auto found = t.fileTexts.find(r.name);
  r.state = found == t.fileTexts.end() ? kAbsent : kStored;
  if (r.state == kAbsent) return;
  const std::wstring& text = found->second;
  if (r.type == kIntVar) {
    r.intValue = kw::WToI(text);
  } else if (r.type == kDoubleVar) {
    r.doubleValue = CXMLPrivateProfile::ParseDouble(text);
  } else {
    r.strValue = text;
  }
}

void LoadTable() {
  Table& t = TheTable();
  if (!t.fileRead) ReadFile(t);
  for (auto& r : t.records) {
    if (r->state == kNotLoaded) LoadRecord(t, *r);
  }
}

// The record of name, created with the getter's type and default when unknown, and loaded.
template <typename SetDefault>
Record& Resolve(const wchar_t* name, EValueType type, SetDefault setDefault) {
  Record* r = Lookup(name);
  if (r == nullptr) {
    r = Insert(name, type);
    setDefault(*r);
  }
  if (r->state == kNotLoaded) LoadTable();
  return *r;
}

std::wstring TextOf(const Record& r) {
  switch (r.type) {
    case kIntVar:
      return kw::FormatW(L"%d", r.intValue);
    case kDoubleVar:
      return CXMLPrivateProfile::FormatDouble(r.doubleValue, false);
    default:
      return r.strValue;
  }
}

Record& Changed(const wchar_t* name, EValueType type) {
  Record* r = Lookup(name);
  if (r == nullptr) r = Insert(name, type);
  r->type = type;
  r->state = kChanged;
  return *r;
}

}  // namespace

void RegisterVar(const wchar_t* name, EValueType type, void* defaultValue) {
  if (Record* r = Lookup(name)) {
    r->registered = true;
    return;
  }
  Record* r = Insert(name, type);
  r->registered = true;
  if (defaultValue == nullptr) return;
  if (type == kDoubleVar) {
    r->doubleValue = *static_cast<double*>(defaultValue);
  } else if (type == kStrVar) {
    r->strValue = static_cast<const wchar_t*>(defaultValue);
  } else {
    r->intValue = *static_cast<int*>(defaultValue);
  }
}

bool IsRegisterVar(const wchar_t* name) {
  Record* r = Lookup(name);
  return r != nullptr && r->registered;
}

int GetIntVar(const wchar_t* name, int defaultValue) {
  Record& r = Resolve(name, kIntVar, [&](Record& n) { n.intValue = defaultValue; });
  if (r.type == kIntVar) return r.intValue;
  if (r.type == kStrVar) return kw::WToI(r.strValue);
  double truncated = std::trunc(r.doubleValue);
  if (!(truncated > -2147483649.0 && truncated < 2147483648.0)) return 0;
  return static_cast<int>(truncated);
}

double GetDoubleVar(const wchar_t* name, double defaultValue) {
  Record& r = Resolve(name, kDoubleVar, [&](Record& n) { n.doubleValue = defaultValue; });
  if (r.type == kDoubleVar) return r.doubleValue;
  if (r.type == kIntVar) return r.intValue;
  return kw::WToF(r.strValue);
}

std::wstring GetStrVar(const wchar_t* name, const wchar_t* defaultValue) {
  Record& r = Resolve(name, kStrVar, [&](Record& n) { n.strValue = kw::View(defaultValue); });
  return TextOf(r);
}

void SetVar(const wchar_t* name, const wchar_t* value) {
  Changed(name, kStrVar).strValue = kw::View(value);
}

void SetVar(const wchar_t* name, int value) {
  Changed(name, kIntVar).intValue = value;
}

void SetVar(const wchar_t* name, double value) {
  Changed(name, kDoubleVar).doubleValue = value;
}

EValueType VarValueType(const wchar_t* name) {
  Record* r = Lookup(name);
  return r ? r->type : kStrVar;
}

int Count() {
  return static_cast<int>(TheTable().records.size());
}

std::wstring Item(int index) {
  const auto& records = TheTable().records;
  if (index < 0 || index >= static_cast<int>(records.size())) return {};
  return records[static_cast<size_t>(index)]->name;
}

int Find(const wchar_t* name) {
  Record* r = Lookup(name);
  if (r == nullptr) return -1;
  const auto& records = TheTable().records;
  auto at = std::lower_bound(
      records.begin(), records.end(), r->upper,
      [](const std::unique_ptr<Record>& x, const std::wstring& key) { return x->upper < key; });
  return static_cast<int>(at - records.begin());
}

bool Save(std::wstring* error) {
  Table& t = TheTable();
  std::vector<Record*> changed;
  for (auto& r : t.records) {
    if (r->state == kChanged) changed.push_back(r.get());
  }
  if (changed.empty()) return true;
  std::wstring why;
  std::wstring path = ProfilePath(&why);
  bool stored = false;
  if (!path.empty()) {
    CXMLPrivateProfile profile(path.c_str(), kRoot);
    for (Record* r : changed) profile.WriteValue(kSection, r->name.c_str(), TextOf(*r).c_str());
    stored = profile.Close();
    if (!stored) why = kw::FormatW(L"无法保存用户变量到 %s", path.c_str());
  }
  if (!stored) {
    if (error != nullptr) *error = why;
    return false;
  }
  for (Record* r : changed) {
    r->state = kStored;
    std::wstring text = TextOf(*r);
    if (!t.fileRead) continue;
    if (text.empty()) {
      t.fileTexts.erase(r->name);
    } else {
      t.fileTexts[r->name] = std::move(text);
    }
  }
  return true;
}

std::vector<VarText> RegisteredVars() {
  std::vector<VarText> vars;
  for (int i = 0; i < Count(); ++i) {
    const Record& r = *TheTable().records[static_cast<size_t>(i)];
    if (r.registered) vars.push_back({r.name, GetStrVar(r.name.c_str(), nullptr)});
  }
  return vars;
}

void Clear() {
  Table& t = TheTable();
  t.records.clear();
  t.byUpper.clear();
  t.fileRead = false;
  t.fileTexts.clear();
}

}  // namespace RDUserConfig
