#include "platform/virtual/FiberStack.h"

#include <vector>

#include <boost/context/protected_fixedsize_stack.hpp>

#include "platform/Sanitizers.h"

#ifdef PHOTOMETER_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

namespace photometer::platform {

namespace {

// Deep enough for the sanitizers' large frames. Only pages that are touched cost memory.
constexpr std::size_t StackBytes = 512UL * 1024;
constexpr std::size_t KeptStacks = 64;
constexpr bool StacksAreKept = !ThreadSanitizerRuns && !AddressSanitizerRuns;

using Allocator = boost::context::protected_fixedsize_stack;

class StackPool {
 public:
  StackPool() = default;
  StackPool(const StackPool&) = delete;
  StackPool& operator=(const StackPool&) = delete;
  ~StackPool() {
    for (boost::context::stack_context& stack : m_stacks) {
      Allocator(StackBytes).deallocate(stack);
    }
  }

  boost::context::stack_context Take() {
    if (m_stacks.empty()) {
      return Allocator(StackBytes).allocate();
    }
    const boost::context::stack_context stack = m_stacks.back();
    m_stacks.pop_back();
    return stack;
  }

  void Give(boost::context::stack_context& stack) {
    if (!StacksAreKept || m_stacks.size() >= KeptStacks) {
      Allocator(StackBytes).deallocate(stack);
      return;
    }
    m_stacks.push_back(stack);
  }

 private:
  std::vector<boost::context::stack_context> m_stacks;
};

// One pool per operating-system thread: boards live on one, and several tests may run boards side by side.
thread_local StackPool pool;

}  // namespace

FiberStack::FiberStack() : m_context(pool.Take()) {
#ifdef PHOTOMETER_ADDRESS_SANITIZER
  __asan_unpoison_memory_region(Bottom(), Size());
#endif
}

FiberStack::~FiberStack() { pool.Give(m_context); }

std::size_t FiberStack::Size() const { return m_context.size - boost::context::stack_traits::page_size(); }

const void* FiberStack::Bottom() const { return static_cast<const char*>(m_context.sp) - Size(); }

}  // namespace photometer::platform
