#pragma once
// One INI location (file, section, key) set through properties, then read or written.
#include <string>

class clsIni {
public:
    const std::string& FileName() const { return fileName_; }
    void FileName(const std::string& v) { fileName_ = v; }
    const std::string& AppName() const { return appName_; }
    void AppName(const std::string& v) { appName_ = v; }
    const std::string& KeyName() const { return keyName_; }
    void KeyName(const std::string& v) { keyName_ = v; }

    // Value of KeyName in AppName of FileName (at most 255 characters, cut at the first NUL);
    // empty, without touching the file, when any of the three is empty.
    std::string GetIni() const;
    // Writes value (an empty value is written as such); nothing when any of the three is empty.
    void SetIni(const std::string& value) const;
    // Value of KeyName in AppName of the system profile; empty when AppName or KeyName is empty.
    std::string GetWinIni() const;

private:
    std::string fileName_;
    std::string appName_;
    std::string keyName_;
};
