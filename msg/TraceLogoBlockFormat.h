// The trace log block format: the shared-memory block as the library writes it and the
// companion program (kwtracelogo) reads it. Both programs include this header; it is the one
// place that names the block and the companion and fixes their protocol (doc/tracelogo.md).
//
// Layout (little-endian, kBlockBytes in all):
//   offset 0   uint32  process id of the host
//   offset 4   uint32  state word: kStateEmpty after creation or a wipe, kStateLines after a line
//   offset 8   UTF-16  the log folder, terminated by a 0 unit (at most kMaxFolderUnits units)
//   then       line area of kLineAreaBytes: UTF-16 lines, each with its 0 unit, one after the
//              other; the first empty line ends the list.
//
// Publication rule (the only synchronisation between the two processes): the host writes a
// line's units from the second one on, then stores the first unit with release order, then the
// state word. A reader that loads a line's first unit with acquire order and finds it non-zero
// sees the whole line. The line area is always zeroed before reuse, so "first unit 0" is the end.
#ifndef KW_MSG_TRACELOGOBLOCKFORMAT_H_
#define KW_MSG_TRACELOGOBLOCKFORMAT_H_

#include <cstddef>
#include <cstdint>

namespace KWRDPub::tracelogo {

inline constexpr size_t kBlockBytes = 1000268;
inline constexpr size_t kHeaderBytes = 8;
inline constexpr size_t kLineAreaBytes = 1000004;
// A line whose bytes, added to the bytes in use, reach this count makes the host wipe first.
inline constexpr size_t kFullBytes = 1000000;
// The folder fills the room left between the header and a full-size line area (127 units and
// the 0). A longer folder shortens the line area instead (see LineAreaBytes).
inline constexpr size_t kFolderRoomBytes = kBlockBytes - kHeaderBytes - kLineAreaBytes;
// Upper bound for the folder path; a longer one leaves tracing off.
inline constexpr size_t kMaxFolderUnits = 4096;

inline constexpr uint32_t kStateEmpty = 0;
inline constexpr uint32_t kStateLines = 2;

// Block names are kNamePrefix + "-" + a random decimal number; shm_open gets "/" + name.
inline constexpr char kNamePrefix[] = "KWRDTraceLogo";
// The companion's file in the installation folder, and the first word of its command line.
inline constexpr char kCompanionFile[] = "kwtracelogo";
inline constexpr char kCompanionArg0[] = "TraceLogo";
// The companion inherits the block, open read-only, on this descriptor (it opens the name only
// when the descriptor is not a block of its parent).
inline constexpr int kCompanionBlockFd = 3;
// The companion's channel to its host: one end of a Unix stream socket pair on this descriptor.
//   companion -> host: the single byte kCompanionReady once it follows the block (the block is
//                      checked and mapped, its signal handlers are installed);
//   host -> companion: before each wipe of a non-empty line area, one wipe record: the bytes in
//                      use at that moment (4 bytes, little-endian). A companion that had read
//                      fewer bytes than that has missed lines and marks the gap.
// The host closing its end means the trace log has ended.
inline constexpr int kCompanionChannelFd = 4;
inline constexpr char kCompanionReady = 'R';
inline constexpr size_t kWipeRecordBytes = 4;
// The line the companion writes where lines were lost (a wipe overtook its reading).
inline constexpr char kLinesLostMark[] = "\u2026 lines lost \u2026";
// The companion reads the block this often.
inline constexpr unsigned kCompanionPollMs = 10;
// When the trace log is destroyed (the host ends normally), the host first waits at most
// kCompanionStartMs for the companion's ready byte (a companion still starting would otherwise
// die of the request before it can save), then asks it to finish (SIGTERM: it reads the last
// lines, saves and exits) and waits for it at most kCompanionFinishMs before it wipes the block.
inline constexpr unsigned kCompanionStartMs = 3000;
inline constexpr unsigned kCompanionFinishMs = 1000;

// Offset of the line area for a folder of `folderUnits` UTF-16 units (without the 0).
inline constexpr size_t LineAreaOffset(size_t folderUnits) {
  return kHeaderBytes + 2 * (folderUnits + 1);
}
// Bytes of the line area: the full size, or what is left of the block after a long folder.
inline constexpr size_t LineAreaBytes(size_t folderUnits) {
  size_t room = kBlockBytes - LineAreaOffset(folderUnits);
  return room < kLineAreaBytes ? room : kLineAreaBytes;
}
// The wipe threshold for that line area (kFullBytes for the full size).
inline constexpr size_t FullBytes(size_t folderUnits) {
  return LineAreaBytes(folderUnits) - (kLineAreaBytes - kFullBytes);
}

}  // namespace KWRDPub::tracelogo

#endif  // KW_MSG_TRACELOGOBLOCKFORMAT_H_
