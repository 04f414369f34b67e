// Entities: curves (lines, circles, arcs, old-style 2D polylines and their vertices), points,
// single-line text and block references. Geometry is in world coordinates unless a member says
// otherwise; angles are radians. Setters follow dbmain.h (resident entities must be open for
// write; the statuses there).
#ifndef KW_HOST_API_DBENTS_H_
#define KW_HOST_API_DBENTS_H_

#include <string>
#include <vector>

#include "host/api/dbmain.h"

class AcDb2dVertex;

namespace AcDb {
enum Poly2dType {
  k2dSimplePoly = 0,
  k2dFitCurvePoly = 1,
  k2dQuadSplinePoly = 2,
  k2dCubicSplinePoly = 3
};
enum Vertex2dType {
  k2dVertex = 0,
  k2dSplineCtlVertex = 1,
  k2dSplineFitVertex = 2,
  k2dCurveFitVertex = 3
};
enum TextHorzMode {
  kTextLeft = 0,
  kTextCenter = 1,
  kTextRight = 2,
  kTextAlign = 3,
  kTextMid = 4,
  kTextFit = 5
};
enum TextVertMode { kTextBase = 0, kTextBottom = 1, kTextVertMid = 2, kTextTop = 3 };
}  // namespace AcDb

// Base of the curves: open or closed paths with a start and an end.
class AcDbCurve : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(AcDbCurve);
  virtual bool isClosed() const { return false; }
  // eOk, or eInvalidInput for a curve without points (an empty polyline).
  virtual Acad::ErrorStatus getStartPoint(AcGePoint3d& point) const = 0;
  virtual Acad::ErrorStatus getEndPoint(AcGePoint3d& point) const = 0;

 protected:
  AcDbCurve() = default;
  AcDbCurve(const AcDbCurve&) = default;
};

class AcDbLine : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(AcDbLine);
  AcDbLine() = default;
  AcDbLine(const AcGePoint3d& start, const AcGePoint3d& end) : m_start(start), m_end(end) {}
  AcDbObject* clone() const override { return new AcDbLine(*this); }

  AcGePoint3d startPoint() const { return m_start; }
  Acad::ErrorStatus setStartPoint(const AcGePoint3d& point);
  AcGePoint3d endPoint() const { return m_end; }
  Acad::ErrorStatus setEndPoint(const AcGePoint3d& point);
  double thickness() const { return m_thickness; }
  Acad::ErrorStatus setThickness(double thickness);
  AcGeVector3d normal() const { return m_normal; }
  Acad::ErrorStatus setNormal(const AcGeVector3d& normal);

  Acad::ErrorStatus getStartPoint(AcGePoint3d& p) const override;
  Acad::ErrorStatus getEndPoint(AcGePoint3d& p) const override;
  Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

 private:
  AcDbLine(const AcDbLine&) = default;
  AcGePoint3d m_start;
  AcGePoint3d m_end;
  AcGeVector3d m_normal{0, 0, 1};
  double m_thickness = 0;
};

// A circle: centre (world), radius, in the plane of its normal.
class AcDbCircle : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(AcDbCircle);
  AcDbCircle() = default;
  AcDbCircle(const AcGePoint3d& center, const AcGeVector3d& normal, double radius)
      : m_center(center), m_normal(normal), m_radius(radius) {}
  AcDbObject* clone() const override { return new AcDbCircle(*this); }

  AcGePoint3d center() const { return m_center; }
  Acad::ErrorStatus setCenter(const AcGePoint3d& center);
  double radius() const { return m_radius; }
  // eInvalidInput for a radius that is not positive.
  Acad::ErrorStatus setRadius(double radius);
  double thickness() const { return m_thickness; }
  Acad::ErrorStatus setThickness(double thickness);
  AcGeVector3d normal() const { return m_normal; }
  Acad::ErrorStatus setNormal(const AcGeVector3d& normal);

  bool isClosed() const override { return true; }
  Acad::ErrorStatus getStartPoint(AcGePoint3d& p) const override;
  Acad::ErrorStatus getEndPoint(AcGePoint3d& p) const override;
  Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

 protected:
  AcDbCircle(const AcDbCircle&) = default;

 private:
  AcGePoint3d m_center;
  AcGeVector3d m_normal{0, 0, 1};
  double m_radius = 0;
  double m_thickness = 0;
};

// An arc: centre (world), radius, and start and end angles measured counter-clockwise about
// the normal from the plane's x axis (the arbitrary-axis rule of the drawing format).
class AcDbArc : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(AcDbArc);
  AcDbArc() = default;
  AcDbArc(const AcGePoint3d& center, double radius, double startAngle, double endAngle)
      : m_center(center), m_radius(radius), m_startAngle(startAngle), m_endAngle(endAngle) {}
  AcDbObject* clone() const override { return new AcDbArc(*this); }

  AcGePoint3d center() const { return m_center; }
  Acad::ErrorStatus setCenter(const AcGePoint3d& center);
  double radius() const { return m_radius; }
  Acad::ErrorStatus setRadius(double radius);
  double startAngle() const { return m_startAngle; }
  Acad::ErrorStatus setStartAngle(double angle);
  double endAngle() const { return m_endAngle; }
  Acad::ErrorStatus setEndAngle(double angle);
  double thickness() const { return m_thickness; }
  Acad::ErrorStatus setThickness(double thickness);
  AcGeVector3d normal() const { return m_normal; }
  Acad::ErrorStatus setNormal(const AcGeVector3d& normal);

  Acad::ErrorStatus getStartPoint(AcGePoint3d& p) const override;
  Acad::ErrorStatus getEndPoint(AcGePoint3d& p) const override;
  Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

 private:
  AcDbArc(const AcDbArc&) = default;
  AcGePoint3d m_center;
  AcGeVector3d m_normal{0, 0, 1};
  double m_radius = 0;
  double m_startAngle = 0;
  double m_endAngle = 0;
  double m_thickness = 0;
};

class AcDbPoint : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(AcDbPoint);
  AcDbPoint() = default;
  explicit AcDbPoint(const AcGePoint3d& position) : m_position(position) {}
  AcDbObject* clone() const override { return new AcDbPoint(*this); }

  AcGePoint3d position() const { return m_position; }
  Acad::ErrorStatus setPosition(const AcGePoint3d& position);
  double thickness() const { return m_thickness; }
  Acad::ErrorStatus setThickness(double thickness);
  AcGeVector3d normal() const { return m_normal; }
  Acad::ErrorStatus setNormal(const AcGeVector3d& normal);
  double ecsRotation() const { return m_ecsRotation; }
  Acad::ErrorStatus setEcsRotation(double angle);
  Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

 private:
  AcDbPoint(const AcDbPoint&) = default;
  AcGePoint3d m_position;
  AcGeVector3d m_normal{0, 0, 1};
  double m_thickness = 0;
  double m_ecsRotation = 0;
};

// Single-line text. Its extents are estimated from the height, the width factor and the number
// of characters (each 0.8 of the height wide, wide characters 1.0): the host has no font
// metrics.
class AcDbText : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(AcDbText);
  AcDbText() = default;
  AcDbText(const AcGePoint3d& position, const wchar_t* text, AcDbObjectId style = AcDbObjectId(),
           double height = 0, double rotation = 0);
  AcDbObject* clone() const override { return new AcDbText(*this); }

  AcGePoint3d position() const { return m_position; }
  Acad::ErrorStatus setPosition(const AcGePoint3d& position);
  AcGePoint3d alignmentPoint() const { return m_alignment; }
  Acad::ErrorStatus setAlignmentPoint(const AcGePoint3d& point);
  // The text as a malloc'd copy (free() by the caller).
  wchar_t* textString() const;
  const wchar_t* textStringConst() const { return m_text.c_str(); }
  // eNullObjectPointer for null.
  Acad::ErrorStatus setTextString(const wchar_t* text);
  AcDbObjectId textStyle() const { return m_style; }
  Acad::ErrorStatus setTextStyle(AcDbObjectId style);
  double height() const { return m_height; }
  // eInvalidInput for a height that is not positive.
  Acad::ErrorStatus setHeight(double height);
  double rotation() const { return m_rotation; }
  Acad::ErrorStatus setRotation(double angle);
  double widthFactor() const { return m_widthFactor; }
  Acad::ErrorStatus setWidthFactor(double factor);
  double oblique() const { return m_oblique; }
  Acad::ErrorStatus setOblique(double angle);
  AcDb::TextHorzMode horizontalMode() const { return m_horizontal; }
  Acad::ErrorStatus setHorizontalMode(AcDb::TextHorzMode mode);
  AcDb::TextVertMode verticalMode() const { return m_vertical; }
  Acad::ErrorStatus setVerticalMode(AcDb::TextVertMode mode);
  bool isMirroredInX() const { return (m_generation & 2) != 0; }
  Acad::ErrorStatus mirrorInX(bool mirror);
  bool isMirroredInY() const { return (m_generation & 4) != 0; }
  Acad::ErrorStatus mirrorInY(bool mirror);
  double thickness() const { return m_thickness; }
  Acad::ErrorStatus setThickness(double thickness);
  AcGeVector3d normal() const { return m_normal; }
  Acad::ErrorStatus setNormal(const AcGeVector3d& normal);
  Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

 private:
  AcDbText(const AcDbText&) = default;
  std::wstring m_text;
  AcGePoint3d m_position;
  AcGePoint3d m_alignment;
  AcGeVector3d m_normal{0, 0, 1};
  AcDbObjectId m_style;
  double m_height = 0;
  double m_rotation = 0;
  double m_widthFactor = 1.0;
  double m_oblique = 0;
  double m_thickness = 0;
  AcDb::TextHorzMode m_horizontal = AcDb::kTextLeft;
  AcDb::TextVertMode m_vertical = AcDb::kTextBase;
  Adesk::UInt8 m_generation = 0;
};

// A reference to a block: position, scale factors, rotation about the normal. Extents are
// those of the block's entities placed by the reference (nested references to a depth of 64).
class AcDbBlockReference : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(AcDbBlockReference);
  AcDbBlockReference() = default;
  AcDbBlockReference(const AcGePoint3d& position, AcDbObjectId block)
      : m_position(position), m_block(block) {}
  AcDbObject* clone() const override { return new AcDbBlockReference(*this); }

  AcDbObjectId blockTableRecord() const { return m_block; }
  Acad::ErrorStatus setBlockTableRecord(AcDbObjectId block);
  AcGePoint3d position() const { return m_position; }
  Acad::ErrorStatus setPosition(const AcGePoint3d& position);
  AcGeScale3d scaleFactors() const { return m_scale; }
  // eInvalidInput when a factor is 0.
  Acad::ErrorStatus setScaleFactors(const AcGeScale3d& scale);
  double rotation() const { return m_rotation; }
  Acad::ErrorStatus setRotation(double angle);
  AcGeVector3d normal() const { return m_normal; }
  Acad::ErrorStatus setNormal(const AcGeVector3d& normal);
  Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

 private:
  AcDbBlockReference(const AcDbBlockReference&) = default;
  AcGePoint3d m_position;
  AcGeVector3d m_normal{0, 0, 1};
  AcGeScale3d m_scale;
  AcDbObjectId m_block;
  double m_rotation = 0;
};

// A vertex of an old-style 2D polyline: position (in the polyline's plane, z = elevation),
// bulge and widths.
class AcDb2dVertex : public AcDbEntity {
 public:
  ACRX_DECLARE_MEMBERS(AcDb2dVertex);
  AcDb2dVertex() = default;
  AcDb2dVertex(const AcGePoint3d& position, double bulge = 0, double startWidth = 0,
               double endWidth = 0)
      : m_position(position), m_bulge(bulge), m_startWidth(startWidth), m_endWidth(endWidth) {}
  AcDbObject* clone() const override { return new AcDb2dVertex(*this); }

  AcDb::Vertex2dType vertexType() const { return m_type; }
  Acad::ErrorStatus setVertexType(AcDb::Vertex2dType type);
  AcGePoint3d position() const { return m_position; }
  Acad::ErrorStatus setPosition(const AcGePoint3d& position);
  double bulge() const { return m_bulge; }
  Acad::ErrorStatus setBulge(double bulge);
  double startWidth() const { return m_startWidth; }
  Acad::ErrorStatus setStartWidth(double width);
  double endWidth() const { return m_endWidth; }
  Acad::ErrorStatus setEndWidth(double width);

 private:
  AcDb2dVertex(const AcDb2dVertex&) = default;
  AcGePoint3d m_position;
  double m_bulge = 0;
  double m_startWidth = 0;
  double m_endWidth = 0;
  AcDb::Vertex2dType m_type = AcDb::k2dVertex;
};

// Walks the vertices of an old-style polyline in order. Owned by its caller.
class AcDbObjectIterator {
 public:
  void start(bool atEnd = false);
  bool done() const;
  void step(bool backwards = false, bool skipErasedObjects = true);
  AcDbObjectId objectId() const;
  // Moves to that vertex: true, or false when the polyline has none with that id.
  bool seek(AcDbObjectId id);

 private:
  friend class AcDb2dPolyline;
  explicit AcDbObjectIterator(std::vector<AcDbObjectId> ids) : m_ids(std::move(ids)) {}
  std::vector<AcDbObjectId> m_ids;
  int m_index = 0;
};

// The old-style 2D polyline ("POLYLINE" with "VERTEX" entities): its vertices are entities of
// their own, owned by the polyline, listed in order.
class AcDb2dPolyline : public AcDbCurve {
 public:
  ACRX_DECLARE_MEMBERS(AcDb2dPolyline);
  AcDb2dPolyline() = default;
  // Vertices at the points (their z taken as given), with the bulges when given.
  AcDb2dPolyline(AcDb::Poly2dType type, const AcGePoint3dArray& vertices, double elevation = 0,
                 bool closed = false, double defaultStartWidth = 0, double defaultEndWidth = 0,
                 const AcArray<double>* bulges = nullptr);
  ~AcDb2dPolyline() override;
  AcDbObject* clone() const override;

  AcDb::Poly2dType polyType() const { return m_type; }
  Acad::ErrorStatus setPolyType(AcDb::Poly2dType type);
  bool isClosed() const override { return m_closed; }
  Acad::ErrorStatus makeClosed();
  Acad::ErrorStatus makeOpen();
  double elevation() const { return m_elevation; }
  Acad::ErrorStatus setElevation(double elevation);
  double defaultStartWidth() const { return m_defaultStartWidth; }
  Acad::ErrorStatus setDefaultStartWidth(double width);
  double defaultEndWidth() const { return m_defaultEndWidth; }
  Acad::ErrorStatus setDefaultEndWidth(double width);
  // Sets every vertex's widths (and the defaults) to `width`.
  Acad::ErrorStatus setConstantWidth(double width);
  double thickness() const { return m_thickness; }
  Acad::ErrorStatus setThickness(double thickness);
  AcGeVector3d normal() const { return m_normal; }
  Acad::ErrorStatus setNormal(const AcGeVector3d& normal);

  // Appends a vertex (the polyline open for write, or not resident): eOk, the vertex then owned
  // by the polyline (and open for write when the polyline is resident); eNullObjectPointer;
  // eAlreadyInDb.
  Acad::ErrorStatus appendVertex(AcDb2dVertex* vertex);
  Acad::ErrorStatus appendVertex(AcDbObjectId& id, AcDb2dVertex* vertex);
  // A new iterator over the vertex ids (owned by the caller). Vertices of a polyline not yet
  // resident have no ids: the iterator is then empty.
  AcDbObjectIterator* vertexIterator() const;
  // Opens one of this polyline's vertices: the acdbOpenObject statuses; eInvalidInput for an
  // id that is not one of its vertices.
  Acad::ErrorStatus openVertex(AcDb2dVertex*& vertex, AcDbObjectId id, AcDb::OpenMode mode,
                               bool openErased = false) const;
  int numVerts() const;

  Acad::ErrorStatus getStartPoint(AcGePoint3d& p) const override;
  Acad::ErrorStatus getEndPoint(AcGePoint3d& p) const override;
  Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

 protected:
  void forEachSubentity(void (*apply)(AcDbEntity*, const void*), const void* arg) override;

 private:
  friend struct kwhost::db::ObjectAccess;
  AcDb2dPolyline(const AcDb2dPolyline&) = default;
  // Calls `visit` with each live vertex (resident vertices opened for read).
  template <class F>
  void eachVertex(F visit) const;
  std::vector<AcDbObjectId> m_vertices;
  std::vector<AcDb2dVertex*> m_pending;  // appended before the polyline joined a database
  AcGeVector3d m_normal{0, 0, 1};
  double m_elevation = 0;
  double m_defaultStartWidth = 0;
  double m_defaultEndWidth = 0;
  double m_thickness = 0;
  AcDb::Poly2dType m_type = AcDb::k2dSimplePoly;
  bool m_closed = false;
};

#endif  // KW_HOST_API_DBENTS_H_
