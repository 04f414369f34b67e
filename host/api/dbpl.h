// The lightweight polyline: 2D vertices in the plane of its normal at an elevation, each with a
// bulge (tan of a quarter of the arc's included angle; 0 for a straight segment) and start and
// end widths. Vertex indexes run from 0 to numVerts() - 1; an index out of range gives
// eInvalidIndex and changes nothing. Setters follow dbmain.h (open for write when resident).
#ifndef KW_HOST_API_DBPL_H_
#define KW_HOST_API_DBPL_H_

#include <vector>

#include "host/api/dbents.h"

class AcDbPolyline : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(AcDbPolyline);
  AcDbPolyline() = default;
  // `numVerts` is only a capacity hint.
  explicit AcDbPolyline(unsigned int numVerts);
  AcDbObject* clone() const override { return new AcDbPolyline(*this); }

  unsigned int numVerts() const { return static_cast<unsigned int>(m_points.size()); }
  // Inserts a vertex before `index` (index == numVerts() appends). Negative widths mean "the
  // polyline's constant width". eOk; eInvalidIndex.
  Acad::ErrorStatus addVertexAt(unsigned int index, const AcGePoint2d& point, double bulge = 0.0,
                                double startWidth = -1.0, double endWidth = -1.0);
  Acad::ErrorStatus removeVertexAt(unsigned int index);
  // Removes every vertex (reuse false) or keeps the first numVerts (reuse true).
  Acad::ErrorStatus reset(bool reuse, unsigned int numVerts);

  Acad::ErrorStatus getPointAt(unsigned int index, AcGePoint2d& point) const;
  // The vertex in world coordinates (normal (0, 0, 1): (x, y, elevation)).
  Acad::ErrorStatus getPointAt(unsigned int index, AcGePoint3d& point) const;
  Acad::ErrorStatus setPointAt(unsigned int index, const AcGePoint2d& point);
  Acad::ErrorStatus getBulgeAt(unsigned int index, double& bulge) const;
  Acad::ErrorStatus setBulgeAt(unsigned int index, double bulge);
  Acad::ErrorStatus getWidthsAt(unsigned int index, double& startWidth, double& endWidth) const;
  Acad::ErrorStatus setWidthsAt(unsigned int index, double startWidth, double endWidth);
  // eOk with the width shared by every vertex (or the polyline's width when it has none);
  // eNotApplicable when the vertices' widths differ.
  Acad::ErrorStatus getConstantWidth(double& width) const;
  // Sets every vertex's widths and the polyline's own width. eInvalidInput when negative.
  Acad::ErrorStatus setConstantWidth(double width);

  bool isClosed() const override { return m_closed; }
  void setClosed(bool closed);
  double elevation() const { return m_elevation; }
  void setElevation(double elevation);
  double thickness() const { return m_thickness; }
  Acad::ErrorStatus setThickness(double thickness);
  AcGeVector3d normal() const { return m_normal; }
  Acad::ErrorStatus setNormal(const AcGeVector3d& normal);
  bool hasBulges() const;
  bool hasWidth() const;
  bool isOnlyLines() const { return !hasBulges(); }

  Acad::ErrorStatus getStartPoint(AcGePoint3d& p) const override;
  Acad::ErrorStatus getEndPoint(AcGePoint3d& p) const override;
  Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

 private:
  struct Widths {
    double start;
    double end;
  };
  AcDbPolyline(const AcDbPolyline&) = default;
  // Per-vertex bulges and widths are only stored once one is not the default, so that a plain
  // polyline costs its points alone.
  void materialiseBulges();
  void materialiseWidths();
  std::vector<AcGePoint2d> m_points;
  std::vector<double> m_bulges;  // empty, or one per point
  std::vector<Widths> m_widths;  // empty, or one per point
  AcGeVector3d m_normal{0, 0, 1};
  double m_constantWidth = 0;
  double m_elevation = 0;
  double m_thickness = 0;
  bool m_closed = false;
};

#endif  // KW_HOST_API_DBPL_H_
