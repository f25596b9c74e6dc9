/// The stack of a fiber: a mapping of its own with a guard page below, so that an overflow faults at once.
///
/// Without sanitizers a stack that is given back is kept for the next fiber. With them each is fresh: their shadow
/// memory remembers what the last fiber did there.
#pragma once

#include <cstddef>

#include <boost/context/stack_context.hpp>

namespace photometer::platform {

class FiberStack {
 public:
  FiberStack();
  ~FiberStack();
  FiberStack(const FiberStack&) = delete;
  FiberStack& operator=(const FiberStack&) = delete;

  /// One past the highest address; stacks grow down from here.
  [[nodiscard]] void* Top() const { return m_context.sp; }
  /// Lowest usable address.
  [[nodiscard]] const void* Bottom() const;
  /// Usable bytes.
  [[nodiscard]] std::size_t Size() const;

 private:
  boost::context::stack_context m_context;
};

}  // namespace photometer::platform
