// The line style collection against plain baselines measured in the same run:
//   load_save_2000  load a "LineTypes.xml" of 2,000 linetypes into the collection and save it
//                   again; baseline: plain libxml2 parsing the same bytes, reading every
//                   attribute of every entry as wide text, serialising the document and saving
//                   it the same atomic way. Target: ratio <= 3.
//   restore_2000    restore all 2,000 into a new drawing; baseline: the same 2,000 linetype
//                   records (name, comments, pattern, dashes) added straight through the host
//                   API into a new drawing. Target: ratio <= 3.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <time.h>

#include <string>
#include <vector>

#include "bench/bench_util.h"
#include "common/encoding.h"
#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "host/api/dbmain.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"
#include "services/paths.h"
#include "styles/LineStyleCollection.h"

namespace {

constexpr int kLinetypes = 2'000;

// CPU seconds of this thread: both sides of a ratio run on this thread, and the machine that
// runs the benchmarks may be busy with other work.
double ThreadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

std::string NameOf(int i) {
  return "KW_LT" + std::to_string(i);
}

// Every fifth linetype carries a text on its second dash (on "Standard").
std::string Entry(int i) {
  const bool text = i % 5 == 0;
  return "<LineType Style=\"" + NameOf(i) + "\" Des=\"Road line " + std::to_string(i) +
         "\" Comments=\"Road line\" IsScaleToFit=\"0\" PatternLen=\"20.5\" "
         "DashLen=\"12.5,-3,0,-5\" NumDashes=\"4\" ShapeIsUcsOriented=\"0,0,0,0\" "
         "ShapeNumber=\"0,0,0,0\" Offset=\"0,0;-1.5,-0.75;0,0;0,0\" Rotation=\"0,0,0,0\" "
         "ShapeScale=\"1,2.5,1,1\" ShapeStyle=\"" +
         std::string(text ? "|Standard||" : "|||") + "\" Text=\"" +
         std::string(text ? "&quot;R&quot;&quot;" : "&quot;&quot;&quot;") + "\"/>\n";
}

std::string CollectionFile() {
  std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<LineTypeInfo>\n<LineTypes>\n";
  for (int i = 0; i < kLinetypes; ++i) xml += Entry(i);
  return xml + "</LineTypes>\n</LineTypeInfo>\n";
}

// A project folder holding the collection file; the path of its file.
std::wstring MakeProject(const std::string& dir) {
  const std::wstring file = kw::WidePath(dir + "/Styles/LineTypes.xml");
  kw::CreateDirectories(kw::ParentOf(file));
  kw::Fs().WriteFileAtomic(file, CollectionFile());
  KWRDPub::SetCurPrjPath(kw::WidePath(dir).c_str());
  return file;
}

size_t CollectionRun() {
  CLineStyleCollection::Destroy();
  CLineStyleCollection* lines = CLineStyleCollection::GetInstance();
  return lines->Save() ? lines->GetLineStyle(L"KW_LT0")->DashLengths().size() : 0;
}

size_t PlainRun(const std::wstring& path) {
  std::string bytes;
  kw::Fs().ReadFile(path, &bytes);
  xmlDocPtr doc = xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr,
                                XML_PARSE_NONET | XML_PARSE_NOBLANKS);
  size_t chars = 0;
  xmlNodePtr section = xmlDocGetRootElement(doc)->children;
  for (xmlNodePtr item = section->children; item != nullptr; item = item->next) {
    for (xmlAttrPtr a = item->properties; a != nullptr; a = a->next) {
      xmlChar* value = xmlNodeGetContent(reinterpret_cast<xmlNodePtr>(a));
      chars += kw::FromUtf8(reinterpret_cast<char*>(value)).size();  // the caller's wide text
      xmlFree(value);
    }
  }
  xmlChar* mem = nullptr;
  int size = 0;
  xmlDocDumpFormatMemoryEnc(doc, &mem, &size, "UTF-8", 1);
  kw::Fs().WriteFileAtomic(path, std::string_view(reinterpret_cast<char*>(mem), size));
  xmlFree(mem);
  xmlFreeDoc(doc);
  return chars;
}

void load_save_2000(benchmark::State& state) {
  const kwtest::TempDir temp("kwbench_lstyle");
  const std::string& dir = temp.path();
  const std::wstring file = MakeProject(dir);
  const std::wstring plain = kw::WidePath(dir + "/plain.xml");
  kw::Fs().WriteFileAtomic(plain, CollectionFile());
  double oursTime = 0, baseTime = 0;
  for (auto _ : state) {
    double start = ThreadSeconds();
    benchmark::DoNotOptimize(CollectionRun());
    const double t = ThreadSeconds() - start;
    oursTime += t;
    start = ThreadSeconds();
    benchmark::DoNotOptimize(PlainRun(plain));
    baseTime += ThreadSeconds() - start;
    state.SetIterationTime(t);
  }
  state.counters["ratio"] = oursTime / baseTime;
  CLineStyleCollection::Destroy();
}

AcDbObjectId StandardStyle() {
  AcDbTextStyleTable* table = nullptr;
  AcDbObjectId id;
  kwhost::CurrentDatabase()->getTextStyleTable(table, AcDb::kForRead);
  table->getAt(L"Standard", id);
  table->close();
  return id;
}

// The records the restore makes, added through the host API the plain way: every value of
// each definition set on a new record, text dashes on "Standard", one open of the table.
void AddRecords(const std::vector<CLineStyle>& styles) {
  const AcDbObjectId standard = StandardStyle();
  AcDbLinetypeTable* table = nullptr;
  kwhost::CurrentDatabase()->getLinetypeTable(table, AcDb::kForWrite);
  for (const CLineStyle& style : styles) {
    auto* record = new AcDbLinetypeTableRecord();
    record->setName(style.GetStyle().c_str());
    record->setComments(style.GetComments().c_str());
    record->setPatternLength(style.GetPatternLen());
    record->setIsScaledToFit(style.GetIsScaleToFit() != 0);
    record->setNumDashes(style.GetNumDashes());
    for (int i = 0; i < style.GetNumDashes(); ++i) {
      const bool text = !style.Texts()[i].empty();
      record->setDashLengthAt(i, style.DashLengths()[i]);
      record->setShapeStyleAt(i, text ? standard : AcDbObjectId());
      record->setShapeNumberAt(i, style.ShapeNumbers()[i]);
      record->setShapeIsUcsOrientedAt(i, style.ShapeIsUcsOrientedFlags()[i] != 0);
      record->setShapeRotationAt(i, style.Rotations()[i]);
      record->setShapeOffsetAt(i, style.Offsets()[i]);
      record->setShapeScaleAt(i, style.ShapeScales()[i]);
      if (text) record->setTextAt(i, style.Texts()[i].c_str());
    }
    table->add(record);
    record->close();
  }
  table->close();
}

void restore_2000(benchmark::State& state) {
  const kwtest::TempDir temp("kwbench_lstyle");
  const std::string& dir = temp.path();
  MakeProject(dir);
  kwhost::ResetSession();
  CLineStyleCollection::Destroy();
  CLineStyleCollection* lines = CLineStyleCollection::GetInstance();
  std::vector<CLineStyle> styles;
  for (int i = 0; i < kLinetypes; ++i) {
    styles.push_back(*lines->GetLineStyle(kw::FromUtf8(NameOf(i)).c_str()));
  }
  double oursTime = 0, baseTime = 0;
  for (auto _ : state) {
    kwhost::NewDrawing();
    double start = ThreadSeconds();
    lines->RestoreLinetype();
    const double t = ThreadSeconds() - start;
    oursTime += t;
    kwhost::NewDrawing();
    start = ThreadSeconds();
    AddRecords(styles);
    baseTime += ThreadSeconds() - start;
    kwhost::CloseAllDocuments();
    state.SetIterationTime(t);
  }
  kwhost::TakeOutput();
  state.counters["ratio"] = oursTime / baseTime;
  CLineStyleCollection::Destroy();
}

}  // namespace

BENCHMARK(load_save_2000)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(restore_2000)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2.0);

int main(int argc, char** argv) {
  kwbench::RatioReporter reporter;
  reporter.Counter("LineTypes.xml load+save / libxml2", "load_save_2000", "ratio", "<= 3");
  reporter.Counter("restore 2,000 / host API records", "restore_2000", "ratio", "<= 3");
  return kwbench::RunBenchmarks(argc, argv, reporter);
}
