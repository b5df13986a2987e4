#pragma once
// Reading one measured tag's source into its Current: a host chart-recorder line, a host tag, or a
// DDE link. Each reports its own faults as "<name>, Error n/ message" and leaves Current as it was.
#include <cstdint>

#include "core/ScanContext.h"

// The recorder line named by the tag's RecorderNo, PageNo and LineNo.
void Input_Get_RecorderValue(ScanContext& scan, int16_t tag);
// The host tag whose number the tag keeps in its PageNo field.
void Input_Get_TagReading(ScanContext& scan, int16_t tag);
// The tag's DDE link (SourceName | SourceItem, kept open between scans and relinked when the source
// changes or the link has dropped); the numeric value of the link's latest text.
void Input_Get_DDE(ScanContext& scan, int16_t tag);
