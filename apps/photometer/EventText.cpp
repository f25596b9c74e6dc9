#include "EventText.h"

#include <array>

#include <fmt/format.h>

#include "ErrorTexts.h"
#include "platform/Transcript.h"

namespace host {

namespace {

/// In the order of `Signal`.
struct SignalText {
  const char* name;
  const char* words;
};
constexpr std::array Signals = {
    SignalText{"check-due", "the wavelength check is due: run \"photometer check wavelength\""},
    SignalText{"pump-port-lost", "the port of the pump is lost"},
    SignalText{"pump-cycle", "a pump cycle has ended"},
    SignalText{"pump-info", "the pump has told its data"},
    SignalText{"flush", "the flush has ended"},
};

struct Describe {
  std::optional<EventText> operator()(const InstrumentError& error) const {
    return EventText{error.bPump ? "pump-error" : "error", error.iNumber, ExplainError(error.iNumber)};
  }
  std::optional<EventText> operator()(const CuvetteChange& change) const {
    return EventText{
        "cuvette", change.iCuvetteSize,
        change.iCuvetteSize > 0 ? "cuvette inserted: " + CuvetteText(change.iCuvetteSize) : std::string("no cuvette")};
  }
  std::optional<EventText> operator()(const PumpConnection& change) const {
    return EventText{"pump", change.bConnected, change.bConnected ? "pump connected" : "pump lost"};
  }
  std::optional<EventText> operator()(const PumpKey& key) const {
    return EventText{"pump-key", std::string(1, key.key),
                     key.key == 'A' ? "key A of the pump" : "key B: the pump has run a cycle by itself"};
  }
  std::optional<EventText> operator()(const ExternalData& data) const {
    const std::string text = photometer::platform::Printable(data.bytes);
    return EventText{"external", text, "external port: " + text};
  }
  std::optional<EventText> operator()(const LampChange& change) const {
    return EventText{"uv-lamp", change.bReady,
                     change.bReady ? "the deuterium lamp has warmed up" : "the instrument has switched the lamp off"};
  }
  std::optional<EventText> operator()(const Signal& signal) const {
    const SignalText& text = Signals.at(static_cast<std::size_t>(signal));
    return EventText{text.name, nullptr, text.words};
  }
  template <typename Other>
  std::optional<EventText> operator()(const Other&) const {
    return std::nullopt;
  }
};

}  // namespace

std::optional<EventText> DescribeEvent(const HostEvent& event) { return std::visit(Describe{}, event); }

std::string CuvetteText(LONG iCuvetteSize) {
  if (iCuvetteSize > 0) {
    return fmt::format("{} mm", iCuvetteSize);
  }
  return iCuvetteSize == 0 ? "none" : "fixation";
}

}  // namespace host
