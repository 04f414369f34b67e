// The editor service's state and its reset.
#include "host/embedded/editor/editor.h"

namespace kwhost::editor {

State& Editor() {
  static State state;
  return state;
}

void Reset() {
  Editor() = State();
}

void PromptSettings::ClearInitGet() {
  initFlags = 0;
  keywords.clear();
  globals.clear();
}

}  // namespace kwhost::editor
