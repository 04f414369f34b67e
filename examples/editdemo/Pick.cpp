// EditDemo's selection command.
//   EDITPICK  selects with three modes switched by typing their keyword, Line, Circle and All
//             (each mode's picks pass its own filter); picks add, Shift-picks remove, Enter
//             ends (KWSSGetWithKeyword). Prints the handles selected.
#include <string>

#include "editor/KWSSGet.h"
#include "examples/editdemo/EditDemo.h"
#include "host/api/acutads.h"

namespace editdemo {

namespace {

// One mode of EDITPICK: entities of one DXF type (every type when `type` is null).
class TypeMode : public CKWSSGetKeyword {
 public:
  TypeMode(const wchar_t* keyword, const wchar_t* type)
      : m_keyword(keyword),
        m_prompt(L"\n选择" + m_keyword + L"对象 [Line/Circle/All]: "),
        m_filter(type ? acutBuildList(RTDXF0, type, 0) : nullptr) {}
  ~TypeMode() override { acutRelRb(m_filter); }
  TypeMode(const TypeMode&) = delete;
  TypeMode& operator=(const TypeMode&) = delete;

  std::wstring GetPrompt() override { return m_prompt; }
  std::wstring GetKeyword() override { return m_keyword; }
  resbuf* GetFilter() override { return m_filter; }
  int OnKeyword(AcDbObjectIdArray&) override {
    acutPrintf(L"\n模式: %s", m_keyword.c_str());
    return 1;  // this mode becomes the current one
  }
  int OnPicked(AcDbObjectIdArray&, AcDbObjectIdArray&, bool) override {
    return 3;  // go on selecting
  }

 private:
  std::wstring m_keyword;
  std::wstring m_prompt;
  resbuf* m_filter;
};

}  // namespace

void PickCommand() {
  TypeMode lines(L"Line", L"LINE");
  TypeMode circles(L"Circle", L"CIRCLE");
  TypeMode all(L"All", nullptr);
  AcArray<CKWSSGetKeyword*> modes;
  modes.append(&lines);
  modes.append(&circles);
  modes.append(&all);
  AcDbObjectIdArray ids;
  if (KWRDPub::KWSSGetWithKeyword(modes, ids) != RTNORM) {
    acutPrintf(L"\n未选择对象。");
    return;
  }
  std::wstring text;
  for (int i = 0; i < ids.length(); ++i) text += L" " + HandleText(ids[i]);
  acutPrintf(L"\n已选择 %d 个:%s", ids.length(), text.c_str());
}

}  // namespace editdemo
