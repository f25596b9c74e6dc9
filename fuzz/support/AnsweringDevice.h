/// The far end of a line: says its pieces once it has heard something, or from the beginning on.
#pragma once

#include <string>
#include <vector>

#include "support/Pieces.h"

namespace fuzz {

class AnsweringDevice final : public simulator::SerialDevice {
 public:
  /// Each answer waits for the next block from the host; one that comes while an answer is being said, or when there is
  /// none left, is only heard.
  void Answer(std::vector<Piece> pieces) { m_Answers.push_back(std::move(pieces)); }
  /// Says them from now on, asked or not.
  void Say(simulator::Time now, const std::vector<Piece>& pieces);

  /// All that came from the host.
  [[nodiscard]] const std::string& Heard() const { return m_strHeard; }

  void Receive(simulator::Time now, std::string_view bytes) override;
  [[nodiscard]] simulator::Time NextActivity() const override;
  std::string TakeOutput(simulator::Time now) override;

 private:
  struct Due {
    simulator::Time time;
    std::string bytes;
  };

  std::vector<std::vector<Piece>> m_Answers;
  std::size_t m_nAnswered = 0;
  std::vector<Due> m_Due;
  std::size_t m_nSaid = 0;
  std::string m_strHeard;
};

}  // namespace fuzz
