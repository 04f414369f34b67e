// The body of command "MsgWatchers": the dispatcher's watcher list printed on the host's
// command line, one line per registration with its number, address, name and filter.
#ifndef KW_APP_WATCHERLIST_H_
#define KW_APP_WATCHERLIST_H_

#include <string>

#include "msg/RDMsgManager.h"

namespace KWRDPub {

// Prints "\n共N个消息监听器", then (when there are any) "\nI: (0xADDRESS) NAME FILTER" for each
// live registration of `mgr` in registration order. Prints what it could when memory runs out.
void PrintWatcherList(const CRDMsgManager& mgr);

// A registration's filter as the list shows it: "[type(code)]" for an object filtered by its
// own type and code; otherwise its pairs grouped by type, as "[1(9);20(1,2)]".
std::wstring WatcherFilterText(const KWMSGWATCHERINFO& info);

}  // namespace KWRDPub

#endif  // KW_APP_WATCHERLIST_H_
