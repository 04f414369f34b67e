// The filer base class: its run-time class and the defaults of a filer that keeps no version.
#include "host/api/dbfiler.h"

ACRX_NO_CONS_DEFINE_MEMBERS(AcDbDwgFiler, AcRxObject)

Acad::ErrorStatus AcDbDwgFiler::dwgVersion(AcDb::AcDbDwgVersion& version,
                                           AcDb::MaintenanceReleaseVersion& release) const {
  version = AcDb::kDHL_Unknown;
  release = AcDb::kMReleaseUnknown;
  return Acad::eOk;
}

Acad::ErrorStatus AcDbDwgFiler::setDwgVersion(AcDb::AcDbDwgVersion,
                                              AcDb::MaintenanceReleaseVersion) {
  return Acad::eOk;
}

bool AcDbDwgFiler::usesReferences() const {
  return false;
}
