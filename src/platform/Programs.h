#pragma once
// Starting programs and shell "open".
#include <filesystem>
#include <string>
#include <string_view>

#include "platform/VbError.h"

enum class WindowShow { Normal, Minimised, Hidden };

// Starts a program without waiting. pathText is resolved like every path text; a name ending in
// ".exe" that does not exist is tried without the ending. Returns error 53 when nothing is found.
// parameters is split on blanks (double quotes group).
VbError StartProgram(std::string_view pathText, std::string_view parameters, WindowShow show);

// Shell "open": a program is started, a document opened with the desktop's viewer (xdg-open).
// A missing target fails quietly: the error is returned, and the callers that open documents ignore it.
VbError ShellOpen(std::string_view pathText, std::string_view parameters);

// The folder of the running program file, or $VOLTARIS_PROGRAM_DIR when set. No trailing separator.
// The programs the monitor starts are found here.
std::string ProgramFolder();
// Where the program writes its logs and finds its CSV log folder: the program folder, or when the
// program file's folder cannot be written (an installed program) the prefix's program/ folder, so
// logs always have a place.
std::string LogFolder();
// <prefix>/program, made when missing.
std::filesystem::path FallbackProgramFolder();
// The program file's name without its extension ("voltamon"), or the name set below.
std::string ProgramName();
// A program that stands for another under its own file name (the headless monitor) keeps that
// program's name for its files.
void SetProgramName(std::string name);
// Full path of the running program file.
std::string ProgramFilePath();
// The whole command line after the program name, arguments joined with single blanks
// (switches are found by substring search of it).
std::string CommandLine();
void SetCommandLine(int argc, char** argv);
