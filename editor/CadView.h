// Views of the active viewport: reading the current view, showing another one, and making
// given points visible by widening the view just enough (with a fixed margin) when they are
// not. Everything works on the host's view variables and acedSetCurrentView; points are in the
// current UCS, given as ads_point (x, y, z) where a double* is asked for.
//
// The view window is the pair of 2D corners (lower-left, upper-right) that screenpt computes
// from VIEWCTR, VIEWSIZE and the shape of the virtual screen (VSMIN, VSMAX).
#ifndef KW_EDITOR_CADVIEW_H_
#define KW_EDITOR_CADVIEW_H_

#include "host/api/adsdef.h"
#include "host/api/dbid.h"
#include "host/api/dbsymtb.h"
#include "host/api/ge.h"

class AcDbViewport;

namespace CadView {

// The margin, in drawing units, that a widened view keeps around the points it must show.
inline constexpr double kViewMargin = 10.0;

// A scoped view change. Construction remembers the current view in the object itself (it is
// the view record), then shows the requested one; destruction shows the remembered view again,
// always forced, when `restore` was non-zero. The viewport is not owned (null: the current
// one). Copies copy the remembered view and the three settings, so each copy that restores
// restores the same view.
//
// States: constructed (the remembered view held, the requested view asked for) -> destroyed
// (the remembered view shown again when m_restore is non-zero). Nothing else keeps state.
class CCadView : public AcDbViewTableRecord {
 public:
  CCadView(AcDbViewTableRecord& view, int restore, int force, AcDbViewport* vp);
  // The window p1-p2 (projected to the XY plane), shown as the 2D SetCurrentView form does.
  CCadView(const AcGePoint3d& p1, const AcGePoint3d& p2, int restore, int force, AcDbViewport* vp);
  CCadView(const AcDbExtents& ext, int restore, int force, AcDbViewport* vp);
  CCadView(const CCadView& other);
  CCadView& operator=(const CCadView& other);
  ~CCadView() override;

  // Fills `view` from the view variables: perspective from VIEWMODE bit 0, clipping off, front
  // clip at the eye unless bit 4 is set, BACKZ, FRONTZ, LENSLENGTH, the centre (VIEWCTR in
  // display coordinates), target and direction (TARGET and VIEWDIR in world coordinates), the
  // height (VIEWSIZE) and a width of the virtual screen's shape (VSMIN, VSMAX).
  static void GetCurrentView(AcDbViewTableRecord& view);
  // Shows `view` (marked a paper-space view when the active layout is not "Model"). With force
  // 0 a view that lies wholly inside the current one is not shown: a non-forced change only
  // zooms out or pans, never in. 1 on success or when nothing needed doing; 0 when the host
  // refused the view.
  static int SetCurrentView(AcDbViewTableRecord& view, int force, AcDbViewport* vp);
  // A plan view centred on the midpoint of p1 and p2, as wide and high as their distance in x
  // and y.
  static int SetCurrentView(const AcGePoint2d& p1, const AcGePoint2d& p2, int force,
                            AcDbViewport* vp);
  static int SetCurrentView(const AcGePoint3d& p1, const AcGePoint3d& p2, int force,
                            AcDbViewport* vp);
  static int SetCurrentView(const AcDbExtents& ext, int force, AcDbViewport* vp);

  int m_force;
  int m_restore;
  AcDbViewport* m_viewport;
};

// The view window: RTNORM with both corners (z: that of VIEWCTR); RTERROR, corners untouched,
// when a null point is given.
int screenpt(double* lowerLeft, double* upperRight);
// 1 when pt lies in the view window, borders included; else 0 (also for null).
int pt_in_view(double* pt);
// Makes pt visible by widening the view window to include it, plus the margin, forced: 0 when
// pt was visible already, else the result of SetCurrentView. The view is never moved away
// from what it showed.
int acs_pan2v(double* pt);
int acs_pan2v(AcGePoint3d pt);
// Makes both points visible as acs_pan2v does; 0 when both already were.
int acs_zm2pt(double* p1, double* p2);
int acs_zm2pt(AcGePoint3d p1, AcGePoint3d p2);
// Makes every point of a result-buffer list visible, one at a time: each point outside the
// view of that moment widens the running box (the first box is the view window) by itself
// and the margin, and the box is shown. Items before the first point are skipped. 1 when done;
// 2 with "\n参数错误，链表为空!" for a null list, or with "\n参数错误，链表中有非ads_point的数据!"
// for an item that is not a point after the first point (then nothing is shown).
int view_ptb(resbuf* points);
// The same for an array (an empty one changes nothing); always 1.
int view_ptb(const AcGePoint3dArray& points);
// A pick tolerance in drawing units: the view window's height / 200 times PICKBOX (3 when
// PICKBOX is 0).
double get_dd_ex();

}  // namespace CadView

namespace KWRDPub {

// The view window, as CadView::screenpt gives it.
void GetScreenPt(AcGePoint3d& lowerLeft, AcGePoint3d& upperRight);
// True when pt lies in the view window, borders included.
bool IsPtInView(const AcGePoint3d& pt);
// When pt is not in view: the window extended to include it and widened by the margin on every
// side is shown, keeping the current target and view direction. Nothing else happens.
void PanView(AcGePoint3d pt);

}  // namespace KWRDPub

#endif  // KW_EDITOR_CADVIEW_H_
