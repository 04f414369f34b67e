#include "msg/MessageReport.h"

#include <cstdarg>

#include "common/format.h"
#include "host/api/win.h"

namespace KWRDPub {

void ReportMessage(const wchar_t* format, ...) {
  wchar_t text[1024];
  va_list args;
  va_start(args, format);
  kw::VFormatInto(text, sizeof text / sizeof text[0], format ? format : L"", args);
  va_end(args);
  MessageBoxW(acedGetAcadFrame(), text, kNoticeCaption, MB_OK | MB_ICONINFORMATION);
}

}  // namespace KWRDPub
