/// Everything that decides a run but the order of threads: the instrument, the board, what the host does, and what goes
/// wrong. A plan is drawn from a seed, or read from a record.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Clause.h"

namespace explorer {

/// What the host knows of its instrument, and how the board starts.
struct Profile {
  std::uint64_t seed = 1;
  bool bUV = true;
  /// Steps by which the monochromator is out of place.
  int iOffset = 0;
  bool bNoise = true;
  /// Which pumps are there, and the operating mode.
  bool bZQ410 = false;
  bool bZQ420 = false;
  std::uint32_t dwOperatingMode = 0;
  std::uint32_t dwPumpTime = 1;    ///< s
  std::uint32_t dwDelayTime = 1;   ///< s
  std::uint32_t dwWarmUpTime = 3;  ///< what the host answers for a session of the deuterium lamp, s
  std::uint32_t dwUVSessionTime = 600;
  std::uint32_t dwCheckInterval = 0;  ///< min
  std::uint32_t dwBounce = 8;         ///< of the cuvette switches, ms
  int iCuvette = 0;                   ///< at the start
  std::uint32_t dwStartTick = 1000;
  /// Wavelengths of the zero measurement.
  std::uint32_t dwZeros = 2;

  bool operator==(const Profile&) const = default;
};

enum class Actor : std::uint8_t {
  Host,      ///< the host's main thread. `nWhen`: ms to wait before
  Second,    ///< a second thread of the host, beside it from the beginning
  Third,     ///< a third one
  Callback,  ///< inside a callback. `nWhen`: its number, from 1
  Point      ///< a thread of its own that runs next. `nWhen`: scheduling point of the board
};

/// One operation of the host.
struct Step {
  Actor actor = Actor::Host;
  std::uint64_t nWhen = 0;
  Clause operation;

  bool operator==(const Step&) const = default;
};

struct Plan {
  Profile profile;
  std::vector<Step> steps;
  /// In any order; each says itself when it begins.
  std::vector<Clause> faults;
  /// After the programme a new start and a measurement must succeed.
  bool bRecovery = true;

  bool operator==(const Plan&) const = default;
};

struct PlanOptions {
  bool bFaults = true;
};

/// A plan of the same kind for each seed.
Plan DrawPlan(std::uint64_t seed, const PlanOptions& options);

/// Lines `profile ...`, `step <actor> <when> <operation>`, `fault <fault>`, `recovery 0|1`.
std::string ToText(const Plan& plan);
/// Takes one such line into the plan. False: it is none, and `pWrong` says what is wrong with it.
bool TakePlanLine(std::string_view line, Plan* pPlan, std::string* pWrong);

}  // namespace explorer
