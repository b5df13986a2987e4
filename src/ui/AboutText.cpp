#include "ui/AboutText.h"

#include "platform/Files.h"
#include "platform/Paths.h"
#include "support/Log.h"
#include "support/VbConvert.h"
#include "support/VbDate.h"
#include "support/VbText.h"

std::string AboutVersionText(int major, int minor, int revision, const AboutInfo& info) {
    std::string text = "Version " + std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(revision);
    text += NL(1) + "(Telvane Version = " + info.TelvaneVersion + ")";
    text += NL(1) + "(" + info.SetupIniFile + ")";
    text += NL(1) + "(" + info.SetupMtgFile + ")";
    text += NL(1) + "Windows Socket Local Port " + std::to_string(info.SocketPort) + " " +
            (info.SocketListening ? "is listening." : "is NOT listening.");
    return text;
}

VbResult<std::string> AboutFileText(const std::string& programFile) {
    VbResult<std::string> out;
    const VbResult<DateTime> modified = FileDateTime(programFile);
    const VbResult<int64_t> length = FileLength(programFile);
    if (!modified.Ok() || !length.Ok()) {
        out.Error = modified.Ok() ? length.Error : modified.Error;
        return out;
    }
    std::string name = PathFilePart(programFile);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0) name.resize(dot);
    // A thousand bytes to the Kb, as the product has always counted.
    out.Value = UCase(name) + ".EXE, " + GeneralDate(modified.Value) + ", " +
                FormatGeneral(static_cast<double>(length.Value) / 1000.0) + "Kb.";
    return out;
}

std::string AboutDescriptionText(const std::string& programFile) {
    std::string text = "Voltaris Monitor reads the Telvane host's meters, keeps their rates and integrated "
                       "quantities and stores them for every demand period.";
    const VbResult<std::string> file = AboutFileText(programFile);
    if (!file.Ok()) {
        ReportError("frmAbout.Form_Load", file.Error);
        return text;
    }
    return text + NL(2) + file.Value;
}
