#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Board.h"

namespace photometer::platform {
namespace {

TEST(Handles, NeverRepeatAndTellTheirKind) {
  constexpr HandleKind Kinds[] = {HandleKind::Kernel, HandleKind::SerialPort, HandleKind::Pins,
                                  HandleKind::RegistryKey};
  constexpr std::size_t ThreadCount = 4;
  constexpr std::size_t HandleCount = 10'000;
  std::vector<std::vector<HANDLE>> handles(ThreadCount);
  std::vector<std::thread> threads;
  for (std::size_t nThread = 0; nThread < ThreadCount; ++nThread) {
    threads.emplace_back([&mine = handles[nThread], kind = Kinds[nThread]] {
      for (std::size_t nHandle = 0; nHandle < HandleCount; ++nHandle) {
        mine.push_back(NewHandle(kind));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::set<HANDLE> all = {0, INVALID_HANDLE_VALUE};
  for (std::size_t nThread = 0; nThread < ThreadCount; ++nThread) {
    for (const HANDLE handle : handles[nThread]) {
      EXPECT_TRUE(all.insert(handle).second);
      EXPECT_EQ(KindOf(handle), Kinds[nThread]);
    }
  }
}

}  // namespace
}  // namespace photometer::platform
