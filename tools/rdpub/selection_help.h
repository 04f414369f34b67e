// The HELP text for answering selection prompts on the console.
#ifndef KW_TOOLS_RDPUB_SELECTION_HELP_H_
#define KW_TOOLS_RDPUB_SELECTION_HELP_H_

#include <string>

// The grammar of a selection prompt's answer, several lines each starting with "\n".
std::wstring SelectionHelp();

#endif  // KW_TOOLS_RDPUB_SELECTION_HELP_H_
