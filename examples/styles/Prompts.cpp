// Answers typed at the styles module's prompts.
#include <string>
#include <vector>

#include "common/text.h"
#include "examples/styles/StyleCommands.h"
#include "host/api/editor.h"

namespace kwstyles {

bool AskLine(const wchar_t* prompt, std::wstring* line) {
  wchar_t buf[kAcedStringBufferLen] = {};
  if (acedGetString(1, prompt, buf, kAcedStringBufferLen) != RTNORM) return false;
  *line = kw::Trim(buf);
  return true;
}

bool AskNames(const wchar_t* prompt, std::vector<std::wstring>* names) {
  std::wstring line;
  if (!AskLine(prompt, &line)) return false;
  names->clear();
  for (const std::wstring& piece : kw::Split(line, L',')) {
    std::wstring name = kw::Trim(piece);
    if (!name.empty()) names->push_back(std::move(name));
  }
  return true;
}

}  // namespace kwstyles
