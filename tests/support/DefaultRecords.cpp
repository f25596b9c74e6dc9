#include "support/DefaultRecords.h"

namespace photometer::tests {

PhotometerParameters DefaultParameters() {
  PhotometerParameters params{};
  params.dA = -0.00004438;
  params.dB = -0.18985745;
  params.dC = 89325.07932532;
  params.dD = -1771912.20088685;
  params.UpperFilterWL = 550;
  params.MiddleFilterWL = 450;
  params.LowerFilterWL = 375;
  params.HalogenMin = 330;
  params.HalogenMax = 1100;
  params.UVMin = 190;
  params.UVMax = 350;
  params.bUV = 1;
  params.dwBaudRate = 9600;
  params.dwByteSize = 8;
  return params;
}

CalibrationData DefaultCalibration() {
  return {360.7, 340.0, 880, 340, {345, 350, 365, 412, 436, 450, 470, 490, 506, 510, 520, 525,
                                   530, 540, 545, 558, 585, 605, 620, 680, 690, 800, 820, 885}};
}

MeasureRequest MeasureAt(const std::vector<double>& wavelengths) {
  MeasureRequest request{};
  request.m_dwRequestId = 7;
  request.m_dLampSwitchingPoint = 340.0;
  request.m_dwReadings = 1;
  request.m_Wavelengths = wavelengths;
  for (DWORD dwTag = 1; dwTag <= wavelengths.size(); ++dwTag) {
    request.m_Tags.push_back(dwTag);
  }
  return request;
}

}  // namespace photometer::tests
