#include "platform/virtual/Fiber.h"

#include <cxxabi.h>

#include <cerrno>
#include <cstdlib>

#include <boost/context/detail/fcontext.hpp>

#include "platform/Sanitizers.h"

#ifdef PHOTOMETER_ADDRESS_SANITIZER
#include <sanitizer/common_interface_defs.h>
#endif

namespace photometer::platform {

namespace context = boost::context::detail;

/// The lines on both sides of a switch. The thread sanitizer must not look at them: they belong to neither fiber.
struct Fiber::Crossing {
  __attribute__((no_sanitize("thread"))) static void Jump(Fiber& from, Fiber& to) {
    from.m_nErrno = errno;
    from.m_exceptions = *reinterpret_cast<ExceptionState*>(abi::__cxa_get_globals());
    from.m_pNext = &to;
    void* const pContext = to.m_pContext;
#ifdef PHOTOMETER_ADDRESS_SANITIZER
    __sanitizer_start_switch_fiber(from.m_bEnded ? nullptr : &from.m_pFakeStack, to.m_pStackBottom, to.m_nStackBytes);
#endif
#ifdef PHOTOMETER_THREAD_SANITIZER
    // From here to the jump nothing may be called: the sanitizer already counts it to the other fiber.
    __tsan_switch_to_fiber(to.m_pSanitizerFiber, __tsan_switch_to_fiber_no_sync);
#endif
    Land(context::jump_fcontext(pContext, &from));
  }

  __attribute__((no_sanitize("thread"))) static Fiber& Land(context::transfer_t transfer) {
    auto& from = *static_cast<Fiber*>(transfer.data);
    from.m_pContext = transfer.fctx;
    Fiber& here = *from.m_pNext;
#ifdef PHOTOMETER_ADDRESS_SANITIZER
    const void* pBottom = nullptr;
    std::size_t nBytes = 0;
    __sanitizer_finish_switch_fiber(here.m_pFakeStack, &pBottom, &nBytes);
    if (from.m_pStackBottom == nullptr) {
      from.m_pStackBottom = pBottom;
      from.m_nStackBytes = nBytes;
    }
#endif
    *reinterpret_cast<ExceptionState*>(abi::__cxa_get_globals()) = here.m_exceptions;
    errno = here.m_nErrno;
    return here;
  }

  __attribute__((no_sanitize("thread"))) static void Start(context::transfer_t transfer) {
    Fiber& here = Land(transfer);
    here.m_entry(here.m_pArgument);
    std::abort();
  }
};

Fiber::Fiber() {
#ifdef PHOTOMETER_THREAD_SANITIZER
  m_pSanitizerFiber = __tsan_get_current_fiber();
#endif
}

Fiber::Fiber(Entry entry, void* pArgument, [[maybe_unused]] const char* name)
    : m_entry(entry), m_pArgument(pArgument), m_pStack(std::make_unique<FiberStack>()) {
  m_pStackBottom = m_pStack->Bottom();
  m_nStackBytes = m_pStack->Size();
  m_pContext = context::make_fcontext(m_pStack->Top(), m_nStackBytes, &Crossing::Start);
#ifdef PHOTOMETER_THREAD_SANITIZER
  m_pSanitizerFiber = __tsan_create_fiber(0);
  __tsan_set_fiber_name(m_pSanitizerFiber, name);
#endif
}

Fiber::~Fiber() {
#ifdef PHOTOMETER_THREAD_SANITIZER
  // One that has not ended is in the middle of a call that the sanitizer ignores, and it would complain of that.
  if (m_bEnded) {
    __tsan_destroy_fiber(m_pSanitizerFiber);
  }
#endif
}

void Fiber::SwitchTo(Fiber& next) { Crossing::Jump(*this, next); }

__attribute__((no_sanitize("thread"))) void Fiber::LeaveFor(Fiber& next) {
  m_bEnded = true;
  Crossing::Jump(*this, next);
  std::abort();
}

}  // namespace photometer::platform
