#pragma once
// One acquisition pass over all tags: measured tags read and calculated, then maths tags, then
// display tags filled and written to the host; the grid follows and, with scan logging on, one
// log line holds every measured tag's values. Errors are reported as "Input_General, Error n/ ..."
// and end the pass.
#include "core/ScanContext.h"

void Input_General(ScanContext& scan);
