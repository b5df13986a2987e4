#pragma once
// Import of meter values from CSV files dropped into the import folder beside the program
// ("\vtcsvlog"). Each line "year,month,day,period,tag,value" is written straight into the period
// record of the month's store file named by its own date, the record's maths tags are worked out
// again, and the file is deleted. Files are taken in ascending name order.
#include <cstdint>

#include "files/StoreContext.h"

// Processes every "*.CSV" file of the import folder (created, and nothing else done, when missing).
// A line past the end of its file counts as an error line; any other read fault ends the import for
// this scan and leaves that file for the next one. Errors are reported as "CSV_GetData, Error n/ ...".
// Status texts go to the scan panel and pending window events run while it reads.
void CSV_GetData(StoreContext& context);

// Stores one value into the record of (day, period) of the store file of (year, month), creating
// that month's file when it is new, sets the record's flag to 1 and works out the record's maths
// tags again. Any fault abandons this one value and is reported as "CSV_StoreData, Error n/ ...".
void CSV_StoreData(StoreContext& context, int16_t year, int16_t month, int16_t day, int16_t period, int16_t tag,
                   float value);
