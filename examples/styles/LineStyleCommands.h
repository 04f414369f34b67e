// The line-style commands of the styles module: they carry a project's linetype library
// ("Styles/LineTypes.xml" of the current project) into any drawing and back.
//
//   LTLIST     lists the collection: name, dash count and description, one line each
//   LTAPPEND   takes linetypes over from the drawing into the collection and saves it
//              ("*" takes every linetype but ByLayer, ByBlock and Continuous)
//   LTIMPORT   copies named linetypes from another collection file into the collection
//   LTEXPORT   writes named linetypes of the collection ("*": all) into another file
//   LTRESTORE  creates named linetypes ("*": all of the collection) in the drawing
// The project whose collection they use is set with KWPROJECT (StyleCommands.h).
// Names are typed on one line separated by ","; a cancelled prompt ends the command without a
// change. Every outcome is printed on the command line.
#ifndef KW_EXAMPLES_STYLES_LINESTYLECOMMANDS_H_
#define KW_EXAMPLES_STYLES_LINESTYLECOMMANDS_H_

// Adds the five commands to the command group `group` (the module removes the group when it
// unloads). The module's load handler calls this once.
void RegisterLineStyleCommands(const wchar_t* group);

#endif  // KW_EXAMPLES_STYLES_LINESTYLECOMMANDS_H_
