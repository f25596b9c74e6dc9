/// System calls of this process that fail once, or end it, at a call that the test chooses.
///
/// A test program that includes this header writes, synchronises, links and renames through these functions, the
/// layer's library and its own objects alike. They pass everything on until they are armed.
#pragma once

namespace photometer::tests {

enum class CallFault {
  None,
  /// No space on the device, nothing is done.
  Fails,
  /// Half of a write is done, then there is no space; any other call fails.
  FailsHalfway,
  /// The process is gone before the call, as after a power cut; half of a write is done.
  EndsProcess
};

/// The n-th call of write, fsync, link, rename, renameat and renameat2 from now on, from 1, has the fault.
void ArmSystemCall(int n, CallFault fault);
/// No call has a fault any more. Returns whether the armed one had been reached.
bool DisarmSystemCalls();

/// Exit code of a process that a fault ended.
inline constexpr int EndedByFault = 99;

}  // namespace photometer::tests
