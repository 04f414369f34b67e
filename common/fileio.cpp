#include "common/fileio.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "common/encoding.h"

namespace kw {
namespace {

// Closes a descriptor when it leaves scope.
class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  ~Fd() {
    if (fd_ >= 0) ::close(fd_);
  }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  int get() const { return fd_; }
  bool ok() const { return fd_ >= 0; }
  // Closes now and reports whether the close (the last chance to see a write error) worked.
  bool Close() {
    const int fd = fd_;
    fd_ = -1;
    return ::close(fd) == 0;
  }

 private:
  int fd_;
};

bool WriteAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    const ssize_t n = ::write(fd, data, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

// Reads straight into the result: the size from fstat is the first guess, and the loop goes on
// until read reports the end (the file may have grown, or report no size at all).
bool ReadAll(int fd, std::string* bytes, uint64_t max_bytes) {
  struct stat st;
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) return false;
  if (static_cast<uint64_t>(st.st_size) > max_bytes) return false;
  size_t length = 0;
  size_t room = static_cast<size_t>(st.st_size) + 1;  // + 1: the end shows without a resize
  bytes->clear();
  for (;;) {
    if (max_bytes - length < room - 1) room = static_cast<size_t>(max_bytes - length + 1);
    try {
      bytes->reserve(length + room);
      PreferLargePages(*bytes);  // before the resize touches the pages
      bytes->resize(length + room);
    } catch (const std::bad_alloc&) {
      break;
    }
    const ssize_t n = ::read(fd, bytes->data() + length, room);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) break;
    length += static_cast<size_t>(n);
    if (length > max_bytes) break;  // grew meanwhile
    if (n == 0) {
      bytes->resize(length);
      return true;
    }
    room -= static_cast<size_t>(n);
    if (room == 0) room = std::max<size_t>(length, 65536);
  }
  bytes->clear();
  return false;
}

// Flushes a folder so that a rename inside it survives a crash.
void SyncDirectory(const std::string& dir) {
  Fd fd(::open(dir.empty() ? "." : dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd.ok()) ::fsync(fd.get());
}

std::string NativeParent(const std::string& native) {
  const size_t slash = native.rfind('/');
  if (slash == std::string::npos) return std::string();
  return slash == 0 ? std::string("/") : native.substr(0, slash);
}

// Creates a fresh temporary file beside `final_path` with O_EXCL; retries on a name collision.
// Mode 0600: until it has its final mode, only this process may open it.
int CreateTemporary(const std::string& final_path, std::string* temp_path) {
  for (int attempt = 0; attempt < 100; ++attempt) {
    static unsigned counter = 0;
    *temp_path =
        final_path + ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(++counter);
    const int fd = ::open(temp_path->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

// The process's file-creation mask, read without changing it (umask() would, for a moment, for
// every thread); 022 when the kernel does not report it.
mode_t CurrentUmask() {
  FILE* status = std::fopen("/proc/self/status", "re");
  if (status == nullptr) return 022;
  unsigned mask = 022;
  char line[256];
  while (std::fgets(line, sizeof line, status) != nullptr) {
    if (std::sscanf(line, "Umask: %o", &mask) == 1) break;
  }
  std::fclose(status);
  return static_cast<mode_t>(mask & 0777);
}

// The mode a save ends with: a replaced file keeps its permission bits; a new file gets what
// creating it directly would have given.
mode_t FinalMode(const std::string& final_path) {
  struct stat st;
  if (::stat(final_path.c_str(), &st) == 0) return st.st_mode & 0777;
  return 0644 & ~CurrentUmask();
}

SaveProbe g_saveProbe = nullptr;

bool Probe(SaveStep step, const std::string& temp_path) {
  return g_saveProbe == nullptr || g_saveProbe(step, temp_path);
}

// The one way a file is replaced: `fill` writes a fresh temporary file beside `final_path`,
// which gets its final mode, is flushed and renamed over `final_path`. On any failure the
// temporary file is removed and `final_path` is untouched.
template <class Fill>
bool ReplaceAtomically(const std::string& final_path, const Fill& fill) {
  std::string temp_path;
  Fd fd(CreateTemporary(final_path, &temp_path));
  if (!fd.ok()) return false;
  const bool written = Probe(SaveStep::kCreated, temp_path) && fill(fd.get()) &&
                       ::fchmod(fd.get(), FinalMode(final_path)) == 0 && ::fsync(fd.get()) == 0 &&
                       Probe(SaveStep::kBeforeRename, temp_path);
  if (!fd.Close() || !written || ::rename(temp_path.c_str(), final_path.c_str()) != 0) {
    ::unlink(temp_path.c_str());
    return false;
  }
  SyncDirectory(NativeParent(final_path));
  return true;
}

// Copies the rest of `from` to `to` inside the kernel, or through a small buffer where the
// kernel cannot (another file system, an old kernel).
bool CopyAll(int from, int to) {
  for (;;) {
    const ssize_t n = ::copy_file_range(from, nullptr, to, nullptr, size_t{1} << 30, 0);
    if (n == 0) return true;
    if (n > 0) continue;
    if (errno == EINTR) continue;
    if (errno != EXDEV && errno != ENOSYS && errno != EINVAL && errno != EOPNOTSUPP) return false;
    break;
  }
  char buffer[1 << 16];
  for (;;) {
    const ssize_t n = ::read(from, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return n == 0;
    if (!WriteAll(to, buffer, static_cast<size_t>(n))) return false;
  }
}

class PosixFileSystem : public FileSystem {
 public:
  bool ReadFile(const std::wstring& path, std::string* bytes, uint64_t max_bytes) override {
    Fd fd(::open(NativePath(path).c_str(), O_RDONLY | O_CLOEXEC));
    return fd.ok() && ReadAll(fd.get(), bytes, max_bytes);
  }

  bool WriteFileAtomic(const std::wstring& path, std::string_view bytes) override {
    return ReplaceAtomically(NativePath(path),
                             [&](int fd) { return WriteAll(fd, bytes.data(), bytes.size()); });
  }

  // The kernel copies the bytes (no buffer as large as the file in this process).
  bool CopyFileAtomic(const std::wstring& from, const std::wstring& to) override {
    Fd source(::open(NativePath(from).c_str(), O_RDONLY | O_CLOEXEC));
    struct stat st;
    if (!source.ok() || ::fstat(source.get(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    return ReplaceAtomically(NativePath(to), [&](int fd) { return CopyAll(source.get(), fd); });
  }

  bool IsFile(const std::wstring& path) override {
    struct stat st;
    return ::stat(NativePath(path).c_str(), &st) == 0 && S_ISREG(st.st_mode);
  }

  bool IsDirectory(const std::wstring& path) override {
    struct stat st;
    return ::stat(NativePath(path).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
  }

  bool CreateDirectories(const std::wstring& path) override {
    const std::string native = NativePath(path);
    if (native.empty()) return false;
    for (size_t pos = 1; pos <= native.size(); ++pos) {
      if (pos < native.size() && native[pos] != '/') continue;
      const std::string prefix = native.substr(0, pos);
      if (::mkdir(prefix.c_str(), 0755) != 0 && errno != EEXIST) return false;
    }
    return IsDirectory(path);
  }

  bool RemoveFile(const std::wstring& path) override {
    return ::unlink(NativePath(path).c_str()) == 0;
  }

  // The entry type from the directory spares a stat per file; only links and file systems
  // that do not report the type are asked. Names sort as UTF-8 bytes, which is code point order.
  bool ListFiles(const std::wstring& dir, std::vector<std::wstring>* names) override {
    names->clear();
    const std::string native = NativePath(dir);
    DIR* d = ::opendir(native.c_str());
    if (!d) return false;
    std::vector<std::string> found;
    while (const dirent* e = ::readdir(d)) {
      if (e->d_type == DT_REG || ((e->d_type == DT_UNKNOWN || e->d_type == DT_LNK) &&
                                  IsRegularAt(native + "/" + e->d_name))) {
        found.emplace_back(e->d_name);
      }
    }
    ::closedir(d);
    std::sort(found.begin(), found.end());
    names->reserve(found.size());
    for (const std::string& name : found) names->push_back(WidePath(name));
    return true;
  }

  FolderTrust CheckPrivateFolder(const std::wstring& path, std::wstring* culprit) override {
    char* resolved = ::realpath(NativePath(path).c_str(), nullptr);
    if (resolved == nullptr) return FolderTrust::kMissing;
    std::string dir = resolved;
    std::free(resolved);
    struct stat st;
    if (::stat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return FolderTrust::kMissing;
    for (bool top = true;; top = false) {
      FolderTrust trust = top ? TrustOfOwnFolder(st) : TrustOfFolderAbove(st);
      if (trust != FolderTrust::kPrivate) {
        if (culprit != nullptr) *culprit = WidePath(dir);
        return trust;
      }
      if (dir == "/") return FolderTrust::kPrivate;
      dir = NativeParent(dir);
      if (::stat(dir.c_str(), &st) != 0) return FolderTrust::kMissing;
    }
  }

 private:
  // The folder itself: the caller's own, and closed to others.
  static FolderTrust TrustOfOwnFolder(const struct stat& st) {
    if (st.st_uid != ::geteuid()) return FolderTrust::kForeignOwner;
    return (st.st_mode & S_IWOTH) ? FolderTrust::kOpenToOthers : FolderTrust::kPrivate;
  }

  // A folder above it: whoever may rename entries in it controls the path. Root's folders are
  // trusted; one writable by others only when its sticky bit keeps them to their own entries.
  static FolderTrust TrustOfFolderAbove(const struct stat& st) {
    if (st.st_uid != ::geteuid() && st.st_uid != 0) return FolderTrust::kForeignOwner;
    const bool open = (st.st_mode & S_IWOTH) && !(st.st_mode & S_ISVTX);
    return open ? FolderTrust::kOpenToOthers : FolderTrust::kPrivate;
  }

  static bool IsRegularAt(const std::string& native) {
    struct stat st;
    return ::stat(native.c_str(), &st) == 0 && S_ISREG(st.st_mode);
  }
};

FileSystem* g_current = nullptr;

bool IsSeparator(wchar_t c) {
  return c == L'/' || c == L'\\';
}

}  // namespace

void PreferLargePages(std::string& buffer) {
  constexpr uintptr_t kLargePage = uintptr_t{2} << 20;
  const auto begin = reinterpret_cast<uintptr_t>(buffer.data());
  const uintptr_t first = (begin + kLargePage - 1) & ~(kLargePage - 1);
  const uintptr_t last = (begin + buffer.capacity()) & ~(kLargePage - 1);
  if (last > first) ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}

FileSystem& PosixFs() {
  static PosixFileSystem posix;
  return posix;
}

FileSystem& Fs() {
  return g_current ? *g_current : PosixFs();
}

FileSystem* SetFileSystem(FileSystem* fs) {
  FileSystem* previous = &Fs();
  g_current = fs;
  return previous;
}

void SetSaveProbe(SaveProbe probe) {
  g_saveProbe = probe;
}

bool FaultyFileSystem::Take(int& counter) {
  if (counter == 0) return false;
  if (counter > 0) --counter;
  return true;
}

bool FaultyFileSystem::ReadFile(const std::wstring& path, std::string* bytes, uint64_t max_bytes) {
  ++reads_;
  return !Take(fail_reads_) && base_.ReadFile(path, bytes, max_bytes);
}

bool FaultyFileSystem::WriteFileAtomic(const std::wstring& path, std::string_view bytes) {
  ++writes_;
  return !Take(fail_writes_) && base_.WriteFileAtomic(path, bytes);
}

bool FaultyFileSystem::CopyFileAtomic(const std::wstring& from, const std::wstring& to) {
  ++writes_;
  return !Take(fail_writes_) && base_.CopyFileAtomic(from, to);
}

bool FaultyFileSystem::CreateDirectories(const std::wstring& path) {
  return !Take(fail_mkdirs_) && base_.CreateDirectories(path);
}

bool FaultyFileSystem::RemoveFile(const std::wstring& path) {
  return !Take(fail_removes_) && base_.RemoveFile(path);
}

std::string NativePath(const std::wstring& path) {
  std::string native = ToUtf8(path);
  std::replace(native.begin(), native.end(), '\\', '/');  // a backslash is never part of a
  return native;                                          // multi-byte UTF-8 sequence
}

std::wstring WidePath(const std::string& native) {
  return FromUtf8(native);
}

std::wstring JoinPath(std::wstring_view dir, std::wstring_view name) {
  std::wstring out(dir);
  while (!out.empty() && IsSeparator(out.back())) out.pop_back();
  size_t skip = 0;
  while (skip < name.size() && IsSeparator(name[skip])) ++skip;
  if (!dir.empty()) out += L'/';
  out += name.substr(skip);
  return out;
}

std::wstring FileNameOf(std::wstring_view path) {
  size_t start = path.size();
  while (start > 0 && !IsSeparator(path[start - 1])) --start;
  return std::wstring(path.substr(start));
}

std::wstring ParentOf(std::wstring_view path) {
  const size_t at = path.find_last_of(L"/\\");
  return at == std::wstring_view::npos ? std::wstring() : std::wstring(path.substr(0, at));
}

std::wstring TrimSeparatorsRight(std::wstring_view path) {
  size_t end = path.size();
  while (end > 0 && IsSeparator(path[end - 1])) --end;
  return std::wstring(path.substr(0, end));
}

}  // namespace kw
