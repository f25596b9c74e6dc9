/// Replays a list of decisions; where the list says nothing, it is first come, first served, deadlines are kept and
/// blocks are those of a 16-byte FIFO.
///
/// A whole list, as the run told it (`VirtualBoard::Decisions`), gives the same run to the byte. With entries left out
/// it is another run, in which a decision that cannot be carried out (the thread is not ready) is passed over.
#pragma once

#include <map>
#include <optional>
#include <span>

#include "platform/virtual/Decision.h"
#include "platform/virtual/FirstComePolicy.h"

namespace photometer::platform {

class ReplayPolicy final : public SchedulingPolicy {
 public:
  explicit ReplayPolicy(const DecisionList& decisions);

  std::size_t AtPoint(const VirtualThread& running, std::span<VirtualThread* const> ready) override;
  std::size_t AtWait(const VirtualThread& running, std::span<VirtualThread* const> ready) override;
  std::size_t ChooseWaiter(const VirtualThread& running, std::span<VirtualThread* const> waiters) override;
  std::uint64_t LateBy(const VirtualThread& running) override;
  std::uint64_t HeldUpFor(const VirtualThread& running) override;
  std::size_t BlockBytes(DWORD dwPort, std::uint64_t nBlock) override;

  /// What a decision of `AtWait` is found by: everything but the choice.
  static Decision KeyAtWait(const VirtualThread& running);

 private:
  [[nodiscard]] std::optional<std::uint64_t> Find(const Decision& key) const;
  [[nodiscard]] std::size_t IndexOf(const Decision& key, std::span<VirtualThread* const> threads,
                                    std::size_t nOtherwise) const;

  FirstComePolicy m_firstCome;
  /// By everything but the choice, which is 0 in the key.
  std::map<Decision, std::uint64_t> m_choices;
};

}  // namespace photometer::platform
