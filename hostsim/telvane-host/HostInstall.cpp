#include "HostInstall.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "PointRef.h"
#include "platform/Files.h"
#include "platform/Paths.h"
#include "support/Profile.h"
#include "support/VbText.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t MapRecordSize = 256;

bool LibraryWanted(const Scenario& scenario, const std::string& name) {
    if (!scenario.HasLibraries) return true;
    for (const std::string& listed : scenario.Libraries) {
        if (EqualsNoCase(listed, name)) return true;
    }
    return false;
}

// Copies through a temporary name: a monitor may have the old copy mapped, and rewriting it in
// place would pull the code from under it.
bool InstallLibrary(const fs::path& source, const fs::path& target, std::string& error) {
    fs::path temp = target;
    temp += ".new";
    std::error_code ec;
    fs::copy_file(source, temp, fs::copy_options::overwrite_existing, ec);
    if (!ec) fs::rename(temp, target, ec);
    if (ec) {
        fs::remove(temp, ec);
        error = "cannot install " + target.string() + ": " + ec.message();
        return false;
    }
    return true;
}

bool WriteText(const std::string& pathText, const std::string& content, std::string& error) {
    if (VbError e = WriteFileAtomically(pathText, content)) {
        error = "cannot write " + pathText + ": " + e.Description;
        return false;
    }
    return true;
}

bool WriteKey(const std::string& file, const char* section, const char* key, const std::string& value,
              std::string& error) {
    if (!WritePrivateProfileString(section, key, value.c_str(), file)) {
        error = "cannot write " + file;
        return false;
    }
    return true;
}

std::string StoreFilePath(const HostLayout& layout, const std::string& name) {
    return PathJoin(layout.DataFolder, PathFilePart(name));
}

// V4 lists a page's store files in "Record.ini" of the host folder, V5 in "Page<P>.map" of the
// job data folder (256-byte records, NUL-padded).
bool WritePageFiles(const Scenario& scenario, const HostLayout& layout, std::string& error) {
    std::string record;
    for (const PageConfig& page : scenario.Pages) {
        for (const std::string& name : page.Files) {
            std::string path = StoreFilePath(layout, name);
            if (!FileExists(path) && !WriteText(path, "", error)) return false;
        }
        if (layout.Generation == 4) {
            int recorder = (page.Page - 1) / 10 + 1;
            int onRecorder = (page.Page - 1) % 10 + 1;
            record += "[Recorder " + std::to_string(recorder) + " Page " + std::to_string(onRecorder) + "]\r\n";
            for (size_t i = 0; i < page.Files.size(); ++i) {
                record += "file" + std::to_string(i) + "=" + StoreFilePath(layout, page.Files[i]) + "\r\n";
            }
            record += "\r\n";
        } else {
            std::string map;
            for (const std::string& name : page.Files) {
                std::string entry = StoreFilePath(layout, name).substr(0, MapRecordSize - 1);
                entry.resize(MapRecordSize, '\0');
                map += entry;
            }
            std::string mapPath = PathJoin(layout.DataFolder, "Page" + std::to_string(page.Page) + ".map");
            if (!WriteText(mapPath, map, error)) return false;
        }
    }
    if (layout.Generation == 4) return WriteText(PathJoin(layout.HostFolder, "Record.ini"), record, error);
    return true;
}

bool WriteHostFiles(const Scenario& scenario, const HostLayout& layout, std::string& error) {
    std::string startup = PathJoin(layout.HostFolder, "Startup.ini");
    std::string installName = scenario.InstallName.empty() ? "Telvane stand-in host" : scenario.InstallName;
    if (!WriteKey(startup, "setup", "installname", installName, error) ||
        !WriteKey(startup, "setup", "installcomment", scenario.InstallComment, error)) {
        return false;
    }
    std::string setupIni = PathJoin(layout.HostFolder, "setup.ini");
    if (!FileExists(setupIni) && !WriteKey(setupIni, "setup", "version", std::to_string(layout.Generation) + ".0", error)) {
        return false;
    }
    if (layout.Generation == 4) {
        // The V4 tag service: the monitor starts it beside the host; the points are shared anyway.
        std::string service = PathJoin(layout.HostFolder, "hostsvc.exe");
        if (!WriteText(service, "#!/bin/sh\n# V4 tag service stand-in: the point state is shared, nothing to serve.\nexit 0\n",
                       error)) {
            return false;
        }
        ::chmod(LocalPath(service).c_str(), 0755);
    } else {
        // Job settings the host object reads and writes; kept when they exist.
        if (!FileExists(layout.MasterIniFile) &&
            !WriteKey(layout.MasterIniFile, "Telvane", "version", "5.0", error)) {
            return false;
        }
        if (!FileExists(layout.JobIniFile) &&
            (!WriteKey(layout.JobIniFile, "Image_interface32", "interfacenumber", "1", error) ||
             !WriteKey(layout.JobIniFile, "Setup.Manager", "V4Mode", "0", error))) {
            return false;
        }
    }
    return WritePageFiles(scenario, layout, error);
}

// One host per prefix: the other generation's registration goes.
bool Register(const HostLayout& layout, std::string& error) {
    bool ok;
    if (layout.Generation == 5) {
        WriteProfileString("telvold", nullptr, nullptr);
        ok = WriteProfileString("TelvnV5", "directory", layout.HostFolder.c_str());
    } else {
        WriteProfileString("TelvnV5", nullptr, nullptr);
        ok = WriteProfileString("telvold", "directory", layout.HostFolder.c_str()) &&
             WriteProfileString("telvold", "storedirectory", layout.DataFolder.c_str()) &&
             WriteProfileString("telvold", "name1", layout.JobName.c_str());
    }
    if (!ok) error = "cannot register the host in the system profile";
    return ok;
}

}  // namespace

// Built, the libraries sit beside telvane-host; installed, in the private <prefix>/lib/voltaris
// folder next to bin/, never on the system library path.
std::string HostLibrarySourceFolder() {
    std::error_code ec;
    fs::path self = fs::read_symlink("/proc/self/exe", ec);
    if (ec) return ".";
    const fs::path beside = self.parent_path();
    if (fs::is_regular_file(beside / HostLibraryNames[0], ec)) return beside.string();
    const fs::path installed = beside.parent_path() / "lib" / "voltaris";
    if (fs::is_regular_file(installed / HostLibraryNames[0], ec)) return installed.string();
    return beside.string();
}

bool InstallHost(const Scenario& scenario, const HostLayout& layout, std::vector<std::string>& warnings,
                 std::string& error) {
    for (const std::string* folder : {&layout.HostFolder, &layout.JobFolder, &layout.DataFolder, &layout.SetupFolder,
                                      &layout.RootFolder, &layout.TempFolder}) {
        if (VbError e = MakeFolderPath(*folder)) {
            error = "cannot create " + *folder + ": " + e.Description;
            return false;
        }
    }

    fs::path source = HostLibrarySourceFolder();
    for (const std::string& listed : scenario.Libraries) {
        bool known = false;
        for (const char* name : HostLibraryNames) known = known || EqualsNoCase(listed, name);
        if (!known) warnings.push_back("unknown host library in the scenario: " + listed);
    }
    for (const char* name : HostLibraryNames) {
        std::string targetText = PathJoin(layout.HostFolder, name);
        if (!LibraryWanted(scenario, name)) {
            if (FileExists(targetText)) DeleteFile(targetText);
            continue;
        }
        fs::path from = source / name;
        std::error_code ec;
        if (!fs::is_regular_file(from, ec)) {
            warnings.push_back(std::string(name) + " not found in " + source.string() + ": not installed");
            continue;
        }
        if (!InstallLibrary(from, LocalPath(targetText), error)) return false;
    }
    return WriteHostFiles(scenario, layout, error) && Register(layout, error);
}

void SetUpHostState(HostState& state, const Scenario& scenario, const HostLayout& layout) {
    state.SetGeneration(layout.Generation);
    state.SetUserMode(scenario.UserMode);
    state.SetRecorderCount(scenario.RecorderCount > 0 ? scenario.RecorderCount : (layout.Generation == 4 ? 5 : 1));
    state.SetJobText(HostJobText::JobDir, layout.JobFolder);
    state.SetJobText(HostJobText::JobDataDir, layout.DataFolder);
    state.SetJobText(HostJobText::JobSetupDir, layout.SetupFolder);
    state.SetJobText(HostJobText::JobPath, layout.RootFolder);
    state.SetJobText(HostJobText::JobTempDir, layout.TempFolder);
    state.SetJobText(HostJobText::MasterIniFile, layout.MasterIniFile);
    state.SetJobText(HostJobText::JobIniFile, layout.JobIniFile);
    state.SetJobText(HostJobText::JobName, layout.JobName);

    for (const PageConfig& page : scenario.Pages) {
        state.SetPageActive(page.Page - 1, page.Active);
        state.SetPageLabel(page.Page - 1, page.Label);
    }
    HostTable table;
    int index = 0;
    for (const MeterConfig& meter : scenario.Meters) {
        if (!meter.HasPoint || !PointLocation(meter.Point, layout.Generation, table, index)) continue;
        state.SetName(table, index, meter.Name);
        state.SetFlag(table, index, HostFlag::Active, true);
    }
    // Explicit point sections come last, so they override what a meter gave the point.
    for (const PointConfig& point : scenario.Points) {
        if (!PointLocation(point.Point, layout.Generation, table, index)) continue;
        if (!point.Name.empty()) state.SetName(table, index, point.Name);
        state.SetFlag(table, index, HostFlag::Active, point.Active);
        if (point.HasValue) {
            if (HostPoint* p = state.Point(table, index)) HostStore(p->Reading, static_cast<float>(point.Value));
        }
    }
}
