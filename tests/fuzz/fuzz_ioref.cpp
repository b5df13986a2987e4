// Fuzz target for host point references: the IO reference parser and the point cursor's selection
// by reference on a V4 and a V5 host (the real host libraries, when built beside this program),
// the page, relay and recorder references, and telvane-host's point forms and scenario parser.
// Whatever the text, nothing may crash, a selection is in range or empty, and a selected point's
// reference selects it again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

#include "host/HostNumbering.h"
#include "host/Telvane.h"
#include "host/TelvaneRecAlarmRelays.h"
#include "host/TelvaneRecPage.h"
#include "host/TelvaneTagAlarmRelays.h"
#include "platform/Paths.h"
#include "platform/Prefix.h"
#include "support/Profile.h"

// telvane-host's own parsers, from its scenario library.
#include "PointRef.h"
#include "Scenario.h"

namespace {

std::unique_ptr<Telvane> v4Host;
std::unique_ptr<Telvane> v5Host;

// Installs copies of the host libraries in folderText and registers it under section.
bool InstallHost(const std::filesystem::path& bin, const char* section, const char* folderText) {
    std::error_code ec;
    std::filesystem::path folder = LocalPath(folderText);
    std::filesystem::create_directories(folder, ec);
    for (const char* name : {"hostpts32.dll", "hostrec32.dll", "hostarc.dll", "hostcmd32.dll"}) {
        std::filesystem::copy_file(bin / name, folder / name, std::filesystem::copy_options::overwrite_existing, ec);
        if (ec) return false;
    }
    return WriteProfileString(section, "directory", folderText);
}

void Check(bool condition) {
    if (!condition) std::abort();
}

void CursorChecks(Telvane& host, const std::string& text) {
    TelvaneIO& io = host.IO;
    io.IndexReference(text);
    int32_t index = io.Index();
    if (index > 0) {
        Check((index >= io.IndexMinInputTag() && index <= io.IndexMaxInputTag()) ||
              (index >= io.IndexMinOutputTag() && index <= io.IndexMaxOutputTag()));
    }
    if (index < 0) Check(-index >= io.IndexMinRecLine() && -index <= io.IndexMaxRecLine());
    std::string reference = io.IndexReference();
    Check(index == 0 ? reference.empty() : !reference.empty());
    (void)io.Value();
    (void)io.Name();
    (void)io.Address();
    (void)io.IOType();
    (void)io.Calibration();
    (void)io.daytotal();
    io.IndexReference(reference);
    Check(io.Index() == index);
    (void)io.GetValueByIORef(text);

    TelvaneRecPage page(&host);
    page.IndexReference(text);
    Check(page.Index() >= 0 && page.Index() <= page.IndexMax());
    (void)page.Name();
    (void)page.StoreFiles(true);
    if (page.Index() > 0) {
        int32_t selected = page.Index();
        page.IndexReference(page.IndexReference());
        Check(page.Index() == selected);
    }

    TelvaneRecAlarmRelays relay(&host);
    relay.IndexReference(text);
    Check(relay.Index() >= 0 && relay.Index() <= relay.IndexMax());
    if (relay.Index() > 0) {
        int32_t selected = relay.Index();
        relay.IndexReference(relay.IndexReference());
        Check(relay.Index() == selected);
    }
    (void)relay.Name();

    TelvaneTagAlarmRelays tagRelay(&host);
    tagRelay.IndexReference(text);
    Check(tagRelay.Index() >= 0 && tagRelay.Index() <= tagRelay.IndexMax());

    host.Recorder.IndexReference(text);
    Check(host.Recorder.Index() >= 0 && host.Recorder.Index() <= host.Recorder.IndexMax());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    (void)argc;
    (void)argv;
    std::error_code ec;
    const std::filesystem::path dir = std::filesystem::temp_directory_path() / "vt-fuzz-ioref";
    std::filesystem::remove_all(dir, ec);
    std::filesystem::create_directories(dir / "prefix", ec);
    std::filesystem::create_directories(dir / "program", ec);
    UsePrefix(dir / "prefix");
    ::setenv("VOLTARIS_PROGRAM_DIR", (dir / "program").c_str(), 1);

    std::filesystem::path bin = std::filesystem::read_symlink("/proc/self/exe", ec).parent_path();
    // Without the libraries both cursors run the no-host paths.
    if (InstallHost(bin, "telvold", "C:\\telvold")) v4Host = std::make_unique<Telvane>();
    if (InstallHost(bin, "TelvnV5", "C:\\Telvane")) v5Host = std::make_unique<Telvane>();
    if (!v4Host) v4Host = std::make_unique<Telvane>();
    if (!v5Host) v5Host = std::make_unique<Telvane>();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);

    IOReferenceTarget target = ParseIOReference(text);
    if (target.IsLine && target.Number >= 1 && target.Number <= 500)
        Check(ParseIOReference(LineReferenceV4(target.Number)).Number == target.Number);
    if (target.IsLine && target.Number >= 1 && target.Number <= 1000)
        Check(ParseIOReference(LineReferenceV5(target.Number)).Number == target.Number);
    if (!target.IsLine && target.Number > 0) Check(ParseIOReference(TagReference(target.Number)).Number == target.Number);
    (void)ParsePageReference(text);

    CursorChecks(*v4Host, text);
    CursorChecks(*v5Host, text);

    PointRef point;
    if (ParsePointRef(text, point)) {
        Check(point.Number > 0);
        PointRef again;
        if (point.Kind == PointKind::Tag || point.Number <= HostMaxV4Lines) {
            Check(ParsePointRef(PointRefText(point, 4), again) && again.Number == point.Number);
        }
        if (point.Kind == PointKind::Tag || point.Number <= HostMaxLines) {
            Check(ParsePointRef(PointRefText(point, 5), again) && again.Number == point.Number);
        }
        HostTable table;
        int index = 0;
        if (PointLocation(point, 4, table, index)) Check(index >= 0 && index < HostMaxOutputTags);
        if (PointLocation(point, 5, table, index)) Check(index >= 0 && index < HostMaxTags);
    }

    Scenario scenario;
    std::string error;
    if (!ParseScenario(text, scenario, error)) Check(!error.empty());
    return 0;
}
