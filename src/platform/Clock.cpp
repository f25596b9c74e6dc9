#include "platform/Platform.h"

namespace photometer::platform {

namespace {

struct TimeLetter {
  char16_t letter;
  WORD SYSTEMTIME::*field;
};

constexpr TimeLetter TimeLetters[] = {
    {u'H', &SYSTEMTIME::wHour}, {u'm', &SYSTEMTIME::wMinute}, {u's', &SYSTEMTIME::wSecond}};

WORD SYSTEMTIME::*FieldOf(char16_t letter) {
  for (const TimeLetter& entry : TimeLetters) {
    if (entry.letter == letter) {
      return entry.field;
    }
  }
  return nullptr;
}

std::u16string Decimal(WORD wValue, std::size_t nDigits) {
  return MultiByteToWideChar(FormatText(8, "%0*u", static_cast<int>(nDigits), static_cast<unsigned>(wValue)));
}

/// Takes quoted text off the front, without its quotes; a doubled quote in it stands for one.
std::u16string TakeQuoted(std::u16string_view& format) {
  std::u16string text;
  format.remove_prefix(1);
  while (!format.empty()) {
    const bool bQuote = format.front() == u'\'';
    if (bQuote && (format.size() == 1 || format[1] != u'\'')) {
      format.remove_prefix(1);
      break;
    }
    text += format.front();
    format.remove_prefix(bQuote ? 2 : 1);
  }
  return text;
}

/// Takes a run of one letter off the front: a single letter has no leading zero, a longer run two digits.
std::u16string TakeField(std::u16string_view& format, WORD wValue) {
  const std::size_t nEnd = format.find_first_not_of(format.front());
  const std::size_t nRun = nEnd == std::u16string_view::npos ? format.size() : nEnd;
  format.remove_prefix(nRun);
  return Decimal(wValue, nRun == 1 ? 1 : 2);
}

}  // namespace

DWORD GetTickCount() { return CurrentBoard().GetKernel().GetTickCount(); }

void GetLocalTime(SYSTEMTIME* pTime) { *pTime = CurrentBoard().GetKernel().GetLocalTime(); }

std::u16string GetDateFormatW(DWORD dwLocale, const SYSTEMTIME& time, CallSite site) {
  if (dwLocale != LOCALE_GERMAN || CallFails(LayerCall::GetDateFormatW, site)) {
    return {};
  }
  return Decimal(time.wDay, 2) + u'.' + Decimal(time.wMonth, 2) + u'.' + Decimal(time.wYear, 4);
}

std::u16string GetTimeFormatW(DWORD dwLocale, const SYSTEMTIME& time, const char16_t* format, CallSite site) {
  if (dwLocale != LOCALE_GERMAN || CallFails(LayerCall::GetTimeFormatW, site)) {
    return {};
  }
  std::u16string text;
  std::u16string_view rest = format;
  while (!rest.empty()) {
    if (rest.front() == u'\'') {
      text += TakeQuoted(rest);
    } else if (WORD SYSTEMTIME::*const field = FieldOf(rest.front()); field != nullptr) {
      text += TakeField(rest, time.*field);
    } else {
      text += rest.front();
      rest.remove_prefix(1);
    }
  }
  return text;
}

}  // namespace photometer::platform
