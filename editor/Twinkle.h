// Flashing highlight: makes drawing entities blink on screen for a while, so that the user
// sees which objects a message or a list row refers to. One entity, every entity of a
// selection set, or an outline given as points (drawn as a temporary polyline) can blink,
// optionally restyled while blinking (a colour index, a linetype, a constant polyline width).
//
// All blinks share one process-wide thread timer of the host, started by the first blink and
// ended by the first tick that finds no blink left; every blinking entity is hidden and shown
// in unison on the timer's ticks. A blink ends when its time runs out (on a tick), when it is
// stopped, or when all are stopped; a hidden entity is shown again and its saved colour,
// linetype and width are put back (when several blinks restyled one entity, the values from
// before the first one).
//
// Ids: every single-entity blink and every group (a selection set's blinks) takes the next
// value of one counter that starts at 1 and is never reused while the library is loaded; a
// group's id is therefore below its members' ids.
//
// Everything runs on the host's main thread. Failures are results; nothing throws. Unexpected
// failures are reported in a message box (the four messages of the functions below).
#ifndef KW_EDITOR_TWINKLE_H_
#define KW_EDITOR_TWINKLE_H_

#include <cstdint>

#include "host/api/ge.h"
#include "host/api/win.h"

// Blink time that never runs out (the blink lasts until it is stopped).
inline constexpr unsigned long kTwinkleInfinite = 0xFFFFFFFFul;

// Starts a blink of one entity (isSelectionSet 0: `name` is an ads_name) or of every entity of
// a selection set (isSelectionSet non-zero: `name` names the set). colorIndex >= 0 shows that
// colour index while blinking, a non-empty linetype that linetype, width > 0 that constant
// width on a lightweight polyline. duration in milliseconds, 0 meaning 3000 and
// kTwinkleInfinite until stopped (only the low 32 bits count). Returns the blink's id (one
// entity), the group's id (a set), 0 when a set gave no blink, -1 when the set can't be read.
int KWTwinkle(int64_t* const name, int isSelectionSet, int colorIndex, const wchar_t* linetype,
              double width, unsigned long duration);
// The same, unstyled.
int KWTwinkle(int64_t* const name, int isSelectionSet, unsigned long duration);
// Draws a temporary polyline through the points (closed back to the first point when the last
// one lies more than 0.01 away), in colour max(colorIndex, 0) % 257, with that linetype and
// width, and blinks it; the polyline is erased when the blink ends. Returns its id, 0 when the
// polyline could not be made, -1 on an unexpected failure before the blink started ("\n
// KWTwinkle@2 error." is reported).
int KWTwinkle(AcGePoint3dArray& points, int colorIndex, const wchar_t* linetype, double width,
              unsigned long duration);
int KWTwinkle(AcGePoint3dArray& points, unsigned long duration);

// Stops one blink or one group. A group's members are all stopped; with a null hwnd the group
// is dissolved and 1 returned, with a window the (now empty) group stays known and 0 is
// returned. 1 for an unknown id; 0 when a hidden entity can no longer be opened to show it
// (the blink then stays).
int KWStopTwinkle(int id, HWND hwnd);
// Stops every blink and forgets every group; restores every entity's saved values. hwnd is not
// used. The timer ends itself on its next tick.
void KWStopAllTwinkle(HWND hwnd);
// 1 when the id is a running blink or a known group, else 0.
int KWHasTwinkle(int id);
// Blinks per second, 0.1 to 10.0 inclusive (default 3.0): 1 when stored, 0 (value kept) when
// out of range. A running timer keeps its period until it is started again.
int KWSetTwinkleFreQuency(double f);
double KWGetTwinkleFreQuency();

#endif  // KW_EDITOR_TWINKLE_H_
