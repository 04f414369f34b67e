#include "app/WatcherList.h"

#include <algorithm>
#include <vector>

#include "common/format.h"
#include "host/api/editor.h"
#include "msg/DebugTrace.h"

namespace KWRDPub {

// The pairs go through a 17-bucket hash map of type to codes, listed bucket by bucket (bucket =
// (type >> 4) % 17), the most recently added type first within a bucket: that order is what
// users of the list know.
std::wstring WatcherFilterText(const KWMSGWATCHERINFO& info) {
  if (info.ownFilter) return kw::FormatW(L"[%u(%u)]", info.type, info.code);
  struct Group {
    uint32_t type;
    std::wstring codes;
  };
  std::vector<Group> buckets[17];
  for (const auto& pair : info.pairs) {
    // Named copies, not structured bindings: older compilers cannot capture those in a lambda.
    const uint32_t type = pair.first;
    const auto code = pair.second;
    std::vector<Group>& bucket = buckets[(type >> 4) % 17];
    auto it =
        std::find_if(bucket.begin(), bucket.end(), [&](const Group& g) { return g.type == type; });
    if (it == bucket.end()) it = bucket.insert(bucket.begin(), Group{type, L""});
    it->codes += kw::FormatW(L"%d,", static_cast<int>(code));
  }
  std::wstring text;
  for (const std::vector<Group>& bucket : buckets) {
    for (const Group& g : bucket) {
      std::wstring codes = g.codes.substr(0, g.codes.size() - 1);
      text += kw::FormatW(L"%u(%s);", g.type, codes.c_str());
    }
  }
  while (!text.empty() && text.back() == L';') text.pop_back();
  return L"[" + text + L"]";
}

void PrintWatcherList(const CRDMsgManager& mgr) {
  try {
    acutPrintf(L"\n共%d个消息监听器", mgr.WatcherCount());
    int number = 0;
    for (const KWMSGWATCHERINFO& info : mgr.Watchers()) {
      std::wstring filter = WatcherFilterText(info);
      acutPrintf(L"\n%d: (0x%I64x) %s %s", ++number, static_cast<uint64_t>(info.address),
                 info.name.c_str(), filter.c_str());
    }
  } catch (...) {
    DebugTrace(L"KW:%s", L"MsgWatchers");
  }
}

}  // namespace KWRDPub
