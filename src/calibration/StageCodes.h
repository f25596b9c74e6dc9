/// The stages of the self-tests, as codes of `OnNotify`; photometer/IPhotometerSink.h has their values and meaning.
#pragma once

#include "photometer/Types.h"

namespace photometer {

// ---- stages that self-tests share ----

inline constexpr DWORD WAVELENGTH_TEST = 4;
inline constexpr DWORD WAVELENGTH_TEST_PASSED = 5;
inline constexpr DWORD WAVELENGTH_TEST_FAILED = 6;
inline constexpr DWORD ZERO_MEASUREMENT = 7;
/// Value: the `CuvetteCaller`.
inline constexpr DWORD REMOVE_CUVETTE = 31;
inline constexpr DWORD CUVETTE_REMOVED = 32;
inline constexpr DWORD SELF_TEST_RUNNING = 43;

// ---- the start-up ----

inline constexpr DWORD LAMP_TEST = 1;
inline constexpr DWORD LAMP_TEST_PASSED = 2;
inline constexpr DWORD LAMP_TEST_FAILED = 3;
inline constexpr DWORD ZERO_MEASUREMENT_DONE = 8;
inline constexpr DWORD START_UP = 10;
inline constexpr DWORD START_UP_PASSED = 11;
inline constexpr DWORD START_UP_FAILED = 12;
inline constexpr DWORD START_UP_ENDED = 39;

// ---- the wavelength test on request ----

inline constexpr DWORD TEST_BEGINS = 29;
inline constexpr DWORD TEST_PASSED = 30;
inline constexpr DWORD TEST_REQUESTED = 33;
inline constexpr DWORD ZEROS_BEGIN = 34;
inline constexpr DWORD TEST_FAILED = 35;

}  // namespace photometer
