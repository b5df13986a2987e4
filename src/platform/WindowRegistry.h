#pragma once
// The registry of open "windows" shared by the programs of one prefix (in <prefix>/run).
// A process registers a window class; the entry disappears when the process unregisters it,
// ends or dies (entries of dead processes are never reported). Other processes find a window by
// class, test its visibility and post registered messages (by name) to its owner.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct WindowInfo {
    std::string ClassName;
    std::string Title;
    long OwnerPid = 0;
    bool Visible = false;
};

bool RegisterWindow(std::string_view className, std::string_view title, bool visible);
bool SetWindowVisible(std::string_view className, bool visible);
void UnregisterWindow(std::string_view className);
// Unregisters every window this process registered (also done at normal exit).
void UnregisterAllWindows();

std::optional<WindowInfo> FindWindowByClass(std::string_view className);
bool IsWindowVisible(std::string_view className);
std::vector<WindowInfo> OpenWindows();

// Posts the registered message messageName to the owner of className. False when no such window.
bool PostRegisteredMessage(std::string_view className, std::string_view messageName);
// The owner's side: takes (and removes) the messages posted to one of its windows, oldest first.
std::vector<std::string> TakeWindowMessages(std::string_view className);
