#include "settings/SettingsKeys.h"

#include <array>

namespace photometer {
namespace {

using Record = InstrumentSettings;

/// Longest wavelength of the halogen lamp that any instrument has, nm.
constexpr DWORD HighestHalogenMax = 1100;

constexpr SettingsDateTime DefaultDateTime = {2000, 1, 1, 12, 0};

constexpr std::array CalibrationWavelengths = {345, 350, 365, 412, 436, 450, 470, 490, 506, 510, 520, 525,
                                               530, 540, 545, 558, 585, 605, 620, 680, 690, 800, 820, 885};

constexpr std::array Keys = {
    SettingsKey{"LowerFilterWL", IntegerField{&Record::LowerFilterWL, 375}},
    SettingsKey{"MiddleFilterWL", IntegerField{&Record::MiddleFilterWL, 450}},
    SettingsKey{"UpperFilterWL", IntegerField{&Record::UpperFilterWL, 550}},
    SettingsKey{"RefMinWL", IntegerField{&Record::RefMinWL, 340}},
    SettingsKey{"RefMaxWL", IntegerField{&Record::RefMaxWL, 380}},
    SettingsKey{"Peak1", RealField{&Record::Peak1, 360.7, 1}},
    SettingsKey{"Peak2", RealField{&Record::Peak2, 453.8, 1}},
    SettingsKey{"Peak3", RealField{&Record::Peak3, 537.0, 1}},
    SettingsKey{"F0", RealField{&Record::F0, -1771912.20088685, 8}},
    SettingsKey{"F1", RealField{&Record::F1, 89325.07932532, 8}},
    SettingsKey{"F2", RealField{&Record::F2, -0.18985745, 8}},
    SettingsKey{"F3", RealField{&Record::F3, -0.00004438, 8}},
    SettingsKey{"UV", FlagField{&Record::UV, TRUE}},
    SettingsKey{"Manufacturer", TextField{&Record::Manufacturer, u"VELTRANOMETRIK GmbH & Co. KG"}},
    SettingsKey{"Model", TextField{&Record::Model, u"KESTRA-UV"}},
    SettingsKey{"SN", TextField{&Record::SN, u"0"}},
    SettingsKey{"FA", RealField{&Record::FA, 0.00011234, 8}},
    SettingsKey{"FB", RealField{&Record::FB, -3.16358212, 8}},
    SettingsKey{"FC", RealField{&Record::FC, 0.00003332, 8}},
    SettingsKey{"FD", RealField{&Record::FD, -2.67440103, 8}},
    SettingsKey{"HalogenMin", IntegerField{&Record::HalogenMin, 330}},
    SettingsKey{"HalogenMax", IntegerField{&Record::HalogenMax, 1100, HighestHalogenMax}},
    SettingsKey{"UVMin", IntegerField{&Record::UVMin, 190}},
    SettingsKey{"UVMax", IntegerField{&Record::UVMax, 350}},
    SettingsKey{"Zeros", ListField{&Record::Zeros, ListRule::MergeAndReport}},
    SettingsKey{"CODOffsets", ListField{&Record::CODOffsets, ListRule::Merge}},
    SettingsKey{"NitrateOffsets", ListField{&Record::NitrateOffsets, ListRule::Merge}},
    SettingsKey{"ZeroCalibrationDT", DateTimeField{&Record::ZeroCalibrationDT, DefaultDateTime}},
    SettingsKey{"ZeroOffsetCalibDT", DateTimeField{&Record::ZeroOffsetCalibDT, DefaultDateTime}},
    SettingsKey{"TurbHighCalibrationDT", DateTimeField{&Record::TurbHighCalibrationDT, DefaultDateTime}},
    SettingsKey{"TurbLowCalibrationDT", DateTimeField{&Record::TurbLowCalibrationDT, DefaultDateTime}},
    SettingsKey{"HalLampOffset", IntegerField{&Record::HalLampOffset, 0}},
    SettingsKey{"UVLampOffset", IntegerField{&Record::UVLampOffset, 0}},
    SettingsKey{"HalLampFactor", RealField{&Record::HalLampFactor, 1.0, 2}},
    SettingsKey{"UVLampFactor", RealField{&Record::UVLampFactor, 1.0, 2}},
    SettingsKey{"StartPoints", ListField{&Record::StartPoints, ListRule::Replace}},
    SettingsKey{"StartPointsRef", ListField{&Record::StartPointsRef, ListRule::Replace}},
    SettingsKey{"VolumeMultiplier", IntegerField{&Record::VolumeMultiplier, 2000}},
    SettingsKey{"WavelengthTest", IntegerField{&Record::WavelengthTest, 0}, false},
    SettingsKey{"DbFlashWaitTime", IntegerField{&Record::DbFlashWaitTime, 15}},
    SettingsKey{"TurbCalHigh", ListField{&Record::TurbCalHigh, ListRule::Replace}},
    SettingsKey{"TurbCalLow", ListField{&Record::TurbCalLow, ListRule::Replace}},
    SettingsKey{"TurbCalRef", ListField{&Record::TurbCalRef, ListRule::Replace}},
    SettingsKey{"TurbHighCalibrationDTAdjusted",
                DateTimeField{&Record::TurbHighCalibrationDTAdjusted, DefaultDateTime}},
    SettingsKey{"TurbLowCalibrationDTAdjusted", DateTimeField{&Record::TurbLowCalibrationDTAdjusted, DefaultDateTime}},
};
static_assert(Keys.size() == 45 && CalibrationWavelengths.size() == 24);

}  // namespace

std::span<const SettingsKey> SettingsKeys() { return Keys; }

std::span<const int> DefaultListWavelengths() { return CalibrationWavelengths; }

}  // namespace photometer
