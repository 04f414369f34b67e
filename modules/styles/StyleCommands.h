// The styles module's commands, one family per file. Each family registers its commands in the
// module's command group when the module loads; the group is removed as a whole when it
// unloads, so a family never has to unregister anything itself.
//
// Commands read their answers from the command line, one whole line per prompt (names and
// paths may hold blanks) and report on the command line; a refusal of the library (a bad
// layer name, a missing style) is shown by the library itself.
#ifndef KW_MODULES_STYLES_STYLECOMMANDS_H_
#define KW_MODULES_STYLES_STYLECOMMANDS_H_

#include <string>
#include <vector>

namespace kwstyles {

// The module's command group (not the library's "RDPub" group).
inline constexpr const wchar_t* kGroup = L"KWSTYLES";

// KWPRJ: the project folder whose "Styles" folder holds the style files.
void RegisterProjectCommand();
// TSLIST, TSADD, TSREMOVE, TSIMPORT, TSEXPORT, TSRESTORE (TextStyleCommands.cpp).
void RegisterTextStyleCommands();
// LAYERSET, LAYERLIST (LayerCommands.cpp).
void RegisterLayerCommands();

// Asks with `prompt` for a whole line and splits it into names at commas (names may hold
// blanks; blanks around a name and empty pieces are dropped). False when cancelled.
bool AskNames(const wchar_t* prompt, std::vector<std::wstring>* names);
// Asks with `prompt` for a whole line, trimmed. False when cancelled.
bool AskLine(const wchar_t* prompt, std::wstring* line);

}  // namespace kwstyles

#endif  // KW_MODULES_STYLES_STYLECOMMANDS_H_
