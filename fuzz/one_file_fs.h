// A file system that holds one file: every read returns the fuzz input (within the reader's
// size limit), every write, removal and folder creation fails. The targets that read files go
// through it so that no input ever touches the disk.
#ifndef KW_FUZZ_ONE_FILE_FS_H_
#define KW_FUZZ_ONE_FILE_FS_H_

#include <string>
#include <string_view>
#include <vector>

#include "common/fileio.h"

class OneFileSystem : public kw::FileSystem {
 public:
  OneFileSystem(const uint8_t* data, size_t size)
      : m_bytes(reinterpret_cast<const char*>(data), size) {}

  bool ReadFile(const std::wstring&, std::string* bytes, uint64_t max_bytes) override {
    if (m_bytes.size() > max_bytes) return false;
    *bytes = m_bytes;
    return true;
  }
  bool WriteFileAtomic(const std::wstring&, std::string_view) override { return false; }
  bool IsFile(const std::wstring&) override { return true; }
  bool IsDirectory(const std::wstring&) override { return true; }
  bool CreateDirectories(const std::wstring&) override { return false; }
  bool RemoveFile(const std::wstring&) override { return false; }
  bool ListFiles(const std::wstring&, std::vector<std::wstring>* names) override {
    names->assign(1, L"input.obj");
    return true;
  }

 private:
  std::string m_bytes;
};

#endif  // KW_FUZZ_ONE_FILE_FS_H_
