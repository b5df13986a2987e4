#pragma once
// The prefix: one folder that stands for the Windows machine, shared by the monitor,
// telvane-host and the tools ($VOLTARIS_PREFIX, default ~/.voltaris).
//   windows/          the Windows folder; windows/win.ini is the system profile
//   drives/c/ ...     drive letters: "C:\x.txt" is <prefix>/drives/c/x.txt
//   run/              what lives only while programs run (windows, messages, locks, DDE)
#include <filesystem>
#include <string>

// The prefix root, created with its standard folders on first use. Read from the
// environment on every call, so a test may point it elsewhere with setenv.
std::filesystem::path PrefixRoot();
std::filesystem::path PrefixWindowsFolder();   // <prefix>/windows
std::filesystem::path PrefixRunFolder();       // <prefix>/run
std::filesystem::path PrefixDriveFolder(char driveLetter); // <prefix>/drives/<lower-case letter>

// The Windows folder as a path text, as the system call returns it ("C:\WINDOWS" stands
// for the prefix's windows/ folder; the text given back resolves there).
std::string WindowsFolderText();
// Full path of the system profile (win.ini).
std::filesystem::path SystemProfilePath();
