// The XML road object store against plain libxml2 on the same document, in the same run:
//   save_10k  SaveXMLString of 10,000 objects (one guid selector per object) vs building the
//             same tree with libxml2 calls and serialising it to wide text.   ratio <= 2
//   load_10k  LoadXMLString of that text into an empty manager vs parsing it with libxml2 and
//             reading every item's attributes into wide strings.              ratio <= 2
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <string>

#include "bench/bench_util.h"
#include "common/encoding.h"
#include "examples/laneitems/LaneItems.h"
#include "persist/RoadObjectXML.h"

namespace {

using kwbench::Clock;
using kwbench::Seconds;
constexpr int kObjects = 10'000;

using CItem = kwexample::CLaneItem;

// The example document, filled with kObjects objects and a default item.
class CItems : public kwexample::CLaneItems {
 public:
  CItems() : CLaneItems(L"/tmp") {}
  void Fill() {
    for (int i = 0; i < kObjects; ++i) {
      auto* item = new CItem;
      item->CreateGUID();
      item->SetName(L"Item " + std::to_wstring(i));
      item->m_width = 3.5 + i;
      Add(item);
    }
    SetDefaultItem(1);
  }
};

std::wstring PlainSave(const CItems& items) {
  xmlDocPtr doc = xmlNewDoc(BAD_CAST "1.0");
  xmlNodePtr root = xmlNewDocNode(doc, nullptr, BAD_CAST "kwrd", nullptr);
  xmlDocSetRootElement(doc, root);
  xmlNodePtr list = xmlNewChild(root, nullptr, BAD_CAST "Items", nullptr);
  xmlNewTextChild(list, nullptr, BAD_CAST "default", BAD_CAST "1");
  for (int i = 0; i < items.Count(); ++i) {
    auto* item = static_cast<CItem*>(items.Item(i));
    xmlNodePtr node = xmlNewChild(list, nullptr, BAD_CAST "Item", nullptr);
    xmlSetProp(node, BAD_CAST "guid", BAD_CAST kw::ToUtf8(KWRDPub::GUIDToStr(item->ID())).c_str());
    xmlSetProp(node, BAD_CAST "name", BAD_CAST kw::ToUtf8(item->Name()).c_str());
    xmlSetProp(node, BAD_CAST "desc", BAD_CAST kw::ToUtf8(item->Desc()).c_str());
    xmlSetProp(node, BAD_CAST "width", BAD_CAST std::to_string(item->m_width).c_str());
    xmlSetProp(node, BAD_CAST "lanes", BAD_CAST std::to_string(item->m_lanes).c_str());
  }
  xmlChar* mem = nullptr;
  int size = 0;
  xmlDocDumpFormatMemoryEnc(doc, &mem, &size, "UTF-8", 1);
  std::wstring text = kw::FromUtf8(std::string_view(reinterpret_cast<char*>(mem), size));
  xmlFree(mem);
  xmlFreeDoc(doc);
  return text;
}

long PlainLoad(const std::wstring& text) {
  std::string utf8 = kw::ToUtf8(text);
  xmlDocPtr doc = xmlReadMemory(utf8.data(), static_cast<int>(utf8.size()), nullptr, "UTF-8",
                                XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_IGNORE_ENC);
  long count = 0;
  xmlNodePtr list = xmlDocGetRootElement(doc)->children;
  for (xmlNodePtr node = list->children; node != nullptr; node = node->next) {
    for (const char* attr : {"guid", "name", "desc", "width", "lanes"}) {
      xmlChar* value = xmlGetProp(node, BAD_CAST attr);
      if (value != nullptr) count += kw::FromUtf8(reinterpret_cast<char*>(value)).size();
      xmlFree(value);
    }
  }
  xmlFreeDoc(doc);
  return count;
}

void save_10k(benchmark::State& state) {
  CItems items;
  items.Fill();
  double oursTime = 0, baseTime = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    benchmark::DoNotOptimize(items.SaveXMLString({}, nullptr).size());
    const double t = Seconds(start);
    oursTime += t;
    start = Clock::now();
    benchmark::DoNotOptimize(PlainSave(items).size());
    baseTime += Seconds(start);
    state.SetIterationTime(t);
  }
  state.counters["ratio"] = oursTime / baseTime;
}

void load_10k(benchmark::State& state) {
  CItems source;
  source.Fill();
  const std::wstring text = source.SaveXMLString({}, nullptr);
  double oursTime = 0, baseTime = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    {
      CItems items;
      items.LoadXMLString(text.c_str(), {}, nullptr, false);
      benchmark::DoNotOptimize(items.Count());
    }
    const double t = Seconds(start);
    oursTime += t;
    start = Clock::now();
    benchmark::DoNotOptimize(PlainLoad(text));
    baseTime += Seconds(start);
    state.SetIterationTime(t);
  }
  state.counters["ratio"] = oursTime / baseTime;
}

}  // namespace

BENCHMARK(save_10k)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(load_10k)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2.0);

int main(int argc, char** argv) {
  kwbench::RatioReporter reporter;
  reporter.Counter("SaveXMLString / libxml2", "save_10k", "ratio", "<= 2")
      .Counter("LoadXMLString / libxml2", "load_10k", "ratio", "<= 2");
  return kwbench::RunBenchmarks(argc, argv, reporter);
}
