// Kept groups of objects and the drawing's kept sections (see kept.h for the invariants).
#include "host/embedded/db/kept.h"

#include "host/embedded/db/store.h"

using kwhost::db::ObjectAccess;

KW_DB_DEFINE_NAMED_MEMBERS(kwhost::db::ProxyEntity, L"AcDbProxyEntity", AcDbEntity)
KW_DB_DEFINE_NAMED_MEMBERS(kwhost::db::ProxyObject, L"AcDbProxyObject", AcDbObject)

namespace kwhost::db {

Tags& KeptData::subclass(const std::string& marker) {
  for (auto& [name, tags] : subclasses) {
    if (name == marker) return tags;
  }
  subclasses.emplace_back(marker, Tags{});
  return subclasses.back().second;
}

const Tags* KeptData::findSubclass(const std::string& marker) const {
  for (const auto& [name, tags] : subclasses) {
    if (name == marker) return &tags;
  }
  return nullptr;
}

const KeptData* Kept(const AcDbObject& object) {
  return ObjectAccess::KeptSlot(object);
}

KeptData& KeptFor(AcDbObject& object) {
  KeptData*& slot = ObjectAccess::KeptSlot(object);
  if (!slot) slot = new KeptData();
  return *slot;
}

const Tags* DatabaseExtras::findHeader(const std::string& name) const {
  for (const auto& [key, tags] : header) {
    if (key == name) return &tags;
  }
  return nullptr;
}

void DatabaseExtras::setHeader(const std::string& name, Tags tags) {
  for (auto& [key, value] : header) {
    if (key == name) {
      value = std::move(tags);
      return;
    }
  }
  header.emplace_back(name, std::move(tags));
}

}  // namespace kwhost::db
