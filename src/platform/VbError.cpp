#include "platform/VbError.h"

#include <cerrno>

const char* VbErrorMessage(int number) {
    switch (number) {
    case 0: return "";
    case 3: return "Return without GoSub";
    case 5: return "Invalid procedure call or argument";
    case 6: return "Overflow";
    case 7: return "Out of memory";
    case 9: return "Subscript out of range";
    case 10: return "This array is fixed or temporarily locked";
    case 11: return "Division by zero";
    case 13: return "Type mismatch";
    case 14: return "Out of string space";
    case 28: return "Out of stack space";
    case 35: return "Sub or Function not defined";
    case 48: return "Error in loading DLL";
    case 49: return "Bad DLL calling convention";
    case 51: return "Internal error";
    case 52: return "Bad file name or number";
    case 53: return "File not found";
    case 54: return "Bad file mode";
    case 55: return "File already open";
    case 57: return "Device I/O error";
    case 58: return "File already exists";
    case 59: return "Bad record length";
    case 61: return "Disk full";
    case 62: return "Input past end of file";
    case 63: return "Bad record number";
    case 64: return "Bad file name";
    case 67: return "Too many files";
    case 68: return "Device unavailable";
    case 70: return "Permission denied";
    case 71: return "Disk not ready";
    case 74: return "Can't rename with different drive";
    case 75: return "Path/File access error";
    case 76: return "Path not found";
    case 91: return "Object variable or With block variable not set";
    case 92: return "For loop not initialized";
    case 94: return "Invalid use of Null";
    case 424: return "Object required";
    case 429: return "ActiveX component can't create object";
    case 438: return "Object doesn't support this property or method";
    case 453: return "Specified DLL function not found";
    default: return "Application-defined or object-defined error";
    }
}

VbError VbErrorFromErrno(int err) {
    switch (err) {
    case 0: return {};
    case ENOENT: return VbError(ErrFileNotFound);
    case ENOTDIR: return VbError(ErrPathNotFound);
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY: return VbError(ErrPermissionDenied);
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return VbError(ErrDiskFull);
    case EEXIST: return VbError(ErrFileExists);
    case EISDIR: return VbError(ErrPathFileAccess);
    case EMFILE:
    case ENFILE: return VbError(ErrTooManyFiles);
    case ENAMETOOLONG: return VbError(ErrBadFileName);
    case EXDEV: return VbError(ErrRenameAcrossDisks);
    case EIO: return VbError(ErrDeviceIO);
    case ENOMEM: return VbError(ErrOutOfMemory);
    default: return VbError(ErrPathFileAccess);
    }
}
