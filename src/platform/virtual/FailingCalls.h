/// Calls of the layer that fail, chosen by their place in the sources.
///
/// While one lives it hears of every call that can fail, from all code of the process, and counts by call site. A first
/// run with nothing chosen tells the sites; then each of them can be made to fail, at its n-th call or from there on:
///
///     FailingCalls failing;                                  // lives as long as the runs
///     Scenario();
///     for (const ReachedSite& site : failing.Reached()) {    // a copy
///       failing.Restart();
///       failing.Fail(site, 1, HowOften::Once);
///       Scenario();
///       if (failing.Failed() == 0) ...                       // the site was not reached this time
///     }
///
/// A call that fails never reaches the board, but is a scheduling point all the same: a thread that repeats it for ever
/// is reported as one that spins. Use one at a time, and choose sites while no other thread runs.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/CallSite.h"

namespace photometer::platform {

/// A place in the sources: file relative to the source folder ("src/optics/OpticalLink.cpp"), line of the call.
struct SiteName {
  std::string file;
  unsigned nLine = 0;
  LayerCall call{};
  bool operator==(const SiteName&) const = default;
  bool operator<(const SiteName& other) const;
};

/// `src/optics/OpticalLink.cpp:88 WriteFile`, and back; nothing when the text is no such name.
std::string ToText(const SiteName& site);
std::optional<SiteName> ParseSite(std::string_view text);

struct ReachedSite {
  SiteName name;
  std::uint64_t nCalls = 0;
};

enum class HowOften { Once, Always };

class FailingCalls final : public CallHook {
 public:
  FailingCalls();
  ~FailingCalls() override;
  FailingCalls(const FailingCalls&) = delete;
  FailingCalls& operator=(const FailingCalls&) = delete;

  /// Only calls of files below this folder count and can fail ("src/"; empty: all). "src/" at first.
  void SetFolder(const std::string& folder);
  /// The site's n-th call from now on fails (from 1), and with `Always` every one after it. May be said of several
  /// sites; the last word on one counts.
  void Fail(const SiteName& site, std::uint64_t nCall, HowOften howOften);
  /// Nothing fails any more, and all counts begin anew.
  void Restart();

  /// The sites called since the start, in the order of their names.
  [[nodiscard]] std::vector<ReachedSite> Reached() const;
  /// Calls that were made to fail since the start.
  [[nodiscard]] std::uint64_t Failed() const;

  bool Fails(LayerCall call, const CallSite& site) override;

 private:
  struct State;
  std::unique_ptr<State> m_pState;
  CallHook* m_pBefore;
};

}  // namespace photometer::platform
