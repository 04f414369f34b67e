// Runs every file of the folders (or files) named on the command line through the fuzz target
// once. The normal test build uses it so that the fuzz corpora are checked on every test run.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

int RunOne(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  int count = 0;
  for (int i = 1; i < argc; ++i) {
    std::filesystem::path arg(argv[i]);
    if (std::filesystem::is_directory(arg)) {
      for (const auto& entry : std::filesystem::directory_iterator(arg)) {
        if (entry.is_regular_file()) count += RunOne(entry.path());
      }
    } else if (std::filesystem::is_regular_file(arg)) {
      count += RunOne(arg);
    }
  }
  LLVMFuzzerTestOneInput(nullptr, 0);
  std::printf("replayed %d inputs\n", count);
  return 0;
}
