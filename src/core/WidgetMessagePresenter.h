#pragma once

// Shows the program's messages as real message boxes over the active window.
void installWidgetMessagePresenter();
