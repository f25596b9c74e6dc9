#include "Bench.h"

#include <cmath>

#include "simulator/WireNumber.h"

namespace simulator {

namespace {

constexpr std::size_t ReadingBytes = 6;

Counts Decode(const std::string& bytes, std::size_t nFirst) {
  return {static_cast<double>(Read24Bits(bytes, nFirst)), static_cast<double>(Read24Bits(bytes, nFirst + 3))};
}

}  // namespace

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

Counts Bench::Read() {
  const std::string bytes = Ask("$a3\r").strBytes;
  Counts mean;
  for (std::size_t i = 0; i < 3; ++i) {
    const Counts reading = Decode(bytes, i * ReadingBytes);
    mean.sample += reading.sample / 3.0;
    mean.reference += reading.reference / 3.0;
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

std::vector<Counts> Bench::Scan(int iLast) {
  const std::string bytes = Ask("$s" + std::to_string(iLast + 1) + "\r").strBytes;
  std::vector<Counts> readings;
  for (std::size_t i = 0; i + ReadingBytes <= bytes.size(); i += ReadingBytes) readings.push_back(Decode(bytes, i));
  return readings;
}

void Bench::PrepareHalogen(double wavelength) {
  const bool bShort = wavelength < 375.0;
  const char* pFilter = bShort ? "F1" : wavelength < 550.0 ? "F2" : "F3";
  Set({"o1", "S50", "A9", "i1", "r1", pFilter, bShort ? "g1" : "g0",
       "M" + std::to_string(TablePosition(wavelength) + unit.Settings().positionOffset), bShort ? "h2" : "h1"});
  now += 200'000;
}

int TablePosition(double wavelength) {
  const WavelengthPolynomial polynomial;
  int iNearest = 2000;
  double best = 1e9;
  for (int i = 2000; i < 14500; ++i) {
    const double entry = std::floor(polynomial.At(i) * 100.0 + 0.5) / 100.0;
    if (std::fabs(entry - wavelength) >= best) continue;
    best = std::fabs(entry - wavelength);
    iNearest = i;
  }
  return iNearest;
}

double Absorbance(const Counts& sample, const Counts& blank) {
  return -std::log10((sample.sample / sample.reference) / (blank.sample / blank.reference));
}

}  // namespace simulator
