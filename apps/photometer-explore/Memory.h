/// How much memory the whole process has allocated with `new`, the library included. Builds with a sanitizer have its
/// allocator, and count nothing.
#pragma once

#include <cstdint>

namespace explorer {

/// Bytes that are allocated now.
std::int64_t BytesAllocated();
/// The most since the last `ForgetMostBytes`.
std::int64_t MostBytesAllocated();
void ForgetMostBytes();

}  // namespace explorer
