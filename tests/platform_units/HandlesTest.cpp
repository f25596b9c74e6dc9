#include <array>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Board.h"

namespace photometer::platform {
namespace {

TEST(Handles, NeverRepeatAndTellTheirKind) {
  constexpr std::array Kinds{HandleKind::Kernel, HandleKind::SerialPort, HandleKind::Pins, HandleKind::RegistryKey};
  std::array<std::vector<HANDLE>, Kinds.size()> handles;
  std::vector<std::thread> threads;
  for (std::size_t nThread = 0; nThread < Kinds.size(); ++nThread) {
    threads.emplace_back([&mine = handles[nThread], kind = Kinds[nThread]] {
      for (int i = 0; i < 10'000; ++i) {
        mine.push_back(NewHandle(kind));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::set<HANDLE> all = {0, INVALID_HANDLE_VALUE};
  for (std::size_t nThread = 0; nThread < Kinds.size(); ++nThread) {
    for (const HANDLE handle : handles[nThread]) {
      EXPECT_TRUE(all.insert(handle).second);
      EXPECT_EQ(KindOf(handle), Kinds[nThread]);
    }
  }
}

}  // namespace
}  // namespace photometer::platform
