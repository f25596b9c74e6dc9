#include "procedures/ProcedureRun.h"

namespace photometer {

bool ProcedureRun::CancelSeen() {
  m_bCanceled = m_bCanceled || m_State.IsCancelled();
  return m_bCanceled;
}

bool ProcedureRun::EndsCancelled(LONG iResult) { return m_bCanceled || (iResult != 0 && m_State.IsCancelled()); }

}  // namespace photometer
