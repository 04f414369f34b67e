// The styles module's text style, layer and project commands, one family per file. Each family
// registers its commands in the module's command group (`group`) when the module loads; the group
// is removed as a whole when it unloads, so a family never has to unregister anything itself.
//
// Commands read their answers from the command line, one whole line per prompt (names and
// paths may hold blanks) and report on the command line; a refusal of the library (a bad
// layer name, a missing style) is shown by the library itself.
#ifndef KW_EXAMPLES_STYLES_STYLECOMMANDS_H_
#define KW_EXAMPLES_STYLES_STYLECOMMANDS_H_

#include <string>
#include <vector>

namespace kwstyles {

// KWPROJECT: the project folder whose "Styles" folder holds the style files.
void RegisterProjectCommand(const wchar_t* group);
// TSLIST, TSADD, TSREMOVE, TSIMPORT, TSEXPORT, TSRESTORE (TextStyleCommands.cpp).
void RegisterTextStyleCommands(const wchar_t* group);
// LAYERSET, LAYERLIST (LayerCommands.cpp).
void RegisterLayerCommands(const wchar_t* group);

// Asks with `prompt` for a whole line and splits it into names at commas (names may hold
// blanks; blanks around a name and empty pieces are dropped). False when cancelled.
bool AskNames(const wchar_t* prompt, std::vector<std::wstring>* names);
// Asks with `prompt` for a whole line, trimmed. False when cancelled.
bool AskLine(const wchar_t* prompt, std::wstring* line);

}  // namespace kwstyles

#endif  // KW_EXAMPLES_STYLES_STYLECOMMANDS_H_
