// The XML profile against plain libxml2 on the same document, measured in the same run:
//   write_read_10k  write 10,000 keys into one section, close (atomic save), then read all
//                   10,000 back; baseline: build the same tree with libxml2 calls, save it the
//                   same atomic way, parse it and read every key by walking the children.
//                   Target: ratio <= 2.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <string>
#include <vector>

#include "bench/bench_util.h"
#include "common/encoding.h"
#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "persist/XMLPrivateProfile.h"

namespace {

using kwbench::Clock;
using kwbench::Seconds;
constexpr int kKeys = 10'000;

long ProfileRun(const std::wstring& path, const std::vector<std::wstring>& keys) {
  kw::Fs().RemoveFile(path);
  {
    CXMLPrivateProfile p(path.c_str(), L"config");
    for (int i = 0; i < kKeys; ++i) p.WriteValue(L"Road", keys[i].c_str(), i);
  }
  CXMLPrivateProfile p(path.c_str(), L"config");
  long sum = 0;
  for (int i = 0; i < kKeys; ++i) {
    int v = 0;
    p.ReadValue(L"Road", keys[i].c_str(), v, 0);
    sum += v;
  }
  return sum;
}

long PlainRun(const std::wstring& path, const std::vector<std::string>& keys) {
  xmlDocPtr doc = xmlNewDoc(BAD_CAST "1.0");
  xmlNodePtr root = xmlNewDocNode(doc, nullptr, BAD_CAST "config", nullptr);
  xmlDocSetRootElement(doc, root);
  xmlNodePtr road = xmlNewChild(root, nullptr, BAD_CAST "Road", nullptr);
  for (int i = 0; i < kKeys; ++i) {
    xmlNewTextChild(road, nullptr, BAD_CAST keys[i].c_str(), BAD_CAST std::to_string(i).c_str());
  }
  xmlChar* mem = nullptr;
  int size = 0;
  xmlDocDumpFormatMemoryEnc(doc, &mem, &size, "UTF-8", 1);
  kw::Fs().WriteFileAtomic(path, std::string_view(reinterpret_cast<char*>(mem), size));
  xmlFree(mem);
  xmlFreeDoc(doc);
  std::string bytes;
  kw::Fs().ReadFile(path, &bytes);
  doc = xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOBLANKS);
  long sum = 0;
  road = xmlDocGetRootElement(doc)->children;
  for (xmlNodePtr key = road->children; key != nullptr; key = key->next) {
    xmlChar* text = xmlNodeGetContent(key);
    std::wstring wide = kw::FromUtf8(reinterpret_cast<char*>(text));  // the caller's wide text
    sum += std::wcstol(wide.c_str(), nullptr, 10);
    xmlFree(text);
  }
  xmlFreeDoc(doc);
  return sum;
}

void write_read_10k(benchmark::State& state) {
  const kwtest::TempDir dir("kwbench_profile");
  const std::wstring ours = dir.WAt(L"ours.xml");
  const std::wstring plain = dir.WAt(L"plain.xml");
  std::vector<std::wstring> keys;
  std::vector<std::string> narrow;
  for (int i = 0; i < kKeys; ++i) {
    keys.push_back(L"Key" + std::to_wstring(i));
    narrow.push_back(kw::ToUtf8(keys.back()));
  }
  double oursTime = 0, baseTime = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    benchmark::DoNotOptimize(ProfileRun(ours, keys));
    const double t = Seconds(start);
    oursTime += t;
    start = Clock::now();
    benchmark::DoNotOptimize(PlainRun(plain, narrow));
    baseTime += Seconds(start);
    state.SetIterationTime(t);
  }
  state.counters["ratio"] = oursTime / baseTime;
}

}  // namespace

BENCHMARK(write_read_10k)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2.0);

int main(int argc, char** argv) {
  kwbench::RatioReporter reporter;
  reporter.Counter("XML profile / libxml2", "write_read_10k", "ratio", "<= 2");
  return kwbench::RunBenchmarks(argc, argv, reporter);
}
