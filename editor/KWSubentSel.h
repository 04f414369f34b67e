// Picking a sub-entity: an edge (a polyline's segment, a line, an arc or a circle) or a vertex
// of an entity, also inside block references.
//
// Sub-entity ids: an edge is (kEdgeSubentType, n) for the n-th segment counted from 1 (1 for
// lines, arcs and circles); a vertex is (kVertexSubentType, n) for the n-th vertex counted from
// 1 (the end of the picked segment nearest the pick point). The id names the entity under the
// pick box, which may lie inside a block reference.
#ifndef KW_EDITOR_KWSUBENTSEL_H_
#define KW_EDITOR_KWSUBENTSEL_H_

#include "host/api/dbid.h"
#include "host/api/ge.h"

namespace KWSubentSel {

// Picks an edge; a pick without one asks again. RTNORM with the entity, the sub-entity and the
// pick point; RTCAN when the pick is cancelled or ended; RTERROR when the entity can't be opened.
int singleSel(const wchar_t* prompt, AcDbObjectId& id, AcDbSubentId& subId, AcGePoint3d& pickPoint);
// Picks a sub-entity of one of `subentTypes` (tried in order). `retry`: a pick without such a
// sub-entity asks again (true) or ends with RTNONE (false).
int singleSel(const wchar_t* prompt, const AcArray<int>& subentTypes, AcDbObjectId& id,
              AcDbSubentId& subId, AcGePoint3d& pickPoint, bool retry);
int singleSel(const wchar_t* prompt, int subentType, AcDbObjectId& id, AcDbSubentId& subId,
              AcGePoint3d& pickPoint, bool retry);
// The same restricted to the entity `id` (picked directly or through a block reference that is
// `id`): any other pick prints `errorMessage` (when given) and asks again.
int singleSelEx(const wchar_t* prompt, const wchar_t* errorMessage, const AcArray<int>& subentTypes,
                const AcDbObjectId& id, AcDbSubentId& subId, AcGePoint3d& pickPoint);
int singleSelEx(const wchar_t* prompt, const wchar_t* errorMessage, int subentType,
                const AcDbObjectId& id, AcDbSubentId& subId, AcGePoint3d& pickPoint);

}  // namespace KWSubentSel

#endif  // KW_EDITOR_KWSUBENTSEL_H_
