// The library's debugging trace: one formatted wide line per call, handed to the host's
// debug-output sink (OutputDebugStringW; on the embedded host: stderr when KW_DEBUG_TRACE is set,
// and captured for tests). Lines longer than 1,023 characters are cut. Never allocates, never
// fails visibly.
#ifndef KW_MSG_DEBUGTRACE_H_
#define KW_MSG_DEBUGTRACE_H_

namespace KWRDPub {

void DebugTrace(const wchar_t* format, ...);

}  // namespace KWRDPub

#endif  // KW_MSG_DEBUGTRACE_H_
