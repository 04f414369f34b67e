// Arbitrary bytes as an XML file read by the profile, the road object store, the DOM wrappers
// and the line style and text style libraries, and as text handed to the store and the DOM.
// None of them may crash, hang, or grow without bound; nothing reaches the disk (the read-only
// in-memory file system refuses writes).
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "common/encoding.h"
#include "common/testing/MemFileSystem.h"
#include "examples/laneitems/LaneItems.h"
#include "kwhost/embedded.h"
#include "persist/KWXMLDOM.h"
#include "persist/RoadObjectXML.h"
#include "persist/XMLPrivateProfile.h"
#include "services/paths.h"
#include "styles/FontCollection.h"
#include "styles/LineStyleCollection.h"

namespace {

void Profile() {
  CXMLPrivateProfile p(L"/in/config.xml", L"config");
  int i = 0;
  double d = 0;
  std::wstring s;
  AcGePoint3d pt;
  unsigned char block[16];
  std::vector<std::wstring> keys;
  p.ReadValue(L"Road", L"a", i, 1);
  p.ReadValue(L"Road\\b", L"@c", d, 2.0);
  p.ReadValue(L"Road/b", L"p", pt);
  p.ReadValue(L"Road", L"bin", block, sizeof(block));
  p.ReadValue(L"x[@k='1']", L"s", s, nullptr);
  p.GetAllKey(L"Road", keys);
  p.GetAllKey(nullptr, keys);
  p.WriteValue(L"Road", L"a", 5);
  p.RemoveKey(L"Road", L"@c");
  p.RemoveSection(L"Road/b");
}

void Store(const std::wstring& text) {
  kwexample::CLaneItems items(L"/nonexistent-kw-fuzz");
  items.LoadXMLFile(L"/in/items.xml", {}, nullptr, false);
  items.LoadXMLString(text.c_str(), {L"a", L"B"}, nullptr, true);
  items.LoadXMLString(text.c_str(), {}, nullptr, false);
  items.GetDefaultItem();
  items.SaveXMLString({}, nullptr);
  items.Remove(0, true, true);
}

void Dom(const std::wstring& text) {
  IKWXMLDOMDocument doc;
  doc.CreateDispatch();
  if (!doc.load(L"/in/TextStyles.xml") && !doc.loadXML(text.c_str())) return;
  IKWXMLDOMElement root = doc.GetDocumentElement();
  for (IKWXMLDOMNode node : root.selectNodes(L"TextStyle")) {
    IKWXMLDOMElement style(node);
    style.getAttribute(L"Name");
    style.selectSingleNode(L"TypeFace").GetText();
    style.GetAttributes().GetLength();
  }
  root.GetXml();
  doc.GetXml();
}

// The input as the project's "Styles/LineTypes.xml": loaded, listed, checked and restored into
// a new drawing (every problem is a printed refusal).
void LineTypes() {
  static const bool session = (kwhost::ResetSession(), true);
  (void)session;
  KWRDPub::SetCurPrjPath(L"/in");
  CLineStyleCollection* lines = CLineStyleCollection::GetInstance();
  std::vector<std::wstring> names;
  lines->GetAllLineType(names);
  for (const std::wstring& name : names) {
    const CLineStyle* style = lines->GetLineStyle(name.c_str());
    style->IsOK();
    style->GetOffset();
    style->GetText();
  }
  kwhost::CloseAllDocuments();
  kwhost::NewDrawing();
  lines->RestoreLinetype();
  KWRDPub::GetLineTypeId(L"GAS_LINE");
  CLineStyleCollection::Destroy();
  kwhost::TakeOutput();
  kwhost::TakeMessageBoxes();
}

// The input as the project's "Styles/TextStyles.xml" (the project set by LineTypes): loaded, listed
// and exported (the export is refused by the file system).
void TextStyles() {
  CFontCollection* fonts = CFontCollection::GetInstance();
  std::vector<std::wstring> names;
  fonts->GetAllTextStyle(names);
  FONTINFO info{};
  for (const std::wstring& name : names) fonts->GetFontInfo(name.c_str(), info);
  fonts->ExportFont(names, L"/out/TextStyles.xml");
  CFontCollection::Destroy();
  kwhost::TakeOutput();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kwtest::MemFileSystem fs;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  for (const wchar_t* path : {L"/in/config.xml", L"/in/items.xml", L"/in/TextStyles.xml",
                              L"/in/Styles/LineTypes.xml", L"/in/Styles/TextStyles.xml"}) {
    fs.AddFile(path, bytes);
  }
  fs.SetReadOnly(true);
  kw::ScopedFileSystem scope(&fs);
  std::wstring text = kw::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  Profile();
  Store(text);
  Dom(text);
  LineTypes();
  TextStyles();
  return 0;
}
