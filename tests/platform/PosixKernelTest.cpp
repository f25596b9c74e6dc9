#include <atomic>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>

#include "platform/posix/PosixKernel.h"

namespace photometer::platform {
namespace {

constexpr DWORD OneMinute = 60'000;

TEST(PosixKernelTest, AThreadThatIsNotTheOwnerDoesNotUnlock) {
  PosixKernel kernel;
  const auto section = kernel.CreateCriticalSection("m_csTest");
  section->Enter();
  testing::internal::CaptureStderr();
  std::thread([&] { section->Leave(); }).join();
  EXPECT_NE(testing::internal::GetCapturedStderr().find("m_csTest"), std::string::npos);

  std::atomic<bool> bEntered = false;
  std::thread other([&] {
    section->Enter();
    bEntered = true;
    section->Leave();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(bEntered);
  section->Leave();
  other.join();
  EXPECT_TRUE(bEntered);
}

TEST(PosixKernelTest, AThreadMayOutliveTheKernel) {
  std::atomic<bool> bGo = false;
  const auto pHeld = std::make_shared<int>(0);
  {
    PosixKernel kernel;
    kernel.CreateThread({[&bGo, pHeld] {
                           while (!bGo) std::this_thread::yield();
                         },
                         "TestProc"},
                        nullptr);
  }
  bGo = true;
  while (pHeld.use_count() > 1) std::this_thread::yield();
}

TEST(PosixKernelTest, ThreadsLeaveTheProcesssSignalsToTheHost) {
  PosixKernel kernel;
  sigset_t mask;
  sigemptyset(&mask);
  const HANDLE hThread =
      kernel.CreateThread({[&] { pthread_sigmask(SIG_SETMASK, nullptr, &mask); }, "TestProc"}, nullptr);
  EXPECT_EQ(kernel.WaitForMultipleObjects({&hThread, 1}, OneMinute), WAIT_OBJECT_0);
  EXPECT_EQ(sigismember(&mask, SIGINT), 1);
  EXPECT_EQ(sigismember(&mask, SIGTERM), 1);
  EXPECT_EQ(sigismember(&mask, SIGSEGV), 0);
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGINT), 0);
}

}  // namespace
}  // namespace photometer::platform
