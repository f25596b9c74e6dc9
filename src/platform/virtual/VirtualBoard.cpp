#include "platform/virtual/VirtualBoard.h"

#include <cstdio>
#include <iterator>
#include <thread>

#include "platform/Sanitizers.h"
#include "platform/virtual/RuleChecks.h"
#include "platform/virtual/Scheduler.h"
#include "platform/virtual/VirtualClock.h"
#include "platform/virtual/VirtualDebugOutput.h"
#include "platform/virtual/VirtualFiles.h"
#include "platform/virtual/VirtualKernel.h"
#include "platform/virtual/VirtualPins.h"
#include "platform/virtual/VirtualRegistry.h"
#include "platform/virtual/VirtualSerialPorts.h"

namespace photometer::platform {

namespace {

/// Starts a thread once. As long as a process has never had a second one, libstdc++ counts the references of a shared
/// pointer without atomic operations, which the thread sanitizer, to which every fiber is a thread, reports as races.
void HaveASecondThreadOnce() {
  [[maybe_unused]] static const bool bDone = [] {
    std::thread([] {}).join();
    return true;
  }();
}

}  // namespace

struct VirtualBoard::Parts {
  explicit Parts(const VirtualBoardOptions& options)
      : clock(options),
        checks(clock, options.locksForHostCode),
        scheduler(options, clock, checks),
        kernel(scheduler, clock, checks),
        ports(scheduler, clock, checks),
        pins(scheduler, clock, checks),
        files(scheduler, checks),
        registry(scheduler, checks),
        debugOutput(scheduler) {}

  VirtualClock clock;
  RuleChecks checks;
  Scheduler scheduler;
  VirtualKernel kernel;
  VirtualSerialPorts ports;
  VirtualPins pins;
  VirtualFiles files;
  VirtualRegistry registry;
  VirtualDebugOutput debugOutput;
};

VirtualBoard::VirtualBoard(const VirtualBoardOptions& options) {
  HaveASecondThreadOnce();
  const UnobservedScope scope;
  m_pParts = std::make_unique<Parts>(options);
}

VirtualBoard::~VirtualBoard() {
  const UnobservedScope scope;
  for (const auto& pThread : m_pParts->scheduler.Threads()) {
    if (pThread->dwId != 1) {
      std::fprintf(stderr, "virtual board: destroyed while a thread is alive: %s\n", Describe(*pThread).c_str());
    }
  }
  m_pParts.reset();
}

Kernel& VirtualBoard::GetKernel() { return m_pParts->kernel; }
SerialPorts& VirtualBoard::GetSerialPorts() { return m_pParts->ports; }
Pins& VirtualBoard::GetPins() { return m_pParts->pins; }
Files& VirtualBoard::GetFiles() { return m_pParts->files; }
Registry& VirtualBoard::GetRegistry() { return m_pParts->registry; }
DebugOutput& VirtualBoard::GetDebugOutput() { return m_pParts->debugOutput; }

// ---- the world around it ----

void VirtualBoard::PlugPort(const std::u16string& name, simulator::SerialDevice& device, bool bAtOnce) {
  const UnobservedScope scope;
  m_pParts->ports.Plug(name, device, bAtOnce);
}

void VirtualBoard::UnplugPort(const std::u16string& name) {
  const UnobservedScope scope;
  m_pParts->ports.Unplug(name);
}

std::uint64_t VirtualBoard::DroppedBytes(const std::u16string& name) const {
  const UnobservedScope scope;
  return m_pParts->ports.DroppedBytes(name);
}

void VirtualBoard::PlugPins(simulator::PinSource* pSource) {
  const UnobservedScope scope;
  m_pParts->pins.Plug(pSource);
}

std::optional<DWORD> VirtualBoard::PinOutput(DWORD dwPort, DWORD dwPin) const {
  const UnobservedScope scope;
  return m_pParts->pins.Output(dwPort, dwPin);
}

void VirtualBoard::MakeFolder(const std::u16string& path) {
  const UnobservedScope scope;
  m_pParts->files.MakeFolder(path);
}

void VirtualBoard::RemoveFolder(const std::u16string& path) {
  const UnobservedScope scope;
  m_pParts->files.RemoveFolder(path);
}

void VirtualBoard::SetDiskFull(const std::u16string& path, bool bFull) {
  const UnobservedScope scope;
  m_pParts->files.SetDiskFull(path, bFull);
}

void VirtualBoard::SetRegistryValue(const std::u16string& key, const std::u16string& name, DWORD dwValue) {
  const UnobservedScope scope;
  m_pParts->registry.Put(key, name, dwValue);
}

std::u16string VirtualBoard::DebugText() const {
  const UnobservedScope scope;
  return m_pParts->debugOutput.Text();
}

// ---- time and scheduling ----

std::uint64_t VirtualBoard::Now() const {
  const UnobservedScope scope;
  return m_pParts->clock.Now();
}

std::uint64_t VirtualBoard::Points() const {
  const UnobservedScope scope;
  return m_pParts->scheduler.Points();
}

std::uint64_t VirtualBoard::Switches() const {
  const UnobservedScope scope;
  return m_pParts->scheduler.Switches();
}

void VirtualBoard::RunAtPoint(std::uint64_t nPoint, const std::string& name, std::function<void()> body) {
  m_pParts->kernel.RunAtPoint(nPoint, name, std::move(body));
}

void VirtualBoard::BeginWindow() {
  const UnobservedScope scope;
  m_pParts->scheduler.GetPolicy().BeginWindow();
}

void VirtualBoard::EndWindow() {
  const UnobservedScope scope;
  m_pParts->scheduler.GetPolicy().EndWindow();
}

// ---- verdict ----

std::vector<std::string> VirtualBoard::Reports() const {
  const UnobservedScope scope;
  return m_pParts->checks.Reports();
}

std::vector<std::string> VirtualBoard::Leftovers() const {
  const UnobservedScope scope;
  std::vector<std::string> names = m_pParts->kernel.Leftovers();
  for (const auto& more : {m_pParts->ports.Leftovers(), m_pParts->pins.Leftovers(), m_pParts->registry.Leftovers()}) {
    names.insert(names.end(), more.begin(), more.end());
  }
  return names;
}

std::uint64_t VirtualBoard::Hash() const {
  const UnobservedScope scope;
  return m_pParts->scheduler.Hash();
}

DecisionList VirtualBoard::Decisions() const {
  const UnobservedScope scope;
  return m_pParts->scheduler.Decisions();
}

void VirtualBoard::OnDeadlock(std::function<void(const std::string& report)> handler) {
  const UnobservedScope scope;
  m_pParts->scheduler.OnDeadlock(std::move(handler));
}

}  // namespace photometer::platform
