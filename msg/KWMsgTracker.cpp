#include "msg/KWMsgTracker.h"

#include <cstdarg>
#include <new>

#include "common/encoding.h"
#include "common/fileio.h"
#include "common/format.h"
#include "host/api/docman.h"
#include "host/api/win.h"

namespace KWRDPub {

CKWMsgTracker* CKWMsgTracker::m_sp = nullptr;

namespace {

const wchar_t* KindWord(EMsgType type) {
  switch (type) {
    case kMsgWarning:
      return L"Warning";
    case kMsgError:
      return L"Error";
    default:
      return L"Info";
  }
}

std::wstring LocalTimeText() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  return kw::FormatW(L"%02d:%02d:%02d", now.wHour, now.wMinute, now.wSecond);
}

}  // namespace

CKWMsgTracker* CKWMsgTracker::GetInstance() {
  if (!m_sp) m_sp = new (std::nothrow) CKWMsgTracker;
  return m_sp;
}

void CKWMsgTracker::Destroy() {
  delete m_sp;
  m_sp = nullptr;
}

int CKWMsgTracker::BeginMsgGroup(const wchar_t* name) {
  m_groups.emplace_back(name ? name : L"");
  return static_cast<int>(m_groups.size()) - 1;
}

void CKWMsgTracker::EndMsgGroup() {
  if (!m_groups.empty()) m_groups.pop_back();
}

std::wstring CKWMsgTracker::CurMsgGroup() {
  return m_groups.empty() ? L"" : m_groups.back();
}

int CKWMsgTracker::PushMSGCLCT() {
  m_collections.emplace_back();
  return static_cast<int>(m_collections.size()) - 1;
}

std::vector<MSGDATA> CKWMsgTracker::PopMSGCLCT() {
  if (m_collections.empty()) return {};
  std::vector<MSGDATA> top = std::move(m_collections.back());
  m_collections.pop_back();
  return top;
}

int CKWMsgTracker::MSGCLCTCount() const {
  return static_cast<int>(m_collections.size());
}

void CKWMsgTracker::AddMsg(EMsgType type, const wchar_t* group, const wchar_t* text,
                           bool withDocument, const AcDbObjectIdArray* ids,
                           const AcDbExtents* extents) {
  try {
    if (m_collections.empty()) PushMSGCLCT();
    MSGDATA data;
    data.type = type;
    data.group = group ? group : L"";
    data.text = text ? text : L"";
    data.time = LocalTimeText();
    data.document = withDocument ? acDocManager->curDocument() : nullptr;
    if (ids && ids->length() > 0) data.ids = *ids;
    if (extents) {
      data.extents = *extents;
      data.hasExtents = true;
    }
    m_collections.back().push_back(std::move(data));
  } catch (...) {
    // Out of memory: the message is lost, the tracker stays as it was.
  }
}

void CKWMsgTracker::AddMsgEx(EMsgType type, const wchar_t* format, ...) {
  wchar_t text[1024] = {};
  va_list args;
  va_start(args, format);
  size_t n = kw::VFormatInto(text, 1024, format ? format : L"", args);
  va_end(args);
  if (n == 0) return;
  std::wstring group = m_groups.empty() ? std::wstring() : m_groups.back();
  AddMsg(type, group.c_str(), text, false, nullptr, nullptr);
}

// Each line is written with "\r\n" through what used to be a text-mode stream, which turned
// the "\n" into "\r\n" once more: readers of these logs expect the CR CR LF ends.
bool CKWMsgTracker::Save(const wchar_t* path) {
  if (m_collections.empty() || !path || !*path) return false;
  try {
    std::string bytes;
    for (const MSGDATA& d : m_collections.back()) {
      std::wstring line = kw::FormatW(L"%s,%d,%s,%s,%s", d.time.c_str(), d.code, KindWord(d.type),
                                      d.group.c_str(), d.text.c_str());
      bytes += kw::ToGbk(line);
      bytes += "\r\r\n";
    }
    return kw::Fs().WriteFileAtomic(path, bytes);
  } catch (...) {
    return false;
  }
}

void CKWMsgTracker::Reset() {
  m_collections.clear();
}

}  // namespace KWRDPub
