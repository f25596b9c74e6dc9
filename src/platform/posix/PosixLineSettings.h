/// Settings of a serial line, over the kernel's own interface: only that one takes any rate. It cannot be included
/// beside the C library's terminal header, so everything that touches it stands here.
#pragma once

#include "platform/Types.h"

namespace photometer::platform {

/// Raw bytes, no flow control, modem lines ignored, breaks ignored; rate and framing stay. False: not a serial line.
bool MakeLineRaw(int nDescriptor);
bool ReadLineSettings(int nDescriptor, DCB* pState);
/// False: not possible, or the line has not taken the rate (within 2 %) or the framing. Pseudo-terminals have no
/// framing: they take any.
bool ApplyLineSettings(int nDescriptor, const DCB& state);
/// Asks the driver to hand over bytes without collecting them first. Drivers that cannot do so stay as they are.
void RequestLowLatency(int nDescriptor);
/// Bytes that were written and are not on the line yet.
DWORD BytesInOutputQueue(int nDescriptor);
/// Discards what has been received, what waits to be sent, or both.
bool DiscardQueues(int nDescriptor, bool bInput, bool bOutput);
/// Nanoseconds that a byte with its start, parity and stop bits takes.
std::int64_t NanosecondsPerByte(const DCB& state);

}  // namespace photometer::platform
