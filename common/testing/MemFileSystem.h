// A file system held in memory, for tests and fuzz targets: installed with kw::ScopedFileSystem,
// it lets a test arrange files without touching the disk, and a fuzz target hand its input to a
// reader as a file while nothing it writes can reach the disk.
//
// It follows the kw::FileSystem contract as the POSIX one does on a fresh disk: a file is
// written only into an existing folder and never over a folder, a save replaces the whole file
// at once (there is no half-written state to see), listings are sorted by name, and a file over
// the reader's size limit is refused before anything is copied. "/" and "\\" both separate;
// repeated separators and "." are ignored, ".." goes up (never above the root); a relative path
// starts at the root. Links do not exist.
//
// The root folder "/" always exists. Folders have no owners or modes until a test marks them
// (MarkOpenToOthers, MarkForeignOwner), so that CheckPrivateFolder can give every answer the
// POSIX one gives. A read-only file system refuses every change and still reads.
//
// Not thread-safe; the caller owns the object and keeps it alive while it is installed.
#ifndef KW_COMMON_TESTING_MEMFILESYSTEM_H_
#define KW_COMMON_TESTING_MEMFILESYSTEM_H_

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "common/fileio.h"

namespace kwtest {

class MemFileSystem : public kw::FileSystem {
 public:
  MemFileSystem() = default;

  // Puts a file in place, making its folders, even when read-only (arranging a test's world).
  void AddFile(const std::wstring& path, std::string bytes);
  // When on, every write, removal and folder creation fails; reads go on.
  void SetReadOnly(bool read_only) { read_only_ = read_only; }
  // The folder is writable by others; with `sticky`, others keep to their own entries, which
  // makes a folder above a private one safe (as /tmp).
  void MarkOpenToOthers(const std::wstring& dir, bool sticky = false);
  // The folder belongs to another user (not root).
  void MarkForeignOwner(const std::wstring& dir);

  // The path as this file system names it: "/" then the parts joined by "/".
  static std::wstring Normalize(std::wstring_view path);

  bool ReadFile(const std::wstring& path, std::string* bytes,
                uint64_t max_bytes = kw::kNoSizeLimit) override;
  bool WriteFileAtomic(const std::wstring& path, std::string_view bytes) override;
  bool IsFile(const std::wstring& path) override;
  bool IsDirectory(const std::wstring& path) override;
  bool CreateDirectories(const std::wstring& path) override;
  bool RemoveFile(const std::wstring& path) override;
  bool ListFiles(const std::wstring& dir, std::vector<std::wstring>* names) override;
  kw::FolderTrust CheckPrivateFolder(const std::wstring& path, std::wstring* culprit) override;

 private:
  struct Mode {
    bool open = false;
    bool sticky = false;
    bool foreign = false;
  };

  bool MakeFolders(const std::wstring& normal);
  kw::FolderTrust TrustOf(const std::wstring& dir, bool top) const;

  std::map<std::wstring, std::string> files_;
  std::set<std::wstring> dirs_{L"/"};
  std::map<std::wstring, Mode> modes_;
  bool read_only_ = false;
};

}  // namespace kwtest

#endif  // KW_COMMON_TESTING_MEMFILESYSTEM_H_
