#pragma once
// A fresh prefix and program folder for one test, removed afterwards.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "platform/Prefix.h"

class TempPrefix {
public:
    TempPrefix() {
        char pattern[] = "/tmp/vt-test-XXXXXX";
        root_ = mkdtemp(pattern);
        std::filesystem::create_directories(root_ / "prefix");
        std::filesystem::create_directories(root_ / "program");
        UsePrefix(root_ / "prefix");
        setenv("VOLTARIS_PROGRAM_DIR", (root_ / "program").c_str(), 1);
    }
    ~TempPrefix() {
        std::error_code ec;
        std::filesystem::remove_all(root_, ec);
    }
    TempPrefix(const TempPrefix&) = delete;
    TempPrefix& operator=(const TempPrefix&) = delete;

    std::filesystem::path Root() const { return root_; }
    std::filesystem::path Prefix() const { return root_ / "prefix"; }
    std::filesystem::path ProgramDir() const { return root_ / "program"; }

    static std::string Read(const std::filesystem::path& p) {
        std::ifstream in(p, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    static void Write(const std::filesystem::path& p, const std::string& content) {
        std::filesystem::create_directories(p.parent_path());
        std::ofstream out(p, std::ios::binary | std::ios::trunc);
        out << content;
    }

private:
    std::filesystem::path root_;
};
