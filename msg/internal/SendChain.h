// The nesting chain of the dispatcher's sends: the sequence numbers of the sends in progress,
// outermost first, as ",1,2,3,", and the counter that numbers them. Internal to msg/: the
// dispatcher writes the chain into the trace log's "from" attribute.
//
// The chain is kept as a stack of pieces (",n," first, then "n," or "..."), each with the length
// of the text before it, and written out as text only when Text() is asked for (a traced send):
// an untraced send only pushes and pops a piece.
//
// Invariants:
//   1. m_len is the length of the text the pieces make, and stays below kCap.
//   2. Numbers in the chain are unique (the counter only grows until the chain empties).
//   3. Past kLongChain characters each deeper send adds "..." instead of its number, as long as
//      the text stays below kCap characters; after that deeper sends add nothing.
//   4. When the outermost send ends the chain is empty and the counter 0, so the next outermost
//      send is number 1 again.
//   5. m_epoch changes whenever the chain is emptied other than by its outermost send ending (the
//      quit message): a send that started before then finds its number no longer in the chain.
// States: not live (after the quit message, until the next send) and live. Main thread only;
// nothing allocates.
#ifndef KW_MSG_INTERNAL_SENDCHAIN_H_
#define KW_MSG_INTERNAL_SENDCHAIN_H_

#include <cstddef>
#include <cstdint>

namespace KWRDPub {

class SendChain {
 public:
  static constexpr size_t kCap = 100;
  static constexpr size_t kLongChain = 85;

  // One send's entry: where its number stands among the pieces, if it was written.
  struct Link {
    static constexpr uint32_t kNone = ~uint32_t{0};
    // The piece's index (kNone when the number was not written) and, above it, the epoch: one
    // word, so that a send keeps its link in a register.
    uint64_t word = kNone;
    uint32_t Piece() const { return static_cast<uint32_t>(word); }
    uint32_t Epoch() const { return static_cast<uint32_t>(word >> 32); }
  };

  // The chain as text, 0-terminated (valid until the chain changes).
  const wchar_t* Text() {
    Render();
    return m_text;
  }
  size_t Length() const { return m_len; }
  bool Live() const { return m_live; }

  // Before a send: a chain that is not live becomes live and empty.
  void Revive() {
    if (m_live) return;
    Empty();
    m_live = true;
  }
  // The quit message: empty and not live.
  void Drop() {
    Empty();
    m_live = false;
  }
  // The next send's number.
  uint32_t NextNumber() { return ++m_counter; }

  // Adds send n: ",n," to an empty chain, "n," otherwise, "..." past kLongChain characters.
  Link Extend(uint32_t n) {
    uint32_t piece = Link::kNone;
    if (m_len >= kLongChain) {
      if (m_len + 3 < kCap) Push(kDots, 3);
    } else {
      const size_t k = Width(n) + 2;  // ",n,"
      if (m_len == 0) {
        piece = Push(n, k);
      } else if (m_len + k - 1 < kCap) {
        piece = Push(n, k - 1);
      }
    }
    return Link{(uint64_t{m_epoch} << 32) | piece};
  }
  // Ends a send: the outermost one empties the chain and restarts the numbering; an inner one
  // cuts the chain after the comma before its number; one whose number is not in the chain
  // (shown as "...", or gone with the quit message) leaves it.
  void Restore(Link link) {
    const uint32_t piece = link.Piece();  // kNone is never below m_top
    if (piece >= m_top || link.Epoch() != m_epoch) return;
    if (piece == 0) {
      m_top = 0;
      m_len = 0;
      m_counter = 0;
      return;
    }
    m_top = piece;
    m_len = m_pieces[piece].start;
  }

 private:
  static constexpr uint32_t kDots = 0;            // a piece of "..." (send numbers start at 1)
  static constexpr size_t kMaxPieces = kCap / 2;  // every piece has two characters or more

  struct Piece {
    uint32_t n;      // the send number, or kDots
    uint32_t start;  // length of the text before the piece
  };

  static size_t Width(uint32_t n) {
    size_t d = 1;
    for (; n >= 10; n /= 10) ++d;
    return d;
  }
  uint32_t Push(uint32_t n, size_t chars) {
    m_pieces[m_top] = Piece{n, static_cast<uint32_t>(m_len)};
    m_len += chars;
    return m_top++;
  }
  void Empty() {
    m_top = 0;
    m_len = 0;
    ++m_epoch;
  }
  // Writes the pieces out: ",n," or "n," for a number, "..." for dots.
  void Render() {
    size_t at = 0;
    for (uint32_t p = 0; p < m_top; ++p) {
      const uint32_t n = m_pieces[p].n;
      if (n == kDots) {
        m_text[at++] = L'.', m_text[at++] = L'.', m_text[at++] = L'.';
        continue;
      }
      if (p == 0) m_text[at++] = L',';
      const size_t width = Width(n);
      uint32_t rest = n;
      for (size_t d = width; d-- > 0; rest /= 10) {
        m_text[at + d] = static_cast<wchar_t>(L'0' + rest % 10);
      }
      at += width;
      m_text[at++] = L',';
    }
    m_text[at] = 0;
  }

  // The fields every send touches first, then the pieces, then the text.
  uint32_t m_top = 0;
  uint32_t m_epoch = 0;
  size_t m_len = 0;
  uint32_t m_counter = 0;
  bool m_live = false;
  Piece m_pieces[kMaxPieces] = {};
  wchar_t m_text[kCap] = {};
};

}  // namespace KWRDPub

#endif  // KW_MSG_INTERNAL_SENDCHAIN_H_
