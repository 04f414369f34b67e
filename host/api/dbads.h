// The drawing database seen through result-buffer lists: entity names (ads_name) and ids,
// an entity's DXF list and symbol table lookups.
//
// In these lists a result buffer's restype is the DXF group code; its value is held as the code
// asks (acdbDxfValueKind). Lists handed out are owned by the caller and freed with acutRelRb.
#ifndef KW_HOST_API_DBADS_H_
#define KW_HOST_API_DBADS_H_

#include "host/api/acutads.h"
#include "host/api/adsdef.h"
#include "host/api/dbmain.h"

// How the value of a DXF group code (or of one of the RT* types) is held in a result buffer;
// kInvalid for a code that has no meaning (acutBuildList refuses it).
enum class AcDbDxfValueKind {
  kNone,
  kString,
  kReal,
  kPoint,
  kShort,
  kLong,
  kInt64,
  kName,
  kBinary,
  kInvalid
};
AcDbDxfValueKind acdbDxfValueKind(int code);

// The entity name of an object: eOk; eNullObjectId; eNotInDatabase.
Acad::ErrorStatus acdbGetAdsName(ads_name& name, AcDbObjectId id);
// The id of an entity name: eOk; eInvalidAdsName when the name belongs to no object.
Acad::ErrorStatus acdbGetObjectId(AcDbObjectId& id, const ads_name name);

// The entity's DXF list: -1 its name, 0 its type ("LINE", "LWPOLYLINE", "INSERT", ...), 330
// its owner, 5 its handle, 100 subclass markers, 8 layer, then the properties that differ from
// their defaults and the geometry. Null when the name is not a live entity.
resbuf* acdbEntGet(const ads_name name);
// The record `symbol` of table `table` ("LAYER", "LTYPE", "STYLE", "BLOCK", "VIEW", "VPORT";
// case ignored) as a DXF list (0 the table's type, 2 the name, 70 flags, then the record's
// settings); null when not found. setNext makes acdbTblNext continue after it.
resbuf* acdbTblSearch(const wchar_t* table, const wchar_t* symbol, int setNext);
// The next record of the table (rewind: the first one); null at the end.
resbuf* acdbTblNext(const wchar_t* table, int rewind);

#endif  // KW_HOST_API_DBADS_H_
