// The program of one target, as libFuzzer wants it.
#include <cstddef>
#include <cstdint>

#include "support/Target.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nBytes) {
  fuzz::Target::All().front()->Run({reinterpret_cast<const char*>(pData), nBytes});
  return 0;
}
