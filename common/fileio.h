// The file-system seam. Every file and folder the project reads, writes, lists or removes goes
// through kw::Fs(), so that tests can swap in a failing file system (FaultyFileSystem below)
// and check that nothing is lost when a disk operation fails.
//
// Paths are wide strings; on disk they are UTF-8. Either "/" or "\\" is accepted as separator
// in paths handed in; paths handed out use "/".
//
// Saving is always atomic (WriteFileAtomic): the bytes go to a uniquely named temporary file in
// the same folder (created with O_EXCL and mode 0600, so nobody else can open it while it is
// written), the file gets its final mode (the replaced file's, or 0644 less the umask for a new
// one), is flushed with fsync, and is renamed over the final name, after which the folder is
// flushed too. On any failure the temporary file is removed and the previous file is left
// byte-identical. The final path is never opened for writing.
#ifndef KW_COMMON_FILEIO_H_
#define KW_COMMON_FILEIO_H_

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace kw {

inline constexpr uint64_t kNoSizeLimit = std::numeric_limits<uint64_t>::max();

// Whether a folder may hold one user's private files (settings another user must not plant or
// replace).
enum class FolderTrust {
  kPrivate,       // owned by the caller, and no folder on its path is open to others
  kMissing,       // not a folder (or not reachable)
  kForeignOwner,  // it, or a folder above it, belongs to another user (root may own those above)
  kOpenToOthers,  // it, or a folder above it without the sticky bit, is writable by others
};

// Contract of every operation: false (or an empty result) on failure, errno-style details are
// not reported; no operation throws.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  // The whole file into *bytes. Fails when the file cannot be opened or read, or holds more
  // than max_bytes (nothing is allocated for it then).
  virtual bool ReadFile(const std::wstring& path, std::string* bytes,
                        uint64_t max_bytes = kNoSizeLimit) = 0;
  // Replaces (or creates) the file atomically with exactly these bytes.
  virtual bool WriteFileAtomic(const std::wstring& path, std::string_view bytes) = 0;
  // Replaces (or creates) `to` atomically with the bytes `from` holds now; `from` is left as
  // it is. This default reads the file whole; a file system that can copy without holding the
  // bytes overrides it.
  virtual bool CopyFileAtomic(const std::wstring& from, const std::wstring& to) {
    std::string bytes;
    return ReadFile(from, &bytes) && WriteFileAtomic(to, bytes);
  }

  virtual bool IsFile(const std::wstring& path) = 0;
  virtual bool IsDirectory(const std::wstring& path) = 0;
  // Creates the folder and any missing parents; true when the folder exists afterwards.
  virtual bool CreateDirectories(const std::wstring& path) = 0;
  // Removes one file; false when it did not exist or could not be removed.
  virtual bool RemoveFile(const std::wstring& path) = 0;
  // Names (not paths) of the regular files directly in `dir`, sorted by name.
  virtual bool ListFiles(const std::wstring& dir, std::vector<std::wstring>* names) = 0;
  // Checks the folder (links resolved) and every folder above it. When the answer is not
  // kPrivate or kMissing, *culprit (when not null) gets the folder at fault. A file system
  // without owners (this default) has no other users: an existing folder is kPrivate.
  virtual FolderTrust CheckPrivateFolder(const std::wstring& path, std::wstring* culprit) {
    (void)culprit;
    return IsDirectory(path) ? FolderTrust::kPrivate : FolderTrust::kMissing;
  }
};

// Asks for large pages behind the room a buffer of file contents has reserved (many
// megabytes for a drawing): filling it then takes a page fault per 2 MiB instead of per 4 KiB.
// A hint only: nothing changes where the system refuses it or the buffer is small.
void PreferLargePages(std::string& buffer);

// The file system in use. Starts as the POSIX one.
FileSystem& Fs();
// Installs `fs` (null reinstalls the POSIX one) and returns the one installed before.
// The caller keeps ownership of `fs`.
FileSystem* SetFileSystem(FileSystem* fs);
FileSystem& PosixFs();

// Installs a file system for the lifetime of a scope (tests).
class ScopedFileSystem {
 public:
  explicit ScopedFileSystem(FileSystem* fs) : previous_(SetFileSystem(fs)) {}
  ~ScopedFileSystem() { SetFileSystem(previous_); }
  ScopedFileSystem(const ScopedFileSystem&) = delete;
  ScopedFileSystem& operator=(const ScopedFileSystem&) = delete;

 private:
  FileSystem* previous_;
};

// A failure-injecting wrapper: forwards to `base` until told to fail. Used by tests to prove that
// a failed save keeps the previous file and that failed reads give the caller's failure result.
class FaultyFileSystem : public FileSystem {
 public:
  explicit FaultyFileSystem(FileSystem& base) : base_(base) {}

  // The next `count` calls of the operation fail (a negative count: all of them, until reset).
  void FailWrites(int count = -1) { fail_writes_ = count; }
  void FailReads(int count = -1) { fail_reads_ = count; }
  void FailCreateDirectories(int count = -1) { fail_mkdirs_ = count; }
  void FailRemoves(int count = -1) { fail_removes_ = count; }
  void Reset() { fail_writes_ = fail_reads_ = fail_mkdirs_ = fail_removes_ = 0; }
  int writes() const { return writes_; }
  int reads() const { return reads_; }

  bool ReadFile(const std::wstring& path, std::string* bytes, uint64_t max_bytes) override;
  bool WriteFileAtomic(const std::wstring& path, std::string_view bytes) override;
  // Counts and fails as a write.
  bool CopyFileAtomic(const std::wstring& from, const std::wstring& to) override;
  bool IsFile(const std::wstring& path) override { return base_.IsFile(path); }
  bool IsDirectory(const std::wstring& path) override { return base_.IsDirectory(path); }
  bool CreateDirectories(const std::wstring& path) override;
  bool RemoveFile(const std::wstring& path) override;
  bool ListFiles(const std::wstring& dir, std::vector<std::wstring>* names) override {
    return base_.ListFiles(dir, names);
  }
  FolderTrust CheckPrivateFolder(const std::wstring& path, std::wstring* culprit) override {
    return base_.CheckPrivateFolder(path, culprit);
  }

 private:
  static bool Take(int& counter);

  FileSystem& base_;
  int fail_writes_ = 0;
  int fail_reads_ = 0;
  int fail_mkdirs_ = 0;
  int fail_removes_ = 0;
  int writes_ = 0;
  int reads_ = 0;
};

// A fault point of the POSIX WriteFileAtomic, for tests: called with the temporary file's path
// once it is created and again just before the rename (its bytes written and its final mode
// set). Returning false fails the save at that step, as a failed system call would. Null (the
// default) removes the probe.
enum class SaveStep { kCreated, kBeforeRename };
using SaveProbe = bool (*)(SaveStep step, const std::string& temp_path);
void SetSaveProbe(SaveProbe probe);

// Path text helpers (no disk access).
std::string NativePath(const std::wstring& path);  // UTF-8, "\\" turned into "/"
std::wstring WidePath(const std::string& native);  // UTF-8 to wide
std::wstring JoinPath(std::wstring_view dir, std::wstring_view name);  // one "/" between
std::wstring FileNameOf(std::wstring_view path);                       // after the last "/" or "\\"
std::wstring ParentOf(std::wstring_view path);  // before the last "/" or "\\" ("" if none)
std::wstring TrimSeparatorsRight(std::wstring_view path);  // "\\" and "/" cut from the right

// Convenience wrappers over Fs().
inline bool FileExists(const std::wstring& path) {
  return Fs().IsFile(path);
}
inline bool DirectoryExists(const std::wstring& path) {
  return Fs().IsDirectory(path);
}
inline bool CreateDirectories(const std::wstring& path) {
  return Fs().CreateDirectories(path);
}

}  // namespace kw

#endif  // KW_COMMON_FILEIO_H_
