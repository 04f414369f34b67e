#include "persist/RDUserConfig.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <unordered_map>
#include <vector>

#include "common/format.h"
#include "common/text.h"
#include "host/api/adesk.h"
#include "host/api/editor.h"
#include "persist/XMLPrivateProfile.h"
#include "services/paths.h"

namespace RDUserConfig {
namespace {

constexpr const wchar_t* kSection = L"Road";

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
struct Table {
  std::vector<std::unique_ptr<Record>> records;
  std::unordered_map<std::wstring, Record*> byUpper;
  std::wstring key;  // reused lookup buffer: getters do not allocate
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

std::wstring ProfilePath() {
  return KWRDPub::GetCurUserKeldornPath() + L"/SoftConfig.xml";
}

void LoadRecord(CXMLPrivateProfile& profile, Record& r) {
  bool found = false;
  if (r.type == kIntVar) {
    std::wstring text;
    found = profile.ReadValue(kSection, r.name.c_str(), text, nullptr) != 0;
    if (found) r.intValue = kw::WToI(text);
  } else if (r.type == kDoubleVar) {
    double value = 0.0;
    found = profile.ReadValue(kSection, r.name.c_str(), value, 0.0) != 0;
    if (found) r.doubleValue = value;
  } else {
    std::wstring text;
    found = profile.ReadValue(kSection, r.name.c_str(), text, nullptr) != 0;
    if (found) r.strValue = text;
  }
  r.state = found ? kStored : kAbsent;
}

void LoadTable() {
  CXMLPrivateProfile profile(ProfilePath().c_str(), L"config");
  for (auto& r : TheTable().records) {
    if (r->state == kNotLoaded) LoadRecord(profile, *r);
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

void Save() {
  auto& records = TheTable().records;
  bool changed = std::any_of(records.begin(), records.end(),
                             [](const auto& r) { return r->state == kChanged; });
  if (!changed) return;
  CXMLPrivateProfile profile(ProfilePath().c_str(), L"config");
  for (auto& r : records) {
    if (r->state != kChanged) continue;
    profile.WriteValue(kSection, r->name.c_str(), TextOf(*r).c_str());
    r->state = kStored;
  }
  profile.Close();
}

void Clear() {
  TheTable().records.clear();
  TheTable().byUpper.clear();
}

namespace {

constexpr size_t kAnswerChars = 2049;

void ListRegistered() {
  for (int i = 0; i < Count(); ++i) {
    Record& r = *TheTable().records[static_cast<size_t>(i)];
    if (r.registered)
      acutPrintf(L"\n%s\t\t%s", r.name.c_str(), GetStrVar(r.name.c_str(), nullptr).c_str());
  }
}

// Asks for the new value of a registered variable by its type and stores it on normal input.
void EditVariable(const wchar_t* answer) {
  std::wstring prompt =
      kw::FormatW(L"\n输入变量 %s 的新值 <%s>:", answer, GetStrVar(answer, nullptr).c_str());
  EValueType type = VarValueType(answer);
  if (type == kIntVar) {
    int value = 0;
    if (acedGetInt(prompt.c_str(), &value) != RTNORM) return;
    SetVar(answer, value);
  } else if (type == kDoubleVar) {
    double value = 0.0;
    if (acedGetReal(prompt.c_str(), &value) != RTNORM) return;
    SetVar(answer, value);
  } else {
    wchar_t value[kAnswerChars] = {};
    if (acedGetString(0, prompt.c_str(), value, kAnswerChars) != RTNORM) return;
    SetVar(answer, static_cast<const wchar_t*>(value));
  }
  Save();
}

}  // namespace

void RDVar() {
  wchar_t answer[kAnswerChars];
  for (;;) {
    answer[0] = L'\0';
    if (acedGetString(0, L"\n输入变量名或[?]:", answer, kAnswerChars) != RTNORM) return;
    if (answer[0] == L'\0') return;
    if (std::wstring_view(answer) == L"?") {
      ListRegistered();
    } else if (IsRegisterVar(answer)) {
      EditVariable(answer);
      return;
    } else {
      acutPrintf(L"\n不存在变量 %s", answer);
    }
  }
}

}  // namespace RDUserConfig
