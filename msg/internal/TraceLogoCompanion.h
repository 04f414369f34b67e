// The trace log's companion process (kwtracelogo) as the library drives it: started only from
// a folder other users cannot write, handed the block read-only and a channel (see
// msg/TraceLogoBlockFormat.h), told about every wipe, and at the end asked to finish once it
// has said it is ready.
//
// Invariants:
//   1. m_pid > 0 exactly while a started companion has not been reaped.
//   2. m_channel is the host's end of the channel (non-blocking, close-on-exec) from Start to
//      Finish, and -1 otherwise (a companion that outlived Finish is reaped, never waited for, on
//      destruction).
//   3. Nothing here blocks except Finish, and Finish waits at most kCompanionStartMs +
//      kCompanionFinishMs.
// States: idle (nothing started) -> running (Start succeeded) -> idle (Finish, or destruction,
// which never waits).
#ifndef KW_MSG_INTERNAL_TRACELOGOCOMPANION_H_
#define KW_MSG_INTERNAL_TRACELOGOCOMPANION_H_

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace KWRDPub {

// How far a program file may be trusted to run for this user.
enum class ProgramTrust {
  kMissing,    // no such regular file
  kUntrusted,  // it, its folder or a folder above can be changed by another user
  kTrusted,
};

// Checks the program at `path` (symbolic links resolved, into *resolved): the file and every
// folder up to "/" must be owned by root or this user; the file and its own folder must not be
// writable by group or others; a folder above may be, when it is sticky (as /tmp is).
ProgramTrust CheckProgram(const std::string& path, std::string* resolved);

class TraceLogoCompanion {
 public:
  TraceLogoCompanion() = default;
  // Closes the channel and reaps the companion if it has ended; never waits for it.
  ~TraceLogoCompanion();
  TraceLogoCompanion(const TraceLogoCompanion&) = delete;
  TraceLogoCompanion& operator=(const TraceLogoCompanion&) = delete;

  // Starts `program` to follow the block `name`, open read-write on `blockFd` (the companion gets
  // its own read-only descriptor of it). False when nothing was started: the program is missing,
  // untrusted (one message on the command line), or cannot be spawned.
  bool Start(const std::string& program, int blockFd, const std::string& name);
  // Sends the wipe record for a line area holding `usedBytes` bytes. Never blocks or allocates;
  // a record the channel cannot take is dropped (the companion then marks the gap itself).
  void NoteWipe(size_t usedBytes);
  // Waits (bounded) until the companion is ready, asks it to finish and waits (bounded) for its
  // end; then closes the channel. Nothing when no companion runs.
  void Finish();

  // The companion's process id while it runs, else 0.
  pid_t Pid() const { return m_pid; }

 private:
  bool Spawn(const std::string& program, int readOnlyFd, int channelFd, const std::string& name);
  void WaitReady();
  bool WaitExit(unsigned ms);
  void CloseChannel();

  pid_t m_pid = 0;
  int m_channel = -1;
};

}  // namespace KWRDPub

#endif  // KW_MSG_INTERNAL_TRACELOGOCOMPANION_H_
