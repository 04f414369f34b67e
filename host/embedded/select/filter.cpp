// DXF filters of acedSSGet: a list of groups, ANDed, with the -4 groupings and relational tests
// (the rules are in host/api/aced.h). A filter is parsed once into a tree, then each entity's
// DXF list (acdbEntGet) is matched against it.
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "common/text.h"
#include "host/api/dbads.h"
#include "host/embedded/select/select.h"

struct kwhost::select::Filter::Node {
  enum Kind { kGroup, kAnd, kOr, kXor, kNot } kind = kAnd;
  const resbuf* group = nullptr;  // kGroup
  std::wstring test;              // kGroup: the relational test ("" is "=")
  std::vector<Node> children;
};

namespace {

using Node = kwhost::select::Filter::Node;

// Nesting deeper than this is refused: a filter never costs more stack than it holds groups.
constexpr int kMaxNesting = 256;

struct Grouping {
  const wchar_t* open;
  const wchar_t* close;
  Node::Kind kind;
};
constexpr Grouping kGroupings[] = {{L"<AND", L"AND>", Node::kAnd},
                                   {L"<OR", L"OR>", Node::kOr},
                                   {L"<XOR", L"XOR>", Node::kXor},
                                   {L"<NOT", L"NOT>", Node::kNot}};

bool IsTest(const std::wstring& op) {
  for (const wchar_t* t : {L"=", L"!=", L"/=", L"<>", L"<", L"<=", L">", L">=", L"*"}) {
    if (op == t) return true;
  }
  return false;
}

bool IsPointTest(const std::wstring& op) {
  std::vector<std::wstring> parts = kw::Split(op, L',');
  if (parts.size() > 3) return false;
  for (const std::wstring& part : parts) {
    if (!IsTest(kw::Trim(part))) return false;
  }
  return true;
}

const wchar_t* TextOf(const resbuf* rb) {
  return rb->resval.rstring ? rb->resval.rstring : L"";
}

// Parses groups from *rb into `into` until a closing -4 group (returned in *close) or the end.
bool ParseList(const resbuf** rb, Node& into, int depth, std::wstring* close) {
  if (depth > kMaxNesting) return false;
  std::wstring test;
  while (*rb) {
    const resbuf* g = *rb;
    *rb = g->rbnext;
    if (g->restype != -4) {
      into.children.push_back(Node{Node::kGroup, g, test, {}});
      test.clear();
      continue;
    }
    const std::wstring op = kw::ToUpper(TextOf(g));
    if (!test.empty()) return false;
    const Grouping* grouping = nullptr;
    for (const Grouping& gr : kGroupings) {
      if (op == gr.open) grouping = &gr;
      if (op == gr.close) {
        *close = op;
        return true;
      }
    }
    if (!grouping) {
      if (!IsPointTest(op)) return false;
      test = op;
      continue;
    }
    Node child{grouping->kind, nullptr, {}, {}};
    std::wstring closed;
    if (!ParseList(rb, child, depth + 1, &closed) || closed != grouping->close) return false;
    const size_t n = child.children.size();
    if (n == 0 || (child.kind == Node::kNot && n != 1) || (child.kind == Node::kXor && n != 2)) {
      return false;
    }
    into.children.push_back(std::move(child));
  }
  return test.empty();
}

template <class T>
bool Compare(const std::wstring& op, T have, T want) {
  if (op.empty() || op == L"=") return have == want;
  if (op == L"*") return true;
  if (op == L"!=" || op == L"/=" || op == L"<>") return have != want;
  if (op == L"<") return have < want;
  if (op == L"<=") return have <= want;
  if (op == L">") return have > want;
  return op == L">=" && have >= want;
}

bool ComparePoints(const std::wstring& op, const double* have, const double* want) {
  std::vector<std::wstring> tests = kw::Split(op, L',');
  for (int i = 0; i < 3; ++i) {
    const std::wstring t = i < static_cast<int>(tests.size()) ? kw::Trim(tests[i]) : L"=";
    if (!Compare(t, have[i], want[i])) return false;
  }
  return true;
}

bool Integer(const resbuf* rb, int64_t* value) {
  switch (acdbDxfValueKind(rb->restype)) {
    case AcDbDxfValueKind::kShort:
      *value = rb->resval.rint;
      return true;
    case AcDbDxfValueKind::kLong:
      *value = rb->resval.rlong;
      return true;
    case AcDbDxfValueKind::kInt64:
      *value = rb->resval.mnLong;
      return true;
    default:
      return false;
  }
}

// Does one group of the entity (`have`) pass the filter's group (`want`) under `op`?
bool GroupPasses(const resbuf* have, const resbuf* want, const std::wstring& op) {
  int64_t a = 0, b = 0;
  switch (acdbDxfValueKind(want->restype)) {
    case AcDbDxfValueKind::kString:
      return acutWcMatch(kw::ToUpper(TextOf(have)).c_str(), kw::ToUpper(TextOf(want)).c_str()) ==
             RTNORM;
    case AcDbDxfValueKind::kReal:
      return Compare(op, have->resval.rreal, want->resval.rreal);
    case AcDbDxfValueKind::kPoint:
      return ComparePoints(op, have->resval.rpoint, want->resval.rpoint);
    case AcDbDxfValueKind::kName:
      return have->resval.rlname[0] == want->resval.rlname[0] &&
             have->resval.rlname[1] == want->resval.rlname[1];
    default:
      return Integer(have, &a) && Integer(want, &b) && Compare(op, a, b);
  }
}

// The value an entity has for a group it does not write (its default), or null.
const resbuf* DefaultOf(int code, resbuf* scratch) {
  static wchar_t byLayer[] = L"BYLAYER";
  scratch->rbnext = nullptr;
  scratch->restype = static_cast<short>(code);
  switch (code) {
    case 6:
      scratch->resval.rstring = byLayer;
      return scratch;
    case 62:
      scratch->resval.rint = 256;
      return scratch;
    case 370:
      scratch->resval.rint = -1;
      return scratch;
    case 60:
    case 67:
      scratch->resval.rint = 0;
      return scratch;
    case 48:
      scratch->resval.rreal = 1.0;
      return scratch;
    default:
      return nullptr;
  }
}

bool Matches(const Node& node, const resbuf* list);

bool GroupMatches(const Node& node, const resbuf* list) {
  const int code = node.group->restype;
  bool seen = false;
  for (const resbuf* rb = list; rb; rb = rb->rbnext) {
    if (rb->restype != code) continue;
    seen = true;
    if (GroupPasses(rb, node.group, node.test)) return true;
  }
  resbuf scratch{};
  const resbuf* fallback = seen ? nullptr : DefaultOf(code, &scratch);
  return fallback && GroupPasses(fallback, node.group, node.test);
}

bool Matches(const Node& node, const resbuf* list) {
  switch (node.kind) {
    case Node::kGroup:
      return GroupMatches(node, list);
    case Node::kOr:
      for (const Node& child : node.children) {
        if (Matches(child, list)) return true;
      }
      return false;
    case Node::kXor:
      return Matches(node.children[0], list) != Matches(node.children[1], list);
    case Node::kNot:
      return !Matches(node.children[0], list);
    case Node::kAnd:
      break;
  }
  for (const Node& child : node.children) {
    if (!Matches(child, list)) return false;
  }
  return true;
}

}  // namespace

namespace kwhost::select {

Filter::Filter() = default;
Filter::~Filter() = default;

bool Filter::parse(const resbuf* list) {
  m_root.reset();
  if (!list) return true;
  auto root = std::make_unique<Node>();
  std::wstring close;
  if (!ParseList(&list, *root, 0, &close) || !close.empty()) return false;
  m_root = std::move(root);
  return true;
}

bool Filter::matches(AcDbObjectId id) const {
  if (!m_root) return true;
  ads_name name;
  if (acdbGetAdsName(name, id) != Acad::eOk) return false;
  resbuf* list = acdbEntGet(name);
  if (!list) return false;
  const bool ok = Matches(*m_root, list);
  acutRelRb(list);
  return ok;
}

}  // namespace kwhost::select
