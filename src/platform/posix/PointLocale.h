/// Gives the calling thread the "C" locale while it lives, so that printf writes a decimal point also in a process
/// whose locale has a comma. Other threads do not notice. No call into the layer may be made meanwhile.
#pragma once

namespace photometer::platform {

class PointLocale {
 public:
  PointLocale();
  ~PointLocale();
  PointLocale(const PointLocale&) = delete;
  PointLocale& operator=(const PointLocale&) = delete;

 private:
  /// The thread's locale before; null when it could not be changed.
  void* m_pBefore;
};

}  // namespace photometer::platform
