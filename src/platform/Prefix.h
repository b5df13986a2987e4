#pragma once
// The prefix: one folder that stands for the Windows machine, shared by the monitor,
// telvane-host and the tools ($VOLTARIS_PREFIX, default ~/.voltaris).
//   windows/          the Windows folder; windows/win.ini is the system profile
//   drives/c/ ...     drive letters: "C:\x.txt" is <prefix>/drives/c/x.txt
//   run/              what lives only while programs run (windows, messages, locks, DDE)
#include <filesystem>
#include <string>

// The prefix root, created with its standard folders on first use. Read from the
// environment on every call, so a test may point it elsewhere.
std::filesystem::path PrefixRoot();
// The prefix folder this process uses, without making any folder (for texts such as --help).
std::filesystem::path PrefixRootName();

// Points this process at another prefix ($VOLTARIS_PREFIX; an empty root unsets it). Readers
// that keep state of the prefix between calls (the clock) see the change at once; a plain
// setenv is seen within their refresh interval.
void UsePrefix(const std::filesystem::path& root);
// Counts UsePrefix calls, for those readers.
unsigned PrefixGeneration();
std::filesystem::path PrefixWindowsFolder();   // <prefix>/windows
std::filesystem::path PrefixRunFolder();       // <prefix>/run
std::filesystem::path PrefixDriveFolder(char driveLetter); // <prefix>/drives/<lower-case letter>

// The Windows folder as a path text, as the system call returns it ("C:\WINDOWS" stands
// for the prefix's windows/ folder; the text given back resolves there).
std::string WindowsFolderText();
// Full path of the system profile (win.ini).
std::filesystem::path SystemProfilePath();
