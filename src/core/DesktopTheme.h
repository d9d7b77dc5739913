#pragma once

// Chooses the desktop icon theme for the program's toolbars when the session names none
// (a bare X server, the offscreen platform): Adwaita, which Debian installs with the office suite.
void useDesktopIconTheme();
