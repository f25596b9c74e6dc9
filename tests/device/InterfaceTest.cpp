/// The order of the operations in the virtual tables, which hosts rely on by number.
#include <array>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "photometer/IPhotometer.h"
#include "photometer/IPhotometerSink.h"
#include "support/World.h"

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

/// Calls an operation of the object by its slot alone.
template <class Result, class... Arguments>
Result CallSlot(IPhotometer* pPhotometer, std::size_t nSlot, Arguments... arguments) {
  void* const* pTable = nullptr;
  std::memcpy(&pTable, static_cast<const void*>(pPhotometer), sizeof(pTable));
  using Operation = Result (*)(IPhotometer*, Arguments...);
  return reinterpret_cast<Operation>(pTable[nSlot])(pPhotometer, arguments...);
}

TEST(Interface, OperationsAnswerAtTheirNumbers) {
  World world;
  IPhotometer* const pPhotometer = CreatePhotometer();
  ASSERT_NE(pPhotometer, nullptr);
  EXPECT_EQ(CallSlot<LONG>(pPhotometer, 0), 2);
  EXPECT_EQ(CallSlot<LONG>(pPhotometer, 1), 1);
  EXPECT_EQ(CallSlot<LONG>(pPhotometer, 4), -1);
  CallSlot<void>(pPhotometer, 6, LONG{40});
  EXPECT_EQ(CallSlot<LONG>(pPhotometer, 5), 40);
  EXPECT_EQ(CallSlot<DeviceStatus>(pPhotometer, 2).iCuvetteSize, 40);
  CallSlot<void>(pPhotometer, 16, LONG{2});
  EXPECT_EQ(CallSlot<PumpInfo>(pPhotometer, 3).m_iOperatingMode, 2);
  EXPECT_EQ((CallSlot<HRESULT, const PhotometerParameters*, const CalibrationData*>(pPhotometer, 9, nullptr, nullptr)),
            E_POINTER);
  EXPECT_EQ(CallSlot<HRESULT>(pPhotometer, 25), E_FAIL);
  EXPECT_EQ(CallSlot<HRESULT>(pPhotometer, 40), S_OK);
  EXPECT_EQ(CallSlot<LONG>(pPhotometer, 41), 0);
  EXPECT_EQ(CallSlot<LONG>(pPhotometer, 1), 0);
  world.ExpectClean();
}

}  // namespace
}  // namespace photometer::tests
