#include "host/embedded/dxf/drawingfile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <set>
#include <string>
#include <utility>

#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"
#include "host/embedded/dxf/tagreader.h"

namespace kwhost::dxf {
namespace {

// An ASCII drawing from (code, value) pairs.
std::string Dxf(std::initializer_list<std::pair<int, const char*>> tags) {
  std::string out;
  for (const auto& [code, value] : tags) out += std::to_string(code) + "\n" + value + "\n";
  return out;
}

// A small R2000 drawing: a block holding a line, model space with an INSERT of it, an
// entity of a class the host does not model, and a tag in an unknown subclass.
std::string SmallDrawing(const char* inserted = "MTEXT", const char* line_owner = "20") {
  return Dxf({{0, "SECTION"},
              {2, "HEADER"},
              {9, "$ACADVER"},
              {1, "AC1015"},
              {9, "$HANDSEED"},
              {5, "100"},
              {0, "ENDSEC"},
              {0, "SECTION"},
              {2, "TABLES"},
              {0, "TABLE"},
              {2, "BLOCK_RECORD"},
              {5, "1"},
              {330, "0"},
              {100, "AcDbSymbolTable"},
              {70, "2"},
              {0, "BLOCK_RECORD"},
              {5, "10"},
              {330, "1"},
              {100, "AcDbSymbolTableRecord"},
              {100, "AcDbBlockTableRecord"},
              {2, "*Model_Space"},
              {0, "BLOCK_RECORD"},
              {5, "20"},
              {330, "1"},
              {100, "AcDbSymbolTableRecord"},
              {100, "AcDbBlockTableRecord"},
              {2, "B"},
              {0, "ENDTAB"},
              {0, "ENDSEC"},
              {0, "SECTION"},
              {2, "BLOCKS"},
              {0, "BLOCK"},
              {5, "21"},
              {330, "20"},
              {100, "AcDbEntity"},
              {8, "0"},
              {100, "AcDbBlockBegin"},
              {2, "B"},
              {70, "0"},
              {10, "1.0"},
              {20, "2.0"},
              {30, "0.0"},
              {3, "B"},
              {0, "LINE"},
              {5, "22"},
              {330, line_owner},
              {100, "AcDbEntity"},
              {8, "0"},
              {100, "AcDbLine"},
              {10, "0.0"},
              {20, "0.0"},
              {30, "0.0"},
              {11, "1.0"},
              {21, "1.0"},
              {31, "0.0"},
              {0, std::string(inserted) == "MTEXT" ? "MTEXT" : "INSERT"},
              {5, "24"},
              {330, "20"},
              {100, "AcDbEntity"},
              {8, "0"},
              {100, "AcDbBlockReference"},
              {2, inserted},
              {10, "0.0"},
              {20, "0.0"},
              {30, "0.0"},
              {0, "ENDBLK"},
              {5, "23"},
              {330, "20"},
              {100, "AcDbEntity"},
              {8, "0"},
              {100, "AcDbBlockEnd"},
              {0, "ENDSEC"},
              {0, "SECTION"},
              {2, "ENTITIES"},
              {0, "INSERT"},
              {5, "30"},
              {330, "10"},
              {100, "AcDbEntity"},
              {8, "Road"},
              {100, "AcDbBlockReference"},
              {2, "B"},
              {10, "5.0"},
              {20, "6.0"},
              {30, "0.0"},
              {100, "AcDbFuture"},
              {1, "kept"},
              {1001, "KWRD"},
              {1000, "xdata"},
              {0, "MTEXT"},
              {5, "31"},
              {330, "10"},
              {100, "AcDbEntity"},
              {8, "0"},
              {100, "AcDbMText"},
              {10, "0.0"},
              {20, "0.0"},
              {30, "0.0"},
              {1, "multi"},
              {0, "ENDSEC"},
              {0, "EOF"}});
}

std::string Write(AcDbDatabase& db, const char* version = "", bool binary = false) {
  std::string bytes;
  EXPECT_EQ(WriteDrawingBytes(db, version, binary, &bytes), Acad::eOk);
  return bytes;
}

// The whole record of an ASCII drawing that holds `text`: from its group-0 line up to the next
// one; "" when the text is not there.
std::string RecordWith(const std::string& out, const std::string& text) {
  const size_t at = out.find(text);
  if (at == std::string::npos) return "";
  const size_t before = out.rfind("\n  0\n", at);
  const size_t start = before == std::string::npos ? 0 : before + 1;
  const size_t after = out.find("\n  0\n", at + 1);
  return out.substr(start, after == std::string::npos ? std::string::npos : after + 1 - start);
}

// The value groups of a header variable: what follows "  9\n<name>\n" up to the next variable or
// the end of the section; "<none>" when the variable is not written.
std::string HeaderVariable(const std::string& out, const std::string& name) {
  const std::string head = "  9\n" + name + "\n";
  const size_t at = out.find(head);
  if (at == std::string::npos) return "<none>";
  const size_t from = at + head.size();
  const size_t end = std::min(out.find("  9\n", from), out.find("  0\n", from));
  return out.substr(from, end - from);
}

// Every handle (groups 5 and 105 after the header) is used once.
bool HandlesUnique(std::string_view bytes) {
  TagReader reader(bytes);
  RawTag tag;
  std::set<std::string> seen;
  bool header = true;
  while (reader.Next(&tag)) {
    if (tag.code == 0 && tag.text == "ENDSEC") header = false;
    if (!header && (tag.code == 5 || tag.code == 105) &&
        !seen.insert(std::string(tag.text)).second) {
      return false;
    }
  }
  return !reader.failed() && seen.size() > 20;
}

AcDbObjectId ModelSpace(AcDbDatabase& db) {
  AcDbBlockTable* table = nullptr;
  AcDbObjectId id;
  if (db.getBlockTable(table) != Acad::eOk) return id;
  table->getAt(L"*Model_Space", id);
  table->close();
  return id;
}

TEST(DxfReadTest, ModelledEntitiesUnknownEntitiesAndUnknownGroupsSurviveARoundTrip) {
  AcDbDatabase db(false, true);
  std::string message;
  ASSERT_EQ(ReadDrawingBytes(SmallDrawing(), db, &message), Acad::eOk) << message;
  const std::string out = Write(db);
  EXPECT_EQ(RecordWith(out, "  0\nINSERT\n  5\n30\n"),
            "  0\nINSERT\n  5\n30\n330\n10\n100\nAcDbEntity\n  8\nRoad\n100\nAcDbBlockReference\n"
            "  2\nB\n 10\n5.0\n 20\n6.0\n 30\n0.0\n"
            "100\nAcDbFuture\n  1\nkept\n1001\nKWRD\n1000\nxdata\n");
  EXPECT_EQ(RecordWith(out, "  0\nMTEXT\n  5\n31\n"),
            "  0\nMTEXT\n  5\n31\n330\n10\n100\nAcDbEntity\n  8\n0\n100\nAcDbMText\n 10\n0.0\n"
            " 20\n0.0\n 30\n0.0\n  1\nmulti\n");
  EXPECT_EQ(RecordWith(out, "  0\nBLOCK\n  5\n21\n"),
            "  0\nBLOCK\n  5\n21\n330\n20\n100\nAcDbEntity\n  8\n0\n100\nAcDbBlockBegin\n  2\nB\n"
            " 70\n0\n 10\n1.0\n 20\n2.0\n 30\n0.0\n  3\nB\n  1\n\n");
  AcDbDatabase again(false, true);
  ASSERT_EQ(ReadDrawingBytes(out, again, &message), Acad::eOk) << message;
  EXPECT_EQ(Write(again), out);
}

TEST(DxfReadTest, HostileDrawingsFailWithTheLineAndTheFault) {
  const struct {
    std::string bytes;
    const char* message;
  } cases[] = {
      {SmallDrawing(), ""},
      {SmallDrawing("MTEXT", "99"), "line 87: the owner does not exist"},
      {Dxf({{0, "SECTION"},
            {2, "ENTITIES"},
            {0, "LINE"},
            {5, "A"},
            {0, "LINE"},
            {5, "A"},
            {0, "ENDSEC"},
            {0, "EOF"}}),
       "line 9: handle used twice"},
      {Dxf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "LINE"}, {5, "A"}}),
       "line 7: the file ends before its EOF record"},
      {Dxf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "LINE"}, {5, "XYZ"}, {0, "ENDSEC"}}),
       "line 5: a handle that is not hex"},
      {Dxf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "CIRCLE"}, {10, "1e999"}}),
       "line 7: group 10 value '1e999' is not a number"},
      {Dxf({{0, "SECTION"},
            {2, "BLOCKS"},
            {0, "BLOCK"},
            {2, "A"},
            {0, "INSERT"},
            {2, "C"},
            {0, "ENDBLK"},
            {0, "BLOCK"},
            {2, "C"},
            {0, "INSERT"},
            {2, "A"},
            {0, "ENDBLK"},
            {0, "ENDSEC"},
            {0, "EOF"}}),
       "line 19: a block inserts itself"},
      // The first object has no handle and is given one; the second names that handle as its
      // owner, which the file never gave to any object.
      {Dxf({{0, "SECTION"},
            {2, "OBJECTS"},
            {0, "DICTIONARY"},
            {0, "DICTIONARY"},
            {5, "2D"},
            {330, "1"},
            {0, "ENDSEC"},
            {0, "EOF"}}),
       "line 7: the owner does not exist"},
  };
  for (const auto& c : cases) {
    for (size_t read_ahead_from : {kNoReadAhead, size_t{0}}) {
      AcDbDatabase db(false, true);
      std::string message;
      const Acad::ErrorStatus es = ReadDrawingBytes(c.bytes, db, &message, read_ahead_from);
      EXPECT_EQ(message, c.message);
      EXPECT_EQ(es, *c.message ? Acad::eFilerError : Acad::eOk) << message;
    }
  }
}

// A BLOCK, ENDBLK or SEQEND with two handles is known by its first, as every other object is,
// by the reader and the writer alike: a drawing that reads writes back to a file that reads
// again.
TEST(DxfReadTest, ABlockOrSeqendWithTwoHandlesIsKnownByItsFirst) {
  const auto drawing = [](const char* line_handle) {
    return Dxf({{0, "SECTION"}, {2, "BLOCKS"},    {0, "BLOCK"},    {5, "40"}, {5, "41"},
                {2, "B"},       {0, "ENDBLK"},    {5, "42"},       {5, "43"}, {0, "ENDSEC"},
                {0, "SECTION"}, {2, "ENTITIES"},  {0, "POLYLINE"}, {5, "50"}, {66, "1"},
                {0, "VERTEX"},  {5, "51"},        {0, "SEQEND"},   {5, "52"}, {5, "53"},
                {0, "LINE"},    {5, line_handle}, {0, "ENDSEC"},   {0, "EOF"}});
  };
  for (const char* taken : {"40", "42", "52"}) {
    AcDbDatabase db(false, true);
    std::string message;
    EXPECT_EQ(ReadDrawingBytes(drawing(taken), db, &message), Acad::eFilerError);
    EXPECT_EQ(message, "line 41: handle used twice");
  }
  for (const char* free : {"41", "43", "53"}) {
    AcDbDatabase db(false, true);
    std::string message;
    ASSERT_EQ(ReadDrawingBytes(drawing(free), db, &message), Acad::eOk) << message;
    const std::string out = Write(db);
    EXPECT_NE(RecordWith(out, "AcDbBlockBegin").find("  5\n40\n"), std::string::npos);
    EXPECT_NE(out.find("  0\nSEQEND\n  5\n52\n"), std::string::npos);
    AcDbDatabase again(false, true);
    EXPECT_EQ(ReadDrawingBytes(out, again, &message), Acad::eOk) << message;
  }
}

// A record that gives the file its structure, met where entities, objects or table records
// belong, means the structure is broken: kept as an object, it would be written back into a
// file that no longer reads.
TEST(DxfReadTest, StructureRecordsOutOfPlaceAreRefusedNotKept) {
  const struct {
    std::string bytes;
    const char* message;
  } cases[] = {
      {Dxf({{0, "SECTION"},
            {2, "BLOCKS"},
            {0, "BLOCK"},
            {2, "A"},
            {0, "ENDSEC"},
            {0, "SECTION"},
            {247, "HEAD"},
            {0, "ENDBLK"},
            {0, "ENDSEC"},
            {0, "EOF"}}),
       "line 9: ENDBLK expected"},
      {Dxf({{0, "SECTION"}, {2, "ENTITIES"}, {0, "TABLE"}, {2, "LAYER"}, {0, "ENDSEC"}}),
       "line 5: ENDSEC expected"},
      {Dxf({{0, "SECTION"},
            {2, "ENTITIES"},
            {0, "INSERT"},
            {66, "1"},
            {2, "B"},
            {0, "ATTRIB"},
            {0, "ENDSEC"},
            {0, "EOF"}}),
       "line 13: SEQEND expected"},
      {Dxf({{0, "SECTION"}, {2, "OBJECTS"}, {0, "SECTION"}, {2, "X"}, {0, "ENDSEC"}}),
       "line 5: ENDSEC expected"},
      {Dxf({{0, "SECTION"}, {2, "CLASSES"}, {0, "ENDTAB"}, {0, "ENDSEC"}}),
       "line 5: ENDSEC expected"},
      {Dxf({{0, "SECTION"}, {2, "TABLES"}, {0, "TABLE"}, {2, "SECTION"}, {0, "SECTION"}}),
       "line 5: a table name that is not valid"},
      {Dxf({{0, "SECTION"}, {2, "ACDSDATA"}, {0, "SECTION"}, {2, "X"}, {0, "ENDSEC"}}),
       "line 5: ENDSEC expected"},
      // Decoded, the name is one the reader maps: kept, it would be read back as that.
      {Dxf({{0, "SECTION"}, {2, "HEADE\\U+0052"}, {0, "ENDSEC"}, {0, "EOF"}}),
       "line 1: a section name that is not valid"},
  };
  for (const auto& c : cases) {
    AcDbDatabase db(false, true);
    std::string message;
    EXPECT_EQ(ReadDrawingBytes(c.bytes, db, &message), Acad::eFilerError) << c.message;
    EXPECT_EQ(message, c.message);
  }
}

TEST(DxfReadTest, ABlockThatInsertsItselfIsRefused) {
  AcDbDatabase db(false, true);
  std::string message;
  EXPECT_EQ(ReadDrawingBytes(SmallDrawing("b"), db, &message), Acad::eFilerError);
  EXPECT_EQ(message, "line 111: a block inserts itself");
}

TEST(DxfWriteTest, NewDrawingsAreR2000InGbkWithUniqueHandles) {
  AcDbDatabase db(true, true);
  AcDbBlockTableRecord* model = nullptr;
  ASSERT_EQ(acdbOpenObject(model, ModelSpace(db), AcDb::kForWrite), Acad::eOk);
  auto* text = new AcDbText(AcGePoint3d(1, 2, 0), L"道路");
  ASSERT_EQ(model->appendAcDbEntity(text), Acad::eOk);
  text->close();
  model->close();
  const std::string out = Write(db);
  EXPECT_EQ(out.substr(0, 47), "  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1015\n");
  EXPECT_EQ(HeaderVariable(out, "$DWGCODEPAGE"), "  3\nANSI_936\n");
  // The text's record before and after its string, which the format's code page decides.
  const std::string record =
      "  0\nTEXT\n  5\nF\n330\nC\n100\nAcDbEntity\n  8\n0\n100\nAcDbText\n 10\n1.0\n 20\n2.0\n"
      " 30\n0.0\n 40\n0.0\n  1\n";
  const std::string tail = "\n  7\nStandard\n100\nAcDbText\n";
  EXPECT_EQ(RecordWith(out, "  0\nTEXT\n"), record + "\xB5\xC0\xC2\xB7" + tail);    // 道路 in GBK
  EXPECT_EQ(RecordWith(Write(db, "2018"), "  0\nTEXT\n"), record + "道路" + tail);  // UTF-8
  EXPECT_TRUE(HandlesUnique(out));
  AcDbDatabase again(false, true);
  std::string message;
  ASSERT_EQ(ReadDrawingBytes(out, again, &message), Acad::eOk) << message;
  ASSERT_EQ(ReadDrawingBytes(Write(db, "2018", true), again, &message), Acad::eFilerError);
  AcDbDatabase binary(false, true);
  ASSERT_EQ(ReadDrawingBytes(Write(db, "2018", true), binary, &message), Acad::eOk) << message;
  EXPECT_NE(Write(binary).find("\n  1\n道路\n"), std::string::npos);  // binary strings are UTF-8
  // A text of height 0 (the style's) reads back as it was: writing again gives the same bytes.
  AcDbDatabase once(false, true), twice(false, true);
  ASSERT_EQ(ReadDrawingBytes(out, once, &message), Acad::eOk) << message;
  ASSERT_EQ(ReadDrawingBytes(Write(once), twice, &message), Acad::eOk) << message;
  EXPECT_EQ(RecordWith(Write(once), "  0\nTEXT\n"), record + "\xB5\xC0\xC2\xB7" + tail);
  EXPECT_EQ(RecordWith(Write(twice), "  0\nTEXT\n"), record + "\xB5\xC0\xC2\xB7" + tail);
}

TEST(DxfWriteTest, R12DrawingsAreWrittenAsR2000AndR12OutputIsRefused) {
  AcDbDatabase db(false, true);
  std::string message;
  ASSERT_EQ(ReadDrawingBytes(Dxf({{0, "SECTION"},
                                  {2, "ENTITIES"},
                                  {0, "LINE"},
                                  {8, "A"},
                                  {10, "1"},
                                  {20, "2"},
                                  {11, "3"},
                                  {21, "4"},
                                  {0, "ENDSEC"},
                                  {0, "EOF"}}),
                             db, &message),
            Acad::eOk)
      << message;
  std::string out;
  EXPECT_EQ(WriteDrawingBytes(db, "R12", false, &out), Acad::eNotImplementedYet);
  EXPECT_EQ(WriteDrawingBytes(db, "R14", false, &out), Acad::eInvalidInput);
  out = Write(db);
  EXPECT_EQ(HeaderVariable(out, "$ACADVER"), "  1\nAC1015\n");
  EXPECT_EQ(RecordWith(out, "  0\nLINE\n"),
            "  0\nLINE\n  5\n3\n330\n1\n100\nAcDbEntity\n  8\nA\n100\nAcDbLine\n 10\n1.0\n"
            " 20\n2.0\n 30\n0.0\n 11\n3.0\n 21\n4.0\n 31\n0.0\n");
}

// Sections the host does not model come back after OBJECTS in the order read, the preview
// picture last, tags unchanged, whatever their place in the file read.
TEST(DxfWriteTest, SectionsTheHostDoesNotModelAreWrittenBackWithEveryTag) {
  const std::string in = Dxf(
      {{0, "SECTION"}, {2, "HEADER"},         {9, "$ACADVER"}, {1, "AC1032"},      {0, "ENDSEC"},
       {0, "SECTION"}, {2, "THUMBNAILIMAGE"}, {90, "4"},       {310, "DEADBEEF"},  {0, "ENDSEC"},
       {0, "SECTION"}, {2, "ENTITIES"},       {0, "ENDSEC"},   {0, "SECTION"},     {2, "ACDSDATA"},
       {70, "2"},      {0, "ACDSSCHEMA"},     {90, "0"},       {1, "道路 ^ kept"}, {0, "ENDSEC"},
       {0, "EOF"}});
  AcDbDatabase db(false, true);
  std::string message;
  ASSERT_EQ(ReadDrawingBytes(in, db, &message), Acad::eOk) << message;
  const std::string out = Write(db);
  const size_t objects = out.find("  0\nSECTION\n  2\nOBJECTS\n");
  ASSERT_NE(objects, std::string::npos);
  const size_t kept = out.find("  0\nSECTION\n  2\nACDSDATA\n");
  ASSERT_GT(kept, objects);
  EXPECT_EQ(out.substr(kept),
            "  0\nSECTION\n  2\nACDSDATA\n 70\n2\n  0\nACDSSCHEMA\n 90\n0\n  1\n道路 ^ kept\n"
            "  0\nENDSEC\n  0\nSECTION\n  2\nTHUMBNAILIMAGE\n 90\n4\n310\nDEADBEEF\n"
            "  0\nENDSEC\n  0\nEOF\n");
  for (bool binary : {false, true}) {
    AcDbDatabase again(false, true);
    ASSERT_EQ(ReadDrawingBytes(Write(db, "", binary), again, &message), Acad::eOk) << message;
    EXPECT_EQ(Write(again), out);
  }
}

TEST(DxfWriteTest, ComplexLinetypesKeepTheirTextsAndShapes) {
  AcDbDatabase db(false, true);
  std::string message;
  const std::string head = Dxf({{0, "SECTION"},
                                {2, "HEADER"},
                                {9, "$ACADVER"},
                                {1, "AC1032"},
                                {0, "ENDSEC"},
                                {0, "SECTION"},
                                {2, "TABLES"},
                                {0, "TABLE"},
                                {2, "LTYPE"},
                                {5, "5"},
                                {330, "0"},
                                {100, "AcDbSymbolTable"},
                                {70, "1"},
                                {0, "LTYPE"},
                                {5, "14"},
                                {330, "5"},
                                {100, "AcDbSymbolTableRecord"},
                                {100, "AcDbLinetypeTableRecord"},
                                {2, "ROAD"},
                                {70, "0"},
                                {3, "Road --"},
                                {72, "65"},
                                {73, "2"},
                                {40, "2.0"},
                                {49, "1.5"},
                                {74, "2"},
                                {75, "0"},
                                {340, "11"},
                                {46, "0.5"},
                                {50, "90.0"},
                                {44, "0.25"},
                                {45, "-0.5"},
                                {9, "路"},
                                {49, "-0.5"},
                                {74, "4"},
                                {75, "132"},
                                {340, "11"},
                                {46, "1.0"},
                                {50, "0.0"},
                                {44, "0.0"},
                                {45, "0.0"},
                                {0, "ENDTAB"},
                                {0, "TABLE"},
                                {2, "STYLE"},
                                {5, "3"},
                                {330, "0"},
                                {100, "AcDbSymbolTable"},
                                {70, "1"},
                                {0, "STYLE"},
                                {5, "11"},
                                {330, "3"},
                                {100, "AcDbSymbolTableRecord"},
                                {100, "AcDbTextStyleTableRecord"},
                                {2, "Standard"},
                                {70, "0"},
                                {40, "0.0"},
                                {41, "1.0"},
                                {50, "0.0"},
                                {71, "0"},
                                {42, "2.5"},
                                {3, "txt"},
                                {4, "gbcbig.shx"},
                                {0, "ENDTAB"},
                                {0, "ENDSEC"},
                                {0, "EOF"}});
  ASSERT_EQ(ReadDrawingBytes(head, db, &message), Acad::eOk) << message;
  const std::string out = Write(db, "2018");
  EXPECT_EQ(
      RecordWith(out, "  0\nLTYPE\n  5\n14\n"),
      "  0\nLTYPE\n  5\n14\n330\n5\n100\nAcDbSymbolTableRecord\n100\nAcDbLinetypeTableRecord\n"
      "  2\nROAD\n 70\n0\n  3\nRoad --\n 72\n65\n 73\n2\n 40\n2.0\n"
      " 49\n1.5\n 74\n2\n 75\n0\n340\n11\n 46\n0.5\n 50\n90.0\n 44\n0.25\n 45\n-0.5\n"
      "  9\n路\n 49\n-0.5\n 74\n4\n 75\n132\n340\n11\n 46\n1.0\n 50\n0.0\n 44\n0.0\n"
      " 45\n0.0\n");
  EXPECT_EQ(
      RecordWith(out, "  0\nSTYLE\n  5\n11\n"),
      "  0\nSTYLE\n  5\n11\n330\n3\n100\nAcDbSymbolTableRecord\n100\nAcDbTextStyleTableRecord\n"
      "  2\nStandard\n 70\n0\n 40\n0.0\n 41\n1.0\n 50\n0.0\n 71\n0\n 42\n2.5\n  3\ntxt\n"
      "  4\ngbcbig.shx\n");
}

class DxfSaveTest : public ::testing::Test {
 protected:
  std::wstring Path(const char* name) const { return kw::WidePath(dir_ + "/" + name); }
  kwtest::TempDir temp_{"kw_dxf"};
  std::string dir_ = temp_.path();
};

TEST_F(DxfSaveTest, SavingKeepsThePreviousFileAsBakAndAFailedSaveChangesNothing) {
  AcDbDatabase db(true, true);
  ASSERT_EQ(SaveDrawing(Path("road.dxf"), db), Acad::eOk);
  std::string first;
  ASSERT_TRUE(kw::Fs().ReadFile(Path("road.dxf"), &first));
  ASSERT_EQ(SaveDrawing(Path("road.dxf"), db, "2018"), Acad::eOk);
  std::string second;
  ASSERT_TRUE(kw::Fs().ReadFile(Path("road.dxf"), &second));
  EXPECT_EQ(second.substr(0, 47), "  0\nSECTION\n  2\nHEADER\n  9\n$ACADVER\n  1\nAC1032\n");
  std::string bak;
  ASSERT_TRUE(kw::Fs().ReadFile(Path("road.bak"), &bak));
  EXPECT_EQ(bak, first);
  kw::FaultyFileSystem faulty(kw::PosixFs());
  kw::ScopedFileSystem scope(&faulty);
  faulty.FailWrites();
  EXPECT_EQ(SaveDrawing(Path("road.dxf"), db), Acad::eFileAccessErr);
  faulty.Reset();
  std::string now;
  ASSERT_TRUE(kw::Fs().ReadFile(Path("road.dxf"), &now));
  EXPECT_EQ(now, second);
  AcDbDatabase missing(false, true);
  std::string message;
  EXPECT_EQ(ReadDrawing(Path("none.dxf"), missing, &message), Acad::eFileNotFound);
  AcDbDatabase read(false, true);
  EXPECT_EQ(read.readDwgFile(Path("road.dxf").c_str()), Acad::eOk);
}

// A drawing large enough for the tags to be split on a second thread reads into the same
// drawing as on one thread, and a fault near its end is reported at the same line.
TEST(DxfReadTest, ReadingAheadOnASecondThreadBuildsTheSameDrawing) {
  AcDbDatabase made(true, true);
  AcDbBlockTableRecord* model = nullptr;
  ASSERT_EQ(acdbOpenObject(model, ModelSpace(made), AcDb::kForWrite), Acad::eOk);
  for (int i = 0; i < 6000; ++i) {
    auto* line = new AcDbLine(AcGePoint3d(i, 0.5 * i, 0), AcGePoint3d(i + 1.25, i % 7, 0));
    model->appendAcDbEntity(line);
    line->close();
    auto* text = new AcDbText(AcGePoint3d(i, 1, 0), L"K0+100 道路", AcDbObjectId(), 2.5, 0);
    model->appendAcDbEntity(text);
    text->close();
  }
  model->close();
  const std::string bytes = Write(made);
  std::string written[2], messages[2];
  for (int ahead = 0; ahead < 2; ++ahead) {
    AcDbDatabase db(false, true);
    ASSERT_EQ(ReadDrawingBytes(bytes, db, &messages[ahead], ahead ? 0 : kNoReadAhead), Acad::eOk);
    written[ahead] = Write(db);
  }
  EXPECT_EQ(written[1], written[0]);
  EXPECT_EQ(written[0], bytes);
  const std::string broken = bytes.substr(0, bytes.size() - 200) + "x\n";
  for (int ahead = 0; ahead < 2; ++ahead) {
    AcDbDatabase db(false, true);
    EXPECT_EQ(ReadDrawingBytes(broken, db, &messages[ahead], ahead ? 0 : kNoReadAhead),
              Acad::eFilerError);
  }
  EXPECT_EQ(messages[1], messages[0]);
  EXPECT_NE(messages[0], "");
}

}  // namespace
}  // namespace kwhost::dxf
