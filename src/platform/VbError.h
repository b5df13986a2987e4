#pragma once
// Run-time errors in the classic numbering the monitor's reports use ("Error 53/ File not found").
// No exception crosses a module boundary: operations that can fail hand back a VbError.
#include <string>
#include <string_view>
#include <utility>

enum VbErrorNumber : int {
    ErrNone = 0,
    ErrInvalidCall = 5,          // Invalid procedure call or argument
    ErrOverflow = 6,             // Overflow
    ErrOutOfMemory = 7,          // Out of memory
    ErrSubscript = 9,            // Subscript out of range
    ErrDivisionByZero = 11,      // Division by zero
    ErrTypeMismatch = 13,        // Type mismatch
    ErrBadFileNameOrNumber = 52, // Bad file name or number
    ErrFileNotFound = 53,        // File not found
    ErrBadFileMode = 54,         // Bad file mode
    ErrFileAlreadyOpen = 55,     // File already open
    ErrDeviceIO = 57,            // Device I/O error
    ErrFileExists = 58,          // File already exists
    ErrBadRecordLength = 59,     // Bad record length
    ErrDiskFull = 61,            // Disk full
    ErrInputPastEnd = 62,        // Input past end of file
    ErrBadRecordNumber = 63,     // Bad record number
    ErrBadFileName = 64,         // Bad file name
    ErrTooManyFiles = 67,        // Too many files
    ErrDeviceUnavailable = 68,   // Device unavailable
    ErrPermissionDenied = 70,    // Permission denied
    ErrDiskNotReady = 71,        // Disk not ready
    ErrRenameAcrossDisks = 74,   // Can't rename with different drive
    ErrPathFileAccess = 75,      // Path/File access error
    ErrPathNotFound = 76,        // Path not found
    ErrObjectRequired = 424,     // Object required
};

// The platform's standard message for an error number ("Overflow", "File not found" ...).
// Unknown numbers give "Application-defined or object-defined error".
const char* VbErrorMessage(int number);

struct VbError {
    int Number = 0;
    std::string Description;

    VbError() = default;
    explicit VbError(int number) : Number(number), Description(VbErrorMessage(number)) {}
    VbError(int number, std::string description) : Number(number), Description(std::move(description)) {}

    bool Failed() const { return Number != 0; }
    explicit operator bool() const { return Number != 0; }
};

// Maps an errno value from a failed file operation to the error the original platform gave.
VbError VbErrorFromErrno(int err);

// A value or the error that prevented it.
template <class T>
struct VbResult {
    T Value{};
    VbError Error;
    bool Ok() const { return Error.Number == 0; }
};
