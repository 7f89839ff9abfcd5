// Runs a harness without libFuzzer over the files it is given, and over every
// file below the folders it is given, so that the ordinary suite replays the
// inputs kept in fuzz/regressions/.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

namespace fs = std::filesystem;

bool Replay(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    std::fprintf(stderr, "cannot read %s\n", path.string().c_str());
    return false;
  }
  std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  static const uint8_t kNone = 0;
  LLVMFuzzerTestOneInput(bytes.empty() ? &kNone : reinterpret_cast<const uint8_t*>(bytes.data()),
                         bytes.size());
  return true;
}

// Hidden files keep empty folders in git; README says what the folder is.
bool IsInput(const fs::path& path) {
  const std::string name = path.filename().string();
  return !name.empty() && name[0] != '.' && name.rfind("README", 0) != 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<fs::path> inputs;
  bool ok = true;
  for (int i = 1; i < argc; ++i) {
    const fs::path argument(argv[i]);
    std::error_code error;
    if (fs::is_directory(argument, error)) {
      for (const auto& entry : fs::recursive_directory_iterator(argument))
        if (entry.is_regular_file() && IsInput(entry.path())) inputs.push_back(entry.path());
    } else if (fs::exists(argument, error)) {
      inputs.push_back(argument);
    } else {
      std::fprintf(stderr, "no such input: %s\n", argv[i]);
      ok = false;
    }
  }
  std::sort(inputs.begin(), inputs.end());
  for (const fs::path& input : inputs) ok = Replay(input) && ok;
  std::printf("%zu inputs replayed\n", inputs.size());
  return ok ? 0 : 1;
}
