// Uses the public API and the embedded host's controls from an installed package.
#include <kwhost/embedded.h>
#include <kwrdpub/kwrdpub.h>

#include <cstdio>

int main() {
  kwhost::ResetSession();
  const GUID id = KWRDPub::StrToGUID(L"{1234ABCD-00EF-4A0B-8C0D-0102030405FF}");
  if (KWRDPub::GUIDToStr(id) != L"{1234ABCD-00EF-4A0B-8C0D-0102030405FF}") return 1;
  if (RoadDataProviders::GetAxisProvider() == nullptr) return 1;

  // A filer round trip and a message through the bus.
  CRDDwgFiler filer;
  filer.writeString(L"道路");
  CRDDwgFiler reader;
  reader.SetData(filer.GetData());
  AcString text;
  if (reader.readString(text) != Acad::eOk || std::wstring(text.kwszPtr()) != L"道路") return 1;
  KWMSGHDR msg{77, 1, 0};
  if (CRDMsgManager::GetInstance()->SendMessageW(&msg) != 0) return 1;
  std::printf("consumer ok\n");
  return 0;
}
