// Runs every input of the corpora once, without libFuzzer: `fuzz_corpora FOLDER [TARGET]`, where FOLDER has a folder
// for each target. An input that breaks a property ends the program; its name is the last one that was written.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "support/Target.h"

namespace {

/// In the same order everywhere; of a folder that is not there none.
std::vector<std::filesystem::path> FilesIn(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::cerr << "fuzz_corpora: give the folder of the corpora, and a target if only that shall run\n";
    return 2;
  }
  int iEmpty = 0;
  for (const fuzz::Target* pTarget : fuzz::Target::All()) {
    if (argc == 3 && pTarget->Name() != argv[2]) {
      continue;
    }
    const auto files = FilesIn(std::filesystem::path(argv[1]) / pTarget->Name());
    for (const auto& path : files) {
      std::cout << pTarget->Name() << '/' << path.filename().string() << std::endl;
      std::ifstream file(path, std::ios::binary);
      pTarget->Run(std::string(std::istreambuf_iterator<char>(file), {}));
    }
    if (files.empty()) {
      std::cerr << "fuzz_corpora: " << argv[1] << " has no inputs for " << pTarget->Name() << "; add some\n";
      ++iEmpty;
    }
  }
  return iEmpty == 0 ? 0 : 1;
}
