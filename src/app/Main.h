#pragma once

class FrmFileList;

// The road from the entry point to the main window: the list separator is fixed, the SMTP
// account is read, and the splash shows; its 10 ms timer then loads the main window.
void Main();

// The main window once the splash has loaded it, or nullptr before that.
FrmFileList* mainWindow();
