#pragma once
// What the fuzz targets share: a check that stops the run, and a scratch folder of their own.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include <stdlib.h>

// A broken promise stops the run, so the fuzzer keeps the input that broke it.
inline void Check(bool ok)
{
    if (!ok)
        std::abort();
}

// A new folder for a target's files, memory-backed when there is one (every write is flushed to
// disk), removed when the target ends. Made once, in the target's start-up.
inline std::string MakeScratchFolder(const std::string& name)
{
    static std::string folder;
    std::string shm = "/dev/shm/vt-fuzz-" + name + "-XXXXXX";
    std::string tmp = "/tmp/vt-fuzz-" + name + "-XXXXXX";
    const char* made = ::mkdtemp(shm.data());
    if (!made)
        made = ::mkdtemp(tmp.data());
    Check(made != nullptr);
    folder = made;
    std::atexit([] {
        std::error_code ec;
        std::filesystem::remove_all(folder, ec);
    });
    return folder;
}
