/// The order of the operations in the virtual tables, which hosts rely on by number.
#include <array>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "photometer/IPhotometer.h"
#include "photometer/IPhotometerSink.h"

namespace photometer::tests {
namespace {

#if defined(__x86_64__)

/// The slot that a pointer to a virtual operation names: the ABI stores its offset in the table, plus one.
template <class Operation>
int SlotOf(Operation operation) {
  std::array<std::intptr_t, 2> words{};
  static_assert(sizeof(operation) == sizeof(words));
  std::memcpy(words.data(), &operation, sizeof(words));
  return static_cast<int>((words[0] - 1) / static_cast<std::intptr_t>(sizeof(void*)));
}

template <class... Operations>
std::vector<int> SlotsOf(Operations... operations) {
  return {SlotOf(operations)...};
}

std::vector<int> FromZeroTo(int nSlots) {
  std::vector<int> slots(static_cast<std::size_t>(nSlots));
  std::iota(slots.begin(), slots.end(), 0);
  return slots;
}

TEST(Interface, SlotsOfThePhotometer) {
  using P = IPhotometer;
  EXPECT_EQ(
      SlotsOf(&P::AddRef, &P::Release, &P::GetStatus, &P::GetPumpInfo, &P::GetUVLampState, &P::GetCuvetteSize,
              &P::SetCuvetteSize, &P::SetUVLamp, &P::SetSink, &P::Initialize, &P::Shutdown, &P::SetExternalPortSettings,
              &P::ResetExternalPortSettings, &P::SetPumpParameters, &P::SetSipperDetected, &P::SetPumpDisabled,
              &P::SetOperatingMode, &P::SendSipperPing, &P::RequestSipperRunTime, &P::RequestSipperData, &P::StartFlush,
              &P::CancelFlush, &P::ResetPumpCycleFlag, &P::SetUVSessionTime, &P::GetCuvetteState, &P::CancelMeasurement,
              &P::GetWavelengthCalibration, &P::SetWavelengthCalibrations, &P::WriteOpticalPort, &P::WriteExternalPort,
              &P::StartMeasure, &P::StartScan, &P::StartHolmiumOxideScan, &P::StartKinetics,
              &P::StartTurbidityMeasurement, &P::StartWavelengthCheck, &P::StartSystemCheck, &P::UpdatePumpParameters,
              &P::SetWavelengthCheckInterval, &P::StartWaveLengthTest, &P::ResetActivityTime, &P::OpenSipperPort),
      FromZeroTo(42));
}

TEST(Interface, SlotsOfTheSink) {
  using S = IPhotometerSink;
  EXPECT_EQ(
      SlotsOf(&S::OnNotify, &S::OnResult, &S::OnCuvetteChanged, &S::OnError, &S::OnSipperKeyB, &S::OnDelayCountdown,
              &S::OnSystemCheckStatus, &S::OnReferenceValues, &S::OnExternalPortData, &S::OnWavelengthCheckDue,
              &S::GetHostActivity, &S::GetHostBusy, &S::OnSipperPortLost, &S::OnSipperTick, &S::OnSipperCycleDone,
              &S::OnSipperInfoChanged, &S::OnPumpError, &S::OnLampSwitching, &S::OnWarmUpCountdown,
              &S::QueryPumpProgram, &S::OnFlushCompleted, &S::OnSipperKeyA, &S::OnUVLampReady,
              &S::OnSipperConnectionChanged, &S::GetUVLampWarmUpTime, &S::QueryCuvetteWait),
      FromZeroTo(26));
}

#endif

}  // namespace
}  // namespace photometer::tests
