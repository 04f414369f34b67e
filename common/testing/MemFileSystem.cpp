// Invariants:
//  1. Every key of files_, dirs_ and modes_ is normal (Normalize gives it back unchanged).
//  2. The parent folder of every file and of every folder but "/" is in dirs_; "/" always is.
//  3. No path is both a file and a folder.
//  4. A failed operation changes nothing.
#include "common/testing/MemFileSystem.h"

#include <utility>

namespace kwtest {
namespace {

bool IsSeparator(wchar_t c) {
  return c == L'/' || c == L'\\';
}

// The normal path's parent ("/" for a child of the root).
std::wstring ParentOfNormal(const std::wstring& normal) {
  const size_t slash = normal.rfind(L'/');
  return slash == 0 ? std::wstring(L"/") : normal.substr(0, slash);
}

std::wstring ChildPrefix(const std::wstring& dir) {
  return dir == L"/" ? dir : dir + L"/";
}

}  // namespace

std::wstring MemFileSystem::Normalize(std::wstring_view path) {
  std::vector<std::wstring_view> parts;
  size_t at = 0;
  while (at < path.size()) {
    size_t end = at;
    while (end < path.size() && !IsSeparator(path[end])) ++end;
    const std::wstring_view part = path.substr(at, end - at);
    if (part == L"..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != L".") {
      parts.push_back(part);
    }
    at = end + 1;
  }
  std::wstring out;
  for (std::wstring_view part : parts) (out += L'/') += part;
  return out.empty() ? std::wstring(L"/") : out;
}

void MemFileSystem::AddFile(const std::wstring& path, std::string bytes) {
  const std::wstring normal = Normalize(path);
  if (normal == L"/" || dirs_.count(normal) != 0 || !MakeFolders(ParentOfNormal(normal))) return;
  files_[normal] = std::move(bytes);
}

void MemFileSystem::MarkOpenToOthers(const std::wstring& dir, bool sticky) {
  Mode& mode = modes_[Normalize(dir)];
  mode.open = true;
  mode.sticky = sticky;
}

void MemFileSystem::MarkForeignOwner(const std::wstring& dir) {
  modes_[Normalize(dir)].foreign = true;
}

bool MemFileSystem::ReadFile(const std::wstring& path, std::string* bytes, uint64_t max_bytes) {
  const auto found = files_.find(Normalize(path));
  if (found == files_.end() || found->second.size() > max_bytes) return false;
  *bytes = found->second;
  return true;
}

bool MemFileSystem::WriteFileAtomic(const std::wstring& path, std::string_view bytes) {
  const std::wstring normal = Normalize(path);
  if (read_only_ || normal == L"/" || dirs_.count(normal) != 0) return false;
  if (dirs_.count(ParentOfNormal(normal)) == 0) return false;
  files_[normal].assign(bytes);
  return true;
}

bool MemFileSystem::IsFile(const std::wstring& path) {
  return files_.count(Normalize(path)) != 0;
}

bool MemFileSystem::IsDirectory(const std::wstring& path) {
  return dirs_.count(Normalize(path)) != 0;
}

bool MemFileSystem::CreateDirectories(const std::wstring& path) {
  const std::wstring normal = Normalize(path);
  if (dirs_.count(normal) != 0) return true;
  return !read_only_ && MakeFolders(normal);
}

bool MemFileSystem::RemoveFile(const std::wstring& path) {
  return !read_only_ && files_.erase(Normalize(path)) != 0;
}

bool MemFileSystem::ListFiles(const std::wstring& dir, std::vector<std::wstring>* names) {
  names->clear();
  const std::wstring normal = Normalize(dir);
  if (dirs_.count(normal) == 0) return false;
  const std::wstring prefix = ChildPrefix(normal);
  for (auto it = files_.lower_bound(prefix); it != files_.end(); ++it) {
    const std::wstring& file = it->first;
    if (file.compare(0, prefix.size(), prefix) != 0) break;
    if (file.find(L'/', prefix.size()) == std::wstring::npos) {
      names->push_back(file.substr(prefix.size()));
    }
  }
  return true;
}

kw::FolderTrust MemFileSystem::CheckPrivateFolder(const std::wstring& path, std::wstring* culprit) {
  std::wstring dir = Normalize(path);
  if (dirs_.count(dir) == 0) return kw::FolderTrust::kMissing;
  for (bool top = true;; top = false) {
    const kw::FolderTrust trust = TrustOf(dir, top);
    if (trust != kw::FolderTrust::kPrivate) {
      if (culprit != nullptr) *culprit = dir;
      return trust;
    }
    if (dir == L"/") return kw::FolderTrust::kPrivate;
    dir = ParentOfNormal(dir);
  }
}

// Makes the normal folder and its missing parents; fails, making nothing, when a file stands on
// the way.
bool MemFileSystem::MakeFolders(const std::wstring& normal) {
  std::vector<std::wstring> missing;
  for (std::wstring dir = normal; dirs_.count(dir) == 0; dir = ParentOfNormal(dir)) {
    if (files_.count(dir) != 0) return false;
    missing.push_back(dir);
  }
  dirs_.insert(missing.begin(), missing.end());
  return true;
}

// The folder itself must be closed to others; a folder above it may be open when sticky.
kw::FolderTrust MemFileSystem::TrustOf(const std::wstring& dir, bool top) const {
  const auto found = modes_.find(dir);
  if (found == modes_.end()) return kw::FolderTrust::kPrivate;
  const Mode& mode = found->second;
  if (mode.foreign) return kw::FolderTrust::kForeignOwner;
  const bool open = mode.open && (top || !mode.sticky);
  return open ? kw::FolderTrust::kOpenToOthers : kw::FolderTrust::kPrivate;
}

}  // namespace kwtest
