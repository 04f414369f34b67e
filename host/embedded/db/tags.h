// Tags: the DXF groups of an object that the drawing database keeps without modelling them.
//
// A Tag is one DXF group: its group code and its value as text in UTF-8, written exactly as an
// ASCII DXF file of the drawing's version would write it (numbers in the file's own text form,
// so reading and writing them back changes no digit; binary chunks of groups 310-319, 1004 as
// upper-case hexadecimal). A Tags list keeps the groups in file order.
//
// Who uses it: the database keeps every group it does not model as Tags (per object, per
// subclass, per section) and hands them back unchanged to the DXF writer, so that reading and
// writing a drawing loses nothing. The database never interprets a tag's value beyond what its
// typed accessors document; a value that is not valid for its code is kept as it is.
#ifndef KW_HOST_EMBEDDED_DB_TAGS_H_
#define KW_HOST_EMBEDDED_DB_TAGS_H_

#include <string>
#include <vector>

namespace kwhost::db {

// One DXF group: code and value text (UTF-8).
struct Tag {
  int code;
  std::string value;
};
using Tags = std::vector<Tag>;

}  // namespace kwhost::db

#endif  // KW_HOST_EMBEDDED_DB_TAGS_H_
