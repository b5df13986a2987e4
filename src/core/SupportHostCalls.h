#pragma once
// Connects the clock synchronisation and the watchdog, which sit below the host layer, to the host's
// point library and to the main window.
#include "core/MonitorView.h"
#include "host/Telvane.h"
#include "support/clsClockSync.h"
#include "support/clsWatchdog.h"

// The hour tag is read with the point library's GetTagReading.
void ConnectClockSync(clsClockSync& clockSync, Telvane& host);
// The output is written with SetTagOutputValue; the view's "WATCH DOG" label and its pending
// events follow each toggle.
void ConnectWatchdog(clsWatchdog& watchdog, Telvane& host, MonitorView& view);
