#pragma once
#include "platform/VbError.h"

// What CenterForm needs of a window, in twips; the ui layer implements it.
class CenterableWindow {
public:
    virtual ~CenterableWindow() = default;
    virtual int ScreenWidth() const = 0;
    virtual int ScreenHeight() const = 0;
    virtual int Width() const = 0;
    virtual int Height() const = 0;
    virtual VbError Move(int left, int top) = 0;
};

class clsMisc {
public:
    // left = (screen width - width) / 2, top = (screen height - height) / 2, in twips.
    // Failures go to the error file as "clsMisc,CenterForm,,<number>,<description>".
    void CenterForm(CenterableWindow& window) const;
};
