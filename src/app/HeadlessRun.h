#pragma once
// The monitor without a window: the same Monitor on a QCoreApplication, with the headless view.
// Shared by voltamon (no display, or --headless) and voltamond (never a window).
int RunHeadless(int argc, char** argv);
