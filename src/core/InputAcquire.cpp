#include "core/InputAcquire.h"

#include "core/ScanTag.h"
#include "support/SingleArithmetic.h"
#include "support/Log.h"
#include "support/VbConvert.h"
#include "support/VbText.h"

void Input_Get_RecorderValue(ScanContext& scan, int16_t tag) {
    if (!ScanTagInRange(scan, tag)) return ReportError("Input_Get_RecorderValue", VbError(ErrSubscript));
    const TagRecord& record = scan.Setup.TagTable[tag];
    scan.Host.IO.IndexRecorderLine(record.RecorderNo, record.PageNo, record.LineNo);
    scan.Values[tag].Current = scan.Host.IO.Value();
}

void Input_Get_TagReading(ScanContext& scan, int16_t tag) {
    if (!ScanTagInRange(scan, tag)) return ReportError("Input_Get_TagReading", VbError(ErrSubscript));
    scan.Host.IO.Index(scan.Setup.TagTable[tag].PageNo);
    scan.Values[tag].Current = scan.Host.IO.Value();
}

void Input_Get_DDE(ScanContext& scan, int16_t tag) {
    constexpr char procedure[] = "Input_Get_DDE";
    scan.DdeInputs.Resize(scan.Setup.TagCount);
    DdeLink* link = scan.DdeInputs.Link(tag);
    if (!link || !ScanTagInRange(scan, tag)) return ReportError(procedure, VbError(ErrSubscript));
    const TagRecord& record = scan.Setup.TagTable[tag];

    const std::string topic = Trim(record.SourceName);
    const std::string item = Trim(record.SourceItem);
    if (link->Topic() != topic || link->Item() != item || link->Mode() != DdeLinkMode::Automatic) {
        link->SetTopic(topic);
        if (VbError error = link->SetItem(item)) return ReportError(procedure, error);
        if (VbError error = link->SetMode(DdeLinkMode::Automatic)) return ReportError(procedure, error);
    }

    // Take in whatever the server has pushed since the last look (the event loop may not have run).
    DdePump(0);
    SingleArithmetic ops;
    const float reading = ops.Single(Val(link->Text()));
    if (ops.Failed()) return ReportError(procedure, ops.Error());
    scan.Values[tag].Current = reading;
}
