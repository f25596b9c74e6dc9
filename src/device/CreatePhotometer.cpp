#include <memory>
#include <new>

#include "device/Photometer.h"

photometer::IPhotometer* CreatePhotometer() {
  try {
    if (!photometer::platform::OpenDefaultBoard()) {
      return nullptr;
    }
    auto pPhotometer = std::make_unique<photometer::Photometer>();
    if (!pPhotometer->IsUsable()) {
      return nullptr;
    }
    pPhotometer->AddRef();
    return pPhotometer.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
