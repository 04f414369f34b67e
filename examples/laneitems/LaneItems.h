// An example of how a suite module keeps its own road objects in an XML document: an object
// class with values of its own (a lane width and count, exchanged after the base fields
// "guid", "name" and "desc") and the manager that names the document's elements and makes the
// objects when a document is loaded. Header-only; the benchmarks and the fuzz target use it.
#ifndef KW_EXAMPLES_LANEITEMS_LANEITEMS_H_
#define KW_EXAMPLES_LANEITEMS_LANEITEMS_H_

#include <string>
#include <utility>

#include "persist/RoadObjectXML.h"

namespace kwexample {

class CLaneItem : public KWCommonUtils::CRoadObjectXML {
 public:
  void DoPropExchange(CXTPPropExchange* px) override {
    CRoadObjectXML::DoPropExchange(px);
    PX_Double(px, L"width", m_width);
    PX_Int(px, L"lanes", m_lanes);
  }
  double m_width = 3.75;
  int m_lanes = 2;
};

// Stores <kwrd><Items default="…"><Item guid=… name=… desc=… width=… lanes=…/>… in
// `folder`/items.xml.
class CLaneItems : public KWCommonUtils::CRoadObjectXMLManager {
 public:
  explicit CLaneItems(std::wstring folder) : m_folder(std::move(folder)) {}
  std::wstring FileName() const override { return L"items.xml"; }
  std::wstring FolderPath() const override { return m_folder; }
  std::wstring CollectionNode() const override { return L"Items"; }
  std::wstring ItemNode() const override { return L"Item"; }

 protected:
  KWCommonUtils::CRoadObjectXML* LoadRoadObject(CXTPPropExchange* node) override {
    auto* item = new CLaneItem;
    item->DoPropExchange(node);
    return item;
  }

 private:
  std::wstring m_folder;
};

}  // namespace kwexample

#endif  // KW_EXAMPLES_LANEITEMS_LANEITEMS_H_
