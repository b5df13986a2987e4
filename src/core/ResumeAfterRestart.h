#pragma once
// Resume after a restart (setting ResumeAfterRestart): after every scan the measured tags' runtime
// values go to a small state file beside the store files; a monitor started again within the same
// demand period takes them back before its first pass. Pulse and total meters kept counting while
// the monitor was down, so what they counted lands in its period; a rate meter loses the downtime.
#include "files/MonitorSettings.h"
#include "files/SetupData.h"
#include "files/TagValues.h"
#include "platform/DateSerial.h"
#include "platform/VbError.h"

// The values of the online measured tags that have a calculation, as of now.
VbError KeepTagValues(const SetupData& setup, const TagValues& values, const MonitorSettings& settings, DateTime now);

// Takes back the kept values when they were kept in the demand period that contains now and the
// tag is still the same kind of meter; returns how many tags were taken back (0 when the file is
// missing, damaged or of another period; a damaged file is reported).
int TakeBackTagValues(const SetupData& setup, TagValues& values, const MonitorSettings& settings, DateTime now);

// The first pass after start-up is over: every tag counts as its own again.
void EndTakeBack(TagValues& values);
