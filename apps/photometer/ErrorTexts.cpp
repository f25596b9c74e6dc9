#include "ErrorTexts.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

#include <fmt/format.h>

namespace host {

namespace {

constexpr std::string_view CheckLine = "check that the optical unit is switched on and its cable is plugged in";
constexpr std::string_view CheckPump = "check that the pump is switched on and its cable is plugged in";
constexpr std::string_view CheckScanLine = "look for interference on the cable; repeat the run";
constexpr std::string_view Repeat = "repeat the run; if it comes back, have the instrument serviced";
constexpr std::string_view CheckRequest = "check the values of the request";

/// What can go wrong with a command; the number is the command's base plus this.
struct Cause {
  LONG iOffset;
  std::string_view text;
  std::string_view advice;
};

constexpr std::array Causes = {
    Cause{1, "a value is out of its range", CheckRequest},
    Cause{2, "the unit was silent for 60 seconds", CheckLine},
    Cause{3, "the answer was longer than it can be", CheckScanLine},
    Cause{4, "the unit answered \"error\"", Repeat},
    Cause{5, "the command could not be written to the port", CheckLine},
};

/// A command of the optical unit and the causes that its numbers tell.
struct CommandRow {
  LONG iBase;
  std::string_view operation;
  std::string_view offsets;
};

constexpr std::array Commands = {
    CommandRow{0, "SetFilter", "12345"},
    CommandRow{10, "SetOptoPower", "2345"},
    CommandRow{20, "SetShutter", "2345"},
    CommandRow{30, "SetGain", "2345"},
    CommandRow{40, "SetMeasurementLength", "12345"},
    CommandRow{50, "SetMirror", "12345"},
    CommandRow{60, "SetHalogenLamp", "2345"},
    CommandRow{70, "SetDeuteriumLamp", "2345"},
    CommandRow{80, "SetHomePosition", "2345"},
    CommandRow{90, "SetADSpeed", "12345"},
    CommandRow{100, "SetMonochromatorSpeed", "2345"},
    CommandRow{110, "MoveMonochromator", "12345"},
    CommandRow{120, "ReleaseMonochromator", "2345"},
    CommandRow{130, "GetADValue", "235"},
    CommandRow{150, "Scan", "2345"},
    CommandRow{160, "GetTurbidity", "235"},
    CommandRow{170, "SetFan", "12345"},
    CommandRow{180, "SetTurbidityPower", "12345"},
    CommandRow{190, "SetTurbidityGain", "2345"},
    CommandRow{200, "ReadFirmwareVersion", "25"},
};

/// Numbers with a meaning of their own.
struct SingleRow {
  LONG iNumber;
  std::string_view operation;
  std::string_view cause;
  std::string_view advice;
};

constexpr std::array Singles = {
    SingleRow{
        -2, "wavelength test", "the peak of the holmium oxide filter is more than 15 steps from its place",
        "empty the cuvette holder, close the lid and start again; if it comes back, have the instrument serviced"},
    SingleRow{-3, "reading", "ten readings in a row had no more light than darkness",
              "check the lamp, and that nothing dark is in the beam"},
    SingleRow{77, "SetDeuteriumLamp", "the deuterium lamp did not light",
              "repeat the run; if it comes back, replace the lamp"},
    SingleRow{302, "HolmiumOxideScan", "no data came for 60 seconds", CheckLine},
    SingleRow{303, "HolmiumOxideScan", "more data came than there are points", CheckScanLine},
    SingleRow{304, "HolmiumOxideScan", "the unit answered \"error\"", Repeat},
    SingleRow{305, "HolmiumOxideScan", "the scan command could not be written to the port", CheckLine},
    SingleRow{313, "Kinetics", "ten readings in a row had no more light than darkness",
              "check the lamp, and that nothing dark is in the beam"},
    SingleRow{315, "Kinetics", "a reading took longer than the interval", "give a longer interval, as --every 10s"},
    SingleRow{322, "Scan", "no data came for 60 seconds", CheckLine},
    SingleRow{323, "Scan", "more data came than there are points", CheckScanLine},
    SingleRow{324, "Scan", "the unit answered \"error\"", Repeat},
    SingleRow{325, "Scan", "the scan command could not be written to the port", CheckLine},
    SingleRow{326, "Scan", "the spectrum was cancelled", "nothing need be done"},
    SingleRow{501, "Pump", "there is no device", "start the program again"},
    SingleRow{512, "PumpZQ410", "the pump was silent for 60 seconds", CheckPump},
    SingleRow{513, "PumpZQ410", "the pump's answers make no sense", CheckPump},
    SingleRow{514, "PumpZQ410", "the pump reported a failed cycle",
              "check the tubes and the sample, and repeat the run"},
    SingleRow{516, "PumpZQ410", "the cycle was cancelled", "nothing need be done"},

    SingleRow{522, "Flush", "the pump was silent for 60 seconds", CheckPump},
    SingleRow{523, "Flush", "the pump's answers make no sense", CheckPump},
    SingleRow{524, "Flush", "the pump reported a failed flush",
              "check the tubes and the rinsing liquid, and flush again"},
    SingleRow{525, "Flush", "the flush command could not be written to the port", CheckPump},
    SingleRow{531, "SetPump", "a pump parameter is above 999", "give --pump-time and --pump-parameter at most 999"},
    SingleRow{532, "SetPump", "the pump was silent for 60 seconds", CheckPump},
    SingleRow{533, "SetPump", "the pump did not acknowledge its parameters", CheckPump},
    SingleRow{535, "SetPump", "the parameters could not be written to the port", CheckPump},
    SingleRow{541, "UpdatePumpParProc", "a pump parameter is above 999", "give pump parameters of at most 999"},
    SingleRow{542, "UpdatePumpParProc", "the pump was silent for 60 seconds", CheckPump},
    SingleRow{543, "UpdatePumpParProc", "the pump did not acknowledge its parameters", CheckPump},
    SingleRow{545, "UpdatePumpParProc", "the parameters could not be written to the port", CheckPump},
    SingleRow{612, "PumpZQ420", "the pump did not acknowledge start or stop in time", CheckPump},
    SingleRow{613, "PumpZQ420", "the cycle was cancelled", "nothing need be done"},
    SingleRow{614, "PumpZQ420", "no pump is there, or its port was lost", CheckPump},
    SingleRow{615, "PumpZQ420", "the pump reported fault 3", "look the fault up in the pump's manual"},
    SingleRow{616, "PumpZQ420", "the pump reported fault 5", "look the fault up in the pump's manual"},
    SingleRow{617, "PumpZQ420", "the pump reported fault 6", "look the fault up in the pump's manual"},
    SingleRow{1000, "filter spectrum", "the run was cancelled", "nothing need be done"},
    SingleRow{2000, "filter spectrum", "its range was given in no known way",
              "this is a fault of the library: report it"},
    SingleRow{3000, "filter spectrum", "a cuvette was inserted", "empty the cuvette holder and start again"},
};

std::optional<ErrorText> FindSingle(LONG iNumber) {
  const auto row = std::find_if(Singles.begin(), Singles.end(),
                                [iNumber](const SingleRow& single) { return single.iNumber == iNumber; });
  if (row == Singles.end()) {
    return std::nullopt;
  }
  return ErrorText{std::string(row->operation), std::string(row->cause), std::string(row->advice)};
}

std::optional<ErrorText> FindCommandError(LONG iNumber) {
  for (const CommandRow& command : Commands) {
    for (const Cause& cause : Causes) {
      const char digit = static_cast<char>('0' + cause.iOffset);
      if (command.iBase + cause.iOffset == iNumber && command.offsets.find(digit) != std::string_view::npos) {
        return ErrorText{std::string(command.operation), std::string(cause.text), std::string(cause.advice)};
      }
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<ErrorText> FindErrorText(LONG iNumber) {
  std::optional<ErrorText> text = FindSingle(iNumber);
  return text ? text : FindCommandError(iNumber);
}

std::vector<LONG> ErrorNumbers() {
  std::set<LONG> numbers;
  for (const SingleRow& row : Singles) {
    numbers.insert(row.iNumber);
  }
  for (const CommandRow& command : Commands) {
    for (const char digit : command.offsets) {
      numbers.insert(command.iBase + (digit - '0'));
    }
  }
  return {numbers.begin(), numbers.end()};
}

std::string ExplainError(LONG iNumber) {
  const std::optional<ErrorText> text = FindErrorText(iNumber);
  if (!text) {
    return fmt::format("error {}: a number that this program does not know; look into Photometer.log of the instrument",
                       iNumber);
  }
  return fmt::format("error {} ({}): {}; {}", iNumber, text->operation, text->cause, text->advice);
}

std::string ExplainResult(HRESULT hResult) {
  switch (hResult) {
    case photometer::S_OK:
      return "success";
    case photometer::E_FAIL:
      return "E_FAIL (not possible now: busy, not started up, or the board has not given what the device needs)";
    case photometer::E_POINTER:
      return "E_POINTER (a record is missing)";
    case photometer::E_ACCESSDENIED:
      return "E_ACCESSDENIED (busy, or already started up)";
    case photometer::E_INVALIDARG:
      return "E_INVALIDARG (a value of the request is out of its range)";
    default:
      return fmt::format("0x{:08X}", static_cast<std::uint32_t>(hResult));
  }
}

}  // namespace host
