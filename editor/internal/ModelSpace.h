// Appending a new entity to the model space of the working database, the last step of every
// entity the library creates.
#ifndef KW_EDITOR_INTERNAL_MODELSPACE_H_
#define KW_EDITOR_INTERNAL_MODELSPACE_H_

#include "host/api/dbmain.h"

namespace kweditor {

enum class AppendResult {
  kAppended,
  kNoBlockTable,  // no working database, or its block table could not be opened for read
  kNoModelSpace,  // "*Model_Space" could not be opened for write
  kNotAppended,   // the record refused the entity
};

// Appends `entity` (new, not in a database) to "*Model_Space" of the working database. On
// kAppended the database owns the entity, which is closed, and `id` is its id; otherwise the
// caller still owns it. The block table and the record are closed on every path.
AppendResult AppendToModelSpace(AcDbEntity* entity, AcDbObjectId& id);

}  // namespace kweditor

#endif  // KW_EDITOR_INTERNAL_MODELSPACE_H_
