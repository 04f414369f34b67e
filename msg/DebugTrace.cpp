#include "msg/DebugTrace.h"

#include <cstdarg>

#include "common/format.h"
#include "host/api/win.h"

namespace KWRDPub {

void DebugTrace(const wchar_t* format, ...) {
  wchar_t line[1024];
  va_list args;
  va_start(args, format);
  kw::VFormatInto(line, sizeof line / sizeof line[0], format ? format : L"", args);
  va_end(args);
  OutputDebugStringW(line);
}

}  // namespace KWRDPub
