/// The order of the operations in the virtual tables, which hosts rely on by number.
#include <array>
#include <cstdint>
#include <cstring>
#include <utility>
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

TEST(Interface, SlotsOfThePhotometer) {
  using P = IPhotometer;
  const std::vector<int> slots{
      SlotOf(&P::AddRef),
      SlotOf(&P::Release),
      SlotOf(&P::GetStatus),
      SlotOf(&P::GetPumpInfo),
      SlotOf(&P::GetUVLampState),
      SlotOf(&P::GetCuvetteSize),
      SlotOf(&P::SetCuvetteSize),
      SlotOf(&P::SetUVLamp),
      SlotOf(&P::SetSink),
      SlotOf(&P::Initialize),
      SlotOf(&P::Shutdown),
      SlotOf(&P::SetExternalPortSettings),
      SlotOf(&P::ResetExternalPortSettings),
      SlotOf(&P::SetPumpParameters),
      SlotOf(&P::SetSipperDetected),
      SlotOf(&P::SetPumpDisabled),
      SlotOf(&P::SetOperatingMode),
      SlotOf(&P::SendSipperPing),
      SlotOf(&P::RequestSipperRunTime),
      SlotOf(&P::RequestSipperData),
      SlotOf(&P::StartFlush),
      SlotOf(&P::CancelFlush),
      SlotOf(&P::ResetPumpCycleFlag),
      SlotOf(&P::SetUVSessionTime),
      SlotOf(&P::GetCuvetteState),
      SlotOf(&P::CancelMeasurement),
      SlotOf(&P::GetWavelengthCalibration),
      SlotOf(&P::SetWavelengthCalibrations),
      SlotOf(&P::WriteOpticalPort),
      SlotOf(&P::WriteExternalPort),
      SlotOf(&P::StartMeasure),
      SlotOf(&P::StartScan),
      SlotOf(&P::StartHolmiumOxideScan),
      SlotOf(&P::StartKinetics),
      SlotOf(&P::StartTurbidityMeasurement),
      SlotOf(&P::StartWavelengthCheck),
      SlotOf(&P::StartSystemCheck),
      SlotOf(&P::UpdatePumpParameters),
      SlotOf(&P::SetWavelengthCheckInterval),
      SlotOf(&P::StartWaveLengthTest),
      SlotOf(&P::ResetActivityTime),
      SlotOf(&P::OpenSipperPort),
  };
  ASSERT_EQ(slots.size(), 42U);
  for (int i = 0; i < 42; ++i) {
    EXPECT_EQ(slots[static_cast<std::size_t>(i)], i);
  }
}

TEST(Interface, SlotsOfTheSink) {
  using S = IPhotometerSink;
  const std::vector<int> slots{
      SlotOf(&S::OnNotify),
      SlotOf(&S::OnResult),
      SlotOf(&S::OnCuvetteChanged),
      SlotOf(&S::OnError),
      SlotOf(&S::OnSipperKeyB),
      SlotOf(&S::OnDelayCountdown),
      SlotOf(&S::OnSystemCheckStatus),
      SlotOf(&S::OnReferenceValues),
      SlotOf(&S::OnExternalPortData),
      SlotOf(&S::OnWavelengthCheckDue),
      SlotOf(&S::GetHostActivity),
      SlotOf(&S::GetHostBusy),
      SlotOf(&S::OnSipperPortLost),
      SlotOf(&S::OnSipperTick),
      SlotOf(&S::OnSipperCycleDone),
      SlotOf(&S::OnSipperInfoChanged),
      SlotOf(&S::OnPumpError),
      SlotOf(&S::OnLampSwitching),
      SlotOf(&S::OnWarmUpCountdown),
      SlotOf(&S::QueryPumpProgram),
      SlotOf(&S::OnFlushCompleted),
      SlotOf(&S::OnSipperKeyA),
      SlotOf(&S::OnUVLampReady),
      SlotOf(&S::OnSipperConnectionChanged),
      SlotOf(&S::GetUVLampWarmUpTime),
      SlotOf(&S::QueryCuvetteWait),
  };
  ASSERT_EQ(slots.size(), 26U);
  for (int i = 0; i < 26; ++i) {
    EXPECT_EQ(slots[static_cast<std::size_t>(i)], i);
  }
}

#endif

/// Calls an operation of the object by its slot alone.
template <class Result, class... Arguments>
Result CallSlot(IPhotometer* pPhotometer, std::size_t nSlot, Arguments... arguments) {
  void* const* pTable = nullptr;
  std::memcpy(&pTable, pPhotometer, sizeof(pTable));
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
