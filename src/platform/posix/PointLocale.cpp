#include "platform/posix/PointLocale.h"

#include <locale.h>

#include <clocale>

namespace photometer::platform {

namespace {

locale_t PlainLocale() {
  // Lives as long as the process: threads may still format while statics are destroyed.
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

}  // namespace

PointLocale::PointLocale() : m_pBefore(nullptr) {
  if (const locale_t plain = PlainLocale(); plain != nullptr) {
    m_pBefore = uselocale(plain);
  }
}

PointLocale::~PointLocale() {
  if (m_pBefore != nullptr) {
    uselocale(static_cast<locale_t>(m_pBefore));
  }
}

}  // namespace photometer::platform
