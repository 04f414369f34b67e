// The console's WAIT built-in: lets time pass inside a session.
#ifndef KW_TOOLS_RDPUB_WAIT_H_
#define KW_TOOLS_RDPUB_WAIT_H_

namespace rdpub {

// WAIT [milliseconds]: asks "\n等待毫秒数 <1000>: " (Enter: 1000; at most 600000) and runs the
// main frame's message loop for that long, so that posted messages and thread timers (blinking
// entities, for one) are handled as they would be while a user looks at the drawing. The time
// is measured on the machine's steady clock; the loop wakes every 10 ms.
void Wait();

}  // namespace rdpub

#endif  // KW_TOOLS_RDPUB_WAIT_H_
