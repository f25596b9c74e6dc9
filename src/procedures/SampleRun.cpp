#include "procedures/SampleRun.h"

#include "logging/LogFiles.h"

namespace photometer {

void SampleRun::NoteActivity() {
  const DWORD dwNow = GetTickCount();
  m_State.Lock()->m_Status.dwLastActivityTick = dwNow;
}

bool SampleRun::TakeOver(const char* procedure, const Reading& reading, MeasureValue* pValue) {
  pValue->dValue = reading.dSample;
  pValue->dValueRef = reading.dReference;
  if (IsValid(reading)) {
    return true;
  }
  LogPhotometerF(FALSE, "[%s] get invalid values...", procedure);
  LogPhotometerF(FALSE, "[%s] Pos= %d  WL= %.f  Value= %.3f  ValueRef= %.3f", procedure,
                 static_cast<int>(pValue->dwPosition), pValue->dWavelength, pValue->dValue, pValue->dValueRef);
  return false;
}

}  // namespace photometer
