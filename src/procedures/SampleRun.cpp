#include "procedures/SampleRun.h"

#include "logging/LogFiles.h"

namespace photometer {

bool SampleRun::CancelSeen() {
  m_bCanceled = m_bCanceled || m_State.IsCancelled();
  return m_bCanceled;
}

void SampleRun::NoteActivity() {
  const DWORD dwNow = GetTickCount();
  m_State.Lock()->m_Status.dwLastActivityTick = dwNow;
}

void SampleRun::LogInvalidReading(const char* procedure, const MeasureValue& value) {
  LogPhotometerF(FALSE, "[%s] get invalid values...", procedure);
  LogPhotometerF(FALSE, "[%s] Pos= %d  WL= %.f  Value= %.3f  ValueRef= %.3f", procedure,
                 static_cast<int>(value.dwPosition), value.dWavelength, value.dValue, value.dValueRef);
}

}  // namespace photometer
