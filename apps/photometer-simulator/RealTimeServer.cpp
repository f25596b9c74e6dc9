#include "RealTimeServer.h"

#include <poll.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <iostream>
#include <optional>
#include <vector>

#include <fmt/format.h>

#include "../common/SampleName.h"

namespace serving {

namespace {

using simulator::Time;

// Bytes of a stream are due every 87 µs; handing them over in blocks of a millisecond is what an adapter does too.
constexpr Time BlockTime = 1000;
// The holder's switches chatter for less than this after a change.
constexpr Time ChatterTime = 100'000;
constexpr Time PinInterval = 1000;
// The optical unit says only what it is asked, and a stream is read to its end.
constexpr std::size_t OpticalLimit = 65536;
// A pump goes on speaking when no host listens; its next host must not take that for news.
constexpr std::size_t PumpLimit = 256;

std::uint64_t Monotonic() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

std::string NoSample(const std::string& name) {
  return fmt::format("there is no sample \"{}\"; the samples are {}", name, common::SampleNames);
}

std::string AllForms() {
  std::string forms;
  for (const RealTimeServer::CommandForm& command : RealTimeServer::Commands) {
    forms += (forms.empty() ? "" : ", ") + std::string(command.form);
  }
  return forms;
}

}  // namespace

RealTimeServer::RealTimeServer(simulator::Instrument& instrument, Lines& lines, BoardFolder& folder, double dSpeed)
    : m_instrument(instrument),
      m_Served{{{instrument.unit, lines.optical, OpticalLimit},
                {instrument.AtExternalPort(), lines.external, PumpLimit},
                {instrument.zq420, lines.sipper, PumpLimit}}},
      m_folder(folder),
      m_dSpeed(dSpeed),
      m_nStart(Monotonic()) {}

Time RealTimeServer::Now() const {
  return m_Start + static_cast<Time>(static_cast<double>(Monotonic() - m_nStart) * m_dSpeed);
}

void RealTimeServer::Insert(int iSize, const simulator::Sample& sample, Time at) {
  if (m_instrument.pump == simulator::PumpKind::None) {
    m_instrument.InsertCuvette(iSize, sample, at);
  } else {
    m_instrument.InsertFlowCuvette(at);
    m_instrument.flowCell.Offer(at, sample);
  }
  WatchPins(at);
}

void RealTimeServer::WatchPins(Time from) {
  m_nNextPins = from;
  m_nPinsUntil = from + ChatterTime;
}

void RealTimeServer::Serve(const StopSignals& signals) {
  while (!signals.HaveCome() && !m_bQuit) {
    Wait(NextActivity(), signals.Unblocked());
    Step(Now());
  }
}

Time RealTimeServer::NextActivity() const {
  Time next = simulator::Never;
  for (const Served& served : m_Served) {
    next = std::min(next, served.device.NextActivity());
  }
  return std::min(next == simulator::Never ? next : next + BlockTime, m_nNextPins);
}

void RealTimeServer::Wait(Time until, const sigset_t& unblocked) {
  std::array<pollfd, 4> watched{};
  for (std::size_t i = 0; i < m_Served.size(); ++i) {
    const bool bWaiting = !m_Served[i].strOutput.empty();
    watched[i] = {m_Served[i].line.Descriptor(), static_cast<short>(bWaiting ? POLLIN | POLLOUT : POLLIN), 0};
  }
  pollfd& commands = watched.back();
  commands = {m_iCommands, POLLIN, 0};  // a negative descriptor is passed over
  const Time now = Now();
  const double dMicroseconds = until > now ? static_cast<double>(until - now) / m_dSpeed : 0.0;
  timespec timeout{};
  timeout.tv_sec = static_cast<time_t>(dMicroseconds / 1e6);
  timeout.tv_nsec = static_cast<long>((dMicroseconds - static_cast<double>(timeout.tv_sec) * 1e6) * 1e3);
  const bool bForEver = until == simulator::Never;
  ppoll(watched.data(), watched.size(), bForEver ? nullptr : &timeout, &unblocked);
  m_bCommandsReady = (commands.revents & (POLLIN | POLLHUP)) != 0;
}

void RealTimeServer::Step(Time now) {
  for (Served& served : m_Served) {
    // Output first: what was complete before these bytes came must not be judged after them.
    PassOutput(served, now);
    if (const std::string bytes = served.line.Read(); !bytes.empty()) {
      served.device.Receive(now, bytes);
    }
  }
  if (m_bCommandsReady) {
    TakeCommands(now);
  }
  WritePins(now);
}

void RealTimeServer::PassOutput(Served& served, Time now) {
  served.strOutput += served.device.TakeOutput(now);
  if (served.strOutput.empty()) {
    return;
  }
  if (served.line.Unread() > served.nLimit) {
    served.line.DropUnread();
  }
  served.strOutput.erase(0, served.line.Write(served.strOutput));
  if (served.strOutput.size() > served.nLimit) {
    served.strOutput.clear();
  }
}

void RealTimeServer::WritePins(Time now) {
  if (now < m_nNextPins) {
    return;
  }
  for (std::uint32_t i = 0; i < m_Levels.size(); ++i) {
    const std::uint32_t dwPin = simulator::CuvetteHolder::FirstPin + i;
    const std::uint32_t dwLevel = m_instrument.holder.ReadPin(now, dwPin);
    if (dwLevel != m_Levels[i]) {
      m_folder.WritePin(dwPin, dwLevel);
      m_Levels[i] = dwLevel;
    }
  }
  m_nNextPins = now < m_nPinsUntil ? now + PinInterval : simulator::Never;
}

void RealTimeServer::TakeCommands(Time now) {
  std::array<char, 512> buffer{};
  const ssize_t nRead = read(m_iCommands, buffer.data(), buffer.size());
  if (nRead <= 0) {
    m_iCommands = -1;
    return;
  }
  m_strCommands.append(buffer.data(), static_cast<std::size_t>(nRead));
  for (std::size_t nEnd = 0; (nEnd = m_strCommands.find('\n')) != std::string::npos;) {
    if (const std::string complaint = Command(m_strCommands.substr(0, nEnd), now); !complaint.empty()) {
      std::cerr << complaint << "\n";
    }
    m_strCommands.erase(0, nEnd + 1);
  }
}

const std::array<RealTimeServer::CommandForm, 8> RealTimeServer::Commands = {{
    {"insert [NAME [SIZE]]",
     "puts a cuvette into the holder, of 10 mm with the sample of --sample, or another one; with a pump the flow "
     "cuvette, and the pump's tube into the sample",
     &RealTimeServer::Insert},
    {"remove", "takes the cuvette out", &RealTimeServer::Remove},
    {"offer NAME", "puts the pump's tube into another sample", &RealTimeServer::Offer},
    {"key a|b", "presses a key of the ZQ-410", &RealTimeServer::PressKey},
    {"say TEXT", "lets the device at the external port speak", &RealTimeServer::Say},
    {"speed N", "makes the instrument so many times faster than real", &RealTimeServer::SetSpeed},
    {"state", "prints lamps, mirror, fan, filter, shutter and position of the optical unit",
     &RealTimeServer::PrintState},
    {"quit", "ends the program, as Ctrl-C does", &RealTimeServer::Quit},
}};

std::string RealTimeServer::Command(const std::string& line, Time now) {
  std::istringstream words(line);
  std::string name;
  words >> name;
  const auto command = std::find_if(Commands.begin(), Commands.end(), [&name](const CommandForm& one) {
    return one.form.substr(0, one.form.find(' ')) == name;
  });
  if (command != Commands.end()) {
    return (this->*command->act)(words, now);
  }
  return name.empty() ? name : fmt::format("there is no command \"{}\"; the commands are {}", name, AllForms());
}

std::string RealTimeServer::Insert(std::istringstream& words, Time now) {
  std::string name;
  std::string size = "10";
  words >> name >> size;
  const std::vector<int> sizes = simulator::CuvetteHolder::Sizes();
  const auto known =
      std::find_if(sizes.begin(), sizes.end(), [&size](int iOne) { return std::to_string(iOne) == size; });
  if (known == sizes.end()) {
    return fmt::format("there is no cuvette of {} mm; the sizes are {}", size, fmt::join(sizes, ", "));
  }
  const auto sample = name.empty() ? std::optional(m_sample) : common::FindSample(name, now);
  if (!sample) {
    return NoSample(name);
  }
  Insert(*known, *sample, now);
  return {};
}

std::string RealTimeServer::Remove(std::istringstream& /*words*/, Time now) {
  m_instrument.RemoveCuvette(now);
  WatchPins(now);
  return {};
}

std::string RealTimeServer::Offer(std::istringstream& words, Time now) {
  std::string name;
  words >> name;
  const auto sample = common::FindSample(name, now);
  if (!sample) {
    return NoSample(name);
  }
  m_instrument.flowCell.Offer(now, *sample);
  return {};
}

std::string RealTimeServer::PressKey(std::istringstream& words, Time now) {
  std::string key;
  words >> key;
  if (m_instrument.pump != simulator::PumpKind::ZQ410 || (key != "a" && key != "b")) {
    return "there is no such key; with --pump zq410 there are a and b";
  }
  key == "a" ? m_instrument.zq410.PressKeyA(now) : m_instrument.zq410.PressKeyB(now);
  return {};
}

std::string RealTimeServer::Say(std::istringstream& words, Time now) {
  std::string text;
  std::getline(words >> std::ws, text);
  m_instrument.echo.Say(now, text + "\r\n");
  return {};
}

std::string RealTimeServer::SetSpeed(std::istringstream& words, Time /*now*/) {
  std::string text;
  words >> text;
  double dSpeed = 0;
  const auto [pStop, error] = std::from_chars(text.data(), text.data() + text.size(), dSpeed);
  if (error != std::errc() || pStop != text.data() + text.size() || !(dSpeed >= SlowestSpeed) ||
      dSpeed > HighestSpeed) {
    return fmt::format("\"{}\" is no speed; give {} to {}", text, SlowestSpeed, HighestSpeed);
  }
  m_Start = Now();
  m_nStart = Monotonic();
  m_dSpeed = dSpeed;
  return {};
}

std::string RealTimeServer::PrintState(std::istringstream& /*words*/, Time /*now*/) {
  const simulator::OpticalUnitState state = m_instrument.unit.State();
  std::cout << fmt::format("state: halogen {} deuterium {} mirror {} fan {} filter {} shutter {} position {}\n",
                           state.halogen, state.bDeuterium ? 1 : 0, state.mirror, state.fan, state.filter,
                           state.bShutterClosed ? 1 : 0, state.position)
            << std::flush;
  return {};
}

std::string RealTimeServer::Quit(std::istringstream& /*words*/, Time /*now*/) {
  m_bQuit = true;
  return {};
}

}  // namespace serving
