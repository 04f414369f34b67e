// Entity creation for the suite's commands: a lightweight polyline through points, block
// references of drawing files (the block defined from the file the first time), block
// definitions taken from files, and copies of block definitions.
//
// Everything goes to the host's working database; new entities go to its "*Model_Space"
// whatever space is current. Every function opens what it needs and closes it again on every
// path: nothing it opened stays open when it returns, and no exception leaves it.
#ifndef KW_EDITOR_ENTITYCREATION_H_
#define KW_EDITOR_ENTITYCREATION_H_

#include <cstdint>

#include "host/api/dbid.h"
#include "host/api/ge.h"

class AcDbDatabase;

// Creates a lightweight polyline in model space with a vertex at (x, y) of each point (z is
// ignored), every segment `width` wide. With `close` non-zero and the last point more than
// 0.01 away from the first, the first point is repeated as the last vertex; the polyline's
// closed flag is never set. A non-empty `linetype` that the drawing lacks is loaded with the
// host's "Linetype" command first. Returns 1 with the new polyline's id in `id`, or 0 after
// printing why on the command line ("\n创建Polyline错误！" for no points, "\n取块表记录错误！",
// "\n取模型空间记录错误！", "\n添加实体错误！", "\nCreatePline error."). The points are a copy
// owned by the call.
int CreatePline(AcGePoint3dArray points, AcDbObjectId& id, int close, const wchar_t* linetype,
                double linetypeScale, double width, short colorIndex);

// Inserts the drawing file `path` as a block reference in model space at (x, y, z) with those
// scale factors and rotation (radians). The block is named after the file: the text after the
// last "\\" or "/" up to the first "." after it (the whole path when there is no separator or
// no "."); it is defined from the file when the drawing has no block of that name, else the
// existing definition is used. Returns 0 with the reference's entity name in `name`, or:
// -1 no working database, -2 block table not opened, -3 the file is not a readable drawing,
// -4 block not defined, -5 model space not opened, -6 reference not appended, -7 no such file
// (checked first, whether or not the block exists), -10 unexpected failure. Prints nothing.
int KWInsert(const wchar_t* path, double x, double y, double z, double scaleX, double scaleY,
             double scaleZ, double rotation, int64_t (&name)[2]);
// The same with the position as a point.
int KWInsert(const wchar_t* path, AcGePoint3d position, double scaleX, double scaleY, double scaleZ,
             double rotation, int64_t (&name)[2]);

// Copies the block `sourceName` as a new block `newName` (both trimmed of blanks), one entity
// at a time in the source's order. `option` 0 copies the entities as they are; any other value
// also sets each copy's colour and linetype to ByBlock, so that references of the new block
// show the reference's own. Returns 0, or: -1 no working database or block table not opened,
// -2 no block `sourceName`, -3 a block `newName` exists already, -4 nothing copied (an empty
// source), `newName` refused as a block name or an unexpected failure, -5 a null or blank name.
int CloneBlock(const wchar_t* sourceName, const wchar_t* newName, int option);

namespace KWRDPub {

// Makes sure `db` (null: the working database) holds a block named `blockName` (null or empty:
// the file title of `path`), defined from the drawing file `path` when it does not exist yet;
// an existing block is kept as it is (reported as "NAME已经存在"). True with the block's id in
// `id`. False when the file is missing ("文件PATH不存在!" in a notice box), cannot be read as a
// drawing ("读取文件：PATH失败，错误代码：N。" in an error box), cannot be inserted
// ("\n插入块表记录失败，失败原因：N" printed and reported), or there is no database.
bool InsertBlockRecord(const wchar_t* path, AcDbObjectId& id, const wchar_t* blockName,
                       AcDbDatabase* db);

}  // namespace KWRDPub

#endif  // KW_EDITOR_ENTITYCREATION_H_
