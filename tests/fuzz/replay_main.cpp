// Without libFuzzer, a fuzz target replays the inputs it is given (files, or
// every file of a folder) once each, so that its seed corpus runs as a test.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) __attribute__((weak));

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize) LLVMFuzzerInitialize(&argc, &argv);
  namespace fs = std::filesystem;
  int replayed = 0;
  for (int i = 1; i < argc; ++i) {
    std::vector<fs::path> files;
    if (fs::is_directory(argv[i])) {
      for (const auto& e : fs::directory_iterator(argv[i])) files.push_back(e.path());
    } else {
      files.push_back(argv[i]);
    }
    for (const fs::path& f : files) {
      std::ifstream in(f, std::ios::binary);
      std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
      LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
      ++replayed;
    }
  }
  std::printf("replayed %d inputs\n", replayed);
  return replayed > 0 ? 0 : 1;
}
