// shpcompile: compiles a shape file's text into its binary form.
//
//   shpcompile INPUT.shp OUTPUT.shx
//
// Exit status: 0 when written; 1 for bad arguments, an unreadable input, an input holding no
// shape or a failed write (the message on stderr names which).
#include <cstdio>
#include <string>

#include "common/encoding.h"
#include "common/fileio.h"
#include "host/embedded/linetypes/shapes.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: shpcompile INPUT.shp OUTPUT.shx\n");
    return 1;
  }
  const std::wstring input = kw::FromUtf8(argv[1]);
  const std::wstring output = kw::FromUtf8(argv[2]);
  std::string text;
  kwhost::linetypes::ShapeFile shapes;
  if (!kw::Fs().ReadFile(input, &text)) {
    std::fprintf(stderr, "shpcompile: cannot read %s\n", argv[1]);
    return 1;
  }
  if (!kwhost::linetypes::ParseShp(text, &shapes)) {
    std::fprintf(stderr, "shpcompile: no shape in %s\n", argv[1]);
    return 1;
  }
  kw::Fs().CreateDirectories(kw::ParentOf(output));
  if (!kw::Fs().WriteFileAtomic(output, kwhost::linetypes::WriteShx(shapes))) {
    std::fprintf(stderr, "shpcompile: cannot write %s\n", argv[2]);
    return 1;
  }
  return 0;
}
