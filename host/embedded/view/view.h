// The view service: the view of the active viewport, the user coordinate system, the screen it
// is shown on, the active layout and the pick settings; the coordinate systems built on them
// (WCS, UCS, DCS) for acedTrans and for the services that draw or pick.
//
// Coordinate systems:
//   WCS  the drawing's world coordinates;
//   UCS  origin and axes given in world coordinates (the world itself by default);
//   DCS  the display: origin at the view's target, z towards the viewer (the view direction),
//        x and y the screen's right and up: the arbitrary-axis x and y of the view direction
//        turned by the view's twist.
//
// States: model space (CTAB "Model", TILEMODE 1, CVPORT 2) or a paper layout (CTAB its name,
// TILEMODE 0, CVPORT 1). Each space keeps its own view; switching shows the other one. The
// views belong to the session, not to a drawing: opening another drawing keeps them.
//
// Invariants:
//   1. 0 < height <= kMaxViewSize; width = height * screen width / screen height, always (the view
//      fills the screen; a requested width that is wider shows a taller view).
//   2. The view direction and the UCS axes are non-zero; the UCS axes are unit length and
//      perpendicular (y is made so when the UCS is set).
//   3. The screen is at least 1 x 1 pixels; one pixel is height / screen height drawing units.
//   4. Each space keeps at most kPreviousViews earlier views.
//   5. Every view variable (VIEWCTR, VIEWSIZE, VSMIN, VSMAX, VIEWDIR, TARGET, VIEWMODE, ...) is
//      computed from this state when read, so the variables, acedTrans and acedSetCurrentView
//      always agree.
#ifndef KW_HOST_EMBEDDED_VIEW_VIEW_H_
#define KW_HOST_EMBEDDED_VIEW_VIEW_H_

#include <string>
#include <vector>

#include "host/api/adesk.h"
#include "host/api/ge.h"

class AcDbAbstractViewTableRecord;

namespace kwhost::view {

// What a viewport shows: the platform's view record fields, world directions.
struct View {
  AcGePoint2d center{0, 0};         // DCS
  double height = 100.0;            // drawing units
  AcGePoint3d target{0, 0, 0};      // WCS
  AcGeVector3d direction{0, 0, 1};  // WCS, from the target towards the viewer
  double twist = 0;                 // radians
  double lensLength = 50.0;
  double frontZ = 0;
  double backZ = 0;
  int mode = 0;  // VIEWMODE bits: 1 perspective, 2 front clip, 4 back clip, 16 front not at eye
};

struct Ucs {
  AcGePoint3d origin{0, 0, 0};
  AcGeVector3d x{1, 0, 0};
  AcGeVector3d y{0, 1, 0};
  AcGeVector3d z() const { return x.crossProduct(y); }
};

// The tallest view shown: its width stays finite on any screen shape.
inline constexpr double kMaxViewSize = 1e150;

// A space's view and the views it showed before (ZOOM Previous), the latest last.
struct Space {
  View view;
  std::vector<View> previous;
};

struct State {
  Space model;
  Space paper;
  Ucs ucs;
  int screenWidth = 1280;
  int screenHeight = 720;
  std::wstring layout = L"Model";  // the active layout, as kPaperLayouts spells it
  std::wstring lastPaperLayout = L"Layout1";
  int pickBox = 3;
  int pickAdd = 1;
};

State& Views();
// A new session's views: model space, a 100-unit high view of the world origin from above,
// the world UCS, a 1280 x 720 screen, PICKBOX 3, PICKADD 1.
void Reset();

// The view of the active space.
View& Current();
// Keeps the current view for ZOOM Previous (at most kPreviousViews, the oldest dropped): every
// change of the view by a call or a command remembers the view it replaces.
inline constexpr size_t kPreviousViews = 10;
void Remember();
// Shows the view shown before the last remembered change; false when there is none.
bool ShowPrevious();
bool InModelSpace();
// The view's width in drawing units (invariant 1).
double Width();
// Drawing units per screen pixel in the current view; the pick box of PICKBOX pixels is
// PixelsToWorld(PICKBOX) units from the pick point on every side.
double PixelsToWorld(double pixels);

// Points and displacements (`disp`: no translation) between the coordinate systems.
AcGePoint3d UcsToWorld(const AcGePoint3d& p, bool disp = false);
AcGePoint3d WorldToUcs(const AcGePoint3d& p, bool disp = false);
AcGePoint3d DisplayToWorld(const AcGePoint3d& p, bool disp = false);
AcGePoint3d WorldToDisplay(const AcGePoint3d& p, bool disp = false);

// Shows `record` in the active space, keeping invariant 1: eOk; eInvalidInput for a height or
// width that is not positive and finite, a view taller than kMaxViewSize once fitted, a zero view
// direction, any other value that is not finite, or a paper-space flag that does not match the
// active space.
Acad::ErrorStatus SetView(const AcDbAbstractViewTableRecord& record, bool paperspace);
// Shows the window between two corners given in display coordinates (any two opposite
// corners), fitted to the screen (invariant 1). False, nothing changed, when the window is not
// finite, has no height and no width, or needs a view taller than kMaxViewSize.
bool ShowWindow(const AcGePoint2d& a, const AcGePoint2d& b);

// Makes `ucs` current, its y axis turned in the plane of x and y to be perpendicular to x and
// both made unit length. False, nothing changed, when an axis is zero or not finite, the axes
// are parallel, or the origin is not finite.
bool SetUcs(const Ucs& ucs);
// The screen in pixels: the view keeps its height and centre, its width follows (invariant 1).
// False, nothing changed, outside 1 to kMaxScreenPixels on either side.
inline constexpr int kMaxScreenPixels = 65535;
bool SetScreen(int width, int height);
// Makes the layout of that name (ignoring case) active: "Model" or one of `kPaperLayouts`.
// False, nothing changed, for any other name.
inline constexpr const wchar_t* kPaperLayouts[] = {L"Layout1", L"Layout2"};
bool SetLayout(const std::wstring& name);

}  // namespace kwhost::view

#endif  // KW_HOST_EMBEDDED_VIEW_VIEW_H_
