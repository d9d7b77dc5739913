#pragma once

#include <QString>

// The office suite's extension that writes the document log "Log.Dat" in the application
// folder each time a Word document is opened. The program's own editing session always has it;
// the user's own office suite gets it once the user agrees.
namespace wordlink {

// The packaged extension: installed beside the program, else the one of the build tree; ""
// when neither is there.
QString logExtensionPackage();

// Asks the user once (the answer is remembered in the settings) whether the user's own office
// suite should write the log too, and adds the extension to the user's profile on Yes.
void offerLogExtension();

// Adds the extension to the user's own office suite profile in the background; a failure is told
// to the user when it has ended. (The editing session's helper adds it to the session's profile
// itself.)
void installLogExtension();

} // namespace wordlink
