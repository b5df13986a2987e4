#pragma once
// The energy calculations that turn a measured tag's fresh reading (in its Current) into its rate
// per hour and the quantity integrated since the last period save, write the rate to the tag's
// host output tag and show it in the grid's "Rate" column. Each reports its own faults as
// "<name>, Error n/ message" and leaves with what it had stored so far. now is the time of the
// tag's reading; the pass stamps the tag's LastReadTime with the same instant, so no sliver of time
// between the calculation and the stamp goes unintegrated.
#include <cstdint>

#include "core/ScanContext.h"
#include "platform/DateSerial.h"

// The reading is a rate: scaled by units per pulse and integrated over the time since the last read.
void Input_Calc_Direct(ScanContext& scan, int16_t tag, DateTime now);
// The reading is the meter's running total: Integrated holds it, the rate comes from its growth
// since the previous reading, smoothed over AverageScans.
void Input_Calc_Total(ScanContext& scan, int16_t tag, DateTime now);
// The reading is a pulse counter that wraps at RolloverValue: its increment is integrated and
// gives a smoothed rate; a rate above MaxRate is logged and replaced by the last good one, and the
// tag's grid row turns red until a scan accepts again.
void Input_Calc_Pulse(ScanContext& scan, int16_t tag, DateTime now);
