/// The integer types and result codes of the host interface.
///
/// The widths are those of the instrument's board on every machine: `DWORD` is 32 bits, `BOOL` a 32-bit flag that is
/// true when it is not 0, and wide text is made of 16-bit units (`char16_t`), also where `wchar_t` is wider.
#pragma once

#include <cstdint>

namespace photometer {

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using BOOL = std::int32_t;

/// Result of an interface operation: 0 (`S_OK`) or one of the negative codes below. There are no others.
using HRESULT = std::int32_t;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;

inline constexpr HRESULT S_OK = 0;
/// A required pointer is null.
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003U);
/// The operation is not possible now (busy, not initialised, being shut down), or failed.
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005U);
/// `Initialize`: already initialised. `StartScan`: busy or not initialised.
inline constexpr HRESULT E_ACCESSDENIED = static_cast<HRESULT>(0x80070005U);
/// A value of a request is out of its range, or not a finite number.
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057U);

}  // namespace photometer
