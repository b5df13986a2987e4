#pragma once
// The period save, run by every scan.
#include "files/StoreContext.h"

// Saves the period that ended before now, if one has: writes each tag's quantity into the period's
// record (one write, flushed), copies the file to the backup folder, enters the site total into the
// peak table and starts the next period's quantities from zero.
void HalfHourSave(StoreContext& context, DateTime now);
