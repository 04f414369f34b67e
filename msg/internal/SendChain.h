// The nesting chain of the dispatcher's sends: the sequence numbers of the sends in progress,
// outermost first, as ",1,2,3,", and the counter that numbers them. Internal to msg/: the
// dispatcher writes each send's number into the trace log's "from" attribute with it.
//
// Invariants:
//   1. len < kCap and text[len] == 0.
//   2. Numbers in the chain are unique (the counter only grows until the chain empties).
//   3. Past kLongChain characters each deeper send appends "..." instead of its number, as long
//      as the buffer has room; a full buffer stays as it is (the deepest sends then add nothing).
//   4. When the outermost send ends the chain is empty and the counter 0, so the next outermost
//      send is number 1 again.
// States: not live (after the quit message, until the next send) and live. Main thread only;
// nothing allocates.
#ifndef KW_MSG_INTERNAL_SENDCHAIN_H_
#define KW_MSG_INTERNAL_SENDCHAIN_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace KWRDPub {

class SendChain {
 public:
  static constexpr size_t kCap = 100;
  static constexpr size_t kLongChain = 85;

  // One send's entry: the pattern ",n," it is searched by, and where Extend put it.
  struct Link {
    wchar_t pat[13] = {};
    size_t k = 0;
    size_t at = std::wstring_view::npos;  // npos when the number was not written
  };

  // The chain as it stands, 0-terminated.
  const wchar_t* Text() const { return m_text; }
  size_t Length() const { return m_len; }
  bool Live() const { return m_live; }

  // Before a send: a chain that is not live becomes live and empty.
  void Revive() {
    if (m_live) return;
    Clear();
    m_live = true;
  }
  // The quit message: empty and not live.
  void Drop() {
    Clear();
    m_live = false;
  }
  // The next send's number.
  uint32_t NextNumber() { return ++m_counter; }

  // Appends send n: ",n," to an empty chain, "n," otherwise, "..." past kLongChain characters.
  Link Extend(uint32_t n) {
    Link link = MakeLink(n);
    if (m_len >= kLongChain) {
      Put(L"...", 3);
    } else if (m_len == 0) {
      link.at = 0;
      WriteNumber(0, n, link.k);
    } else if (m_len + link.k - 1 < kCap) {
      link.at = m_len - 1;
      WriteNumber(link.at, n, link.k);
    }
    return link;
  }
  // Ends a send: ",n," at the start empties the chain and restarts the numbering; found later,
  // the chain is cut after the comma before n; not found (shown as "..."), it is left. By
  // invariant 2, when ",n," still stands where Extend put it, that is the first occurrence and
  // the search is skipped.
  void Restore(const Link& link) {
    size_t at = StandsAt(link.at, link.pat, link.k)
                    ? link.at
                    : std::wstring_view(m_text, m_len).find(std::wstring_view(link.pat, link.k));
    if (at == std::wstring_view::npos) return;
    if (at == 0) {
      Clear();
      m_counter = 0;
      return;
    }
    m_len = at + 1;
    m_text[m_len] = 0;
  }

 private:
  static Link MakeLink(uint32_t n) {
    Link link;
    wchar_t rev[10];
    size_t d = 0;
    do {
      rev[d++] = static_cast<wchar_t>(L'0' + n % 10);
      n /= 10;
    } while (n);
    link.pat[link.k++] = L',';
    while (d > 0) link.pat[link.k++] = rev[--d];
    link.pat[link.k++] = L',';
    return link;
  }
  void Clear() {
    m_len = 0;
    m_text[0] = 0;
  }
  // Writes ",n," (k characters) at `at`, where a comma may already stand, and ends the chain
  // there. The digits go straight into place, last first: copying them from a buffer written
  // just before would stall the processor on every send.
  void WriteNumber(size_t at, uint32_t n, size_t k) {
    m_text[at] = L',';
    m_text[at + k - 1] = L',';
    for (size_t p = at + k - 1; p-- > at + 1;) {
      m_text[p] = static_cast<wchar_t>(L'0' + n % 10);
      n /= 10;
    }
    m_len = at + k;
    m_text[m_len] = 0;
  }
  void Put(const wchar_t* s, size_t n) {
    if (m_len + n >= kCap) return;
    for (size_t i = 0; i < n; ++i) m_text[m_len + i] = s[i];  // a few characters: no library call
    m_len += n;
    m_text[m_len] = 0;
  }
  bool StandsAt(size_t at, const wchar_t* s, size_t n) const {
    if (at > m_len || m_len - at < n) return false;
    for (size_t i = 0; i < n; ++i) {
      if (m_text[at + i] != s[i]) return false;
    }
    return true;
  }

  wchar_t m_text[kCap] = {};
  size_t m_len = 0;
  bool m_live = false;
  uint32_t m_counter = 0;
};

}  // namespace KWRDPub

#endif  // KW_MSG_INTERNAL_SENDCHAIN_H_
