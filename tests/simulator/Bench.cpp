#include "Bench.h"

#include <algorithm>
#include <numeric>

#include "simulator/WireNumber.h"

namespace simulator {

Answer Bench::Ask(std::string_view bytes) {
  Answer answer;
  const Time asked = now;
  unit.Receive(now, bytes);
  for (Time next = unit.NextActivity(); next != Never; next = unit.NextActivity()) {
    now = next;
    answer.strBytes += unit.TakeOutput(now);
  }
  answer.delay = now - asked;
  return answer;
}

void Bench::Set(const std::vector<std::string>& commands) {
  for (const std::string& command : commands) Ask("$" + command + "\r");
}

void Bench::MoveTo(double wavelength) {
  std::vector<int> positions(12'500);
  std::iota(positions.begin(), positions.end(), 2000);
  const auto isBelow = [wavelength](int i) { return WavelengthPolynomial{}.At(i) < wavelength; };
  const int iPosition = *std::ranges::partition_point(positions, isBelow);
  Set({"o1", "M" + std::to_string(iPosition)});
}

Counts Bench::Read() {
  const std::string bytes = Ask("$a3\r").strBytes;
  Counts mean;
  for (std::size_t i = 0; i < bytes.size(); i += 6) {
    mean.sample += static_cast<double>(Read24Bits(bytes, i)) / 3.0;
    mean.reference += static_cast<double>(Read24Bits(bytes, i + 3)) / 3.0;
  }
  return mean;
}

Counts Bench::Measure() {
  Set({"H1"});
  const Counts dark = Read();
  Set({"H0"});
  const Counts light = Read();
  return {light.sample - dark.sample, light.reference - dark.reference};
}

}  // namespace simulator
