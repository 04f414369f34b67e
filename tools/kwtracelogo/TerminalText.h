// Text for a terminal: trace lines are untrusted, and an escape sequence in one must not reach
// the terminal that shows them.
#ifndef KW_TOOLS_KWTRACELOGO_TERMINALTEXT_H_
#define KW_TOOLS_KWTRACELOGO_TERMINALTEXT_H_

#include <string>
#include <string_view>

namespace kwtracelogo {

// Appends the UTF-8 line `utf8` to *out with every control character but the tab written out:
// U+0000 to U+001F and U+007F as "\xHH", U+0080 to U+009F as "\uHHHH" (upper-case hex).
// Everything else is kept byte for byte. Allocates only when *out must grow.
void AppendTerminalText(std::string_view utf8, std::string* out);

}  // namespace kwtracelogo

#endif  // KW_TOOLS_KWTRACELOGO_TERMINALTEXT_H_
